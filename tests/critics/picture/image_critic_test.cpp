#include "critics/picture/image_critic.h"

#include "tests/critics/picture/drawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <png.h>
#include <random>

namespace trevix {
namespace {

using drawing::blank;
using drawing::blurred;
using drawing::encodePng;
using drawing::fill;
using drawing::gray;
using drawing::noisy;
using drawing::photograph;
using drawing::write;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Names = std::vector<std::string>;

std::vector<Finding> judgeBytes(const std::string& bytes, std::string_view modality) {
    Part part;
    part.mimeType = "image/png";
    part.name = "window.png";
    part.isText = false;
    part.bytes = bytes;
    PictureAllowance allowance;
    return critiqueImage(part, modality, allowance).findings;
}

std::vector<Finding> judge(const Picture& picture, std::string_view modality = "image") {
    return judgeBytes(encodePng(picture), modality);
}

Names rulesOf(const std::vector<Finding>& findings) {
    Names names;
    for (const Finding& finding : findings) names.push_back(finding.rule);
    return names;
}

Names found(const Picture& picture, std::string_view modality = "image") {
    return rulesOf(judge(picture, modality));
}

const std::vector<std::string_view> kWords{"the quick brown fox",    "jumps over the lazy dog",
                                           "pack my box with jugs",  "how quickly they vex",
                                           "five dozen liquor jugs", "sphinx of black quartz",
                                           "judge my vow again",     "bright vixens jump"};

/// A window with a title, a menu, text and buttons: everything in its place.
Picture window(int width = 800, int height = 600) {
    Picture picture = blank(width, height, gray(245));
    fill(picture, 0, 0, width, 36, gray(220));
    write(picture, 16, 10, "file  edit  view  help", gray(30));
    for (std::size_t i = 0; i < kWords.size(); ++i) {
        write(picture, 24, 60 + static_cast<int>(i) * 28, kWords[i], gray(30));
    }
    for (int i = 0; i < 4; ++i) fill(picture, 600, 80 + i * 60, 160, 36, gray(200));
    return picture;
}

Picture slide(int width = 1280, int height = 720) {
    Picture picture = blank(width, height);
    write(picture, 100, 80, "quarterly results", gray(20), 8);
    for (int i = 0; i < 4; ++i) {
        write(picture, 120, 240 + i * 90, kWords[static_cast<std::size_t>(i)], gray(50), 5);
    }
    return picture;
}

TEST(ImageCritic, GoodPicturesAreClean) {
    for (const char* modality : {"image", "ui_ux", "spreadsheet"}) {
        EXPECT_EQ(found(window(), modality), Names{}) << modality;
    }
    EXPECT_EQ(found(slide(), "deck"), Names{});
    EXPECT_EQ(found(photograph(640, 480)), Names{});
}

TEST(ImageCritic, WhatCannotBeReadIsOneHighFinding) {
    const std::string good = encodePng(window());
    for (const std::string& bytes : {std::string(), std::string("text"), good.substr(0, 20),
                                     good.substr(0, good.size() / 2)}) {
        const auto findings = judgeBytes(bytes, "image");
        ASSERT_EQ(rulesOf(findings), Names{"picture.unreadable"});
        EXPECT_EQ(findings[0].severity, Severity::high);
        EXPECT_THAT(findings[0].detail, HasSubstr("cannot be read"));
    }
}

TEST(ImageCritic, FailedCaptures) {
    EXPECT_EQ(found(blank(640, 480, {0, 0, 0, 0})), Names{"picture.transparent"});
    EXPECT_EQ(found(blank(640, 480, {200, 0, 0, 3})), Names{"picture.transparent"});
    EXPECT_EQ(found(blank(640, 480, gray(0))), Names{"picture.black"});
    EXPECT_EQ(judge(blank(640, 480, gray(0)))[0].severity, Severity::high);

    Picture dark = blank(640, 480, gray(0)); // A terminal is black and not empty.
    for (int i = 0; i < 8; ++i) {
        write(dark, 10, 10 + i * 24, kWords[static_cast<std::size_t>(i)], gray(200));
    }
    EXPECT_EQ(found(dark), Names{});
}

TEST(ImageCritic, BlankPictures) {
    EXPECT_EQ(found(blank(640, 480)), Names{"picture.blank"});
    EXPECT_EQ(judge(blank(640, 480))[0].severity, Severity::high);

    Picture dot = blank(640, 480);
    fill(dot, 100, 100, 20, 20, gray(0)); // 0.13 %
    const auto findings = judge(dot);
    ASSERT_EQ(rulesOf(findings), Names{"picture.blank"});
    EXPECT_EQ(findings[0].severity, Severity::medium);
    EXPECT_THAT(findings[0].evidence, HasSubstr("0.13 %"));

    fill(dot, 100, 100, 40, 40, gray(0)); // 0.52 %
    EXPECT_EQ(found(dot), Names{});
}

TEST(ImageCritic, TooSmallForWhatItShows) {
    const struct {
        int width, height;
        const char* modality;
        bool small;
    } cases[] = {{120, 90, "image", true},   {160, 120, "image", false}, {190, 300, "ui_ux", true},
                 {200, 200, "ui_ux", false}, {480, 270, "deck", true},   {640, 360, "deck", false}};
    for (const auto& c : cases) {
        Picture picture = blank(c.width, c.height);
        fill(picture, 20, 20, 60, 40, gray(90));
        const Names names = found(picture, c.modality);
        EXPECT_EQ(std::ranges::count(names, "picture.small"), c.small ? 1 : 0)
            << c.width << " " << c.modality;
    }
}

TEST(ImageCritic, ExtremeProportions) {
    const auto drawn = [](int width, int height) {
        Picture picture = blank(width, height);
        fill(picture, 20, 20, width / 2, height / 2, gray(90));
        return picture;
    };
    EXPECT_EQ(found(drawn(1600, 200)), Names{"picture.aspect"});
    EXPECT_EQ(found(drawn(1100, 200)), Names{});
    EXPECT_EQ(found(drawn(240, 2400), "ui_ux"), Names{}); // A long page.
    EXPECT_EQ(found(drawn(200, 4000), "ui_ux"), Names{"picture.aspect"});
}

TEST(ImageCritic, WeakContrastIsMeasured) {
    const struct {
        int ink, ground;
        Names expected;
    } cases[] = {
        {0x77, 255, {}}, // 4.48, as good as 4.5
        {0x00, 255, {}},
        {0xBB, 255, {"picture.low_contrast"}},
        {0x50, 0x20, {"picture.low_contrast"}},
        {0xE0, 0x20, {}},
    };
    for (const auto& c : cases) {
        Picture picture = blank(640, 300, gray(c.ground));
        for (int i = 0; i < 5; ++i) {
            write(picture, 40, 40 + i * 28, kWords[static_cast<std::size_t>(i)], gray(c.ink));
        }
        EXPECT_EQ(found(picture), c.expected) << c.ink << " on " << c.ground;
    }
}

/// Five lines on white of which no pixel has the ink's own colour: blends of it, the strongest of
/// them `strongest`, as thin strokes have.
Picture blendedLines(int strongest, int scale) {
    Picture picture = blank(640, 300);
    for (int i = 0; i < 5; ++i) {
        write(picture, 40, 40 + i * 14 * scale, kWords[static_cast<std::size_t>(i)], gray(0),
              scale);
    }
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (picture.at(x, y) != gray(0)) continue;
            picture.at(x, y) = gray(strongest + (x * 7 + y * 3) % 40);
        }
    }
    return picture;
}

// Antialiasing takes from the contrast of letters, the more the smaller they are: what measures a
// little less than 4.5:1 may have been drawn with it.
TEST(ImageCritic, LettersMayMeasureLessThanTheyAreDrawnWith) {
    const struct {
        int scale; ///< The x-height is five times that.
        int strongest;
        Names expected;
    } cases[] = {
        {2, 0x7A, {}},                       // 4.29
        {2, 0x82, {"picture.low_contrast"}}, // 3.83
        {1, 0x8C, {}},                       // 3.36
        {1, 0x96, {"picture.low_contrast"}}, // 2.96
    };
    for (const auto& c : cases) {
        EXPECT_EQ(found(blendedLines(c.strongest, c.scale)), c.expected)
            << c.strongest << " at " << c.scale;
    }
}

// Where strokes fill pixels, their colour is no blend, and there is nothing to allow for.
TEST(ImageCritic, AColourThatWasSeenIsHeldToTheStandard) {
    const struct {
        int scale, ink;
        Names expected;
    } cases[] = {
        {2, 0x77, {}},                       // 4.48
        {2, 0x7A, {"picture.low_contrast"}}, // 4.29
        {1, 0x77, {}},
        {1, 0x7A, {"picture.low_contrast"}},
        {3, 0x93, {}},                       // 3.07 at 15 px
        {3, 0x98, {"picture.low_contrast"}}, // 2.88
    };
    for (const auto& c : cases) {
        Picture picture = blank(700, 300);
        for (int i = 0; i < 5; ++i) {
            write(picture, 40, 40 + i * 14 * c.scale, kWords[static_cast<std::size_t>(i)],
                  gray(c.ink), c.scale);
        }
        EXPECT_EQ(found(picture), c.expected) << c.ink << " at " << c.scale;
    }
}

TEST(ImageCritic, WeakContrastNamesPlaceRatioAndColours) {
    Picture picture = blank(640, 300);
    for (int i = 0; i < 5; ++i) {
        write(picture, 40, 40 + i * 28, "the quick brown fox", gray(0xBB));
    }
    const auto findings = judge(picture);
    ASSERT_EQ(findings.size(), 1U); // Neighbouring lines are one region.
    EXPECT_EQ(findings[0].place, "x 40, y 40, 226 x 126 px");
    EXPECT_EQ(findings[0].evidence, "1.92:1, #bbbbbb on #ffffff");
    EXPECT_THAT(findings[0].detail, HasSubstr(findings[0].place));
    EXPECT_THAT(findings[0].detail, HasSubstr("1.92:1"));
    EXPECT_EQ(findings[0].severity, Severity::high); // It is all the writing there is.
}

TEST(ImageCritic, FewPaleWordsWeighLittle) {
    Picture picture = window();
    write(picture, 24, 320, "disabled", gray(175));
    const auto findings = judge(picture, "ui_ux");
    ASSERT_EQ(rulesOf(findings), Names{"picture.low_contrast"});
    EXPECT_EQ(findings[0].severity, Severity::low);
}

TEST(ImageCritic, LargeLettersNeedLessContrast) {
    Picture picture = blank(900, 300);
    write(picture, 40, 40, "large title", gray(0x88), 8); // 3.54:1
    write(picture, 40, 140, "another one", gray(0x88), 8);
    EXPECT_EQ(found(picture), Names{});
    Picture small = blank(900, 300);
    write(small, 40, 40, "small title", gray(0x88));
    write(small, 40, 140, "another one", gray(0x88));
    EXPECT_EQ(found(small), (Names{"picture.low_contrast", "picture.low_contrast"}));
    // All that is written falls short, though it is not hard to read.
    EXPECT_EQ(judge(small)[0].severity, Severity::medium);
}

TEST(ImageCritic, UnreadablySmallText) {
    Picture picture = blank(640, 300);
    for (int i = 0; i < 4; ++i) {
        // Letters 5 x 7 px are small; squeezed to five rows they are unreadable.
        Picture strip = blank(600, 7);
        write(strip, 0, 0, "the quick brown fox jumps over the lazy dog", gray(0), 1);
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 600; ++x)
                picture.at(40 + x, 40 + i * 20 + y) = strip.at(x, y < 2 ? y : y + 2);
        }
    }
    EXPECT_THAT(found(picture), Contains("picture.tiny_text"));
    EXPECT_THAT(found(window()), Not(Contains("picture.tiny_text")));

    Picture readable = blank(640, 300);
    for (int i = 0; i < 4; ++i) {
        write(readable, 40, 40 + i * 20, "the quick brown fox jumps over the lazy dog", gray(0), 1);
    }
    EXPECT_THAT(found(readable), Not(Contains("picture.tiny_text")));
}

TEST(ImageCritic, TextCutOffAtAnEdge) {
    Picture top = window();
    write(top, 300, -6, "sphinx of black quartz judge", gray(0));
    EXPECT_EQ(found(top), Names{"picture.cut_text"});
    EXPECT_THAT(judge(top)[0].evidence, HasSubstr("top edge"));

    Picture left = blank(640, 300);
    for (int i = 0; i < 5; ++i) {
        write(left, -8, 40 + i * 28, "mmm the quick brown fox", gray(0));
    }
    EXPECT_EQ(found(left), Names{"picture.cut_text"});

    Picture bottom = window();
    write(bottom, 24, 592, "sphinx of black quartz judge", gray(0)); // Scrolled content.
    const auto findings = judge(bottom, "ui_ux");
    ASSERT_EQ(rulesOf(findings), Names{"picture.cut_text"});
    EXPECT_EQ(findings[0].severity, Severity::low);

    Picture near = window();
    write(near, 300, 1, "sphinx of black quartz judge", gray(0));
    EXPECT_EQ(found(near), Names{});
}

Picture unfocused() {
    return blurred(blurred(photograph(640, 480), 3), 3);
}

TEST(ImageCritic, OutOfFocus) {
    EXPECT_EQ(found(unfocused()), Names{"picture.blur"});
    EXPECT_EQ(found(photograph(640, 480)), Names{});
    EXPECT_THAT(judge(unfocused())[0].evidence, HasSubstr("Laplacian variance"));

    Picture half = unfocused(); // Sharp in one part: a shallow depth of field.
    const Picture sharp = photograph(640, 480);
    for (int y = 0; y < 240; ++y) {
        for (int x = 0; x < 320; ++x) half.at(x, y) = sharp.at(x, y);
    }
    EXPECT_EQ(found(half), Names{});
}

TEST(ImageCritic, SoftGradientsAreNotOutOfFocus) {
    Picture picture = blank(640, 480);
    for (int x = 0; x < 640; ++x) fill(picture, x, 0, 1, 480, gray(x * 255 / 640));
    EXPECT_EQ(found(picture), Names{});
}

TEST(ImageCritic, VisualNoise) {
    const Names strong = found(noisy(photograph(640, 480, 60, 200), 90));
    EXPECT_THAT(strong, Contains("picture.noise"));
    EXPECT_EQ(found(noisy(photograph(640, 480, 60, 200), 4)), Names{});
    EXPECT_EQ(found(window()), Names{});
}

TEST(ImageCritic, ColourBanding) {
    const auto gradient = [](int step) {
        Picture picture = blank(640, 480);
        for (int x = 0; x < 640; ++x)
            fill(picture, x, 0, 1, 480, gray(x * 200 / 640 / step * step));
        return picture;
    };
    const auto findings = judge(gradient(12));
    ASSERT_EQ(rulesOf(findings), Names{"picture.banding"});
    EXPECT_THAT(findings[0].evidence, HasSubstr("steps of up to 12 levels"));
    EXPECT_EQ(found(gradient(1)), Names{});
    EXPECT_EQ(found(gradient(2)), Names{});

    Picture slanted = blank(640, 480); // Steps along rows and columns are one finding.
    for (int y = 0; y < 480; ++y) {
        for (int x = 0; x < 640; ++x) slanted.at(x, y) = gray((x + y) / 5 / 10 * 10);
    }
    EXPECT_EQ(found(slanted), Names{"picture.banding"});

    Picture bars = blank(640, 480); // Bars with gaps are a chart.
    for (int i = 0; i < 10; ++i) fill(bars, 40 + i * 50, 100, 40, 300, gray(40 + i * 18));
    EXPECT_EQ(found(bars), Names{});
}

TEST(ImageCritic, Exposure) {
    EXPECT_EQ(found(photograph(640, 480, 0, 40)), Names{"image.underexposed"});
    EXPECT_EQ(found(photograph(640, 480, 215, 420)), Names{"image.overexposed"});
    EXPECT_EQ(found(noisy(photograph(640, 480, 100, 140), 4)), Names{"image.washed_out"});
    EXPECT_EQ(found(photograph(640, 480, 0, 150)), Names{});
    EXPECT_EQ(found(photograph(640, 480, 215, 420), "ui_ux"), Names{}); // Judged in images alone.

    Picture product = blank(640, 480); // A subject before a white ground.
    const Picture subject = photograph(320, 300);
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 320; ++x) product.at(160 + x, 90 + y) = subject.at(x, y);
    }
    EXPECT_EQ(found(product), Names{});
}

// ---- user interfaces ----------------------------------------------------------------------------

Picture form(int stray, int strayGap = 0) {
    Picture picture = blank(800, 600, gray(240));
    int y = 60;
    for (int i = 0; i < 6; ++i) {
        write(picture, 40, y + 8, kWords[static_cast<std::size_t>(i)].substr(0, 9), gray(20));
        fill(picture, 300 + (i == 3 ? stray : 0), y, 240, 32, gray(255));
        y += 32 + 16 + (i == 2 ? strayGap : 0);
    }
    return picture;
}

TEST(ImageCritic, ControlsOffTheCommonEdge) {
    for (const int stray : {1, 2, 3, -1, -3}) {
        const auto findings = judge(form(stray), "ui_ux");
        ASSERT_EQ(rulesOf(findings), Names{"ui.misaligned_left"}) << stray;
        EXPECT_THAT(findings[0].evidence, HasSubstr(std::to_string(std::abs(stray)) + " px off"));
    }
    EXPECT_EQ(found(form(0), "ui_ux"), Names{});
    EXPECT_EQ(found(form(12), "ui_ux"), Names{}); // Indented on purpose.
    EXPECT_EQ(found(form(2), "image"), Names{});  // No interface.
}

TEST(ImageCritic, ButtonsOffTheCommonTop) {
    const auto bar = [](int stray) {
        Picture picture = window();
        for (int i = 0; i < 5; ++i) {
            fill(picture, 40 + i * 110, 480 + (i == 2 ? stray : 0), 90, 36, gray(180));
        }
        return picture;
    };
    EXPECT_EQ(found(bar(2), "ui_ux"), Names{"ui.misaligned_top"});
    EXPECT_EQ(found(bar(0), "ui_ux"), Names{});
    EXPECT_EQ(found(bar(20), "ui_ux"), Names{});
}

TEST(ImageCritic, UnevenGaps) {
    EXPECT_EQ(found(form(0, 3), "ui_ux"), Names{"ui.uneven_gap"});
    EXPECT_EQ(found(form(0, 1), "ui_ux"), Names{});  // A pixel left over by the layout.
    EXPECT_EQ(found(form(0, 20), "ui_ux"), Names{}); // A group.
}

TEST(ImageCritic, LabelsOffTheCommonEdge) {
    const auto labels = [](int stray) {
        Picture picture = blank(800, 600, gray(240));
        for (int i = 0; i < 8; ++i) {
            const int x = 60 + (i == 4 ? stray : 0);
            write(picture, x, 60 + i * 50, "m" + std::string(kWords[static_cast<std::size_t>(i)]),
                  gray(20));
        }
        return picture;
    };
    EXPECT_EQ(found(labels(3), "ui_ux"), Names{"ui.misaligned_text"});
    EXPECT_EQ(found(labels(0), "ui_ux"), Names{});
    EXPECT_EQ(found(labels(1), "ui_ux"), Names{}); // Letters begin a pixel or two apart.
    EXPECT_EQ(found(labels(24), "ui_ux"), Names{});
}

TEST(ImageCritic, WritingAtTheBorder) {
    Picture crowded = window();
    write(crowded, 2, 480, "sphinx of black quartz", gray(20));
    EXPECT_EQ(found(crowded, "ui_ux"), Names{"ui.crowded_margin"});

    Picture terminal = blank(640, 480, gray(0)); // Runs its text to the frame throughout.
    for (int i = 0; i < 8; ++i) {
        write(terminal, 1, 10 + i * 24, kWords[static_cast<std::size_t>(i)], gray(200));
    }
    EXPECT_EQ(found(terminal, "ui_ux"), Names{});
}

// ---- slides
// --------------------------------------------------------------------------------------

TEST(ImageCritic, SlideFormats) {
    for (const auto& [width, height] : {std::pair{1280, 720}, {1280, 800}, {1024, 768}}) {
        EXPECT_EQ(found(slide(width, height), "deck"), Names{}) << width << " x " << height;
    }
    const auto findings = judge(slide(1280, 600), "deck");
    ASSERT_EQ(rulesOf(findings), Names{"deck.format"});
    EXPECT_EQ(findings[0].severity, Severity::low);
    EXPECT_EQ(found(slide(1280, 600), "image"), Names{});
}

TEST(ImageCritic, TooMuchTextOnASlide) {
    const auto lines = [](int count) {
        Picture picture = blank(1280, 720);
        for (int i = 0; i < count; ++i) {
            write(picture, 60, 40 + i * 26, kWords[static_cast<std::size_t>(i) % kWords.size()],
                  gray(20));
        }
        return picture;
    };
    EXPECT_THAT(found(lines(25), "deck"), Contains("deck.text_amount"));
    EXPECT_EQ(found(lines(12), "deck"), Names{});
    EXPECT_EQ(found(lines(25), "image"), Names{});
}

TEST(ImageCritic, TextTooSmallToProject) {
    const auto lines = [](int scale) {
        Picture picture = blank(1920, 1080);
        write(picture, 100, 80, "quarterly results", gray(20), 8);
        for (int i = 0; i < 6; ++i) {
            write(picture, 100, 240 + i * 60, "sphinx of black quartz judge my vow again", gray(20),
                  scale);
        }
        return picture;
    };
    EXPECT_EQ(found(lines(1), "deck"), Names(6, "deck.small_text"));
    EXPECT_EQ(found(lines(2), "deck"), Names{});
    EXPECT_EQ(found(lines(1), "image"), Names{});
}

TEST(ImageCritic, TooManyTextSizes) {
    const std::vector<int> scales{2, 3, 4, 5, 7, 9, 12, 1};
    const auto sizes = [&scales](int count) {
        Picture picture = blank(1920, 1080);
        int y = 40;
        for (int i = 0; i < count; ++i) {
            const int scale = scales[static_cast<std::size_t>(i)];
            write(picture, 100, y, kWords[static_cast<std::size_t>(i) % kWords.size()], gray(20),
                  scale);
            y += 10 * scale + 20;
        }
        return picture;
    };
    EXPECT_EQ(found(sizes(7), "deck"), Names{"deck.text_sizes"});
    EXPECT_EQ(found(sizes(5), "deck"), Names{});
}

TEST(ImageCritic, TooManyTextColours) {
    const std::vector<Colour> colours{{200, 0, 0, 255}, {0, 110, 0, 255},   {0, 0, 200, 255},
                                      {0, 0, 0, 255},   {130, 0, 130, 255}, {0, 110, 110, 255},
                                      {120, 90, 0, 255}};
    const auto coloured = [&](std::size_t count) {
        Picture picture = blank(1280, 720);
        for (std::size_t i = 0; i < 7; ++i) {
            write(picture, 100, 60 + static_cast<int>(i) * 80, kWords[i], colours[i % count], 4);
        }
        return picture;
    };
    EXPECT_EQ(found(coloured(7), "deck"), Names{"deck.text_colours"});
    EXPECT_EQ(found(coloured(4), "deck"), Names{});
}

TEST(ImageCritic, TooLittleMarginOnASlide) {
    Picture picture = slide();
    write(picture, 6, 640, "sphinx of black quartz", gray(20), 4);
    const auto findings = judge(picture, "deck");
    ASSERT_EQ(rulesOf(findings), Names{"deck.margin"});
    EXPECT_THAT(findings[0].evidence, HasSubstr("6 px from the left edge"));
}

// ---- robustness
// -----------------------------------------------------------------------------------

TEST(ImageCritic, EveryFindingNamesPlaceAndEvidence) {
    Picture picture = form(2, 3);
    write(picture, 40, 500, "pale words to read", gray(200));
    const auto findings = judge(picture, "ui_ux");
    ASSERT_GE(findings.size(), 2U);
    for (const Finding& finding : findings) {
        EXPECT_THAT(finding.place, testing::MatchesRegex("x [0-9]+, y [0-9]+, [0-9]+ x [0-9]+ px"));
        EXPECT_THAT(finding.detail, HasSubstr(finding.place));
        EXPECT_FALSE(finding.evidence.empty());
        EXPECT_FALSE(finding.criterion.empty());
        EXPECT_EQ(finding.detail.back(), '.');
    }
    EXPECT_EQ(findings, judge(picture, "ui_ux"));
}

TEST(ImageCritic, OddSizesAreNoTrouble) {
    for (const auto& [width, height] :
         {std::pair{1, 1}, {1, 500}, {500, 1}, {2, 2}, {33, 33}, {34, 34}, {65, 7}}) {
        for (const char* modality : {"image", "ui_ux", "deck"}) {
            Picture picture = blank(width, height);
            picture.at(0, 0) = gray(10);
            EXPECT_THAT(found(picture, modality), Not(IsEmpty())) << width << " x " << height;
            EXPECT_THAT(found(noisy(picture, 100), modality), Not(IsEmpty()));
        }
    }
}

TEST(ImageCritic, DamagedFilesNeverCrash) {
    const std::string good = encodePng(window(240, 180));
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::string bad = good;
        if (round % 2 == 0) {
            bad.resize(random() % bad.size());
        } else {
            char& byte = bad[random() % bad.size()];
            byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
        }
        for (const Finding& finding : judgeBytes(bad, "ui_ux")) EXPECT_FALSE(finding.place.empty());
    }
}

/// A gray file of one bit a pixel, of which `black` rows at the top are black.
std::string bitmap(int width, int height, int black) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = 2;
    const png_byte colours[] = {255, 255, 255, 0, 0, 0};
    std::string pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), '\0');
    std::fill_n(pixels.begin(), static_cast<std::ptrdiff_t>(width) * black, '\1');
    std::string bytes(1U << 20U, '\0');
    png_alloc_size_t size = bytes.size();
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, colours) == 0)
        return {};
    bytes.resize(size);
    return bytes;
}

TEST(ImageCritic, OfLargePicturesEmptinessAndSizeAreJudged) {
    const int width = 8000;
    const int height = 5100;
    ASSERT_GT(static_cast<std::size_t>(width) * height, kMostAnalysedPixels);
    EXPECT_EQ(rulesOf(judgeBytes(bitmap(width, height, 0), "image")), Names{"picture.blank"});
    EXPECT_EQ(rulesOf(judgeBytes(bitmap(width, height, height), "image")), Names{"picture.black"});
    EXPECT_EQ(rulesOf(judgeBytes(bitmap(width, height, 40), "image")), Names{});
    EXPECT_EQ(rulesOf(judgeBytes(bitmap(41'000, 1000, 40), "deck")), Names{"picture.aspect"});
    const std::string whole = bitmap(width, height, 40);
    EXPECT_EQ(rulesOf(judgeBytes(whole.substr(0, whole.size() - 30), "image")),
              Names{"picture.unreadable"});
}

TEST(ImageCritic, WhatTheAllowanceDoesNotCoverIsSaidToBeUnjudged) {
    Part part;
    part.mimeType = "image/png";
    part.isText = false;
    part.bytes = encodePng(window(640, 480));
    PictureAllowance allowance(640 * 480 + 100);
    EXPECT_EQ(critiqueImage(part, "ui_ux", allowance).findings, std::vector<Finding>{});
    const auto findings = critiqueImage(part, "ui_ux", allowance).findings;
    ASSERT_EQ(rulesOf(findings), Names{"picture.unjudged"});
    EXPECT_THAT(findings[0].detail, HasSubstr("640 x 480 px was not judged"));
    part.bytes = encodePng(blank(10, 10)); // A small one still has room.
    EXPECT_THAT(rulesOf(critiqueImage(part, "ui_ux", allowance).findings),
                Contains("picture.blank"));
}

TEST(ImageCritic, RandomRectanglesNeverCrash) {
    std::mt19937 random(17);
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned long>(limit));
    };
    for (int round = 0; round < 40; ++round) {
        Picture picture = blank(200 + below(200), 150 + below(150), gray(below(256)));
        for (int i = below(300); i > 0; --i) {
            fill(picture, below(picture.width), below(picture.height), 1 + below(60), 1 + below(40),
                 gray(below(256)));
        }
        for (const char* modality : {"image", "ui_ux", "deck"}) {
            for (const Finding& finding : judge(picture, modality)) {
                EXPECT_LE(finding.evidence.size(), 200U);
            }
        }
    }
}

} // namespace
} // namespace trevix
