#include "critics/document/document_critic.h"
#include "critics/text/english_words.h"
#include "critics/text/text_critic.h"
#include "critics/text/word_frames.h"
#include "tests/critics/critic_cases.h"
#include "tests/critics/growth.h"

#include <string>
#include <vector>

namespace trevix {
namespace {

const std::vector<std::string> kGrammarRules = {
    "text.agreement",     "text.article", "text.capital", "text.comparison",
    "text.confused_word", "text.number",  "text.usage",   "text.verb_form"};

std::vector<std::string> grammarOf(const std::string& text) {
    std::vector<std::string> found;
    for (const std::string& rule : rulesOf(critiqueText(textPart(text)).findings)) {
        if (std::find(kGrammarRules.begin(), kGrammarRules.end(), rule) != kGrammarRules.end()) {
            found.push_back(rule);
        }
    }
    return found;
}

void expectFound(const std::string& rule, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        EXPECT_EQ(grammarOf(text), std::vector<std::string>{rule}) << text;
    }
}

void expectSound(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        EXPECT_EQ(grammarOf(text), std::vector<std::string>()) << text;
    }
}

TEST(Agreement, IsMissed) {
    expectFound(
        "text.agreement",
        {"She don't like the colour of the walls in there.", "He have a big house by the sea.",
         "We think that he often go to the market.", "They was at the station before us.",
         "We has a plan for this.", "I is not sure about that.", "It have no effect on the price.",
         "Everyone have to sign the form before noon.",
         "Many people is waiting in front of the door.", "Young people has more time than we do.",
         "The students who wants to come must write to us.",
         "A person who have a ticket may go in.", "The teacher have to read all of the letters.",
         "There is many reasons for this.", "There are a problem with the door.",
         "These is the letters that came today.", "Does they know about the meeting?",
         "Why do he write such letters?", "The engineer want the plans before Friday."});
}

TEST(Agreement, IsMissedByWordsThatMayBePluralsToo) {
    expectFound("text.agreement",
                {"We needs more time for the work.", "They works in the garden at noon.",
                 "The children plays in the garden at noon.", "My parents lives in the big house.",
                 "More people needs help with the letters.",
                 "The countries agrees on the price of the work."});
    expectSound({"We judges are people who read a lot.", "What they do works well for all of us.",
                 "World War I works are in the library.",
                 "The children's plays in the garden were good.",
                 "For you and them works of art are dear."});
}

TEST(Agreement, IsKept) {
    expectSound({"She doesn't like it, and neither do they.",
                 "Does he have a house by the sea?",
                 "I suggest that he go to the market at once.",
                 "If he were here, we would ask him about it.",
                 "They saw him go to the market and let him have it.",
                 "What they need is more time for the work.",
                 "You and he have the same plan.",
                 "World War I was over when they came home.",
                 "One of the people who has a key is here.",
                 "The number of people is growing every year.",
                 "Five years is a long time to wait.",
                 "Let everyone have a look at the plan.",
                 "Making friends is easier than it seems.",
                 "There is some truth in that.",
                 "There are a few things to say about this.",
                 "There are a cat and a dog in the yard.",
                 "This is the only thing we have in common.",
                 "The man and the woman who have the key are late.",
                 "It is important that the teacher have a key.",
                 "All the people he knows have left the city.",
                 "Should he fail, we will try it again."});
}

TEST(VerbForms, AreWrong) {
    expectFound("text.verb_form", {"She can goes home when the work is done.",
                                   "We must went to the station at once.",
                                   "They didn't went to the meeting.",
                                   "He does not has the time for that.",
                                   "I have went there many times before.",
                                   "She has wrote to us about the price.",
                                   "He wants to went home before the others.",
                                   "It seems that our plans are depend on the weather.",
                                   "I think we are agree in this.",
                                   "The letter was wrote in the spring.",
                                   "They enjoy to swim in the sea.",
                                   "We are able understand it now.",
                                   "I want go home before it rains.",
                                   "She let him to go home before noon.",
                                   "This is good for learn about the city.",
                                   "We look forward to meet you in the spring.",
                                   "You should careful, since it is glass.",
                                   "They have never saw the sea before.",
                                   "It could works if we try it.",
                                   "We were suppose to be there at nine.",
                                   "He must to leave before the others."});
}

TEST(VerbForms, AreRight) {
    expectSound({"She can go home when the work is done.",
                 "The tools that they have include a rake.",
                 "The rights you have depend on it.",
                 "The will has been read to all of us.",
                 "All we can do is wait and see.",
                 "The best I could do was to call them.",
                 "They did what they could to help us.",
                 "He had better go before it rains.",
                 "I have to go, and he has gone already.",
                 "The work they have led to a new plan.",
                 "What you have to do is learn the rules.",
                 "They made us feel at home.",
                 "He was made to wait in the rain.",
                 "We used to go there in the summer.",
                 "It is used to make paper.",
                 "In May was the first meeting of the year.",
                 "She may have been there before us.",
                 "Not only did he go, he stayed for days.",
                 "Of course we would of course help you.",
                 "They stopped to eat at noon.",
                 "The news has spread to all of the towns.",
                 "To be or not to be, that is it."});
}

TEST(Number, IsWrong) {
    expectFound("text.number",
                {"These thing are not what we asked for.", "There were many student in the hall.",
                 "We need three chair for the guests.", "She bought a cars from her brother.",
                 "Another people came to the door.", "We had too much problems with it.",
                 "It was one of the best movie that we saw.", "He gave us many informations.",
                 "We asked for an advice before the meeting.",
                 "Most of people like it when it rains.", "Others people came by train.",
                 "We also went to other country in the spring.",
                 "A lot of student were late for the lesson.",
                 "This problems are new to all of us.", "It is the 2th time that this happens.",
                 "All of the student were there in time.", "There are many kind of tea here."});
}

TEST(Number, IsRight) {
    expectSound(
        {"These things are what we asked for.", "Many a student has been late for it.",
         "They live in a two bedroom apartment.", "It is a sales meeting like all others.",
         "We waited for a few days and a hundred hours.", "Every two weeks they come to us.",
         "One of the best things is the view.", "He has much more problems than we have.",
         "The other country has no sea at all.", "In other words, it is over.",
         "All day long it rained on the roof.", "The people of this country are kind.",
         "It is the 2nd and the 11th and the 21st time.", "What other reason could there be?",
         "A lot of time and money went into it.", "They gave us some information about it."});
}

TEST(Grammar, LeavesSoundTurnsOfTheSameWordsAlone) {
    expectSound(
        {"We heard of the full might of the river.", "The people there own most of the land.",
         "Is the mayor demanding he go home at once?", "My uncle's will was read in the evening.",
         "There is plenty of room in the car.", "You can kind of see the tower from there.",
         "She takes a look to see if he is awake.", "Some of them become missing persons.",
         "See the last page for examples.", "It reads a robots.txt file in the evening."});
    expectFound("text.usage", {"We saw many birds. For examples, a crane stood in the field."});
    expectFound("text.confused_word",
                {"They should of asked us first.", "They have there own way of doing it."});
    expectFound("text.verb_form", {"She will was here before us."});
    expectFound("text.number", {"There were plenty of chair in the hall."});
}

TEST(Articles, AreWrong) {
    expectFound("text.article",
                {"It took an long time to read it.", "She is a honest woman.",
                 "This is a old house by the sea.", "They built an university in the city.",
                 "It was the my best day in the year.", "It is good idea to ask them.",
                 "We live in big city by the sea.", "He has big car and no time.",
                 "When student comes late, we wait for him."});
}

TEST(Articles, AreRight) {
    expectSound({"It took an hour to read an honest letter.", "A European and a one-eyed man met.",
                 "She went to a university in the north.", "A US company has an FBI agent.",
                 "An umbrella and a uniform are in the hall.",
                 "Vitamin A is in it, and a and b too.", "It is time to go to school by car.",
                 "He is at home and in good health.", "They came by bus, from door to door.",
                 "It is a kind of tea.", "She is president of the club.",
                 "He gave her the book and the pen.", "We have time, and we have good news."});
}

TEST(Articles, AreLeftOutOfNotesOnCode) {
    expectSound({"Run `make` first. It is good idea for big project."});
}

TEST(Capitals, BeginASentence) {
    expectFound("text.capital", {"the meeting was moved to the end of the week.",
                                 "however, we have not heard from them yet."});
    expectSound({"npm is what we use for all of this.", "not so fast, my friend",
                 "The meeting was moved.\n\nThe rest of it stays as it is.",
                 "Dear Ana,\n\nwe have not heard from you for some days.",
                 "iPhones are what they use for all of this."});
}

TEST(Habits, OfCasualNotesWeighLow) {
    const std::vector<std::pair<std::string, std::string>> notes = {
        {"text.capital", "when will they open the doors of the hall"},
        {"text.confused_word", "Tell them that i was at the station"},
        {"text.confused_word", "They say the doors dont open before noon"}};
    const auto severities = [](const std::string& text, std::string_view rule) {
        return severitiesOf(critiqueText(textPart(text)).findings, rule);
    };
    for (const auto& [rule, note] : notes) {
        for (const char* end : {"?", "!", " ..."}) {
            EXPECT_EQ(severities(note + end, rule), std::vector{Severity::low}) << note << end;
        }
        // Who sets full stops writes sentences.
        for (const char* end : {".", ".)", ". See you there"}) {
            EXPECT_EQ(severities(note + end, rule), std::vector{Severity::medium}) << note << end;
        }
    }
    EXPECT_EQ(severities("Tell them that i was at the station", "text.confused_word"),
              std::vector{Severity::low});
    // A word for another is no habit.
    EXPECT_EQ(severities("Its a long way from here to the sea", "text.confused_word"),
              std::vector{Severity::medium});
}

TEST(Comparison, IsWrong) {
    expectFound("text.comparison",
                {"This way is more better than the other.", "It was the most easiest of them all.",
                 "The new one is more cheap than the old one.",
                 "She is as taller as her brother."});
    expectSound({"More older people live here than before.", "It is better, and more so every day.",
                 "The more, the better it is for us.", "This is far easier than it was."});
}

TEST(ConfusedWords, AreFound) {
    expectFound("text.confused_word",
                {"Their is no reason to wait for them.", "They took there own car to the sea.",
                 "Its a long way from here to the sea.", "The dog had it's own bed.",
                 "I think your the best of us all.", "We could of gone there by train.",
                 "She is taller then her brother is.", "We would rather then that wait here.",
                 "It is to late to call them now.", "They want to loose weight before summer.",
                 "It had a bad affect on all of us.", "We swim in the sea everyday.",
                 "He said that i was late for it.", "We want too go home before noon.",
                 "They belief that it is over."});
}

TEST(ConfusedWords, AreRight) {
    expectSound({"Their car is there, and they're in it.", "Its colour is the same as before.",
                 "It's a long way, and its end is far.", "Of course we could, of course.",
                 "If it gets warmer then we go out.", "It is an everyday thing for us.",
                 "They let the dogs loose in the yard.", "The effect on us is small.",
                 "For i in the list, do it again.", "It is too late, and he is too old to go."});
}

TEST(Usage, IsWrong) {
    expectFound("text.usage",
                {"In the other hand, it is cheap and near.", "It depends of the weather in May.",
                 "We discussed about the plan for hours.", "Despite of the rain we went out.",
                 "Although it was late, but we went out.", "Because it was late, so we went home.",
                 "He has twenty years old and lives here.", "They live here since two years.",
                 "I very like the view from here.", "We have lot of guests in the hall.",
                 "We went there with they, and it was fine."});
    expectSound({"On the other hand, it is cheap and near.", "Although it was late, we went out.",
                 "The lot of the poor has not changed.", "It was late, but we went out.",
                 "Since two years ago we live by the sea.",
                 "He has twenty years of work behind him.",
                 "The lamps only focus in certain rooms of the house."});
}

TEST(Usage, WordsThatSoundAlikeInATurnOfPhrase) {
    expectFound(
        "text.usage",
        {"For all intensive purposes the work is done.", "The news peaked my interest at once.",
         "We were able to make due with less.", "They gave her free reign over the whole plan.",
         "This is a worse case scenario for the team.",
         "She slammed on the breaks before the bridge.", "They went threw all of the papers again.",
         "In a such situation we wait for help.", "There was very less water in the lake.",
         "If your looking for a room, call us.", "It is apart of our plan for May.",
         "Please bare with us until the work is done."});
    expectSound({"To all intents and purposes the work is done.",
                 "They let her reign over the whole land.", "In the worse case we wait for a day.",
                 "They all wanted to, and we did too.", "She took the breaks that the rules allow.",
                 "They threw all of the papers away.", "It is such a situation that we fear.",
                 "There was much less water in the lake.", "If your looks matter to you, call us.",
                 "They live far apart of late.", "Things were better then.",
                 "He has a part of it, and it is worth the price.",
                 "Put the coarse sand and a pile of coarse gravel here."});
}

TEST(Capitals, StandInsideASentenceBehindAComma) {
    expectFound("text.capital", {"Likewise, The price of the house went up in May.",
                                 "For a long time, They had no news of him at all."});
    expectSound({"He said, This is the way to the sea.",
                 "They live by the sea, The Hague is near, and they like it.",
                 "We read The Times, The Post and the rest of them.",
                 "For a long time, they had no news of him at all."});
}

TEST(Agreement, OfAPronounBehindAnAside) {
    expectFound("text.agreement", {"In addition it have no door to the yard.",
                                   "The professor oppose the plan of the school."});
    expectSound({"Those who own it have a key to the yard.", "Let it have a door to the yard.",
                 "Does it have a door to the yard?", "If we let it have a day it will be done."});
}

TEST(VerbForms, AfterOpenAdverbs) {
    expectFound("text.verb_form", {"Heating will causes the water to rise.",
                                   "They have considerably went beyond the plan."});
    expectSound({"They are considerably better than the others.",
                 "The family have gone, and the supply is low."});
}

TEST(ConfusedWords, TheSmallPronounBeforeAnyVerb) {
    expectFound("text.confused_word",
                {"When i arrived at the sea it was late.", "After the rain i gave her the key."});
    expectSound(
        {"If it costs more then the plan will fall.", "In June the work will effect the change."});
}

TEST(Number, OfWhatIsCertain) {
    expectFound("text.number", {"They saw it in certain book about the sea.",
                                "Every information about it is kept here."});
    expectSound({"A certain book about the sea is lost.", "It is quite a different book of his.",
                 "She talks of certain books and of different books.",
                 "They met in the 1 2th and last week of it."});
}

/// A text with one slip and so many other words.
std::string withOneSlip(std::size_t words) {
    std::string text = "She don't like it.";
    for (std::size_t i = 4; i < words; i += 5) text += " We saw it in May.";
    return text;
}

TEST(Grammar, WeighsALoneSlipInAPageLow) {
    const auto severityIn = [](const std::string& text) {
        const std::vector<Finding> findings = critiqueText(textPart(text)).findings;
        for (const Finding& finding : findings) {
            if (finding.rule == "text.agreement") return finding.severity;
        }
        ADD_FAILURE() << "nothing found";
        return Severity::critical;
    };
    EXPECT_EQ(severityIn(withOneSlip(90)), Severity::medium);
    EXPECT_EQ(severityIn(withOneSlip(110)), Severity::low);
    EXPECT_EQ(severityIn(withOneSlip(110) + " They was there."), Severity::medium);
    EXPECT_EQ(severityIn(withOneSlip(280) + " They was there."), Severity::medium);
    EXPECT_EQ(severityIn(withOneSlip(310) + " They was there."), Severity::low);
}

TEST(Grammar, NamesTheRuleThePlaceAndTheWords) {
    const Finding finding =
        onlyFinding(critiqueText(textPart("The letter came.\nShe don't like it at all.")).findings,
                    "text.agreement");
    EXPECT_EQ(finding.severity, Severity::medium);
    EXPECT_EQ(finding.place, "line 2, column 1");
    EXPECT_EQ(finding.evidence, "She don't");
}

TEST(Grammar, LettersThatAreSpelledOutTakeTheirOwnArticle) {
    expectSound({"They built an sdist of the house.", "He has an rsync of the letters here.",
                 "The weight is relative to the length of the wall."});
}

TEST(Grammar, ReadsOnlyEnglish) {
    expectSound({"Die Wagen were nicht da, und wir haben sie gesucht, aber das ist vorbei.",
                 "Nous avons a idea dans la maison et les autres sont dans le jardin."});
}

TEST(Grammar, LeavesHeadingsTitlesAndTablesAlone) {
    const Critique critique = critiqueDocument(
        textPart("# She don't like it\n\nThis is what the people in the house think about it.\n\n"
                 "| She don't | They was |\n|---|---|\n| a | b |\n",
                 "a.md", "text/markdown"));
    EXPECT_EQ(rulesOf(critique.findings), std::vector<std::string>());
    expectSound({"It is in the paper of the year: She Have A House And They Was There."});
}

TEST(Grammar, SpeaksOfAPlaceOnce) {
    std::size_t count = 0;
    for (const Finding& finding :
         critiqueText(textPart("He should can goes to an university.")).findings) {
        (void)finding;
        ++count;
    }
    EXPECT_EQ(count, 2U);
}

TEST(WordFrames, FindWordsTakenForOthers) {
    expectFound("text.confused_word", {"The old driver is not longer in use.",
                                       "I though that the door was open.",
                                       "They want to thing about the colour first.",
                                       "Nobody remembered, so check were the key hangs.",
                                       "The new valve should effect the pressure in both pipes.",
                                       "The rain had a domino affect on the harvest.",
                                       "We intent to paint the fence in June.",
                                       "That would safe us a long walk.",
                                       "It seams that the bridge is closed.",
                                       "The new road is much worst.",
                                       "The work came to halt at noon.",
                                       "He finally got rid off the old boat.",
                                       "Please take a peak at the draft.",
                                       "I look forward for the summer fair.",
                                       "The story is a cautionary tail.",
                                       "I hope your happy with the new room.",
                                       "The gate was open, because its in the shade.",
                                       "In the passed week it snowed twice.",
                                       "We had never herd of that village.",
                                       "Her bag was filled to the brim of apples.",

                                       "The mayor rose the question at last.",
                                       "Stay save from the rain.",

                                       "We walked for awhile along the river.",
                                       "I can't breath in the attic.",
                                       "He spoke to soon about the rain.",

                                       "They wrote a complain about the noise."});
}

TEST(WordFrames, FindFormsThatCannotStand) {
    expectFound("text.verb_form",
                {"They have been away, and did they painted the fence?",
                 "She helped designed the new kitchen.", "It would nice to have a second key.",
                 "We have looking for the cat all day.",
                 "I hope it will help, but it has became worse.",
                 "Let the student to choose the plants.", "The letter explains how fix the lamp.",
                 "The bike is being stole at this moment.", "I wish they can come to the party.",
                 "The park will accessible by noon.", "We decided bring the cake."});
}

TEST(WordFrames, FindTurnsThatEnglishDoesNotHave) {
    expectFound("text.usage",
                {"It rained few days ago, and now it snows.", "The gift mean lot to me.",
                 "We have waited here since 3 hours.",
                 "The path must comply to the rules of the park.",
                 "He asked to us where the station is.", "These kind of shoes are warm.",
                 "It was too big of a step.", "They do some mistakes.", "He is fed up of rain.",

                 "The children stayed up, and all hell broke out."});
}

TEST(WordFrames, FindWhatGoesWithAnotherNumber) {
    expectFound("text.verb_form",
                {"Both of them was happy about the letter.", "A lot of people has left the city.",
                 "The number of cars have grown in the city.", "The news are bad for all of us.",
                 "The police is looking for the key.", "It was stole in the spring.",
                 "I am working here since 2010 and like it.",
                 "We would like to thanks everyone in the house."});
    expectFound("text.usage",
                {"This is the reason because they came to the house.",
                 "We met in the park on last Monday.", "I do not know what is his name.",
                 "She works as teacher in the city."});
    expectFound("text.confused_word",
                {"We are more careful then before.", "They are tired of it's price.",
                 "Its raining in the garden again."});
    expectSound({"The mother of both of them was happy about it.",
                 "Seeing a lot of people is nice now and then.",
                 "The size and the number of cars have grown.",
                 "In the news are stories about the city.", "The police is a book about the city.",
                 "It was a stole of fine wool.", "He is working here since the roof leaks.",
                 "She works as teacher and friend of the child.",
                 "We were more careful then, and all went well.",
                 "They were glad, because of it's a long story."});
}

TEST(WordFrames, LeaveSoundSentencesAlone) {
    expectSound({"The road is not longer than the river.",
                 "You, though tired, drove on.",
                 "There is one in the same drawer as the forks.",
                 "Nobody knows what side affects the result.",
                 "The committee can effect a change of the rules.",
                 "The test ran for several time-consuming hours.",
                 "It's the best of it's a deal.",
                 "A few days ago it rained, and long ago it snowed.",
                 "He and I are good friends of the house.",
                 "They have working lamps in the hall.",
                 "The tool is written in Go and used in Begin.",
                 "... and so the story went on for years.",
                 "The bowl is full to the brim of its foot.",
                 "He fell like a stone.",
                 "They ran into a problem.",
                 "I heard her complain.",
                 "Whomever you ask, they know.",
                 "Choose a convenient store for each of them.",
                 "She opened the light box.",
                 "There is one in the same drawer.",
                 "They saw that it was a part of the wall.",
                 "An everyday matter is soon forgotten.",
                 "To choose the best, take your time."});
}

TEST(WordFrames, DoNotFindWhatTheyAskFor) {
    expectSound({"The guide homes in on the leaking valve.", "By then it was a moot point."});
    expectFound("text.usage", {"The guide hones in on the leaking valve."});
    expectFound("text.usage", {"By then it was a mute point."});
}

TEST(WordFrames, LeaveOtherTurnsOfTheSameWordsAlone) {
    expectSound({"We sell seeds for instant delivery.",
                 "Their narrow focus in winter was on the roof.", "I am interested for sure.",
                 "From here on we're worry free.",
                 "The gate stays shut for reasons of saving heat."});
    expectFound("text.usage", {"There are tools, for instant, a rake.", "We focus in the harvest.",
                               "Many students focus in the wrong subject.",
                               "They are interested for the garden."});
    expectFound("text.confused_word", {"We're worry about the harvest."});
}

TEST(Grammar, ReadsAClauseWithoutItsPronoun) {
    expectSound({"The fool you are makes me laugh.", "Everyone she had talked to knew the answer.",
                 "The tools you should be looking for include a rake and a spade."});
    expectFound("text.verb_form",
                {"They are makes a lot of noise.", "She wanted to knew the answer.",
                 "We looked for include a rake in the list."});
}

TEST(Articles, OfWhatGoesTogetherWithTheNextNoun) {
    expectSound({"The if statement was too long to read.",
                 "He wrote a page for house and garden owners.",
                 "That is beyond the realm of possibility.", "Physical activity is good for you.",
                 "It has a unidirectional valve and a unimodal curve."});
    expectFound("text.article",
                {"If student was late, the door was shut.",
                 "They are looking for house in the hills.", "It was an unidirectional valve."});
}

TEST(Capitals, BehindACommaAndAQuotationMark) {
    expectSound({"The mayor adds, \"It will take a year to mend the bridge.\"",
                 "She explained to him, “There may be three of them in the shed.”"});
}

TEST(ConfusedWords, AnAffectIsATermOfItsOwn) {
    expectSound({"The study measured negative affect, anger and sleep."});
    expectFound("text.confused_word", {"It had a negative affect on the harvest.",
                                       "The rain had positive affect on the harvest."});
}

TEST(WordFrames, FindWhatIsOftenMistakenInLetters) {
    expectFound("text.confused_word",
                {"We are grateful to you for you're patience in this matter.",
                 "Please move it too Monday, since the hall is taken.",
                 "It is important too check the tyres before the trip.",
                 "The town has changed it's name twice.", "There going to paint the fence in June.",
                 "Nobody knows who's bicycle was left in the yard.",
                 "The old pump is loosing water.", "Let's us meet at the gate.",
                 "We sold less tickets then last year."});
    expectFound("text.verb_form",
                {"You will find attach the plan of the garden.", "One of the windows are broken.",
                 "The list of the rooms are in the hall.",
                 "If we would have known, we had brought a tent.", "She should have came by train.",
                 "I'm used to have tea at four."});
    expectFound("text.usage", {"Could you tell me where is the key?",
                               "Nobody could explain how does the pump work.",
                               "The choir sings very good.", "We have met the mayor yesterday."});
}

TEST(WordFrames, LeaveSoundLettersAlone) {
    expectSound({"If there are more people then the hall is too small.",
                 "One of the windows that are broken is in the hall.",
                 "He ate it too, and so did they.", "The drill is used to have the holes ready.",
                 "She plays very good music.", "Tell me, where is the key?",
                 "I have read the letter that came yesterday.", "She bought a lamp yesterday.",
                 "Who's first is not known yet.", "The list of rooms is in the hall.",
                 "The windows of each of the rooms are open.", "It's the best of it's a deal."});
}

TEST(WordFrames, FindWhatIsOftenMistakenInShortNotes) {
    expectFound("text.confused_word",
                {"The popular believe is that cats dislike water.",
                 "She gave us good advise about the roof.",
                 "How to advice a new neighbour?",
                 "The shop asked for a prove of age.",
                 "Their complain about the noise was heard.",
                 "In the evening the street is very quite.",
                 "The lid doesn't quiet fit.",
                 "The salt in the soup had little affect.",
                 "The loud music can effect bird song in the spring, and we hear it.",
                 "I would walk rather then wait.",
                 "It is easier said then done.",
                 "Every now and than it rains.",
                 "Give the bone too the dog.",
                 "The table isn't to big for the hall.",
                 "There are two many cups on the table.",
                 "It is too good too be true.",
                 "The hall is cold, and witch is worse, dark.",
                 "Form time to time we meet at the well.",
                 "The mill stands far form the river.",
                 "This is a gift fro the children.",
                 "Old clocks are highly sort after.",
                 "She got used of the noise.",
                 "Nobody came a part from my brother.",
                 "After a year the old shed fell a part.",
                 "This is an exception of the rule.",
                 "How dose the pump work?",
                 "Did they every find the key?",
                 "I agree to some extend with the plan.",
                 "The mayor is not in anyway responsible.",
                 "We rested for awhile.",
                 "Once and awhile we go to the lake.",
                 "The letters went back in forth.",
                 "The two go hand and hand.",
                 "All and all the fair went well.",
                 "Paint, as oppose to paper, lasts.",
                 "What is this suppose to be?",
                 "I'm note sure about the date.",
                 "The dog cant find the ball.",
                 "I can't remember it's name.",

                 "Have your seen the new bridge?",
                 "If your thinking about a visit, write to us.",
                 "Them we went to the market.",
                 "I am glad to here that.",
                 "He hurt his spinal chord.",
                 "The song of the choir struck a cord with them.",
                 "We hope that you have a niece day.",
                 "Please feel fee to come.",
                 "The office stationary is on the shelf.",
                 "She won the constellation prize.",
                 "The disc break was worn.",
                 "He once served as an alter boy.",
                 "The old aircraft hanger is empty.",
                 "We must adopt to the new rules.",
                 "The answer eluded to a second letter.",
                 "The word was miss spelled.",
                 "They wrote an in depth guide.",
                 "The cat sleeps, where as the dog runs.",
                 "He left with out the key.",

                 "It was cold be cause of the wind.",
                 "There's no thing to eat in the house.",
                 "It snowed over night.",
                 "Once in my life time I saw it.",
                 "We saw that the news paper was on the table.",
                 "The bridge is the main bottle neck.",
                 "She is a free lance writer.",
                 "The game that we saw ended in a stale mate.",
                 "The on going work is loud.",
                 "The day was un usual.",
                 "They have under stood the plan.",
                 "We painted the door in the mean while.",
                 "She and her class mates are in the hall.",
                 "It is worth while to wait.",
                 "The rain was a minor set back.",
                 "Sometime I walk to the mill.",
                 "The weather took a turn for the worst.",
                 "It works the other way, vice a versa.",
                 "Ten years have past since the flood.",
                 "They drove pass the church.",
                 "Thanks for conforming the date.",
                 "This is to good to be true.",
                 "His point is mute.",
                 "The lamp was much toted.",
                 "It is true that everything was find.",
                 "The fair was a mixed bad.",
                 "The old judge was bias against the town.",
                 "I like theses apples.",
                 "It could seen strange to you."});
    expectFound(
        "text.verb_form",
        {"You could've ate the cake.", "They had play the game before.", "Did you forgot the key?",
         "Did the new students worked?", "We went there to explored the caves.",
         "I really likes the garden.", "I looking for the key.", "I are happy with the room.",
         "You're are welcome to all of the cake.", "One of the most cumbersome thing is the lock.",
         "Two criterion were met.", "I like this kind of things.",
         "Each times I visit the town, it rains.", "He worked for one hours.",
         "We saw that a hundreds people are in the hall.", "The level of details is high."});
    expectFound("text.usage", {"Neither the tea or the cake was good.",
                               "It is true that nobody told me nothing.",
                               "I wouldn't tell nobody about it.",
                               "The game is written on Python.",
                               "They have accused him for being late.",
                               "I am interested into buying a boat.",
                               "She assumed responsibility of the garden.",
                               "I need to information about the fair.",
                               "She is telling to them a story.",
                               "He gave the reason of being late.",
                               "Apart of this the plan is good.",
                               "The two towns went in war with the king.",
                               "It rained the whole entire day.",
                               "Explain me how the lock works.",
                               "He said me that the shop is closed.",
                               "The pump is capable to make ice.",

                               "Thanks for let me know.",
                               "He did a mistake when he wrote to the mayor.",
                               "It is true that in nowadays people are in a hurry.",
                               "She painted it by her own.",
                               "We meet at the morning.",
                               "The fair is on next week.",
                               "It depends from the weather.",
                               "The letter emphasizes on the cost."});
}

TEST(WordFrames, LeaveSoundShortNotesAlone) {
    expectSound({"They made her believe that it was late.",
                 "We can effect real change in the town.",
                 "The theory of affect and its effect are old.",
                 "Do that rather than this, then rest.",
                 "You too, my friend, may come.",
                 "He came, too, and saw the mill.",
                 "The witch is in the oven.",
                 "To and fro the swing went.",
                 "This sort, after all, is rare.",
                 "What dose should the cat get?",
                 "Every day they see the lake.",
                 "Extend the hose to the wall.",
                 "I suppose to some it is dull.",
                 "We note that the door is open.",
                 "The cant of the hall was odd.",
                 "It's name day in our house.",
                 "All it's about is the price.",
                 "That garden of your dreams is far.",
                 "They told them they would come.",
                 "The principal reason was the rain.",
                 "The pump was set back two hours.",
                 "Set the clock back a bit.",
                 "They sat over the night sky map.",
                 "The past has passed, and the walk past the mill was long.",
                 "They have work to do.",
                 "Did the man who worked here leave?",
                 "They were able to explore the caves.",
                 "How does it look, and what is it like?",
                 "One of the main country roads is closed.",
                 "One half hour is enough.",
                 "The hundreds of people were calm.",
                 "Neither the tea nor the cake was good, or so it seemed.",
                 "The note was written on Monday.",
                 "He was accused for the first time.",
                 "She is interested in boats.",
                 "I need to inform the mayor.",
                 "Explain to me how it works.",
                 "They say to me that it rains.",
                 "I look forward to meetings with her.",
                 "The date is subject to change, and sleep is key.",
                 "We meet in person and talk in detail."});
}

TEST(Agreement, OfPluralsThatAreToldByTheirEnding) {
    expectFound("text.agreement",
                {"The pallets was loaded on the truck by noon.",
                 "They wrote that the prices is too high.", "Our bikes was left in the rain."});
    expectSound({"The lens was too small for the frame.", "The campus is far from the town.",
                 "The height of the walls is two metres.", "We check that the headers is a list.",
                 "The news was good, and the series is long.",
                 "The boss is away, but the process is running.",
                 "Physics is hard, and the analysis was long."});
}

TEST(WordFrames, AreWellFormedAndSayWhatIsMeant) {
    for (const WordFrame& frame : wordFrames()) {
        EXPECT_TRUE(isWellFormed(frame)) << frame.words;
        EXPECT_FALSE(frame.meant.empty()) << frame.words;
    }
    EXPECT_FALSE(isWellFormed({"to @nothing", "", FrameKind::turn}));
    EXPECT_FALSE(isWellFormed({"@mark", "", FrameKind::turn}));
    EXPECT_FALSE(isWellFormed({"side|knock-on affects", "", FrameKind::turn}));
}

TEST(EnglishWords, KnowTheFormsOfVerbsAndNouns) {
    EXPECT_NE(classesOf("studies") & kAnyThird, 0U);
    EXPECT_NE(classesOf("preferred") & kRegularPast, 0U);
    EXPECT_NE(classesOf("making") & kIng, 0U);
    EXPECT_NE(classesOf("lying"), classesOf("making"));
    EXPECT_NE(classesOf("went") & kPastOnly, 0U);
    EXPECT_EQ(classesOf("bought") & kPastOnly, 0U);
    EXPECT_NE(classesOf("children") & kPlural, 0U);
    EXPECT_NE(classesOf("countries") & kPlural, 0U);
    EXPECT_NE(classesOf("easier") & kComparative, 0U);
    EXPECT_NE(classesOf("biggest") & kSuperlative, 0U);
    EXPECT_EQ(classesOf("xqwzvy"), 0U);
}

TEST(GrammarGrowth, IsModest) {
    for (const std::string piece :
         {"he ", "a ", "is to ", "one of the ", "because, ", "there are a big ", "the most more ",
          "I have not always ", "in the other hand ", "students who ", "don't ", "to always ",
          "let the user ", "for of it's "}) {
        expectModestGrowth(std::vector<std::size_t>{16'384, 65'536, 262'144},
                           [&](std::size_t bytes) {
                               std::string text = "This is what we have for them.\n\n";
                               while (text.size() < bytes) text += piece;
                               (void)critiqueText(textPart(text));
                           });
    }
}

} // namespace
} // namespace trevix
