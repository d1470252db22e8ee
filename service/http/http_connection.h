// One connection, answered.
//
// For http_server.cpp only. Reads one request with its limits, answers it, closes.

#pragma once

#include "service/http/http_server.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace trevix {

/// How many bytes of bodies may be in memory at the same time. Any thread.
class BodyBudget {
public:
    explicit BodyBudget(std::size_t bytes) : m_free(bytes), m_all(bytes) {}

    /// Waits until so many bytes are free and takes them. False when they were not by `deadline` or
    /// the server stopped. More than there are at all counts as all.
    [[nodiscard]] bool take(std::size_t bytes, std::chrono::steady_clock::time_point deadline);
    void giveBack(std::size_t bytes);
    void stop();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_free;
    const std::size_t m_all;
    bool m_stopped = false;
};

/// Answers the request that comes over `socket`, and closes it. `stop` is a descriptor that becomes
/// readable when the server ends: a request that is still being read is then dropped.
void serveConnection(int socket, int stop, const ServerOptions& options, BodyBudget& budget,
                     HttpHandler& handler);

} // namespace trevix
