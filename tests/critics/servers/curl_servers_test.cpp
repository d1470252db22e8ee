// Does the real client hold a server to the limits, whatever it does?

#include "critics/servers/curl_servers.h"

#include "critics/findings/stop.h"
#include "critics/servers/server_engines.h"
#include "tests/critics/servers/mock_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

#include <unistd.h>

namespace trevix {
namespace {

using End = ServerAnswer::End;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

/// For what is waited for; it only says when that is not going to happen.
constexpr milliseconds kLong{30'000};

ServerRequest to(const std::string& url, std::string body = "{}") {
    ServerRequest request;
    request.address = std::get<ServerAddress>(serverAddress(url, false));
    request.path = "/v1/chat/completions";
    request.body = std::move(body);
    request.contentType = "application/json";
    request.time = kLong;
    return request;
}

ServerAnswer asked(const ServerRequest& request) {
    return makeCurlServers()->ask(request, {});
}

ServerAnswer answerTo(std::vector<std::string> pieces) {
    const MockServer server([&](const std::string&) { return pieces; });
    return asked(to(server.url()));
}

TEST(CurlServers, AnAnswerComesWholeWithItsStatus) {
    const MockServer server([](const std::string&) {
        return std::vector<std::string>{httpAnswer("{\"a\":", "201 Created").substr(0, 60),
                                        httpAnswer("{\"a\":", "201 Created").substr(60)};
    });
    ServerRequest request = to(server.url(), "{\"work\":1}");
    request.key = "a-key";
    const ServerAnswer answer = asked(request);
    EXPECT_EQ(answer.end, End::answered);
    EXPECT_EQ(answer.status, 201);
    EXPECT_EQ(answer.body, "{\"a\":");
    ASSERT_EQ(server.requests().size(), 1U);
    const std::string sent = server.requests()[0];
    EXPECT_THAT(sent, testing::StartsWith("POST /v1/chat/completions HTTP/1.1\r\n"));
    EXPECT_THAT(sent, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(sent, HasSubstr("Authorization: Bearer a-key\r\n"));
    EXPECT_THAT(sent, testing::EndsWith("\r\n\r\n{\"work\":1}"));
    EXPECT_THAT(sent, Not(HasSubstr("Expect:")));
}

TEST(CurlServers, WithoutABodyItGets) {
    const MockServer server(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("[]")}; });
    ServerRequest request = to(server.url(), "");
    request.path = "/v1/models";
    EXPECT_EQ(asked(request).body, "[]");
    EXPECT_THAT(server.requests().at(0), testing::StartsWith("GET /v1/models HTTP/1.1\r\n"));
}

TEST(CurlServers, ASocketOfTheFileSystemIsReachedToo) {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("trevix-mock-" + std::to_string(getpid()) + ".sock"))
                                 .string();
    std::string coded = "http+unix://";
    for (const char c : path) coded += c == '/' ? std::string("%2F") : std::string(1, c);
    const MockServer server(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("{}")}; }, path);
    EXPECT_EQ(asked(to(coded)).end, End::answered);
}

TEST(CurlServers, NobodyThereIsNotReached) {
    std::string url;
    {
        const MockServer gone([](const std::string&) { return std::vector<std::string>{}; });
        url = gone.url();
    }
    EXPECT_EQ(asked(to(url)).end, End::notReached);
    EXPECT_EQ(asked(to("http+unix://%2Fnowhere%2Fat%2Fall.sock")).end, End::notReached);
}

TEST(CurlServers, OneThatHangsIsOutOfTime) {
    for (const std::vector<std::string>& pieces :
         {std::vector<std::string>{""}, std::vector<std::string>{"HTTP/1.1 200 OK\r\n", ""},
          std::vector<std::string>{httpAnswer("{}").substr(0, 80), ""}}) {
        const MockServer server([&](const std::string&) { return pieces; });
        ServerRequest request = to(server.url());
        request.time = milliseconds(50);
        const ServerAnswer answer = asked(request);
        EXPECT_EQ(answer.end, End::outOfTime);
        EXPECT_GE(answer.took, milliseconds(40));
    }
}

TEST(CurlServers, MoreThanTheLimitIsTooMuch) {
    // A gigabyte is announced, and of it more comes than a reader could mistake for the limit.
    const MockServer server([](const std::string&) {
        std::vector<std::string> pieces = {"HTTP/1.1 200 OK\r\nContent-Length: 1073741824\r\n\r\n"};
        pieces.resize(9, std::string(std::size_t{1} << 20U, 'a'));
        return pieces;
    });
    ServerRequest request = to(server.url());
    request.mostBytes = 100'000;
    const ServerAnswer answer = asked(request);
    EXPECT_EQ(answer.end, End::tooMuch);
    EXPECT_EQ(answer.body.size(), 100'000U);
}

TEST(CurlServers, AnAnswerOfJustTheLimitIsWhole) {
    const MockServer server(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("0123456789")}; });
    ServerRequest request = to(server.url());
    request.mostBytes = 10;
    EXPECT_EQ(asked(request).end, End::answered);
    request.mostBytes = 9;
    EXPECT_EQ(asked(request).end, End::tooMuch);
}

TEST(CurlServers, WhatIsNoHttpIsBroken) {
    EXPECT_EQ(answerTo({"SSH-2.0-OpenSSH_9.2\r\n"}).end, End::broken);
    EXPECT_EQ(answerTo({std::string("\x00\xff\x01", 3)}).end, End::broken);
    EXPECT_EQ(answerTo({}).end, End::broken) << "it closes at once";
    EXPECT_EQ(answerTo({httpAnswer(std::string(100, 'a')).substr(0, 120)}).end, End::broken)
        << "it closes in the middle";
}

TEST(CurlServers, ARedirectionIsNotFollowed) {
    const MockServer target(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("{}")}; });
    const MockServer server([&](const std::string&) {
        return std::vector<std::string>{
            "HTTP/1.1 307 Temporary Redirect\r\nLocation: " + target.url() +
            "/\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"};
    });
    EXPECT_EQ(asked(to(server.url())).status, 307);
    EXPECT_TRUE(target.requests().empty());
}

TEST(CurlServers, AProxyOfTheEnvironmentIsNotUsed) {
    const MockServer proxy(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("proxy")}; });
    const MockServer server(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("server")}; });
    setenv("http_proxy", proxy.url().c_str(), 1);
    setenv("ALL_PROXY", proxy.url().c_str(), 1);
    EXPECT_EQ(asked(to(server.url())).body, "server");
    unsetenv("http_proxy");
    unsetenv("ALL_PROXY");
    EXPECT_TRUE(proxy.requests().empty());
}

TEST(CurlServers, OnlyAddressesOfThisMachineAreConnectedTo) {
    ServerRequest request = to("http://127.0.0.1:9");
    // As if a name of this machine led somewhere else; 192.0.2.1 is nobody's (RFC 5737).
    request.address.base = "http://192.0.2.1:80";
    EXPECT_EQ(asked(request).end, End::notReached);
}

TEST(CurlServers, ACancelEndsItAtOnce) {
    const MockServer server([](const std::string&) { return std::vector<std::string>{""}; });
    const auto stop = std::make_unique<StopSource>();
    std::thread canceller([&] {
        server.awaitRequests(1);
        stop->ask();
    });
    const ServerAnswer answer = makeCurlServers()->ask(to(server.url()), stop->token());
    canceller.join();
    EXPECT_EQ(answer.end, End::cancelled);
    const ServerAnswer before = makeCurlServers()->ask(to(server.url()), stop->token());
    EXPECT_EQ(before.end, End::cancelled) << "one that was cancelled before it began";
}

TEST(CurlServers, SeveralAreAskedAtOnce) {
    const auto client = makeCurlServers();
    const MockServer one(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("1")}; });
    const MockServer two(
        [](const std::string&) { return std::vector<std::string>{httpAnswer("2")}; });
    std::string first;
    std::thread other([&] { first = client->ask(to(one.url()), {}).body; });
    EXPECT_EQ(client->ask(to(two.url()), {}).body, "2");
    other.join();
    EXPECT_EQ(first, "1");
}

// No package has a server of models together with a model, so it is asked only where somebody named
// one: TREVIX_TEST_JUDGE=http://127.0.0.1:11434 TREVIX_TEST_MODEL=qwen2.5:0.5b.
TEST(RealModelServer, AnswersInTheFormThatIsAskedFor) {
    const char* url = std::getenv("TREVIX_TEST_JUDGE");
    const char* model = std::getenv("TREVIX_TEST_MODEL");
    if (url == nullptr || model == nullptr) {
        GTEST_SKIP() << "NOT RUN: no server of models was named (TREVIX_TEST_JUDGE and "
                        "TREVIX_TEST_MODEL)";
    }
    ServerWishes wishes;
    wishes.judge = url;
    wishes.model = model;
    const auto servers = makeCurlServers();
    ServerEngines room(std::get<ServerChoices>(chosenServers(wishes)), *servers);
    Part work;
    work.mimeType = "text/plain";
    work.text = "The garden opens at nine.\nIt opens at ten, as it does every day.\n";
    const Critique critique = room.look("model", work, "text", {});
    for (const NotChecked& gap : critique.coverage.notChecked) ADD_FAILURE() << gap.why;
    EXPECT_EQ(critique.coverage.checkedBy.size(), 1U);
}

} // namespace
} // namespace trevix
