#include "service/http/http_server.h"

#include "service/http/http_connection.h"

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <iterator>
#include <mutex>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace trevix {

namespace {

// Connections that the system holds until they are taken: a burst as large as the queue of jobs.
constexpr int kBacklog = 256;
constexpr std::size_t kMostConnections = 1024; // Taken and waiting for a thread.

ListenError listenError(int cause, std::uint16_t port) {
    if (cause == EADDRINUSE) {
        return {true, "port " + std::to_string(port) +
                          " is taken by another program; choose one with --port, or --port 0"};
    }
    return {false,
            "cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + std::strerror(cause)};
}

void closeOnExec(int fd) {
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

} // namespace

std::optional<std::string> HttpHead::header(std::string_view lowerName) const {
    const auto [first, last] = headers.equal_range(std::string(lowerName));
    if (first == last || std::next(first) != last) return std::nullopt;
    return first->second;
}

class HttpServer::Worker {
public:
    /// Owns the listener and both ends of the wake pipe.
    Worker(int listener, std::array<int, 2> wake, std::uint16_t port, const ServerOptions& options,
           HttpHandler& handler)
        : m_listener(listener),
          m_port(port),
          m_handler(handler),
          m_options(options),
          m_budget(options.maxBodiesTogether),
          m_wake(wake) {}

    ~Worker() {
        stop();
        close(m_wake[0]);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

    void start() {
        m_acceptor = std::thread([this] { acceptAll(); });
    }

    void stop() {
        {
            const std::lock_guard lock(m_mutex);
            if (std::exchange(m_stopping, true)) return;
        }
        close(std::exchange(m_wake[1], -1)); // Every poll on the other end now returns.
        m_budget.stop();
        m_connectionCame.notify_all();
        if (m_acceptor.joinable()) m_acceptor.join();
        for (std::thread& thread : m_threads) thread.join();
        close(std::exchange(m_listener, -1));
    }

private:
    void acceptAll() {
        while (true) {
            pollfd waits[2] = {{m_listener, POLLIN, 0}, {m_wake[0], POLLIN, 0}};
            if (poll(waits, 2, -1) < 0 && errno != EINTR) return;
            if (waits[1].revents != 0) return;
            if (waits[0].revents == 0) continue;
            const int socket = accept(m_listener, nullptr, nullptr);
            if (socket < 0) {
                // Out of descriptors or memory: those in use come back in a moment.
                if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                    pollfd stop{m_wake[0], POLLIN, 0};
                    poll(&stop, 1, 10);
                }
                continue;
            }
            closeOnExec(socket);
            const int yes = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            hand(socket);
        }
    }

    void hand(int socket) {
        const std::lock_guard lock(m_mutex);
        if (m_stopping || m_connections.size() >= kMostConnections) {
            close(socket);
            return;
        }
        m_connections.push_back(socket);
        if (m_idle < m_connections.size() && m_threads.size() < m_options.maxThreads) {
            m_threads.emplace_back([this] { serveAll(); });
        }
        m_connectionCame.notify_one();
    }

    void serveAll() {
        std::unique_lock lock(m_mutex);
        while (true) {
            ++m_idle;
            m_connectionCame.wait(lock, [this] { return m_stopping || !m_connections.empty(); });
            --m_idle;
            if (m_connections.empty()) return;
            const int socket = m_connections.front();
            m_connections.pop_front();
            lock.unlock();
            serveConnection(socket, m_wake[0], m_options, m_budget, m_handler);
            lock.lock();
        }
    }

    int m_listener;
    const std::uint16_t m_port;
    HttpHandler& m_handler;
    const ServerOptions m_options;
    BodyBudget m_budget;
    std::array<int, 2> m_wake;
    std::thread m_acceptor;

    std::mutex m_mutex;
    std::condition_variable m_connectionCame;
    std::deque<int> m_connections;
    std::vector<std::thread> m_threads; // Grows as needed; only the acceptor adds.
    std::size_t m_idle = 0;
    bool m_stopping = false;
};

HttpServer::HttpServer(std::unique_ptr<Worker> worker) : m_worker(std::move(worker)) {}
HttpServer::~HttpServer() = default;

std::variant<std::unique_ptr<HttpServer>, ListenError>
HttpServer::listen(const ServerOptions& options, HttpHandler& handler) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    if (listener < 0) return listenError(errno, options.port);
    closeOnExec(listener);
    fcntl(listener, F_SETFL, fcntl(listener, F_GETFL) | O_NONBLOCK);
    // A port whose last connections are only fading away is free; one that is listened on is not.
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(options.port);
    socklen_t size = sizeof address;
    auto* raw = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, raw, size) != 0 || ::listen(listener, kBacklog) != 0 ||
        getsockname(listener, raw, &size) != 0) {
        const int cause = errno;
        close(listener);
        return listenError(cause, options.port);
    }
    std::array<int, 2> wake{};
    if (pipe(wake.data()) != 0) {
        const int cause = errno;
        close(listener);
        return listenError(cause, options.port);
    }
    closeOnExec(wake[0]);
    closeOnExec(wake[1]);
    return std::unique_ptr<HttpServer>(new HttpServer(
        std::make_unique<Worker>(listener, wake, ntohs(address.sin_port), options, handler)));
}

std::uint16_t HttpServer::port() const {
    return m_worker->port();
}

void HttpServer::start() {
    m_worker->start();
}

void HttpServer::stop() {
    m_worker->stop();
}

} // namespace trevix
