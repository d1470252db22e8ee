#include "app/history/turn_verdict.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::history {
namespace {

// As the hook writes it.
const std::string kTurn =
    R"({"project": "sh[op", "band": "block", "score": 0.5, "flaws": 3, "run_id": "r1", )"
    R"("service": "http://127.0.0.1:7070", "at": 1700000000123})";

TEST(TurnVerdict, IsReadAsTheHookWritesIt) {
    const auto turn = turnVerdictOf(kTurn);
    ASSERT_TRUE(turn);
    EXPECT_EQ(turn->at, 1'700'000'000'123);
    EXPECT_EQ(turn->project, "sh[op");
    EXPECT_EQ(turn->band, Band::block);
    EXPECT_EQ(turn->score, 0.5);
    EXPECT_EQ(turn->flaws, 3);
    EXPECT_EQ(turn->runId, "r1");
    EXPECT_EQ(turn->service, "http://127.0.0.1:7070");
}

TEST(TurnVerdict, WhatIsMissingOrOfAnotherKindIsAbsent) {
    const auto turn = turnVerdictOf(
        R"({"band": "ship", "score": null, "flaws": "many", "run_id": null, "project": {"a": 1}})");
    ASSERT_TRUE(turn);
    EXPECT_EQ(*turn, (TurnVerdict{.at = 0,
                                  .project = "",
                                  .band = Band::ship,
                                  .score = std::nullopt,
                                  .flaws = 0,
                                  .runId = std::nullopt,
                                  .service = ""}));
}

TEST(TurnVerdict, WithoutABandItIsNone) {
    for (const std::string text :
         {"", "{}", "[]", "null", R"({"band": "unknown"})", R"({"band": "fine"})", R"({"band": 1})",
          R"({"band": "block")"}) {
        EXPECT_EQ(turnVerdictOf(text), std::nullopt) << text;
    }
    EXPECT_EQ(turnVerdictOf(kTurn + std::string(kLongestTurn, ' ')), std::nullopt);
    EXPECT_EQ(turnVerdictOf(R"({"band": )" + std::string(8'000, '[')), std::nullopt);
}

TEST(TurnWatch, TellsOfEachOnceAndNotOfWhatWasThere) {
    FakePlatform fake;
    auto& file = fake.files.files["/h/state/turn.json"];
    file = kTurn;
    TurnWatch watch(fake.files, "/h");
    EXPECT_EQ(watch.look(), std::nullopt) << "from before the start";
    file = R"({"band": "ship", "at": 2})";
    const auto turn = watch.look();
    ASSERT_TRUE(turn);
    EXPECT_EQ(turn->band, Band::ship);
    EXPECT_EQ(watch.look(), std::nullopt);
    file = R"({"band": "ship", "at": 3})";
    EXPECT_TRUE(watch.look()) << "the same verdict on a later turn";
    file = "no verdict";
    EXPECT_EQ(watch.look(), std::nullopt);
}

TEST(TurnWatch, BelievesNoFileThatOthersCanWrite) {
    FakePlatform fake;
    TurnWatch watch(fake.files, "/h");
    EXPECT_EQ(watch.look(), std::nullopt) << "there is none";
    fake.files.files["/h/state/turn.json"] = kTurn;
    fake.files.guards["/h/state/turn.json"] = {.othersWrite = true};
    EXPECT_EQ(watch.look(), std::nullopt);
    fake.files.guards["/h/state/turn.json"] = {.isOurs = false};
    EXPECT_EQ(watch.look(), std::nullopt);
    fake.files.guards.clear();
    EXPECT_TRUE(watch.look());
}

} // namespace
} // namespace kelvane::history
