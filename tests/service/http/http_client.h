// One HTTP exchange, byte by byte as the test wants it.

#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

struct Reply {
    int status = 0;                             ///< 0 when the connection ended without an answer.
    std::map<std::string, std::string> headers; ///< Names in lower case.
    std::string body;
};

using HeaderLines = std::vector<std::pair<std::string, std::string>>;

/// A connection to 127.0.0.1, or to a Unix socket; every step may fail and then says so.
class Connection {
public:
    explicit Connection(std::uint16_t port);
    explicit Connection(const std::filesystem::path& unixSocket);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] bool isOpen() const { return m_socket >= 0; }
    bool send(std::string_view bytes);
    void endSending();
    /// Reads until the other side closes; gives up after five minutes of silence.
    [[nodiscard]] Reply reply();
    /// Reads one answer by its length, and leaves the connection open; status 0 when it ends first.
    [[nodiscard]] Reply nextReply();

private:
    void open(int family, const void* address, unsigned size);

    int m_socket = -1;
    std::string m_rest; ///< Came behind the last answer.
};

/// Sends the bytes and reads the answer.
[[nodiscard]] Reply roundTrip(std::uint16_t port, std::string_view bytes);

/// A request with Host, and with Content-Type and Content-Length when there is a body.
[[nodiscard]] std::string requestText(std::string_view method, std::string_view target,
                                      const HeaderLines& headers = {},
                                      std::optional<std::string_view> body = std::nullopt);

[[nodiscard]] Reply get(std::uint16_t port, std::string_view target,
                        const HeaderLines& headers = {});
[[nodiscard]] Reply post(std::uint16_t port, std::string_view target, std::string_view body,
                         const HeaderLines& headers = {});

} // namespace trevix
