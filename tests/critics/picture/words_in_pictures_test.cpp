// Pictures with real type, drawn by Qt without a display, and read by the reader of this build.
// They are skipped where there is none, and say so.

#include "critics/ocr/line_reader.h"
#include "critics/picture/image_critic.h"
#include "critics/picture/picture_words.h"
#include "tests/critics/picture/drawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace trevix {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct DrawnText {
    int x, y; ///< Of the base line's beginning.
    QString text;
    int pixels = 15;
    QColor ink = Qt::black;
    bool bold = false;
};

class WordsInPictures : public testing::Test {
protected:
    static void SetUpTestSuite() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int count = 1;
        static char name[] = "words_in_pictures_tests";
        static char* arguments[] = {name, nullptr};
        static QGuiApplication application(count, arguments);
    }
    void SetUp() override {
        const auto taken = readers.take();
        if (const auto* absence = std::get_if<ReaderAbsence>(&taken)) GTEST_SKIP() << absence->why;
    }

    static Picture drawn(const std::vector<DrawnText>& texts, QColor ground = Qt::white,
                         int width = 800, int height = 300) {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(ground);
        QPainter painter(&image);
        for (const DrawnText& text : texts) {
            QFont font("DejaVu Sans");
            font.setPixelSize(text.pixels);
            font.setBold(text.bold);
            painter.setFont(font);
            painter.setPen(text.ink);
            painter.drawText(text.x, text.y, text.text);
        }
        painter.end();
        Picture picture{width, height, {}};
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const QRgb pixel = image.pixel(x, y);
                picture.pixels.push_back({static_cast<std::uint8_t>(qRed(pixel)),
                                          static_cast<std::uint8_t>(qGreen(pixel)),
                                          static_cast<std::uint8_t>(qBlue(pixel)), 255});
            }
        }
        return picture;
    }

    Critique judged(const Picture& picture, std::string_view modality = "ui_ux") {
        Part part;
        part.mimeType = "image/png";
        part.isText = false;
        part.bytes = drawing::encodePng(picture);
        PictureAllowance allowance;
        return critiqueImage(part, modality, allowance, &readers, LanguageTools());
    }
    std::vector<std::string> found(const Picture& picture) {
        std::vector<std::string> rules;
        for (const Finding& finding : judged(picture).findings) rules.push_back(finding.rule);
        return rules;
    }

    LineReaders readers{languageFolders("")};
};

std::string textOf(const std::vector<PictureWord>& words) {
    std::string all;
    for (const PictureWord& word : words) all += (all.empty() ? "" : " ") + word.text;
    return all;
}

TEST_F(WordsInPictures, AreReadInAnyColourAndSize) {
    const struct {
        QColor ink, ground;
        int pixels;
    } cases[] = {{Qt::black, Qt::white, 11},
                 {Qt::black, Qt::white, 15},
                 {QColor(230, 230, 230), QColor(30, 31, 34), 13},
                 {QColor(150, 150, 150), Qt::white, 14},
                 {QColor(0, 60, 160), QColor(255, 240, 200), 28}};
    const auto taken = readers.take();
    LineReader& reader = std::get<LineReaders::Lease>(taken).reader();
    for (const auto& c : cases) {
        const Picture picture = drawn(
            {{40, 60, "Please send the signed form before Friday.", c.pixels, c.ink}}, c.ground);
        const auto lines = findTextLines(picture, findRegions(picture));
        const WordsRead read = trevix::readWords(picture, lines, reader, std::chrono::minutes(5));
        EXPECT_TRUE(read.complete);
        EXPECT_EQ(textOf(read.words), "Please send the signed form before Friday.") << c.pixels;
        for (const PictureWord& word : read.words) {
            EXPECT_GE(word.confidence, 80) << word.text;
            EXPECT_NEAR(word.box.bottom(), 60, c.pixels / 2.0) << word.text;
            EXPECT_GE(word.box.x, 36) << word.text;
        }
    }
}

TEST_F(WordsInPictures, AFindingStandsAtTheBoxOfItsWords) {
    const Picture picture =
        drawn({{40, 60, "We shall meet at the the northern gate of the park."}});
    const auto findings = judged(picture).findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].rule, "text.doubled_word");
    EXPECT_EQ(findings[0].evidence, "the the");
    std::smatch numbers;
    ASSERT_TRUE(std::regex_match(findings[0].place, numbers,
                                 std::regex(R"(x (\d+), y (\d+), (\d+) x (\d+) px)")))
        << findings[0].place;
    EXPECT_NEAR(std::stoi(numbers[1]), 175, 25);
    EXPECT_NEAR(std::stoi(numbers[3]), 54, 12);
    EXPECT_NEAR(std::stoi(numbers[2]) + std::stoi(numbers[4]), 60, 4);
}

TEST_F(WordsInPictures, LeftOversAndSecretsAreSeen) {
    EXPECT_THAT(found(drawn({{40, 60, "Lorem ipsum dolor sit amet, and so on for a while."}})),
                Contains("text.placeholder"));
    const auto findings =
        judged(drawn({{40, 60, "password = Trw9kQmZ4vXpB7sNLc2f", 18},
                      {40, 110, "Everything else on this page may be shown to anybody."}}))
            .findings;
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(findings[0].rule, "text.secret");
    EXPECT_EQ(findings[0].severity, Severity::critical);
    EXPECT_THAT(findings[0].evidence, Not(HasSubstr("4vXpB7")));
}

TEST_F(WordsInPictures, FragmentsLabelsAndColumnsAreQuiet) {
    EXPECT_THAT(found(drawn({{20, 30, "File   Edit   View   Help"},
                             {40, 80, "open the last file and"},
                             {40, 110, "(unsaved"},
                             {40, 150, "yes"},
                             {140, 150, "yes"},
                             {40, 190, "TODO"},
                             {40, 230, "for (int i = 0; i < n; ++i) run(run(i));"}})),
                IsEmpty());
}

TEST_F(WordsInPictures, AWeakWordOnAStrongLineIsFound) {
    const Picture weak =
        drawn({{40, 60, "Everything is ready for you,", 15},
               {300, 60, "continue whenever you like", 15, QColor(190, 190, 190)},
               {40, 100, "and the rest of the page has ink that is dark enough."}});
    const auto findings = judged(weak).findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].rule, "picture.low_contrast");
    EXPECT_THAT(findings[0].place, HasSubstr("x 30"));
    EXPECT_THAT(findings[0].evidence, HasSubstr("#bebebe on #ffffff"));
}

TEST_F(WordsInPictures, BoldLettersOfFourteenPointsAreLarge) {
    const auto page = [](bool bold) {
        return drawn({{40, 60, "Sections of the yearly plan", 19, QColor(0x8a, 0x8a, 0x8a), bold}});
    };
    EXPECT_THAT(found(page(true)), IsEmpty());
    EXPECT_THAT(found(page(false)), Contains("picture.low_contrast"));
}

TEST_F(WordsInPictures, CoverageSaysWhoRead) {
    const Picture picture = drawn({{40, 60, "Please send the signed form before Friday."}});
    const Critique read = judged(picture);
    EXPECT_TRUE(read.coverage.known);
    EXPECT_EQ(read.extent.words, 7U);
    EXPECT_TRUE(std::ranges::any_of(read.coverage.checkedBy, [](const CheckedBy& by) {
        return by.engine == "tesseract" && by.knows == "words in pictures, English" &&
               !by.version.empty();
    }));
}

TEST_F(WordsInPictures, APictureWithoutWordsIsJudgedByItsPixelsAlone) {
    // Panes and bars of a window that nobody wrote on.
    Picture picture = drawing::blank(640, 400);
    drawing::fill(picture, 0, 0, 640, 40, {40, 60, 90, 255});
    drawing::fill(picture, 20, 60, 180, 320, {200, 210, 225, 255});
    drawing::fill(picture, 220, 60, 400, 320, {225, 225, 225, 255});
    for (const std::string_view modality : {"image", "ui_ux", "deck"}) {
        const Critique critique = judged(picture, modality);
        EXPECT_EQ(critique.extent.words, 0U) << modality;
        for (const Finding& finding : critique.findings) {
            EXPECT_THAT(finding.rule, Not(testing::StartsWith("text."))) << modality;
        }
        // Somebody looked for words, and there was nothing that could not be read.
        EXPECT_TRUE(critique.coverage.known) << modality;
        EXPECT_THAT(critique.coverage.notChecked, IsEmpty()) << modality;
        EXPECT_TRUE(std::ranges::any_of(critique.coverage.checkedBy, [](const CheckedBy& by) {
            return by.engine == "tesseract";
        })) << modality;
    }
}

TEST_F(WordsInPictures, SeveralThreadsReadAtOnce) {
    const Picture picture =
        drawn({{40, 60, "We shall meet at the the northern gate of the park."}});
    const auto expected = judged(picture).findings;
    std::vector<std::vector<Finding>> got(3);
    std::vector<std::thread> threads;
    for (auto& findings : got) {
        threads.emplace_back([&] { findings = judged(picture).findings; });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& findings : got) EXPECT_EQ(findings, expected);
}

// Needs no reader.
TEST(WordsInPicturesUnread, IsAGapInTheCoverage) {
    LineReaders none({"/nonexistent/folder"});
    Part part;
    part.mimeType = "image/png";
    part.isText = false;
    Picture picture = drawing::blank(640, 300);
    drawing::write(picture, 40, 40, "the quick brown fox", drawing::gray(0));
    part.bytes = drawing::encodePng(picture);
    for (const auto& [modality, known] :
         {std::pair{"image", true}, {"ui_ux", false}, {"deck", false}}) {
        PictureAllowance allowance;
        const Critique critique = critiqueImage(part, modality, allowance, &none, LanguageTools());
        EXPECT_EQ(critique.coverage.known, known) << modality;
        ASSERT_EQ(critique.coverage.notChecked.size(), 1U);
        EXPECT_EQ(critique.coverage.notChecked[0].what, "words in pictures");
        EXPECT_THAT(critique.coverage.notChecked[0].remedy, HasSubstr("install tesseract"));
    }
}

TEST(LanguageFolders, TheNamedOneComesFirst) {
    EXPECT_EQ(languageFolders("/some/where")[0], "/some/where");
    EXPECT_THAT(languageFolders(""), Not(Contains("")));
    EXPECT_THAT(languageFolders(""), Contains("/usr/share/tessdata"));
}

} // namespace
} // namespace trevix
