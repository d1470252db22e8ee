#include "platform/ports/quit_signal.h"

#include <algorithm>

namespace kelvane {

QuitSignal::Registration& QuitSignal::Registration::operator=(Registration&& other) noexcept {
    if (this != &other) {
        reset();
        m_signal = std::exchange(other.m_signal, nullptr);
        m_id = other.m_id;
    }
    return *this;
}

void QuitSignal::Registration::reset() {
    if (QuitSignal* signal = std::exchange(m_signal, nullptr)) signal->remove(m_id);
}

void QuitSignal::raise() {
    std::unique_lock lock(m_mutex);
    if (m_raised) return;
    m_raised = true;
    m_raiser = std::this_thread::get_id();
    m_wake.notify_all();
    while (!m_callbacks.empty()) {
        auto [id, callback] = std::move(m_callbacks.front());
        m_callbacks.pop_front();
        m_running = id;
        lock.unlock();
        callback();
        callback = nullptr; // what it holds goes before anyone is told that it is over
        lock.lock();
        m_running = 0;
        m_finished.notify_all();
    }
}

bool QuitSignal::waitFor(std::chrono::nanoseconds duration) {
    using Steady = std::chrono::steady_clock;
    // A longer wait would overflow the clock; a year is as good as for ever.
    const auto deadline =
        Steady::now() + std::min<std::chrono::nanoseconds>(duration, std::chrono::years(1));
    std::unique_lock lock(m_mutex);
    return m_wake.wait_until(lock, deadline, [this] { return m_raised.load(); });
}

QuitSignal::Registration QuitSignal::onRaise(std::function<void()> callback) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_raised) {
            const std::uint64_t id = m_nextId++;
            m_callbacks.emplace_back(id, std::move(callback));
            return {*this, id};
        }
    }
    callback();
    return {};
}

void QuitSignal::remove(std::uint64_t id) {
    std::list<std::pair<std::uint64_t, std::function<void()>>>
        removed; // destroyed without the lock
    std::unique_lock lock(m_mutex);
    const auto found = std::find_if(m_callbacks.begin(), m_callbacks.end(),
                                    [&](const auto& entry) { return entry.first == id; });
    if (found != m_callbacks.end()) {
        removed.splice(removed.end(), m_callbacks, found);
    } else if (m_raiser != std::this_thread::get_id()) {
        m_finished.wait(lock, [&] { return m_running != id; });
    }
}

} // namespace kelvane
