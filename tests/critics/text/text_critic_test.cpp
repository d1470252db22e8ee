#include "critics/text/text_critic.h"
#include "tests/critics/critic_cases.h"
#include "text/unicode.h"

#include <string>

namespace trevix {
namespace {

const char* const kLetter = R"(Subject: Delivery of the second lot

Dear Ms. Okafor,

Thank you for your letter of Tuesday, 3 March 2026. We have read it with care, e.g. the part on
packaging (see page 4), and agree: the 27" panels must be shipped upright. Dr. Weiss, who had had
doubts at first, now shares this view :)

The goods leave our works on 12 May 2026 and arrive between 14 May and 18 May 2026. We moved the
inspection from 20 May to 11 May 2026 so that nothing is lost. The price is 3.5 % lower than last
year's, i.e. EUR 12,400.50 in total.

Please note:
a) the pallets are returned,
b) the invoice follows by mail (to accounts@example.com),
c) NASA, ESA and JAXA labels stay on.

He said that that was fine. More at https://example.com/a(b)c,d.The_end.

Kind regards,
Ana Pérez
Head of Sales
)";

const char* const kReply = R"(Hi Jonas,

quick answer before the call: yes, the numbers in the deck are final. I checked them against the
ledger this morning, and Mira signed them off. Can you bring the printed version? The room has no
projector...

On Fri, 6 March 2026, Jonas wrote:
> Are the the numbers final (or TBD?
> We meet on Monday, 7 March 2026!!!

Cheers
Ben
--
Ben Hartwig · +49 30 1234567
)";

const char* const kGerman = R"(Sehr geehrte Frau Dr. Lindner,

wie am Montag, dem 2. März 2026, besprochen, senden wir Ihnen das „überarbeitete“ Angebot. Die, die
die Anlage bedienen, werden z. B. vom 4. bis 6. Mai 2026 geschult. Wir freuen uns auf Ihre Antwort.

Mit freundlichen Grüßen
Jörg Weiß
)";

TEST(TextCritic, GoodLettersHaveNoFinding) {
    expectRules({{"business letter", kLetter, {}},
                 {"reply that quotes a flawed mail", kReply, {}},
                 {"letter in German", kGerman, {}}},
                critiqueText);
}

TEST(TextCritic, PlaceholdersAreFound) {
    for (const std::string gap :
         {"Dear [Name], welcome to the team.", "Dear NAME, welcome to the team.",
          "The price is TBD by sales.", "TODO describe the second step here.",
          "??? the opening hours of the hall", "??? soon, says the keeper",
          "The fee is\n??? per month.", "Call us at XXX for more.",
          "Lorem ipsum dolor sit amet is all we have.",
          "Hello {{customer.name}}, thank you for your order.",
          "Hello <name>, thank you for your order.", "Hello {first_name}, thank you again.",
          "The fee is [insert amount] per month.", "The fee is ??? per month.",
          "Please sign here: <your name> before noon.",
          "It was proven before [citation needed]."}) {
        EXPECT_EQ(rulesOf(critiqueText(textPart(gap)).findings),
                  std::vector<std::string>{"text.placeholder"})
            << gap;
    }
}

TEST(TextCritic, WhatOnlyLooksLikeAPlaceholderIsNotReported) {
    for (const std::string sound :
         {"We keep a TODO list on the wall.", "The word \"TBD\" must not be in the letter.",
          "Write \"TODO:\" in front of what is left to do.", "Super Bowl XXX was played in Tempe.",
          "The shirt comes in XXL and XXXL.", "He wrote [sic] in his letter of May.",
          "The proof is in the paper [1] and in [2].",
          "Run the tool with --output <name> to choose.", "If a < b and b > c then stop here.",
          "Use `{{name}}` in the template to greet.", "See [Name](https://example.com) for more.",
          "The sign on rows[name] of the hall is new.", "Really? Yes, really. What a day!",
          "My to-do list is long today.", "??? example\n\n    Two rooms and a hall.",
          "The hall is open.\n\n???+ note \"On Sundays\"\n\n    It is closed then."}) {
        EXPECT_EQ(rulesOf(critiqueText(textPart(sound)).findings), std::vector<std::string>{})
            << sound;
    }
}

TEST(TextCritic, ListsOfTasksAndPartsOfNamesAreNoGaps) {
    for (const std::string sound :
         {"TODO\n\n- paint the fence\n- mend the gate", "Garden TODO:\n\nPaint the fence first.",
          "Each shop has a TODO file for the week.",
          "The key branch.<name>.merge of the --config file takes a word.",
          "Run it with --all to set $XXX and SOL_XXX in config.h of the kernel.",
          "Run ls ?\?\?\?-*.diff in the directory with --all set."}) {
        EXPECT_EQ(rulesOf(critiqueText(textPart(sound)).findings), std::vector<std::string>{})
            << sound;
    }
    for (const std::string gap :
         {"## Opening hours\n\nTODO\n\n## Prices\n\nThe entry is free.",
          "Price: TODO\n\nThe entry is free.", "The fee is TODO\n\nThe entry is free.",
          "Opening hours:\n\nTODO: ask the keeper.\n\nThe entry is free."}) {
        EXPECT_EQ(rulesOf(critiqueText(textPart(gap)).findings),
                  std::vector<std::string>{"text.placeholder"})
            << gap;
    }
}

TEST(TextCritic, FillerOfOneParagraphIsOneGap) {
    const auto gapsOf = [](const std::string& text) {
        const auto findings = critiqueText(textPart(text)).findings;
        return std::count_if(findings.begin(), findings.end(), [](const Finding& finding) {
            return finding.rule == "text.placeholder";
        });
    };
    const std::string filler = "Lorem ipsum dolor sit amet, consectetur adipiscing elit.";
    EXPECT_EQ(gapsOf(filler), 1);
    EXPECT_EQ(gapsOf(filler + " Then lorem ipsum again, and dolor sit amet."), 1);
    EXPECT_EQ(gapsOf(filler + "\n\n" + filler), 2);
    EXPECT_EQ(gapsOf("Sed dolor sit amet is what they left, and your text here."), 2);
}

/// A manual in plain words: options, file names and identifiers tell that it is one.
const std::string kManual = "The tool reads config.toml and main_table first. With --quiet it "
                            "prints nothing to stderr. ";

TEST(TextCritic, AManualSaysLikeThingsInLikeWords) {
    const std::string sentence = "Returns the number of rows that were read from the table before "
                                 "the first one that did not fit its header and was left out. ";
    const auto severity = [&](const std::string& before) {
        const auto findings =
            critiqueText(textPart(before + sentence + "Between. " + sentence)).findings;
        EXPECT_EQ(rulesOf(findings), std::vector<std::string>{"text.repeated_sentence"});
        return findings.empty() ? Severity::critical : findings[0].severity;
    };
    EXPECT_EQ(severity("We met at noon. "), Severity::medium);
    EXPECT_EQ(severity(kManual), Severity::low);
    EXPECT_EQ(severity(":param rows: those of the table. "), Severity::low);
    EXPECT_EQ(severity("It was late :smile: and cold. "), Severity::medium);
    const auto pair = critiqueText(textPart(kManual + "It stops at the (first gap.")).findings;
    ASSERT_EQ(rulesOf(pair), std::vector<std::string>{"text.unclosed_pair"});
    EXPECT_EQ(pair[0].severity, Severity::low);
}

TEST(TextCritic, AManualHasNotesArgumentsAndStandIns) {
    const auto severities = [](const std::string& text) {
        std::vector<std::string_view> found;
        for (const Finding& finding : critiqueText(textPart(text)).findings) {
            if (finding.rule == "text.placeholder") found.push_back(name(finding.severity));
        }
        return found;
    };
    using Severities = std::vector<std::string_view>;
    for (const std::string note :
         {"TODO: tell of the second way to read it.", "FIXME the header is read twice.",
          "The header is slow. TODO: read it once.", "Their remark: FIXME: read it once.",
          "- XXX this does not hold for two tables.", "Put from XXX import YYY at its top.",
          "Write {{title}} where the name of the table belongs."}) {
        EXPECT_EQ(severities(kManual + "\n\n" + note), Severities{name(Severity::low)}) << note;
        EXPECT_EQ(severities(note), Severities{name(Severity::high)}) << note;
    }
    for (const std::string argument :
         {"Call it with rows[name] of the table.", "Write \\g{name} for a group of that name.",
          "It is run as reader [url] or without one."}) {
        EXPECT_EQ(severities(kManual + argument), Severities{}) << argument;
    }
    for (const std::string gap : {"Ask [your name] for the key.", "The limit is [TBD] for now.",
                                  "The limit is TBD.", "It was written by {first name} in May."}) {
        EXPECT_EQ(severities(kManual + gap), Severities{name(Severity::high)}) << gap;
    }
}

TEST(TextCritic, AManualMayNameAThingTwice) {
    const auto severities = [](const std::string& text) {
        std::vector<std::string_view> found;
        for (const Finding& finding : critiqueText(textPart(text)).findings) {
            if (finding.rule == "text.doubled_word") found.push_back(name(finding.severity));
        }
        return found;
    };
    using Severities = std::vector<std::string_view>;
    const std::string names = "It shows table table for each of them.";
    EXPECT_EQ(severities(names), Severities{name(Severity::medium)});
    EXPECT_EQ(severities(kManual + names), Severities{name(Severity::low)});
    EXPECT_EQ(severities(kManual + "It reads the the header first."),
              Severities{name(Severity::medium)});
}

TEST(TextCritic, DoubledWordsThatAreFewInALongTextWeighLow) {
    const auto severities = [](std::size_t sentences, const std::string& slips) {
        std::string text = slips;
        for (std::size_t i = 0; i < sentences; ++i) {
            text += "House " + std::to_string(i) + " has four rooms and a garden with trees.\n\n";
        }
        std::vector<Severity> found;
        for (const Finding& finding : critiqueText(textPart(text)).findings) {
            if (finding.rule == "text.doubled_word") found.push_back(finding.severity);
        }
        return found;
    };
    const std::string one = "We went to the the market.\n\n";
    const std::string two = one + "It was in in the town.\n\n";
    EXPECT_EQ(severities(90, one), std::vector{Severity::medium});
    EXPECT_EQ(severities(110, one), std::vector{Severity::low});
    EXPECT_EQ(severities(110, two), (std::vector{Severity::medium, Severity::medium}));
    EXPECT_EQ(severities(220, two), (std::vector{Severity::low, Severity::low}));
}

TEST(TextCritic, AVerbAndItsNounMayBeWrittenAlike) {
    const auto severities = [](const std::string& text) {
        return severitiesOf(critiqueText(textPart(text)).findings, "text.doubled_word");
    };
    EXPECT_EQ(severities("They met again to change change requests."), std::vector{Severity::low});
    EXPECT_EQ(severities("They met again and change change requests."),
              std::vector{Severity::medium});
    EXPECT_EQ(severities("They met again to change change the plan."),
              std::vector{Severity::medium});
    EXPECT_EQ(severities("They met again to go go shopping."), std::vector{Severity::medium});
}

TEST(TextCritic, OneSentenceMayBeOfALongerSpeech) {
    const auto severities = [](const std::string& text) {
        return severitiesOf(critiqueText(textPart(text)).findings, "text.unclosed_pair");
    };
    for (const std::string sentence :
         {"\"The hall was full long before noon.", "The hall was full before noon,\" he said.",
          "He wrote: “The hall was full before noon.", "The hall was full long before noon.)"}) {
        EXPECT_EQ(severities(sentence), std::vector{Severity::low}) << sentence;
        EXPECT_EQ(severities("It rained. We left early. " + sentence),
                  std::vector{Severity::medium})
            << sentence;
    }
    // What is opened in brackets is short.
    EXPECT_EQ(severities("The hall (in the town was full."), std::vector{Severity::medium});
    EXPECT_EQ(severities("The hall in the town) was full."), std::vector{Severity::medium});
}

TEST(TextCritic, LinesOfCodeAreNoProse) {
    for (const std::string code :
         {"To build it:\n\n  $ make the the (all\n\nThen wait.",
          "In a shell of Python:\n\n>>> f(the the\n\nThen wait.",
          "At the start:\n\n    if (ready {\n      go(the the;\n    }\n\nThen wait."}) {
        EXPECT_EQ(rulesOf(critiqueText(textPart(code)).findings), std::vector<std::string>{})
            << code;
    }
    EXPECT_EQ(
        rulesOf(
            critiqueText(textPart("It costs:\n\n  the the price of it;\n\nnot more.")).findings),
        std::vector<std::string>{"text.doubled_word"});
}

TEST(TextCritic, DoubledWords) {
    expectRules(
        {{"in a line", "We went to the the market today.", {"text.doubled_word"}},
         {"across a line break",
          "We went to the market in the morning and to the\nthe harbour at noon.",
          {"text.doubled_word"}},
         {"but for case", "The the market opens at nine.", {"text.doubled_word"}},
         {"beyond ASCII", "Wir gehen über Über die Brücke dort.", {"text.doubled_word"}},
         {"a part of a longer word", "You opt-in in the settings of the page.", {}},
         {"a type and its value", "With --raw it takes the Colormap colormap of main_table.", {}},
         {"to, of two verbs", "Which book did you refer to to write it?", {}},
         {"to, of what one needs", "Do whatever you have to to keep warm.", {}},
         {"to, by mistake", "We have to to keep warm.", {"text.doubled_word"}},
         {"had had", "She had had enough of that that day.", {}},
         {"the rest of a word that a line parts",
          "Each of the rooms in the old house inher\u2010\nits its colour from the hall.",
          {}},
         {"a part of a file name",
          "The press turns what is called pages into another name:\n"
          "pages.txt   becomes what we call a new book\nbook.txt    becomes a roll of it.",
          {}},
         {"a name", "They live in Walla Walla these days.", {}},
         {"for emphasis", "It was a very very long day.", {}},
         {"across a full stop", "This is it. It is done now.", {}},
         {"across a paragraph", "We know what we know\n\nknow your limits and stop.", {}},
         {"short lines of a list", "apples\napples\npears and more pears", {}},
         {"numbers", "The scores were 10 10 9 in the end.", {}},
         {"columns", "yes  yes  no and so on", {}}},
        critiqueText);
}

TEST(TextCritic, BracketsAndQuotesAreClosedInTheirParagraph) {
    const std::vector<std::string> flagged = {"text.unclosed_pair"};
    expectRules({{"bracket", "We meet in the hall (see the map.\n\nBring a pen.", flagged},
                 {"square bracket", "The list [of all guests is long.", flagged},
                 {"stray closer", "We meet in the hall see the map) at nine.", flagged},
                 {"straight quote", "He said \"come in and left.", flagged},
                 {"curly quote", "He said “come in and left.", flagged},
                 {"guillemet", "Il a dit « bonjour et il est parti.", flagged},
                 {"apostrophes", "It's the dogs' bowl, isn't it, y'all?", {}},
                 {"smilies", "Great work :) but too late :( and done ;-)", {}},
                 {"list markers", "a) one thing\nb) another thing\niv) the last", {}},
                 {"markers in a line", "We can a) stay or b) leave at once.", {}},
                 {"interval", "Let x be in [0, 1) and y in (0, 1] here.", {}},
                 {"inches", "A 27\" panel and a 32\" panel were sold.", {}},
                 {"quote of several paragraphs",
                  "“The first paragraph goes on.\n\n“The second one ends it.”",
                  {}},
                 {"brackets over the items of a list",
                  "We need (for the\n- garden and the\n- kitchen) a new tap.",
                  {}},
                 {"a mark that is spoken of", "The \" character opens a name.", {}},
                 {"a mark in brackets", "It is closed by the same mark (\") at its end.", {}},
                 {"an open quote before a word", "The \" house is green.", flagged},
                 {"quotes of an old manual",
                  "Read `main.txt' (or `/etc/other', if it is there) before `third.txt' is read.",
                  {}},
                 {"code that nothing closes", "Read it (read `-u N') first.", {}},
                 {"German quotes", "Er sagte „gut“ und ging nach Hause.", {}},
                 {"nested", "All (even [the last] one) are here.", {}}},
                critiqueText);
}

TEST(TextCritic, LongSentencesAndWhatDoesNotEndOne) {
    std::string words;
    for (int i = 0; i < 45; ++i) words += (i > 0 ? " word" : "word") + std::to_string(i);
    expectRules(
        {{"45 words", words + ".", {}},
         {"46 words", words + " more.", {"text.long_sentence"}},
         {"an abbreviation does not end it", "So e.g. " + words + ".", {"text.long_sentence"}},
         {"a decimal does not end it", "About 3.5 of " + words + ".", {"text.long_sentence"}},
         {"a title does not end it", "Then Dr. Weiss " + words + ".", {"text.long_sentence"}},
         {"two sentences", words + ". " + "Then " + words.substr(0, 55) + ".", {}}},
        critiqueText);
}

TEST(TextCritic, Shouting) {
    expectRules(
        {{"sentence in capitals", "Well, PLEASE READ THIS NOW and answer.", {"text.shouting"}},
         {"marks", "We won the prize!!! Thank you all.", {"text.shouting"}},
         {"acronyms", "It speaks HTML, CSS, SQL, JSON and XML.", {}},
         {"three words", "The sign says DO NOT ENTER in red.", {}},
         {"a title on its own line", "TERMS AND CONDITIONS OF SALE\n\nWe sell what we have.", {}},
         {"two marks", "Really?! Yes! It is done!!", {}}},
        critiqueText);
}

TEST(TextCritic, Dates) {
    const std::vector<std::string> weekday = {"text.weekday"};
    const std::vector<std::string> impossible = {"text.impossible_date"};
    const std::vector<std::string> order = {"text.date_order"};
    expectRules(
        {{"wrong weekday", "We meet on Monday, 3 March 2026 at noon.", weekday},
         {"right weekday", "We meet on Tuesday, 3 March 2026 at noon.", {}},
         {"American order", "We meet on Monday, March 3rd, 2026 at noon.", weekday},
         {"abbreviated", "We meet on Mon 3 Mar 2026 at noon.", weekday},
         {"behind the date", "We meet on 3 March 2026 (Monday) at noon.", weekday},
         {"in figures", "We meet on Monday, 2026-03-03 at noon.", weekday},
         {"German", "Wir treffen uns am Montag, dem 3. März 2026 dort.", {}},
         {"German without article", "Wir treffen uns am Montag, 3. März 2026 dort.", weekday},
         {"French", "Nous venons lundi 3 mars 2026 vers midi.", weekday},
         {"no year", "We meet on Monday, 3 March at noon.", {}},
         {"leap day", "It began on 29 February 2024 at noon.", {}},
         {"no leap day", "It began on 29 February 2026 at noon.", impossible},
         {"31 April", "The offer ends on 31 April for all.", impossible},
         {"April 31st", "The offer ends on April 31st for all.", impossible},
         {"impossible figures", "The offer ends on 2026-02-30 for all.", impossible},
         {"impossible both ways", "The offer ends on 31/04/2026 for all.", impossible},
         {"possible one way", "The offer ends on 04/31/2026 or 03/28/2026.", impossible},
         {"31 March", "The offer ends on 31 March for all.", {}},
         {"the verb may", "Up to 31 may come and 45 may stay.", {}},
         {"a version number", "Update to 2026.02.30 or to 31.04.2 soon.", {}},
         {"end before start", "The fair runs from 12 May 2026 to 3 May 2026.", order},
         {"end before start, year once", "The fair runs from 12 May to 3 May 2026.", order},
         {"days of one month", "The fair runs on 12–3 May 2026 in Bonn.", order},
         {"between and", "It falls between 9 June 2026 and 2 June 2026.", order},
         {"the right way round", "The fair runs from 3 May to 12 May 2026.", {}},
         {"over the new year", "We are closed from 20 December to 5 January.", {}},
         {"a move to an earlier day", "We moved the call from 12 May to 3 May 2026.", {}}},
        critiqueText);
}

TEST(TextCritic, RepeatedPassages) {
    const std::string sentence = "The committee has decided to postpone the vote on this matter. ";
    expectRules({{"a sentence",
                  sentence + "Other things were said. " + sentence,
                  {"text.repeated_sentence"}},
                 {"short phrases may repeat", "Yes, we can. Some text here. Yes, we can.", {}}},
                critiqueText);
    const std::string paragraph = sentence + "All members of the board have agreed to this step. ";
    const auto findings =
        critiqueText(textPart(paragraph + "\n\nBetween.\n\n" + paragraph)).findings;
    ASSERT_EQ(findings.size(), 1U) << "a repeated paragraph is one finding";
    EXPECT_EQ(findings[0].place, "line 5, column 1");
}

TEST(TextCritic, BrokenCharacters) {
    const std::vector<std::string> flagged = {"text.encoding"};
    expectRules(
        {{"read as Latin-1", "The cafÃ© is open all day.", flagged},
         {"curly quote read wrongly", "It isnâ€™t open on Sundays.", flagged},
         {"lost character", "The caf\xEF\xBF\xBD is open all day.", flagged},
         {"a lost dash", "The hall \xEF\xBF\xBD the old one \xEF\xBF\xBD is open.", flagged},
         {"a lost character in brackets", "Open all day (in the caf\xEF\xBF\xBD).", flagged},
         {"the character that is spoken of",
          "What is missing shows as `\xEF\xBF\xBD`, or as (\xEF\xBF\xBD) in a list.",
          {}},
         {"as what is put in the place of others",
          "What cannot be written is set to \xEF\xBF\xBD or ? in the list.",
          {}},
         {"beside its number", "It is replaced with U+FFFD (\xEF\xBF\xBD, a question).", {}},
         {"not UTF-8", "The caf\xE9 is open all day.", flagged},
         {"a NUL byte", std::string("The caf\0 is open all day.", 25), flagged},
         {"sound accents", "São Tomé, Âge d'or, château, naïve café: fine.", {}}},
        critiqueText);
}

TEST(TextCritic, Blanks) {
    const std::vector<std::string> flagged = {"text.spacing"};
    expectRules(
        {{"before a comma", "We came , saw and won.", flagged},
         {"behind a comma", "We came,saw and won.", flagged},
         {"between sentences", "We are done.The rest follows.", flagged},
         {"file names and numbers", "See main.cpp, v1.2.3, 1,000 and 3.5 mm in Node.js.", {}},
         {"abbreviations", "The U.S.A. and e.g. the p.m. train left.", {}},
         {"hosts", "Ask on example.com or www.example.org,please.", {}}},
        critiqueText);
}

TEST(TextCritic, UnfinishedEnds) {
    const std::vector<std::string> flagged = {"text.unfinished_sentence"};
    expectRules(
        {{"a conjunction", "We have seen the hall and", flagged},
         {"an article", "We have already seen the", flagged},
         {"a comma at the end", "We have seen all of the rooms in the hall,", flagged},
         {"a greeting without a name", "It was good to see you.\n\nKind regards,", {}},
         {"a while", "The gate stayed open for a while", {}},
         {"a short while", "We stood in the hall for a short while", {}},
         {"while, by mistake", "We stood in the hall while", flagged},
         {"a title", "What we have seen in the hall", {}},
         {"a list follows", "Bring with you the\n- hat\n- coat", {}},
         {"a paragraph follows", "The door is opened by the\n\nand then closed again.", flagged},
         {"what is set off follows",
          "The door is opened by the\n\n    Keeper of the Keys\n\nand then closed again.",
          {}}},
        critiqueText);
}

TEST(TextCritic, EditingMarks) {
    const std::vector<std::string> flagged = {"text.editing_mark"};
    expectRules({{"comment balloon", "All is well here.\nCommented [JD1]: really?", flagged},
                 {"inserted text", "All is {++very ++}well with us here.", flagged},
                 {"note to self", "All is well. [note to self: ask Ben]", flagged},
                 {"the word", "She commented on the draft at length.", {}}},
                critiqueText);
}

TEST(TextCritic, ConflictMarkersBlock) {
    const auto findings =
        critiqueText(textPart("All is well.\n<<<<<<< ours\nIt is red.\n=======\nIt is "
                              "blue.\n>>>>>>> theirs\nThe end.\n"))
            .findings;
    EXPECT_EQ(onlyFinding(findings, "text.conflict_marker").severity, Severity::critical);
    expectRules({{"a line under a title", "The title of it\n=======\n\nSome text here.", {}},
                 {"quoted seven deep", ">>>>>>> an old mail\nThis is new text.", {}}},
                critiqueText);
}

TEST(TextCritic, SecretsAreFoundAndNeverQuoted) {
    const std::string key = "AKIA"
                            "Q3EGR7LMZ4WTN2XD";
    const auto findings =
        critiqueText(textPart("Use the key " + key + " for the upload.")).findings;
    const Finding finding = onlyFinding(findings, "text.secret");
    EXPECT_EQ(finding.severity, Severity::critical);
    EXPECT_EQ(finding.evidence, "AKIA…");
    EXPECT_EQ(finding.place, "line 1, column 13");
    for (const Finding& any : findings) {
        EXPECT_EQ(any.detail.find(key.substr(0, 8)), std::string::npos) << any.detail;
        EXPECT_EQ(any.evidence.find(key.substr(0, 8)), std::string::npos) << any.evidence;
    }
}

TEST(TextCritic, OtherFindingsDoNotQuoteASecretEither) {
    std::string text = "We log in with AKIA"
                       "Q3EGR7LMZ4WTN2XD and";
    for (int i = 0; i < 50; ++i) text += " then we go on with step" + std::to_string(i);
    const auto findings = critiqueText(textPart(text + ".")).findings;
    EXPECT_EQ(rulesOf(findings), (std::vector<std::string>{"text.long_sentence", "text.secret"}));
    for (const Finding& any : findings) {
        EXPECT_EQ(any.evidence.find("Q3EGR7LM"), std::string::npos) << any.evidence;
    }
}

TEST(TextCritic, TooLittleText) {
    expectRules({{"blanks", " \n\t ", {"text.empty"}},
                 {"no word", "--- !", {"text.empty"}},
                 {"one word", "Hello", {"text.nearly_empty"}},
                 {"a short sentence", "It is done.", {}}},
                critiqueText);
}

TEST(TextCritic, EvidenceIsShortWholeAndValid) {
    std::string words = "(";
    for (int i = 0; i < 60; ++i) words += "e\xCC\x81t\xC3\xA9 ";
    const std::string family = "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
    for (int i = 0; i < 130; ++i) words += family;
    const auto findings =
        critiqueText(textPart(words + ". It ends.\n\n" + words + "\xFF")).findings;
    ASSERT_GE(findings.size(), 3U);
    for (const Finding& finding : findings) {
        EXPECT_LE(kelvane::text::characterCount(finding.evidence), 120U) << finding.rule;
        EXPECT_TRUE(kelvane::text::isValidUtf8(finding.evidence)) << finding.rule;
        EXPECT_TRUE(kelvane::text::isValidUtf8(finding.detail)) << finding.rule;
        EXPECT_FALSE(finding.evidence.empty());
        EXPECT_NE(finding.detail.find(finding.evidence), std::string::npos);
    }
}

TEST(TextCritic, ManyFindingsOfOneRuleAreSummedUp) {
    std::string text;
    for (int i = 0; i < 80; ++i) text += "Here is a gap: TBD" + std::string(".\n\n");
    const auto findings = critiqueText(textPart(text)).findings;
    std::size_t gaps = 0;
    for (const Finding& finding : findings) gaps += finding.rule == "text.placeholder" ? 1U : 0U;
    EXPECT_EQ(gaps, 51U);
    EXPECT_EQ(findings.back().evidence, "30 more");
    EXPECT_EQ(findings.back().place, "line 101, column 16");
}

} // namespace
} // namespace trevix
