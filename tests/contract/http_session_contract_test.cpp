// What every HTTP session promises, asked of the fake and of the real one.

#include "platform/curl/curl_http_session.h"
#include "platform/fake/fakes.h"
#include "platform/ports/quit_signal.h"
#include "tests/wire/fault_server.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

/// One kind of session under test, with a server that it can reach.
class SessionUnderTest {
public:
    virtual ~SessionUnderTest() = default;
    virtual HttpSession& session() = 0;
    virtual std::string origin() = 0;
    /// What the server answers from now on; nothing stands for a connection that breaks.
    virtual void answerWith(std::optional<HttpResponse> response) = 0;
    /// The method, path and body of every request that the server got.
    virtual std::vector<std::vector<std::string>> seen() = 0;
    virtual std::string lastHeader(const std::string& name) = 0;
};

class FakeSessionUnderTest : public SessionUnderTest {
public:
    HttpSession& session() override { return m_fake.http; }
    std::string origin() override { return "http://service.test"; }
    void answerWith(std::optional<HttpResponse> response) override {
        m_fake.http.answer = [this, response](const HttpRequest& request) {
            m_reached.push_back(request);
            return response;
        };
    }
    std::vector<std::vector<std::string>> seen() override {
        std::vector<std::vector<std::string>> rows;
        for (const HttpRequest& request : m_reached) {
            rows.push_back(
                {request.method, request.url.substr(origin().size()), request.body.value_or("")});
        }
        return rows;
    }
    std::string lastHeader(const std::string& name) override {
        for (const auto& [key, value] : m_reached.back().headers) {
            if (key == name) return value;
        }
        return {};
    }

private:
    FakePlatform m_fake;
    std::vector<HttpRequest> m_reached;
};

class CurlSessionUnderTest : public SessionUnderTest {
public:
    HttpSession& session() override { return *m_session; }
    std::string origin() override { return m_server.base(); }
    void answerWith(std::optional<HttpResponse> response) override {
        m_server.script(
            {response ? wire::answer(response->status, response->body) : wire::hangUp()});
    }
    std::vector<std::vector<std::string>> seen() override {
        std::vector<std::vector<std::string>> rows;
        for (const auto& request : m_server.requests()) {
            rows.push_back({request.method, request.target, request.body});
        }
        return rows;
    }
    std::string lastHeader(const std::string& name) override {
        std::string lower = name;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return m_server.requests().back().headers[lower];
    }

private:
    wire::FaultServer m_server;
    QuitSignal m_quit;
    std::unique_ptr<HttpSession> m_session = makeCurlHttpSession(m_quit);
};

enum class Side { Fake, Curl };

class HttpSessionContract : public testing::TestWithParam<Side> {
protected:
    HttpSessionContract() {
        if (GetParam() == Side::Fake) {
            m_under = std::make_unique<FakeSessionUnderTest>();
        } else {
            m_under = std::make_unique<CurlSessionUnderTest>();
        }
    }

    SessionUnderTest& under() { return *m_under; }
    std::optional<HttpResponse> send(const HttpRequest& request) {
        return m_under->session().send(request);
    }
    HttpRequest get(const std::string& path = "/") {
        HttpRequest request;
        request.method = "GET";
        request.url = m_under->origin() + path;
        return request;
    }

private:
    std::unique_ptr<SessionUnderTest> m_under;
};

TEST_P(HttpSessionContract, StatusAndBodyPassThrough) {
    for (const HttpResponse& response :
         {HttpResponse{200, "{}"}, HttpResponse{200, ""}, HttpResponse{201, "made"},
          HttpResponse{200, std::string("\0\xFF\r\n", 4)}, HttpResponse{302, "moved"},
          HttpResponse{400, "bad"}, HttpResponse{401, "who"}, HttpResponse{404, "<html>"},
          HttpResponse{500, "{\"detail\":\"d\"}"}, HttpResponse{503, ""}}) {
        under().answerWith(response);
        EXPECT_EQ(send(get()), response) << response.status;
    }
}

TEST_P(HttpSessionContract, MethodPathHeadersAndBodyReachTheServer) {
    under().answerWith(HttpResponse{200, "{}"});
    HttpRequest request = get("/a/b?c=d");
    request.method = "POST";
    request.headers = {{"Authorization", "Bearer k"}, {"Content-Type", "application/json"}};
    request.body = R"({"a":"b"})";
    ASSERT_TRUE(send(request));
    ASSERT_TRUE(send(get("/e")));
    HttpRequest removal = get("/f");
    removal.method = "DELETE";
    ASSERT_TRUE(send(removal));
    EXPECT_EQ(under().seen(),
              (std::vector<std::vector<std::string>>{
                  {"POST", "/a/b?c=d", R"({"a":"b"})"}, {"GET", "/e", ""}, {"DELETE", "/f", ""}}));
}

TEST_P(HttpSessionContract, HeadersArriveAsGiven) {
    under().answerWith(HttpResponse{200, "{}"});
    HttpRequest request = get();
    request.headers = {{"Authorization", "Bearer k k"}, {"User-Agent", "Kelvane-Companion"}};
    ASSERT_TRUE(send(request));
    EXPECT_EQ(under().lastHeader("Authorization"), "Bearer k k");
    EXPECT_EQ(under().lastHeader("User-Agent"), "Kelvane-Companion");
}

TEST_P(HttpSessionContract, ABrokenConnectionIsAbsent) {
    under().answerWith(std::nullopt);
    EXPECT_FALSE(send(get()));
}

TEST_P(HttpSessionContract, AfterABrokenConnectionTheNextOneWorks) {
    under().answerWith(std::nullopt);
    EXPECT_FALSE(send(get()));
    under().answerWith(HttpResponse{200, "{}"});
    EXPECT_EQ(send(get()), (HttpResponse{200, "{}"}));
}

TEST_P(HttpSessionContract, AnAddressThatIsNotHttpIsAbsentAndReachesNobody) {
    under().answerWith(HttpResponse{200, "{}"});
    for (const char* url : {"", "/api/v1/eval/jobs", "service.test/api", "ftp://service.test/",
                            "file:///etc/hostname", "data:,x", "not an address"}) {
        HttpRequest request = get();
        request.url = url;
        EXPECT_FALSE(send(request)) << url;
    }
    EXPECT_TRUE(under().seen().empty());
}

INSTANTIATE_TEST_SUITE_P(All, HttpSessionContract, testing::Values(Side::Fake, Side::Curl),
                         [](const auto& side) {
                             return side.param == Side::Fake ? "Fake" : "Curl";
                         });

} // namespace
} // namespace kelvane
