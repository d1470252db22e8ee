#include "app/history/history_store.h"
#include "platform/fake/fake_file_system.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::history {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kDay = 24LL * 3600 * 1000;

VerdictEntry entry(const std::string& app) {
    VerdictEntry entry;
    entry.app = app;
    entry.bundleId = "org." + app;
    entry.kind = "text";
    entry.band = Band::route_to_fix;
    entry.score = 0.5;
    entry.flaws = {{"HIGH", "clarity", "unclear", "text.unclear", "line 3", "teh"}};
    entry.flawCount = 1;
    entry.runId = "run";
    entry.report = "http://service/console?run=run";
    entry.digest = digestOf("work");
    entry.text = "work \"quoted\"\n";
    return entry;
}

class HistoryStoreTest : public testing::Test {
protected:
    std::vector<std::string> apps() {
        std::vector<std::string> names;
        for (const auto& each : store.list()) names.push_back(each.app);
        return names;
    }

    Journal journal;
    FakeFileSystem files{journal};
    std::int64_t now = 1'700'000'000'000;
    HistoryStore store{files, "/home/u/.brask", [this] { return now; }};
};

TEST_F(HistoryStoreTest, WhatIsRecordedIsListedTheNewestFirst) {
    EXPECT_TRUE(store.list().empty());
    const auto first = store.record(entry("one"));
    now += 5;
    ASSERT_TRUE(store.record(entry("two")));
    ASSERT_TRUE(first);
    EXPECT_EQ(apps(), (std::vector<std::string>{"two", "one"}));
    auto expected = entry("one");
    expected.id = *first;
    expected.timeMs = now - 5;
    EXPECT_EQ(store.list().back(), expected);
    EXPECT_EQ(store.list().back().flaws.front().evidence, "teh");
}

TEST_F(HistoryStoreTest, EveryFileIsTheOwnersAlone) {
    const auto id = store.record(entry("one"));
    EXPECT_EQ(journal.count("private /home/u/.brask/history/" + id.value_or("") + ".json"), 1U);
    store.keepUnderWay({.jobId = "j", .acceptedMs = now, .work = entry("one")});
    EXPECT_EQ(journal.count("private"), 2U);
}

TEST_F(HistoryStoreTest, TwoProgramsInOneMillisecondKeepBoth) {
    HistoryStore other(files, "/home/u/.brask", [this] { return now; });
    ASSERT_TRUE(store.record(entry("one")));
    ASSERT_TRUE(other.record(entry("two")));
    EXPECT_EQ(store.list().size(), 2U);
    EXPECT_EQ(other.list().size(), 2U);
}

TEST_F(HistoryStoreTest, ADamagedFileCostsItself) {
    const auto id = store.record(entry("one"));
    ++now;
    store.record(entry("two"));
    for (const char* damage : {"", "{", "[]", "{\"form\":1}", "{\"form\":2,\"band\":\"ship\"}",
                               "\xff", "{\"form\":1,\"band\":\"nonsense\"}"}) {
        files.files["/home/u/.brask/history/" + *id + ".json"] = damage;
        EXPECT_EQ(apps(), std::vector<std::string>{"two"}) << damage;
    }
    files.files["/home/u/.brask/history/notes.txt"] = "somebody's";
    EXPECT_EQ(store.list().size(), 1U);
}

TEST_F(HistoryStoreTest, AFullDiskCostsTheNewOneAndNothingElse) {
    store.record(entry("one"));
    ++now;
    files.unwritable.insert("/home/u/.brask/history/" + std::to_string(now) + "-00.json");
    EXPECT_FALSE(store.record(entry("two")));
    EXPECT_EQ(apps(), std::vector<std::string>{"one"});
}

TEST_F(HistoryStoreTest, TheOldestGoWhenThereAreTooMany) {
    for (std::size_t i = 0; i < kMostEntries + 3; ++i) {
        ++now;
        store.record(entry(std::to_string(i)));
    }
    const auto kept = apps();
    ASSERT_EQ(kept.size(), kMostEntries);
    EXPECT_EQ(kept.front(), std::to_string(kMostEntries + 2));
    EXPECT_EQ(kept.back(), "3");
    EXPECT_EQ(files.files.size(), kMostEntries);
}

TEST_F(HistoryStoreTest, TheOldestGoWhenTheyTakeTooMuchRoom) {
    auto large = entry("large");
    large.text = std::string(kLongestText, 'x');
    const std::size_t fit = kMostBytes / kLongestText;
    for (std::size_t i = 0; i < fit + 5; ++i) {
        ++now;
        store.record(large);
    }
    std::size_t bytes = 0;
    for (const auto& [file, text] : files.files) bytes += text.size();
    EXPECT_LE(bytes, kMostBytes);
    EXPECT_GT(store.list().size(), fit - 5);
}

TEST_F(HistoryStoreTest, TheOldestGoWhenTheyAreTooOld) {
    store.record(entry("old"));
    now += 179 * kDay;
    EXPECT_EQ(store.list().size(), 1U);
    now += 2 * kDay;
    EXPECT_TRUE(store.list().empty());
    store.record(entry("new"));
    EXPECT_EQ(files.files.size(), 1U);
}

TEST_F(HistoryStoreTest, OneOrAllAreErased) {
    const auto one = store.record(entry("one"));
    ++now;
    store.record(entry("two"));
    EXPECT_TRUE(store.erase(*one));
    EXPECT_FALSE(store.erase(*one));
    EXPECT_EQ(apps(), std::vector<std::string>{"two"});
    EXPECT_TRUE(store.eraseAll());
    EXPECT_TRUE(store.list().empty());
    EXPECT_TRUE(store.eraseAll());
}

TEST_F(HistoryStoreTest, AnIdIsNoPath) {
    files.files["/home/u/.brask/key.json"] = "k";
    EXPECT_FALSE(store.erase("../key"));
    EXPECT_FALSE(store.erase(""));
    EXPECT_TRUE(files.files.contains("/home/u/.brask/key.json"));
}

TEST_F(HistoryStoreTest, WhatIsUnderWayIsTakenUpByTheSameDesktopWithinItsTime) {
    const UnderWay job{.jobId = "../j 1",
                       .base = "https://service",
                       .desktop = "x11-0",
                       .acceptedMs = now,
                       .work = entry("one")};
    store.keepUnderWay(job);
    now += 60'000;
    EXPECT_TRUE(store.takeUp("wayland-0", 420s).empty());
    auto expected = job;
    EXPECT_EQ(store.takeUp("x11-0", 420s), std::vector<UnderWay>{expected});
    store.endUnderWay(job.jobId);
    EXPECT_TRUE(store.takeUp("x11-0", 420s).empty());
}

TEST_F(HistoryStoreTest, WhatWasUnderWayTooLongAgoIsForgotten) {
    store.keepUnderWay({.jobId = "j", .desktop = "d", .acceptedMs = now, .work = entry("one")});
    now += 420'000;
    EXPECT_TRUE(store.takeUp("other", 420s).empty());
    EXPECT_TRUE(files.files.empty());
    // A clock that was set back says nothing of how long it has been.
    store.keepUnderWay({.jobId = "j", .desktop = "d", .acceptedMs = now, .work = entry("one")});
    now -= 1;
    EXPECT_TRUE(store.takeUp("d", 420s).empty());
}

TEST(VerdictEntryTest, TheTextIsKeptOnlyWhereItMayBeAndCut) {
    const std::vector<ArtifactPart> parts{{.mimeType = "text/plain",
                                           .text = std::string(kLongestText + 10, 'x'),
                                           .dataB64 = std::nullopt,
                                           .logicalName = "work.txt"}};
    VerdictEntry away;
    describeWork(away, parts, false);
    EXPECT_FALSE(away.text);
    VerdictEntry here;
    describeWork(here, parts, true);
    ASSERT_TRUE(here.text);
    EXPECT_EQ(here.text->size(), kLongestText);
    EXPECT_TRUE(here.textIsCut);
    EXPECT_EQ(here.digest, away.digest);
    EXPECT_EQ(lineOf(away).find("xxx"), std::string::npos);
}

TEST(VerdictEntryTest, APictureIsNeverKept) {
    VerdictEntry entry;
    describeWork(entry,
                 {{.mimeType = "image/png",
                   .text = std::nullopt,
                   .dataB64 = "aGVsbG8=",
                   .logicalName = "window.png"}},
                 true);
    EXPECT_TRUE(entry.isPicture);
    EXPECT_FALSE(entry.text);
    EXPECT_EQ(lineOf(entry).find("aGVsbG8"), std::string::npos);
}

TEST(VerdictEntryTest, OfManyAndLongFlawsTheFirstAndTheirBeginningsAreKept) {
    Verdict verdict;
    verdict.flaws.assign(kMostFlaws + 7, {"LOW", "c", std::string(kLongestFlawText + 1, 'd')});
    VerdictEntry entry;
    describeVerdict(entry, verdict);
    EXPECT_EQ(entry.flaws.size(), kMostFlaws);
    EXPECT_EQ(entry.flawCount, kMostFlaws + 7);
    EXPECT_EQ(entry.flaws.front().detail.size(), kLongestFlawText);
    EXPECT_LT(lineOf(entry).size(), kLongestEntry);
    EXPECT_EQ(entryInLine(lineOf(entry))->flawCount, kMostFlaws + 7);
}

TEST(VerdictEntryTest, BytesThatAreNoUtf8AreMendedInTheLine) {
    VerdictEntry entry;
    entry.band = Band::ship;
    entry.app = "\xff";
    const auto read = entryInLine(lineOf(entry));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->app, "\uFFFD");
}

TEST(VerdictEntryTest, ADigestTellsTextsApart) {
    EXPECT_EQ(digestOf("a"), "af63dc4c8601ec8c"); // the published value
    EXPECT_NE(digestOf("a"), digestOf("b"));
    EXPECT_EQ(digestOf(""), "cbf29ce484222325");
}

} // namespace
} // namespace kelvane::history
