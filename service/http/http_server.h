// Requests in and answers out, over the loopback as a rule, and over a Unix socket.
//
// The sockets, the loop and the limits of HTTP, so that a handler sees whole requests only. One
// thread reads and writes for all connections (Boost.Asio, Boost.Beast), so that a connection that
// says nothing costs a few kilobytes and no thread; the handler's answers are found on threads of
// their own, made as they are needed. Connections are bounded in number, and one that does nothing
// gives its place to one that comes (see connection_table.h): no program of the machine can keep
// others out without knowing the key.
//
// A connection ends with its answer, unless the client asks for "Connection: keep-alive" or the
// answer says that it goes on.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
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
    /// Both ends of the connection, "127.0.0.1:8797". Empty over a Unix socket.
    std::string serverAddress;
    std::string clientAddress;

    /// The only value of a header; absent when it is missing or there are several.
    [[nodiscard]] std::optional<std::string> header(std::string_view lowerName) const;
};

struct HttpAnswer {
    int status = 200;
    std::string contentType = "application/json";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    /// The client is expected to ask more over this very connection.
    bool goesOn = false;
};

class HttpHandler {
public:
    virtual ~HttpHandler() = default;

    /// The answer to a request that is to be turned away unread. Absent when its body may be read
    /// and answer() be called. Called by the thread that serves all connections: must not block.
    [[nodiscard]] virtual std::optional<HttpAnswer> refuse(const HttpHead& head) = 0;

    /// `body` is empty for anything but POST. May block, and may throw: that is answered with 500.
    /// Called from several threads at once.
    [[nodiscard]] virtual HttpAnswer answer(const HttpHead& head, const std::string& body) = 0;

    /// The answer that the server itself gives: to a request that is no HTTP, is too large, ...
    [[nodiscard]] virtual HttpAnswer problem(int status, std::string_view text) = 0;
};

struct ServerOptions {
    /// An IPv4 address of this machine. The loopback's is asked by this machine alone.
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; ///< 0: any free one.
    /// A socket of 127.0.0.1 that is bound and listens, in place of the port, or -1. The server
    /// takes it over.
    int tcpListener = -1;
    /// A Unix socket that is bound and listens, or -1. The server takes it over. Only programs of
    /// this user and of root are answered there.
    int unixListener = -1;
    std::size_t maxBody = std::size_t{64} << 20U;
    /// Bodies being read and answered at the same time; a request waits until its body fits.
    std::size_t maxBodiesTogether = std::size_t{256} << 20U;
    std::size_t maxThreads = 320; ///< Answers being found at the same time; more wait.
    /// Connections at the same time. Chosen: four times the jobs that may wait by default. Fewer
    /// when the process may not have so many descriptors; see connectionsFor().
    std::size_t maxConnections = 1024;
    std::chrono::milliseconds headTimeout{10'000}; ///< For the whole head.
    std::chrono::milliseconds bodyTimeout{60'000}; ///< For the whole body, its wait included.
    /// For the client to take its whole answer: on the same machine, a program that has not by then
    /// is not reading.
    std::chrono::milliseconds sendTimeout{30'000};
    /// After a request was turned away unread: how long what still comes is passed over, so that
    /// the client gets to read why.
    std::chrono::milliseconds lingerTimeout{2'000};
};

/// How many connections there may be in a process that may have so many descriptors: what is left
/// of them beside those that the program needs for itself, at least 16.
[[nodiscard]] std::size_t connectionsFor(std::size_t descriptors, std::size_t wanted);

struct ListenError {
    bool portTaken = false;
    std::string text; ///< For people.
};

class HttpServer {
public:
    /// Listens on `address`. `handler` must outlive the server.
    [[nodiscard]] static std::variant<std::unique_ptr<HttpServer>, ListenError>
    listen(const ServerOptions& options, HttpHandler& handler);

    ~HttpServer(); ///< Stops.
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] std::uint16_t port() const;

    /// Begins to answer; before, connections wait.
    void start();

    /// How many connections have come so far. Any thread.
    [[nodiscard]] std::uint64_t connectionsTaken() const;

    /// Ends listening if no connection is there and `isQuiet`, asked in the same moment, says so
    /// too: then nobody is cut off. Whether it did. Between start() and stop().
    [[nodiscard]] bool closeIfQuiet(const std::function<bool()>& isQuiet);

    /// Ends listening, cuts off requests that are still being read, and waits for answers under
    /// way.
    void stop();

private:
    class Loop;
    explicit HttpServer(std::unique_ptr<Loop> loop);

    std::unique_ptr<Loop> m_loop;
};

} // namespace trevix
