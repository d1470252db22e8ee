// Singular, plural and the article: "these thing", "a cars", "many informations", "is good idea".

#include "critics/text/grammar_rules.h"
#include "critics/text/text_rule_table.h"
#include "text/one_of.h"

#include <array>

namespace trevix {

namespace {

constexpr GradedRule kNumber = declared<WorkKind::text>("text.number", Severity::medium);
constexpr GradedRule kArticle = declared<WorkKind::text>("text.article", Severity::medium);

constexpr std::uint32_t kDescribing = kAdjective | kComparative | kSuperlative;

void say(const EnglishSentence& s, std::size_t first, std::size_t last, const char* says,
         GrammarReport& report) {
    report.add(kNumber, s, first, last, says);
}

/// From `i` on past adjectives, all glued; the size when the words end before.
std::size_t pastAdjectives(const EnglishSentence& s, std::size_t i) {
    std::size_t at = i;
    while (at < i + 3 && s.glued(at) &&
           (s.has(at, kDescribing) || s.is(at, {"most", "more", "very"})) &&
           !s.has(at, kSingular | kPlural)) {
        ++at;
    }
    return s.glued(at) ? at : s.size();
}

bool isCount(const EnglishSentence& s, std::size_t i) {
    return s.is(i, {"two", "three", "four", "five", "six", "seven", "eight", "nine", "ten"});
}

void checkPluralWanted(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool many = s.is(i, {"many", "several", "few", "various", "numerous", "these", "those"});
    if (!many && !isCount(s, i)) return;
    // "A few", "many a day"; "as many as two".
    const std::size_t at = pastAdjectives(s, i + 1);
    if (at >= s.size()) return;
    if (s.has(at, kMass) && !s.has(at, kAdjective) && s.endsPhrase(at)) {
        if (isCount(s, i)) return;
        say(s, i, at, "counts what cannot be counted", report);
        return;
    }
    // "Many researcher argue": behind the noun its verb.
    const bool ends = s.endsPhrase(at) || (s.glued(at + 1) && s.has(at + 1, kPureBase | kPast));
    // "Various business and finance roles": of these more go before another noun.
    const bool open = s.has(at, kOpenCount) && !report.technical() && !s.is(at + 1, {"and", "or"});
    if (!(s.has(at, kSingular) || open) || s.has(at, kPlural) || !ends) return;
    if (s.is(at + 1, {"a", "an", "old"}) || s.capital(at)) return;
    if (isCount(s, i) &&
        (i == 0 || s.has(i - 1, kSingular) || s.is(i - 1, {"day", "chapter", "part"})))
        return;
    say(s, i, at, "needs the plural", report);
}

void checkAll(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"all", "most", "some"})) return;
    std::size_t at = i + 1;
    if (s.word(at) == "of" && s.glued(at)) {
        ++at;
        if (!s.glued(at)) return;
        if (!s.is(at, {"the", "my", "our", "their", "these", "those", "his", "her", "your"})) {
            // "Most of people"
            const std::size_t noun = pastAdjectives(s, at);
            if (noun < s.size() && s.has(noun, kPlural) && !s.has(noun, kAdjective) &&
                s.endsPhrase(noun)) {
                say(s, i, noun, "lacks an article behind “of”", report);
            }
            return;
        }
        ++at;
    } else if (s.word(i) == "some") {
        return;
    } else if (s.is(at, {"the", "my", "our", "their", "these", "those"})) {
        ++at;
    }
    const std::size_t noun = pastAdjectives(s, at);
    if (noun >= s.size() || !s.glued(i + 1) || !s.has(noun, kSingular) || !s.endsPhrase(noun))
        return;
    const bool sure =
        s.has(noun, kPerson) ||
        s.is(noun, {"problem", "reason", "thing", "idea", "example", "subject", "student",
                    "activity", "country", "car", "skill", "product", "place", "word", "question"});
    const bool whole =
        s.is(noun, {"country", "city", "place"}) && s.is(noun - 1, {"the", "my", "our", "their"});
    if (!sure || whole || s.is(i - 1, {"at", "the"})) return;
    if (s.word(i) == "some" && !s.has(noun, kPerson)) return;
    if (s.word(i) == "most" && s.has(noun - 1, kAdjective)) return; // "the most important thing"
    say(s, i, noun, "needs the plural", report);
}

void checkSingularWanted(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool article = s.is(i, {"a", "an"});
    const bool each = s.is(i, {"each", "every", "another"});
    const bool here = s.word(i) == "this";
    if (!article && !each && !here) return;
    if (article && (s.capital(i) && i > 0)) return;
    const std::size_t at = pastAdjectives(s, i + 1);
    if (at >= s.size() || s.capital(at)) return;
    for (std::size_t k = i + 1; k < at; ++k) {
        if (s.is(k, {"few", "good", "great", "more"}) && article) return;
    }
    if (s.has(at, kMass) && !s.has(at, kAdjective) && s.endsPhrase(at) &&
        s.is(at, {"information", "advice", "furniture", "equipment", "homework", "luggage",
                  "baggage", "software", "housework", "electricity", "news", "traffic"})) {
        if ((article && !s.is(i - 1, {"such"})) || (each && s.endsPhrase(at))) {
            say(s, i, at, "counts what cannot be counted", report);
        }
        return;
    }
    if (!s.has(at, kPlural) || s.has(at, kSingular | kAdjective | kBase) || s.has(at, kThird))
        return;
    if (s.word(at) == "people") {
        if (each) say(s, i, at, "needs the singular", report);
        if (!here) return;
    }
    if (s.is(at, {"means", "sports", "glasses", "plans", "works", "needs"})) return;
    if (here && !(i == 0 || s.has(i - 1, kFunction) || s.has(i - 1, kBase))) return;
    // "a customers' choice", "every two weeks"
    if (!s.endsPhrase(at)) return;
    if (each && s.has(at, kMeasure)) return;
    say(s, i, at, "needs the singular", report);
}

void checkMuch(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i) != "much") return;
    const std::size_t at = pastAdjectives(s, i + 1);
    if (at >= s.size() || !s.has(at, kPlural) || s.has(at, kMeasure)) return;
    for (std::size_t k = i + 1; k < at; ++k) {
        if (s.has(k, kComparative | kSuperlative) || s.is(k, {"more", "most"})) return;
    }
    say(s, i, at, "needs “many”, since these can be counted", report);
}

void checkOneOf(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i) != "one" || s.word(i + 1) != "of" || !s.glued(i + 1)) return;
    if (!s.is(i + 2,
              {"the", "my", "our", "his", "her", "their", "these", "those", "your", "its"})) {
        const std::size_t bare = pastAdjectives(s, i + 2);
        if (bare < s.size() && bare > i + 2 && s.has(bare, kSingular) && s.endsPhrase(bare) &&
            s.word(i + 2) != "a") {
            say(s, i, bare, "needs the plural", report);
        }
        return;
    }
    const std::size_t at = pastAdjectives(s, i + 3);
    if (at >= s.size() || !s.has(at, kSingular) || s.has(at, kPlural) || !s.endsPhrase(at)) return;
    if (s.word(at + 1) == "of" && s.is(at, {"couple", "team", "group"})) return;
    say(s, i, at, "needs the plural", report);
}

void checkOther(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    if (s.word(i) == "others" && s.has(i + 1, kPlural) && !s.has(i + 1, kThird | kBase)) {
        say(s, i, i + 1, "has a plural ending that adjectives do not have", report);
        return;
    }
    if (s.word(i) != "other") return;
    const std::size_t noun = i + 1;
    if (!s.has(noun, kStrict) || s.has(noun, kAdjective | kMeasure) || !s.endsPhrase(noun)) return;
    if (i > 0 && s.glued(i) &&
        (s.is(i - 1, {"the", "any",     "no",   "each",  "every", "some", "one",  "my",
                      "his", "her",     "our",  "their", "your",  "its",  "this", "that",
                      "an",  "another", "what", "which", "whose", "only"}) ||
         s.word(i - 1).ends_with("'s") || s.word(i - 1).ends_with("s'") ||
         s.has(i - 1, kAdjective))) {
        return;
    }
    if (i > 0 && s.gap(i) == '\'') return;
    say(s, i, noun, "needs the plural or an article", report);
}

/// "in certain thing": what is certain without a determiner is several.
void checkCertain(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"certain", "different"}) || i == 0 || !s.glued(i) || !s.glued(i + 1)) return;
    const std::size_t noun = i + 1;
    if (!s.has(noun, kStrict) || s.has(noun, kAdjective | kMeasure | kBase)) return;
    if (!s.endsPhrase(noun) || s.capital(noun)) return;
    // A determiner or an adverb in front makes it one thing: "a very different person".
    if (!s.has(i - 1, kPreposition | kPureBase)) return;
    say(s, i, noun, "needs the plural or an article", report);
}

void checkLot(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool lot = (s.word(i) == "lot" && s.word(i - 1) == "a") || s.word(i) == "lots";
    if ((!lot && s.word(i) != "plenty") || s.word(i + 1) != "of") return;
    const std::size_t at = pastAdjectives(s, i + 2);
    if (s.is(at, {"room", "space", "sun", "light", "life", "food", "fun"})) return;
    if (at >= s.size() || !s.has(at, kSingular) || s.has(at, kMass | kBase) || !s.endsPhrase(at))
        return;
    say(s, i, at, "needs the plural", report);
}

/// "a number of car", "hundreds of student"
void checkNumberOf(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i + 1) != "of" || !s.glued(i + 1)) return;
    if (!s.is(i, {"number", "numbers", "variety", "hundreds", "thousands", "millions", "majority",
                  "dozens"})) {
        return;
    }
    const std::size_t at = pastAdjectives(s, i + 2);
    if (at >= s.size() || !s.has(at, kSingular) || s.has(at, kMass | kBase) || !s.endsPhrase(at))
        return;
    say(s, i, at, "needs the plural", report);
}

/// "2th", "1th"
void checkOrdinal(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const std::string_view word = s.word(i);
    if (!s.digits(i) || word.size() < 3 || word.size() > 6) return;
    const std::string_view ending = word.substr(word.size() - 2);
    const std::string_view figures = word.substr(0, word.size() - 2);
    if (figures.find_first_not_of("0123456789") != std::string_view::npos) return;
    if (ending != "th" && ending != "st" && ending != "nd" && ending != "rd") return;
    const char last = figures.back();
    const bool teen = figures.size() > 1 && figures[figures.size() - 2] == '1';
    const std::string_view right = teen          ? "th"
                                   : last == '1' ? "st"
                                   : last == '2' ? "nd"
                                   : last == '3' ? "rd"
                                                 : "th";
    // "1 2th" is a figure that came apart.
    if (s.glued(i) && s.digits(i - 1)) return;
    if (ending != right) say(s, i, i, "has the ending of another number", report);
}

void checkKinds(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"kind", "type", "sort"}) || s.word(i + 1) != "of" || !s.glued(i)) return;
    if (!s.is(i - 1, {"many", "several", "various", "all", "two", "three", "different"})) {
        return;
    }
    if (s.word(i - 1) == "different" && i >= 2 && s.has(i - 2, kDeterminer | kAdjective | kAdverb))
        return;
    if (s.word(i - 1) == "different" && i >= 2 &&
        s.is(i - 2, {"very", "completely", "totally", "whole", "entirely", "slightly"}))
        return;
    say(s, i - 1, i, "needs the plural", report);
}

constexpr std::array<std::string_view, 42> kNoPlural = {
    "informations", "advices",       "furnitures",      "equipments", "knowledges",  "homeworks",
    "luggages",     "baggages",      "softwares",       "hardwares",  "machineries", "sceneries",
    "childrens",    "mens",          "womens",          "childs",     "persones",    "moneys",
    "musics",       "peoples",       "transportations", "evidences",  "traffics",    "pollutions",
    "livestocks",   "medias",        "fundings",        "feedbacks",  "stuffs",      "slangs",
    "weathers",     "electricities", "clothings",       "jewelries",  "cattles",     "aircrafts",
    "offsprings",   "violences",     "happinesses",     "garbages",   "rubbishes",   "sunlights"};

void checkWrongPlural(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!text::isOneOf(s.word(i), kNoPlural)) return;
    if (s.word(i) == "peoples") {
        const bool few = i > 0 && s.is(i - 1, {"many", "some", "most", "other", "young", "old",
                                               "rich", "poor", "more", "few", "several", "these",
                                               "those", "because", "that", "normal", "busy"});
        if (i > 0 && !few) return;
    }
    if (s.word(i) == "evidences" && s.has(i + 1, kDeterminer)) return; // The verb.
    say(s, i, i, "is no plural of English", report);
}

// Articles -------------------------------------------------------------------------------------

bool beginsWith(std::string_view word, std::initializer_list<std::string_view> starts) {
    for (const std::string_view start : starts) {
        if (word.starts_with(start)) return true;
    }
    return false;
}

/// 1 where the word is spoken with a vowel first, 0 where not, -1 where that is open.
int vowelSound(std::string_view word) {
    if (word.size() < 2) return -1;
    const char first = word[0];
    if (beginsWith(word, {"hour", "honest", "honor", "honour", "heir"})) return 1;
    if (first == 'h') {
        return beginsWith(word, {"hist", "hotel", "habit", "herb", "hal", "heroi", "hil", "hor",
                                 "hyp", "hosp", "html", "http", "hum"})
                   ? -1
                   : 0;
    }
    if (first == 'u') {
        if (word.starts_with("uni")) {
            // "unidirectional" is of one, "unidentified" is not.
            const bool one = beginsWith(word, {"unidir", "unidim", "unimod", "unimol"});
            return !one && beginsWith(word, {"unin", "unim", "unid", "unir"}) ? 1 : 0;
        }
        if (beginsWith(word,
                       {"use", "usu", "usa", "uti", "ute", "uto",  "ubi", "ura", "uri", "eu",
                        "uk",  "url", "usb", "ui",  "ux",  "uuid", "utf", "uu",  "usd", "ut"})) {
            return beginsWith(word, {"use", "usu", "usa", "uti", "uto", "ubi"}) ? 0 : -1;
        }
        return 1;
    }
    if (beginsWith(word, {"eu", "ewe", "one", "once", "oui", "ouij"})) {
        return word == "oneself" || beginsWith(word, {"one", "once", "eu", "ewe"}) ? 0 : -1;
    }
    if (first == 'a' || first == 'e' || first == 'i' || first == 'o') return 1;
    if (first == 'y')
        return word.size() > 1 && (word[1] == 'a' || word[1] == 'e' || word[1] == 'o') ? 0 : -1;
    if (first < 'a' || first > 'z') return -1;
    // Letters spelled out: "an mp3", "an ssh key".
    bool vowel = false;
    for (const char c : word)
        vowel = vowel || c == 'a' || c == 'e' || c == 'i' || c == 'o' || c == 'u' || c == 'y';
    // No word of English begins so; the letters are spelled out: "an sdist", "an HTTP".
    constexpr std::array<std::string_view, 24> kSpelledOut = {
        "bp", "cd", "cp", "cv", "db", "dh", "dn", "dp", "fd", "fp", "fs", "ht",
        "lc", "ld", "mc", "md", "mk", "mp", "nc", "rf", "rs", "sd", "sr", "sv"};
    if (text::isOneOf(word.substr(0, 2), kSpelledOut)) return -1;
    return vowel && word.size() > 2 ? 0 : -1;
}

void checkAn(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"a", "an"}) || !s.glued(i + 1)) return;
    const std::size_t next = i + 1;
    if (s.digits(next) || s.allUpper(next) || s.allUpper(i) != (s.word(i) == "a" && s.capital(i)))
        return;
    if (s.capital(i) && i > 0) return; // A grade, a name.
    if (s.capital(next) && !s.has(next, kAdjective | kSingular))
        return; // Names sound as they like.
    if (s.has(next, kFunction) && !s.has(next, kAdjective) &&
        !s.is(next, {"only", "already", "even", "about", "other", "under"})) {
        return;
    }
    if (i > 0 &&
        s.is(i - 1, {"vitamin", "plan", "option", "type", "grade", "group", "hepatitis", "class",
                     "appendix", "section", "part", "step", "variable", "note"})) {
        return;
    }
    const int sound = vowelSound(s.word(next));
    if (sound < 0) return;
    const bool an = s.word(i) == "an";
    if (an == (sound == 1)) return;
    report.add(kArticle, s, i, next, an ? "needs “a”, not “an”" : "needs “an”, not “a”");
}

void checkDoubledDeterminer(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1) || s.capital(i + 1)) return;
    const bool article = s.is(i, {"the", "a", "an"});
    const bool whose = s.is(i, {"my", "our", "their"});
    const bool article2 = s.is(i + 1, {"the", "a", "an"});
    const bool whose2 = s.is(i + 1, {"my", "our", "their", "its", "your", "these", "those", "his"});
    if (i > 0 && s.gap(i) == '"') return;
    if ((article && whose2) || (whose && article2) ||
        (article && article2 && s.word(i) != s.word(i + 1))) {
        report.add(kArticle, s, i, i + 1, "has two determiners where one can stand");
    }
}

/// "good idea" without an article, from `i` on: the index of its noun, or the size.
std::size_t bareNoun(const EnglishSentence& s, std::size_t i) {
    std::size_t at = i;
    while (at < i + 4 && s.glued(at) &&
           ((s.has(at, kDescribing) && !s.has(at, kSingular | kDeterminer)) ||
            s.is(at, {"very", "really"}))) {
        ++at;
    }
    if (!s.glued(at) || !s.has(at, kSingular) || s.has(at, kAdjective | kPlural)) return s.size();
    if (s.capital(at) || !s.endsPhrase(at) || s.has(at, kMass)) return s.size();
    // "is person who" ends a phrase; "is day and night" is an idiom.
    if (s.is(at + 1, {"by", "after"}) && s.word(at + 2) == s.word(at)) return s.size();
    if (s.is(at,
             {"language", "experience", "truth", "history", "conclusion", "company", "school",
              "university", "theory", "argument", "factor", "place", "result", "character",
              "tradition", "table", "skill", "concept", "king", "queen", "manager", "leader",
              "mother", "mom", "dad", "bed", "church", "effort", "week", "month", "year", "day",
              "conversation", "disease", "ability", "lake", "organization", "occupation", "state",
              "purpose", "exam", "lie", "task", "test", "hospital", "community", "speech", "talk",
              // Offices: "is president of", "was made editor".
              "president", "mayor", "minister", "secretary", "ambassador", "champion", "editor",
              "owner", "professor", "supervisor", "boss", "partner", "producer", "judge",
              "opponent", "candidate", "captain", "landlord"})) {
        return s.size();
    }
    return at;
}

/// "for house and garden owners": whether the noun goes with the one behind "and", and both with a
/// third one that is the head of all.
bool isSharedByNext(const EnglishSentence& s, std::size_t noun) {
    const std::size_t head = noun + 3;
    return s.is(noun + 1, {"and", "or"}) && s.glued(noun + 1) && s.glued(noun + 2) &&
           s.glued(head) &&
           !s.has(noun + 2, kFunction | kBe | kModal | kDeterminer | kThird | kPast | kRegularPast |
                                kPureBase) &&
           !s.has(head, kFunction | kBe | kModal | kDeterminer);
}

void checkMissingArticle(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const char* says = "lacks an article";
    if (s.is(i, {"is", "was", "it's", "isn't", "wasn't", "am", "i'm", "he's", "she's"}) && i > 0) {
        std::size_t at = i + 1;
        if (s.word(at) == "not" && s.glued(at)) ++at;
        const std::size_t noun = bareNoun(s, at);
        // "Is key", "is subject to change": as good as adjectives.
        if (noun < s.size() && !s.before(i, {"as"}) &&
            !s.is(noun, {"person", "relative", "key", "subject"})) {
            report.add(kArticle, s, i, noun, says);
        }
        return;
    }
    if (s.is(i, {"have",  "has",   "had",  "buy",    "bought", "need",   "needs", "find",
                 "get",   "got",   "give", "gives",  "make",   "makes",  "made",  "want",
                 "wants", "drive", "own",  "choose", "become", "became", "take",  "gave"})) {
        const std::size_t noun = bareNoun(s, i + 1);
        if (noun >= s.size()) return;
        if (s.has(i, kBase) && i > 0 && s.has(i - 1, kAdjective | kDeterminer)) return;
        if (s.is(i, {"need", "own", "drive", "want"}) && i > 0 && s.has(i - 1, kDeterminer)) return;
        if (s.is(i, {"make", "makes", "made", "find", "get", "got", "take"}) && noun == i + 1 &&
            !s.is(noun,
                  {"mistake", "decision", "job", "car", "house", "solution", "reason", "ticket",
                   "difference", "suggestion", "problem", "example", "opportunity", "chance"})) {
            return;
        }
        report.add(kArticle, s, i, noun, says);
        return;
    }
    if (s.is(i, {"in", "for", "with", "of", "from", "to", "on", "about", "as", "at"})) {
        const std::size_t noun = bareNoun(s, i + 1);
        if (noun >= s.size()) return;
        const bool adjective = noun > i + 1;
        if (!adjective && (!s.has(noun, kStrict) || s.is(i, {"as", "at", "on", "to", "from"})))
            return;
        if (!adjective && s.word(i) == "in" && s.is(noun, {"person", "detail"})) return;
        if (!adjective && s.word(i) == "of" &&
            s.is(i - 1,
                 {"kind",  "type",  "sort",     "form",   "kinds", "types",  "sorts",   "forms",
                  "line",  "name",  "level",    "source", "lack",  "choice", "freedom", "change",
                  "style", "class", "category", "method", "state", "mode",   "point",   "realm"})) {
            return;
        }
        if (isSharedByNext(s, noun)) return;
        if (s.word(noun + 1) == s.word(i) || s.word(noun + 1) == "to" ||
            s.word(noun + 2) == s.word(noun))
            return;
        if (s.is(i + 1, {"human", "public",   "private", "first",  "last",     "next",   "future",
                         "late",  "early",    "full",    "good",   "original", "open",   "common",
                         "high",  "everyday", "daily",   "modern", "real",     "short",  "extra",
                         "final", "current",  "perfect", "basic",  "economic", "patient"}) &&
            !s.has(noun, kPerson)) {
            return;
        }
        report.add(kArticle, s, i, noun, says);
    }
}

/// "Student should learn", "when teacher asks": a clause that begins with a bare noun.
void checkBareSubject(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool opens =
        i == 0 || (s.glued(i) && s.is(i - 1, {"because", "when", "if", "but", "although", "while",
                                              "whether", "since", "and"}));
    if (!opens || s.is(i, {"next", "last", "most"})) return;
    // "The if statement": the conjunction is a word that is spoken of.
    if (i > 1 && s.glued(i - 1) && s.has(i - 2, kDeterminer)) return;
    std::size_t at = i;
    while (at < i + 2 && s.has(at, kDescribing) && !s.has(at, kSingular | kDeterminer) &&
           s.glued(at + 1))
        ++at;
    if (!s.has(at, kStrict) || s.has(at, kAdjective | kPlural | kBase)) return;
    if (i > 0 && s.capital(at)) return;
    const std::size_t verb = at + 1;
    if (!s.glued(verb) || s.is(i - 1, {"and"})) return;
    const bool finite = s.has(verb, kModal | kBe | kPureBase) ||
                        s.is(verb, {"have", "has", "do", "does", "don't", "doesn't"}) ||
                        (s.has(verb, kThird) && !s.has(verb, kPlural));
    if (!finite) return;
    report.add(kArticle, s, i, at, "lacks an article, or the plural");
}

} // namespace

void checkNumber(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkPluralWanted(s, i, report);
        checkAll(s, i, report);
        checkSingularWanted(s, i, report);
        checkMuch(s, i, report);
        checkOneOf(s, i, report);
        checkOther(s, i, report);
        checkCertain(s, i, report);
        checkLot(s, i, report);
        checkKinds(s, i, report);
        checkNumberOf(s, i, report);
        checkOrdinal(s, i, report);
        checkWrongPlural(s, i, report);
    }
}

void checkArticles(const EnglishSentence& s, bool whole, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkAn(s, i, report);
        checkDoubledDeterminer(s, i, report);
        if (whole && !report.technical()) {
            checkMissingArticle(s, i, report);
            checkBareSubject(s, i, report);
        }
    }
}

} // namespace trevix
