#include "platform/linux/x11/x11_connection.h"

#include <poll.h>

#include <cstring>
#include <utility>

namespace kelvane {

std::vector<std::uint32_t> X11Property::words() const {
    if (format != 32) return {};
    std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
    if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * sizeof(items[0]));
    return items;
}

std::optional<std::uint32_t> X11Property::firstWord() const {
    const auto items = words();
    if (items.empty()) return std::nullopt;
    return items.front();
}

std::optional<std::string> X11Property::text() const {
    if (format != 8) return std::nullopt;
    return bytes;
}

std::shared_ptr<X11Connection> X11Connection::open(const std::string& display) {
    int screenNumber = 0;
    xcb_connection_t* const xcb =
        xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber);
    if (xcb_connection_has_error(xcb) != 0) {
        xcb_disconnect(xcb);
        return nullptr;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
    while (screenNumber > 0 && screens.rem > 0) {
        xcb_screen_next(&screens);
        --screenNumber;
    }
    if (screens.rem == 0) {
        xcb_disconnect(xcb);
        return nullptr;
    }
    return std::shared_ptr<X11Connection>(new X11Connection(xcb, screens.data));
}

X11Connection::~X11Connection() {
    xcb_disconnect(m_xcb);
}

xcb_atom_t X11Connection::atom(std::string_view name) {
    {
        const std::lock_guard lock(m_mutex);
        const auto known = m_atoms.find(name);
        if (known != m_atoms.end()) return known->second;
    }
    internAtoms(std::span(&name, 1));
    const std::lock_guard lock(m_mutex);
    const auto known = m_atoms.find(name);
    return known == m_atoms.end() ? static_cast<xcb_atom_t>(XCB_ATOM_NONE) : known->second;
}

void X11Connection::internAtoms(std::span<const std::string_view> names) {
    std::vector<std::pair<std::string_view, xcb_intern_atom_cookie_t>> asked;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto name : names) {
            if (m_atoms.contains(name)) continue;
            asked.emplace_back(
                name, xcb_intern_atom_unchecked(m_xcb, 0, static_cast<std::uint16_t>(name.size()),
                                                name.data()));
        }
    }
    for (const auto& [name, cookie] : asked) {
        const XcbOwned<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(m_xcb, cookie, nullptr));
        if (!reply) continue;
        const std::lock_guard lock(m_mutex);
        m_atoms.insert_or_assign(std::string(name), reply->atom);
    }
}

void X11Connection::dropEvents() {
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(m_xcb)}) {
    }
}

xcb_get_property_cookie_t X11Connection::askProperty(xcb_window_t window, xcb_atom_t name,
                                                     std::uint32_t longest) {
    return xcb_get_property_unchecked(m_xcb, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                      (longest + 3) / 4);
}

std::optional<X11Property> X11Connection::takeProperty(xcb_get_property_cookie_t cookie) {
    const XcbOwned<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_xcb, cookie, nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE) return std::nullopt;
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return X11Property{
        reply->type, reply->format,
        std::string(static_cast<const char*>(xcb_get_property_value(reply.get())), length)};
}

std::optional<X11Property> X11Connection::property(xcb_window_t window, xcb_atom_t name,
                                                   std::uint32_t longest) {
    return takeProperty(askProperty(window, name, longest));
}

void X11Connection::roundTrip() {
    const XcbOwned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_xcb, xcb_get_input_focus_unchecked(m_xcb), nullptr));
}

XcbOwned<xcb_generic_event_t>
X11Connection::nextEvent(std::chrono::steady_clock::time_point deadline) {
    using std::chrono::milliseconds;
    while (alive()) {
        if (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(m_xcb)}) return event;
        const auto left =
            std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left <= milliseconds::zero()) break;
        xcb_flush(m_xcb);
        pollfd waiting{xcb_get_file_descriptor(m_xcb), POLLIN, 0};
        ::poll(&waiting, 1, static_cast<int>(left.count()));
    }
    return nullptr;
}

xcb_timestamp_t X11Connection::serverTime() {
    const auto window = xcb_generate_id(m_xcb);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_xcb, XCB_COPY_FROM_PARENT, window, root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    xcb_change_property(m_xcb, XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, "");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    while (const auto event = nextEvent(deadline)) {
        if ((event->response_type & 0x7FU) != XCB_PROPERTY_NOTIFY) continue;
        const auto& change = *reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
        if (change.window != window) continue;
        time = change.time;
        break;
    }
    xcb_destroy_window(m_xcb, window);
    return time;
}

} // namespace kelvane
