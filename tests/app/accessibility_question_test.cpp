#include "app/accessibility_question.h"

#include "app/accessibility_choice.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace kelvane {
namespace {

using accessibility_choice::Answer;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AccessibilityQuestionTest : public testing::Test {
protected:
    std::optional<Answer> remembered() {
        return accessibility_choice::remembered(machine.files, "/home/me/.brask");
    }

    FakePlatform machine;
    DesktopLimit helps{.accessibilityHelps = true};
    AccessibilityQuestion question{{machine.files, machine.dialogs, machine.accessibility},
                                   "/home/me/.brask"};
};

TEST_F(AccessibilityQuestionTest, IsAskedOnceWithWhatItCostsAndThatItStays) {
    machine.dialogs.answers = {0};
    question.askOnce(helps);
    question.askOnce(helps);
    ASSERT_THAT(machine.dialogs.shown, SizeIs(1));
    const auto& alert = machine.dialogs.shown.front();
    EXPECT_THAT(alert.informative, HasSubstr("stays on after you log out"));
    EXPECT_THAT(alert.informative, HasSubstr("memory"));
    EXPECT_THAT(alert.informative, HasSubstr("switch it off again"));
    EXPECT_EQ(alert.buttons.front(), "Leave Off") << "what the Return key presses changes nothing";
    EXPECT_EQ(machine.journal.count("accessibility "), 0U);
    EXPECT_EQ(remembered(), Answer::No);

    AccessibilityQuestion later({machine.files, machine.dialogs, machine.accessibility},
                                "/home/me/.brask");
    later.askOnce(helps);
    EXPECT_THAT(machine.dialogs.shown, SizeIs(1)) << "another start asks no more";
}

TEST_F(AccessibilityQuestionTest, IsNotAskedWhereItHelpsNobody) {
    question.askOnce({});
    machine.accessibility.on = true;
    question.askOnce(helps);
    machine.accessibility.on = std::nullopt;
    question.askOnce(helps);
    EXPECT_THAT(machine.dialogs.shown, IsEmpty());
    EXPECT_EQ(machine.journal.count("write"), 0U);
}

TEST_F(AccessibilityQuestionTest, ClosedWithoutAnAnswerItChangesNothingAndComesAgain) {
    question.askOnce(helps);
    EXPECT_EQ(remembered(), std::nullopt);
    EXPECT_EQ(machine.journal.count("accessibility "), 0U);
    question.askOnce(helps);
    EXPECT_THAT(machine.dialogs.shown, SizeIs(2));
}

TEST_F(AccessibilityQuestionTest, WhatIsSwitchedOnIsNotedFirstAndCanBeSwitchedOffAgain) {
    machine.dialogs.answers = {1, 1};
    question.askOnce(helps);
    EXPECT_EQ(machine.accessibility.on, true);
    EXPECT_EQ(remembered(), Answer::On);
    question.change();
    EXPECT_EQ(machine.accessibility.on, false);
    EXPECT_EQ(remembered(), Answer::Off);
    question.askOnce(helps);
    EXPECT_THAT(machine.dialogs.shown, SizeIs(2)) << "whoever switched it off is not asked again";
}

TEST_F(AccessibilityQuestionTest, LeftOnItStaysOn) {
    machine.dialogs.answers = {1, 0};
    question.askOnce(helps);
    question.change();
    EXPECT_EQ(machine.accessibility.on, true);
    EXPECT_EQ(remembered(), Answer::On);
}

TEST_F(AccessibilityQuestionTest, WhatSomebodyElseSwitchedOnIsNotSwitchedOff) {
    machine.accessibility.on = true;
    machine.dialogs.answers = {1};
    question.change();
    EXPECT_THAT(machine.dialogs.shown.front().message, HasSubstr("already"));
    EXPECT_EQ(machine.journal.count("accessibility "), 0U);
}

TEST_F(AccessibilityQuestionTest, ASettingThatIsStuckIsToldAndNotTakenForOurs) {
    machine.accessibility.isStuck = true;
    machine.dialogs.answers = {1};
    question.change();
    ASSERT_THAT(machine.dialogs.shown, SizeIs(2));
    EXPECT_THAT(machine.dialogs.shown.back().message, HasSubstr("could not be changed"));
    EXPECT_NE(remembered(), Answer::On);
}

TEST_F(AccessibilityQuestionTest, WhatCannotBeNotedIsNotSwitchedOn) {
    machine.files.unwritable.insert("/home/me/.brask/accessibility");
    machine.dialogs.answers = {1};
    question.change();
    EXPECT_EQ(machine.accessibility.on, false);
    EXPECT_THAT(machine.dialogs.shown.back().message, HasSubstr("could not be changed"));
}

TEST_F(AccessibilityQuestionTest, RemovedTheProgramSwitchesOffWhatItSwitchedOnWithoutAQuestion) {
    machine.dialogs.answers = {1};
    question.change();
    ASSERT_EQ(machine.accessibility.on, true);
    question.giveBack();
    EXPECT_EQ(machine.accessibility.on, false);
    EXPECT_EQ(remembered(), Answer::Off);
    EXPECT_THAT(machine.dialogs.shown, SizeIs(1));
}

TEST_F(AccessibilityQuestionTest, RemovedTheProgramLeavesWhatSomebodyElseSwitchedOn) {
    for (const std::optional<Answer> answer :
         {std::optional<Answer>(), {Answer::No}, {Answer::Off}}) {
        if (answer) accessibility_choice::remember(machine.files, "/home/me/.brask", *answer);
        machine.accessibility.on = true;
        question.giveBack();
        EXPECT_EQ(machine.accessibility.on, true);
    }
    EXPECT_EQ(machine.journal.count("accessibility "), 0U);
    EXPECT_THAT(machine.dialogs.shown, IsEmpty());
}

TEST_F(AccessibilityQuestionTest, RemovedTheProgramDoesNothingWhereItIsOffAlready) {
    accessibility_choice::remember(machine.files, "/home/me/.brask", Answer::On);
    machine.accessibility.on = false;
    question.giveBack();
    EXPECT_EQ(machine.journal.count("accessibility "), 0U);
    EXPECT_THAT(machine.dialogs.shown, IsEmpty());
}

TEST_F(AccessibilityQuestionTest, RemovedTheProgramSaysWhenItStaysOn) {
    for (const bool answers : {true, false}) {
        accessibility_choice::remember(machine.files, "/home/me/.brask", Answer::On);
        machine.accessibility.on = answers ? std::optional(true) : std::nullopt;
        machine.accessibility.isStuck = true;
        question.giveBack();
        EXPECT_THAT(machine.dialogs.shown.back().message, HasSubstr("stays switched on"));
        EXPECT_EQ(remembered(), Answer::On);
    }
    EXPECT_THAT(machine.dialogs.shown, SizeIs(2));
}

TEST(AccessibilityChoice, ReadsTheFirstAnswerAndNothingElse) {
    using accessibility_choice::answerIn;
    EXPECT_EQ(answerIn("# on\non\noff\n"), Answer::On);
    EXPECT_EQ(answerIn("  off \n"), Answer::Off);
    EXPECT_EQ(answerIn("no"), Answer::No);
    EXPECT_EQ(answerIn("# on\nmaybe\n"), std::nullopt);
    EXPECT_EQ(answerIn(""), std::nullopt);
}

} // namespace
} // namespace kelvane
