#include "app/verdict_notice.h"

#include "app/settings/settings_store.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kelvane {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::Pair;

Verdict graded(Band band) {
    Verdict verdict = Verdict::failure("");
    verdict.error.reset();
    verdict.band = band;
    return verdict;
}

TEST(NoticeNow, OnlyWhereItIsWantedAndNobodyLooksAndNotAtOnceAgain) {
    EXPECT_EQ(noticeNow(true, false, std::nullopt), NoticeNow::Show);
    EXPECT_EQ(noticeNow(false, false, std::nullopt), NoticeNow::Drop);
    EXPECT_EQ(noticeNow(true, true, std::nullopt), NoticeNow::Drop);
    EXPECT_EQ(noticeNow(true, false, kNoticePause - std::chrono::nanoseconds(1)), NoticeNow::Wait);
    EXPECT_EQ(noticeNow(true, false, kNoticePause), NoticeNow::Show);
    EXPECT_EQ(noticeNow(true, true, seconds(1)), NoticeNow::Drop) << "it is not news any more";
}

TEST(VerdictNotice, TellsBandScoreAndFlawsAndLeadsOn) {
    auto verdict = graded(Band::block);
    verdict.score = 0.62;
    verdict.flaws = {{"HIGH", "a", "b"}, {"LOW", "c", "d"}};
    verdict.runId = "r";
    const auto notice = verdictNotice(verdict, GradedWork{.app = "Fig\nma"});
    EXPECT_EQ(notice.title, "Fig ma: BLOCK");
    EXPECT_EQ(notice.body, "Trevix 62, 2 flaws");
    EXPECT_THAT(notice.actions, ElementsAre(Pair("default", "Show"), Pair("show", "Show"),
                                            Pair("report", "Open report")));
    verdict.flaws.pop_back();
    EXPECT_EQ(verdictNotice(verdict, std::nullopt).body, "Trevix 62, 1 flaw");
    verdict.score.reset();
    EXPECT_EQ(verdictNotice(verdict, std::nullopt).body, "1 flaw");
    verdict.flaws.clear();
    EXPECT_EQ(verdictNotice(verdict, std::nullopt).body, "");
    EXPECT_EQ(verdictNotice(verdict, std::nullopt).title, "BLOCK");
    EXPECT_EQ(verdictNotice(graded(Band::unknown), std::nullopt).title, "no verdict");
}

TEST(VerdictNotice, OfAFailureSaysWhyAndHasNoReport) {
    const auto notice = verdictNotice(Verdict::failure("No \u202Eanswer."), std::nullopt);
    EXPECT_EQ(notice.title, "not graded");
    EXPECT_EQ(notice.body.find("\u202E"), std::string::npos) << notice.body;
    EXPECT_THAT(notice.actions, ElementsAre(Pair("default", "Show"), Pair("show", "Show")));
}

TEST(TurnNotice, TellsOfTheProjectAndLeadsToTheReportOfThisService) {
    history::TurnVerdict turn{.at = 1,
                              .project = "sh\nop",
                              .band = Band::route_to_fix,
                              .score = 0.5,
                              .flaws = 3,
                              .runId = "r1",
                              .service = "http://a"};
    const auto notice = turnNotice(turn, "http://a");
    EXPECT_EQ(notice.notification.title, "Agent in sh op: ROUTE TO FIX");
    EXPECT_EQ(notice.notification.body, "Trevix 50, 3 flaws");
    EXPECT_EQ(notice.runId, "r1");
    EXPECT_THAT(
        notice.notification.actions,
        ElementsAre(Pair("default", "Show"), Pair("show", "Show"), Pair("report", "Open report")));
    EXPECT_EQ(turnNotice(turn, "http://b").runId, std::nullopt);
    EXPECT_THAT(turnNotice(turn, "http://b").notification.actions, testing::SizeIs(2));
    turn.project.clear();
    EXPECT_EQ(turnNotice(turn, "http://a").notification.title, "Agent: ROUTE TO FIX");
}

TEST(Badge, HasTheBandsColourUntilThePanelWasOpened) {
    EXPECT_EQ(badgeOf(std::nullopt, false), std::nullopt);
    EXPECT_EQ(badgeOf(Verdict::failure("x"), false), std::nullopt);
    EXPECT_EQ(badgeOf(graded(Band::unknown), false), std::nullopt);
    EXPECT_EQ(badgeOf(graded(Band::ship), false), Tint::green);
    EXPECT_EQ(badgeOf(graded(Band::route_to_fix), false), Tint::yellow);
    EXPECT_EQ(badgeOf(graded(Band::quarantine), false), Tint::orange);
    EXPECT_EQ(badgeOf(graded(Band::block), false), Tint::red);
    EXPECT_EQ(badgeOf(graded(Band::block), true), std::nullopt);
    EXPECT_EQ(badgeTip(graded(Band::block), false), "New verdict: BLOCK");
    EXPECT_EQ(badgeTip(graded(Band::block), true), "");
    EXPECT_EQ(badgeTip(std::nullopt, false), "");
}

class NotifierTest : public testing::Test {
protected:
    void tell(const std::string& title, bool panelIsShown = false) {
        notifier.tell({.title = title, .body = "", .actions = {}}, panelIsShown,
                      [this](const std::string& action) { chosen = action; });
    }
    auto said() { return fake.journal.entries(); }

    FakePlatform fake;
    SettingsStore store{fake.files, "/h"};
    Notifier notifier{
        {.notifications = fake.notifications, .settings = store, .clock = fake.clock}};
    std::string chosen;
};

TEST_F(NotifierTest, ShowsOneAndHandsOnWhatIsChosen) {
    tell("Seen", true);
    tell("One");
    EXPECT_THAT(said(), ElementsAre("notify One"));
    fake.notifications.choose("report");
    EXPECT_EQ(chosen, "report");
    EXPECT_THAT(said(), ElementsAre("notify One", "withdraw")) << "it has been dealt with";
}

TEST_F(NotifierTest, OfARowOnlyTheLastIsToldOnceThePauseIsOver) {
    tell("One");
    tell("Two");
    fake.clock.time += kNoticePause / 2;
    notifier.look(false);
    tell("Three");
    EXPECT_THAT(said(), ElementsAre("notify One"));
    fake.clock.time += kNoticePause / 2;
    notifier.look(false);
    notifier.look(false);
    EXPECT_THAT(said(), ElementsAre("notify One", "notify Three"));
}

TEST_F(NotifierTest, WhatWaitsIsDroppedWhenThePanelOpens) {
    tell("One");
    tell("Two");
    notifier.withdraw();
    fake.clock.time += kNoticePause;
    notifier.look(false);
    EXPECT_THAT(said(), ElementsAre("notify One", "withdraw"));
    tell("Three");
    tell("Four");
    notifier.look(true);
    fake.clock.time += kNoticePause;
    notifier.look(false);
    EXPECT_THAT(said(), ElementsAre("notify One", "withdraw", "notify Three"));
}

TEST_F(NotifierTest, WhoWantsNoneHasNone) {
    fake.files.files["/h/settings.json"] = R"({"notifications": false})";
    store.look();
    fake.journal.clear();
    tell("One");
    EXPECT_THAT(said(), testing::IsEmpty());
}

} // namespace
} // namespace kelvane
