// The session over TLS: who is trusted, and that nobody else is told anything.

#include "platform/curl/curl_http_session.h"
#include "platform/ports/quit_signal.h"
#include "tests/source_tree.h"
#include "tests/wire/fault_server.h"
#include "tests/wire/tls_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

namespace kelvane::wire {
namespace {

using namespace std::chrono_literals;

class HttpSessionTls : public testing::Test {
protected:
    void trustNobody() { session = makeCurlHttpSession(quit); }

    std::optional<HttpResponse> get(const std::string& url) {
        HttpRequest request{.method = "GET",
                            .url = url,
                            .headers = {{"Authorization", "Bearer key"}},
                            .body = std::nullopt};
        request.timeout = 10s;
        return session->send(request);
    }

    QuitSignal quit;
    std::unique_ptr<HttpSession> session =
        makeCurlHttpSession(quit, {.authorities = inSourceTree("tests/wire/tls/authority.pem")});
};

TEST_F(HttpSessionTls, TalksToAServerThatItTrusts) {
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_EQ(get(server.url("localhost")), (HttpResponse{200, "{}"}));
    EXPECT_NE(server.heard().find("Authorization: Bearer key\r\n"), std::string::npos);
}

TEST_F(HttpSessionTls, TellsNothingToAServerThatNobodyVouchesFor) {
    trustNobody();
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_FALSE(get(server.url("localhost")));
    EXPECT_EQ(server.heard(), "");
}

TEST_F(HttpSessionTls, TellsNothingToAServerOfAnotherName) {
    TlsServer server(answerBytes(200, "{}"));
    EXPECT_FALSE(get(server.url("127.0.0.1")));
    EXPECT_EQ(server.heard(), "");
}

TEST_F(HttpSessionTls, IsAbsentWhereNoTlsIsSpoken) {
    FaultServer server;
    server.onAccept([](Connection& connection) {
        connection.send(answerBytes(400, "this is plain HTTP"));
        connection.waitForClient();
        connection.close();
    });
    EXPECT_FALSE(get("https://localhost:" + std::to_string(server.port()) + "/"));
}

TEST_F(HttpSessionTls, IsAbsentWhenTheBodyIsCutShort) {
    const std::string whole = answerBytes(200, std::string(1000, 'x'));
    TlsServer server(whole.substr(0, whole.size() - 500));
    EXPECT_FALSE(get(server.url("localhost")));
}

TEST_F(HttpSessionTls, DoesNotFollowARedirectThatLeavesTls) {
    FaultServer plain;
    TlsServer server(answerBytes(
        302, "moved", {{"Location", "http://localhost:" + std::to_string(plain.port()) + "/"}}));
    EXPECT_EQ(get(server.url("localhost")), (HttpResponse{302, "moved"}));
    EXPECT_EQ(plain.connections(), 0);
}

TEST_F(HttpSessionTls, ARedirectIntoTlsOfTheSameHostKeepsKeyMethodAndBody) {
    TlsServer secure(answerBytes(200, "{}"));
    int served = 0;
    for (const int status : {301, 302, 307, 308}) {
        FaultServer plain;
        plain.script({redirect(status, secure.url("localhost") + "there")});
        HttpRequest request{.method = "GET",
                            .url = "http://localhost:" + std::to_string(plain.port()) + "/",
                            .headers = {{"Authorization", "Bearer key"}},
                            .body = std::nullopt};
        EXPECT_EQ(session->send(request), (HttpResponse{200, "{}"})) << status;
        ASSERT_TRUE(secure.waitForEnds(++served));
        EXPECT_NE(secure.heard().find("GET /there HTTP/1.1\r\n"), std::string::npos);
        EXPECT_NE(secure.heard().find("Authorization: Bearer key\r\n"), std::string::npos);
    }
}

} // namespace
} // namespace kelvane::wire
