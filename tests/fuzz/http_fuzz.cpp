// Whatever the bytes are that a client of the local service sends: the connection is answered in
// HTTP or closed, and it ends.

#include "service/http/http_connection.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

using namespace trevix;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

/// Answers what it can have been asked; what it is handed has been read within the limits.
class Handler : public HttpHandler {
public:
    std::optional<HttpAnswer> refuse(const HttpHead& head) override {
        require(!head.method.empty() && head.path.starts_with('/'));
        for (const auto& [name, value] : head.headers) {
            require(name.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n: ") == std::string::npos);
            require(value.find_first_of("\r\n") == std::string::npos);
        }
        if (head.header("x-refused")) return problem(403, "refused");
        return std::nullopt;
    }
    HttpAnswer answer(const HttpHead& head, const std::string& body) override {
        require(head.method == "POST" || body.empty());
        require(body.size() <= kMostBody);
        return {.status = 200,
                .body = std::to_string(body.size()),
                .headers = {},
                .goesOn = head.path == "/on"};
    }
    HttpAnswer problem(int status, std::string_view text) override {
        require(status >= 400);
        return {.status = status, .body = std::string(text), .headers = {}};
    }

    static constexpr std::size_t kMostBody = 512;
};

void sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent <= 0) return; // more than is read of anybody at once
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // As much as both ends of a socket hold: nothing here waits for the other end.
    constexpr std::size_t kMostInput = 16'384;
    if (size > kMostInput) return 0;
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) std::abort();
    sendAll(ends[0], {reinterpret_cast<const char*>(data), size});
    ::shutdown(ends[0], SHUT_WR);

    Handler handler;
    ServerOptions options;
    options.maxBody = Handler::kMostBody;
    // What has been sent is there, so that none of these should ever be reached.
    options.headTimeout = options.bodyTimeout = options.sendTimeout = std::chrono::seconds(60);
    options.lingerTimeout = std::chrono::seconds(60);
    HandlerPool pool(1);
    BodyBudget budget(1 << 20);
    ConnectionTable table(4, 4);
    boost::asio::io_context loop;
    auto work = boost::asio::make_work_guard(loop);
    ConnectionShares shares{.loop = loop,
                            .options = options,
                            .handler = handler,
                            .pool = pool,
                            .budget = budget,
                            .table = table,
                            .gone = [&](ConnectionTable::Id) { work.reset(); }};
    (void)table.admit(1, "peer");
    const auto connection = HttpConnection::begin(
        shares, 1,
        HttpConnection::Socket(loop, boost::asio::generic::stream_protocol(AF_UNIX, 0), ends[1]),
        "", "");
    loop.run();
    pool.join();

    std::string answer;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0;
         (got = ::recv(ends[0], buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0;) {
        answer.append(buffer.data(), static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    require(answer.empty() || answer.starts_with("HTTP/1.1 "));
    return 0;
}
