// One HTTP exchange: a request and what the server answered.

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

struct HttpRequest {
    std::string method; ///< "GET", "POST" or "DELETE".
    std::string url;    ///< Absolute; anything but http and https counts as unreachable.
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<std::string> body;
    /// How long the connection may stay silent, from the start of the exchange or between two
    /// pieces of the answer, before it counts as failed.
    std::chrono::milliseconds timeout{60'000};

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
    /// invalid address, no connection, TLS refused, time-out, an answer cut short, or the program
    /// quitting. Redirects within the same origin are followed; one that leads to another origin is
    /// not followed, since the headers may carry a key, and comes back as the answer that it is.
    /// Nothing is cached and no cookie is kept. Any thread, several at once.
    [[nodiscard]] virtual std::optional<HttpResponse> send(const HttpRequest& request) = 0;
};

} // namespace kelvane
