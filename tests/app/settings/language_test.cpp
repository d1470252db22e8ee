#include "app/settings/language.h"

#include "app/settings/settings.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

TEST(Language, IsTheOneThatWasSet) {
    EXPECT_EQ(languageOf("fr", {"de-DE"}), "fr");
    EXPECT_EQ(languageOf("en", {"de-DE"}), "en");
}

TEST(Language, IsElseTheFirstOfTheDesktopsThatThereIs) {
    EXPECT_EQ(languageOf("", {"de-AT", "de"}), "de");
    EXPECT_EQ(languageOf("", {"ja_JP.UTF-8"}), "ja");
    EXPECT_EQ(languageOf("", {"de@euro"}), "de");
    EXPECT_EQ(languageOf("", {"pt-BR", "es-ES", "fr"}), "es");
    EXPECT_EQ(languageOf("klingon", {"es"}), "es");
}

TEST(Language, IsElseEnglish) {
    EXPECT_EQ(languageOf("", {}), "en");
    EXPECT_EQ(languageOf("", {"pt-BR", ""}), "en");
    EXPECT_EQ(languageOf("", {"den"}), "en");
    EXPECT_EQ(languageOf("", {"C", "de"}), "en") << "no language in particular";
    EXPECT_EQ(languageOf("", {"POSIX", "de"}), "en");
}

TEST(Language, EveryOneThatCanBeSetHasAName) {
    for (const auto& language : settingsLanguages()) {
        EXPECT_FALSE(languageName(language).empty()) << language;
        EXPECT_EQ(languageOf(language, {}), language);
    }
    EXPECT_EQ(languageName(""), "");
}

} // namespace
} // namespace kelvane
