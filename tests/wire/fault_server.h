// A real HTTP server that misbehaves on purpose.
//
// It listens on 127.0.0.1, on a port of its own, and treats each request by the next step of a
// script: a step is whatever a test wants done with the connection once the request is read. What
// arrived is kept for the test to look at. Connections are served one thread each.
//
// The test's thread sets the script before it causes requests; everything else is safe from any
// thread.

#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kelvane::wire {

struct SeenRequest {
    std::string method;
    std::string target;
    std::map<std::string, std::string> headers; ///< Names in lower case.
    std::string body;
    int connection = 0; ///< Which connection brought it, counted from 1.
};

/// The server's end of one connection, in the hands of a step.
class Connection {
public:
    Connection(int fd, int number, int stopFd) : m_fd(fd), m_number(number), m_stopFd(stopFd) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { close(); }

    /// False when the client has gone.
    bool send(std::string_view bytes);
    void close();
    void reset(); ///< Closes so that the client gets a reset instead of an end.

    /// Waits until the client closes its end or the server stops.
    void waitForClient();
    /// False when the server stopped meanwhile.
    bool pause(std::chrono::milliseconds duration);

    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }

    /// Absent when the client closes first or sends something that is not HTTP.
    std::optional<SeenRequest> readRequest();

private:
    bool readSome(); // false at the end, or when the server stops

    int m_fd;
    int m_number;
    int m_stopFd;
    std::string m_unread;
};

/// Afterwards the connection waits for a next request, unless the step closed it.
using Step = std::function<void(Connection&, const SeenRequest&)>;

class FaultServer {
public:
    FaultServer();
    /// Listens on a Unix socket of that path instead, as another user when `user` is given, which
    /// only root can have.
    explicit FaultServer(const std::string& socketPath,
                         std::optional<unsigned> user = std::nullopt);
    ~FaultServer();
    FaultServer(const FaultServer&) = delete;
    FaultServer& operator=(const FaultServer&) = delete;

    /// How the coming requests are treated, first one first; the last step stays for all later
    /// ones. Replaces an earlier script.
    void script(std::vector<Step> steps);
    /// Treats connections before they can say anything. Unset: they are read.
    void onAccept(std::function<void(Connection&)> treatment);

    [[nodiscard]] std::string base() const; ///< "http://127.0.0.1:<port>"
    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] std::vector<SeenRequest> requests() const;
    [[nodiscard]] int connections() const; ///< How many were accepted.

    /// Waits until so many requests have arrived; false after ten seconds.
    [[nodiscard]] bool waitForRequests(std::size_t count) const;
    /// Waits until so many connections were served to their end; false after ten seconds.
    [[nodiscard]] bool waitForEnds(int count) const;

private:
    struct Listening {
        int fd;
        std::uint16_t port;
    };
    explicit FaultServer(Listening listening);
    static Listening bindToLoopback();
    static Listening bindTo(const std::string& socketPath, std::optional<unsigned> user);
    friend std::uint16_t closedPort();

    void acceptAll();
    void serve(Connection& connection);

    int m_listenFd = -1;
    int m_stopReadFd = -1;
    int m_stopWriteFd = -1;
    std::uint16_t m_port = 0;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    std::deque<Step> m_script;
    std::function<void(Connection&)> m_onAccept;
    std::vector<SeenRequest> m_requests;
    int m_connections = 0;
    int m_ended = 0;

    std::vector<std::thread> m_served;
    std::thread m_accepting;
};

/// A port of 127.0.0.1 on which nobody listens.
[[nodiscard]] std::uint16_t closedPort();

// Bytes of whole answers.

using Headers = std::vector<std::pair<std::string, std::string>>;

[[nodiscard]] std::string answerBytes(int status, std::string_view body, const Headers& more = {});

// Steps.

/// A proper answer; the connection stays open.
[[nodiscard]] Step answer(int status, std::string body, Headers more = {});
[[nodiscard]] Step json(std::string body);
[[nodiscard]] Step redirect(int status, std::string location, std::string body = {});
/// These bytes as they are, then the end of the connection.
[[nodiscard]] Step rawThenClose(std::string bytes);
/// The head of an answer that promises the whole body, half of that body, and the end.
[[nodiscard]] Step halfBody(int status, const std::string& body);
/// Not a word until the client gives up.
[[nodiscard]] Step silence();
/// The end of the connection in place of an answer.
[[nodiscard]] Step hangUp();
[[nodiscard]] Step reset();
/// The answer in pieces of `size` bytes with a pause before each.
[[nodiscard]] Step trickle(std::string body, std::size_t size, std::chrono::milliseconds pause);
/// The answer in chunks of `size` bytes.
[[nodiscard]] Step chunked(std::string body, std::size_t size);

} // namespace kelvane::wire
