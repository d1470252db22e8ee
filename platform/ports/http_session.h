// One HTTP exchange: a request and what the server answered.

#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

struct HttpRequest {
    std::string method; ///< "GET", "POST" or "DELETE".
    /// Absolute, and sent as it stands, dot segments and escapes included. Beside http and https,
    /// "http+unix://SOCKET/path": plain HTTP over the Unix socket whose absolute path, every slash
    /// of it escaped, stands in the place of the host. Anything else counts as unreachable.
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<std::string> body;
    /// How long the whole exchange may take, from the call to the last byte of the answer,
    /// redirects included.
    std::chrono::milliseconds timeout{60'000};
    /// Bytes of body, unpacked, of which an answer may have no more.
    std::size_t largestAnswer = kLargestAnswer;
    /// Whether redirects to other hosts are followed. Never while a header carries a key.
    bool followsToOtherHosts = false;
    /// A key that the server has to prove it holds before it is sent a byte of this request, on the
    /// very connection that then carries it: any program can listen on a port of this machine
    /// before the one that is meant does. Over a Unix socket, whose owner the system tells, and
    /// over https there is nothing to prove; over plain http to anywhere but this machine's
    /// loopback nothing is sent.
    std::optional<std::string> keyToProve = std::nullopt;

    /// More than any answer takes, and nothing to a machine.
    static constexpr std::size_t kLargestAnswer = std::size_t{32} * 1024 * 1024;

    bool operator==(const HttpRequest&) const = default;
};

struct HttpResponse {
    int status = 0; ///< The HTTP status code.
    std::string body;

    bool operator==(const HttpResponse&) const = default;
};

class HttpSession {
public:
    virtual ~HttpSession() = default;

    /// Performs the exchange and blocks until it is over. Absent on every transport failure: an
    /// invalid address, no connection, TLS refused, time-out, an answer cut short or too large, a
    /// Unix socket that belongs to another user, a proof not given, or the program quitting. Sent
    /// once: what fails is not tried again. Redirects on the same host are followed, from http to
    /// https too; one that leads elsewhere, or out of https, is not, unless the request says so,
    /// and comes back as the answer that it is. Interim answers are passed over. Nothing is cached
    /// and no cookie is kept. Any thread, several at once.
    [[nodiscard]] virtual std::optional<HttpResponse> send(const HttpRequest& request) = 0;
};

} // namespace kelvane
