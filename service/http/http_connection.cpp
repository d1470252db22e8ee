#include "service/http/http_connection.h"

#include "text/unicode.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <exception>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace trevix {

namespace {

using kelvane::text::lowerAscii;

using Clock = std::chrono::steady_clock;

// Bytes of request line and headers together.
constexpr std::size_t kLongestHead = std::size_t{32} << 10U;
// Bytes read and thrown away after a refusal, so that a client that is still sending gets to read
// the answer instead of a broken connection.
constexpr std::size_t kMostPassedOver = std::size_t{256} << 20U;
// A client on the same machine that takes nothing for this long is gone.
constexpr std::chrono::seconds kWriteTimeout{30};

// The bytes of the connection, with the deadline of what is being read.
class SocketStream final : public httplib::Stream {
public:
    SocketStream(int socket, int stop, Clock::time_point headDeadline)
        : m_socket(socket),
          m_stop(stop),
          m_deadline(headDeadline) {}

    using Stream::write;

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }

    ssize_t read(char* to, size_t size) override {
        if (m_begin == m_end && !fill()) return m_ended ? 0 : -1;
        const std::size_t count = std::min(size, m_end - m_begin);
        if (m_inHead && (m_headBytes += count) > kLongestHead) {
            m_headTooLong = true;
            return -1;
        }
        std::copy_n(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_begin), count, to);
        m_begin += count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* from, size_t size) override {
        const auto deadline = Clock::now() + kWriteTimeout;
        std::size_t sent = 0;
        while (sent < size) {
            // SIGPIPE is ignored by the whole process.
            const ssize_t n = send(m_socket, from + sent, size - sent, MSG_DONTWAIT);
            if (n > 0) {
                sent += static_cast<std::size_t>(n);
            } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
                if (!wait(POLLOUT, deadline, false)) return -1;
            } else if (n >= 0 || errno != EINTR) {
                return -1;
            }
        }
        m_answered = true;
        return static_cast<ssize_t>(size);
    }

    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    // Used only to refuse descriptors that select() cannot take; nothing here selects.
    socket_t socket() const override { return 0; }

    void beginBody(Clock::time_point deadline) {
        m_inHead = false;
        m_deadline = deadline;
    }

    /// Reads and forgets, for as long as a client may still be sending. Ends the sending side
    /// first.
    void passOver(Clock::time_point deadline) {
        shutdown(m_socket, SHUT_WR);
        m_deadline = deadline;
        for (std::size_t passed = 0; passed < kMostPassedOver; passed += m_end - m_begin) {
            if (!fill()) return;
        }
    }

    [[nodiscard]] bool answered() const { return m_answered; }
    [[nodiscard]] bool headTooLong() const { return m_headTooLong; }
    [[nodiscard]] bool timedOut() const { return m_timedOut; }
    [[nodiscard]] bool cameAnything() const { return m_cameAnything; }

private:
    bool fill() {
        m_begin = m_end = 0;
        while (true) {
            if (!wait(POLLIN, m_deadline, true)) return false;
            const ssize_t n = recv(m_socket, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT);
            if (n > 0) {
                m_end = static_cast<std::size_t>(n);
                m_cameAnything = true;
                return true;
            }
            if (n == 0) m_ended = true;
            if (n == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK)) return false;
        }
    }

    [[nodiscard]] bool wait(short event, Clock::time_point deadline, bool untilStop) {
        while (true) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) {
                m_timedOut = true;
                return false;
            }
            pollfd waits[2] = {{m_socket, event, 0}, {m_stop, POLLIN, 0}};
            const int ready = poll(waits, untilStop ? 2 : 1, static_cast<int>(left.count()));
            if (ready < 0 && errno != EINTR) return false;
            if (ready <= 0) continue;
            if (waits[0].revents != 0) return true;
            if (waits[1].revents != 0) return false;
        }
    }

    const int m_socket;
    const int m_stop;
    Clock::time_point m_deadline;
    std::array<char, 32768> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_headBytes = 0;
    bool m_inHead = true;
    bool m_headTooLong = false;
    bool m_timedOut = false;
    bool m_ended = false;
    bool m_cameAnything = false;
    bool m_answered = false;
};

// What a body declares of itself.
struct Framing {
    bool chunked = false;
    std::size_t length = 0;
};

// One request. The library keeps its handlers in a server object, so each exchange is one.
class Exchange final : private httplib::Server {
public:
    Exchange(SocketStream& stream, const ServerOptions& options, BodyBudget& budget,
             HttpHandler& handler)
        : m_stream(stream),
          m_options(options),
          m_budget(budget),
          m_handler(handler) {
        set_pre_routing_handler([this](const httplib::Request&, httplib::Response& response) {
            return answerUnread(response) ? HandlerResponse::Handled : HandlerResponse::Unhandled;
        });
        set_expect_100_continue_handler(
            [this](const httplib::Request&, httplib::Response& response) {
                return answerUnread(response) ? response.status : 100;
            });
        Post("/", [this](const httplib::Request&, httplib::Response& response,
                         const httplib::ContentReader& reader) { answerBody(response, reader); });
        set_exception_handler([this](const httplib::Request&, httplib::Response& response,
                                     const std::exception_ptr&) {
            put(m_handler.problem(500, "internal error"), response);
        });
        set_error_handler(
            HandlerWithResponse([this](const httplib::Request&, httplib::Response& response) {
                // The library's own refusals have no body yet.
                if (!response.body.empty()) return HandlerResponse::Handled;
                put(libraryProblem(response.status), response);
                if (response.status != 416) return HandlerResponse::Handled;
                // Handled means: to be cut to the ranges, which are what could not be read.
                response.set_header("Content-Length", std::to_string(response.body.size()));
                return HandlerResponse::Unhandled;
            }));
    }

    ~Exchange() override {
        if (m_taken > 0) m_budget.giveBack(m_taken);
    }

    void run() {
        bool closed = false;
        process_request(m_stream, true, closed,
                        [this](httplib::Request& request) { takeHead(request); });
        if (!m_stream.answered() && m_stream.cameAnything()) answerBare();
    }

    /// Whether the client may still be sending what nobody wants to read.
    [[nodiscard]] bool leftUnread() const { return !m_readWhole; }

private:
    void takeHead(httplib::Request& request) {
        m_head.method = request.method;
        m_head.path = request.path;
        for (const auto& [key, value] : request.params) m_head.query.emplace(key, value);
        for (const auto& [key, value] : request.headers) {
            m_head.headers.emplace(lowerAscii(key), value);
        }
        // What the library would do by itself with these is not wanted: it serves ranges of
        // generated pages, compresses for the loopback, and unpacks forms.
        request.ranges.clear();
        request.headers.erase("Accept-Encoding");
        request.headers.erase("Content-Type");
        request.path = "/";
        m_stream.beginBody(Clock::now() + m_options.bodyTimeout);
    }

    // True when the answer is in `response` and the body, if any, is not to be read.
    bool answerUnread(httplib::Response& response) {
        if (m_mayReadBody) return false; // asked before, for "Expect: 100-continue"
        if (auto refusal = framingProblem()) {
            put(*refusal, response);
            return true;
        }
        m_readWhole = !m_framing.chunked && m_framing.length == 0;
        if (auto refusal = m_handler.refuse(m_head)) {
            put(*refusal, response);
            return true;
        }
        if (m_head.method != "POST") {
            put(m_handler.answer(m_head, {}), response);
            return true;
        }
        if (auto refusal = bodyProblem()) {
            put(*refusal, response);
            return true;
        }
        m_mayReadBody = true;
        m_readWhole = false;
        return false;
    }

    std::optional<HttpAnswer> framingProblem() {
        const auto encodings = m_head.headers.count("transfer-encoding");
        const auto lengths = m_head.headers.count("content-length");
        if (encodings + lengths > 1) {
            return m_handler.problem(400, "the length of the body is given more than once");
        }
        if (encodings == 1) {
            if (lowerAscii(*m_head.header("transfer-encoding")) != "chunked") {
                return m_handler.problem(501, "the only transfer encoding known here is chunked");
            }
            m_framing.chunked = true;
        }
        if (lengths == 1) {
            const std::string text = *m_head.header("content-length");
            const char* end = text.data() + text.size();
            const auto parsed = std::from_chars(text.data(), end, m_framing.length);
            if (parsed.ec == std::errc::result_out_of_range) {
                return m_handler.problem(413, tooLarge());
            }
            if (parsed.ec != std::errc() || parsed.ptr != end) {
                return m_handler.problem(400, "Content-Length is not a number");
            }
        }
        if (m_head.method != "POST" && (m_framing.chunked || m_framing.length > 0) &&
            m_head.method != "PUT" && m_head.method != "PATCH" && m_head.method != "DELETE") {
            return m_handler.problem(400, "a " + m_head.method + " request has no body");
        }
        return std::nullopt;
    }

    std::optional<HttpAnswer> bodyProblem() {
        if (!m_framing.chunked && m_head.headers.count("content-length") == 0) {
            return m_handler.problem(411, "the length of the body is not given");
        }
        if (m_framing.length > m_options.maxBody) return m_handler.problem(413, tooLarge());
        const std::size_t wanted = std::min(
            m_framing.chunked ? m_options.maxBody : m_framing.length, m_options.maxBodiesTogether);
        if (wanted > 0 && !m_budget.take(wanted, Clock::now() + m_options.bodyTimeout)) {
            HttpAnswer busy = m_handler.problem(503, "too many large requests at once");
            busy.headers.emplace_back("Retry-After", "5");
            return busy;
        }
        m_taken = wanted;
        return std::nullopt;
    }

    void answerBody(httplib::Response& response, const httplib::ContentReader& reader) {
        std::string body;
        body.reserve(m_framing.length);
        bool exceeded = false;
        const bool whole = reader([&](const char* bytes, std::size_t size) {
            exceeded = size > m_options.maxBody - body.size();
            if (!exceeded) body.append(bytes, size);
            return !exceeded;
        });
        response.status = -1;
        if (exceeded) {
            put(m_handler.problem(413, tooLarge()), response);
        } else if (!whole) {
            put(m_stream.timedOut() ? m_handler.problem(408, "the body did not come in time")
                                    : m_handler.problem(400, "the body is cut short"),
                response);
        } else {
            m_readWhole = true;
            put(m_handler.answer(m_head, body), response);
        }
    }

    [[nodiscard]] std::string tooLarge() const {
        return "the body is larger than " + std::to_string(m_options.maxBody >> 20U) + " MiB";
    }

    HttpAnswer libraryProblem(int& status) {
        if (m_stream.headTooLong()) {
            status = 431;
            return m_handler.problem(431, "the head of the request is too long");
        }
        if (m_stream.timedOut()) {
            status = 408;
            return m_handler.problem(408, "the request did not come in time");
        }
        switch (status) {
        case 414:
            return m_handler.problem(status, "the address is too long");
        case 416:
            return m_handler.problem(status, "the range cannot be read");
        default:
            return m_handler.problem(status, "the request is not valid HTTP");
        }
    }

    static void put(const HttpAnswer& answer, httplib::Response& response) {
        response.status = answer.status;
        response.set_content(answer.body, answer.contentType);
        for (const auto& [key, value] : answer.headers) response.set_header(key, value);
    }

    // For a request that ended before the library had anything to answer to.
    void answerBare() {
        int status = 400;
        const HttpAnswer answer = libraryProblem(status);
        m_stream.write("HTTP/1.1 " + std::to_string(status) +
                       " \r\nConnection: close\r\nContent-Type: " + answer.contentType +
                       "\r\nContent-Length: " + std::to_string(answer.body.size()) + "\r\n\r\n" +
                       answer.body);
    }

    SocketStream& m_stream;
    const ServerOptions& m_options;
    BodyBudget& m_budget;
    HttpHandler& m_handler;
    HttpHead m_head;
    Framing m_framing;
    std::size_t m_taken = 0;
    bool m_mayReadBody = false;
    bool m_readWhole = false;
};

} // namespace

bool BodyBudget::take(std::size_t bytes, std::chrono::steady_clock::time_point deadline) {
    const std::size_t wanted = std::min(bytes, m_all);
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_until(lock, deadline, [&] { return m_stopped || m_free >= wanted; })) {
        return false;
    }
    if (m_stopped) return false;
    m_free -= wanted;
    return true;
}

void BodyBudget::giveBack(std::size_t bytes) {
    {
        const std::lock_guard lock(m_mutex);
        m_free += std::min(bytes, m_all);
    }
    m_changed.notify_all();
}

void BodyBudget::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
}

void serveConnection(int socket, int stop, const ServerOptions& options, BodyBudget& budget,
                     HttpHandler& handler) {
    {
        SocketStream stream(socket, stop, Clock::now() + options.headTimeout);
        bool unread = true;
        try {
            Exchange exchange(stream, options, budget, handler);
            exchange.run();
            unread = exchange.leftUnread();
        } catch (const std::exception&) {
            // Out of memory: the connection is closed without an answer, the service goes on.
        }
        if (unread && stream.answered()) stream.passOver(Clock::now() + options.lingerTimeout);
    }
    close(socket);
}

} // namespace trevix
