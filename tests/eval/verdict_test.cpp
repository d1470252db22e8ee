#include "eval/verdict.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <functional>
#include <string>
#include <type_traits>
#include <unordered_set>

namespace kelvane {
namespace {

using EvalBridge::kLongestCoverageText;
using EvalBridge::kMostCoverageEntries;
using EvalBridge::parseFlaws;
using EvalBridge::verdictFrom;
using nlohmann::json;

struct BandCase {
    Band band;
    const char* raw;
    bool clears;
    int rank;
};

constexpr std::array kBandTable{
    BandCase{Band::ship, "ship", true, 3},
    BandCase{Band::route_to_fix, "route_to_fix", false, 2},
    BandCase{Band::quarantine, "quarantine", false, 1},
    BandCase{Band::block, "block", false, 0},
    BandCase{Band::unknown, "unknown", false, -1},
};

TEST(Band, HasTheTableOfRawValuesClearsAndRank) {
    for (const auto& c : kBandTable) {
        EXPECT_EQ(name(c.band), c.raw);
        EXPECT_EQ(bandNamed(c.raw), c.band);
        EXPECT_EQ(clears(c.band), c.clears) << c.raw;
        EXPECT_EQ(rank(c.band), c.rank) << c.raw;
    }
}

TEST(Band, IsDeclaredInTheOrderOfTheTable) {
    for (std::size_t i = 0; i < kBandTable.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(kBandTable[i].band), i);
    }
}

TEST(Band, RankOfUnknownIsMinusOne) {
    EXPECT_EQ(rank(Band::unknown), -1);
}

TEST(Band, ConstructionFromARawValueIsExactAndCaseSensitive) {
    for (const char* raw : {"", "Ship", "SHIP", " ship", "ship ", "route to fix", "route_to_fi",
                            "re_prompt", "blocked"}) {
        EXPECT_EQ(bandNamed(raw), std::nullopt) << raw;
    }
}

TEST(Band, ParseIgnoresCase) {
    for (const auto& [text, band] :
         std::vector<std::pair<const char*, Band>>{{"ship", Band::ship},
                                                   {"SHIP", Band::ship},
                                                   {"Route_To_Fix", Band::route_to_fix},
                                                   {"ROUTE_TO_FIX", Band::route_to_fix},
                                                   {"Quarantine", Band::quarantine},
                                                   {"bLOCK", Band::block},
                                                   {"Unknown", Band::unknown}}) {
        EXPECT_EQ(parseBand(text), band) << text;
    }
}

TEST(Band, ParseOfAnythingElseIsUnknown) {
    for (const char* text : {"", " ", "route to fix", "route-to-fix", "re_prompt", " ship",
                             "\xC5\x9Fhip", "\xFFship"}) {
        EXPECT_EQ(parseBand(text), Band::unknown) << text;
    }
}

TEST(Band, ParseOfAnAbsentTextIsUnknown) {
    EXPECT_EQ(parseBand(std::nullopt), Band::unknown);
}

TEST(Band, IsHashable) {
    const std::unordered_set<Band> set{Band::ship, Band::block, Band::ship};
    EXPECT_EQ(set.size(), 2U);
}

TEST(Flaw, EqualsExactlyAndCaseSensitively) {
    const Flaw flaw{"HIGH", "criterion", "detail"};
    EXPECT_EQ(flaw, (Flaw{"HIGH", "criterion", "detail"}));
    EXPECT_NE(flaw, (Flaw{"high", "criterion", "detail"}));
    EXPECT_NE(flaw, (Flaw{"HIGH", "Criterion", "detail"}));
    EXPECT_NE(flaw, (Flaw{"HIGH", "criterion", "detail "}));
}

TEST(Verdict, FailureHasTheMessageAndNothingElse) {
    EXPECT_EQ(Verdict::failure("why"),
              (Verdict{Band::unknown, std::nullopt, {}, std::nullopt, false, "why"}));
}

std::vector<Flaw> flawsIn(const char* text) {
    const json value = json::parse(text);
    return parseFlaws(&value);
}

TEST(ParseFlaws, OfAnAbsentValueIsEmpty) {
    EXPECT_TRUE(parseFlaws(nullptr).empty());
}

TEST(ParseFlaws, OfAnythingButAnArrayOfObjectsIsEmpty) {
    for (const char* text :
         {"\"text\"", "7", "1.5", "null", "true", "{}", "{\"severity\":\"high\"}", "[]",
          "[{\"severity\":\"high\"},7]", "[null,{\"severity\":\"high\"}]",
          "[{\"severity\":\"high\"},[]]", "[{\"severity\":\"high\"},\"x\"]"}) {
        EXPECT_TRUE(flawsIn(text).empty()) << text;
    }
}

TEST(ParseFlaws, ReadsNameAndEvidenceAndCapitalisesTheSeverity) {
    EXPECT_EQ(flawsIn(R"([{"severity":"critical","name":"n","evidence":"e"}])"),
              (std::vector<Flaw>{{"CRITICAL", "n", "e"}}));
}

TEST(ParseFlaws, CriterionWinsOverName) {
    EXPECT_EQ(flawsIn(R"([{"name":"n","criterion":"c"}])"), (std::vector<Flaw>{{"", "c", ""}}));
}

TEST(ParseFlaws, ACriterionOfTheWrongTypeGivesWayToName) {
    EXPECT_EQ(flawsIn(R"([{"name":"n","criterion":null}])"), (std::vector<Flaw>{{"", "n", ""}}));
}

TEST(ParseFlaws, AnEmptyCriterionIsStillACriterion) {
    EXPECT_EQ(flawsIn(R"([{"name":"n","criterion":""}])"), (std::vector<Flaw>{{"", "", ""}}));
}

TEST(ParseFlaws, DetailWinsOverEvidenceAndDescription) {
    EXPECT_EQ(flawsIn(R"([{"description":"x","evidence":"e","detail":"d"}])"),
              (std::vector<Flaw>{{"", "", "d"}}));
}

TEST(ParseFlaws, EvidenceWinsOverDescription) {
    EXPECT_EQ(flawsIn(R"([{"description":"x","evidence":"e","detail":7}])"),
              (std::vector<Flaw>{{"", "", "e"}}));
}

TEST(ParseFlaws, DescriptionIsTheLastResort) {
    EXPECT_EQ(flawsIn(R"([{"description":"x","evidence":[]}])"),
              (std::vector<Flaw>{{"", "", "x"}}));
}

TEST(ParseFlaws, ASeverityThatIsANumberIsEmpty) {
    EXPECT_EQ(flawsIn(R"([{"severity":3,"criterion":"c","detail":"d"}])"),
              (std::vector<Flaw>{{"", "c", "d"}}));
}

TEST(ParseFlaws, CapitalisesBeyondAscii) {
    EXPECT_EQ(flawsIn(R"([{"severity":"groß é"}])"),
              (std::vector<Flaw>{{"GROSS \xC3\x89", "", ""}}));
}

TEST(ParseFlaws, KeepsOrderDoublesAndEmptyOnes) {
    EXPECT_EQ(flawsIn(R"([{"criterion":"b"},{},{"criterion":"a"},{"criterion":"b"}])"),
              (std::vector<Flaw>{{"", "b", ""}, {"", "", ""}, {"", "a", ""}, {"", "b", ""}}));
}

TEST(ParseFlaws, ReadsWhatTellsAFlawFromOthersWhichDoesNotCountForBeingEqual) {
    const json value = json::parse(
        R"([{"severity":"low","criterion":"c","detail":"d","rule":"r","place":"line 3","evidence":"e"},
            {"severity":"low","criterion":"c","detail":"d","rule":7,"place":null}])");
    const auto flaws = EvalBridge::parseFlaws(&value);
    ASSERT_EQ(flaws.size(), 2U);
    EXPECT_EQ(flaws[0].rule, "r");
    EXPECT_EQ(flaws[0].place, "line 3");
    EXPECT_EQ(flaws[0].evidence, "e");
    EXPECT_EQ(flaws[1].rule + flaws[1].place + flaws[1].evidence, "");
    EXPECT_EQ(flaws[0], flaws[1]);
}

TEST(ParseFlaws, CutsWhatTellsAFlawFromOthers) {
    const json value = json::array({{{"evidence", std::string(3'000'000, 'x')}}});
    EXPECT_EQ(EvalBridge::parseFlaws(&value)[0].evidence.size(), EvalBridge::kLongestFlawOrigin);
}

TEST(ParseFlaws, KeepsControlCharacters) {
    EXPECT_EQ(flawsIn(R"([{"severity":"h\u0000","criterion":"a\u001b[31m","detail":"x\r\ny"}])"),
              (std::vector<Flaw>{{std::string("H\0", 2), "a\x1b[31m", "x\r\ny"}}));
}

TEST(ParseFlaws, TakesTenThousand) {
    json array = json::array();
    for (int i = 0; i < 10'000; ++i) array.push_back({{"criterion", std::to_string(i)}});
    const auto flaws = parseFlaws(&array);
    ASSERT_EQ(flaws.size(), 10'000U);
    EXPECT_EQ(flaws.back().criterion, "9999");
}

Verdict verdictIn(const char* text) {
    return verdictFrom(json::parse(text), std::nullopt);
}

TEST(VerdictFrom, ReadsBandScoreAndFlawsAndTakesTheRunId) {
    const json summary = json::parse(
        R"({"band":"quarantine","score":0.25,"flaws":[{"severity":"low","criterion":"c"}]})");
    EXPECT_EQ(verdictFrom(summary, "run-1"),
              (Verdict{Band::quarantine, 0.25, {{"LOW", "c", ""}}, "run-1", false, std::nullopt}));
}

TEST(VerdictFrom, BandWinsOverDecision) {
    EXPECT_EQ(verdictIn(R"({"band":"block","decision":"ship"})").band, Band::block);
}

TEST(VerdictFrom, ABandThatIsANumberGivesWayToDecision) {
    EXPECT_EQ(verdictIn(R"({"band":3,"decision":"ship"})").band, Band::ship);
}

TEST(VerdictFrom, AnUnrecognisedBandDoesNotGiveWayToDecision) {
    EXPECT_EQ(verdictIn(R"({"band":"fine","decision":"ship"})").band, Band::unknown);
}

TEST(VerdictFrom, ADecisionInCapitalsCounts) {
    EXPECT_EQ(verdictIn(R"({"decision":"ROUTE_TO_FIX"})").band, Band::route_to_fix);
}

TEST(VerdictFrom, AnUnrecognisedDecisionIsUnknown) {
    EXPECT_EQ(verdictIn(R"({"decision":"re_prompt"})"), Verdict{});
}

TEST(VerdictFrom, NeitherBandNorDecisionIsUnknownWithoutError) {
    EXPECT_EQ(verdictIn("{}"), Verdict{});
}

TEST(VerdictFrom, AnIntegerScoreIsConverted) {
    EXPECT_EQ(verdictIn(R"({"score":1})").score, 1.0);
    EXPECT_EQ(verdictIn(R"({"score":-3})").score, -3.0);
    EXPECT_EQ(verdictIn(R"({"score":18446744073709551616})").score, 18446744073709551616.0);
}

TEST(VerdictFrom, AScoreOfAnotherTypeIsAbsent) {
    for (const char* text :
         {R"({"score":"1"})", R"({"score":true})", R"({"score":null})", R"({"score":[1]})", "{}"}) {
        EXPECT_EQ(verdictIn(text).score, std::nullopt) << text;
    }
}

TEST(VerdictFrom, TheBandIsNeverDerivedFromTheScore) {
    EXPECT_EQ(verdictIn(R"({"score":1.0})").band, Band::unknown);
    EXPECT_EQ(verdictIn(R"({"score":0.0,"band":"ship"})").band, Band::ship);
}

TEST(VerdictFrom, ReadsWhoJudgedAndWhatNobodyDid) {
    const Verdict verdict = verdictIn(
        R"({"checked_by":[{"engine":"e","version":"1","knows":"k"},{"engine":"f","version":5}],
            "not_checked":[{"what":"w","why":"y","remedy":"r"},{"what":"x","why":null}]})");
    EXPECT_EQ(verdict.checkedBy, (std::vector<CheckedBy>{{"e", "1", "k"}, {"f", "", ""}}));
    EXPECT_EQ(verdict.notChecked, (std::vector<NotChecked>{{"w", "y", "r"}, {"x", "", ""}}));
}

TEST(VerdictFrom, AServiceThatTellsNeitherLeavesBothEmpty) {
    EXPECT_EQ(verdictIn(R"({"band":"ship"})"), (Verdict{.band = Band::ship,
                                                        .score = std::nullopt,
                                                        .flaws = {},
                                                        .runId = std::nullopt,
                                                        .warming = false,
                                                        .error = std::nullopt}));
}

TEST(VerdictFrom, CoverageOfAnotherTypeOrWithoutANameCountsAsMissing) {
    for (const char* value :
         {"null", "5", R"("e")", "{}", "[5]", R"([{"engine":"e","what":"w"},5])", "[[]]", "[{}]",
          R"([{"engine":"","what":""}])", R"([{"engine":7,"what":{}}])"}) {
        const json summary = {{"checked_by", json::parse(value)},
                              {"not_checked", json::parse(value)}};
        EXPECT_EQ(verdictFrom(summary, std::nullopt), Verdict{}) << value;
    }
}

TEST(VerdictFrom, CoverageWithoutANameIsPassedOver) {
    const json summary = json::parse(R"({"checked_by":[{"engine":""},{"engine":"e"}]})");
    const Verdict verdict = verdictFrom(summary, std::nullopt);
    ASSERT_EQ(verdict.checkedBy.size(), 1U);
    EXPECT_EQ(verdict.checkedBy[0].engine, "e");
}

TEST(VerdictFrom, CoverageOfAnyLengthIsBounded) {
    const std::string marks = [] {
        std::string text = "a";
        for (int i = 0; i < 10'000; ++i) text += "\xCC\x81";
        return text;
    }();
    json many = json::array();
    for (std::size_t i = 0; i < kMostCoverageEntries + 50; ++i) {
        many.push_back({{"engine", std::string(10'000, 'e')}, {"what", marks}});
    }
    const Verdict verdict =
        verdictFrom({{"checked_by", many}, {"not_checked", many}}, std::nullopt);
    ASSERT_EQ(verdict.checkedBy.size(), kMostCoverageEntries);
    ASSERT_EQ(verdict.notChecked.size(), kMostCoverageEntries);
    EXPECT_EQ(verdict.checkedBy[0].engine, std::string(kLongestCoverageText, 'e'));
    // A letter and as many marks of two bytes as have room.
    EXPECT_EQ(verdict.notChecked[0].what.size(), 8 * kLongestCoverageText - 1);
    EXPECT_TRUE(verdict.notChecked[0].what.ends_with("\xCC\x81"));
}

TEST(VerdictFrom, IgnoresAnErrorAndAWarmingInTheSummary) {
    const Verdict verdict = verdictIn(R"({"band":"ship","error":"x","warming":true})");
    EXPECT_EQ(verdict.error, std::nullopt);
    EXPECT_FALSE(verdict.warming);
}

} // namespace
} // namespace kelvane
