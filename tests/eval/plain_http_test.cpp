#include "eval/plain_http.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::plain_http {
namespace {

TEST(PlainHttp, OnlyOtherMachinesAreAskedAbout) {
    EXPECT_EQ(addressToAskAbout("http://Service.test/base"), "http://service.test:80");
    EXPECT_EQ(addressToAskAbout("HTTP://10.0.0.5:8797"), "http://10.0.0.5:8797");
    EXPECT_EQ(addressToAskAbout("http://localhost.example"), "http://localhost.example:80");
    for (const char* base :
         {"https://service.test", "http://localhost:8797", "http://127.0.0.1", "http://[::1]:1",
          "http://a.localhost", "http+unix://%2Frun%2Fa.sock", "", "   ", "ftp://service.test"}) {
        EXPECT_EQ(addressToAskAbout(base), std::nullopt) << base;
    }
}

TEST(PlainHttp, TheLastLineAboutAnAddressCounts) {
    const std::string content = "# allow http://a:80\n\nallow http://a:80\r\nrefuse http://b:80\n"
                                "  allow\thttp://c:80  \nperhaps http://d:80\nallow http://a:801\n"
                                "refuse http://a:80\nallow http://e:80";
    EXPECT_EQ(answerIn(content, "http://a:80"), false);
    EXPECT_EQ(answerIn(content, "http://b:80"), false);
    EXPECT_EQ(answerIn(content, "http://c:80"), true);
    EXPECT_EQ(answerIn(content, "http://d:80"), std::nullopt);
    EXPECT_EQ(answerIn(content, "http://e:80"), true);
    EXPECT_EQ(answerIn(content, "http://a:8"), std::nullopt);
    EXPECT_EQ(answerIn("", "http://a:80"), std::nullopt);
}

TEST(PlainHttp, AnAnswerIsKeptBesideWhatTheFileSays) {
    FakePlatform machine;
    EXPECT_EQ(remembered(machine.files, "/home/me/.brask", "http://a:80"), std::nullopt);
    EXPECT_TRUE(remember(machine.files, "/home/me/.brask", "http://a:80", true));
    EXPECT_TRUE(remember(machine.files, "/home/me/.brask", "http://b:80", false));
    EXPECT_EQ(remembered(machine.files, "/home/me/.brask", "http://a:80"), true);
    EXPECT_EQ(remembered(machine.files, "/home/me/.brask", "http://b:80"), false);
    const std::string content = *machine.files.read("/home/me/.brask/plain-http");
    EXPECT_TRUE(content.starts_with("# ")) << content;
    EXPECT_TRUE(content.ends_with("allow http://a:80\nrefuse http://b:80\n")) << content;

    machine.files.files["/home/me/.brask/plain-http"] = "mine";
    EXPECT_TRUE(remember(machine.files, "/home/me/.brask", "http://a:80", true));
    EXPECT_EQ(machine.files.read("/home/me/.brask/plain-http"), "mine\nallow http://a:80\n");
}

TEST(PlainHttp, AFileThatCannotBeWrittenIsSaid) {
    FakePlatform machine;
    machine.files.unwritable.insert("/home/me/.brask/plain-http");
    EXPECT_FALSE(remember(machine.files, "/home/me/.brask", "http://a:80", true));
}

TEST(PlainHttp, AFileThatCannotBeReadIsLeftAlone) {
    FakePlatform machine;
    const std::filesystem::path file = "/home/me/.brask/plain-http";
    machine.files.files[file] = "refuse http://b:80\n";
    machine.files.unreadable.insert(file);
    EXPECT_EQ(remembered(machine.files, "/home/me/.brask", "http://b:80"), std::nullopt);
    EXPECT_FALSE(remember(machine.files, "/home/me/.brask", "http://a:80", true));
    EXPECT_EQ(machine.files.files[file], "refuse http://b:80\n");
}

} // namespace
} // namespace kelvane::plain_http
