// A server on the loopback that does to whoever asks it what a test wants.

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace trevix {

/// Answers one connection after another, on a thread of its own. What it writes is raw: status
/// line, headers and body are the test's.
class MockServer {
public:
    /// What it writes, in pieces; an empty piece hangs until the other end goes or the server does.
    using Answer = std::function<std::vector<std::string>(const std::string& request)>;

    /// Listens on a free port, or on a socket of this path.
    explicit MockServer(Answer answer, std::string socketPath = "");
    ~MockServer();
    MockServer(const MockServer&) = delete;
    MockServer& operator=(const MockServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }
    /// The requests so far, whole: head and body.
    [[nodiscard]] std::vector<std::string> requests() const;
    /// Blocks until so many requests were read.
    void awaitRequests(std::size_t count) const;

private:
    void serve();
    void answer(int connection);

    const Answer m_answer;
    const std::string m_socketPath;
    int m_listener = -1;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_ending{false};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests; ///< Guarded by `m_mutex`.
    std::thread m_thread;
};

/// An answer of HTTP with this body.
[[nodiscard]] std::string httpAnswer(const std::string& body, const std::string& status = "200 OK");

} // namespace trevix
