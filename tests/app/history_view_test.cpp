#include "app/cli/history_report.h"
#include "app/history_view.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace kelvane {
namespace {

using history::VerdictEntry;

constexpr std::int64_t kHour = 3'600'000;
constexpr std::int64_t kNoon = 1'772'539'200'000; // 2026-03-03T12:00:00Z

std::int64_t utc(std::int64_t ms) {
    return ms;
}

VerdictEntry entry(const std::string& app, std::int64_t ms, Band band = Band::ship) {
    VerdictEntry entry;
    entry.id = std::to_string(ms);
    entry.app = app;
    entry.timeMs = ms;
    entry.kind = "document";
    entry.band = band;
    entry.runId = "r";
    return entry;
}

std::string shown(const std::vector<HistoryLine>& lines) {
    std::string text;
    for (const auto& line : lines) text += line.text + "|";
    return text;
}

std::string shown(const HistoryDetails& details) {
    std::string text;
    for (const auto& line : details.lines) text += line.text + "|";
    return text;
}

TEST(HistoryLines, AreGroupedByApplicationAndDayTheNewestFirst) {
    const std::vector entries{entry("gedit", kNoon + kHour), entry("Kate", kNoon),
                              entry("gedit", kNoon - 24 * kHour)};
    EXPECT_EQ(shown(historyLines(entries, utc)),
              "gedit|2026-03-03|13:00 · a doc · 0 flaws|2026-03-02|12:00 · a doc · 0 flaws|"
              "Kate|2026-03-03|12:00 · a doc · 0 flaws|");
    EXPECT_TRUE(historyLines({}, utc).empty());
}

TEST(HistoryLines, DaysAreThoseOfTheClockOnTheWall) {
    const auto east = [](std::int64_t ms) { return ms + 13 * kHour; };
    EXPECT_EQ(shown(historyLines({entry("a", kNoon)}, east)),
              "a|2026-03-04|01:00 · a doc · 0 flaws|");
}

TEST(HistoryLines, AVerdictIsToldWhole) {
    auto one = entry("gedit", kNoon, Band::route_to_fix);
    one.score = 0.62;
    one.flawCount = 1;
    const auto line = historyLines({one}, utc).back();
    EXPECT_EQ(line.pill.label, "ROUTE TO FIX");
    EXPECT_EQ(line.score, "62");
    EXPECT_EQ(line.id, one.id);
    EXPECT_EQ(line.spoken, "gedit, 2026-03-03 12:00, ROUTE TO FIX, Trevix 62, 1 flaw");
}

TEST(HistoryLines, NamesFromOutsideStayOneLine) {
    EXPECT_EQ(historyLines({entry("a\nb\x1b", kNoon)}, utc).front().text.find('\n'),
              std::string::npos);
}

TEST(HistoryDetailsTest, ListEveryFlawWithItsPlace) {
    auto one = entry("gedit", kNoon);
    one.flaws = {{"HIGH", "clarity", "unclear", "r", "line 3", "e"}};
    one.flawCount = 250;
    const auto details = historyDetails(one, utc);
    EXPECT_EQ(details.title, "gedit, 2026-03-03 12:00");
    EXPECT_EQ(shown(details),
              "Flaws (250)|clarity: unclear (line 3)|+249 more in the full report|");
    EXPECT_TRUE(details.hasReport);
    one.flaws.clear();
    one.flawCount = 0;
    one.runId.clear();
    EXPECT_EQ(shown(historyDetails(one, utc)), "No flaws were listed.|");
    EXPECT_FALSE(historyDetails(one, utc).hasReport);
}

TEST(ComparisonDetails, TellWhatWasFixedWhatRemainsWhatIsNewAndTheLines) {
    auto before = entry("gedit", kNoon);
    auto after = entry("gedit", kNoon + kHour);
    before.flaws = {{"LOW", "c", "one", "r", "line 1", "1"}};
    after.flaws = {{"LOW", "c", "two", "r", "line 1", "2"}};
    before.text = "a\nb\n";
    after.text = "a\nc\n";
    const auto details = comparisonDetails(history::compare(before, after), utc);
    EXPECT_EQ(details.title, "gedit, 2026-03-03 12:00 → 2026-03-03 13:00");
    EXPECT_EQ(shown(details),
              "Fixed (1)|c: one (line 1)|Remaining (0)|New (1)|c: two (line 1)|Text|a|b|c|");
    EXPECT_EQ(details.lines[6].kind, HistoryDetail::Kind::Same);
    EXPECT_EQ(details.lines[7].kind, HistoryDetail::Kind::Removed);
    EXPECT_EQ(details.lines[8].kind, HistoryDetail::Kind::Added);
}

TEST(ComparisonDetails, SayWhyThereIsNoText) {
    auto before = entry("gedit", kNoon);
    auto after = entry("gedit", kNoon + kHour);
    before.digest = "1";
    after.digest = "2";
    EXPECT_EQ(comparisonDetails(history::compare(before, after), utc).lines.back().text,
              "The text is kept only of what this machine has graded; pictures are not.");
    after.digest = "1";
    EXPECT_EQ(comparisonDetails(history::compare(before, after), utc).lines.back().text,
              "The work is the same.");
}

TEST(HistoryReport, IsReadByPeopleAndByPrograms) {
    auto one = entry("gedit", kNoon, Band::block);
    one.score = 0.1;
    one.text = "private words";
    EXPECT_EQ(historyText({}, utc), "No verdicts.\n");
    EXPECT_EQ(historyText({one}, utc),
              "gedit\n  2026-03-03\n    12:00 · a doc · 0 flaws · BLOCK 10\n");
    const auto json = nlohmann::json::parse(historyJson({one}));
    EXPECT_EQ(json["verdicts"][0]["band"], "block");
    EXPECT_EQ(json["verdicts"][0]["time"], "2026-03-03T12:00:00Z");
    EXPECT_EQ(historyJson({one}).find("private"), std::string::npos);
    EXPECT_EQ(historyJson({}), R"({"verdicts":[]})");
}

} // namespace
} // namespace kelvane
