// What do the forms that a dictionary has of a word tell of it, and what do the rules make of that?

#include "critics/text/open_words.h"

#include "critics/text/english_words.h"
#include "critics/text/text_critic.h"
#include "tests/critics/critic_cases.h"

#include <memory>
#include <string>
#include <vector>

namespace trevix {
namespace {

constexpr const char* kForms = "house house's report report's "
                               "circulate circulates circulated circulating " // a verb
                               "codify codifies codified codifying " // one with a consonant and "y"
                               "rebut rebuts rebutted rebutting "    // one that doubles
                               "internet internet's zoologist zoologist's zoologists " // nouns
                               "axis axis's physics physics's glass's " // that end like plurals
                               "aircraft aircraft's aircrafts percent percent's percents "
                               "jeans jeans's following following's "
                               "audit audits audited auditing audit's "    // both
                               "mature matures matured maturing maturely " // an adjective as well
                               "nimble nimbles nimbled nimbling nimbly "
                               "dry dries dried drying driest "
                               "merge merges merged merging " // a noun of programmers
                               "cat cats cat's ope opes oped oping";

std::shared_ptr<ListShelf> shelfOf(std::string_view words) {
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::english, words);
    return shelf;
}

TEST(OpenWords, AreToldByTheirForms) {
    const auto shelf = shelfOf(kForms);
    OpenWords open(shelf.get());
    for (const char* verb : {"circulate", "codify", "rebut"}) {
        EXPECT_EQ(open.of(verb), kBase | kPureBase | kOpenVerb) << verb;
    }
    for (const char* third : {"circulates", "codifies", "rebuts"}) {
        EXPECT_EQ(open.of(third), kThird | kAnyThird | kOpenVerb) << third;
    }
    EXPECT_EQ(open.of("zoologist"), kOpenSingular | kOpenCount);
    EXPECT_EQ(open.of("zoologists"), kOpenPlural);
    EXPECT_EQ(open.of("internet"), kOpenSingular);
    EXPECT_EQ(open.of("aircraft"), kOpenSingular) << "its own plural";
    EXPECT_EQ(open.of("percent"), kOpenSingular);
}

TEST(OpenWords, AreNothingWhereTheFormsDoNotTell) {
    const auto shelf = shelfOf(kForms);
    OpenWords open(shelf.get());
    for (const char* word :
         {"audit", "audits", "mature", "nimble", "dry", "merge", "merges", "physics", "axis",
          "jeans", "following", "ope", "unknown", "circulated", "Circulate", "re2", "", "ca"}) {
        EXPECT_EQ(open.of(word), 0U) << word;
    }
    OpenWords none(nullptr);
    EXPECT_EQ(none.of("zoologist"), 0U);
    const ListShelf empty;
    OpenWords noBooks(&empty);
    EXPECT_EQ(noBooks.of("zoologist"), 0U);
    const auto withoutOwners = shelfOf("audit audits audited auditing house report");
    OpenWords noOwners(withoutOwners.get());
    EXPECT_EQ(noOwners.of("audit"), 0U) << "a noun as well";
}

std::vector<std::string> grammarOf(const std::string& text, const LanguageTools& tools) {
    std::vector<std::string> found;
    for (const std::string& rule : rulesOf(critiqueText(textPart(text), tools).findings)) {
        if (rule == "text.agreement" || rule == "text.verb_form" || rule == "text.number") {
            found.push_back(rule);
        }
    }
    return found;
}

TEST(OpenWords, AgreeWithWhatStandsBesideThem) {
    LanguageTools tools;
    tools.shelf = shelfOf(kForms);
    const auto expect = [&](const std::string& rule, const std::string& text) {
        EXPECT_EQ(grammarOf(text, tools), std::vector<std::string>{rule}) << text;
    };
    expect("text.agreement", "The internet have changed the way we live and work.");
    expect("text.agreement", "The zoologists was at the station before us.");
    expect("text.agreement", "The students circulates the letter before noon.");
    expect("text.agreement", "The zoologists who circulates the letter has a key.");
    expect("text.agreement", "She circulate the letter before noon.");
    expect("text.number", "Many zoologist circulate the letter before noon.");
    expect("text.verb_form", "The letter has been circulate in the house.");
    expect("text.verb_form", "He can circulates the letter before noon.");
    expect("text.verb_form", "They have circulate the letter before noon.");
    for (const std::string text :
         {"The internet has changed the way we live and work.",
          "The zoologists were at the station before us.",
          "The students circulate the letter before noon.",
          "I suggest that the zoologist circulate the letter.",
          "Physics is a science that we all like.", "The jeans are in the box on the table.",
          "The following are the rules of the house.", "Many aircraft are in the air at noon.",
          "Seven percent of the people are here.", "The letter is ready for merge in the spring.",
          "Zoologists is a book about the people of the house.",
          "The work of the zoologists is over at noon.",
          "The letters that people of the house have circulate before noon.",
          "The letters they have circulate before noon.",
          "In the Internet Archive have been found two copies of it."}) {
        EXPECT_EQ(grammarOf(text, tools), std::vector<std::string>()) << text;
    }
}

} // namespace
} // namespace trevix
