#include "app/grading_question.h"

#include "app/grading_place.h"
#include "eval/chosen_environment.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Where = ServiceChoice::Where;

class GradingQuestionTest : public testing::Test {
protected:
    GradingQuestionTest() {
        platform.environment.variables = {{"HOME", "/home/me"}};
        platform.processes.answer = [](const ProcessRequest& request) {
            return ProcessResult{.status = request.program == "/bin/sh" ? 1 : 0, .output = ""};
        };
        place.begin();
    }

    void install() {
        platform.files.files["/usr/bin/trevix-local"] = "ELF";
        platform.files.files["/home/me/.local/share/trevix-local/key"] = "trevix_local_k\n";
    }
    void ask() {
        askWhereToGrade({.dialogs = platform.dialogs,
                         .place = place,
                         .service = "service.example",
                         .hasKey = [this] { return hasKey; },
                         .openKeyPage = [this] { platform.urls.open("https://service.example/k"); },
                         .isSetOutside = [] { return false; }});
    }

    FakePlatform platform;
    ChosenEnvironment environment{platform.environment};
    GradingPlace place{{.files = platform.files,
                        .processes = platform.processes,
                        .programs = platform.programs,
                        .environment = environment},
                       {.home = "/home/me",
                        .braskHome = "/home/me/.brask",
                        .bundle = {},
                        .loginItem = LoginItem::AutostartEntry,
                        .bundleId = "example.kelvane"}};
    bool hasKey = false;
};

TEST_F(GradingQuestionTest, OneClickIsEnoughForThisMachine) {
    install();
    platform.dialogs.answers = {0};
    ask();
    EXPECT_EQ(place.choice().where, Where::ThisMachine);
    ASSERT_EQ(platform.dialogs.shown.size(), 1U);
    EXPECT_EQ(platform.dialogs.shown[0], gradingAlert({}, "service.example", false));
    EXPECT_EQ(platform.journal.count("open"), 0U);
}

TEST_F(GradingQuestionTest, AnAccountWithoutAKeyLeadsToWhereOneIsHad) {
    platform.dialogs.answers = {1};
    ask();
    EXPECT_EQ(place.choice().where, Where::Account);
    EXPECT_EQ(platform.journal.count("open https://service.example/k"), 1U);
}

TEST_F(GradingQuestionTest, AnAccountWithAKeyNeedsNothingMore) {
    hasKey = true;
    platform.dialogs.answers = {1};
    ask();
    EXPECT_EQ(place.choice().where, Where::Account);
    EXPECT_EQ(platform.journal.count("open"), 0U);
}

TEST_F(GradingQuestionTest, LaterAndClosingTheWindowPutItOff) {
    platform.dialogs.answers = {2};
    ask();
    EXPECT_EQ(place.choice().where, Where::Later);
    platform.dialogs.answers = {std::nullopt};
    ask();
    EXPECT_EQ(place.choice().where, Where::Later);
}

TEST_F(GradingQuestionTest, WhatCannotBeIsToldAndAskedAgain) {
    platform.dialogs.answers = {0, std::nullopt, 2};
    ask();
    ASSERT_EQ(platform.dialogs.shown.size(), 3U);
    EXPECT_EQ(platform.dialogs.shown[1].message, "This machine cannot grade yet");
    EXPECT_THAT(platform.dialogs.shown[1].informative, HasSubstr("trevix-local"));
    EXPECT_EQ(place.choice().where, Where::Later);
}

TEST(GradingAlert, SaysWhatIsNowAndWhatItMeans) {
    const auto first = gradingAlert({}, "service.example", false);
    EXPECT_EQ(first.message, "Where shall your work be graded?");
    EXPECT_THAT(first.buttons,
                ElementsAre("Grade on this machine", "Use a service account", "Later"));
    EXPECT_THAT(first.informative, HasSubstr("sent to service.example"));
    EXPECT_THAT(first.informative, HasSubstr("Where to grade…"));
    ServiceChoice now;
    now.where = Where::ThisMachine;
    const auto later = gradingAlert(now, "service.example", false);
    EXPECT_THAT(later.buttons,
                ElementsAre("Grade on this machine", "Use a service account", "Leave it"));
    EXPECT_THAT(later.informative, HasSubstr("Now: on this machine."));
    now.where = Where::Account;
    EXPECT_THAT(gradingAlert(now, "s", false).informative,
                HasSubstr("Now: with a service account."));
    EXPECT_THAT(gradingAlert(now, "s", false).informative, Not(HasSubstr("BRASK_API_BASE")));
    EXPECT_THAT(gradingAlert(now, "s", true).informative, HasSubstr("BRASK_API_BASE is set"));
}

} // namespace
} // namespace kelvane
