#include "harness/wiring_truth.h"

#include "harness/installation.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

using std::chrono::seconds;

TEST(WiringTruths, AreReadFromWhatTheInstallerTells) {
    const WiringTruths wanted = {{"claude_code", {WiringState::Repair, true}},
                                 {"codex", {WiringState::Untrusted, false}},
                                 {"openclaw", {WiringState::NotOurs, false}},
                                 {"cursor", {WiringState::Edited, false}}};
    EXPECT_EQ(wiringTruths(R"({"validator": {}, "tools": [
        {"tool": "claude", "state": "repair", "version": "2.1.329"},
        {"tool": "codex", "state": "untrusted", "version": null},
        {"tool": "openclaw", "state": "absent", "version": 7},
        {"tool": "cursor", "state": "edited"},
        {"tool": "zed", "state": "wired"}]})"),
              wanted);
}

TEST(WiringTruths, OfAnythingElseAreNone) {
    for (const std::string told :
         {"", "{", "[]", "null", "{\"tools\": {}}", "{\"tools\": [1, {\"tool\": []}]}",
          "{\"tools\": [{\"tool\": \"codex\", \"state\": \"dancing\"}]}", "no such file"}) {
        EXPECT_EQ(wiringTruths(told), WiringTruths()) << told;
    }
}

TEST(WiringQuestion, ReadsNoProfileLeavesNothingBehindAndEndsWithTheProgram) {
    const auto question = wiringQuestion("/home/o'hara/.brask");
    EXPECT_EQ(question.program, "/bin/sh");
    ASSERT_EQ(question.arguments.size(), 2U);
    EXPECT_EQ(question.arguments[0], "-c");
    const std::string& script = question.arguments[1];
    EXPECT_TRUE(script.ends_with("\nexec python3 -I " +
                                 shellWord("/home/o'hara/.brask/brask_install.py") +
                                 " status --json"));
    EXPECT_EQ(script.find('>'), std::string::npos) << "a file is written";
    EXPECT_EQ(question.output, ProcessOutput::Capture);
    EXPECT_TRUE(question.endsAtQuit);
    EXPECT_GT(question.timeLimit, seconds(0));
}

TEST(WiringMark, ChangesWithEveryFileThatCounts) {
    FakePlatform fake;
    const auto mark = [&] { return wiringMark(fake.files, "/home/ada"); };
    std::size_t before = mark();
    EXPECT_EQ(mark(), before);
    for (const std::string name :
         {".claude/settings.json", ".codex/config.toml", ".codex/hooks.json", ".cursor/hooks.json",
          ".openclaw/openclaw.json", ".brask/installed.json"}) {
        fake.files.files["/home/ada/" + name] = "";
        EXPECT_NE(mark(), before) << name;
        before = mark();
        fake.files.files["/home/ada/" + name] = "x";
        EXPECT_NE(mark(), before) << name;
        before = mark();
    }
    fake.files.files["/home/ada/.claude/other.json"] = "x";
    EXPECT_EQ(mark(), before);
}

} // namespace
} // namespace kelvane
