#include "text/web_address.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kelvane::text {
namespace {

using namespace std::string_view_literals;

TEST(IsAddress, AcceptsWhatThePanelOpens) {
    for (const auto text : {"https://trevix.example/connect?from=macos-app"sv,
                            "https://trevix.example/console?run=demo-run"sv,
                            "http://127.0.0.1:8123/console?run=a_b-c.d~e"sv}) {
        EXPECT_TRUE(isAddress(text)) << text;
    }
}

TEST(IsAddress, AcceptsTheGenericSyntax) {
    for (const auto text :
         {"https://trevix.example"sv, "HTTPS://Trevix.Example"sv, "https://user:pw@host:443/"sv,
          "https://host:/"sv, "http://[::1]:8080/x"sv, "https://host/a%20b%C3%A9?q=(1)'*#top"sv,
          "https://host?q"sv, "https://host#f"sv, "mailto:someone@trevix.example"sv,
          "file:///Applications"sv, "a+b-c.1:x"sv}) {
        EXPECT_TRUE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesTextWithoutAScheme) {
    for (const auto text :
         {""sv, ":"sv, "trevix.example/connect"sv, "//trevix.example"sv, "/connect"sv, "://x"sv,
          "1http://host"sv, "ht tp://host"sv, "h\xC3\xA9://host"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesTheWebWithoutAHost) {
    for (const auto text : {"https:"sv, "https://"sv, "https:///path"sv, "http:host"sv,
                            "HTTP:/host"sv, "https://:8080/"sv, "https://user@/"sv, "x://"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesCharactersThatNeedEscaping) {
    for (const auto text :
         {"https://host/a b"sv, "https://host/\xC3\xA9"sv, "https://host/a\"b"sv,
          "https://host/<a>"sv, "https://host/a|b"sv, "https://host/a\nb"sv, "https://host/a\0b"sv,
          "https://ho st/"sv, "https://host/\xFF"sv, "https://host/^"sv, "https://host/[a]"sv,
          "https://host/{a}"sv, "https://host/a\\b"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesBrokenEscapes) {
    for (const auto text : {"https://host/%"sv, "https://host/%2"sv, "https://host/%zz"sv,
                            "https://host/%2G"sv, "https://ho%2/"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesBrokenHostsAndPorts) {
    for (const auto text :
         {"https://host:port/"sv, "https://host:80:80/"sv, "https://[::1/"sv, "https://[]/"sv,
          "https://[zz]/"sv, "https://[::1]80/"sv, "https://a@b@c/"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(IsAddress, RefusesASecondFragment) {
    EXPECT_FALSE(isAddress("https://host/#a#b"));
}

TEST(IsAddress, LengthDoesNotMatter) {
    EXPECT_TRUE(isAddress("https://host/?run=" + std::string(100'000, 'r')));
    EXPECT_FALSE(isAddress(std::string(100'000, 'r')));
}

TEST(IsWebAddress, Table) {
    const struct {
        std::string text;
        bool valid;
    } cases[] = {
        {"https://trevix.example", true},
        {"http://localhost:8787/console?run=1", true},
        {"http://[::1]:8787/", true},
        {"HTTPS://trevix.example/", true},
        {"https://trevix.example/console?run=äöü", true},
        {"", false},
        {"trevix.example/console", false},
        {"/console?run=1", false},
        {"https:trevix.example", false},
        {"https:///console", false},
        {"https://", false},
        {"https://trevix.example:port/", false},
        {"https://trevix.example/a b", false},
        {"https://trevix.example/a\tb", false},
        {"https://trevix.example/a\nb", false},
        {std::string("https://trevix.example/a\0b", 26), false},
        {" https://trevix.example", false},
        {"https://trevix.example/%", false},
        {"https://trevix.example/`id`", false},
        {"https://trevix.example/\xc3", false},
        {"file:///etc/passwd", false},
        {"/etc/passwd", false},
        {"javascript:alert(1)", false},
        {"mailto:ada@trevix.example", false},
        {"ftp://trevix.example/", false},
        {"-h", false},
        {"https://trevix.example/a\u00A0b", false},
        {"https://trevix.example/a\u0085b", false},
        {"https://trevix.example/a\u2028b", false},
        {"https://t\u00E9.example/", true},
        {"httpſ://trevix.example/", false},
    };
    for (const auto& each : cases) EXPECT_EQ(isWebAddress(each.text), each.valid) << each.text;
}

TEST(WebOrigin, IsSchemeHostAndPort) {
    for (const auto& [text, origin] : std::vector<std::pair<std::string_view, WebOrigin>>{
             {"http://Host.Test", {"http", "host.test", 80}},
             {"HTTPS://host.test/a:1/b@c", {"https", "host.test", 443}},
             {"https://host.test:/", {"https", "host.test", 443}},
             {"http://me:pw@host.test:8080?x", {"http", "host.test", 8080}},
             {"http://[::A]:65535#x", {"http", "::a", 65535}},
             {"http://[::1]", {"http", "::1", 80}}}) {
        EXPECT_EQ(webOrigin(text), origin) << text;
    }
}

TEST(WebOrigin, IsAbsentWithoutAnAddressOrAPort) {
    for (const auto text : {"http://host:0/"sv, "http://host:65536/"sv, "http://host:99999/"sv,
                            "ftp://host/"sv, "host"sv, ""sv, "http://a b/"sv}) {
        EXPECT_EQ(webOrigin(text), std::nullopt) << text;
    }
}

TEST(WebOrigin, IsWrittenWithItsPort) {
    EXPECT_EQ(written(*webOrigin("https://Host.Test/x")), "https://host.test:443");
    EXPECT_EQ(written(*webOrigin("http://[::1]:8080/x")), "http://[::1]:8080");
}

TEST(IsLoopback, IsThisMachineByName) {
    for (const auto host :
         {"localhost"sv, "a.localhost"sv, "127.0.0.1"sv, "127.255.0.9"sv, "::1"sv}) {
        EXPECT_TRUE(isLoopback(host)) << host;
    }
    for (const auto host :
         {""sv, "localhost.example"sv, "notlocalhost"sv, "128.0.0.1"sv, "127.0.0.1.example"sv,
          "127.0.0"sv, "127.1"sv, "127.0.0.256"sv, "127.0.0.-1"sv, "127.0.0.01"sv, "127.0.0."sv,
          "127.0.0.1."sv, "127..0.1"sv, "0.0.0.0"sv, "::"sv, "::2"sv, "10.127.0.1"sv}) {
        EXPECT_FALSE(isLoopback(host)) << host;
    }
}

} // namespace
} // namespace kelvane::text
