#include "service/http/http_connection.h"

#include "service/http/request_target.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

namespace trevix {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

using kelvane::text::lowerAscii;
using ErrorCode = boost::system::error_code;
using Phase = ConnectionTable::Phase;

// Bytes of request line and headers together, and of what stands between the chunks of a body.
constexpr std::size_t kLongestHead = std::size_t{32} << 10U;
// Bytes of the address alone. A run's address has some fifty.
constexpr std::size_t kLongestTarget = 8190;
// Bytes asked for at a time: a head fits as a rule, and a silent connection holds no more.
constexpr std::size_t kHeadAtOnce = std::size_t{4} << 10U;
constexpr std::size_t kBodyAtOnce = std::size_t{64} << 10U;
// Bytes read and thrown away after a refusal, so that a client that is still sending gets to read
// the answer instead of a broken connection.
constexpr std::size_t kMostPassedOver = std::size_t{256} << 20U;

template <typename View>
std::string textOf(const View& view) {
    return {view.data(), view.size()};
}

// Whether a header that holds a list holds this word.
bool lists(const HttpHead& head, const std::string& name, std::string_view word) {
    const auto [first, last] = head.headers.equal_range(name);
    return std::any_of(first, last, [&](const auto& line) {
        // Commas at both ends, so that the first and the last word are no special case: there is
        // always a character on either side to look at.
        const std::string list = "," + lowerAscii(line.second) + ",";
        for (std::size_t at = list.find(word); at != std::string::npos;
             at = list.find(word, at + 1)) {
            constexpr std::string_view kAround = ", \t";
            if (kAround.find(list[at - 1]) != std::string_view::npos &&
                kAround.find(list[at + word.size()]) != std::string_view::npos) {
                return true;
            }
        }
        return false;
    });
}

// Whether a head that the parser refused declares a length of digits alone, which it refused for
// being past all counting.
bool declaresTooMuch(const std::string& rawHead) {
    constexpr std::string_view kName = "\r\ncontent-length:";
    const std::string lower = lowerAscii(rawHead);
    const std::size_t at = lower.find(kName);
    if (at == std::string::npos) return false;
    const std::size_t end = lower.find("\r\n", at + kName.size());
    if (end == std::string::npos) return false;
    const std::string_view value = kelvane::text::trimmedBlanks(
        std::string_view(lower).substr(at + kName.size(), end - at - kName.size()));
    std::uint64_t number = 0;
    const char* last = value.data() + value.size();
    const auto parsed = std::from_chars(value.data(), last, number);
    return parsed.ec == std::errc::result_out_of_range && parsed.ptr == last;
}

struct Sending {
    explicit Sending(http::response<http::string_body> whole)
        : response(std::move(whole)),
          serializer(response) {}

    http::response<http::string_body> response;
    http::response_serializer<http::string_body> serializer;
};

class Connection final : public HttpConnection, public std::enable_shared_from_this<Connection> {
public:
    Connection(ConnectionShares& shares, ConnectionTable::Id id, Socket socket,
               std::string serverAddress, std::string clientAddress)
        : m_shares(shares),
          m_id(id),
          m_socket(std::move(socket)),
          m_timer(shares.loop),
          m_serverAddress(std::move(serverAddress)),
          m_clientAddress(std::move(clientAddress)) {}

    // Also where an exception, for want of memory, took away what kept it alive.
    ~Connection() override { release(); }

    void beginRequest() {
        m_parser.emplace();
        m_parser->header_limit(static_cast<std::uint32_t>(kLongestHead));
        // Checked when it is known who asks. No limit at all, the library (1.74) takes for none.
        // The limit of the service is set in beginBody().
        m_parser->body_limit(std::numeric_limits<std::uint64_t>::max());
        m_head = {};
        m_rawHead.clear();
        m_cameAnything = false;
        m_readWhole = false;
        m_mayKeep = m_keep = false;
        enter(Phase::silent);
        expireAfter(m_shares.options.headTimeout, &Connection::headTimedOut);
        // What came along with the request before it is used first: a client may send the next
        // without waiting (RFC 9112, 9.3.2).
        if (m_buffer.size() > 0) {
            headCame({});
        } else {
            read(kHeadAtOnce, &Connection::headCame);
        }
    }

    void close() override {
        // What is still under way finds another epoch and comes to nothing.
        ++m_epoch;
        release();
    }

    void finish() override {
        m_finishing = true;
        // With an answer on its way out the end is left to answerIsSent().
        if (!m_answering && m_phase != Phase::sending) close();
    }

private:
    void headTimedOut() {
        interrupt();
        // A silent connection has asked for nothing, so it gets no answer either.
        if (!m_cameAnything) return close();
        refuse(408, "the request did not come in time");
    }

    void headCame(ErrorCode end) {
        if (m_buffer.size() > 0 && !std::exchange(m_cameAnything, true)) enter(Phase::head);
        // As the parser may stop at the end of each part of a head, it is given the rest until it
        // takes nothing more of it. What it has taken is kept beside it, because it does not say
        // how long the head was, and forgets the length that it refused.
        while (!m_parser->is_header_done() && m_buffer.size() > 0) {
            ErrorCode bad;
            const std::size_t used = m_parser->put(m_buffer.data(), bad);
            if (bad && bad != http::error::need_more) return headIsBad(bad);
            m_rawHead.append(static_cast<const char*>(m_buffer.data().data()), used);
            m_buffer.consume(used);
            if (bad || used == 0) break;
        }
        const bool whole = m_parser->is_header_done();
        // What the parser has left untaken counts only while it is still the head: behind a whole
        // head it is the body, or the next request.
        if (m_rawHead.size() + (whole ? 0 : m_buffer.size()) > kLongestHead) {
            return refuse(431, "the head of the request is too long");
        }
        if (whole) return headIsWhole();
        if (!end) return read(kHeadAtOnce, &Connection::headCame);
        // An end before the first byte is how a client closes a connection that was kept.
        if (!m_cameAnything) return close();
        refuse(400, "the request is not valid HTTP");
    }

    void headIsBad(ErrorCode bad) {
        // The rest as well: the length that was refused may stand in it.
        m_rawHead.append(static_cast<const char*>(m_buffer.data().data()), m_buffer.size());
        if (bad == http::error::header_limit || m_rawHead.size() > kLongestHead) {
            return refuse(431, "the head of the request is too long");
        }
        if (bad == http::error::bad_content_length && declaresTooMuch(m_rawHead)) {
            return refuse(413, tooLarge());
        }
        refuse(400, "the request is not valid HTTP");
    }

    void headIsWhole() {
        const auto& message = m_parser->get();
        if (message.target().size() > kLongestTarget) {
            return refuse(414, "the address is too long");
        }
        auto target = requestTarget(textOf(message.target()));
        // A method that the library has no name for is refused like nonsense. One that it has, and
        // that is impossible at the address, is told so by the handler.
        if (message.method() == http::verb::unknown || !target) {
            return refuse(400, "the request is not valid HTTP");
        }
        m_head.method = textOf(message.method_string());
        m_head.path = std::move(target->path);
        m_head.query = std::move(target->query);
        m_head.serverAddress = m_serverAddress;
        m_head.clientAddress = m_clientAddress;
        for (const auto& field : message) {
            std::string value = textOf(field.value());
            // An empty header is none at all.
            if (!value.empty()) {
                m_head.headers.emplace(lowerAscii(textOf(field.name_string())), std::move(value));
            }
        }
        // An HTTP/1.0 client may not know where an answer ends that leaves the connection open.
        m_mayKeep = message.version() == 11 && !lists(m_head, "connection", "close");
        m_keep = m_mayKeep && lists(m_head, "connection", "keep-alive");
        // Anything thrown here would leave through the loop, and take the connection with it
        // unanswered.
        try {
            considerHead();
        } catch (const std::exception&) {
            refuse(500, "internal error");
        }
    }

    void considerHead() {
        // Where the body begins and ends comes before all else: who reads a request otherwise than
        // we do could smuggle a second one in behind it.
        if (auto problem = framingProblem()) return respond(std::move(*problem));
        // What was refused before its body was read can be followed by no other request: the body
        // would be taken for one.
        m_readWhole = !m_chunked && m_length == 0;
        if (auto refusal = m_shares.handler.refuse(m_head)) return respond(std::move(*refusal));
        if (m_head.method != "POST") return findAnswer({});
        // RFC 9110, 15.5.12. A POST without a length has no body by the rules of framing, but no
        // address here can do anything with that.
        if (!m_chunked && m_head.headers.count("content-length") == 0) {
            return refuse(411, "the length of the body is not given");
        }
        if (m_length > m_shares.options.maxBody) return refuse(413, tooLarge());
        m_readWhole = false;
        awaitRoom();
    }

    std::optional<HttpAnswer> framingProblem() {
        m_chunked = false;
        m_length = 0;
        const auto problem = [this](int status, std::string_view text) {
            return m_shares.handler.problem(status, text);
        };
        // Each more than once, or both at once, is where two readers come to different ends (RFC
        // 9112, 6.3): refused instead of repaired.
        const auto encodings = m_head.headers.count("transfer-encoding");
        const auto lengths = m_head.headers.count("content-length");
        if (encodings + lengths > 1) {
            return problem(400, "the length of the body is given more than once");
        }
        if (encodings == 1) {
            // RFC 9112, 6.1: 501 for an encoding that is not known.
            if (lowerAscii(*m_head.header("transfer-encoding")) != "chunked") {
                return problem(501, "the only transfer encoding known here is chunked");
            }
            m_chunked = true;
        }
        if (lengths == 1) {
            const std::string text = *m_head.header("content-length");
            const char* end = text.data() + text.size();
            const auto parsed = std::from_chars(text.data(), end, m_length);
            // Digits alone, but more than 64 bits hold: understood, and too large.
            if (parsed.ec == std::errc::result_out_of_range) return problem(413, tooLarge());
            if (parsed.ec != std::errc() || parsed.ptr != end) {
                return problem(400, "Content-Length is not a number");
            }
        }
        if ((m_head.method == "GET" || m_head.method == "HEAD" || m_head.method == "OPTIONS") &&
            (m_chunked || m_length > 0)) {
            return problem(400, "a " + m_head.method + " request has no body");
        }
        return std::nullopt;
    }

    void awaitRoom() {
        enter(Phase::busy);
        expireAfter(m_shares.options.bodyTimeout, &Connection::foundNoRoom);
        // How much a body in chunks will be is not known, so it gets room for the largest.
        const std::size_t wanted = std::min<std::uint64_t>(
            m_chunked ? m_shares.options.maxBody : m_length, m_shares.options.maxBodiesTogether);
        const auto taken = [this, wanted] {
            m_taken = wanted;
            beginBody();
        };
        // At once if there is room, so that small requests never go through the queue.
        if (m_shares.budget.take(wanted)) return taken();
        m_shares.budget.wait(m_id, wanted, [self = shared_from_this(), taken] { taken(); });
    }

    void foundNoRoom() {
        m_shares.budget.giveUp(m_id);
        HttpAnswer busy = m_shares.handler.problem(503, "too many large requests at once");
        // Seconds, as with a queue that is full.
        busy.headers.emplace_back("Retry-After", "5");
        respond(std::move(busy));
    }

    void beginBody() {
        // What the wait for room took of the time is gone.
        changeDeadline(&Connection::bodyTimedOut);
        m_parser->body_limit(m_shares.options.maxBody);
        m_parser->eager(true);
        // The client waits for this before it sends the body (RFC 9110, 10.1.1). Written only now
        // that the request can be accepted: a refusal spares it the sending.
        if (!lists(m_head, "expect", "100-continue")) return bodyCame({});
        static constexpr std::string_view kGoOn = "HTTP/1.1 100 Continue\r\n\r\n";
        asio::async_write(m_socket, asio::buffer(kGoOn.data(), kGoOn.size()),
                          [self = shared_from_this(), epoch = m_epoch](ErrorCode bad, std::size_t) {
                              if (epoch != self->m_epoch) return;
                              if (bad) return self->close();
                              self->bodyCame({});
                          });
    }

    void bodyTimedOut() {
        interrupt();
        refuse(408, "the body did not come in time");
    }

    void bodyCame(ErrorCode end) {
        ErrorCode bad;
        if (m_buffer.size() > 0 && !m_parser->is_done()) {
            m_buffer.consume(m_parser->put(m_buffer.data(), bad));
            // A part of the body is what is expected: more is on its way.
            if (bad == http::error::need_more) bad = {};
        }
        if (bad == http::error::body_limit) return refuse(413, tooLarge());
        // A parser leaves what it cannot use yet: a line between two chunks, or behind the last.
        if (bad || m_buffer.size() > kLongestHead + kBodyAtOnce) {
            return refuse(400, "the body is not valid HTTP");
        }
        if (m_parser->is_done()) {
            m_readWhole = true;
            return findAnswer(std::move(m_parser->get().body()));
        }
        if (end) return refuse(400, "the body is cut short");
        read(kBodyAtOnce, &Connection::bodyCame);
    }

    void findAnswer(std::string body) {
        // No deadline from here on: how long an answer takes is the handler's affair.
        enter(Phase::busy);
        m_timer.cancel();
        ++m_deadline;
        m_answering = true;
        // The last that holds the connection must let go of it on the thread of the loop: it is
        // moved along.
        m_shares.pool.run([self = shared_from_this(), head = std::move(m_head),
                           body = std::move(body),
                           // Without it the loop could run out of work and end while the pool has
                           // the connection.
                           work = asio::make_work_guard(m_shares.loop)]() mutable {
            HttpAnswer answer;
            HttpHandler& handler = self->m_shares.handler;
            try {
                answer = handler.answer(head, body);
            } catch (...) {
                answer = handler.problem(500, "internal error");
            }
            // Many megabytes as a rule; freed here, not when the loop gets to the answer.
            body = {};
            const auto where = work.get_executor();
            asio::post(where, [self = std::move(self), answer = std::move(answer),
                               isHead = head.method == "HEAD"]() mutable {
                // Budget is given back only when the body is gone, even if the connection was
                // closed before.
                self->m_answering = false;
                self->m_head.method = isHead ? "HEAD" : "";
                self->giveBackRoom();
                if (self->m_socket.is_open()) self->respond(std::move(answer));
            });
        });
    }

    void refuse(int status, std::string_view text) {
        respond(m_shares.handler.problem(status, text));
    }

    void respond(HttpAnswer answer) {
        // Ends whatever was being read: from here on only the sending counts.
        ++m_epoch;
        giveBackRoom();
        enter(Phase::sending);
        expireAfter(m_shares.options.sendTimeout, &Connection::close);
        // Kept only when everything of the request was read; what is left would be taken for the
        // next.
        m_keep = (m_keep || (m_mayKeep && answer.goesOn)) && m_readWhole && !m_finishing;
        http::response<http::string_body> response;
        response.version(11);
        response.result(static_cast<unsigned>(answer.status));
        response.set(http::field::connection, m_keep ? "keep-alive" : "close");
        response.set(http::field::content_type, answer.contentType);
        for (const auto& [name, value] : answer.headers) response.insert(name, value);
        response.content_length(answer.body.size());
        // HEAD has the length that GET would have, and nothing of the body (RFC 9110, 9.3.2).
        const bool headOnly = m_head.method == "HEAD";
        if (!headOnly) response.body() = std::move(answer.body);
        // Shared with the operation: the library writes out of the response, which has to stay
        // where it is until then.
        const auto sending = std::make_shared<Sending>(std::move(response));
        const auto sent = [self = shared_from_this(), sending, epoch = m_epoch](ErrorCode bad,
                                                                                std::size_t) {
            if (epoch == self->m_epoch) self->answerIsSent(bad);
        };
        if (headOnly) {
            http::async_write_header(m_socket, sending->serializer, sent);
        } else {
            http::async_write(m_socket, sending->serializer, sent);
        }
    }

    void answerIsSent(ErrorCode bad) {
        if (bad) return close();
        if (m_keep && !m_finishing) return beginRequest();
        ErrorCode ignored;
        // Bytes that were not read when a socket is closed make the system send a reset, and that
        // can take the answer from the client before it is read (RFC 9112, 9.6). So our end is
        // shut, and the rest is read for a while.
        const bool unread = !m_readWhole || m_buffer.size() > 0 || m_socket.available(ignored) > 0;
        m_socket.shutdown(Socket::shutdown_send, ignored);
        if (!unread || m_finishing) return close();
        enter(Phase::fading);
        expireAfter(m_shares.options.lingerTimeout, &Connection::close);
        m_buffer.clear();
        passOver();
    }

    // Reads and forgets, for as long as a client may still be sending.
    void passOver() {
        m_buffer.consume(m_buffer.size());
        read(kBodyAtOnce, &Connection::passedOver);
    }

    void passedOver(ErrorCode end) {
        m_passed += m_buffer.size();
        if (end || m_passed > kMostPassedOver) return close();
        passOver();
    }

    void read(std::size_t atOnce, void (Connection::*then)(ErrorCode)) {
        m_socket.async_read_some(
            m_buffer.prepare(atOnce),
            [self = shared_from_this(), then, epoch = m_epoch](ErrorCode end, std::size_t size) {
                // The epoch is compared before anything is touched: an operation that was cancelled
                // may complete with bytes all the same.
                if (epoch != self->m_epoch) return;
                self->m_buffer.commit(size);
                (self.get()->*then)(end);
            });
    }

    // What is being read is waited for no longer, and comes to nothing.
    void interrupt() {
        ++m_epoch;
        // Cancelling is a request: an operation that has completed already is still delivered, and
        // the epoch turns it away.
        ErrorCode ignored;
        m_socket.cancel(ignored);
    }

    void expireAfter(std::chrono::milliseconds time, void (Connection::*then)()) {
        m_timer.expires_after(time);
        awaitDeadline(then);
    }

    // The same deadline, but something else is to happen then.
    void changeDeadline(void (Connection::*then)()) {
        // Setting the time anew cancels the wait that was for something else.
        m_timer.expires_at(m_timer.expiry());
        awaitDeadline(then);
    }

    void awaitDeadline(void (Connection::*then)()) {
        // A timer that ran out before it was cancelled is delivered without an error; the number
        // tells that it is no longer wanted.
        m_timer.async_wait(
            [self = shared_from_this(), then, deadline = ++m_deadline](ErrorCode cancelled) {
                if (!cancelled && deadline == self->m_deadline) (self.get()->*then)();
            });
    }

    void enter(Phase phase) {
        m_phase = phase;
        m_shares.table.enter(m_id, phase);
    }

    void giveBackRoom() {
        if (const std::size_t taken = std::exchange(m_taken, 0)) m_shares.budget.giveBack(taken);
    }

    void release() {
        // By close(), by the end of the last operation, or by both.
        if (std::exchange(m_released, true)) return;
        ErrorCode ignored;
        m_socket.close(ignored);
        m_timer.cancel();
        m_shares.budget.giveUp(m_id);
        // While an answer is being found the handler has the body, so its room is still taken.
        if (!m_answering) giveBackRoom();
        m_shares.table.remove(m_id);
        // Last: it may drop what others know of this connection.
        m_shares.gone(m_id);
    }

    [[nodiscard]] std::string tooLarge() const {
        return "the body is larger than " + std::to_string(m_shares.options.maxBody >> 20U) +
               " MiB";
    }

    ConnectionShares& m_shares;
    const ConnectionTable::Id m_id;
    Socket m_socket;
    asio::steady_timer m_timer;
    const std::string m_serverAddress;
    const std::string m_clientAddress;

    beast::flat_buffer m_buffer; // Came and is not used yet.
    std::optional<http::request_parser<http::string_body>> m_parser;
    std::string m_rawHead; // What the parser has had of it.
    HttpHead m_head;
    bool m_chunked = false;
    std::uint64_t m_length = 0;
    std::size_t m_taken = 0; // Of the budget.
    std::size_t m_passed = 0;

    Phase m_phase = Phase::silent;
    std::uint64_t m_epoch = 0;    // What was begun in an earlier one comes to nothing.
    std::uint64_t m_deadline = 0; // Likewise.
    bool m_cameAnything = false;
    bool m_readWhole = false; // Nothing of the request is left to come.
    bool m_mayKeep = false;   // As the client has it.
    bool m_keep = false;
    bool m_answering = false;
    bool m_finishing = false;
    bool m_released = false;
};

} // namespace

std::shared_ptr<HttpConnection> HttpConnection::begin(ConnectionShares& shares,
                                                      ConnectionTable::Id id, Socket socket,
                                                      std::string serverAddress,
                                                      std::string clientAddress) {
    auto connection = std::make_shared<Connection>(
        shares, id, std::move(socket), std::move(serverAddress), std::move(clientAddress));
    connection->beginRequest();
    return connection;
}

} // namespace trevix
