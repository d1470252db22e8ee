#include "tests/platform/linux/x11/scripted_owner.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <stdexcept>

namespace kelvane {

using namespace std::chrono_literals;

ScriptedOwner::ScriptedOwner(const std::string& display, OwnerScript script,
                             const std::string& selection)
    : m_link(X11Connection::open(display, std::chrono::minutes(1))),
      m_script(std::move(script)) {
    if (!m_link) throw std::runtime_error("no display " + display);
    m_selection = m_link->atom(selection);
    m_window = xcb_generate_id(m_link->xcb());
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_link->xcb(), XCB_COPY_FROM_PARENT, m_window, m_link->root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_link->xcb());
    m_thread = std::thread([this] { run(); });
}

ScriptedOwner::~ScriptedOwner() {
    m_stop = true;
    m_thread.join();
}

xcb_window_t ScriptedOwner::ownerNow() {
    const XcbOwned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_link->xcb(), xcb_get_selection_owner(m_link->xcb(), m_selection), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

void ScriptedOwner::own(xcb_timestamp_t time) {
    m_lost = false;
    xcb_set_selection_owner(m_link->xcb(), m_window, m_selection, time);
    (void)ownerNow();
}

void ScriptedOwner::release() {
    xcb_set_selection_owner(m_link->xcb(), XCB_WINDOW_NONE, m_selection, XCB_CURRENT_TIME);
    (void)ownerNow();
}

xcb_timestamp_t ScriptedOwner::now() {
    {
        const std::lock_guard lock(m_mutex);
        m_timeAnswer.reset();
    }
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_APPEND, m_window, m_link->atom("TEST_TIME"),
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(m_link->xcb());
    for (int i = 0; i < 1000; ++i) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_timeAnswer) return *m_timeAnswer;
        }
        std::this_thread::sleep_for(1ms);
    }
    throw std::runtime_error("the server does not tell the time");
}

std::vector<std::string> ScriptedOwner::asked() {
    const std::lock_guard lock(m_mutex);
    return m_asked;
}

std::string ScriptedOwner::nameOf(xcb_atom_t atom) {
    const XcbOwned<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(m_link->xcb(), xcb_get_atom_name(m_link->xcb(), atom), nullptr));
    if (!reply) return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

void ScriptedOwner::run() {
    while (!m_stop && m_link->alive()) {
        const XcbOwned<xcb_generic_event_t> event(xcb_poll_for_event(m_link->xcb()));
        if (!event) {
            xcb_flush(m_link->xcb());
            pollfd waiting{xcb_get_file_descriptor(m_link->xcb()), POLLIN, 0};
            ::poll(&waiting, 1, 2); // The test's thread may have read what there was.
            continue;
        }
        switch (event->response_type & 0x7F) {
        case XCB_SELECTION_REQUEST:
            answer(reinterpret_cast<const xcb_selection_request_event_t&>(*event));
            break;
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
            if (change.window == m_window) {
                const std::lock_guard lock(m_mutex);
                m_timeAnswer = change.time;
            } else if (change.state == XCB_PROPERTY_DELETE) {
                sendNext(change);
            }
            break;
        }
        case XCB_SELECTION_CLEAR:
            m_lost = true;
            break;
        default:
            break;
        }
    }
}

void ScriptedOwner::answer(const xcb_selection_request_event_t& request) {
    const auto target = nameOf(request.target);
    {
        const std::lock_guard lock(m_mutex);
        m_asked.push_back(target);
    }
    if (m_script.silent) return;
    const auto value = m_script.values.find(target);
    bool given = m_questions++ >= m_script.refuseFirst;
    auto* const xcb = m_link->xcb();
    if (given && target == "TARGETS" && m_script.answersTargets) {
        std::vector<xcb_atom_t> list{m_link->atom("TARGETS"), m_link->atom("MULTIPLE")};
        for (const auto& [name, ignored] : m_script.values) list.push_back(m_link->atom(name));
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(list.size()),
                            list.data());
    } else if (given && value != m_script.values.end() && m_script.chunk == 0) {
        const auto& [type, bytes, unit] = value->second;
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            m_link->atom(type), unit,
                            static_cast<std::uint32_t>(bytes.size() / (unit / 8U)), bytes.data());
    } else if (given && value != m_script.values.end()) {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(xcb, request.requestor, XCB_CW_EVENT_MASK, &mask);
        const auto size = static_cast<std::uint32_t>(value->second.bytes.size());
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            m_link->atom("INCR"), 32, 1, &size);
        m_transfers.push_back({request.requestor, request.property, value->second});
    } else {
        given = false;
    }
    char bytes[32]{};
    auto& notify = reinterpret_cast<xcb_selection_notify_event_t&>(bytes);
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    notify.property = given ? request.property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    xcb_send_event(xcb, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, bytes);
    xcb_flush(xcb);
}

void ScriptedOwner::sendNext(const xcb_property_notify_event_t& change) {
    const auto found = std::ranges::find_if(m_transfers, [&](const Transfer& transfer) {
        return transfer.requestor == change.window && transfer.property == change.atom;
    });
    if (found == m_transfers.end()) return;
    if (m_script.stopAfterChunk && found->chunks >= *m_script.stopAfterChunk) return;
    if (m_script.dieAfterChunk && found->chunks >= *m_script.dieAfterChunk) {
        ::shutdown(xcb_get_file_descriptor(m_link->xcb()), SHUT_RDWR);
        return;
    }
    std::this_thread::sleep_for(m_script.pause);
    const auto length = std::min(m_script.chunk, found->value.bytes.size() - found->sent);
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, found->requestor, found->property,
                        m_link->atom(found->value.type), found->value.unit,
                        static_cast<std::uint32_t>(length / (found->value.unit / 8U)),
                        found->value.bytes.data() + found->sent);
    xcb_flush(m_link->xcb());
    found->sent += length;
    ++found->chunks;
    if (length == 0) m_transfers.erase(found);
}

} // namespace kelvane
