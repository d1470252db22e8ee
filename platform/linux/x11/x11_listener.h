// A thread that hears the events of one connection to an X server.

#pragma once

#include <functional>
#include <memory>
#include <thread>

#include <xcb/xcb.h>

namespace kelvane {

class X11Connection;

/// Used from one thread. While nothing is heard there is no thread, and the connection is let go.
class X11Listener {
public:
    /// What is done with an event, on the listener's thread. It may ask the server; events that
    /// come in with an answer are heard too.
    using Hear = std::function<void(X11Connection&, const xcb_generic_event_t&)>;

    X11Listener() = default;
    X11Listener(const X11Listener&) = delete;
    X11Listener& operator=(const X11Listener&) = delete;
    ~X11Listener() { stop(); }

    /// Hears from now on, until stop() or the end of the connection; what was heard before is not
    /// any more. False when the system gives no file for it, and then nothing is heard.
    [[nodiscard]] bool start(std::shared_ptr<X11Connection> link, Hear hear);
    /// Returns once `hear` is not and will not be called.
    void stop();

private:
    std::thread m_thread;
    int m_wake = -1;
};

} // namespace kelvane
