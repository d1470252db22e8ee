#include "platform/macos/web_address.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

using namespace std::string_view_literals;

TEST(MacosWebAddress, AcceptsWhatThePanelOpens) {
    for (const auto text : {"https://trevix.example/connect?from=macos-app"sv,
                            "https://trevix.example/console?run=demo-run"sv,
                            "http://127.0.0.1:8123/console?run=a_b-c.d~e"sv}) {
        EXPECT_TRUE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, AcceptsTheGenericSyntax) {
    for (const auto text :
         {"https://trevix.example"sv, "HTTPS://Trevix.Example"sv, "https://user:pw@host:443/"sv,
          "https://host:/"sv, "http://[::1]:8080/x"sv, "https://host/a%20b%C3%A9?q=(1)'*#top"sv,
          "https://host?q"sv, "https://host#f"sv, "mailto:someone@trevix.example"sv,
          "file:///Applications"sv, "a+b-c.1:x"sv}) {
        EXPECT_TRUE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesTextWithoutAScheme) {
    for (const auto text :
         {""sv, ":"sv, "trevix.example/connect"sv, "//trevix.example"sv, "/connect"sv, "://x"sv,
          "1http://host"sv, "ht tp://host"sv, "h\xC3\xA9://host"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesTheWebWithoutAHost) {
    for (const auto text : {"https:"sv, "https://"sv, "https:///path"sv, "http:host"sv,
                            "HTTP:/host"sv, "https://:8080/"sv, "https://user@/"sv, "x://"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesCharactersThatNeedEscaping) {
    for (const auto text :
         {"https://host/a b"sv, "https://host/\xC3\xA9"sv, "https://host/a\"b"sv,
          "https://host/<a>"sv, "https://host/a|b"sv, "https://host/a\nb"sv, "https://host/a\0b"sv,
          "https://ho st/"sv, "https://host/\xFF"sv, "https://host/^"sv, "https://host/[a]"sv,
          "https://host/{a}"sv, "https://host/a\\b"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesBrokenEscapes) {
    for (const auto text : {"https://host/%"sv, "https://host/%2"sv, "https://host/%zz"sv,
                            "https://host/%2G"sv, "https://ho%2/"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesBrokenHostsAndPorts) {
    for (const auto text :
         {"https://host:port/"sv, "https://host:80:80/"sv, "https://[::1/"sv, "https://[]/"sv,
          "https://[zz]/"sv, "https://[::1]80/"sv, "https://a@b@c/"sv}) {
        EXPECT_FALSE(isAddress(text)) << text;
    }
}

TEST(MacosWebAddress, RefusesASecondFragment) {
    EXPECT_FALSE(isAddress("https://host/#a#b"));
}

TEST(MacosWebAddress, LengthDoesNotMatter) {
    EXPECT_TRUE(isAddress("https://host/?run=" + std::string(100'000, 'r')));
    EXPECT_FALSE(isAddress(std::string(100'000, 'r')));
}

} // namespace
} // namespace kelvane
