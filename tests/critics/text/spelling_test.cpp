#include "critics/document/document_critic.h"
#include "critics/text/text_critic.h"
#include "tests/critics/critic_cases.h"
#include "tests/critics/growth.h"

#include <string>
#include <vector>

namespace trevix {
namespace {

/// A machine with small dictionaries of English and German, and a list of one known slip.
LanguageTools smallTools(const PersonalWords& personal = {}) {
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(
        NaturalLanguage::english,
        "a the of and we in is was with to you it this that have has for on by our all are "
        "please send report reports meeting before after letter house garden colour room "
        "green every morning evening day year written write read reader readers kitchen "
        "price prices customer customers answer answered question wall code base plan plans "
        "again under over from here there new old long short very garden friend London Monday "
        "don't it's word words stands line name names they not but when window build able "
        "table well known state art check happy mother's run his her my what who which");
    shelf->add(NaturalLanguage::english, "color");
    shelf->add(NaturalLanguage::german,
               "der die das und wir haben den Bericht gestern Haus Garten nicht mit dem Kunden "
               "gelesen sehr gut ist ein eine im von auf für Angebot bitte prüfen noch heute");
    LanguageTools tools;
    tools.shelf = shelf;
    tools.slips = std::make_shared<SlipList>("recieve->receive\nteh->the\n");
    tools.personalWords = [personal] { return personal; };
    return tools;
}

std::vector<std::string> misspelt(const Critique& critique, bool sureOnly = false) {
    std::vector<std::string> words;
    for (const Finding& finding : critique.findings) {
        if (finding.rule != "text.spelling") continue;
        if (!sureOnly || finding.severity == Severity::medium) words.push_back(finding.evidence);
    }
    return words;
}

std::vector<std::string> misspeltIn(const std::string& text, bool sureOnly = false) {
    return misspelt(critiqueText(textPart(text), smallTools()), sureOnly);
}

using Words = std::vector<std::string>;

TEST(Spelling, ASlipIsMediumAndNamesWhatWasMeant) {
    const Finding finding = onlyFinding(
        critiqueText(textPart("Please send the reprot to all of our customers."), smallTools())
            .findings,
        "text.spelling");
    EXPECT_EQ(finding.severity, Severity::medium);
    EXPECT_EQ(finding.evidence, "reprot");
    EXPECT_NE(finding.detail.find("“report” may be meant"), std::string::npos) << finding.detail;
}

TEST(Spelling, SwitzerlandWritesNoSharpS) {
    LanguageTools tools;
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::german, "mit freundlichen Grüßen und der die das ist nicht auf wir "
                                        "heißen Straße groß Güssen Haus haben ein im von");
    tools.shelf = shelf;
    const auto found = [&tools](const std::string& text) {
        return misspelt(critiqueText(textPart(text), tools), true);
    };
    EXPECT_EQ(found("Das Haus ist nicht gross, und wir heissen mit freundlichen Grüssen auf."),
              Words());
    const Critique mixed = critiqueText(
        textPart("Das Haus auf der Straße ist nicht gross, mit freundlichen Grüssen von der."),
        tools);
    EXPECT_EQ(misspelt(mixed, true), (Words{"gross", "Grüssen"}));
    EXPECT_NE(mixed.findings.back().detail.find("“Grüßen”"), std::string::npos);
}

TEST(Spelling, ACapitalThatACasualNoteLeavesOutIsLow) {
    const std::string note = "The report is not here on monday";
    EXPECT_EQ(misspeltIn(note + "?", true), Words());
    EXPECT_EQ(misspeltIn(note + "?"), Words{"monday"});
    EXPECT_EQ(misspeltIn(note + ".", true), Words{"monday"});
    EXPECT_EQ(misspeltIn("The reprot is not here", true), Words{"reprot"});
}

TEST(Spelling, WithoutASuggestionItIsLow) {
    const Finding finding = onlyFinding(
        critiqueText(textPart("Please send the xqwzvy to all of our customers."), smallTools())
            .findings,
        "text.spelling");
    EXPECT_EQ(finding.severity, Severity::low);
    EXPECT_NE(finding.detail.find("is in no dictionary"), std::string::npos) << finding.detail;
}

TEST(Spelling, AKnownSlipIsSureHoweverShort) {
    EXPECT_EQ(misspeltIn("Please send teh report to our customers.", true), Words{"teh"});
    EXPECT_EQ(misspeltIn("We recieve the report and we recieve the plan, we recieve all.", true),
              (Words{"recieve", "recieve", "recieve"}))
        << "also where it stands often enough for a term";
}

TEST(Spelling, PhrasesOfOtherLanguagesAreRightAsAWhole) {
    EXPECT_EQ(misspeltIn("This is a fait accompli and the plan of our customers."), Words{});
    EXPECT_EQ(misspeltIn("This is the pièce de résistance, the raison d’être of our plan."),
              Words{});
    EXPECT_EQ(misspeltIn("This is the piece de resistance, the raison d'etre of our plan."),
              Words{});
    EXPECT_EQ(misspeltIn("Our customers have the enfant-terrible and the hors\nd'œuvres."),
              Words{});
    EXPECT_EQ(misspeltIn("Modus Operandi of our customers is in the plan."), Words{});
    EXPECT_EQ(misspeltIn("Please send the fait to all of our customers."), Words{"fait"});
    EXPECT_EQ(misspeltIn("This is a fait, accompli is in our plan."), (Words{"fait", "accompli"}));
}

TEST(Spelling, EitherEnglishIsRight) {
    EXPECT_EQ(misspeltIn("The color of the wall is the colour of the room."), Words());
}

TEST(Spelling, WhatIsNoProseIsLeftAlone) {
    for (const std::string text :
         {"Please read `reprot` in the report of our customers.",
          "Please read https://example.org/reprot/gardn in the report.",
          "Please send it to reprot@example.org by the evening.",
          "Please read the report in reprot.txt and in /gardn/reprot of the house.",
          "Please read gardnPlan and reprot_plan and the REPROT of the house.",
          "Please read v2reprot and the --reprot and the #reprot of the house.",
          "Please write the word \"reprot\" and the word “gardn” on the wall.",
          "We have a letter from Xqwzvy and from Gardnre in London.",
          "This is a well-known state of the art house in London."}) {
        EXPECT_EQ(misspeltIn(text), Words()) << text;
    }
}

TEST(Spelling, PossessivesAndContractionsAreRight) {
    EXPECT_EQ(misspeltIn("The customer's letter and London's house, and it\u2019s not the "
                         "reader\u2019s, but they don\u2019t read."),
              Words());
}

TEST(Spelling, ATermIsAWordThatComesThreeTimes) {
    const std::string twice = "The xarble is new. We have the xarble here.";
    EXPECT_EQ(misspeltIn(twice).size(), 2U);
    EXPECT_EQ(misspeltIn(twice + " Please check the xarble again."), Words());
}

TEST(Spelling, AWordOfTheCodeIsATerm) {
    EXPECT_EQ(misspeltIn("Please run `xarble` here and read the xarble again."), Words());
}

TEST(Spelling, AWordThatStandsTwiceAlikeIsUnsure) {
    EXPECT_EQ(misspeltIn("Please send the reprot to all. It is our reprot.", true), Words());
    EXPECT_EQ(misspeltIn("Please send the reprot to all. It is our report.", true),
              Words{"reprot"});
}

TEST(Spelling, PartsOfCompoundsAreSlipsOnlyWhereTheyAreKnownToBe) {
    EXPECT_EQ(misspeltIn("Please read the reprot-code and the code-gardn in our house."), Words());
    EXPECT_EQ(misspeltIn("Please write a well-recieve letter to all of our customers.", true),
              Words{"recieve"});
}

TEST(Spelling, InAManualOnlyKnownSlipsAreSure) {
    const std::string manual = "We read config.toml and the house_plan with --all here. ";
    EXPECT_EQ(misspeltIn(manual + "Please send the reprot to our customers.", true), Words());
    EXPECT_EQ(misspeltIn(manual + "Please recieve our customers.", true), Words{"recieve"});
    EXPECT_EQ(misspeltIn("Please send the reprot.txt of the house to all our frend.", true),
              Words());
    for (const std::string plain :
         {"on 14.9.2026", "on 14.09.26", "of 1.000.000", "for $500", "by 3.5"}) {
        EXPECT_EQ(misspeltIn("We read it in the house " + plain + " with a reprot here.", true),
                  Words{"reprot"})
            << plain;
    }
    for (const std::string sign :
         {"fsck(8)", "v1.2", "1.2.3", "2.39.4rc1", "setValue", "run()", "/usr/lib"}) {
        EXPECT_EQ(misspeltIn("We read it in the house of " + sign + " with a reprot here.", true),
                  sign == "v1.2" ? Words{"reprot"} : Words())
            << sign;
    }
}

TEST(Spelling, WhatIsMadeAsNamesAreMadeIsUnsure) {
    // Another letter in front, no vowel, short and near to a seldom word.
    for (const std::string text : {"Please send the vtable to all of our customers.",
                                   "Please send the rdng to all of our customers.",
                                   "Please write it by goden before the meeting."}) {
        EXPECT_EQ(misspeltIn(text, true), Words()) << text;
    }
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::english,
               "a the of and we in is with to you it this that have for on our all are please "
               "send rooms PDF yurt gifts gilts wall number customers "
               "before meeting sausage separate lithograph trench");
    LanguageTools tools;
    tools.shelf = shelf;
    const auto sure = [&](const std::string& text) {
        return misspelt(critiqueText(textPart(text), tools), true);
    };
    EXPECT_EQ(
        misspelt(critiqueText(textPart("Please send the yurts to all of our customers."), tools)),
        Words());
    EXPECT_EQ(sure("Please send the sausagge to all of our customers."), Words{"sausagge"});
    // A longer plural of a known word, and an owner near none of every day.
    EXPECT_EQ(sure("Please send the walls to all the customerss."), Words{"customerss"});
    EXPECT_EQ(sure("Please send the sausages to all of our customers."), Words());
    EXPECT_EQ(sure("Please send the lithographs to all of our customers."), Words());
    EXPECT_EQ(sure("Please send the trenchs to all of our customers."), Words{"trenchs"});
    EXPECT_EQ(sure("Please send the gilta's number to all of our customers."), Words());
    EXPECT_EQ(sure("Please send the seperate wall to all of our customers."), Words{"seperate"});
    // Short, and near to a word that is not often written.
    EXPECT_EQ(sure("Please send the walls and gilta to all of our customers."), Words());
    // Two letters off, and its consonants are others.
    EXPECT_EQ(sure("Please send the carsabe to all of our customers."), Words());
}

TEST(Spelling, KnownWordsMayBeJoinedAndGrow) {
    EXPECT_EQ(misspeltIn("The codebase is new, and we rebuild it in an unwritten plan."), Words());
}

TEST(Spelling, EitherSpellingOfAWordThatADictionaryHasInOne) {
    LanguageTools tools = smallTools();
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::english,
               "the was a of on our in and wall light painted greyscale defenceman anaemia voicing "
               "house garden picture plasterer plasterers");
    tools.shelf = shelf;
    const auto found = [&](const std::string& text) {
        return misspelt(critiqueText(textPart(text), tools));
    };
    EXPECT_EQ(found("The picture of our garden was grayscale."), Words());
    EXPECT_EQ(found("The anemia of the defenseman was light."), Words());
    EXPECT_EQ(found("The plasteror and the plasterors painted our wall."), Words());
    EXPECT_EQ(found("The voicings on our wall was painted."), Words());
    EXPECT_EQ(found("The picture of our garden was greyscael."), Words({"greyscael"}));
}

TEST(Spelling, AWordThatBeginsASentenceAndIsNearNoneOfEveryDayIsAName) {
    LanguageTools tools = smallTools();
    auto shelf = std::make_shared<ListShelf>();
    shelf->add(NaturalLanguage::english,
               "the was a of on our in and wall light painted tern before house garden picture "
               "technology trellis");
    tools.shelf = shelf;
    const auto found = [&](const std::string& text) {
        return misspelt(critiqueText(textPart(text), tools));
    };
    EXPECT_EQ(found("Teran was painted on the wall of our house."), Words());
    EXPECT_EQ(found("Trelnis was painted on the wall of our house."), Words());
    EXPECT_EQ(found("Trelliss was painted on the wall of our house."), Words{"Trelliss"});
    EXPECT_EQ(found("Ternel's garden was light before our house was."), Words());
    EXPECT_EQ(found("Paintted was the wall of our house."), Words{"Paintted"});
    EXPECT_EQ(found("Techology was on our wall before the house was light."), Words({"Techology"}));
    EXPECT_EQ(found("Befroe the house was painted, the garden was light."), Words({"Befroe"}));
}

TEST(Spelling, WordsWronglyJoinedAreFound) {
    EXPECT_EQ(misspeltIn("We have the plan and the report atleast.", true), Words{"atleast"});
}

TEST(Spelling, ANameInASentenceHasACapital) {
    const Finding finding = onlyFinding(
        critiqueText(textPart("We have the meeting in london with our customers."), smallTools())
            .findings,
        "text.spelling");
    EXPECT_NE(finding.detail.find("“London”"), std::string::npos) << finding.detail;
}

TEST(Spelling, ANameOfTwoWordsIsOneAtTheStartOfASentenceToo) {
    EXPECT_EQ(misspeltIn("Please read it. Gardon Nair has the meeting."), Words{});
    EXPECT_EQ(misspeltIn("Please read it. Gardon wall is green."), Words{"Gardon"});
}

TEST(Spelling, PersonalWordsAreRight) {
    const Part part = textPart("Please send the xqwzvy and the Reprot to our customers.");
    EXPECT_EQ(misspelt(critiqueText(part, smallTools({"xqwzvy"}))), Words());
    EXPECT_EQ(misspelt(critiqueText(part, smallTools())), Words{"xqwzvy"});
}

TEST(Spelling, EachBlockIsSpelledInItsLanguage) {
    const std::string mixed =
        "Please send the report to all of our customers before the meeting.\n\n"
        "Wir haben den Bericht gestern noch nicht mit dem Kunden gelesen.\n";
    EXPECT_EQ(misspeltIn(mixed), Words());
    EXPECT_EQ(misspeltIn(mixed + "\nBitte das Angebot und den Berciht heute noch sehr gut prüfen."),
              Words{"Berciht"});
}

TEST(Spelling, ALanguageWithoutADictionaryIsNotSpelled) {
    const Critique critique = critiqueText(
        textPart("Nous avons reçu les documents et ils sont tous dans le dossier de la maison."),
        smallTools());
    EXPECT_EQ(misspelt(critique), Words());
    EXPECT_FALSE(critique.coverage.known);
    ASSERT_EQ(critique.coverage.notChecked.size(), 1U);
    EXPECT_EQ(critique.coverage.notChecked[0].what, "spelling, French");
    EXPECT_EQ(critique.coverage.notChecked[0].why, "no dictionary of the language is installed");
}

TEST(Spelling, APassageOfUnknownWordsIsNoProse) {
    EXPECT_EQ(misspeltIn("Please send the report to all of our customers.\n\n"
                         "xarb wibble fnord quux the grault garply of waldo frobn"),
              Words());
}

TEST(Spelling, MarkupOfDocumentsIsNotSpelled) {
    const Part part =
        textPart("---\ntitel: reprot\n---\n\n# The report\n\n"
                 "Please read [the report](reprot/gardn.md) of the <gardn> house.\n\n"
                 "```\nreprot gardn\n```\n\n| reprot | gardn |\n|---|---|\n| a | b |\n\n"
                 "We have the reprot here, and it is new.\n",
                 "a.md", "text/markdown");
    const Critique critique = critiqueDocument(part, smallTools());
    for (const Finding& finding : critique.findings) {
        if (finding.rule == "text.spelling") {
            EXPECT_EQ(finding.place.rfind("line 18", 0), 0U) << finding.place;
        }
    }
}

TEST(Spelling, TheCoverageSaysWhoLooked) {
    const Critique critique =
        critiqueText(textPart("Please send the report to all of our customers."), smallTools());
    EXPECT_TRUE(critique.coverage.known);
    EXPECT_TRUE(critique.coverage.notChecked.empty());
    std::vector<std::string> knows;
    for (const CheckedBy& by : critique.coverage.checkedBy) knows.push_back(by.knows);
    EXPECT_NE(std::find(knows.begin(), knows.end(), "spelling, English (a list)"), knows.end());
    EXPECT_NE(std::find(knows.begin(), knows.end(), "grammar, English"), knows.end());
}

TEST(Spelling, WithoutDictionariesNothingIsKnown) {
    const Critique critique =
        critiqueText(textPart("Please send the reprot to all of our customers."));
    EXPECT_EQ(misspelt(critique), Words());
    EXPECT_FALSE(critique.coverage.known);
    ASSERT_EQ(critique.coverage.notChecked.size(), 1U);
    EXPECT_EQ(critique.coverage.notChecked[0].what, "spelling, English");
}

TEST(Spelling, AShortTextIsKnownByItsWords) {
    const Critique known = critiqueText(textPart("Green garden, long evening"), smallTools());
    EXPECT_TRUE(known.coverage.known);
    const Critique unknown = critiqueText(textPart("Xqwzvy fnord, quux garply"), smallTools());
    EXPECT_FALSE(unknown.coverage.known);
    EXPECT_EQ(misspelt(unknown), Words());
}

/// Ever new words, none of them known.
std::string strangeWords(std::size_t bytes) {
    std::string text = "Please send the report to all of our customers.\n\n";
    for (std::size_t i = 0; text.size() < bytes; ++i) {
        std::string word;
        for (std::size_t n = i + 1000; n > 0; n /= 17) word += static_cast<char>('a' + n % 17);
        text += "the " + word + " of the ";
        if (i % 12 == 11) text += ".\n\n";
    }
    return text;
}

TEST(SpellingGrowth, IsModest) {
    const LanguageTools tools = smallTools();
    expectModestGrowth(
        std::vector<std::size_t>{16'384, 65'536, 262'144, 1'048'576},
        [&](std::size_t bytes) { (void)critiqueText(textPart(strangeWords(bytes)), tools); });
}

} // namespace
} // namespace trevix
