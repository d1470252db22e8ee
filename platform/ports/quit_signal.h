// The end of the program, told at once to everyone who waits.
//
// Raised once, by the part that decides to quit; from then on every wait of the program is over.
// Whoever blocks in something other than a clock registers a callback that interrupts it.
//
// Any thread may call any member. `raise` takes a lock, so it is not for signal handlers.

#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace kelvane {

class QuitSignal {
public:
    /// Keeps a callback registered for as long as it lives. Its end waits for a call of the
    /// callback that is under way on another thread, so whatever the callback refers to may go
    /// right after it. The signal must outlive it. Do not end it while holding a lock that the
    /// callback takes.
    class Registration {
    public:
        Registration() = default; ///< Of no callback.
        Registration(Registration&& other) noexcept
            : m_signal(std::exchange(other.m_signal, nullptr)),
              m_id(other.m_id) {}
        Registration& operator=(Registration&& other) noexcept;
        ~Registration() { reset(); }

        void reset(); ///< Ends the registration now.

    private:
        friend class QuitSignal;
        Registration(QuitSignal& signal, std::uint64_t id) : m_signal(&signal), m_id(id) {}

        QuitSignal* m_signal = nullptr;
        std::uint64_t m_id = 0;
    };

    QuitSignal() = default;
    QuitSignal(const QuitSignal&) = delete;
    QuitSignal& operator=(const QuitSignal&) = delete;

    /// Ends all waits and calls the registered callbacks on this thread, oldest first, each once.
    /// Only the first call does anything.
    void raise();

    [[nodiscard]] bool raised() const noexcept { return m_raised.load(); }

    /// Blocks for `duration` or until the signal is raised, whichever comes first; true when it is
    /// raised. Does not block when it already is, or when `duration` is not positive.
    bool waitFor(std::chrono::nanoseconds duration);

    /// Has `callback` called when the signal is raised, on the raising thread; right here and now
    /// when it already is. The callback must not throw. It may end its own registration.
    [[nodiscard]] Registration onRaise(std::function<void()> callback);

private:
    void remove(std::uint64_t id);

    std::atomic<bool> m_raised = false; ///< Written under the mutex.
    std::mutex m_mutex;
    std::condition_variable m_wake;     ///< The signal was raised.
    std::condition_variable m_finished; ///< A callback has returned.
    std::list<std::pair<std::uint64_t, std::function<void()>>> m_callbacks;
    std::uint64_t m_nextId = 1;
    std::uint64_t m_running = 0; ///< The callback being called; 0: none.
    std::thread::id m_raiser;
};

} // namespace kelvane
