#include "critics/picture/picture_words.h"

#include "critics/picture/picture_text.h"
#include "tests/critics/growth.h"
#include "tests/critics/picture/drawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace trevix {
namespace {

using drawing::blank;
using drawing::fill;
using drawing::gray;
using drawing::write;
using testing::ElementsAre;

std::vector<TextLine> linesOf(const Picture& picture) {
    return findTextLines(picture, findRegions(picture));
}

/// Answers with prepared words and remembers the images.
class PreparedReader : public LineReader {
public:
    std::optional<std::vector<LineWord>> read(const LineImage& line,
                                              std::chrono::milliseconds /*limit*/) override {
        images.push_back(line);
        if (images.size() > answers) return std::nullopt;
        return std::vector<LineWord>{{"word", 96, 10, 10, line.width - 20, line.height - 20}};
    }
    [[nodiscard]] std::string version() const override { return "0"; }

    std::vector<LineImage> images;
    std::size_t answers = 1000;
};

TEST(CutLine, IsDarkOnWhiteWhateverTheColours) {
    const struct {
        Colour ink, ground;
    } cases[] = {{gray(0), gray(255)},
                 {gray(220), gray(20)},
                 {gray(190), gray(210)},
                 {{255, 230, 0, 255}, {0, 0, 120, 255}},
                 {{200, 0, 0, 255}, {0, 110, 0, 255}}};
    for (const auto& c : cases) {
        Picture picture = blank(400, 60, c.ground);
        write(picture, 20, 20, "the quick brown fox", c.ink);
        const auto lines = linesOf(picture);
        ASSERT_EQ(lines.size(), 1U) << hexName(c.ink);
        const LineCut cut = cutLine(picture, lines[0]);
        ASSERT_EQ(cut.image.pixels.size(),
                  static_cast<std::size_t>(cut.image.width * cut.image.height));
        EXPECT_EQ(cut.image.pixels.front(), 255);
        EXPECT_EQ(*std::ranges::min_element(cut.image.pixels), 0) << hexName(c.ink);
        const auto white = std::ranges::count(cut.image.pixels, 255);
        EXPECT_GT(static_cast<std::size_t>(white) * 2, cut.image.pixels.size()) << hexName(c.ink);
    }
}

TEST(CutLine, BringsLettersToOneHeightAndPlacesBack) {
    for (const int scale : {1, 2, 4, 8}) {
        Picture picture = blank(1000, 120);
        write(picture, 20, 30, "the quick brown fox", gray(0), scale);
        const auto lines = linesOf(picture);
        ASSERT_EQ(lines.size(), 1U) << scale;
        const LineCut cut = cutLine(picture, lines[0]);
        EXPECT_NEAR(cut.scale * lines[0].xHeight, 20, 0.01) << scale;
        const Rect back = cut.inPicture(0, 0, cut.image.width, cut.image.height);
        EXPECT_EQ(back, cut.area) << scale;
        const int left = 10 + static_cast<int>((lines[0].box.x - cut.area.x) * cut.scale);
        EXPECT_NEAR(cut.inPicture(left, 10, 40, 20).x, lines[0].box.x, 1) << scale;
        EXPECT_GT(cut.inPicture(5000, 5000, 0, 0).area(), 0) << scale;
    }
}

TEST(CutLine, AHugeTitleStaysSmall) {
    Picture picture = blank(7000, 400);
    write(picture, 20, 40, "an enormous title that is as wide as the screen", gray(0), 24);
    for (const TextLine& line : linesOf(picture)) {
        EXPECT_LE(cutLine(picture, line).image.pixels.size(), 800'000U);
    }
}

TEST(ReadWords, StopsWhereTheReaderDoes) {
    Picture picture = blank(400, 200);
    for (int i = 0; i < 4; ++i) write(picture, 20, 20 + 40 * i, "the quick brown fox", gray(0));
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 4U);
    PreparedReader reader;
    const WordsRead all = readWords(picture, lines, reader, std::chrono::seconds(1000));
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(all.words.size(), 4U);
    EXPECT_EQ(all.words[2].line, 2U);
    EXPECT_TRUE(all.words[2].whole);

    PreparedReader slow;
    slow.answers = 2;
    const WordsRead some = readWords(picture, lines, slow, std::chrono::seconds(1000));
    EXPECT_FALSE(some.complete);
    EXPECT_EQ(some.words.size(), 2U);

    PreparedReader none;
    EXPECT_FALSE(readWords(picture, lines, none, std::chrono::milliseconds(0)).complete);
    EXPECT_TRUE(none.images.empty());
}

TEST(ReadWords, AWordBesideSomethingElseIsNotWhole) {
    Picture picture = blank(400, 60);
    write(picture, 60, 20, "the quick brown fox", gray(0));
    fill(picture, 20, 10, 37, 40, gray(150)); // A button that the first letter nearly touches.
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 1U);
    PreparedReader reader;
    const WordsRead read = readWords(picture, lines, reader, std::chrono::seconds(1000));
    ASSERT_EQ(read.words.size(), 1U);
    EXPECT_FALSE(read.words[0].whole);
}

// ---- the words as one text ----------------------------------------------------------------------

/// Words of a line at 10 px each letter, with blanks of 6 px and letters of 9 px height.
struct Page {
    std::vector<PictureWord> words;
    std::vector<TextLine> lines;

    void line(int x, int y, const std::vector<std::string>& texts, int confidence = 96) {
        TextLine written;
        written.box = {x, y, 1, 14};
        written.xHeight = 9;
        for (const std::string& text : texts) {
            const int width = 10 * static_cast<int>(text.size());
            words.push_back({text, confidence, {x, y, width, 14}, lines.size(), true});
            written.box = united(written.box, words.back().box);
            x += width + 6;
        }
        lines.push_back(written);
    }
    [[nodiscard]] PictureText text() const { return textOf(words, lines); }
    [[nodiscard]] std::vector<std::string> masked() const {
        const PictureText whole = text();
        std::vector<std::string> all;
        for (const auto& [offset, length] : whole.masked)
            all.push_back(whole.text.substr(offset, length));
        return all;
    }
};

TEST(PictureText, LinesBelowEachOtherAreAParagraph) {
    Page page;
    page.line(40, 20, {"We", "shall", "meet", "again", "when", "the", "weather"});
    page.line(40, 44, {"is", "fine."});
    page.line(40, 100, {"Another", "thought."});
    EXPECT_EQ(page.text().text,
              "We shall meet again when the weather\nis fine.\n\nAnother thought.");
}

TEST(PictureText, ColumnsAndLabelsStandApart) {
    Page page;
    page.line(40, 20, {"A", "left", "column", "of", "some", "words", "here"});
    page.line(600, 22, {"The", "right", "one", "with", "more", "of", "them"});
    page.line(40, 44, {"goes", "on", "below"});
    page.line(600, 46, {"too."});
    EXPECT_EQ(page.text().text, "A left column of some words here\ngoes on below\n\n"
                                "The right one with more of them\ntoo.");
    Page menu;
    menu.line(40, 20, {"Open"});
    menu.line(40, 44, {"Open", "recent"});
    EXPECT_EQ(menu.text().text, "Open\n\nOpen recent");
    Page cells;
    cells.line(40, 20, {"yes"});
    cells.words.push_back({"yes", 96, {140, 20, 30, 14}, 0, true});
    EXPECT_EQ(cells.text().text, "yes\n\nyes");
}

TEST(PictureText, PlacesAreBoxesOfWords) {
    Page page;
    page.line(40, 20, {"one", "two", "three"});
    const PictureText text = page.text();
    EXPECT_EQ(text.placeOf(0, 3), "x 40, y 20, 30 x 14 px");
    EXPECT_EQ(text.placeOf(5, 0), "x 76, y 20, 30 x 14 px");
    EXPECT_EQ(text.placeOf(0, 7), "x 40, y 20, 66 x 14 px");
    EXPECT_EQ(text.placeOf(4, 9), "x 76, y 20, 86 x 14 px");
    EXPECT_EQ(text.placeOf(text.text.size(), 0), "x 112, y 20, 50 x 14 px");
}

TEST(PictureText, WhatIsNoSureWordIsMasked) {
    Page page;
    page.line(40, 20, {"Open", "the", "file", "src/main.cpp", "in", "your", "editor,", "please."});
    page.line(40, 60, {"It", "is", "a", "well-known", "(and", "good)", "word's", "end:", "e-mail"});
    EXPECT_THAT(page.masked(), ElementsAre("src/main.cpp"));
    page.line(40, 100, {"misread"}, 80);
    EXPECT_THAT(page.masked(), ElementsAre("src/main.cpp", "misread"));
    EXPECT_EQ(page.text().sureWords, 16U);
    page.words.back().confidence = 96;
    page.words.back().whole = false;
    EXPECT_THAT(page.masked(), ElementsAre("src/main.cpp", "misread"));
}

TEST(PictureText, ALineOfCodeIsMaskedWhole) {
    Page page;
    page.line(40, 20, {"const", "auto", "x", "=", "f(y);", "return"});
    EXPECT_EQ(page.masked().size(), 6U);
    EXPECT_EQ(page.text().sureWords, 0U);
}

TEST(PictureText, ABoardMayHaveAColumnOfOpenTasks) {
    Page page;
    page.line(40, 20, {"TODO"});
    page.line(40, 60, {"The", "second", "part", "is", "TODO", "for", "now."});
    EXPECT_THAT(page.masked(), ElementsAre("TODO"));
    EXPECT_EQ(page.text().masked[0].first, 0U);
}

TEST(PictureText, ALoneStrokeMayBeAnyOfSeveralLetters) {
    Page page;
    page.line(40, 20, {"Today", "i", "and", "I,", "with", "a", "friend", "in", "it,", "came."});
    EXPECT_THAT(page.masked(), ElementsAre("i", "I,"));
}

TEST(PictureText, APartedWordIsNoWord) {
    Page page;
    page.line(40, 20, {"Here", "a", "long", "line", "ends", "in", "an", "exam-"});
    page.line(40, 44, {"ple", "of", "it."});
    EXPECT_THAT(page.masked(), ElementsAre("exam-", "ple"));
}

// ---- what it costs ------------------------------------------------------------------------------

TEST(PictureTextGrowth, IsModest) {
    const auto page = [](int lines, bool columns) {
        Page made;
        for (int i = 0; i < lines; ++i) {
            made.line(columns ? 40 + i % 40 * 150 : 40, 20 + (columns ? i / 40 : i) * 24,
                      {"all", "of", "these", "words", "make", "one", "paragraph"});
        }
        return made;
    };
    for (const bool columns : {false, true}) {
        std::vector<Page> pages;
        for (const int lines : {600, 2'400, 9'600}) pages.push_back(page(lines, columns));
        expectModestGrowth(pages, [](const Page& made) {
            const PictureText text = made.text();
            for (std::size_t i = 0; i < text.text.size(); i += 100) (void)text.placeOf(i, 10);
        });
    }
}

TEST(ReadWordsGrowth, IsModest) {
    std::vector<Picture> pictures;
    for (const int side : {256, 512, 1024, 2048}) {
        Picture picture = blank(side, side);
        for (int y = 4; y < side; y += 20) {
            for (int x = 4; x < side; x += 150) write(picture, x, y, "pack my box", gray(60));
        }
        pictures.push_back(std::move(picture));
    }
    expectModestGrowth(pictures, [](const Picture& picture) {
        PreparedReader reader;
        reader.answers = 1'000'000;
        (void)readWords(picture, linesOf(picture), reader, std::chrono::hours(1));
    });
}

} // namespace
} // namespace trevix
