#include "platform/linux/wayland/sway_socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{300};
constexpr std::uint32_t kLongestAnswer = 16U << 20U;
constexpr std::uint32_t kGetTree = 4;
constexpr std::string_view kMagic = "i3-ipc";
constexpr std::size_t kHeader = 14; ///< The magic, the length, the type.

class Socket {
public:
    explicit Socket(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.empty() || path.size() >= sizeof address.sun_path) return;
        path.copy(address.sun_path, path.size());
        m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (m_socket < 0 ||
            ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return;
        }
        ::close(m_socket);
        m_socket = -1;
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() {
        if (m_socket >= 0) ::close(m_socket);
    }

    [[nodiscard]] bool send(std::string_view bytes) const {
        return m_socket >= 0 && ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
                                    static_cast<ssize_t>(bytes.size());
    }

    /// Exactly that many bytes, unless time is over first.
    [[nodiscard]] std::optional<std::string> receive(std::size_t size,
                                                     steady_clock::time_point end) const {
        std::string bytes(size, '\0');
        std::size_t have = 0;
        while (have < size) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
            pollfd waiting{m_socket, POLLIN, 0};
            const int ready =
                ::poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
            if (ready < 0 && errno == EINTR) continue;
            if (ready <= 0) return std::nullopt;
            const auto got = ::recv(m_socket, bytes.data() + have, size - have, 0);
            if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (got <= 0) return std::nullopt;
            have += static_cast<std::size_t>(got);
        }
        return bytes;
    }

private:
    int m_socket = -1;
};

} // namespace

std::optional<std::string> SwaySocket::tree() const {
    const Socket socket(m_path);
    std::string question(kMagic);
    for (const std::uint32_t number : {0U, kGetTree}) {
        question.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    if (!socket.send(question)) return std::nullopt;
    const auto end = steady_clock::now() + kPatience;
    const auto header = socket.receive(kHeader, end);
    if (!header || !header->starts_with(kMagic)) return std::nullopt;
    std::uint32_t length = 0;
    std::memcpy(&length, header->data() + kMagic.size(), sizeof length);
    if (length > kLongestAnswer) return std::nullopt;
    return socket.receive(length, end);
}

} // namespace kelvane
