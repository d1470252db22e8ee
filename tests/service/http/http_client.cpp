#include "tests/service/http/http_client.h"

#include <algorithm>
#include <cstdlib>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace trevix {

namespace {

// Of a whole answer, or of as much as came of its body.
Reply replyIn(const std::string& all) {
    Reply reply;
    const auto end = all.find("\r\n\r\n");
    if (end == std::string::npos || all.rfind("HTTP/1.1 ", 0) != 0) return reply;
    reply.status = static_cast<int>(std::strtol(all.c_str() + 9, nullptr, 10));
    std::size_t begin = all.find("\r\n") + 2;
    while (begin < end + 2) {
        const auto stop = all.find("\r\n", begin);
        const std::string line = all.substr(begin, stop - begin);
        const auto colon = line.find(": ");
        if (colon != std::string::npos) {
            std::string key = line.substr(0, colon);
            std::transform(key.begin(), key.end(), key.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
            reply.headers[key] = line.substr(colon + 2);
        }
        begin = stop + 2;
    }
    reply.body = all.substr(end + 4);
    return reply;
}

} // namespace

Connection::Connection(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    open(AF_INET, &address, sizeof address);
}

Connection::Connection(const std::filesystem::path& unixSocket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = unixSocket.string();
    if (name.size() >= sizeof address.sun_path) return;
    std::copy(name.begin(), name.end(), address.sun_path);
    open(AF_UNIX, &address, sizeof address);
}

void Connection::open(int family, const void* address, unsigned size) {
    m_socket = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // For a busy machine and sanitizers, with which the largest body takes half a minute to read.
    const timeval patience{300, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (connect(m_socket, static_cast<const sockaddr*>(address), size) != 0) {
        close(m_socket);
        m_socket = -1;
    }
}

Connection::~Connection() {
    if (m_socket >= 0) close(m_socket);
}

bool Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void Connection::endSending() {
    shutdown(m_socket, SHUT_WR);
}

Reply Connection::reply() {
    std::string all;
    char buffer[16384];
    while (true) {
        const ssize_t n = recv(m_socket, buffer, sizeof buffer, 0);
        if (n <= 0) break;
        all.append(buffer, static_cast<std::size_t>(n));
    }
    Reply reply = replyIn(all);
    if (reply.status == 100) reply.status = 0; // No test reads past an interim answer.
    return reply;
}

Reply Connection::nextReply() {
    char buffer[16384];
    while (true) {
        Reply reply = replyIn(m_rest);
        if (reply.status != 0 && reply.headers.count("content-length") > 0) {
            const std::size_t size = std::stoul(reply.headers["content-length"]);
            if (reply.body.size() >= size) {
                m_rest = reply.body.substr(size);
                reply.body.resize(size);
                return reply;
            }
        }
        const ssize_t n = recv(m_socket, buffer, sizeof buffer, 0);
        if (n <= 0) return {};
        m_rest.append(buffer, static_cast<std::size_t>(n));
    }
}

Reply roundTrip(std::uint16_t port, std::string_view bytes) {
    Connection connection(port);
    if (!connection.isOpen()) return {};
    connection.send(bytes); // The server may close before it has read all.
    return connection.reply();
}

std::string requestText(std::string_view method, std::string_view target,
                        const HeaderLines& headers, std::optional<std::string_view> body) {
    std::string text = std::string(method) + " " + std::string(target) + " HTTP/1.1\r\n";
    const auto has = [&](std::string_view name) {
        return std::any_of(headers.begin(), headers.end(),
                           [&](const auto& header) { return header.first == name; });
    };
    if (!has("Host")) text += "Host: 127.0.0.1\r\n";
    for (const auto& [name, value] : headers) text += name + ": " + value + "\r\n";
    if (body) {
        if (!has("Content-Type")) text += "Content-Type: application/json\r\n";
        if (!has("Content-Length") && !has("Transfer-Encoding")) {
            text += "Content-Length: " + std::to_string(body->size()) + "\r\n";
        }
    }
    text += "\r\n";
    if (body) text += *body;
    return text;
}

Reply get(std::uint16_t port, std::string_view target, const HeaderLines& headers) {
    return roundTrip(port, requestText("GET", target, headers));
}

Reply post(std::uint16_t port, std::string_view target, std::string_view body,
           const HeaderLines& headers) {
    return roundTrip(port, requestText("POST", target, headers, body));
}

} // namespace trevix
