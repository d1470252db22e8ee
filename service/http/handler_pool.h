// The threads on which answers are found.
//
// A thread is made when work comes and none is free, up to a limit; beyond it work waits in the
// order in which it came. Any thread may give work.

#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace trevix {

class HandlerPool {
public:
    explicit HandlerPool(std::size_t maxThreads) : m_maxThreads(maxThreads) {}
    ~HandlerPool() { join(); }
    HandlerPool(const HandlerPool&) = delete;
    HandlerPool& operator=(const HandlerPool&) = delete;

    /// `work` must not throw. Precondition: join() was not called.
    void run(std::function<void()> work);

    /// Returns when all work is done and the threads are gone.
    void join();

private:
    void workThrough();

    const std::size_t m_maxThreads;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_waiting;
    std::vector<std::thread> m_threads;
    std::size_t m_idle = 0;
    bool m_ending = false;
};

} // namespace trevix
