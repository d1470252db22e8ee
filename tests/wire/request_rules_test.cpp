#include "platform/curl/request_rules.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

HttpRequest request(const std::string& method, const std::string& url) {
    HttpRequest made;
    made.method = method;
    made.url = url;
    if (method == "POST") {
        made.headers = {{"Content-Type", "application/json"}, {"Accept", "x"}};
        made.body = "{}";
    }
    return made;
}

std::string sentOn(const HttpRequest& from, int status, const std::string& target) {
    const auto next = afterRedirect(from, status, target);
    if (!next) return "";
    return next->method + " " + next->url + (next->body ? " with a body" : "");
}

TEST(AfterRedirect, FollowsWithinTheOrigin) {
    for (const int status : {301, 302, 303, 307, 308}) {
        EXPECT_EQ(sentOn(request("GET", "http://a.test/x"), status, "http://A.test:80/y"),
                  "GET http://A.test:80/y");
    }
    for (const int status : {200, 300, 304, 305, 306, 309, 400}) {
        EXPECT_EQ(sentOn(request("GET", "http://a.test/x"), status, "http://a.test/y"), "");
    }
}

TEST(AfterRedirect, APostIsRepeatedOnlyWhereThatIsSaid) {
    const HttpRequest post = request("POST", "http://a.test/x");
    for (const int status : {301, 302, 303}) {
        EXPECT_EQ(sentOn(post, status, "http://a.test/y"), "GET http://a.test/y");
        EXPECT_EQ(afterRedirect(post, status, "http://a.test/y")->headers.size(), 1U);
    }
    for (const int status : {307, 308}) {
        EXPECT_EQ(sentOn(post, status, "http://a.test/y"), "POST http://a.test/y with a body");
    }
    EXPECT_EQ(sentOn(request("DELETE", "http://a.test/x"), 302, "http://a.test/y"),
              "DELETE http://a.test/y");
}

TEST(AfterRedirect, IntoTlsOfTheSameHostRepeatsTheRequest) {
    const HttpRequest post = request("POST", "http://a.test:8080/x");
    for (const int status : {301, 302, 307, 308}) {
        EXPECT_EQ(sentOn(post, status, "https://a.test/x"), "POST https://a.test/x with a body");
    }
    EXPECT_EQ(sentOn(post, 303, "https://a.test/x"), "GET https://a.test/x");
}

TEST(AfterRedirect, LeadsNowhereElseByItself) {
    for (const char* target : {"http://b.test/", "http://a.test:81/", "https://b.test/", "http://",
                               "", "ftp://a.test/", "http://a b/", "http+unix://%2Fx/"}) {
        EXPECT_EQ(sentOn(request("GET", "http://a.test/"), 302, target), "") << target;
    }
    EXPECT_EQ(sentOn(request("GET", "https://a.test/"), 302, "http://a.test/"), "");
}

TEST(AfterRedirect, LeadsToOtherHostsWithoutAKeyWhereTheRequestSaysSo) {
    HttpRequest free = request("GET", "https://a.test/");
    free.followsToOtherHosts = true;
    EXPECT_EQ(sentOn(free, 302, "https://b.test/x"), "GET https://b.test/x");
    EXPECT_EQ(sentOn(free, 302, "http://b.test/x"), "") << "out of TLS";
    EXPECT_EQ(sentOn(free, 302, "ftp://b.test/x"), "");
    HttpRequest withKey = free;
    withKey.headers = {{"aUTHORIZATION", "Bearer k"}};
    EXPECT_EQ(sentOn(withKey, 302, "https://b.test/x"), "");
    withKey = free;
    withKey.keyToProve = "k";
    EXPECT_EQ(sentOn(withKey, 302, "https://b.test/x"), "");
}

TEST(AfterRedirect, StaysBehindASocket) {
    const HttpRequest from = request("GET", "http+unix://%2Frun%2Fa/x");
    EXPECT_EQ(sentOn(from, 302, "http://localhost/y"), "GET http+unix://%2Frun%2Fa/y");
    EXPECT_EQ(sentOn(from, 302, "http://localhost:81/y"), "");
    EXPECT_EQ(sentOn(from, 302, "https://b.test/y"), "");
}

} // namespace
} // namespace kelvane
