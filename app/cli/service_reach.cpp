#include "app/cli/service_reach.h"

#include "text/web_address.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <future>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kSocketScheme = "http+unix://";
/// An answer of the running instance is a few kilobytes.
constexpr std::size_t kLongestAnswer = std::size_t{1} << 20U;
/// Between two tries of a service that is being started: some hundred in the time that it has.
constexpr std::chrono::milliseconds kBetweenTries{50};

/// A connection whose every wait ends at one moment.
class Call {
public:
    explicit Call(Clock::time_point until) : m_until(until) {}
    ~Call() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    bool connect(int family, const sockaddr* address, socklen_t size) {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = ::socket(family, SOCK_STREAM, 0);
        if (m_fd < 0) return false;
        ::fcntl(m_fd, F_SETFD, FD_CLOEXEC);
        ::fcntl(m_fd, F_SETFL, O_NONBLOCK);
        if (::connect(m_fd, address, size) == 0) return true;
        if (errno != EINPROGRESS || !await(POLLOUT)) return false;
        int error = 0;
        socklen_t length = sizeof error;
        return ::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
    }

    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            if (!await(POLLOUT)) return false;
            const ssize_t sent = ::write(m_fd, bytes.data(), bytes.size());
            if (sent < 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    /// To the first line's end, which is not part of it.
    std::optional<std::string> line() {
        std::string text;
        std::array<char, 4096> bytes{};
        while (text.size() < kLongestAnswer && await(POLLIN)) {
            const ssize_t size = ::read(m_fd, bytes.data(), bytes.size());
            if (size <= 0) return std::nullopt;
            text.append(bytes.data(), static_cast<std::size_t>(size));
            if (const auto end = text.find('\n'); end != std::string::npos) {
                return text.substr(0, end);
            }
        }
        return std::nullopt;
    }

private:
    bool await(short events) {
        while (true) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(m_until - Clock::now());
            if (left.count() <= 0) return false;
            pollfd waiting{.fd = m_fd, .events = events, .revents = 0};
            const int ready = ::poll(&waiting, 1, static_cast<int>(left.count()));
            if (ready > 0) return true;
            if (ready < 0 && errno != EINTR) return false;
        }
    }

    Clock::time_point m_until;
    int m_fd = -1;
};

bool connectTo(Call& call, const std::string& socket) {
    sockaddr_un address{};
    if (socket.size() >= sizeof address.sun_path) return false;
    address.sun_family = AF_UNIX;
    socket.copy(address.sun_path, socket.size());
    return call.connect(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

struct Address {
    int family = 0;
    std::vector<std::byte> bytes;
};

/// A resolver knows no limit: it is left to itself when it takes too long. The process ends with
/// the answer, whatever it is still doing.
std::vector<Address> resolved(const std::string& host, const std::string& port,
                              Clock::time_point until) {
    const auto answer = std::make_shared<std::promise<std::vector<Address>>>();
    auto coming = answer->get_future();
    std::thread([answer, host, port] {
        std::vector<Address> found;
        addrinfo wish{};
        wish.ai_socktype = SOCK_STREAM;
        addrinfo* list = nullptr;
        if (::getaddrinfo(host.c_str(), port.c_str(), &wish, &list) == 0) {
            for (const addrinfo* each = list; each != nullptr; each = each->ai_next) {
                const auto* const bytes = reinterpret_cast<const std::byte*>(each->ai_addr);
                found.push_back({each->ai_family, {bytes, bytes + each->ai_addrlen}});
            }
            ::freeaddrinfo(list);
        }
        answer->set_value(std::move(found));
    }).detach();
    if (coming.wait_until(until) != std::future_status::ready) return {};
    return coming.get();
}

bool isReachedNow(const ReachTarget& target, Clock::time_point until) {
    Call call(until);
    bool connected = false;
    if (!target.socket.empty()) {
        connected = connectTo(call, target.socket);
    } else {
        for (const Address& each : resolved(target.host, target.port, until)) {
            connected =
                call.connect(each.family, reinterpret_cast<const sockaddr*>(each.bytes.data()),
                             static_cast<socklen_t>(each.bytes.size()));
            if (connected) break;
        }
    }
    if (!connected || !target.speaksPlainly) return connected;
    const std::string host = target.socket.empty() ? target.host + ":" + target.port : "localhost";
    if (!call.send("GET /healthz HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n\r\n")) {
        return false;
    }
    const auto status = call.line();
    return status && (status->starts_with("HTTP/1.1 200") || status->starts_with("HTTP/1.0 200"));
}

} // namespace

std::optional<ReachTarget> reachTarget(const std::string& base) {
    if (base.starts_with(kSocketScheme)) {
        const auto path = text::unescaped(
            std::string_view(base)
                .substr(kSocketScheme.size())
                .substr(0, base.find_first_of("/?#", kSocketScheme.size()) - kSocketScheme.size()));
        if (!path || !path->starts_with('/')) return std::nullopt;
        return ReachTarget{.socket = *path, .host = {}, .port = {}, .speaksPlainly = true};
    }
    const auto origin = text::webOrigin(base);
    if (!origin) return std::nullopt;
    return ReachTarget{.socket = {},
                       .host = origin->host,
                       .port = std::to_string(origin->port),
                       .speaksPlainly = origin->scheme == "http"};
}

bool isAnswer(const ReachTarget& target, int status) {
    return target.speaksPlainly ? status == 200 : status != 0;
}

bool isReached(const ReachTarget& target, std::chrono::milliseconds patience, bool isBeingStarted) {
    const auto until = Clock::now() + patience;
    while (!isReachedNow(target, until)) {
        if (!isBeingStarted || Clock::now() + kBetweenTries >= until) return false;
        std::this_thread::sleep_for(kBetweenTries);
    }
    return true;
}

std::optional<std::string> askSocket(const std::filesystem::path& socket, std::string_view line,
                                     std::chrono::milliseconds patience) {
    Call call(Clock::now() + patience);
    if (!connectTo(call, socket.string()) || !call.send(std::string(line) + "\n")) {
        return std::nullopt;
    }
    return call.line();
}

} // namespace kelvane
