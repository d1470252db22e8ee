#include "platform/linux/x11/selection_reader.h"

#include "platform/linux/x11/bounded_reply.h"

#include <algorithm>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

/// A window that exists for one question.
class AskingWindow {
public:
    explicit AskingWindow(X11Connection& link) : m_xcb(link.xcb()), m_id(xcb_generate_id(m_xcb)) {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_xcb, XCB_COPY_FROM_PARENT, m_id, link.root(), -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &mask);
    }
    ~AskingWindow() {
        xcb_destroy_window(m_xcb, m_id);
        xcb_flush(m_xcb);
    }
    AskingWindow(const AskingWindow&) = delete;
    AskingWindow& operator=(const AskingWindow&) = delete;

    [[nodiscard]] xcb_window_t id() const { return m_id; }

private:
    xcb_connection_t* m_xcb;
    xcb_window_t m_id;
};

std::uint8_t kindOf(const xcb_generic_event_t& event) {
    return event.response_type & 0x7FU;
}

SelectionAnswer nothing(SelectionAnswer::Kind kind) {
    SelectionAnswer answer;
    answer.kind = kind;
    return answer;
}

std::string bytesOf(const xcb_get_property_reply_t& reply) {
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(&reply));
    return {static_cast<const char*>(xcb_get_property_value(&reply)), length};
}

} // namespace

SelectionReader::SelectionReader(std::shared_ptr<X11Connection> link)
    : m_link(std::move(link)),
      m_property(m_link->atom("KELVANE_SELECTION")),
      m_incr(m_link->atom("INCR")) {}

SelectionAnswer SelectionReader::read(xcb_atom_t selection, xcb_atom_t target,
                                      const SelectionBounds& bounds) {
    using Kind = SelectionAnswer::Kind;
    // Events of questions that were given up may still come in.
    m_link->dropEvents();
    // A new window for each question: what belongs to an older one is told by its window, and goes
    // with it.
    const AskingWindow window(*m_link);
    // XCB_CURRENT_TIME: nothing here was set off by an event that has a time.
    xcb_convert_selection(m_link->xcb(), window.id(), selection, target, m_property,
                          XCB_CURRENT_TIME);
    const auto patience = std::min(bounds.end, steady_clock::now() + bounds.silence);
    const auto notify = waitForNotify(window.id(), patience);
    if (!notify) return nothing(Kind::Silent);
    // No property: the owner cannot give this target (ICCCM 2.2).
    if (notify->property == XCB_ATOM_NONE) return nothing(Kind::Refused);

    const auto reply =
        takeProperty(window.id(), bounds.bytes, steady_clock::now() + kServerSilence);
    if (!reply) return nothing(Kind::Silent);
    if (reply->type == XCB_ATOM_NONE) return nothing(Kind::Refused);
    // The value comes in pieces, each when the one before was taken (ICCCM 2.7.2).
    if (reply->type == m_incr) return readChunks(window.id(), bounds);
    if (reply->bytes_after > 0) return nothing(Kind::TooLarge);
    auto bytes = bytesOf(*reply);
    if (bytes.size() > bounds.bytes) return nothing(Kind::TooLarge);
    return {
        .kind = Kind::Value, .type = reply->type, .unit = reply->format, .bytes = std::move(bytes)};
}

SelectionAnswer SelectionReader::readChunks(xcb_window_t window, const SelectionBounds& bounds) {
    using Kind = SelectionAnswer::Kind;
    SelectionAnswer answer = nothing(Kind::Value);
    // Each piece has its own patience, all of them together have the bounds'.
    while (waitForChunk(window, std::min(bounds.end, steady_clock::now() + bounds.silence))) {
        const auto reply = takeProperty(window, bounds.bytes - answer.bytes.size(),
                                        steady_clock::now() + kServerSilence);
        if (!reply) break;
        // The notice was about the announcement of the transfer, or about a chunk already taken.
        if (reply->type == XCB_ATOM_NONE || reply->type == m_incr) continue;
        const auto bytes = bytesOf(*reply);
        // An empty piece ends the transfer.
        if (bytes.empty()) return answer;
        if (reply->bytes_after > 0 || bytes.size() > bounds.bytes - answer.bytes.size()) {
            return nothing(Kind::TooLarge);
        }
        answer.type = reply->type;
        answer.unit = reply->format;
        answer.bytes.append(bytes);
    }
    return nothing(Kind::Silent);
}

XcbOwned<xcb_selection_notify_event_t> SelectionReader::waitForNotify(xcb_window_t window,
                                                                      Moment end) {
    while (auto event = eventBefore(m_link->xcb(), end)) {
        if (kindOf(*event) != XCB_SELECTION_NOTIFY) continue;
        // Answers to windows of earlier questions are passed over.
        XcbOwned<xcb_selection_notify_event_t> notify(
            reinterpret_cast<xcb_selection_notify_event_t*>(event.release()));
        if (notify->requestor == window) return notify;
    }
    return nullptr;
}

bool SelectionReader::waitForChunk(xcb_window_t window, Moment end) {
    while (const auto event = eventBefore(m_link->xcb(), end)) {
        if (kindOf(*event) != XCB_PROPERTY_NOTIFY) continue;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if (change.window == window && change.atom == m_property &&
            change.state == XCB_PROPERTY_NEW_VALUE) {
            return true;
        }
    }
    return false;
}

XcbOwned<xcb_get_property_reply_t> SelectionReader::takeProperty(xcb_window_t window,
                                                                 std::size_t bytes, Moment end) {
    // The property is deleted only when all of it came, so one that is too large is not cut. In
    // units of four bytes; one more than allowed, so that what is too large shows.
    const auto cookie =
        xcb_get_property(m_link->xcb(), 1, window, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                         static_cast<std::uint32_t>(bytes / 4 + 1));
    return XcbOwned<xcb_get_property_reply_t>(static_cast<xcb_get_property_reply_t*>(
        replyBefore(m_link->xcb(), cookie.sequence, end).reply.release()));
}

std::optional<xcb_window_t> SelectionReader::owner(xcb_atom_t selection) {
    const auto reply = replyWithin<xcb_get_selection_owner_reply_t>(
        m_link->xcb(), xcb_get_selection_owner(m_link->xcb(), selection));
    if (!reply) return std::nullopt;
    return reply->owner;
}

std::vector<std::string> SelectionReader::names(const std::vector<xcb_atom_t>& atoms) {
    std::vector<xcb_get_atom_name_cookie_t> cookies;
    cookies.reserve(atoms.size());
    for (const auto atom : atoms) cookies.push_back(xcb_get_atom_name(m_link->xcb(), atom));
    std::vector<std::string> names;
    const auto end = steady_clock::now() + kServerSilence;
    // One limit for all answers, which come together.
    for (const auto cookie : cookies) {
        const XcbOwned<xcb_get_atom_name_reply_t> reply(static_cast<xcb_get_atom_name_reply_t*>(
            replyBefore(m_link->xcb(), cookie.sequence, end).reply.release()));
        names.emplace_back();
        if (!reply) continue;
        names.back().assign(xcb_get_atom_name_name(reply.get()),
                            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())));
    }
    return names;
}

} // namespace kelvane
