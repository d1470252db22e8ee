#include "service/setup/public_url.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(PublicUrl, IsASchemeAndAnAuthority) {
    EXPECT_EQ(parsePublicUrl("https://judge.example.org"), (PublicUrl{true, "judge.example.org"}));
    EXPECT_EQ(parsePublicUrl("HTTPS://Judge.Example.org/"), (PublicUrl{true, "judge.example.org"}));
    EXPECT_EQ(parsePublicUrl("http://10.0.0.5:8797"), (PublicUrl{false, "10.0.0.5:8797"}));
    EXPECT_EQ(parsePublicUrl("https://a:65535")->origin(), "https://a:65535");
    EXPECT_EQ(parsePublicUrl("http://a")->origin(), "http://a");
}

TEST(PublicUrl, IsNothingElse) {
    for (const char* url :
         {"", "judge.example.org", "ftp://a", "https://", "https:///", "https://a/path",
          "https://a?x", "https://me@a", "https://a:", "https://a:0", "https://a:65536",
          "https://a:80x", "https://a:080", "https://a b", "https://a\r\nb", "https://[::1]"}) {
        EXPECT_EQ(parsePublicUrl(url), std::nullopt) << url;
    }
    EXPECT_EQ(parsePublicUrl("https://" + std::string(254, 'a')), std::nullopt);
}

TEST(Ipv4, IsFourNumbers) {
    for (const char* address : {"127.0.0.1", "0.0.0.0", "255.255.255.255", "10.0.0.5"}) {
        EXPECT_TRUE(isIpv4(address)) << address;
    }
    for (const char* address : {"", "127.0.0", "127.0.0.1.2", "256.0.0.1", "1.2.3.x", "1..2.3",
                                "01.2.3.4", "localhost", "::1", "1.2.3.", "1.2.3.4 "}) {
        EXPECT_FALSE(isIpv4(address)) << address;
    }
}

} // namespace
} // namespace trevix
