// The server over real sockets, with a handler that does nothing but echo.

#include "service/http/http_server.h"

#include "service/setup/local_socket.h"
#include "tests/service/http/http_client.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace trevix {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class EchoHandler : public HttpHandler {
public:
    std::optional<HttpAnswer> refuse(const HttpHead& head) override {
        if (head.path == "/refused") return HttpAnswer{403, "text/plain", "refused", {}};
        if (head.method != "GET" && head.method != "HEAD" && head.method != "POST") {
            return HttpAnswer{405, "text/plain", "no " + head.method, {}};
        }
        return std::nullopt;
    }
    HttpAnswer answer(const HttpHead& head, const std::string& body) override {
        ++answered;
        if (head.path == "/throw") throw std::runtime_error("secret of the inside");
        if (head.path == "/gate") gate.get_future().wait();
        std::string text = head.method + " " + head.path + " " + std::to_string(body.size());
        for (const auto& [key, value] : head.query) text += " " + key + "=" + value;
        return {200,
                "text/plain",
                text,
                {{"X-Body", body.substr(0, 20)},
                 {"X-Ends", head.serverAddress + "|" + head.clientAddress}}};
    }
    HttpAnswer problem(int status, std::string_view text) override {
        return {status, "application/json", "{\"error\":\"" + std::string(text) + "\"}", {}};
    }

    std::atomic<int> answered{0};
    std::promise<void> gate;
};

std::string bytes(std::size_t count) {
    return std::string(count, 'x');
}

std::size_t descriptorLimit() {
    rlimit limit{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    return static_cast<std::size_t>(std::min<rlim_t>(limit.rlim_cur, 1U << 20U));
}

class HttpServerTest : public testing::Test {
protected:
    void start(const ServerOptions& options = {}) {
        auto listening = HttpServer::listen(options, m_handler);
        ASSERT_TRUE(std::holds_alternative<std::unique_ptr<HttpServer>>(listening));
        m_server = std::move(std::get<std::unique_ptr<HttpServer>>(listening));
        m_server->start();
    }
    [[nodiscard]] std::uint16_t port() const { return m_server->port(); }

    EchoHandler m_handler;
    std::unique_ptr<HttpServer> m_server;
};

TEST_F(HttpServerTest, AnswersAndCloses) {
    start();
    const Reply reply = get(port(), "/some/path?run=a%20b&x=1&run=second");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "GET /some/path 0 run=a b x=1");
    EXPECT_EQ(reply.headers.at("connection"), "close");
    EXPECT_EQ(reply.headers.at("content-length"), std::to_string(reply.body.size()));
}

TEST_F(HttpServerTest, HeadHasNoBody) {
    start();
    const Reply reply = roundTrip(port(), requestText("HEAD", "/x"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "");
}

TEST_F(HttpServerTest, TakesABodyByLengthOrInChunks) {
    start();
    const Reply whole = post(port(), "/x", "hello");
    EXPECT_EQ(whole.body, "POST /x 5");
    EXPECT_EQ(whole.headers.at("x-body"), "hello");
    const Reply chunked =
        post(port(), "/x", "3\r\nhel\r\n2\r\nlo\r\n0\r\n\r\n", {{"Transfer-Encoding", "chunked"}});
    EXPECT_EQ(chunked.body, "POST /x 5");
    EXPECT_EQ(chunked.headers.at("x-body"), "hello");
    EXPECT_EQ(post(port(), "/x", "").body, "POST /x 0");
}

TEST_F(HttpServerTest, ABodyOfManyMegabytesArrivesWhole) {
    start();
    EXPECT_EQ(post(port(), "/x", bytes(20'000'000)).body, "POST /x 20000000");
}

TEST_F(HttpServerTest, AFormIsABodyLikeAnyOther) {
    start();
    EXPECT_EQ(
        post(port(), "/x", "a=b&c=d", {{"Content-Type", "application/x-www-form-urlencoded"}}).body,
        "POST /x 7");
    EXPECT_EQ(post(port(), "/x", "no boundary", {{"Content-Type", "multipart/form-data"}}).body,
              "POST /x 11");
}

TEST_F(HttpServerTest, TooLargeABodyIsRefusedBeforeItIsRead) {
    ServerOptions options;
    options.maxBody = 1 << 20;
    start(options);
    Connection connection(port());
    connection.send(requestText("POST", "/x", {{"Content-Length", "1048577"}}, "first bytes"));
    const Reply reply = connection.reply(); // The rest was never sent.
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(reply.body, R"({"error":"the body is larger than 1 MiB"})");
    EXPECT_EQ(m_handler.answered, 0);
    EXPECT_EQ(post(port(), "/x", std::string(1 << 20, 'x')).status, 200) << "the limit itself fits";
}

TEST_F(HttpServerTest, AClientThatSendsItAllTheSameStillGetsToReadWhy) {
    ServerOptions options;
    options.maxBody = 1000;
    start(options);
    const Reply reply = post(port(), "/x", bytes(30'000'000));
    EXPECT_EQ(reply.status, 413);
    EXPECT_THAT(reply.body, HasSubstr("error"));
}

TEST_F(HttpServerTest, ChunksEndAtTheLimitToo) {
    ServerOptions options;
    options.maxBody = 1000;
    start(options);
    const std::string chunk = "200\r\n" + std::string(512, 'x') + "\r\n";
    const Reply reply =
        post(port(), "/x", chunk + chunk + chunk + "0\r\n\r\n", {{"Transfer-Encoding", "chunked"}});
    EXPECT_EQ(reply.status, 413);
    EXPECT_THAT(reply.body, HasSubstr("error"));
}

TEST_F(HttpServerTest, WhatIsRefusedIsNotRead) {
    start();
    Connection connection(port());
    connection.send(requestText("POST", "/refused", {{"Content-Length", "5000"}}, ""));
    const Reply reply = connection.reply();
    EXPECT_EQ(reply.status, 403);
    EXPECT_EQ(reply.body, "refused");
    EXPECT_EQ(m_handler.answered, 0);
}

TEST_F(HttpServerTest, AskedWhetherToGoOnItSaysSoFirst) {
    start();
    Connection connection(port());
    connection.send(
        requestText("POST", "/refused", {{"Content-Length", "5"}, {"Expect", "100-continue"}}, ""));
    EXPECT_EQ(connection.reply().status, 403) << "without the body";

    Connection second(port());
    second.send(
        requestText("POST", "/x", {{"Content-Length", "5"}, {"Expect", "100-continue"}}, "") +
        "hello");
    EXPECT_EQ(second.reply().status, 0) << "100 comes first";
    EXPECT_EQ(m_handler.answered, 1);
}

TEST_F(HttpServerTest, MalformedRequestsAreAnsweredWithAnError) {
    start();
    const std::string host = "Host: 127.0.0.1\r\n";
    const struct {
        const char* what;
        std::string bytes;
        int status;
    } cases[] = {
        {"no HTTP", "hello\r\n\r\n", 400},
        {"TLS", std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n", 13), 400},
        {"no version", "GET /\r\n" + host + "\r\n", 400},
        {"unknown version", "GET / HTTP/9.9\r\n" + host + "\r\n", 400},
        {"unknown method", "BREW / HTTP/1.1\r\n" + host + "\r\n", 400},
        {"other method", "DELETE /x HTTP/1.1\r\n" + host + "\r\n", 405},
        {"long address", "GET /" + std::string(9000, 'a') + " HTTP/1.1\r\n" + host + "\r\n", 414},
        {"endless address", "GET /" + std::string(60'000, 'a'), 431},
        {"endless header", "GET / HTTP/1.1\r\nA: " + std::string(60'000, 'a'), 431},
        {"many headers",
         "GET / HTTP/1.1\r\n" +
             [] {
                 std::string lines;
                 for (int i = 0; i < 4000; ++i) lines += "A: b123456789\r\n";
                 return lines;
             }() +
             "\r\n",
         431},
        {"bad range", "GET / HTTP/1.1\r\n" + host + "Range: bytes=9-1\r\n\r\n", 200},
        {"deep range",
         "GET / HTTP/1.1\r\n" + host + "Range: bytes=0-" +
             [] {
                 std::string ranges;
                 for (int i = 0; i < 1900; ++i) ranges += ",0-";
                 return ranges;
             }() +
             "\r\n\r\n",
         200},
        {"no length", "POST /x HTTP/1.1\r\n" + host + "\r\n", 411},
        {"two lengths",
         "POST /x HTTP/1.1\r\n" + host + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nab", 400},
        {"length and chunks",
         "POST /x HTTP/1.1\r\n" + host +
             "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
         400},
        {"no number", "POST /x HTTP/1.1\r\n" + host + "Content-Length: many\r\n\r\n", 400},
        {"negative", "POST /x HTTP/1.1\r\n" + host + "Content-Length: -1\r\n\r\n", 400},
        {"past 64 bits",
         "POST /x HTTP/1.1\r\n" + host + "Content-Length: 99999999999999999999999\r\n\r\n", 413},
        {"other coding", "POST /x HTTP/1.1\r\n" + host + "Transfer-Encoding: gzip\r\n\r\n", 501},
        {"bad chunk", "POST /x HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
         400},
        {"GET with a body", "GET /x HTTP/1.1\r\n" + host + "Content-Length: 3\r\n\r\nabc", 400},
    };
    for (const auto& [what, bytes, status] : cases) {
        const Reply reply = roundTrip(port(), bytes);
        EXPECT_EQ(reply.status, status) << what;
        if (status >= 400 && status != 405) {
            EXPECT_THAT(reply.body, HasSubstr("\"error\"")) << what;
            EXPECT_EQ(reply.headers.at("content-type"), "application/json") << what;
        }
    }
    EXPECT_EQ(get(port(), "/still/there").status, 200);
}

TEST_F(HttpServerTest, ABodyCutShortIsAnError) {
    start();
    Connection connection(port());
    connection.send(requestText("POST", "/x", {{"Content-Length", "10"}}, "only"));
    connection.endSending();
    const Reply reply = connection.reply();
    EXPECT_EQ(reply.status, 400);
    EXPECT_THAT(reply.body, HasSubstr("cut short"));
    EXPECT_EQ(m_handler.answered, 0);
}

TEST_F(HttpServerTest, SlowClientsAreCutOff) {
    ServerOptions options;
    options.headTimeout = 20ms;
    options.bodyTimeout = 20ms;
    start(options);
    Connection silent(port());
    EXPECT_EQ(silent.reply().status, 0) << "nothing came, nothing is answered";
    Connection halfHead(port());
    halfHead.send("GET / HTT");
    EXPECT_EQ(halfHead.reply().status, 408);
    Connection halfBody(port());
    halfBody.send(requestText("POST", "/x", {{"Content-Length", "10"}}, "only"));
    EXPECT_EQ(halfBody.reply().status, 408);
}

TEST_F(HttpServerTest, WhatAHandlerThrowsStaysInside) {
    start();
    const Reply reply = get(port(), "/throw");
    EXPECT_EQ(reply.status, 500);
    EXPECT_EQ(reply.body, R"({"error":"internal error"})");
    for (const auto& [key, value] : reply.headers) {
        EXPECT_THAT(value, testing::Not(HasSubstr("secret"))) << key;
    }
    EXPECT_EQ(post(port(), "/throw", "x").status, 500);
}

TEST_F(HttpServerTest, LargeBodiesWaitUntilThereIsRoom) {
    ServerOptions options;
    options.maxBodiesTogether = 1000;
    options.bodyTimeout = 5s;
    start(options);
    auto first = std::async(std::launch::async,
                            [&] { return post(port(), "/gate", std::string(900, 'x')); });
    while (m_handler.answered == 0) std::this_thread::yield();
    auto second =
        std::async(std::launch::async, [&] { return post(port(), "/x", std::string(900, 'x')); });
    EXPECT_EQ(post(port(), "/x", "small").status, 200) << "what fits goes on";
    EXPECT_EQ(second.wait_for(10ms), std::future_status::timeout);
    m_handler.gate.set_value();
    EXPECT_EQ(first.get().status, 200);
    EXPECT_EQ(second.get().status, 200);
}

TEST_F(HttpServerTest, ABodyThatFindsNoRoomInTimeIsTurnedAway) {
    ServerOptions options;
    options.maxBodiesTogether = 1000;
    options.bodyTimeout = 20ms;
    start(options);
    auto first = std::async(std::launch::async,
                            [&] { return post(port(), "/gate", std::string(900, 'x')); });
    while (m_handler.answered == 0) std::this_thread::yield();
    const Reply reply = post(port(), "/x", std::string(900, 'x'));
    EXPECT_EQ(reply.status, 503);
    EXPECT_EQ(reply.headers.at("retry-after"), "5");
    m_handler.gate.set_value();
    first.wait();
}

TEST_F(HttpServerTest, AHundredClientsAtOnceAreAllAnswered) {
    start();
    std::vector<std::future<int>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::async(std::launch::async, [this] {
            return post(port(), "/x", std::string(10'000, 'x')).status;
        }));
    }
    for (auto& client : clients) EXPECT_EQ(client.get(), 200);
}

TEST_F(HttpServerTest, AFewThreadsServeManyIdleConnections) {
    ServerOptions options;
    options.maxThreads = 2;
    options.headTimeout = 20ms;
    start(options);
    std::vector<std::unique_ptr<Connection>> idle;
    for (int i = 0; i < 6; ++i) idle.push_back(std::make_unique<Connection>(port()));
    EXPECT_EQ(get(port(), "/x").status, 200);
}

TEST_F(HttpServerTest, SilentConnectionsKeepNobodyOut) {
    ServerOptions options;
    options.headTimeout = 10min; // None of them goes by itself while the test lasts.
    start(options);
    // Both ends are descriptors of this process.
    const std::size_t count = std::min<std::size_t>(descriptorLimit() / 2 - 100, 2000);
    std::vector<std::unique_ptr<Connection>> silent;
    for (std::size_t i = 0; i < count; ++i) {
        silent.push_back(std::make_unique<Connection>(port()));
        ASSERT_TRUE(silent.back()->isOpen()) << i;
    }
    EXPECT_EQ(get(port(), "/x").status, 200);
}

TEST_F(HttpServerTest, HalfHeadsKeepNobodyOut) {
    ServerOptions options;
    options.headTimeout = 10min;
    options.maxConnections = 20;
    start(options);
    std::vector<std::unique_ptr<Connection>> slow;
    for (int i = 0; i < 100; ++i) {
        slow.push_back(std::make_unique<Connection>(port()));
        slow.back()->send("GET / HTT");
    }
    EXPECT_EQ(get(port(), "/x").status, 200);
    EXPECT_EQ(slow.front()->reply().status, 0) << "the oldest went without an answer";
}

TEST_F(HttpServerTest, WhoWasDroppedMayComeAgainAndBodiesThatAreReadGoOn) {
    ServerOptions options;
    options.headTimeout = 10min;
    options.maxConnections = 16;
    start(options);
    Connection body(port());
    body.send(requestText("POST", "/x", {{"Content-Length", "10"}}, "first"));
    while (get(port(), "/x").status != 200) std::this_thread::yield(); // The body is being read.
    std::vector<std::unique_ptr<Connection>> silent;
    for (int i = 0; i < 100; ++i) silent.push_back(std::make_unique<Connection>(port()));
    EXPECT_EQ(get(port(), "/x").status, 200);
    body.send("after");
    EXPECT_EQ(body.reply().status, 200);
}

TEST_F(HttpServerTest, ConnectionsLeaveTheProgramItsDescriptors) {
    EXPECT_EQ(connectionsFor(20'000, 1024), 1024U);
    EXPECT_EQ(connectionsFor(1024, 1024), 1024U - 128U);
    EXPECT_EQ(connectionsFor(256, 1024), 128U);
    EXPECT_EQ(connectionsFor(130, 1024), 16U) << "too few for anything, but it tries";
    EXPECT_EQ(connectionsFor(0, 1024), 16U);
    EXPECT_EQ(connectionsFor(20'000, 4), 4U);
}

TEST_F(HttpServerTest, AConnectionIsKeptForWhoAsksForIt) {
    start();
    Connection connection(port());
    const HeaderLines keep{{"Connection", "Keep-Alive"}};
    connection.send(requestText("GET", "/1", keep));
    Reply reply = connection.nextReply();
    EXPECT_EQ(reply.body, "GET /1 0");
    EXPECT_EQ(reply.headers.at("connection"), "keep-alive");
    connection.send(requestText("POST", "/2", keep, "hello"));
    EXPECT_EQ(connection.nextReply().body, "POST /2 5");
    connection.send(requestText("HEAD", "/3"));
    reply = connection.reply();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.headers.at("connection"), "close");
}

TEST_F(HttpServerTest, RequestsSentAheadAreAnsweredInTheirOrder) {
    start();
    Connection connection(port());
    const HeaderLines keep{{"Connection", "keep-alive"}};
    std::string all;
    for (int i = 0; i < 50; ++i) {
        all += requestText("POST", "/" + std::to_string(i), keep, std::string(100, 'x'));
    }
    connection.send(all + requestText("GET", "/last"));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(connection.nextReply().body, "POST /" + std::to_string(i) + " 100");
    }
    EXPECT_EQ(connection.nextReply().body, "GET /last 0");
    EXPECT_EQ(connection.nextReply().status, 0) << "and then it is closed";
}

TEST_F(HttpServerTest, ARefusedBodyEndsTheConnection) {
    start();
    Connection connection(port());
    connection.send(requestText("POST", "/refused", {{"Connection", "keep-alive"}},
                                "GET /smuggled HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    EXPECT_EQ(connection.nextReply().status, 403);
    EXPECT_EQ(connection.nextReply().status, 0) << "a body that nobody read is no request";
    EXPECT_EQ(m_handler.answered, 0);
}

TEST_F(HttpServerTest, ChunksWithEndlessNamesAreCutOff) {
    start();
    Connection connection(port());
    connection.send(requestText("POST", "/x", {{"Transfer-Encoding", "chunked"}}, ""));
    connection.send("5;" + std::string(300'000, 'x'));
    EXPECT_EQ(connection.reply().status, 400);
}

TEST_F(HttpServerTest, AnswersOverAUnixSocketToo) {
    const TemporaryFolder folder;
    auto local = LocalSocket::listen(folder.path() / "s");
    ASSERT_TRUE(std::holds_alternative<LocalSocket>(local));
    ServerOptions options;
    options.unixListener = std::get<LocalSocket>(local).release();
    options.headTimeout = 10min;
    options.maxConnections = 16;
    start(options);
    std::vector<std::unique_ptr<Connection>> flood;
    for (int i = 0; i < 50; ++i) flood.push_back(std::make_unique<Connection>(port()));
    Connection connection(folder.path() / "s");
    connection.send(requestText("POST", "/x", {{"Host", "localhost"}}, "hello"));
    const Reply reply = connection.reply();
    EXPECT_EQ(reply.body, "POST /x 5");
    EXPECT_EQ(reply.headers.at("x-ends"), "|") << "a Unix socket has no addresses";
    EXPECT_EQ(
        get(port(), "/x").headers.at("x-ends").rfind("127.0.0.1:" + std::to_string(port()), 0), 0U);
}

TEST_F(HttpServerTest, StoppingCutsOffWhatIsStillBeingRead) {
    start();
    Connection half(port());
    half.send("GET / HTT");
    Connection other(port());
    other.send(requestText("POST", "/x", {{"Content-Length", "10"}}, "only"));
    (void)get(port(), "/x"); // Both were taken before this one.
    m_server->stop();
    (void)half.reply();
    (void)other.reply();
    EXPECT_EQ(m_handler.answered, 1);
    EXPECT_FALSE(Connection(port()).isOpen());
}

TEST_F(HttpServerTest, StoppingLetsAnAnswerUnderWayEnd) {
    start();
    auto client = std::async(std::launch::async, [&] { return get(port(), "/gate"); });
    while (m_handler.answered == 0) std::this_thread::yield();
    auto stopping = std::async(std::launch::async, [&] { m_server->stop(); });
    m_handler.gate.set_value();
    stopping.get();
    EXPECT_EQ(client.get().status, 200);
}

TEST_F(HttpServerTest, APortThatIsTakenIsToldSo) {
    start();
    ServerOptions options;
    options.port = port();
    EchoHandler other;
    const auto listening = HttpServer::listen(options, other);
    ASSERT_TRUE(std::holds_alternative<ListenError>(listening));
    EXPECT_TRUE(std::get<ListenError>(listening).portTaken);
    EXPECT_EQ(std::get<ListenError>(listening).text,
              "port " + std::to_string(port()) +
                  " is taken by another program; choose one with --port, or --port 0");
}

TEST_F(HttpServerTest, ItsOwnPortIsFreeAgainAtOnce) {
    start();
    EXPECT_EQ(get(port(), "/x").status, 200);
    ServerOptions options;
    options.port = port();
    m_server.reset();
    start(options);
    EXPECT_EQ(get(port(), "/x").status, 200);
}

} // namespace
} // namespace trevix
