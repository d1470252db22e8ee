#include "platform/linux/common/clipboard_formats.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using Names = std::vector<std::string>;

TEST(FormatsToKeep, leavesOutQuestionsOrdersAndConversions) {
    EXPECT_EQ(formatsToKeep({"TIMESTAMP", "TARGETS", "MULTIPLE", "SAVE_TARGETS", "DELETE",
                             "INSERT_SELECTION", "INSERT_PROPERTY", "INSERT_ANYTHING", "PIXMAP",
                             "COMPOUND_TEXT", "TEXT", "application/x-qt-image",
                             "GTK_TEXT_BUFFER_CONTENTS", "_QT_SELECTION", ""}),
              Names{});
}

TEST(FormatsToKeep, asksForThePreciousFirst) {
    EXPECT_EQ(formatsToKeep({"image/bmp", "application/rtf", "text/html", "image/png", "STRING",
                             "x-kde-passwordManagerHint", "text/plain;charset=utf-8", "UTF8_STRING",
                             "text/uri-list", "image/svg+xml"}),
              (Names{"UTF8_STRING", "text/plain;charset=utf-8", "STRING",
                     "x-kde-passwordManagerHint", "text/uri-list", "image/png", "text/html",
                     "application/rtf", "image/svg+xml", "image/bmp"}));
}

TEST(FormatsToKeep, asksForEachOnce) {
    EXPECT_EQ(formatsToKeep({"STRING", "STRING", "text/html", "STRING"}),
              (Names{"STRING", "text/html"}));
}

TEST(IsCovered, knowsOtherCoatsOfTheSameThing) {
    const std::vector<ClipboardFormat> text{{"UTF8_STRING", "UTF8_STRING", 8, "a"}};
    const std::vector<ClipboardFormat> picture{{"image/png", "image/png", 8, "p"}};
    for (const auto* target : {"STRING", "text/plain", "text/plain;charset=utf-8"}) {
        EXPECT_TRUE(isCovered(target, text)) << target;
        EXPECT_FALSE(isCovered(target, picture)) << target;
        EXPECT_FALSE(isCovered(target, {})) << target;
    }
    for (const auto* target : {"image/bmp", "image/tiff", "image/jpeg", "image/x-ico"}) {
        EXPECT_TRUE(isCovered(target, picture)) << target;
        EXPECT_FALSE(isCovered(target, text)) << target;
    }
    for (const auto* target : {"text/html", "image/svg+xml", "application/rtf"}) {
        EXPECT_FALSE(isCovered(target, text)) << target;
        EXPECT_FALSE(isCovered(target, picture)) << target;
    }
}

TEST(CanBeKept, refusesNumbersThatNameThingsOfTheOwner) {
    for (const auto* type : {"ATOM", "WINDOW", "PIXMAP", "BITMAP", "DRAWABLE", "COLORMAP", "INCR",
                             "NULL", "ATOM_PAIR", ""}) {
        EXPECT_FALSE(canBeKept(type)) << type;
    }
    for (const auto* type : {"UTF8_STRING", "STRING", "image/png", "INTEGER"}) {
        EXPECT_TRUE(canBeKept(type)) << type;
    }
}

std::optional<std::string> text(std::string bytes, std::string type = "UTF8_STRING") {
    return textOf({"UTF8_STRING", std::move(type), 8, std::move(bytes)});
}

TEST(TextOf, keepsWhatIsUtf8) {
    for (const std::string good : {"", "plain", "ä", "日本語", "😀", "\xF4\x8F\xBF\xBF",
                                   "\xEF\xBF\xBF", "\xED\x9F\xBF", "a\nb\tc\r\n"}) {
        EXPECT_EQ(text(good), good);
        EXPECT_EQ(text(good, "text/plain;charset=utf-8"), good);
    }
}

TEST(TextOf, repairsWhatIsNot) {
    const std::string mark = "\xEF\xBF\xBD";
    struct Case {
        std::string bytes;
        std::string expected;
    };
    const Case cases[] = {
        {"a\xFF"
         "b",
         "a" + mark + "b"},
        {"\x80", mark},
        {"\xC0\xAF", mark + mark},                       // Overlong.
        {"\xED\xA0\x80", mark + mark + mark},            // Half a surrogate pair.
        {"\xF4\x90\x80\x80", mark + mark + mark + mark}, // Beyond the last character.
        {"a\xE2\x82", "a" + mark},                       // Breaks off: one piece.
        {"\xF0\x9F\x98 x", mark + " x"},
        {"\xE2\x82\xE2\x82\xAC", mark + "\xE2\x82\xAC"},
        {"\xC3\xC3\xA4", mark + "\xC3\xA4"},
    };
    for (const auto& c : cases) EXPECT_EQ(text(c.bytes), c.expected);
}

TEST(TextOf, readsStringAsLatin1) {
    EXPECT_EQ(text("gr\xFC\xDF", "STRING"), "grüß");
}

TEST(TextOf, dropsOneNulAtTheEndAndNoOther) {
    EXPECT_EQ(text(std::string("ab\0", 3)), "ab");
    EXPECT_EQ(text(std::string("a\0b\0\0", 5)), std::string("a\0b\0", 4));
}

TEST(TextOf, isAbsentForOtherTypes) {
    for (const auto* type : {"INTEGER", "ATOM", "COMPOUND_TEXT", "image/png", "INCR", "NULL", ""}) {
        EXPECT_EQ(text("abcd", type), std::nullopt) << type;
    }
    EXPECT_EQ(textOf({"UTF8_STRING", "UTF8_STRING", 32, "abcd"}), std::nullopt);
    EXPECT_EQ(textOf({"UTF8_STRING", "UTF8_STRING", 16, "abcd"}), std::nullopt);
}

TEST(TextAmong, takesTheBestText) {
    const ClipboardFormat picture{"image/png", "image/png", 8, "p"};
    const ClipboardFormat latin{"STRING", "STRING", 8, "\xFC"};
    const ClipboardFormat utf8{"UTF8_STRING", "UTF8_STRING", 8, "ü!"};
    EXPECT_EQ(textAmong({picture, latin, utf8}), "ü!");
    EXPECT_EQ(textAmong({picture, latin}), "ü");
    EXPECT_EQ(textAmong({picture}), std::nullopt);
    EXPECT_EQ(textAmong({}), std::nullopt);
}

} // namespace
} // namespace kelvane
