#include "tests/critics/servers/mock_server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace trevix {

namespace {

constexpr int kLookMs = 20; // How soon it notices that it shall end.

bool isReadable(int socket, int waitMs) {
    pollfd polled{socket, POLLIN, 0};
    return poll(&polled, 1, waitMs) == 1;
}

/// Whether all of the request is there: its head, and as much behind it as that says.
bool isWhole(const std::string& request) {
    const std::size_t end = request.find("\r\n\r\n");
    if (end == std::string::npos) return false;
    const std::size_t length = request.find("Content-Length: ");
    if (length == std::string::npos || length > end) return true;
    return request.size() >= end + 4 + std::stoul(request.substr(length + 16));
}

} // namespace

MockServer::MockServer(Answer answer, std::string socketPath)
    : m_answer(std::move(answer)),
      m_socketPath(std::move(socketPath)) {
    if (m_socketPath.empty()) {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            throw std::runtime_error("no port to listen on");
        }
        m_port = ntohs(address.sin_port);
    } else {
        m_listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("no socket to listen on");
        }
    }
    if (listen(m_listener, 8) != 0) throw std::runtime_error("cannot listen");
    m_thread = std::thread([this] { serve(); });
}

MockServer::~MockServer() {
    m_ending = true;
    m_thread.join();
    close(m_listener);
    if (!m_socketPath.empty()) unlink(m_socketPath.c_str());
}

std::vector<std::string> MockServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

void MockServer::awaitRequests(std::size_t count) const {
    while (requests().size() < count) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

void MockServer::serve() {
    while (!m_ending) {
        if (!isReadable(m_listener, kLookMs)) continue;
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        answer(connection);
        close(connection);
    }
}

void MockServer::answer(int connection) {
    std::string request;
    std::array<char, 65536> room{};
    while (!isWhole(request) && !m_ending) {
        if (!isReadable(connection, kLookMs)) continue;
        const ssize_t got = recv(connection, room.data(), room.size(), 0);
        if (got <= 0) return;
        request.append(room.data(), static_cast<std::size_t>(got));
    }
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    for (const std::string& piece : m_answer(request)) {
        if (piece.empty()) {
            // Until the other end goes.
            while (!m_ending) {
                if (isReadable(connection, kLookMs) &&
                    recv(connection, room.data(), room.size(), 0) <= 0) {
                    return;
                }
            }
            return;
        }
        std::size_t at = 0;
        while (at < piece.size() && !m_ending) {
            const ssize_t sent =
                send(connection, piece.data() + at, piece.size() - at, MSG_NOSIGNAL);
            if (sent <= 0) return;
            at += static_cast<std::size_t>(sent);
        }
    }
}

std::string httpAnswer(const std::string& body, const std::string& status) {
    return "HTTP/1.1 " + status +
           "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace trevix
