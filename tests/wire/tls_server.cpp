#include "tests/wire/tls_server.h"

#include "tests/source_tree.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvane::wire {

TlsServer::TlsServer(std::string answer)
    : m_answer(std::move(answer)),
      m_context(SSL_CTX_new(TLS_server_method())) {
    const std::string certificate = inSourceTree("tests/wire/tls/server.pem");
    const std::string key = inSourceTree("tests/wire/tls/server.key");
    if (SSL_CTX_use_certificate_file(m_context.get(), certificate.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(m_context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1) {
        throw std::runtime_error("the certificate of the tests cannot be used");
    }
    m_listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(m_listening, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        ::listen(m_listening, 16) != 0 ||
        ::getsockname(m_listening, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

TlsServer::~TlsServer() {
    m_ends = true;
    ::shutdown(m_listening, SHUT_RDWR);
    m_thread.join();
    ::close(m_listening);
}

std::string TlsServer::url(const std::string& host) const {
    return "https://" + host + ":" + std::to_string(m_port) + "/";
}

std::string TlsServer::heard() const {
    const std::lock_guard lock(m_mutex);
    return m_heard;
}

void TlsServer::serve() {
    // A client that refuses the certificate is gone before the server has said all.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    while (!m_ends) {
        const int socket = ::accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) return;
        attend(socket);
        ::close(socket);
        const std::lock_guard lock(m_mutex);
        ++m_ended;
        m_changed.notify_all();
    }
}

bool TlsServer::waitForEnds(int count) const {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_ended >= count; });
}

void TlsServer::attend(int socket) {
    // Nobody keeps the one thread for longer than any test takes.
    const timeval patience{.tv_sec = 10, .tv_usec = 0};
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const std::unique_ptr<SSL, decltype(&SSL_free)> tls(SSL_new(m_context.get()), SSL_free);
    SSL_set_fd(tls.get(), socket);
    if (SSL_accept(tls.get()) != 1) return;
    std::string request;
    while (!request.ends_with("\r\n\r\n")) {
        std::array<char, 4'096> buffer{};
        const int size = SSL_read(tls.get(), buffer.data(), static_cast<int>(buffer.size()));
        if (size <= 0) break;
        request.append(buffer.data(), static_cast<std::size_t>(size));
    }
    {
        const std::lock_guard lock(m_mutex);
        m_heard += request;
    }
    if (!request.ends_with("\r\n\r\n")) return;
    SSL_write(tls.get(), m_answer.data(), static_cast<int>(m_answer.size()));
    SSL_shutdown(tls.get());
}

} // namespace kelvane::wire
