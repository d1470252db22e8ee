#include "service/setup/keys_command.h"

#include "service/setup/team_key_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace trevix {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* kStore = "--store=postgresql://db/trevix";

KeysCommand parsed(const std::vector<std::string>& arguments) {
    const auto result = parseKeysCommand(arguments);
    if (const auto* error = std::get_if<UsageError>(&result)) {
        ADD_FAILURE() << error->text;
        return {};
    }
    return std::get<KeysCommand>(result);
}

std::string errorOf(const std::vector<std::string>& arguments) {
    const auto result = parseKeysCommand(arguments);
    const auto* error = std::get_if<UsageError>(&result);
    return error != nullptr ? error->text : "";
}

TEST(KeysCommand, AKeyIsAddedWithWhatItMay) {
    KeysCommand expected;
    expected.action = KeysCommand::Action::add;
    expected.store = "postgresql://db/trevix";
    expected.name = "ada";
    EXPECT_EQ(parsed({"add", "ada", kStore}), expected);
    expected.group = "writers";
    expected.scope = KeyScope::read;
    expected.expiresDays = 90;
    expected.perMinute = 0;
    expected.perDay = 200;
    EXPECT_EQ(parsed({kStore, "add", "--group", "writers", "ada", "--scope=read", "--expires", "90",
                      "--per-minute=0", "--per-day", "200"}),
              expected);
}

TEST(KeysCommand, KeysAreListedAndRevoked) {
    EXPECT_EQ(parsed({"list", kStore}).action, KeysCommand::Action::list);
    EXPECT_EQ(parsed({"revoke", "ada", kStore}).name, "ada");
    EXPECT_EQ(parsed({"--help"}).action, KeysCommand::Action::help);
}

TEST(KeysCommand, WhatDoesNotGoTogetherIsSaid) {
    EXPECT_THAT(errorOf({}), HasSubstr("one of add, list and revoke"));
    EXPECT_THAT(errorOf({"delete", "ada", kStore}), HasSubstr("one of add, list and revoke"));
    EXPECT_THAT(errorOf({"add", kStore}), HasSubstr("needs one name"));
    EXPECT_THAT(errorOf({"add", "ada", "eve", kStore}), HasSubstr("needs one name"));
    EXPECT_THAT(errorOf({"list", "ada", kStore}), HasSubstr("takes no name"));
    EXPECT_THAT(errorOf({"add", "ada"}), HasSubstr("--store"));
    EXPECT_THAT(errorOf({"add", "ada", "--store", "runs.db"}), HasSubstr("postgresql://"));
    EXPECT_THAT(errorOf({"add", "ada", "--store"}), HasSubstr("needs a value"));
    EXPECT_THAT(errorOf({"revoke", "ada", kStore, "--per-day=3"}), HasSubstr("no option but"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--scope=all"}), HasSubstr("grade or read"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--expires=0"}), HasSubstr("1 to 36500"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--per-day=-1"}), HasSubstr("--per-day"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--per-minute=1x"}), HasSubstr("--per-minute"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--colour=red"}), HasSubstr("unknown option"));
    EXPECT_THAT(errorOf({"add", "a b", kStore}), HasSubstr("letters, digits"));
    EXPECT_THAT(errorOf({"add", "ada", kStore, "--group", "a\tb"}), HasSubstr("letters, digits"));
}

TEST(KeyName, IsAPlainWord) {
    for (const char* name : {"ada", "A", "ci-runner.2", "ada@example.org", "9_lives"}) {
        EXPECT_TRUE(isKeyName(name)) << name;
    }
    for (const char* name : {"", "-x", ".x", "a b", "a/b", "a\n", "ä"}) {
        EXPECT_FALSE(isKeyName(name)) << name;
    }
    EXPECT_TRUE(isKeyName(std::string(64, 'a')));
    EXPECT_FALSE(isKeyName(std::string(65, 'a')));
}

TEST(TeamKeyText, IsRandomAndOnlyItsDigestIsKept) {
    const std::string key = newTeamKey();
    EXPECT_THAT(key, MatchesRegex("trevix_team_[0-9a-f]{40}"));
    EXPECT_NE(key, newTeamKey());
    // FIPS 180-2, appendix B.1.
    EXPECT_EQ(keyDigest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Bearer, IsFoundInAHeader) {
    EXPECT_EQ(bearerIn("Bearer abc"), "abc");
    EXPECT_EQ(bearerIn("bEARER abc"), "abc");
    EXPECT_EQ(bearerIn("Basic abc"), std::nullopt);
    EXPECT_EQ(bearerIn("Bearer "), std::nullopt);
    EXPECT_EQ(bearerIn(""), std::nullopt);
}

} // namespace
} // namespace trevix
