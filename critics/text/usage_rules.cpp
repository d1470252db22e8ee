// Words taken for one another, comparison, and turns of phrase that English does not have.

#include "critics/text/grammar_rules.h"
#include "critics/text/text_rule_table.h"
#include "critics/text/turns_of_phrase.h"
#include "critics/text/word_frames.h"

#include <array>
#include <unordered_map>
#include <vector>

namespace trevix {

namespace {

constexpr GradedRule kConfused = declared<WorkKind::text>("text.confused_word", Severity::medium);
constexpr GradedRule kComparison = declared<WorkKind::text>("text.comparison", Severity::medium);
constexpr GradedRule kUsage = declared<WorkKind::text>("text.usage", Severity::medium);
constexpr GradedRule kVerbForm = declared<WorkKind::text>("text.verb_form", Severity::medium);

void confused(const EnglishSentence& s, std::size_t first, std::size_t last, const char* meant,
              GrammarReport& report) {
    report.add(kConfused, s, first, last,
               std::string("takes one word for another; “") + meant + "” may be meant");
}

void checkThereTheir(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    const std::size_t next = i + 1;
    if (s.word(i) == "their" &&
        (s.is(next, {"is", "are", "was", "were", "isn't", "aren't", "has", "have", "going"}))) {
        confused(s, i, next, s.word(next) == "going" ? "they're" : "there", report);
    }
    if (s.is(i, {"there", "they're"}) &&
        ((s.word(next) == "own" && !(s.glued(i) && s.has(i - 1, kPlural))) ||
         (s.is(next, {"parents", "family", "children", "kids", "lives", "friends", "homes",
                      "houses", "jobs", "minds"}) &&
          !s.has(i - 1, kBe | kModal) && !s.is(i - 1, {"been", "over", "out", "is"}))) &&
        s.endsPhrase(next) == (s.word(next) != "own")) {
        confused(s, i, next, "their", report);
    }
    if (s.word(i) == "they" &&
        s.is(next, {"parents", "children", "family", "friends", "kids", "jobs", "country",
                    "teacher", "teachers", "future", "lives", "life"}) &&
        !s.has(i - 1, kBe) && s.endsPhrase(next)) {
        confused(s, i, next, "their", report);
    }
    if (s.is(i, {"in", "of", "with", "to", "for", "about"}) && s.word(next) == "you" &&
        s.glued(i + 2) &&
        s.is(i + 2, {"life", "family", "parents", "friends", "children", "job", "country", "mind",
                     "body", "house", "friend"}) &&
        s.endsPhrase(i + 2)) {
        confused(s, next, i + 2, "your", report);
    }
    if (s.is(i,
             {"to", "for", "with", "of", "from", "help", "helps", "give", "tell", "let", "make"}) &&
        s.word(next) == "their" &&
        (i + 2 >= s.size() || s.is(i + 2, {"to", "when", "because", "if", "that"}) ||
         s.gap(i + 2) == ',' || s.gap(i + 2) == ';')) {
        confused(s, i, next, "them", report);
    }
}

void checkIts(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    const std::size_t next = i + 1;
    if (s.word(i) == "its" &&
        (s.is(next, {"a", "an", "the", "not", "been", "because", "my", "your", "what", "why", "how",
                     "always", "never", "really", "so", "too", "also", "actually", "probably"}) ||
         (s.has(next, kAdjective) && s.is(i + 2, {"to", "that"}) && s.glued(i + 2) &&
          s.is(next,
               {"important", "possible", "hard", "easy", "difficult", "necessary", "true", "good",
                "impossible", "obvious", "clear", "better", "dangerous", "useful"})))) {
        confused(s, i, next, "it's", report);
    }
    if (s.word(i) == "it's" && s.word(next) == "own") confused(s, i, next, "its", report);
    if (s.word(i) == "your" && (s.is(next, {"a", "an", "the", "not"}) ||
                                (s.word(next) == "going" && s.word(i + 2) == "to") ||
                                (s.word(next) == "welcome" && i + 2 >= s.size()))) {
        confused(s, i, next, "you're", report);
    }
    if (s.word(i) == "you're" &&
        s.is(next,
             {"own", "parents", "family", "life", "friends", "job", "name", "children", "house"}) &&
        s.endsPhrase(next)) {
        confused(s, i, next, "your", report);
    }
    if (s.word(i) == "who's" &&
        s.is(next, {"parents", "name", "life", "children", "job", "family"})) {
        confused(s, i, next, "whose", report);
    }
}

/// "positive affect, sleep and pain": a mood, which no article counts and nothing is done to.
bool isTermOfMoods(const EnglishSentence& s, std::size_t i) {
    return s.is(i, {"positive", "negative"}) && !(s.glued(i) && s.has(i - 1, kDeterminer)) &&
           !s.is(i + 2, {"on", "upon", "to", "for"});
}

void checkVerbLike(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    const std::size_t next = i + 1;
    const bool modal = s.has(i, kModal) || s.is(i, {"don't", "didn't", "doesn't", "to"});
    const bool subject = s.is(i, {"i", "we", "they", "you", "people"});
    if (s.is(i,
             {"could", "would", "should", "must", "might", "couldn't", "wouldn't", "shouldn't"}) &&
        s.word(next) == "of" && s.word(i + 2) != "course" && !s.has(i - 1, kDeterminer) &&
        !(s.word(i) == "might" && s.has(i - 1, kAdjective))) {
        confused(s, i, next, "have", report);
        return;
    }
    if (modal || subject) {
        if (s.word(next) == "loose" && s.glued(i + 2) &&
            s.is(i + 2, {"weight", "money", "time",  "control", "faith", "hope",       "interest",
                         "points", "sight", "track", "my",      "his",   "her",        "their",
                         "our",    "your",  "the",   "it",      "some",  "everything", "a"})) {
            confused(s, next, i + 2, "lose", report);
        }
        if (s.word(next) == "advice" && s.is(i + 2, {"you", "him", "her", "them", "us", "people",
                                                     "me", "students", "everyone"})) {
            confused(s, next, i + 2, "advise", report);
        }
        if (s.word(next) == "breath" &&
            (s.endsPhrase(next) || s.is(i + 2, {"fresh", "clean", "well", "properly", "easily"}))) {
            confused(s, i, next, "breathe", report);
        }
        if (s.word(next) == "safe" &&
            s.is(i + 2,
                 {"money", "time", "the", "our", "lives", "energy", "water", "your", "their"}) &&
            s.glued(i + 2)) {
            confused(s, next, i + 2, "save", report);
        }
        if (s.word(next) == "effect" &&
            s.is(i + 2, {"us", "people", "our", "them", "you", "me", "my", "your", "everyone",
                         "society", "children", "students"})) {
            confused(s, next, i + 2, "affect", report);
        }
    }
    if ((s.has(i, kModal) || s.is(i, {"don't", "didn't", "doesn't"})) &&
        !s.is(i, {"will", "can", "might", "must"})) {
        if (s.is(next, {"success"}) && s.endsPhrase(next)) confused(s, i, next, "succeed", report);
    }
    if ((s.has(i, kModal) || s.word(i) == "to") && s.word(next) == "choice" &&
        s.is(i + 2, {"the", "a", "to", "what", "one", "their", "my", "our"})) {
        confused(s, i, next, "choose", report);
    }
    if (s.has(i, kModal) && s.is(next, {"life"}) &&
        s.is(i + 2, {"in", "with", "a", "longer", "without"})) {
        confused(s, i, next, "live", report);
    }
    if (subject || s.word(i) == "strongly") {
        if (s.word(next) == "belief" && s.is(i + 2, {"that", "in", "it", "this", "the"})) {
            confused(s, i, next, "believe", report);
        }
        if (s.word(next) == "thing" &&
            s.is(i + 2, {"that", "it", "about", "this", "the", "they", "we"})) {
            confused(s, i, next, "think", report);
        }
    }
    if (s.is(i, {"my", "his", "her", "their", "our", "your"})) {
        if (s.word(next) == "live" && s.endsPhrase(next)) confused(s, i, next, "life", report);
        // "They made her believe that": "her" is an object too.
        const bool object =
            s.word(i) == "her" && i > 0 &&
            s.is(i - 1, {"make", "makes", "made", "making", "let", "lets", "help", "helps"});
        if (s.word(next) == "believe" && s.endsPhrase(next) && !object)
            confused(s, i, next, "belief", report);
    }
    if (s.is(i, {"some", "an", "good", "any", "best", "much", "bad"}) && s.word(next) == "advise" &&
        s.endsPhrase(next)) {
        confused(s, i, next, "advice", report);
    }
    if (s.is(i, {"a", "an", "bad", "good", "positive", "negative", "big", "great", "side",
                 "greenhouse", "harmful", "main"}) &&
        s.is(next, {"affect", "affects"}) && s.endsPhrase(next) && !s.has(next + 1, kDeterminer) &&
        !s.has(next + 1, kObject) && !s.is(next + 1, {"how", "what", "whether", "which"}) &&
        !isTermOfMoods(s, i)) {
        confused(s, i, next, "effect", report);
    }
}

void checkTooThen(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    const std::size_t next = i + 1;
    const bool be = s.is(i, {"is", "are", "was", "were", "am", "be", "it's", "i'm"});
    if (s.word(next) == "to" && s.glued(i + 2)) {
        if (be && s.is(i + 2, {"much",      "many",  "expensive", "late",      "big",  "small",
                               "difficult", "hard",  "high",      "low",       "busy", "young",
                               "old",       "short", "tired",     "dangerous", "far",  "easy",
                               "crowded",   "hot",   "cold",      "long"})) {
            confused(s, next, i + 2, "too", report);
        }
        if (s.is(i + 2, {"much", "many"}) &&
            s.is(i, {"have", "has", "spend", "spent", "eat", "drink", "use", "cost", "costs", "pay",
                     "take", "takes", "way", "not"})) {
            confused(s, next, i + 2, "too", report);
        }
    }
    if (s.word(next) == "too" && s.glued(i + 2) &&
        s.is(i, {"want", "wants", "wanted", "need", "needs", "able", "going", "try", "like",
                 "order", "supposed", "used", "have", "has"}) &&
        (s.has(i + 2, kPureBase) || s.is(i + 2, {"be", "work", "live", "study"}))) {
        confused(s, next, i + 2, "to", report);
    }
    if (s.word(next) == "then" && s.is(i, {"rather", "other"}) && s.glued(i + 2)) {
        confused(s, i, next, "than", report);
    }
    if (s.word(next) == "then" && s.glued(i + 2) &&
        ((s.is(i, {"more", "less", "fewer"}) && !s.before(i, {"if", "when", "once", "after"})) ||
         (s.has(i, kComparative) && !s.is(i, {"later", "earlier", "nearer"}) &&
          !s.before(i, {"if", "when", "once", "as", "after", "and"}))) &&
        (s.has(i + 2, kDeterminer | kPlural | kSingular | kIng) ||
         s.is(i + 2, {"it", "me", "him", "them", "us", "before", "ever", "in", "i", "you", "they",
                      "we", "he", "she"}))) {
        confused(s, i, next, "than", report);
    }
    // "less friends then my sister"
    if (s.word(next) == "then" && s.glued(i) && s.glued(i + 2) &&
        s.is(i - 1, {"more", "less", "fewer"}) && s.has(i, kPlural | kMass) &&
        !s.before(i, {"if", "when", "once", "after", "and"}) &&
        (s.has(i + 2, kDeterminer) || s.is(i + 2, {"i", "you", "they", "we", "he", "she", "last",
                                                   "before", "ever", "usual", "expected"}))) {
        confused(s, next, i + 2, "than", report);
    }
    if (s.word(next) == "than" && s.is(i, {"since", "back", "until"}) && s.has(i - 1, kFunction)) {
        confused(s, i, next, "then", report);
    }
    if (s.is(i, {"place", "city", "country", "house", "school", "room", "world", "situation",
                 "area"}) &&
        s.word(next) == "were" && s.is(i + 2, {"i", "you", "he", "she", "we", "they", "people"}) &&
        s.glued(i + 2)) {
        confused(s, i, next, "where", report);
    }
    if (s.is(i, {"they", "we"}) && s.word(next) == "where" && s.glued(i + 2) &&
        (s.has(i + 2, kIng | kAdjective) || s.is(i + 2, {"in", "at", "not", "the", "a"}))) {
        confused(s, i, next, "were", report);
    }
    if (s.word(i) == "quiet" &&
        s.is(next, {"often", "different", "difficult", "easy", "expensive", "sure", "well",
                    "similar", "a"}) &&
        i > 0) {
        confused(s, i, next, "quite", report);
    }
    if (s.word(i) == "weather" && s.is(next, {"or", "they", "we", "you", "to"}) && s.glued(next)) {
        if (s.word(next) != "or" || s.word(i + 2) == "not") confused(s, i, next, "whether", report);
    }
    if (s.word(i) == "of" && s.word(next) == "cause" &&
        (next + 1 >= s.size() || s.gap(next + 1) == ',')) {
        confused(s, i, next, "of course", report);
    }
    if (s.word(i) == "may" && s.word(next) == "be" && i == 0 &&
        s.is(i + 2,
             {"it", "they", "he", "she", "we", "you", "i", "the", "there", "this", "that"})) {
        confused(s, i, next, "maybe", report);
    }
    if (s.is(i, {"it", "i", "you", "we", "they", "he", "she", "this", "that"}) &&
        s.is(next, {"wont", "cant"}) && s.glued(i + 2)) {
        confused(s, i, next, s.word(next) == "wont" ? "won't" : "can't", report);
    }
    if (s.is(i, {"im",      "ive",      "hes",    "shes",  "theyre", "youre",  "dont",
                 "doesnt",  "didnt",    "isnt",   "arent", "wasnt",  "werent", "wouldnt",
                 "couldnt", "shouldnt", "havent", "hasnt", "thats",  "whats"}) &&
        !s.allUpper(i) && s.has(next, kFunction | kBase | kIng | kAdjective)) {
        report.add(report.forHabit(kConfused), s, i, i, "lacks its apostrophe");
    }
}

void checkEveryday(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i) == "everyday" && i > 0 && !s.has(i - 1, kDeterminer) &&
        !s.is(i - 1, {"of", "in", "for", "with"}) &&
        (i + 1 >= s.size() || s.gap(i + 1) == ',' || s.gap(i + 1) == '.' ||
         s.is(i + 1, {"and", "in", "on", "at", "to", "because", "we", "i", "they", "he", "she",
                      "you", "when", "so", "but", "is", "by"}))) {
        confused(s, i, i, "every day", report);
    }
    if (s.glued(i + 1) && s.is(i, {"every", "some", "any"}) && s.word(i + 1) == "body" &&
        s.is(i + 2, {"has", "have", "is", "wants", "knows", "needs", "should", "can", "will", "who",
                     "know", "want"})) {
        confused(s, i, i + 1, "-body in one word", report);
    }
    if (s.glued(i + 1) && s.word(i) == "every" && s.word(i + 1) == "thing" && s.endsPhrase(i + 1)) {
        confused(s, i, i + 1, "everything", report);
    }
    if (s.glued(i + 1) &&
        ((s.is(i, {"my", "your", "him", "her", "it"}) && s.word(i + 1) == "self" &&
          !s.has(i - 1, kDeterminer)) ||
         (s.is(i, {"them", "our", "their", "there"}) && s.is(i + 1, {"self", "selves"}))) &&
        s.endsPhrase(i + 1)) {
        confused(s, i, i + 1, "-self in one word", report);
    }
}

/// The pronoun "I" in lower case, where a verb shows that it is one.
void checkSmallI(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.capital(i)) return;
    const bool short_ = s.is(i, {"i'm", "i've", "i'll", "i'd"});
    // In notes on code it may be the name of a counter.
    const std::uint32_t verbs =
        report.technical() ? 0U : kPast | kPastOnly | kRegularPast | kPureBase | kLatePast;
    const bool pronoun =
        s.word(i) == "i" && s.glued(i + 1) &&
        (s.is(i + 1, {"am",       "have", "was",  "think", "will",   "would",   "can",    "do",
                      "don't",    "had",  "want", "like",  "know",   "believe", "agree",  "could",
                      "should",   "need", "feel", "love",  "went",   "can't",   "didn't", "mean",
                      "disagree", "hope", "saw",  "get",   "really", "also",    "live",   "never",
                      "always",   "just", "did",  "found", "guess",  "still"}) ||
         (s.has(i + 1, verbs) && !s.has(i + 1, kAdjective)));
    if (!short_ && !pronoun) return;
    report.add(report.forHabit(kConfused), s, i, i, "is written with a capital: “I”");
}

using Turns = std::unordered_map<std::string_view, std::vector<const Turn*>>;

std::string_view firstWordOf(std::string_view words) {
    return words.substr(0, words.find(' '));
}

const Turns& turns() {
    static const Turns made = [] {
        Turns byFirst;
        for (const Turn& turn : turnsOfPhrase()) {
            byFirst[firstWordOf(turn.words)].push_back(&turn);
        }
        return byFirst;
    }();
    return made;
}

void checkTurns(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const auto found = turns().find(s.word(i));
    if (found == turns().end()) return;
    for (const Turn* turn : found->second) {
        std::string_view rest = turn->words;
        const bool ends = rest.ends_with("~");
        if (ends) rest.remove_suffix(1);
        std::size_t at = i;
        bool same = true;
        while (!rest.empty() && same) {
            const std::string_view word = firstWordOf(rest);
            same = s.word(at) == word && (at == i || s.glued(at));
            rest.remove_prefix(std::min(word.size() + 1, rest.size()));
            ++at;
        }
        if (!same || (ends && !s.endsPhrase(at - 1))) continue;
        report.add(kUsage, s, i, at - 1,
                   "is no turn of English; “" + std::string(turn->meant) + "” may be meant");
        return;
    }
}

void checkFrames(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    // "Although it rains, but we go"
    if (i == 0 &&
        (s.is(0, {"although", "though"}) || (s.word(0) == "even" && s.word(1) == "though"))) {
        for (std::size_t k = 3; k < s.size(); ++k) {
            if (s.word(k) == "but" && s.gap(k) == ',') {
                report.add(kUsage, s, k, k, "joins once more what “although” has joined already");
                break;
            }
            if (s.gap(k) == ',' || s.gap(k) == ';') break;
        }
    }
    if (i == 0 && s.word(0) == "because" && s.word(1) != "of") {
        for (std::size_t k = 3; k < s.size(); ++k) {
            if (s.word(k) == "so" && s.gap(k) == ',' &&
                s.is(k + 1, {"i", "we", "they", "he", "she", "it", "you", "the", "people"})) {
                report.add(kUsage, s, k, k, "joins once more what “because” has joined already");
                break;
            }
            if (s.gap(k) == ',' || s.gap(k) == ';') break;
        }
    }
    // "Lot of", without "a"
    if (s.word(i) == "lot" && s.word(i + 1) == "of" &&
        (i == 0 ||
         s.is(i - 1, {"have",  "has",     "had",   "is",    "are",    "be",   "was",  "were",
                      "spend", "learn",   "of",    "there", "with",   "in",   "get",  "got",
                      "gets",  "need",    "and",   "takes", "take",   "so",   "make", "makes",
                      "made",  "know",    "to",    "for",   "about",  "from", "by",   "having",
                      "gave",  "give",    "gives", "find",  "found",  "see",  "saw",  "earn",
                      "but",   "because", "that",  "cause", "causes", "buy",  "using"}))) {
        report.add(kUsage, s, i, i + 1, "lacks its article: “a lot of”");
    }
    // "It important to", "they happy"
    if (s.is(i, {"it", "they", "he", "she", "we", "i"}) && s.glued(i + 1) && i > 0 &&
        s.is(i - 1, {"because", "that", "but", "although", "since"}) && s.glued(i) &&
        s.is(i + 1,
             {"important", "difficult", "possible", "necessary", "impossible", "dangerous", "happy",
              "useful", "expensive", "able", "easy", "not", "very", "afraid", "busy", "tired"}) &&
        (s.endsPhrase(i + 1) || s.has(i + 2, kAdjective)) &&
        (s.word(i + 1) != "not" || s.has(i + 2, kAdjective) || s.is(i + 2, {"a", "the"}))) {
        report.add(kUsage, s, i, i + 1, "lacks its verb");
    }
    if (i == 0 && s.is(0, {"it", "they", "he", "she", "we"}) && s.glued(1) &&
        s.is(1, {"important", "difficult", "possible", "necessary", "impossible", "dangerous",
                 "happy", "useful", "expensive", "able", "very", "not"}) &&
        (s.word(1) != "not" || s.is(2, {"a", "the"}) || s.has(2, kAdjective))) {
        report.add(kUsage, s, 0, 1, "lacks its verb");
    }
    // "have 20 years old"
    if (s.is(i, {"have", "has", "had"}) && s.word(i + 2) == "years" && s.word(i + 3) == "old") {
        report.add(kUsage, s, i, i + 3, "says an age with “have”, which wants “be”");
    }
    // "since two years"
    if (s.word(i) == "since" && s.glued(i + 1) &&
        s.is(i + 1, {"two", "three", "four", "five", "six", "ten", "many", "several"}) &&
        s.is(i + 2, {"years", "months", "weeks", "days", "hours"}) && s.word(i + 3) != "ago") {
        report.add(kUsage, s, i, i + 2, "measures a time with “since”, which wants “for”");
    }
    // "with they", "about he"
    if (s.is(i, {"with", "from", "about", "to", "of", "at", "between"}) && s.glued(i + 1) &&
        s.is(i + 1, {"they", "he", "she", "we"}) &&
        (i + 2 >= s.size() || s.gap(i + 2) == ',' || s.gap(i + 2) == '.' ||
         s.is(i + 2, {"and", "for", "in"}))) {
        report.add(kUsage, s, i, i + 1, "needs the object form behind its preposition");
    }
    if (i == 0 && s.is(0, {"them", "him", "me"}) && s.has(1, kBe) && s.glued(1)) {
        report.add(kUsage, s, 0, 1, "needs the subject form");
    }
    if (s.is(i, {"i", "we", "they"}) && s.word(i + 1) == "very" &&
        s.is(i + 2, {"like", "love", "enjoy", "want", "hope", "agree", "need"}) && s.glued(i + 2)) {
        report.add(kUsage, s, i + 1, i + 2, "has “very” before a verb, which wants “really”");
    }
    if (s.is(i, {"too"}) && s.word(i + 1) == "much" && s.glued(i + 2) && s.has(i + 2, kAdjective) &&
        !s.has(i + 2, kSingular | kPlural) && s.endsPhrase(i + 2) && !s.has(i + 2, kComparative)) {
        report.add(kUsage, s, i, i + 2, "has “much” before an adjective, which wants “too” alone");
    }
}

void sayFrame(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const auto match = frameAt(s, i);
    if (!match) return;
    const std::string meant(match->frame->meant);
    switch (match->frame->kind) {
    case FrameKind::confusion:
        report.add(kConfused, s, match->first, match->last,
                   "takes one word for another; “" + meant + "” may be meant");
        break;
    case FrameKind::form:
        report.add(kVerbForm, s, match->first, match->last,
                   "has a form that cannot stand there; meant may be: " + meant);
        break;
    case FrameKind::turn:
        report.add(kUsage, s, match->first, match->last,
                   "is no turn of English; meant may be: " + meant);
        break;
    }
}

} // namespace

void checkComparison(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i + 1 < s.size(); ++i) {
        if (!s.glued(i + 1)) continue;
        const std::size_t next = i + 1;
        if (s.is(i, {"more", "most"})) {
            const bool noun = s.has(next + 1, kPlural | kSingular) && s.glued(next + 1);
            const bool clear = s.is(next, {"better", "worse", "easier", "happier"});
            const bool best = s.word(i) == "most" && s.has(next, kSuperlative);
            if ((s.has(next, kComparative) && (clear || !noun)) || best ||
                (s.word(i) == "more" && s.has(next, kSuperlative) && !noun)) {
                report.add(kComparison, s, i, next, "compares twice");
                continue;
            }
            if (s.word(i) == "more" &&
                s.is(next, {"easy", "big", "small", "cheap", "fast", "high", "low", "old", "young",
                            "long", "short", "bad", "good", "rich", "poor", "strong", "healthy",
                            "happy", "safe"}) &&
                (s.word(next + 1) == "than" ||
                 (i > 0 && s.has(i - 1, kBe) && s.endsPhrase(next) && !s.is(next, {"happy"}) &&
                  s.word(next + 1) != "and"))) {
                report.add(kComparison, s, i, next,
                           "has a comparative of its own: the form in “-er”");
            }
        }
        if (s.is(i, {"worser", "bestest", "gooder", "badder", "worstest", "betterer"})) {
            report.add(kComparison, s, i, i, "compares twice");
        }
        if (s.word(i) == "the" && s.has(next, kComparative) && s.word(next + 1) == "than" &&
            s.glued(next + 1)) {
            report.add(kComparison, s, i, next + 1, "has an article before a comparative");
        }
        if (s.word(i) == "as" && s.has(next, kComparative) && s.word(next + 1) == "as") {
            report.add(kComparison, s, i, next + 1, "compares twice");
        }
    }
}

void checkConfusedWords(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkThereTheir(s, i, report);
        checkIts(s, i, report);
        checkVerbLike(s, i, report);
        checkTooThen(s, i, report);
        checkEveryday(s, i, report);
        checkSmallI(s, i, report);
    }
}

void checkUsage(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkTurns(s, i, report);
        checkFrames(s, i, report);
    }
}

void checkWordFrames(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) sayFrame(s, i, report);
}

} // namespace trevix
