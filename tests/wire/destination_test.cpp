#include "platform/curl/destination.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

TEST(Destination, OfTheWebIsTheAddressItself) {
    EXPECT_EQ(destinationOf("https://service.test/a/../b%41?q#f"),
              (Destination{"https://service.test/a/../b%41?q#f", std::nullopt, false, false}));
    EXPECT_EQ(destinationOf("http://service.test:81"),
              (Destination{"http://service.test:81", std::nullopt, true, false}));
    for (const char* address : {"http://localhost/", "http://127.0.0.1:1/", "http://[::1]/"}) {
        EXPECT_EQ(destinationOf(address), (Destination{address, std::nullopt, true, true}));
    }
    EXPECT_EQ(destinationOf("http://h/\xC3\xA9?\xC3\xA9")->url, "http://h/%C3%A9?%C3%A9");
}

TEST(Destination, OfASocketIsItsPathAndThisMachine) {
    for (const auto& [address, url] : std::vector<std::pair<std::string, std::string>>{
             {"http+unix://%2Frun%2Fa.sock", "http://localhost"},
             {"HTTP+Unix://%2frun%2fa.sock/", "http://localhost/"},
             {"http+unix://%2Frun%2Fa.sock/base/../x?q#f", "http://localhost/base/../x?q#f"},
             {"http+unix://%2F%72un%2Fa.sock/%41", "http://localhost/%41"}}) {
        EXPECT_EQ(destinationOf(address), (Destination{url, "/run/a.sock", false, true}))
            << address;
    }
}

TEST(Destination, IsAbsentForASocketThatCannotBe) {
    const std::string longest(longestSocketPath() - 1, 'x');
    EXPECT_TRUE(destinationOf("http+unix://%2F" + longest + "/"));
    for (const std::string& address :
         {std::string("http+unix://"), std::string("http+unix:///run/a.sock"),
          std::string("http+unix://run%2Fa.sock/"), std::string("http+unix://%2Frun%00/"),
          std::string("http+unix://%2Frun%2/"), std::string("http+unix://%2Frun%zz/"),
          std::string("http+unix://%2Frun%"), std::string("http+unix:%2Frun"),
          std::string("https+unix://%2Frun%2Fa.sock"), "http+unix://%2F" + longest + "x/",
          std::string("http+unix://%2Frun%2Fa.sock/a b"),
          std::string("http+unix://%2Frun%2Fa.sock/\n")}) {
        EXPECT_EQ(destinationOf(address), std::nullopt) << address;
    }
}

TEST(Destination, IsAbsentForWhatIsNoWebAddress) {
    for (const char* address : {"", "/x", "host", "http://", "ftp://host/", "http://a b/",
                                "http://host:0/", "http://host:65536/", "file:///etc/hostname"}) {
        EXPECT_EQ(destinationOf(address), std::nullopt) << address;
    }
}

TEST(Destination, ARedirectBehindASocketStaysThere) {
    const std::string from = "http+unix://%2Frun%2Fa.sock/x/y";
    EXPECT_EQ(behindSameSocket(from, "http://localhost/a?b"), "http+unix://%2Frun%2Fa.sock/a?b");
    EXPECT_EQ(behindSameSocket(from, "http://localhost"), "http+unix://%2Frun%2Fa.sock");
    for (const char* target :
         {"http://localhost:81/a", "https://localhost/a", "http://other/a", ""}) {
        EXPECT_EQ(behindSameSocket(from, target), std::nullopt) << target;
    }
    EXPECT_EQ(behindSameSocket("http://localhost/x", "http://localhost/a"), std::nullopt);
}

} // namespace
} // namespace kelvane
