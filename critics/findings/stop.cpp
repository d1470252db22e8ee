#include "critics/findings/stop.h"

#include <algorithm>

namespace trevix::stop_detail {

bool State::ask() {
    std::unique_lock lock(m_mutex);
    if (m_asked) return false;
    m_asked = true;
    m_asker = std::this_thread::get_id();
    while (!m_callbacks.empty()) {
        const auto callback = m_callbacks.front();
        m_callbacks.pop_front();
        lock.unlock();
        callback->call();
        lock.lock();
        callback->isOver = true;
        m_over.notify_all();
    }
    return true;
}

std::shared_ptr<State::Callback> State::add(std::function<void()> call) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_asked) {
            m_callbacks.push_back(std::make_shared<Callback>(Callback{std::move(call), false}));
            return m_callbacks.back();
        }
    }
    call();
    return nullptr;
}

void State::remove(const std::shared_ptr<Callback>& callback) {
    std::unique_lock lock(m_mutex);
    const auto waiting = std::ranges::find(m_callbacks, callback);
    if (waiting != m_callbacks.end()) {
        m_callbacks.erase(waiting);
        return;
    }
    // It was taken out to be done.
    if (m_asker == std::this_thread::get_id()) return;
    m_over.wait(lock, [&] { return callback->isOver; });
}

} // namespace trevix::stop_detail
