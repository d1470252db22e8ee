#include "text/translation.h"

#include <gtest/gtest.h>

namespace kelvane::text {
namespace {

class Translation : public testing::Test {
public:
    ~Translation() override { useTranslator(nullptr); }
};

TEST_F(Translation, IsTheEnglishTextWhileNobodyTranslates) {
    EXPECT_EQ(translated("Panel", "Quit"), "Quit");
    EXPECT_EQ(translated("Panel", "%n flaw", "%n flaws", 1), "1 flaw");
    EXPECT_EQ(translated("Panel", "%n flaw", "%n flaws", 0), "0 flaws");
    EXPECT_EQ(translated("Panel", "%n flaw", "%n flaws", 12), "12 flaws");
}

TEST_F(Translation, IsWhatTheTranslatorSays) {
    useTranslator([](const Phrase& phrase) -> std::optional<std::string> {
        if (std::string_view(phrase.source) != "Quit") return std::nullopt;
        return std::string(phrase.context) + ": beenden";
    });
    EXPECT_EQ(translated("Panel", "Quit"), "Panel: beenden");
    EXPECT_EQ(translated("Panel", "Send"), "Send") << "it does not know that one";
    useTranslator(nullptr);
    EXPECT_EQ(translated("Panel", "Quit"), "Quit");
}

TEST_F(Translation, GivesTheNumberThatDecidesTheForm) {
    std::optional<int> asked;
    useTranslator([&](const Phrase& phrase) -> std::optional<std::string> {
        asked = phrase.count;
        EXPECT_STREQ(phrase.many, "%n flaws");
        return "%n Mängel, ja %n";
    });
    EXPECT_EQ(translated("Panel", "%n flaw", "%n flaws", 3), "3 Mängel, ja 3");
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(translated("Panel", "%n flaw", "%n flaws", 5'000'000'021),
              "5000000021 Mängel, ja 5000000021");
    EXPECT_EQ(asked.value_or(0) % 100, 21);
}

TEST_F(Translation, FillsPlacesOnceAndInAnyOrder) {
    EXPECT_EQ(filled("%2 in %1", {"a", "b"}), "b in a");
    EXPECT_EQ(filled("%1 and %1", {"%2"}), "%2 and %2");
    EXPECT_EQ(filled("100%", {"a"}), "100%");
    EXPECT_EQ(filled("%9 %0 %", {"a"}), "%9 %0 %");
    EXPECT_EQ(filled("", {}), "");
}

} // namespace
} // namespace kelvane::text
