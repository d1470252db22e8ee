// Asking work that is under way to stop.
//
// A source asks, once; whoever holds one of its tokens sees it, and what was registered with a
// callback is done. It is what the standard library has under other names, which the one of macOS
// does not have yet. Any thread may use any of it.

#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace trevix {

namespace stop_detail {

/// What a source and its tokens share.
class State {
public:
    struct Callback {
        std::function<void()> call;
        bool isOver = false;
    };

    [[nodiscard]] bool isAsked() const {
        const std::lock_guard lock(m_mutex);
        return m_asked;
    }
    /// Does all that is registered, on this thread. False when it had been asked before.
    bool ask();
    /// Done at once, on this thread, when it has been asked already; null then.
    [[nodiscard]] std::shared_ptr<Callback> add(std::function<void()> call);
    /// Returns when it is not done any more: at once on the thread that is doing it.
    void remove(const std::shared_ptr<Callback>& callback);

private:
    mutable std::mutex m_mutex; ///< Guards everything below.
    std::condition_variable m_over;
    bool m_asked = false;
    std::thread::id m_asker; ///< Who asked, and does what is registered.
    std::list<std::shared_ptr<Callback>> m_callbacks;
};

} // namespace stop_detail

/// Empty, or one of a source.
class StopToken {
public:
    StopToken() = default;

    [[nodiscard]] bool isAsked() const { return m_state && m_state->isAsked(); }

private:
    friend class StopSource;
    friend class StopCallback;
    explicit StopToken(std::shared_ptr<stop_detail::State> state) : m_state(std::move(state)) {}

    std::shared_ptr<stop_detail::State> m_state;
};

/// Copies ask for the same.
class StopSource {
public:
    [[nodiscard]] StopToken token() const { return StopToken(m_state); }
    [[nodiscard]] bool isAsked() const { return m_state->isAsked(); }
    /// False when it had been asked before. Blocks while callbacks are done.
    bool ask() { return m_state->ask(); } // NOLINT(readability-make-member-function-const)

private:
    std::shared_ptr<stop_detail::State> m_state = std::make_shared<stop_detail::State>();
};

/// Has `call` done when a stop is asked for, on the thread that asks; at once where it has been. It
/// must not throw. Once this is gone it is not done and not under way, but on the very thread that
/// does it.
class StopCallback {
public:
    StopCallback(const StopToken& token, std::function<void()> call) : m_state(token.m_state) {
        if (m_state) m_callback = m_state->add(std::move(call));
    }
    StopCallback(const StopCallback&) = delete;
    StopCallback& operator=(const StopCallback&) = delete;
    ~StopCallback() {
        if (m_callback) m_state->remove(m_callback);
    }

private:
    std::shared_ptr<stop_detail::State> m_state;
    std::shared_ptr<stop_detail::State::Callback> m_callback;
};

/// A thread that is asked to stop and waited for when this goes.
class StoppableThread {
public:
    StoppableThread() = default;
    explicit StoppableThread(std::function<void(const StopToken&)> work)
        : m_thread(std::move(work), m_source.token()) {}
    StoppableThread(StoppableThread&&) = default;
    StoppableThread& operator=(StoppableThread&& other) noexcept {
        end();
        m_source = std::move(other.m_source);
        m_thread = std::move(other.m_thread);
        return *this;
    }
    ~StoppableThread() { end(); }

private:
    void end() {
        if (!m_thread.joinable()) return;
        m_source.ask();
        m_thread.join();
    }

    StopSource m_source;
    std::thread m_thread;
};

} // namespace trevix
