#include "platform/linux/x11/x11_listener.h"

#include "platform/linux/x11/x11_connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace kelvane {

namespace {

void listen(X11Connection& link, const X11Listener::Hear& hear, int wake) {
    // Events first: they may have come in with an answer, and then wake nobody.
    for (;;) {
        while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(link.xcb())}) {
            hear(link, *event);
        }
        if (!link.alive()) return;
        pollfd waiting[] = {{xcb_get_file_descriptor(link.xcb()), POLLIN, 0}, {wake, POLLIN, 0}};
        ::poll(waiting, 2, -1);
        if (waiting[1].revents != 0) return;
    }
}

} // namespace

bool X11Listener::start(std::shared_ptr<X11Connection> link, Hear hear) {
    stop();
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_wake < 0) return false;
    m_thread = std::thread([link = std::move(link), hear = std::move(hear), wake = m_wake] {
        listen(*link, hear, wake);
    });
    return true;
}

void X11Listener::stop() {
    if (!m_thread.joinable()) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof one);
    m_thread.join();
    ::close(std::exchange(m_wake, -1));
}

} // namespace kelvane
