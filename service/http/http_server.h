// Requests in and answers out, over the loopback.
//
// The sockets, the threads and the limits of HTTP, so that a handler sees whole requests only. One
// request per connection: on a loopback a new connection costs nothing, and no client can hold a
// thread between requests.
//
// The HTTP library reads the head and writes the answer. Listening, time-outs and the limits on
// what a client may send are here, because the library's own server (0.11) has none for the size of
// a head and the time of a whole request, and neither answers others nor ends while clients drip:
// any program on the machine could stop the service without knowing its key.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trevix {

/// All of a request but its body.
struct HttpHead {
    std::string method; ///< "GET", "POST", ... as sent.
    std::string path;   ///< Without the query, unescaped. Not necessarily UTF-8.
    std::map<std::string, std::string> query;        ///< Of a repeated name the first value.
    std::multimap<std::string, std::string> headers; ///< Names in lower case.

    /// The only value of a header; absent when it is missing or there are several.
    [[nodiscard]] std::optional<std::string> header(std::string_view lowerName) const;
};

struct HttpAnswer {
    int status = 200;
    std::string contentType = "application/json";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
};

class HttpHandler {
public:
    virtual ~HttpHandler() = default;

    /// The answer to a request that is to be turned away unread. Absent when its body may be read
    /// and answer() be called.
    [[nodiscard]] virtual std::optional<HttpAnswer> refuse(const HttpHead& head) = 0;

    /// `body` is empty for anything but POST. May block, and may throw: that is answered with 500.
    [[nodiscard]] virtual HttpAnswer answer(const HttpHead& head, const std::string& body) = 0;

    /// The answer that the server itself gives: to a request that is no HTTP, is too large, ...
    [[nodiscard]] virtual HttpAnswer problem(int status, std::string_view text) = 0;
};

struct ServerOptions {
    std::uint16_t port = 0; ///< 0: any free one.
    std::size_t maxBody = std::size_t{64} << 20U;
    /// Bodies being read and answered at the same time; a request waits until its body fits.
    std::size_t maxBodiesTogether = std::size_t{256} << 20U;
    std::size_t maxThreads = 320; ///< Requests at the same time; more wait to be taken.
    std::chrono::milliseconds headTimeout{10'000}; ///< For the whole head.
    std::chrono::milliseconds bodyTimeout{60'000}; ///< For the whole body, its wait included.
    /// After a request was turned away unread: how long what still comes is passed over, so that
    /// the client gets to read why.
    std::chrono::milliseconds lingerTimeout{2'000};
};

struct ListenError {
    bool portTaken = false;
    std::string text; ///< For people.
};

class HttpServer {
public:
    /// Listens on 127.0.0.1. `handler` must outlive the server.
    [[nodiscard]] static std::variant<std::unique_ptr<HttpServer>, ListenError>
    listen(const ServerOptions& options, HttpHandler& handler);

    ~HttpServer(); ///< Stops.
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] std::uint16_t port() const;

    /// Begins to answer; before, connections wait.
    void start();

    /// Ends listening, cuts off requests that are still being read, and waits for answers under
    /// way.
    void stop();

private:
    class Worker;
    explicit HttpServer(std::unique_ptr<Worker> worker);

    std::unique_ptr<Worker> m_worker;
};

} // namespace trevix
