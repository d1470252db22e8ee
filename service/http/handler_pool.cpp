#include "service/http/handler_pool.h"

#include <system_error>
#include <utility>

namespace trevix {

void HandlerPool::run(std::function<void()> work) {
    const std::lock_guard lock(m_mutex);
    m_waiting.push_back(std::move(work));
    // A thread is only begun when those that wait are fewer than what waits for them: the number
    // follows what was ever needed at once, and stays.
    if (m_idle < m_waiting.size() && m_threads.size() < m_maxThreads) {
        try {
            m_threads.emplace_back([this] { workThrough(); });
        } catch (const std::system_error&) {
            // The system gives no more threads. Those that are there get to it; the first one
            // there can be no service without.
            if (m_threads.empty()) throw;
        }
    }
    m_changed.notify_one();
}

void HandlerPool::join() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) thread.join();
    }
}

void HandlerPool::workThrough() {
    std::unique_lock lock(m_mutex);
    while (true) {
        ++m_idle;
        m_changed.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
        --m_idle;
        // Ending does not drop what was accepted: each thread goes once there is nothing left.
        if (m_waiting.empty()) return;
        // Moved out before the lock is let go, and gone before it is taken again only at the next
        // turn: what it holds is let go of inside work().
        const std::function<void()> work = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        work();
        lock.lock();
    }
}

} // namespace trevix
