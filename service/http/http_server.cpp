#include "service/http/http_server.h"

#include "service/http/body_budget.h"
#include "service/http/connection_table.h"
#include "service/http/handler_pool.h"
#include "service/http/http_connection.h"
#include "service/http/peer_user.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <future>
#include <iterator>
#include <list>
#include <map>
#include <thread>

#include <arpa/inet.h>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace trevix {

namespace {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

// Descriptors that the program needs beside those of its connections: the database and its log, the
// lock, the loop's own, and for each job that is judged the pipes of a dozen children.
constexpr std::size_t kOwnDescriptors = 128;
constexpr std::size_t kLeastConnections = 16;
// Connections taken before those that are there get their turn again.
constexpr int kAcceptedAtOnce = 16;
// Until it is tried again to take a connection, when there was no descriptor or memory for it.
constexpr std::chrono::milliseconds kAcceptPause{10};

ListenError listenError(int cause, std::uint16_t port) {
    if (cause == EADDRINUSE) {
        return {true, "port " + std::to_string(port) +
                          " is taken by another program; choose one with --port, or --port 0"};
    }
    return {false,
            "cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + std::strerror(cause)};
}

// accept4 would do this and the next at once, but is not everywhere. A child begun between the two
// calls closes what it does not know by itself (see critics/worker).
void closeOnExec(int fd) {
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

void doNotBlock(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

std::size_t descriptorLimit() {
    rlimit limit{};
    // A number to count on even where there is no telling.
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return kOwnDescriptors + kLeastConnections;
    // A limit may be "none", or a thousand million in a container: a million is enough to ask for.
    return static_cast<std::size_t>(std::min<rlim_t>(limit.rlim_cur, rlim_t{1} << 20U));
}

// "127.0.0.1:8797"
std::string addressText(const sockaddr_in& address) {
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

ServerOptions withinLimits(ServerOptions options) {
    options.maxConnections = connectionsFor(descriptorLimit(), options.maxConnections);
    return options;
}

} // namespace

std::optional<std::string> HttpHead::header(std::string_view lowerName) const {
    const auto [first, last] = headers.equal_range(std::string(lowerName));
    // Given twice it is as if not given: two answers to one question are none.
    if (first == last || std::next(first) != last) return std::nullopt;
    return first->second;
}

std::size_t connectionsFor(std::size_t descriptors, std::size_t wanted) {
    const std::size_t left = descriptors > kOwnDescriptors ? descriptors - kOwnDescriptors : 0;
    // Never less than a few, even where the system allows hardly any: accepting may then fail,
    // which is provided for, but a service that listens and takes nobody helps no one.
    return std::max(std::min(wanted, left), std::min(wanted, kLeastConnections));
}

class HttpServer::Loop {
public:
    /// Owns the listeners.
    Loop(int tcpListener, std::uint16_t port, const ServerOptions& options, HttpHandler& handler)
        : m_port(port),
          m_options(withinLimits(options)),
          m_budget(options.maxBodiesTogether),
          // Who floods the port from one address leaves places for others, and for the socket.
          m_table(m_options.maxConnections, m_options.maxConnections * 3 / 4),
          m_pool(options.maxThreads),
          m_shares{m_loop,
                   m_options,
                   handler,
                   m_pool,
                   m_budget,
                   m_table,
                   [this](ConnectionTable::Id id) { m_connections.erase(id); }},
          m_work(asio::make_work_guard(m_loop)) {
        m_listeners.emplace_back(m_loop, tcpListener, false);
        if (options.unixListener >= 0) m_listeners.emplace_back(m_loop, options.unixListener, true);
    }

    ~Loop() { stop(); }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

    void start() {
        for (Listener& listener : m_listeners) await(listener);
        m_thread = std::thread([this] { run(); });
    }

    [[nodiscard]] std::uint64_t taken() const { return m_taken; }

    [[nodiscard]] bool closeIfQuiet(const std::function<bool()>& isQuiet) {
        const auto closed = std::make_shared<std::promise<bool>>();
        auto answer = closed->get_future();
        asio::post(m_loop, [this, closed, isQuiet] {
            const bool quiet = m_connections.empty() && isQuiet();
            if (quiet) m_listeners.clear();
            closed->set_value(quiet);
        });
        return answer.get();
    }

    void stop() {
        if (!m_thread.joinable()) return;
        // On the loop's own thread, as all that touches connections.
        asio::post(m_loop, [this] {
            m_stopping = true;
            m_listeners.clear();
            const auto connections = m_connections; // Each takes itself out.
            for (const auto& [id, each] : connections) {
                if (const auto connection = each.lock()) connection->finish();
            }
            // From here on the loop ends by itself, once no connection has anything under way.
            m_work.reset();
        });
        // The loop first: until it ends, connections still hand work to the pool.
        m_thread.join();
        m_pool.join();
    }

private:
    struct Listener {
        Listener(asio::io_context& loop, int fd, bool unixSocket)
            : descriptor(loop, fd),
              pause(loop),
              isUnix(unixSocket) {}

        asio::posix::stream_descriptor descriptor;
        asio::steady_timer pause;
        bool isUnix;
    };

    void run() {
        while (true) {
            try {
                m_loop.run();
                return;
            } catch (const std::exception&) {
                // Out of memory: the connection it was for is gone, the service goes on.
            }
        }
    }

    void await(Listener& listener) {
        // Waits until there is something to accept, and accepts by hand, so that a failure for want
        // of descriptors is ours to answer.
        listener.descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                       [this, &listener](ErrorCode ended) {
                                           if (!ended && !m_stopping) acceptSome(listener);
                                       });
    }

    void acceptSome(Listener& listener) {
        for (int i = 0; i < kAcceptedAtOnce; ++i) {
            const int socket = accept(listener.descriptor.native_handle(), nullptr, nullptr);
            if (socket >= 0) {
                take(socket, listener.isUnix);
                continue;
            }
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                // The connection that could not be taken stays in the listener's queue, so waiting
                // for it would return at once, and again, with no time left for those that are
                // there. One gives way, and it is tried again after a pause.
                if (const auto id = m_table.giveUpOne()) close(*id);
                listener.pause.expires_after(kAcceptPause);
                listener.pause.async_wait([this, &listener](ErrorCode ended) {
                    if (!ended && !m_stopping) await(listener);
                });
                return;
            }
            // Anything else is the fault of the one connection that was just to be taken, which may
            // have gone away by now: on to the next.
            if (errno == EAGAIN || errno == EWOULDBLOCK) break;
        }
        await(listener);
    }

    void take(int fd, bool isUnix) {
        ++m_taken;
        closeOnExec(fd);
        std::string peer = "unix";
        std::string server;
        std::string client;
        if (isUnix) {
            const auto user = userOfUnixPeer(fd);
            // The socket's folder is closed to others as well; the administrator may do everything
            // anyway.
            if (!user || (*user != geteuid() && *user != 0)) {
                ::close(fd);
                return;
            }
        } else {
            sockaddr_in ends[2] = {};
            socklen_t sizes[2] = {sizeof ends[0], sizeof ends[1]};
            if (getsockname(fd, reinterpret_cast<sockaddr*>(&ends[0]), &sizes[0]) != 0 ||
                getpeername(fd, reinterpret_cast<sockaddr*>(&ends[1]), &sizes[1]) != 0) {
                ::close(fd); // It is gone again.
                return;
            }
            server = addressText(ends[0]);
            client = addressText(ends[1]);
            peer = client.substr(0, client.find(':'));
            const int yes = 1;
            // Without it the end of an answer may be held back until the client has acknowledged
            // the beginning, which it in turn delays.
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        }
        const ConnectionTable::Id id = ++m_lastId;
        // Admitted before anything is made for it, so that a flood costs a table entry at most.
        const auto admission = m_table.admit(id, peer);
        if (admission.dropped) close(*admission.dropped);
        if (!admission.admitted) {
            ::close(fd);
            return;
        }
        // Neither of TCP nor of local sockets, so that one kind of connection serves both.
        const asio::generic::stream_protocol protocol(isUnix ? AF_UNIX : AF_INET,
                                                      isUnix ? 0 : IPPROTO_TCP);
        m_connections[id] =
            HttpConnection::begin(m_shares, id, HttpConnection::Socket(m_loop, protocol, fd),
                                  std::move(server), std::move(client));
    }

    void close(ConnectionTable::Id id) {
        const auto found = m_connections.find(id);
        if (found == m_connections.end()) return;
        if (const auto connection = found->second.lock()) connection->close();
    }

    const std::uint16_t m_port;
    const ServerOptions m_options;
    BodyBudget m_budget;
    ConnectionTable m_table;
    ConnectionTable::Id m_lastId = 0;
    std::atomic<std::uint64_t> m_taken = 0;
    std::map<ConnectionTable::Id, std::weak_ptr<HttpConnection>> m_connections;
    HandlerPool m_pool;
    // Goes before all that its connections use.
    // Those still hold on to handlers that the loop has yet to destroy.
    asio::io_context m_loop{1};
    ConnectionShares m_shares;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    std::list<Listener> m_listeners;
    // Of the loop's thread. What was awaited for a listener may have come, and stand behind the end
    // in the loop's queue: no error tells it then that the listener is gone.
    bool m_stopping = false;
    std::thread m_thread;
};

HttpServer::HttpServer(std::unique_ptr<Loop> loop) : m_loop(std::move(loop)) {}
HttpServer::~HttpServer() = default;

std::variant<std::unique_ptr<HttpServer>, ListenError>
HttpServer::listen(const ServerOptions& options, HttpHandler& handler) {
    const bool given = options.tcpListener >= 0;
    const int listener = given ? options.tcpListener : socket(AF_INET, SOCK_STREAM, 0);
    if (listener < 0) return listenError(errno, options.port);
    closeOnExec(listener);
    doNotBlock(listener);
    // A port whose last connections are only fading away is free; one that is listened on is not.
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, options.address.c_str(), &address.sin_addr) != 1) {
        close(listener);
        return ListenError{false, "cannot listen on " + options.address + ": it is no address"};
    }
    address.sin_port = htons(options.port);
    socklen_t size = sizeof address;
    auto* raw = reinterpret_cast<sockaddr*>(&address);
    // The port is asked for again because 0 has the system choose one.
    if ((!given && (bind(listener, raw, size) != 0 || ::listen(listener, SOMAXCONN) != 0)) ||
        getsockname(listener, raw, &size) != 0) {
        const int cause = errno;
        close(listener);
        return listenError(cause, options.port);
    }
    // It may have been handed over by who started the service, in whichever mode.
    if (options.unixListener >= 0) doNotBlock(options.unixListener);
    try {
        return std::unique_ptr<HttpServer>(new HttpServer(
            std::make_unique<Loop>(listener, ntohs(address.sin_port), options, handler)));
    } catch (const boost::system::system_error& error) {
        return ListenError{false, std::string("cannot serve: ") + error.what()};
    }
}

std::uint16_t HttpServer::port() const {
    return m_loop->port();
}

std::uint64_t HttpServer::connectionsTaken() const {
    return m_loop->taken();
}

bool HttpServer::closeIfQuiet(const std::function<bool()>& isQuiet) {
    return m_loop->closeIfQuiet(isQuiet);
}

void HttpServer::start() {
    m_loop->start();
}

void HttpServer::stop() {
    m_loop->stop();
}

} // namespace trevix
