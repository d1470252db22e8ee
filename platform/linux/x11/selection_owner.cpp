#include "platform/linux/x11/selection_owner.h"

#include "platform/linux/x11/bounded_reply.h"
#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

// Bytes; small enough that a slow client does not keep the link busy.
constexpr std::size_t kChunk = std::size_t{256} << 10U;
// At once; each holds its content until it is taken.
constexpr std::size_t kMostTransfers = 32;
// A requestor that takes nothing for so long has lost interest, or hangs.
constexpr std::chrono::seconds kStall{10};
// Of a request for several targets; nobody asks for a tenth of it.
constexpr std::size_t kMostPairs = 4096;

} // namespace

SelectionOwner::SelectionOwner(std::shared_ptr<X11Connection> link, xcb_window_t window)
    : m_link(std::move(link)),
      m_window(window),
      // Half of the largest request, in whole units of four bytes: max_request_length counts those.
      m_chunk(std::min(kChunk,
                       (std::size_t{xcb_get_maximum_request_length(m_link->xcb())} * 2) / 4 * 4)),
      m_clipboard(m_link->atom("CLIPBOARD")),
      m_targets(m_link->atom("TARGETS")),
      m_multiple(m_link->atom("MULTIPLE")),
      m_timestamp(m_link->atom("TIMESTAMP")),
      m_saveTargets(m_link->atom("SAVE_TARGETS")),
      m_atomPair(m_link->atom("ATOM_PAIR")),
      m_incr(m_link->atom("INCR")),
      m_null(m_link->atom("NULL")),
      m_keeper(m_link->atom("CLIPBOARD_MANAGER")),
      m_utf8String(m_link->atom(kUtf8String)),
      m_utf8Plain(m_link->atom(kUtf8Plain)),
      m_plain(m_link->atom(kPlain)),
      m_textTarget(m_link->atom("TEXT")) {}

bool SelectionOwner::offer(std::shared_ptr<const ClipboardContent> content, xcb_timestamp_t time) {
    const bool empty = !content || content->empty();
    const xcb_window_t owner = empty ? static_cast<xcb_window_t>(XCB_WINDOW_NONE) : m_window;
    // The server refuses a time that is older than the present owner's.
    xcb_set_selection_owner(m_link->xcb(), owner, m_clipboard, time);
    m_content = nullptr;
    m_text.reset();
    // Asked in both cases: whoever looks after this sees that it is done.
    const bool ours = owns();
    if (empty) return !ours;
    if (!ours) return false;
    m_since = time;
    m_content = std::move(content);
    m_text = textAmong(*m_content);
    return true;
}

bool SelectionOwner::owns() {
    const auto reply = replyWithin<xcb_get_selection_owner_reply_t>(
        m_link->xcb(), xcb_get_selection_owner(m_link->xcb(), m_clipboard));
    return reply && reply->owner == m_window;
}

void SelectionOwner::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7FU) {
    case XCB_SELECTION_REQUEST:
        answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        break;
    case XCB_SELECTION_CLEAR: {
        const auto& lost = reinterpret_cast<const xcb_selection_clear_event_t&>(event);
        // It may tell of a loss that was already made good.
        if (lost.selection == m_clipboard && !owns()) {
            m_content = nullptr;
            m_text.reset();
        }
        break;
    }
    case XCB_SELECTION_NOTIFY: {
        const auto& notify = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
        if (notify.selection == m_keeper) m_keeperAnswered = true;
        break;
    }
    case XCB_PROPERTY_NOTIFY:
        sendNext(reinterpret_cast<const xcb_property_notify_event_t&>(event));
        break;
    case XCB_DESTROY_NOTIFY:
        forget(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        break;
    default:
        break;
    }
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
    // Clients of the very old kind leave the choice of the property to the owner.
    const auto property = request.property != XCB_ATOM_NONE ? request.property : request.target;
    // A request for several targets names them in a property, so it has to name one.
    const bool given = request.selection == m_clipboard &&
                       (request.target == m_multiple
                            ? request.property != XCB_ATOM_NONE && answerMultiple(request, property)
                            : give(request.requestor, request.target, property));
    // The event that is sent has a fixed size, larger than this one's fields.
    union {
        xcb_selection_notify_event_t notify;
        char bytes[32];
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = request.time;
    event.notify.requestor = request.requestor;
    event.notify.selection = request.selection;
    event.notify.target = request.target;
    event.notify.property = given ? property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    // Sent in any case: a requestor waits for it (ICCCM 2.2).
    xcb_send_event(m_link->xcb(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.bytes);
}

bool SelectionOwner::answerMultiple(const xcb_selection_request_event_t& request,
                                    xcb_atom_t property) {
    const auto reply = replyWithin<xcb_get_property_reply_t>(
        m_link->xcb(), xcb_get_property(m_link->xcb(), 0, request.requestor, property, m_atomPair,
                                        0, kMostPairs * 2));
    if (!reply || reply->format != 32) return false;
    const auto* const words = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    std::vector<xcb_atom_t> pairs(words, words + reply->value_len);
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        // Which of the pairs were not given is told in the property itself.
        const bool given = pairs[i] != m_multiple && pairs[i + 1] != XCB_ATOM_NONE &&
                           give(request.requestor, pairs[i], pairs[i + 1]);
        if (!given) pairs[i + 1] = XCB_ATOM_NONE;
    }
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, request.requestor, property,
                        m_atomPair, 32, static_cast<std::uint32_t>(pairs.size()), pairs.data());
    return true;
}

bool SelectionOwner::give(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property) {
    // TARGETS, TIMESTAMP and the like are answered like content.
    const auto value = valueOf(target);
    if (!value) return false;
    const std::size_t size = value->bytes->size();
    if (size <= m_chunk) {
        // What fits into a request goes at once; the rest in pieces, as it is asked for.
        put(requestor, property, *value, 0, size);
        return true;
    }
    if (m_transfers.size() >= kMostTransfers) return false;
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_link->xcb(), requestor, XCB_CW_EVENT_MASK, &mask);
    // The least size of what is to come, as a hint (ICCCM 2.7.2).
    const auto announced = static_cast<std::uint32_t>(size);
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, requestor, property, m_incr, 32, 1,
                        &announced);
    // The requestor has begun anew.
    std::erase_if(m_transfers, [&](const Transfer& transfer) {
        return transfer.requestor == requestor && transfer.property == property;
    });
    m_transfers.push_back({requestor, property, *value, 0, steady_clock::now()});
    return true;
}

std::optional<SelectionOwner::Value> SelectionOwner::valueOf(xcb_atom_t target) {
    if (!m_content) return std::nullopt;
    if (target == m_targets) {
        auto list = contentTargets();
        list.insert(list.end(), {m_targets, m_multiple, m_timestamp, m_saveTargets});
        return atoms(list);
    }
    if (target == m_timestamp) {
        auto value = atoms({m_since});
        value.type = XCB_ATOM_INTEGER;
        return value;
    }
    // Answered with nothing, as the convention of clipboard managers has it.
    if (target == m_saveTargets) return Value{m_null, 32, std::make_shared<std::string>()};
    for (const auto& format : *m_content) {
        if (m_link->atom(format.target) != target) continue;
        // The text belongs to the content, which stays as long as it is being sent.
        return Value{m_link->atom(format.type), format.unit,
                     std::shared_ptr<const std::string>(m_content, &format.bytes)};
    }
    if (!m_text) return std::nullopt;
    if (target == m_utf8String || target == m_textTarget) {
        return Value{m_utf8String, 8, std::make_shared<std::string>(*m_text)};
    }
    if (target == m_utf8Plain || target == m_plain) {
        return Value{target, 8, std::make_shared<std::string>(*m_text)};
    }
    // STRING is ISO Latin-1 (ICCCM 2.6.2).
    if (target == XCB_ATOM_STRING) {
        return Value{XCB_ATOM_STRING, 8, std::make_shared<std::string>(text::toLatin1(*m_text))};
    }
    return std::nullopt;
}

std::vector<xcb_atom_t> SelectionOwner::contentTargets() {
    std::vector<xcb_atom_t> list;
    if (!m_content) return list;
    for (const auto& format : *m_content) list.push_back(m_link->atom(format.target));
    if (m_text) {
        const xcb_atom_t names[] = {m_utf8String, m_utf8Plain, m_plain, m_textTarget,
                                    XCB_ATOM_STRING};
        for (const auto name : names) {
            if (std::ranges::find(list, name) == list.end()) list.push_back(name);
        }
    }
    return list;
}

SelectionOwner::Value SelectionOwner::atoms(const std::vector<xcb_atom_t>& list) const {
    return {XCB_ATOM_ATOM, 32,
            std::make_shared<std::string>(reinterpret_cast<const char*>(list.data()),
                                          list.size() * sizeof(xcb_atom_t))};
}

void SelectionOwner::put(xcb_window_t requestor, xcb_atom_t property, const Value& value,
                         std::size_t from, std::size_t length) {
    const std::size_t unitBytes = value.unit / 8U;
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, requestor, property, value.type,
                        value.unit, static_cast<std::uint32_t>(length / unitBytes),
                        value.bytes->data() + from);
}

void SelectionOwner::sendNext(const xcb_property_notify_event_t& change) {
    // Deleting the property is how a requestor asks for the next piece.
    if (change.state != XCB_PROPERTY_DELETE) return;
    const auto found = std::ranges::find_if(m_transfers, [&](const Transfer& transfer) {
        return transfer.requestor == change.window && transfer.property == change.atom;
    });
    if (found == m_transfers.end()) return;
    // After the last piece comes an empty one, which ends the transfer.
    const std::size_t length = std::min(m_chunk, found->value.bytes->size() - found->sent);
    put(found->requestor, found->property, found->value, found->sent, length);
    found->sent += length;
    found->lastMove = steady_clock::now();
    if (length > 0) return;
    const auto requestor = found->requestor;
    m_transfers.erase(found);
    stopListeningTo(requestor);
}

void SelectionOwner::forget(xcb_window_t requestor) {
    std::erase_if(m_transfers,
                  [&](const Transfer& transfer) { return transfer.requestor == requestor; });
}

void SelectionOwner::stopListeningTo(xcb_window_t requestor) {
    const bool needed = std::ranges::any_of(
        m_transfers, [&](const Transfer& transfer) { return transfer.requestor == requestor; });
    if (needed) return;
    const std::uint32_t nothing = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(m_link->xcb(), requestor, XCB_CW_EVENT_MASK, &nothing);
}

bool SelectionOwner::dropStalled() {
    const auto now = steady_clock::now();
    std::vector<xcb_window_t> left;
    std::erase_if(m_transfers, [&](const Transfer& transfer) {
        if (now - transfer.lastMove < kStall) return false;
        left.push_back(transfer.requestor);
        return true;
    });
    for (const auto requestor : left) stopListeningTo(requestor);
    return !m_transfers.empty();
}

// Clipboard managers take over what a program leaves behind when it ends.
bool SelectionOwner::askKeeper() {
    if (!m_content) return false;
    const auto manager = replyWithin<xcb_get_selection_owner_reply_t>(
        m_link->xcb(), xcb_get_selection_owner(m_link->xcb(), m_keeper));
    if (!manager || manager->owner == XCB_WINDOW_NONE) return false;
    const auto list = contentTargets();
    const auto property = m_link->atom("KELVANE_SAVED_TARGETS");
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, m_window, property, XCB_ATOM_ATOM, 32,
                        static_cast<std::uint32_t>(list.size()), list.data());
    m_keeperAnswered = false;
    xcb_convert_selection(m_link->xcb(), m_window, m_keeper, m_saveTargets, property,
                          XCB_CURRENT_TIME);
    return true;
}

} // namespace kelvane
