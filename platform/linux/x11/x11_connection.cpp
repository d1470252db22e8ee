#include "platform/linux/x11/x11_connection.h"

#include "platform/linux/x11/bounded_reply.h"

#include <poll.h>
#include <signal.h>
#include <xcb/xcbext.h>

#include <condition_variable>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

/// A connection that is being made. It is shared by who waits for it and by the thread that makes
/// it, for xcb waits for a server that accepts and says nothing as long as it says nothing.
struct Attempt {
    std::mutex mutex; ///< Guards everything below.
    std::condition_variable ended;
    bool givenUp = false;
    bool made = false;
    xcb_connection_t* xcb = nullptr;
    int screenNumber = 0;
};

/// libXau, which looks up the permission to connect, writes the name of its file into a buffer that
/// it shares among all callers, so two connections are never made at once. Never taken down: a
/// thread may still wait here when the program ends.
std::mutex& oneAtATime() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

void connect(Attempt& attempt, const std::string& display) {
    const std::lock_guard alone(oneAtATime());
    std::unique_lock lock(attempt.mutex);
    // A server that stands still holds up those behind it; once it goes on, they need not ask it
    // too.
    if (attempt.givenUp) return;
    lock.unlock();
    int screenNumber = 0;
    xcb_connection_t* const xcb =
        xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber);
    lock.lock();
    // Nobody waits any more, so whoever made it takes it down.
    if (attempt.givenUp) {
        lock.unlock();
        xcb_disconnect(xcb);
        return;
    }
    attempt.xcb = xcb;
    attempt.screenNumber = screenNumber;
    attempt.made = true;
    attempt.ended.notify_one();
}

bool startConnecting(const std::shared_ptr<Attempt>& attempt, const std::string& display) {
    // Signals are the business of the program's own threads.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    bool started = true;
    try {
        // Detached: a server that never answers would keep the program from ending.
        std::thread([attempt, display] { connect(*attempt, display); }).detach();
    } catch (const std::system_error&) { // no thread to be had
        started = false;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

} // namespace

X11Connection::Opening X11Connection::tryOpen(const std::string& display,
                                              std::chrono::milliseconds patience) {
    const auto attempt = std::make_shared<Attempt>();
    if (!startConnecting(attempt, display)) return {};
    {
        std::unique_lock lock(attempt->mutex);
        if (!attempt->ended.wait_for(lock, patience, [&] { return attempt->made; })) {
            // From here on the thread has it alone.
            attempt->givenUp = true;
            return {nullptr, true};
        }
    }
    auto* const xcb = attempt->xcb;
    if (xcb_connection_has_error(xcb) != 0) {
        xcb_disconnect(xcb);
        return {};
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
    // A display names one of the server's screens.
    for (int left = attempt->screenNumber; left > 0 && screens.rem > 0; --left) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        xcb_disconnect(xcb);
        return {};
    }
    return {std::shared_ptr<X11Connection>(
                new X11Connection(xcb, attempt->screenNumber, screens.data, patience)),
            false};
}

std::shared_ptr<X11Connection> X11Connection::open(const std::string& display,
                                                   std::chrono::milliseconds patience) {
    return tryOpen(display, patience).link;
}

X11Connection::~X11Connection() {
    xcb_disconnect(m_xcb);
}

bool X11Connection::answers() {
    if (!alive()) return false;
    const std::lock_guard lock(m_mutex);
    // While an answer is owed, none after it can have come.
    if (!m_owed) return true;
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(m_xcb, *m_owed, &reply, &error) == 0) return false;
    std::free(reply);
    std::free(error);
    m_owed.reset();
    return true;
}

/// From here to the answer of one last question the server is not waited for.
void X11Connection::beSilent() {
    const std::lock_guard lock(m_mutex);
    if (m_owed) return;
    m_owed = xcb_get_input_focus_unchecked(m_xcb).sequence;
    xcb_flush(m_xcb);
}

XcbOwned<void> X11Connection::take(unsigned sequence, std::chrono::milliseconds patience) {
    // A reply that is there already is taken even from a server that owes one.
    const auto now = std::chrono::steady_clock::now();
    auto answer = replyBefore(m_xcb, sequence, answers() ? now + patience : now);
    if (answer.missed) beSilent();
    return std::move(answer.reply);
}

const xcb_query_extension_reply_t* X11Connection::extension(xcb_extension_t& extension) {
    const auto known = [&] {
        const std::lock_guard lock(m_mutex);
        return m_known.contains(&extension);
    };
    if (!known()) {
        // Asked without waiting; xcb_get_extension_data() would otherwise wait without a limit.
        xcb_prefetch_extension_data(m_xcb, &extension);
        // Answers come in the order of the questions: after this one the other is there.
        if (!roundTrip()) return nullptr;
        const std::lock_guard lock(m_mutex);
        m_known.insert(&extension);
    }
    const auto* const data = xcb_get_extension_data(m_xcb, &extension);
    return data != nullptr && data->present != 0 ? data : nullptr;
}

bool X11Connection::succeeded(xcb_void_cookie_t checked) {
    // Once a later question is answered xcb knows of every error before it, and waits no more.
    if (!roundTrip()) return false;
    const XcbOwned<xcb_generic_error_t> error(xcb_request_check(m_xcb, checked));
    return !error && alive();
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
    // All names are asked for before the first is answered.
    for (const auto& [name, cookie] : asked) {
        const auto answer = reply<xcb_intern_atom_reply_t>(cookie);
        if (!answer) continue;
        const std::lock_guard lock(m_mutex);
        m_atoms.insert_or_assign(std::string(name), answer->atom);
    }
}

void X11Connection::dropEvents() {
    // What nobody waits for would be kept for ever.
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(m_xcb)}) {
    }
}

xcb_get_property_cookie_t X11Connection::askProperty(xcb_window_t window, xcb_atom_t name,
                                                     std::uint32_t longest) {
    // In units of four bytes.
    return xcb_get_property_unchecked(m_xcb, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                      (longest + 3) / 4);
}

std::optional<X11Property> X11Connection::takeProperty(xcb_get_property_cookie_t cookie) {
    const auto answer = reply<xcb_get_property_reply_t>(cookie);
    if (!answer || answer->type == XCB_ATOM_NONE) return std::nullopt;
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(answer.get()));
    return X11Property{
        answer->type, answer->format,
        std::string(static_cast<const char*>(xcb_get_property_value(answer.get())), length)};
}

std::optional<X11Property> X11Connection::property(xcb_window_t window, xcb_atom_t name,
                                                   std::uint32_t longest) {
    return takeProperty(askProperty(window, name, longest));
}

bool X11Connection::roundTrip() {
    return reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus_unchecked(m_xcb)) != nullptr;
}

XcbOwned<xcb_generic_event_t>
X11Connection::nextEvent(std::chrono::steady_clock::time_point deadline) {
    using std::chrono::milliseconds;
    while (alive()) {
        if (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(m_xcb)}) return event;
        const auto left =
            std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left <= milliseconds::zero()) break;
        // Requests that still wait to be written may be what the event answers.
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
    // Appending nothing changes nothing, and is told of with the time all the same.
    xcb_change_property(m_xcb, XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, "");
    // Far longer than a server takes. Without an answer the time is unknown, which callers allow
    // for.
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
