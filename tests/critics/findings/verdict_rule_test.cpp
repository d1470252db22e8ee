#include "critics/findings/verdict_rule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace trevix {
namespace {

Finding finding(Severity severity, std::string rule) {
    Finding one;
    one.severity = severity;
    one.rule = std::move(rule);
    return one;
}

std::vector<Finding> distinct(Severity severity, std::size_t count) {
    std::vector<Finding> findings;
    for (std::size_t i = 0; i < count; ++i) {
        findings.push_back(finding(severity, std::string(name(severity)) + std::to_string(i)));
    }
    return findings;
}

std::vector<Finding> repeated(Severity severity, std::size_t count) {
    return std::vector<Finding>(count, finding(severity, "one.rule"));
}

/// Work of this size, by somebody who knows it, with these findings.
Critique found(std::vector<Finding> findings, Extent extent = {}, bool known = true) {
    Critique critique;
    critique.findings = std::move(findings);
    critique.extent = extent;
    critique.coverage.known = known;
    return critique;
}

/// One rule broken in so many different ways.
std::vector<Finding> different(Severity severity, std::size_t count) {
    std::vector<Finding> findings = repeated(severity, count);
    for (std::size_t i = 0; i < count; ++i) findings[i].evidence = "word " + std::to_string(i);
    return findings;
}

std::vector<Finding> operator+(std::vector<Finding> a, const std::vector<Finding>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(VerdictRule, NoFindingShipsAtOne) {
    EXPECT_EQ(judge(found({})), (Judgement{1.0, Band::ship}));
}

TEST(VerdictRule, EachSeverityCostsItsPoints) {
    struct Case {
        Severity severity;
        Judgement expected;
    };
    const std::vector<Case> cases = {
        {Severity::low, {0.98, Band::ship}},
        {Severity::medium, {0.92, Band::ship}},
        {Severity::high, {0.80, Band::route_to_fix}},
        {Severity::critical, {0.50, Band::block}},
    };
    for (const Case& entry : cases) {
        EXPECT_EQ(judge(found({finding(entry.severity, "r")})), entry.expected)
            << name(entry.severity);
    }
}

TEST(VerdictRule, FurtherFindingsOfARuleCostHalfOfTheOneBefore) {
    struct Case {
        Severity severity;
        std::size_t count;
        double score;
    };
    const std::vector<Case> cases = {
        {Severity::medium, 2, 0.88},   // 8 + 4
        {Severity::medium, 3, 0.86},   // 8 + 4 + 2
        {Severity::medium, 4, 0.85},   // 15
        {Severity::medium, 5, 0.85},   // 15.5: half a hundredth goes up
        {Severity::medium, 6, 0.84},   // 15.75
        {Severity::low, 2, 0.97},      // 3
        {Severity::low, 3, 0.97},      // 3.5
        {Severity::low, 4, 0.96},      // 3.75
        {Severity::high, 2, 0.70},     // 30
        {Severity::high, 3, 0.65},     // 35
        {Severity::critical, 2, 0.25}, // 75
        {Severity::critical, 3, 0.13}, // 87.5, and 12.5 goes up
    };
    for (const Case& entry : cases) {
        EXPECT_EQ(judge(found(repeated(entry.severity, entry.count))).score, entry.score)
            << name(entry.severity) << " x " << entry.count;
    }
}

TEST(VerdictRule, AHundredFindingsOfOneRuleNeverCostMoreThanTwice) {
    EXPECT_EQ(judge(found(repeated(Severity::low, 100))), (Judgement{0.96, Band::ship}));
    EXPECT_EQ(judge(found(repeated(Severity::medium, 100))), (Judgement{0.84, Band::route_to_fix}));
    EXPECT_EQ(judge(found(repeated(Severity::high, 100))), (Judgement{0.60, Band::route_to_fix}));
    EXPECT_EQ(judge(found(repeated(Severity::critical, 100))), (Judgement{0.0, Band::block}));
    EXPECT_EQ(judge(found(repeated(Severity::low, 100'000))), (Judgement{0.96, Band::ship}));
}

TEST(VerdictRule, BandsChangeExactlyAtTheirBoundaries) {
    struct Case {
        const char* name;
        std::vector<Finding> findings;
        Judgement expected;
    };
    const std::vector<Case> cases = {
        {"0.86 ships", distinct(Severity::low, 7), {0.86, Band::ship}},
        {"0.85 ships", repeated(Severity::medium, 4), {0.85, Band::ship}},
        {"0.845 rounds up and ships", repeated(Severity::medium, 5), {0.85, Band::ship}},
        {"0.84 goes back", distinct(Severity::medium, 2), {0.84, Band::route_to_fix}},
        {"one high finding goes back at any score",
         distinct(Severity::high, 1),
         {0.80, Band::route_to_fix}},
        {"0.50 goes back", distinct(Severity::low, 25), {0.50, Band::route_to_fix}},
        {"0.50 of mediums and lows",
         distinct(Severity::medium, 6) + distinct(Severity::low, 1),
         {0.50, Band::route_to_fix}},
        {"0.48 is quarantined", distinct(Severity::low, 26), {0.48, Band::quarantine}},
        {"0.495 rounds up and goes back",
         distinct(Severity::low, 23) + repeated(Severity::low, 5),
         {0.50, Band::route_to_fix}},
        {"0.40 with highs is quarantined", distinct(Severity::high, 3), {0.40, Band::quarantine}},
        {"a critical finding blocks at any score",
         distinct(Severity::critical, 1),
         {0.50, Band::block}},
        {"nothing falls below 0", distinct(Severity::high, 6), {0.0, Band::quarantine}},
        {"far below 0", distinct(Severity::critical, 200), {0.0, Band::block}},
    };
    for (const Case& entry : cases) {
        EXPECT_EQ(judge(found(entry.findings)), entry.expected) << entry.name;
    }
}

TEST(VerdictRule, OneRuleWithSeveralSeveritiesCountsTheHeaviestFirst) {
    // 20 + 8/2 + 2/4 = 24.5
    const std::vector<Finding> mixed = {finding(Severity::low, "r"), finding(Severity::high, "r"),
                                        finding(Severity::medium, "r")};
    EXPECT_EQ(judge(found(mixed)), (Judgement{0.76, Band::route_to_fix}));
}

TEST(VerdictRule, TheOrderOfFindingsDoesNotMatter) {
    std::vector<Finding> findings = repeated(Severity::medium, 3) + distinct(Severity::low, 5) +
                                    repeated(Severity::high, 1) + distinct(Severity::medium, 2);
    const auto less = [](const Finding& a, const Finding& b) {
        return a.rule != b.rule ? a.rule < b.rule : a.severity < b.severity;
    };
    std::sort(findings.begin(), findings.end(), less);
    const Judgement expected = judge(found(findings));
    int orders = 0;
    do {
        EXPECT_EQ(judge(found(findings)), expected);
    } while (std::next_permutation(findings.begin(), findings.end(), less) && ++orders < 500);
}

TEST(VerdictRule, FixingAFindingNeverLowersTheScore) {
    std::vector<Finding> findings = repeated(Severity::medium, 6) + distinct(Severity::low, 9) +
                                    repeated(Severity::low, 4) + distinct(Severity::high, 1);
    double score = judge(found(findings)).score;
    while (!findings.empty()) {
        findings.pop_back();
        const double better = judge(found(findings)).score;
        EXPECT_GE(better, score) << findings.size();
        score = better;
    }
    EXPECT_EQ(score, 1.0);
}

TEST(VerdictRule, DifferentEvidenceCountsByThePage) {
    struct Case {
        const char* name;
        std::vector<Finding> findings;
        Extent extent;
        double score;
    };
    const std::vector<Case> cases = {
        {"on half a page", different(Severity::medium, 4), {50, 0, 0}, 0.68},
        {"on one page", different(Severity::medium, 4), {100, 0, 0}, 0.68},
        {"on a page and 43 words", different(Severity::medium, 4), {143, 0, 0}, 0.78}, // 22.38
        {"half of a hundredth", different(Severity::medium, 9), {192, 0, 0}, 0.63},    // 37.5
        {"on two pages", different(Severity::medium, 4), {200, 0, 0}, 0.84},           // 16 > 15
        {"on four pages", different(Severity::medium, 4), {400, 0, 0}, 0.85}, // the habit: 15
        {"on a hundred", different(Severity::medium, 4), {10'000, 0, 0}, 0.85},
        {"a page of lines", different(Severity::high, 3), {0, 100, 0}, 0.40},
        {"three pages of cells", different(Severity::medium, 9), {0, 0, 3000}, 0.76},
        {"cells and words add up", different(Severity::medium, 9), {150, 50, 1000}, 0.76},
        {"the same evidence is one habit", repeated(Severity::medium, 9), {100, 0, 0}, 0.84},
        {"low ones stay a habit", different(Severity::low, 50), {100, 0, 0}, 0.96},
        {"a page full", different(Severity::medium, 50), {100, 0, 0}, 0.0},
    };
    for (const Case& entry : cases) {
        EXPECT_EQ(judge(found(entry.findings, entry.extent)).score, entry.score) << entry.name;
    }
}

TEST(VerdictRule, OfOneEvidenceTheWorstCounts) {
    std::vector<Finding> findings = different(Severity::low, 3) + different(Severity::medium, 3);
    EXPECT_EQ(judge(found(findings, {100, 0, 0})).score, 0.76);
}

TEST(VerdictRule, MoreWorkNeverMakesTheSameFindingsWorse) {
    const std::vector<Finding> findings =
        different(Severity::medium, 20) + different(Severity::high, 2);
    double score = 0;
    for (std::uint64_t words = 0; words < 5000; words += 37) {
        const double now = judge(found(findings, {words, 0, 0})).score;
        EXPECT_GE(now, score) << words;
        score = now;
    }
}

TEST(VerdictRule, TakingAnyFindingAwayNeverLowersTheScore) {
    // Every subset that lacks one, of mixtures of rules, evidence, severities and sizes.
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::vector<Finding> findings;
        unsigned state = seed * 2654435761U + 1;
        const auto next = [&state](unsigned below) {
            state = state * 1664525U + 1013904223U;
            return (state >> 16U) % below;
        };
        for (unsigned i = 0; i < 12; ++i) {
            Finding one = finding(static_cast<Severity>(next(3)), "rule" + std::to_string(next(3)));
            one.evidence = std::to_string(next(5));
            findings.push_back(one);
        }
        const Extent extent{next(600), 0, 0};
        const double whole = judge(found(findings, extent)).score;
        for (std::size_t i = 0; i < findings.size(); ++i) {
            std::vector<Finding> fewer = findings;
            fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
            EXPECT_GE(judge(found(fewer, extent)).score, whole) << seed << " without " << i;
        }
    }
}

TEST(VerdictRule, LargeFiguresDoNotOverflow) {
    constexpr std::uint64_t kHuge = std::uint64_t{1} << 40U;
    EXPECT_EQ(judge(found(different(Severity::high, 1000), {kHuge, kHuge, kHuge})).score, 0.60);
    EXPECT_EQ(judge(found(different(Severity::critical, 10'000), {1, 0, 0})).score, 0.0);
}

TEST(VerdictRule, WhatNobodyKnowsIsNotShipped) {
    EXPECT_EQ(judge(found({}, {}, false)), (Judgement{1.0, Band::unknown}));
    EXPECT_EQ(judge(found(distinct(Severity::low, 2), {}, false)).band, Band::unknown);
    EXPECT_EQ(judge(found(distinct(Severity::high, 1), {}, false)).band, Band::route_to_fix);
    EXPECT_EQ(judge(found(distinct(Severity::high, 3), {}, false)).band, Band::quarantine);
    EXPECT_EQ(judge(found(distinct(Severity::critical, 1), {}, false)).band, Band::block);
}

TEST(VerdictRule, BandsHaveTheNamesOfTheWireAndNoOthers) {
    const struct {
        Band band;
        const char* name;
    } names[] = {{Band::ship, "ship"},
                 {Band::route_to_fix, "route_to_fix"},
                 {Band::quarantine, "quarantine"},
                 {Band::block, "block"},
                 {Band::unknown, "unknown"}};
    for (const auto& [band, text] : names) {
        EXPECT_EQ(name(band), text);
        EXPECT_EQ(bandNamed(text), band);
    }
    for (const char* text : {"", "Ship", "Unknown", "ship "}) {
        EXPECT_EQ(bandNamed(text), std::nullopt) << text;
    }
}

/// What a model said: so many different remarks of every sort.
std::vector<Finding> advice(std::size_t count) {
    std::vector<Finding> findings;
    for (std::size_t i = 0; i < count; ++i) {
        findings.push_back(finding(Severity::medium, "model.sort" + std::to_string(i % 7)));
        findings.back().evidence = "remark " + std::to_string(i);
    }
    return findings;
}

TEST(VerdictRule, AdviceAloneMakesNoBandWorse) {
    for (std::size_t count = 0; count <= 60; ++count) {
        EXPECT_EQ(judge(found(advice(count))).band, Band::ship) << count;
        EXPECT_EQ(judge(found(advice(count), {}, false)).band, Band::unknown) << count;
        EXPECT_EQ(judge(found(distinct(Severity::high, 1) + advice(count))).band,
                  Band::route_to_fix)
            << count;
        EXPECT_EQ(judge(found(distinct(Severity::medium, 3) + advice(count))).band,
                  Band::route_to_fix)
            << count;
    }
    EXPECT_EQ(judge(found(advice(1))).score, 0.92) << "it costs all the same";
    EXPECT_EQ(judge(found(advice(60))).score, 0.85) << "as little as its band can have";
    EXPECT_EQ(judge(found(distinct(Severity::high, 1) + advice(60))).score, 0.50);
    EXPECT_EQ(judge(found(distinct(Severity::high, 4) + advice(60))).score, 0.0);
    EXPECT_EQ(judge(found(distinct(Severity::critical, 1) + advice(60))).band, Band::block);
}

TEST(VerdictRule, TakingAFindingAwayBesideAdviceNeverLowersTheScore) {
    for (std::size_t others = 1; others <= 12; ++others) {
        for (const Severity severity : {Severity::low, Severity::medium, Severity::high}) {
            for (const std::size_t remarks : {0U, 1U, 3U, 40U}) {
                const auto all = distinct(severity, others) + advice(remarks);
                const double before = judge(found(all)).score;
                for (std::size_t gone = 0; gone < all.size(); ++gone) {
                    auto rest = all;
                    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(gone));
                    EXPECT_GE(judge(found(rest)).score, before) << others << " " << remarks;
                }
            }
        }
    }
}

} // namespace
} // namespace trevix
