#include "eval/chosen_environment.h"

#include "platform/fake/fake_environment.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

class ChosenEnvironmentTest : public testing::Test {
protected:
    FakeEnvironment outside;
    ChosenEnvironment environment{outside};
};

TEST_F(ChosenEnvironmentTest, SaysWhatIsOutsideUntilSomethingIsChosen) {
    outside.variables = {{"HOME", "/home/me"}};
    EXPECT_EQ(environment.get("HOME"), "/home/me");
    EXPECT_EQ(environment.get("BRASK_API_BASE"), std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), std::nullopt);
}

TEST_F(ChosenEnvironmentTest, FillsWhatIsNotSet) {
    outside.variables = {{"HOME", "/home/me"}};
    environment.choose("http+unix://%2Fs", "key");
    EXPECT_EQ(environment.get("BRASK_API_BASE"), "http+unix://%2Fs");
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "key");
    EXPECT_EQ(environment.get("HOME"), "/home/me");
    EXPECT_EQ(environment.get("LANG"), std::nullopt) << "no key under another name";
    environment.forget();
    EXPECT_EQ(environment.get("BRASK_API_BASE"), std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), std::nullopt);
}

TEST_F(ChosenEnvironmentTest, WhatIsSetOutsideStays) {
    outside.variables = {{"BRASK_API_BASE", ""}, {"BRASK_API_KEY", "mine"}};
    environment.choose("http+unix://%2Fs", "key");
    EXPECT_EQ(environment.get("BRASK_API_BASE"), "");
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "mine");
    outside.variables = {{"BRASK_API_KEY", "mine"}};
    EXPECT_EQ(environment.get("BRASK_API_BASE"), "http+unix://%2Fs");
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "mine");
}

TEST_F(ChosenEnvironmentTest, TheKeyIsNotUsedForAnotherService) {
    outside.variables = {{"BRASK_API_BASE", "https://elsewhere.example"}};
    environment.choose("http+unix://%2Fs", "key");
    EXPECT_EQ(environment.get("BRASK_API_KEY"), std::nullopt);
}

TEST_F(ChosenEnvironmentTest, AnEmptyKeyIsNone) {
    outside.variables = {{"BRASK_API_KEY", ""}};
    environment.choose("http+unix://%2Fs", "key");
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "key");
    environment.choose("http+unix://%2Fs", std::nullopt);
    EXPECT_EQ(environment.get("BRASK_API_KEY"), "");
}

} // namespace
} // namespace kelvane
