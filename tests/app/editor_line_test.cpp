#include "app/editor_line.h"
#include "platform/fake/fake_file_system.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::editor_line {
namespace {

using Words = std::vector<std::string>;

TEST(EditorCommand, EachEditorIsToldTheLineInItsOwnWay) {
    EXPECT_EQ(command("org.gnome.gedit", "/home/u/a b.txt", 12),
              (Words{"gedit", "+12", "/home/u/a b.txt"}));
    EXPECT_EQ(command("org.kde.kate", "/a", 1), (Words{"kate", "--line", "1", "/a"}));
    EXPECT_EQ(command("code", "/a/{line}.md", 7), (Words{"code", "--goto", "/a/{line}.md:7"}));
    EXPECT_EQ(command("emacs", "/a", 2), (Words{"emacsclient", "--no-wait", "+2", "/a"}));
}

TEST(EditorCommand, WhoHasNoWayIsNotAsked) {
    EXPECT_FALSE(command("org.gnome.TextEditor", "/a", 1));
    // Reads its switch only for a file that is not open yet.
    EXPECT_FALSE(command("org.xfce.mousepad", "/a", 1));
    EXPECT_FALSE(command("", "/a", 1));
    EXPECT_FALSE(isKnown("org.mozilla.firefox"));
    EXPECT_TRUE(isKnown("org.kde.kate"));
}

TEST(EditorCommand, AFileIsNeverTakenForASwitch) {
    EXPECT_FALSE(command("org.kde.kate", "--help", 1));
    EXPECT_FALSE(command("org.kde.kate", "", 1));
}

TEST(LineIn, OnlyAPlaceThatIsALineHasOne) {
    EXPECT_EQ(lineIn("line 12"), 12U);
    EXPECT_EQ(lineIn("line 3, column 4"), 3U);
    for (const char* place : {"", "line 0", "line", "line x", "lines 3", "cell C4", "line 3 of 4",
                              "line 99999999999999999999999", "x 10, y 40, 120 x 30 px"}) {
        EXPECT_FALSE(lineIn(place)) << place;
    }
}

constexpr const char* kList = R"(<?xml version="1.0" encoding="UTF-8"?>
<xbel version="1.0">
  <bookmark href="file:///home/u/old.md" added="2026-01-01T00:00:00.000000Z" modified="2026-01-01T00:00:00.000000Z" visited="2026-01-01T00:00:00.000000Z">
    <info><metadata owner="http://freedesktop.org"/></info>
  </bookmark>
  <bookmark href="file:///home/u/a%20b%20&amp;%20c.md" added="2026-01-01T00:00:00.000000Z" modified="2026-03-01T00:00:00.000000Z" visited="2026-02-01T00:00:00.000000Z"/>
  <bookmark href="https://example.org/x" modified="2026-04-01T00:00:00.000000Z"/>
  <bookmark href="file:///bad%zz" modified="2026-04-01T00:00:00.000000Z"/>
  <bookmark href="file://server/share" modified="2026-04-01T00:00:00.000000Z"/>
  <bookmark nothing="x"
</xbel>
)";

TEST(RecentFiles, LocalFilesComeInTheOrderOfTheirUse) {
    EXPECT_EQ(recentFiles(kList),
              (std::vector<std::filesystem::path>{"/home/u/a b & c.md", "/home/u/old.md"}));
    EXPECT_TRUE(recentFiles("").empty());
    EXPECT_TRUE(recentFiles("<bookmark href=\"file:///a").empty());
}

TEST(LineOfText, IsWhereTheTextBegins) {
    EXPECT_EQ(lineOfText("one\ntwo\nthree\n", "two\nthree"), 2U);
    EXPECT_EQ(lineOfText("one\r\ntwo\r\nthree\r\n", "two\nthree\n"), 2U);
    EXPECT_EQ(lineOfText("one\ntwo\n", "one"), 1U);
    EXPECT_EQ(lineOfText("one\n\ntwo\n", "\ntwo"), 2U);
    EXPECT_FALSE(lineOfText("one\n", "two"));
    EXPECT_FALSE(lineOfText("one\n", " \n"));
}

TEST(StartedWith, PathsOnTheEditorsCommandLinesAreFiles) {
    using Paths = std::vector<std::filesystem::path>;
    constexpr const char* kLines = "/usr/bin/kate -b /home/u/a b.md\n"
                                   "kate /x.md /y.md\n"
                                   "gedit /home/u/other.md\n"
                                   "katepart /no\n"
                                   "kate relative.md\n";
    EXPECT_EQ(startedWith("org.kde.kate", kLines),
              (Paths{"/home/u/a b.md", "/x.md /y.md", "/x.md", "/y.md"}));
    EXPECT_EQ(startedWith("org.gnome.gedit", kLines), Paths{"/home/u/other.md"});
    EXPECT_TRUE(startedWith("org.unknown", kLines).empty());
    EXPECT_TRUE(startedWith("org.kde.kate", "").empty());
}

TEST(FileWithText, OnlyAFileThatHoldsTheTextIsTaken) {
    Journal journal;
    FakeFileSystem files(journal);
    EXPECT_FALSE(fileWithText(files, {}, "words"));
    EXPECT_FALSE(fileWithText(files, {"/missing"}, "words"));
    files.files["/old.md"] = "# Head\n\nsome words\n";
    files.files["/new.md"] = "other\n";
    EXPECT_EQ(fileWithText(files, {"/new.md", "/old.md"}, "some words"), (FoundText{"/old.md", 3}));
    files.files["/new.md"] = "some words\n";
    EXPECT_EQ(fileWithText(files, {"/new.md", "/old.md"}, "some words"), (FoundText{"/new.md", 1}));
}

TEST(FileWithText, LooksIntoSoManyFilesAndNoMore) {
    Journal journal;
    FakeFileSystem files(journal);
    std::vector<std::filesystem::path> many(kMostFiles, "/other");
    files.files["/other"] = "x";
    files.files["/it"] = "words";
    many.emplace_back("/it");
    EXPECT_FALSE(fileWithText(files, many, "words"));
    many.erase(many.begin());
    EXPECT_TRUE(fileWithText(files, many, "words"));
}

} // namespace
} // namespace kelvane::editor_line
