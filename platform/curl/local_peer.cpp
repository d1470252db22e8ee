#include "platform/curl/local_peer.h"

#include "platform/curl/local_proof.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvane {

namespace {

/// The user whom the other end of a Unix socket belongs to.
std::optional<uid_t> peerOf(int socket) {
#ifdef __linux__
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return std::nullopt;
    }
    return credentials.uid;
#else
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(socket, &user, &group) != 0) return std::nullopt;
    return user;
#endif
}

} // namespace

int openSocket(int family, int type, int protocol) {
    const int socket = ::socket(family, type, protocol);
    // In two steps, as not every system has it in one; a program started between the two gets a
    // socket that is connected to nobody.
    if (socket >= 0) ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    return socket;
}

bool isTrustedPeer(int socket, uid_t user) {
    const auto peer = peerOf(socket);
    // The administrator's programs may answer for a user, and can do everything anyway.
    return peer && (*peer == user || *peer == 0);
}

bool hasUnread(int socket) {
    char byte = 0;
    // Also for 0, the end of the connection: it is over, which is something to read as well.
    const ssize_t size = ::recv(socket, &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT);
    return size >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

std::string localEnd(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return {};
    std::array<char, INET6_ADDRSTRLEN> ip{};
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        ::inet_ntop(AF_INET, &v4.sin_addr, ip.data(), ip.size());
        return serverAddress(ip.data(), ntohs(v4.sin_port));
    }
    if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, ip.data(), ip.size());
        return serverAddress(ip.data(), ntohs(v6.sin6_port));
    }
    return {};
}

} // namespace kelvane
