#include "service/setup/inherited_sockets.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace trevix {

namespace {

constexpr int kFirstInherited = 3;
constexpr std::size_t kMostInherited = 2;

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

int optionOf(int fd, int option) {
    int value = 0;
    socklen_t size = sizeof value;
    return getsockopt(fd, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

SocketError unusable(int fd, const char* why) {
    return {"the socket handed on as descriptor " + std::to_string(fd) + " " + why};
}

std::optional<SocketError> takeOne(int fd, InheritedSockets& taken) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        optionOf(fd, SO_TYPE) != SOCK_STREAM || optionOf(fd, SO_ACCEPTCONN) != 1) {
        return unusable(fd, "is no stream socket that listens");
    }
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    if (address.ss_family == AF_UNIX) {
        const auto& name = reinterpret_cast<const sockaddr_un&>(address);
        constexpr std::size_t kBefore = offsetof(sockaddr_un, sun_path);
        if (size <= kBefore || name.sun_path[0] != '/') return unusable(fd, "has no name");
        if (taken.unixListener >= 0) return unusable(fd, "is a second Unix socket");
        taken.unixListener = fd;
        taken.socket = std::string(name.sun_path, strnlen(name.sun_path, size - kBefore));
        return std::nullopt;
    }
    const auto& internet = reinterpret_cast<const sockaddr_in&>(address);
    if (address.ss_family != AF_INET || internet.sin_addr.s_addr != htonl(INADDR_LOOPBACK)) {
        return unusable(fd, "is neither a Unix socket nor a port of 127.0.0.1");
    }
    if (taken.tcpListener >= 0) return unusable(fd, "is a second port");
    taken.tcpListener = fd;
    return std::nullopt;
}

} // namespace

std::variant<std::size_t, SocketError> inheritedCount(const std::optional<std::string>& listenPid,
                                                      const std::optional<std::string>& listenFds,
                                                      pid_t self) {
    if (!listenPid || !listenFds || wholeNumber<pid_t>(*listenPid) != self) return std::size_t{0};
    const auto count = wholeNumber<std::size_t>(*listenFds);
    if (!count) return SocketError{"LISTEN_FDS is no number: " + *listenFds};
    if (*count > kMostInherited) {
        return SocketError{"LISTEN_FDS is " + *listenFds +
                           ": a Unix socket and a port is all that is listened on"};
    }
    return *count;
}

std::variant<InheritedSockets, SocketError> takeInherited(std::size_t count) {
    InheritedSockets taken;
    for (std::size_t i = 0; i < count; ++i) {
        if (auto error = takeOne(kFirstInherited + static_cast<int>(i), taken)) {
            return std::move(*error);
        }
    }
    return taken;
}

} // namespace trevix
