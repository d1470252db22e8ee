// The session and a service on this machine: over a Unix socket, and over a port that anybody could
// be listening on.

#include "platform/curl/curl_http_session.h"
#include "platform/curl/local_proof.h"
#include "platform/ports/quit_signal.h"
#include "tests/platform/temporary_folder.h"
#include "tests/wire/fault_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <unistd.h>

namespace kelvane::wire {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

HttpRequest post(const std::string& url) {
    HttpRequest request;
    request.method = "POST";
    request.url = url;
    request.headers = {{"Authorization", "Bearer key"}};
    request.body = "work";
    request.timeout = 20s;
    return request;
}

HttpRequest get(const std::string& url) {
    HttpRequest request = post(url);
    request.method = "GET";
    request.body.reset();
    return request;
}

// ---- a Unix socket

class UnixSocket : public testing::Test {
protected:
    [[nodiscard]] std::string base(const std::string& name = "api.sock") const {
        std::string escaped;
        for (const char c : (folder.path() / name).string()) {
            escaped += c == '/' ? "%2F" : std::string(1, c);
        }
        return "http+unix://" + escaped;
    }
    [[nodiscard]] std::string path() const { return (folder.path() / "api.sock").string(); }

    TemporaryFolder folder;
    QuitSignal quit;
    std::unique_ptr<HttpSession> session = makeCurlHttpSession(quit);
};

TEST_F(UnixSocket, CarriesRequestsAsAnyConnectionDoes) {
    FaultServer server(path());
    server.script({json("{}")});
    EXPECT_EQ(session->send(post(base() + "/base/a/../b?c")), (HttpResponse{200, "{}"}));
    EXPECT_EQ(session->send(get(base() + "/d")), (HttpResponse{200, "{}"}));
    const auto seen = server.requests();
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_EQ(seen[0].target, "/base/a/../b?c");
    EXPECT_EQ(seen[0].headers.at("host"), "localhost");
    EXPECT_EQ(seen[0].headers.at("authorization"), "Bearer key");
    EXPECT_EQ(seen[0].body, "work");
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(UnixSocket, NeedsNoProof) {
    FaultServer server(path());
    server.script({json("{}")});
    HttpRequest request = post(base() + "/");
    request.keyToProve = "key";
    EXPECT_TRUE(session->send(request));
    EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST_F(UnixSocket, IsNotReachedThroughAProxy) {
    FaultServer proxy;
    FaultServer server(path());
    server.script({json("{}")});
    ::setenv("http_proxy", proxy.base().c_str(), 1);
    EXPECT_TRUE(session->send(get(base() + "/")));
    ::unsetenv("http_proxy");
    EXPECT_EQ(proxy.connections(), 0);
}

TEST_F(UnixSocket, OfAnotherUserIsToldNothing) {
    // Root can listen as somebody else; anybody can be taken for somebody else.
    const bool isRoot = ::geteuid() == 0;
    FaultServer server(path(), isRoot ? std::optional(65'534U) : std::nullopt);
    server.script({json("{}")});
    session = makeCurlHttpSession(quit, {.user = isRoot ? 0 : ::geteuid() + 1});
    EXPECT_FALSE(session->send(post(base() + "/")));
    ASSERT_TRUE(server.waitForEnds(1));
    EXPECT_THAT(server.requests(), IsEmpty());
    // The same listener to its own user.
    session = makeCurlHttpSession(quit, {.user = isRoot ? 65'534U : ::geteuid()});
    EXPECT_EQ(session->send(post(base() + "/")), (HttpResponse{200, "{}"}));
}

TEST_F(UnixSocket, IsUnreachableWithoutAListener) {
    EXPECT_FALSE(session->send(get(base("nobody") + "/")));
    { const FaultServer gone(path()); }
    EXPECT_FALSE(session->send(get(base() + "/")));
    EXPECT_FALSE(session->send(get("http+unix://relative/")));
}

TEST_F(UnixSocket, ARedirectStaysBehindIt) {
    FaultServer elsewhere;
    FaultServer server(path());
    server.script({redirect(307, "/there"), json("{}"), redirect(307, elsewhere.base(), "moved")});
    EXPECT_EQ(session->send(post(base() + "/here")), (HttpResponse{200, "{}"}));
    EXPECT_EQ(server.requests().at(1).target, "/there");
    EXPECT_EQ(session->send(post(base() + "/here")), (HttpResponse{307, "moved"}));
    EXPECT_EQ(elsewhere.connections(), 0);
}

// ---- a port, and who listens on it

const std::string kKey = "trevix_local_0123456789abcdef";

class Proof : public testing::Test {
protected:
    HttpRequest proved(HttpRequest request, const std::string& key = kKey) {
        request.keyToProve = key;
        return request;
    }
    /// Answers the question like a service that holds `key` and listens on `port`.
    static Step proof(std::uint16_t port, const std::string& key = kKey) {
        return [=](Connection& connection, const SeenRequest& request) {
            const std::string nonce = request.target.substr(request.target.find('=') + 1);
            const std::string text = proofOf(key, nonce, "127.0.0.1:" + std::to_string(port));
            connection.send(answerBytes(200, "{\"proof\": \"" + text + "\"}"));
        };
    }

    FaultServer server;
    QuitSignal quit;
    std::unique_ptr<HttpSession> session = makeCurlHttpSession(quit);
};

TEST_F(Proof, ComesBeforeKeyAndWorkOnTheSameConnection) {
    server.script({proof(server.port()), json("{}")});
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        const std::string base = "http://" + host + ":" + std::to_string(server.port());
        server.script({proof(server.port()), json("{}")});
        const std::size_t before = server.requests().size();
        EXPECT_EQ(session->send(proved(post(base + "/a"))), (HttpResponse{200, "{}"})) << host;
        EXPECT_EQ(session->send(proved(get(base + "/b"))), (HttpResponse{200, "{}"})) << host;
        const auto seen = server.requests();
        ASSERT_THAT(seen, SizeIs(before + 3));
        const SeenRequest& question = seen[before];
        EXPECT_EQ(question.method, "GET");
        EXPECT_TRUE(question.target.starts_with("/api/v1/proof?nonce="));
        EXPECT_EQ(question.target.size(), std::string("/api/v1/proof?nonce=").size() + 64);
        EXPECT_FALSE(question.headers.contains("authorization"));
        EXPECT_EQ(seen[before + 1].target, "/a");
        EXPECT_EQ(seen[before + 1].connection, question.connection);
        EXPECT_EQ(seen[before + 2].connection, question.connection);
    }
}

TEST_F(Proof, IsAskedAnewOnEveryConnection) {
    const auto closing = rawThenClose(answerBytes(200, "{}"));
    server.script({proof(server.port()), closing, proof(server.port()), closing});
    EXPECT_TRUE(session->send(proved(get(server.base() + "/a"))));
    ASSERT_TRUE(server.waitForEnds(1));
    EXPECT_TRUE(session->send(proved(get(server.base() + "/b"))));
    const auto seen = server.requests();
    ASSERT_THAT(seen, SizeIs(4));
    EXPECT_NE(seen[0].target, seen[2].target) << "the same question";
    EXPECT_TRUE(seen[2].target.starts_with("/api/v1/proof"));
    EXPECT_EQ(seen[3].connection, seen[2].connection);
}

TEST_F(Proof, WithoutOneNothingIsSent) {
    FaultServer real;
    for (const auto
             & [name, step] : std::vector<std::pair<std::string, Step>>{
                 {"404", answer(404, "")},
                 {"nothing", json("{}")},
                 {"another key", proof(server.port(), "another")},
                 {"the real service's, on its own port", proof(real.port())},
                 {"made up", json("{\"proof\":\"" + std::string(64, '0') + "\"}")},
                 {"a long one", json("{\"proof\":\"" + std::string(100'000, '0') + "\"}")},
                 {"an error with the proof",
                  [this](Connection&connection, const SeenRequest&request) {
                      const std::string nonce = request.target.substr(request.target.find('=') + 1);
                      connection.send(answerBytes(
                          401,
                          "{\"proof\":\"" +
                              proofOf(kKey, nonce, "127.0.0.1:" + std::to_string(server.port())) +
                              "\"}"));
                  }},
                 {"the end", hangUp()}}) {
        for (const HttpRequest& request :
             {proved(post(server.base() + "/a")), proved(get(server.base() + "/a"))}) {
            server.script({step, json("{}")});
            const std::size_t before = server.requests().size();
            EXPECT_FALSE(session->send(request)) << name;
            const auto seen = server.requests();
            ASSERT_THAT(seen, SizeIs(before + 1)) << name;
            EXPECT_FALSE(seen.back().headers.contains("authorization"));
            EXPECT_EQ(seen.back().body, "");
        }
    }
}

TEST_F(Proof, AServerThatClosesAfterItIsToldNothing) {
    server.script({[this](Connection& connection, const SeenRequest& request) {
                       proof(server.port())(connection, request);
                       connection.close();
                   },
                   json("{}")});
    EXPECT_FALSE(session->send(proved(post(server.base() + "/a"))));
    for (const SeenRequest& seen : server.requests()) {
        EXPECT_FALSE(seen.headers.contains("authorization")) << seen.target;
    }
}

TEST_F(Proof, OfOneKeyDoesNotServeAnother) {
    server.script({proof(server.port()), json("{}"), proof(server.port()), json("{}")});
    EXPECT_TRUE(session->send(proved(get(server.base() + "/a"))));
    EXPECT_FALSE(session->send(proved(get(server.base() + "/a"), "another")));
    EXPECT_THAT(server.requests(), SizeIs(3));
}

TEST_F(Proof, ElsewhereThanOnTheLoopbackNothingIsSentUnencrypted) {
    FaultServer proxy;
    ::setenv("http_proxy", proxy.base().c_str(), 1);
    EXPECT_FALSE(session->send(proved(post("http://service.test/a"))));
    ::unsetenv("http_proxy");
    EXPECT_EQ(proxy.connections(), 0);
}

TEST_F(Proof, QuittingEndsTheWaitForIt) {
    server.script({silence()});
    auto call = std::async(std::launch::async,
                           [this] { return session->send(proved(post(server.base()))); });
    ASSERT_TRUE(server.waitForRequests(1));
    quit.raise();
    ASSERT_EQ(call.wait_for(5s), std::future_status::ready);
    EXPECT_FALSE(call.get());
}

} // namespace
} // namespace kelvane::wire
