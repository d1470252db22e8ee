#include "app/known_sentences.h"

#include "text/translation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

/// With a translator that puts every text that it is asked for into brackets.
class KnownSentences : public testing::Test {
public:
    KnownSentences() {
        text::useTranslator([](const text::Phrase& phrase) {
            return "[" + std::string(phrase.many != nullptr ? phrase.many : phrase.source) + "]";
        });
    }
    ~KnownSentences() override { text::useTranslator(nullptr); }
};

TEST_F(KnownSentences, AreTranslatedWithWhatStandsInThemKept) {
    EXPECT_EQ(translatedSentence("Nothing was sent."), "[Nothing was sent.]");
    EXPECT_EQ(translatedSentence("“Kelvane” is in your dictionary."),
              "[“Kelvane” is in your dictionary.]");
    EXPECT_EQ(translatedSentence("eval API error (HTTP 503)"), "[eval API error (HTTP 503)]");
}

TEST_F(KnownSentences, AreTranslatedInsideOneAnother) {
    EXPECT_EQ(translatedSentence("Could not be said: could not reach the eval API"),
              "[Could not be said: [could not reach the eval API]]");
    EXPECT_EQ(translatedSentence("Could not be said: no such run"),
              "[Could not be said: no such run]")
        << "the service's own words";
}

TEST_F(KnownSentences, AreNoDeeperThanFailuresAre) {
    std::string said;
    for (int i = 0; i < 100'000; ++i) said += "Could not be said: ";
    said += "no";
    EXPECT_THAT(translatedSentence(said),
                testing::AllOf(testing::StartsWith("[Could not be said: [Could not be said: ["),
                               testing::EndsWith("no]]]")));
}

TEST_F(KnownSentences, OfACountHaveTheFormOfTheirNumber) {
    EXPECT_EQ(translatedSentence("Paused for 1 more minute."), "[Paused for 1 more minutes.]");
    EXPECT_EQ(translatedSentence("Paused for 59 more minutes."), "[Paused for 59 more minutes.]");
    EXPECT_EQ(translatedSentence("Paused for some more minutes."), "Paused for some more minutes.");
}

TEST_F(KnownSentences, LeaveAllOthersAsTheyAre) {
    for (const char* const said :
         {"", "%1", "“” is in your dictionary.", "Nothing was sent. Twice.",
          "The evaluation service is closed on Sundays."}) {
        EXPECT_EQ(translatedSentence(said), said);
    }
}

TEST(KnownSentencesInEnglish, StandAsTheyAreSaid) {
    for (const auto& sentence : knownSentences()) {
        std::string said = sentence;
        if (const auto at = said.find('%'); at != std::string::npos) said.replace(at, 2, "7");
        EXPECT_EQ(translatedSentence(said), said);
    }
}

} // namespace
} // namespace kelvane
