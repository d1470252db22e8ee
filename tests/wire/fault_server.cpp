#include "tests/wire/fault_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kelvane::wire {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string lowercase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The lines of a request's head; absent when they are no such thing.
std::optional<SeenRequest> parseHead(std::string_view head) {
    SeenRequest request;
    bool first = true;
    while (!head.empty()) {
        const std::size_t end = head.find("\r\n");
        const std::string_view line = head.substr(0, end);
        head = end == std::string_view::npos ? std::string_view{} : head.substr(end + 2);
        if (first) {
            const std::size_t space = line.find(' ');
            const std::size_t last = line.rfind(' ');
            if (space == std::string_view::npos || space == last) return std::nullopt;
            request.method = line.substr(0, space);
            request.target = line.substr(space + 1, last - space - 1);
            first = false;
            continue;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) return std::nullopt;
        std::string_view value = line.substr(colon + 1);
        while (value.starts_with(' ')) value.remove_prefix(1);
        request.headers[lowercase(std::string(line.substr(0, colon)))] = value;
    }
    if (first) return std::nullopt;
    return request;
}

std::string headBytes(int status, const Headers& headers) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " Because\r\n";
    for (const auto& [name, value] : headers) head.append(name + ": " + value + "\r\n");
    return head + "\r\n";
}

} // namespace

bool Connection::send(std::string_view bytes) {
    while (isOpen() && !bytes.empty()) {
        const ssize_t sent = ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return isOpen();
}

void Connection::close() {
    if (isOpen()) ::close(std::exchange(m_fd, -1));
}

void Connection::reset() {
    const linger hard{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    close();
}

bool Connection::readSome() {
    std::array<pollfd, 2> waits{pollfd{m_fd, POLLIN, 0}, pollfd{m_stopFd, POLLIN, 0}};
    if (::poll(waits.data(), waits.size(), -1) < 0) return errno == EINTR;
    if (waits[1].revents != 0) return false;
    std::array<char, 64 * 1024> buffer{};
    const ssize_t size = ::recv(m_fd, buffer.data(), buffer.size(), 0);
    if (size <= 0) return size < 0 && errno == EINTR;
    m_unread.append(buffer.data(), static_cast<std::size_t>(size));
    return true;
}

void Connection::waitForClient() {
    while (isOpen() && readSome()) {
    }
}

bool Connection::pause(std::chrono::milliseconds duration) {
    pollfd stop{m_stopFd, POLLIN, 0};
    return ::poll(&stop, 1, static_cast<int>(duration.count())) == 0;
}

std::optional<SeenRequest> Connection::readRequest() {
    std::size_t headEnd = 0;
    while ((headEnd = m_unread.find("\r\n\r\n")) == std::string::npos) {
        if (!isOpen() || !readSome()) return std::nullopt;
    }
    auto request = parseHead(std::string_view(m_unread).substr(0, headEnd));
    if (!request) return std::nullopt;
    std::size_t bodySize = 0;
    if (const auto length = request->headers.find("content-length");
        length != request->headers.end()) {
        bodySize = std::stoul(length->second);
    }
    const std::size_t bodyBegin = headEnd + 4;
    while (m_unread.size() < bodyBegin + bodySize) {
        if (!readSome()) return std::nullopt;
    }
    request->body = m_unread.substr(bodyBegin, bodySize);
    request->connection = m_number;
    m_unread.erase(0, bodyBegin + bodySize);
    return request;
}

FaultServer::Listening FaultServer::bindToLoopback() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) fail("socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), size) != 0) fail("bind");
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) fail("getsockname");
    if (::listen(fd, 64) != 0) fail("listen");
    return {fd, ntohs(address.sin_port)};
}

FaultServer::Listening FaultServer::bindTo(const std::string& socketPath,
                                           std::optional<unsigned> user) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) fail("socket");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("bind");
    // Who listens is who the other end is told of. Of this thread alone, and only while it does.
    const auto become = [](unsigned effective) {
        if (::syscall(SYS_setresuid, -1, effective, -1) != 0) fail("setresuid");
    };
    const unsigned self = ::geteuid();
    if (user) become(*user);
    if (::listen(fd, 64) != 0) fail("listen");
    if (user) become(self);
    return {fd, 0};
}

FaultServer::FaultServer() : FaultServer(bindToLoopback()) {}

FaultServer::FaultServer(const std::string& socketPath, std::optional<unsigned> user)
    : FaultServer(bindTo(socketPath, user)) {}

FaultServer::FaultServer(Listening listening) {
    m_listenFd = listening.fd;
    m_port = listening.port;
    std::array<int, 2> stop{};
    if (::pipe(stop.data()) != 0) fail("pipe");
    m_stopReadFd = stop[0];
    m_stopWriteFd = stop[1];
    script({answer(404, "")});
    m_accepting = std::thread([this] { acceptAll(); });
}

FaultServer::~FaultServer() {
    ::close(m_stopWriteFd); // everyone's poll sees the end of the pipe
    m_accepting.join();
    for (std::thread& thread : m_served) thread.join();
    ::close(m_listenFd);
    ::close(m_stopReadFd);
}

void FaultServer::script(std::vector<Step> steps) {
    const std::lock_guard lock(m_mutex);
    m_script = {steps.begin(), steps.end()};
}

void FaultServer::onAccept(std::function<void(Connection&)> treatment) {
    const std::lock_guard lock(m_mutex);
    m_onAccept = std::move(treatment);
}

std::string FaultServer::base() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}

std::vector<SeenRequest> FaultServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

int FaultServer::connections() const {
    const std::lock_guard lock(m_mutex);
    return m_connections;
}

bool FaultServer::waitForRequests(std::size_t count) const {
    std::unique_lock lock(m_mutex);
    return m_arrived.wait_for(lock, std::chrono::seconds(10),
                              [&] { return m_requests.size() >= count; });
}

bool FaultServer::waitForEnds(int count) const {
    std::unique_lock lock(m_mutex);
    return m_arrived.wait_for(lock, std::chrono::seconds(10), [&] { return m_ended >= count; });
}

void FaultServer::acceptAll() {
    while (true) {
        std::array<pollfd, 2> waits{pollfd{m_listenFd, POLLIN, 0}, pollfd{m_stopReadFd, POLLIN, 0}};
        if (::poll(waits.data(), waits.size(), -1) < 0) continue;
        if (waits[1].revents != 0) return;
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        int number = 0;
        {
            const std::lock_guard lock(m_mutex);
            number = ++m_connections;
        }
        m_served.emplace_back([this, fd, number] {
            Connection connection(fd, number, m_stopReadFd);
            serve(connection);
            connection.close();
            const std::lock_guard ended(m_mutex);
            ++m_ended;
            m_arrived.notify_all();
        });
    }
}

void FaultServer::serve(Connection& connection) {
    std::function<void(Connection&)> treatment;
    {
        const std::lock_guard lock(m_mutex);
        treatment = m_onAccept;
    }
    if (treatment) treatment(connection);
    while (connection.isOpen()) {
        const auto request = connection.readRequest();
        if (!request) return;
        Step step;
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(*request);
            step = m_script.front();
            if (m_script.size() > 1) m_script.pop_front();
        }
        m_arrived.notify_all();
        step(connection, *request);
    }
}

std::uint16_t closedPort() {
    // Bound and let go: the system hands out other ports before it comes back to this one.
    const auto listening = FaultServer::bindToLoopback();
    ::close(listening.fd);
    return listening.port;
}

std::string answerBytes(int status, std::string_view body, const Headers& more) {
    Headers headers = more;
    headers.emplace_back("Content-Length", std::to_string(body.size()));
    return headBytes(status, headers).append(body);
}

Step answer(int status, std::string body, Headers more) {
    return [status, body = std::move(body), more = std::move(more)](Connection& connection,
                                                                    const SeenRequest&) {
        connection.send(answerBytes(status, body, more));
    };
}

Step json(std::string body) {
    return answer(200, std::move(body), {{"Content-Type", "application/json"}});
}

Step redirect(int status, std::string location, std::string body) {
    return answer(status, std::move(body), {{"Location", std::move(location)}});
}

Step rawThenClose(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& connection, const SeenRequest&) {
        connection.send(bytes);
        connection.close();
    };
}

Step halfBody(int status, const std::string& body) {
    const std::string whole = answerBytes(status, body);
    return rawThenClose(whole.substr(0, whole.size() - body.size() / 2));
}

Step silence() {
    return [](Connection& connection, const SeenRequest&) {
        connection.waitForClient();
        connection.close();
    };
}

Step hangUp() {
    return [](Connection& connection, const SeenRequest&) { connection.close(); };
}

Step reset() {
    return [](Connection& connection, const SeenRequest&) { connection.reset(); };
}

Step trickle(std::string body, std::size_t size, std::chrono::milliseconds pause) {
    return [body = std::move(body), size, pause](Connection& connection, const SeenRequest&) {
        connection.send(headBytes(200, {{"Content-Length", std::to_string(body.size())}}));
        for (std::size_t at = 0; at < body.size(); at += size) {
            if (!connection.pause(pause)) return;
            if (!connection.send(std::string_view(body).substr(at, size))) return;
        }
    };
}

Step chunked(std::string body, std::size_t size) {
    return [body = std::move(body), size](Connection& connection, const SeenRequest&) {
        connection.send(headBytes(200, {{"Transfer-Encoding", "chunked"}}));
        for (std::size_t at = 0; at < body.size(); at += size) {
            const std::string_view piece = std::string_view(body).substr(at, size);
            std::array<char, 32> length{};
            std::snprintf(length.data(), length.size(), "%zx\r\n", piece.size());
            connection.send(length.data());
            connection.send(piece);
            connection.send("\r\n");
        }
        connection.send("0\r\n\r\n");
    };
}

} // namespace kelvane::wire
