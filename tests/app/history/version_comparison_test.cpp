#include "app/history/version_comparison.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::history {
namespace {

Flaw flaw(const std::string& rule, const std::string& evidence, const std::string& place = "") {
    return {"HIGH", "criterion", rule + " " + evidence, rule, place, evidence};
}

std::string shown(const std::vector<DiffLine>& lines) {
    std::string text;
    for (const auto& line : lines) text += " -+~"[static_cast<int>(line.kind)] + line.text + "\n";
    return text;
}

std::string numbered(int from, int to) {
    std::string text;
    for (int i = from; i <= to; ++i) text += std::to_string(i) + "\n";
    return text;
}

TEST(CompareFlaws, FixedRemainingAndNewAreToldByRuleAndEvidence) {
    const auto changes =
        compareFlaws({flaw("spelling", "teh", "line 3"), flaw("spelling", "adn", "line 4")},
                     {flaw("spelling", "adn", "line 9"), flaw("grammar", "is are", "line 1")});
    EXPECT_EQ(changes.fixed, std::vector{flaw("spelling", "teh")});
    EXPECT_EQ(changes.remaining, std::vector{flaw("spelling", "adn")});
    EXPECT_EQ(changes.remaining.front().place, "line 9");
    EXPECT_EQ(changes.fresh, std::vector{flaw("grammar", "is are")});
}

TEST(CompareFlaws, EachFlawIsPairedOnceAndAtItsOwnPlaceFirst) {
    const auto changes = compareFlaws({flaw("s", "teh", "line 1"), flaw("s", "teh", "line 5")},
                                      {flaw("s", "teh", "line 5")});
    ASSERT_EQ(changes.fixed.size(), 1U);
    EXPECT_EQ(changes.fixed.front().place, "line 1");
    EXPECT_EQ(changes.remaining.size(), 1U);
}

TEST(CompareFlaws, AServiceThatTellsNeitherRuleNorEvidenceIsGoneByItsWords) {
    const Flaw one{"HIGH", "contrast", "too pale"};
    const Flaw other{"HIGH", "contrast", "too small"};
    EXPECT_EQ(compareFlaws({one}, {other}), (FlawChanges{{one}, {}, {other}}));
    EXPECT_EQ(compareFlaws({one}, {one}), (FlawChanges{{}, {one}, {}}));
}

TEST(CompareTexts, TheSameTextHasNoDifference) {
    EXPECT_TRUE(compareTexts("a\nb\n", "a\nb\n").empty());
    EXPECT_TRUE(compareTexts("", "").empty());
    EXPECT_TRUE(compareTexts("a\r\nb\n", "a\nb\n").empty());
}

TEST(CompareTexts, LinesThatCameAndWentStandWhereTheyDid) {
    EXPECT_EQ(shown(compareTexts("a\nb\nc\n", "a\nx\nc\n")), " a\n-b\n+x\n c\n");
    EXPECT_EQ(shown(compareTexts("", "new\n")), "+new\n");
    EXPECT_EQ(shown(compareTexts("old", "")), "-old\n");
    EXPECT_EQ(shown(compareTexts("a\nb\nc\nd\n", "b\nc\ne\nd\n")), "-a\n b\n c\n+e\n d\n");
}

TEST(CompareTexts, UnchangedStretchesAreSkipped) {
    const std::string head = numbered(1, 20);
    const std::string tail = numbered(21, 40);
    EXPECT_EQ(shown(compareTexts(head + "old\n" + tail, head + "new\n" + tail)),
              "~17\n 18\n 19\n 20\n-old\n+new\n 21\n 22\n 23\n~17\n");
}

TEST(CompareTexts, EveryDifferenceGivesTheLaterTextBack) {
    // All texts of up to five lines out of three, against one another.
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; i < texts.size() && texts.size() < 360; ++i) {
        if (texts[i].size() >= 10) continue;
        for (const char* line : {"a\n", "b\n", "c\n"}) texts.push_back(texts[i] + line);
    }
    for (std::size_t i = 0; i < texts.size(); i += 3) {
        for (std::size_t k = 0; k < texts.size(); k += 5) {
            if (texts[i] == texts[k]) continue;
            std::string before;
            std::string after;
            for (const auto& line : compareTexts(texts[i], texts[k])) {
                if (line.kind == DiffLine::Kind::Skipped) continue;
                if (line.kind != DiffLine::Kind::Added) before += line.text + "\n";
                if (line.kind != DiffLine::Kind::Removed) after += line.text + "\n";
            }
            // Both are shorter than what is skipped.
            if (texts[i].size() > 8 || texts[k].size() > 8) continue;
            ASSERT_EQ(before, texts[i]);
            ASSERT_EQ(after, texts[k]);
        }
    }
}

TEST(CompareTexts, TextsWithNothingInCommonAreOneChangeOfBoundedSize) {
    std::string one;
    std::string other;
    for (int i = 0; i < 20'000; ++i) {
        one += "a" + std::to_string(i) + "\n";
        other += "b" + std::to_string(i) + "\n";
    }
    const auto lines = compareTexts(one, other);
    EXPECT_EQ(lines.size(), kMostDiffLines + 1);
    EXPECT_EQ(lines.back().kind, DiffLine::Kind::Skipped);
}

VerdictEntry entry(const std::string& id, const std::string& app, const std::string& run) {
    VerdictEntry entry;
    entry.id = id;
    entry.timeMs = std::stoll(id);
    entry.app = app;
    entry.kind = "text";
    entry.runId = run;
    return entry;
}

TEST(Compare, TheEarlierVersionComesFirst) {
    auto one = entry("1", "gedit", "r");
    auto two = entry("2", "gedit", "r");
    one.text = "a\n";
    two.text = "b\n";
    one.flaws = {flaw("s", "teh")};
    for (const auto& result : {compare(one, two), compare(two, one)}) {
        EXPECT_EQ(result.before.id, "1");
        EXPECT_EQ(result.flaws.fixed.size(), 1U);
        EXPECT_TRUE(result.hasTexts);
        EXPECT_EQ(shown(result.text), "-a\n+b\n");
    }
    two.text.reset();
    EXPECT_FALSE(compare(one, two).hasTexts);
    EXPECT_TRUE(compare(one, two).text.empty());
}

TEST(VersionBefore, IsOfTheSameRunElseOfTheSameApplicationAndKind) {
    const std::vector entries{entry("5", "gedit", "r1"), entry("4", "gedit", "r2"),
                              entry("3", "kate", "r3"), entry("2", "gedit", "r1")};
    EXPECT_EQ(versionBefore(entries, entries[0])->id, "2");
    EXPECT_EQ(versionBefore(entries, entries[1])->id, "2");
    EXPECT_EQ(versionBefore(entries, entries[2]), nullptr);
    EXPECT_EQ(versionBefore(entries, entries[3]), nullptr);
    EXPECT_EQ(versionBefore(entries, entry("9", "gedit", "r1")), nullptr);
}

TEST(Search, EveryWordStandsSomewhereWhateverItsCase) {
    auto one = entry("1", "gedit", "");
    one.flaws = {flaw("text.spelling", "Straße")};
    auto two = entry("2", "Kate", "");
    two.text = "The quick fox\n";
    const std::vector entries{two, one};
    EXPECT_EQ(search(entries, "").size(), 2U);
    EXPECT_EQ(search(entries, " \t ").size(), 2U);
    EXPECT_EQ(search(entries, "GEDIT spelling").size(), 1U);
    EXPECT_EQ(search(entries, "STRASSE").size(), 0U); // by letters, not by their sound
    EXPECT_EQ(search(entries, "straße").size(), 1U);
    EXPECT_EQ(search(entries, "quick FOX").front().app, "Kate");
    EXPECT_TRUE(search(entries, "gedit fox").empty());
}

TEST(Search, AnEntryIsFoundByTheNamesUnderWhichItIsShownToo) {
    auto one = entry("1", "gedit", "");
    one.band = Band::block;
    auto two = entry("2", "Kate", "");
    two.band = Band::ship;
    const std::vector entries{two, one};
    const auto shown = [](const VerdictEntry& each) {
        return std::string(each.band == Band::block ? "GRÜNDLICH ABGELEHNT" : "FREI");
    };
    EXPECT_TRUE(search(entries, "gründlich").empty());
    ASSERT_EQ(search(entries, "gründlich abgelehnt", shown).size(), 1U);
    EXPECT_EQ(search(entries, "gründlich abgelehnt", shown).front().app, "gedit");
    EXPECT_EQ(search(entries, "block", shown).front().app, "gedit") << "its own name serves, too";
    EXPECT_EQ(search(entries, "frei", shown).front().app, "Kate");
}

} // namespace
} // namespace kelvane::history
