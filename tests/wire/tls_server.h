// A TLS server on 127.0.0.1 that answers every request with the same bytes and then closes.
//
// Its certificate is for "localhost". Any thread.

#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <openssl/ssl.h>
#include <string>
#include <thread>

namespace kelvane::wire {

class TlsServer {
public:
    explicit TlsServer(std::string answer);
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;
    ~TlsServer();

    [[nodiscard]] std::string url(const std::string& host) const;
    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Everything that arrived, decrypted.
    [[nodiscard]] std::string heard() const;
    /// Waits until so many connections were served to their end; false after ten seconds.
    [[nodiscard]] bool waitForEnds(int count) const;

private:
    struct FreeContext {
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    };
    void serve();
    void attend(int socket);

    std::string m_answer;
    std::unique_ptr<SSL_CTX, FreeContext> m_context;
    int m_listening = -1;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_ends = false;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::string m_heard;
    int m_ended = 0;
    std::thread m_thread;
};

} // namespace kelvane::wire
