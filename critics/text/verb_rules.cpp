// Forms of verbs: "can goes", "didn't went", "have wrote", "is depend", "enjoy to go".

#include "critics/text/grammar_rules.h"
#include "critics/text/text_rule_table.h"

namespace trevix {

// Each branch below is a frame of its own, though several of them say the same of it.
// NOLINTBEGIN(bugprone-branch-clone)

namespace {

constexpr GradedRule kVerbForm = declared<WorkKind::text>("text.verb_form", Severity::medium);

void say(const EnglishSentence& s, std::size_t first, std::size_t last, const char* says,
         GrammarReport& report) {
    report.add(kVerbForm, s, first, last, says);
}

/// Skips "not" and adverbs, all glued.
std::size_t pastAdverbs(const EnglishSentence& s, std::size_t i) {
    std::size_t at = i;
    while (at < i + 3 && s.glued(at) && (s.has(at, kAdverb) || s.word(at) == "not")) ++at;
    return s.glued(at) ? at : s.size();
}

/// "his will", "the might": a noun, no auxiliary.
bool isNounHere(const EnglishSentence& s, std::size_t i) {
    if (s.word(i) == "may" && s.capital(i) && i > 0) return true;
    if (i == 0 || !s.glued(i)) return false;
    // "my uncle's will"; "he's" and "that's" are no owners.
    if (s.is(i, {"will", "might"}) && s.word(i - 1).ends_with("'s") &&
        (classesOf(s.word(i - 1).substr(0, s.word(i - 1).size() - 2)) & (kSingular | kPerson)) !=
            0) {
        return true;
    }
    return s.has(i - 1, kDeterminer | kAdjective) &&
           !s.is(i - 1, {"that", "this", "which", "what", "these", "those", "each", "all", "some",
                         "any", "both", "many", "others", "other", "one"});
}

/// "The fool you are", "the tools you should be looking for": whether a clause about a noun, with
/// its subject right behind that noun, ends with the word at `i`.
bool endsClauseOfNoun(const EnglishSentence& s, std::size_t i) {
    constexpr std::size_t kLongest = 6; // Words behind the subject.
    for (std::size_t k = i; k > 1 && i - k < kLongest && s.glued(k); --k) {
        if (!s.is(k - 1, {"i", "you", "he", "she", "it", "we", "they"})) continue;
        return s.glued(k - 1) &&
               (!s.has(k - 2, kFunction | kAdverb | kConjunction | kPreposition | kBe) ||
                s.is(k - 2, {"everyone", "everybody", "everything", "someone", "anyone", "anybody",
                             "nobody", "those", "all", "one"}));
    }
    return false;
}

bool isUnlikeBase(const EnglishSentence& s, std::size_t i) {
    return s.has(i, kThird | kPast) || s.is(i, {"has", "does", "did", "had"});
}

void checkModal(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.has(i, kModal) || isNounHere(s, i)) return;
    std::size_t at = i + 1;
    // "Can he goes": the subject of a question.
    if (s.glued(at) && s.is(at, {"he", "she", "it", "they", "we", "you", "i"}) &&
        (i == 0 || s.is(i - 1, {"what", "how", "why", "where", "when"}))) {
        ++at;
    }
    at = pastAdverbs(s, at);
    if (at >= s.size()) return;
    const bool all = s.before(i, {"all", "everything", "what", "whatever", "best", "anything",
                                  "much", "as", "thing", "least", "most", "things", "only"});
    const bool be = s.is(at, {"is", "are", "was", "were", "am", "been"});
    if (be && !all) {
        say(s, i, at, "needs the bare verb behind its auxiliary", report);
    } else if (isUnlikeBase(s, at) && !s.has(at, kBase) && !all) {
        say(s, i, at, "needs the bare verb behind its auxiliary", report);
    } else if (s.has(at, kAnyThird | kLatePast) && !s.has(at, kBase | kAdjective) && at == i + 1 &&
               !all && i > 0 && s.glued(i) &&
               (s.is(i - 1,
                     {"i", "he", "she", "it", "they", "we", "you", "who", "which", "that"}) ||
                s.has(i - 1, kPlural | kSingular | kMass) ||
                (s.has(at, kAnyThird) && s.word(i - 1).ends_with("ing")))) {
        say(s, i, at, "needs the bare verb behind its auxiliary", report);
    } else if (s.has(at, kIng) && !all) {
        say(s, i, at, "needs the bare verb behind its auxiliary", report);
    } else if (s.has(at, kRegularPast) && !s.has(at, kAdjective | kBase) && !all && at == i + 1 &&
               s.has(i - 1, kFunction | kPlural | kSingular) && s.endsPhrase(at)) {
        say(s, i, at, "needs the bare verb behind its auxiliary", report);
    } else if (s.word(at) == "to" && at == i + 1 && s.has(at + 1, kBase) && s.glued(at + 1) &&
               !all) {
        say(s, i, at + 1, "has a “to” behind its auxiliary", report);
    } else if (s.has(at, kModal) && at == i + 1 && !isNounHere(s, at) &&
               !s.is(i, {"can", "might"}) && !s.is(at, {"will", "might"}) && s.has(at + 1, kBase)) {
        say(s, i, at, "has two auxiliaries where one can stand", report);
    } else if (s.is(at, {"able", "happy", "possible", "careful", "available", "difficult",
                         "important", "dangerous", "impossible", "necessary", "useful", "aware",
                         "afraid", "responsible", "successful"}) &&
               at == i + 1 && i > 0 && (s.endsPhrase(at))) {
        say(s, i, at, "lacks “be” behind its auxiliary", report);
    }
}

void checkDo(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool negated = s.is(i, {"don't", "doesn't", "didn't"});
    if (!negated && !s.is(i, {"do", "does", "did"})) return;
    std::size_t at = i + 1;
    bool asks = false;
    if (s.glued(at) && s.is(at, {"he", "she", "it", "they", "we", "you", "i"}) &&
        (i == 0 || s.is(i - 1, {"what", "how", "why", "where", "when", "who"}))) {
        ++at;
        asks = true;
    }
    const bool withNot = s.word(at) == "not";
    if (!negated && !withNot && !asks) return;
    at = pastAdverbs(s, at);
    if (at >= s.size()) return;
    const bool be = s.is(at, {"is", "are", "was", "were", "am", "been"});
    const bool regular = (s.has(at, kRegularPast) && !s.has(at, kAdjective | kBase)) ||
                         ((negated || withNot) && s.has(at, kAnyThird | kLatePast) &&
                          !s.has(at, kBase | kAdjective));
    if (be || regular || (isUnlikeBase(s, at) && !s.has(at, kBase))) {
        if (asks && s.before(i, {"what", "who"}) && i == 0) return;
        say(s, i, at, "needs the bare verb behind “do”", report);
    }
}

void checkPerfect(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"have", "has", "had", "haven't", "hasn't", "hadn't", "i've", "we've", "you've",
                  "they've", "having"})) {
        return;
    }
    const std::size_t at = pastAdverbs(s, i + 1);
    if (at >= s.size()) return;
    if (s.has(at, kPastOnly) && !s.has(at, kBase) && !s.is(at, {"became", "gave", "did", "came"})) {
        say(s, i, at, "needs the participle behind “have”", report);
        return;
    }
    if (s.has(at, kPastOnly) && s.is(at, {"became", "gave", "did", "came"}) && i > 0 &&
        s.is(i - 1, {"i", "he", "she", "it", "we", "they", "you"}) &&
        !s.before(i - 1, {"that", "what", "all"}) && s.endsPhrase(at)) {
        say(s, i, at, "needs the participle behind “have”", report);
        return;
    }
    if (s.word(at) == "saw" && s.endsPhrase(at)) {
        say(s, i, at, "needs the participle behind “have”", report);
        return;
    }
    const bool bare = s.has(at, kPureBase) && !s.is(at, {"become", "come", "overcome", "get"});
    // "The tools that they have include": the verb of the clause around.
    const bool ofThing = i > 2 && s.word(i - 2) == "that" &&
                         s.has(i - 3, kSingular | kPlural | kMass | kOpenSingular | kOpenPlural);
    if (!bare || ofThing || endsClauseOfNoun(s, i)) return;
    // Of what no list has, only behind what "have" surely belongs to.
    const bool belongs = !s.has(i, kBase) || s.has(i - 1, kModal) ||
                         s.is(i - 1, {"i", "you", "we", "they", "who", "to"});
    if (!belongs && s.has(at, kOpenVerb)) return;
    say(s, i, at, "needs the participle behind “have”", report);
}

void checkTo(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i) != "to" || !s.glued(i + 1)) return;
    const std::size_t at = i + 1;
    const char* says = "needs the bare verb behind “to”";
    if (s.has(at, kThird) && !s.has(at, kSingular | kPlural)) {
        say(s, i, at, says, report);
    } else if (s.is(at, {"went",   "came",  "took", "gave", "did",   "had", "was",    "were",
                         "bought", "told",  "said", "knew", "wrote", "ate", "became", "saw",
                         "began",  "chose", "got",  "is",   "are",   "am",  "has",    "been"})) {
        if (s.is(at, {"is", "are", "was", "were", "am"}) && (i == 0 || s.endsPhrase(at))) return;
        if (s.is(at, {"is", "are", "was", "were"}) &&
            s.before(i, {"what", "who", "where", "which", "how", "that"}))
            return;
        // "Everyone I talked to knew": what the verb goes with stands before it.
        if (i > 0 && keepsTo(s.word(i - 1)) && endsClauseOfNoun(s, i)) return;
        say(s, i, at, says, report);
    } else if (s.has(at, kRegularPast) && !s.has(at, kAdjective | kBase) && i > 0 &&
               s.is(i - 1, {"want", "wants", "wanted", "need",  "needs",     "needed",
                            "try",  "tries", "tried",  "hope",  "decide",    "decided",
                            "able", "going", "like",   "likes", "how",       "order",
                            "ways", "way",   "easy",   "hard",  "difficult", "people"})) {
        say(s, i, at, says, report);
    } else if (s.is(i - 1, {"want", "wants", "wanted", "able", "going", "decided"}) &&
               s.has(at, kIng)) {
        say(s, i, at, says, report);
    } else if (s.is(at, {"can", "could", "must", "should"}) && s.has(at + 1, kBase)) {
        say(s, i, at, "has an auxiliary where none can stand", report);
    }
}

void checkBe(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool finite = s.is(i, {"am", "is", "are", "was", "were", "i'm", "he's", "she's", "it's",
                                 "they're", "we're", "you're", "isn't", "aren't", "wasn't"});
    const bool bare = s.is(i, {"be", "been"});
    if (!finite && !bare) return;
    const std::size_t at = pastAdverbs(s, i + 1);
    if (at >= s.size()) return;
    // "All you have to do is learn", "the first step is decide": the verb is what is talked about.
    const bool names = s.before(i, {"do", "does", "did", "doing", "done", "what", "all", "thing",
                                    "things", "step", "goal", "who", "job", "option", "way"});
    if (s.has(at, kModal) && finite && at == i + 1 && !names && s.has(at + 1, kBase | kBe)) {
        say(s, i, at, "has two verbs where one can stand", report);
        return;
    }
    if (names) return;
    if (s.has(at, kPureBase) && !s.is(at, {"become", "come", "overcome", "do", "have"})) {
        say(s, i, at, "has two bare verbs where a participle belongs", report);
    } else if (s.has(at, kPureBase) && s.is(at, {"do", "have"}) && finite && at == i + 1) {
        say(s, i, at, "has two verbs where one can stand", report);
    } else if (s.has(at, kPastOnly) && !s.is(at, {"got"})) {
        say(s, i, at, "needs the participle behind “be”", report);
    } else if (finite && s.has(at, kThird) && !s.has(at, kPlural) && !endsClauseOfNoun(s, i)) {
        say(s, i, at, "has two verbs where one can stand", report);
    } else if (s.is(at, {"use", "cause", "call", "base", "name", "force", "control", "effect"}) &&
               s.glued(at + 1) &&
               ((s.is(at + 1, {"by"})) || (s.word(at) == "base" && s.word(at + 1) == "on") ||
                (s.word(at) == "use" && s.is(at + 1, {"to", "for", "in", "as"}) && i > 0 &&
                 s.has(i - 1, kModal | kPlural | kSingular)))) {
        say(s, i, at, "needs the participle behind “be”", report);
    } else if (s.is(at, {"increase", "decrease"}) && bare &&
               s.is(at + 1, {"in", "by", "and", "when", "because", "if"}) && s.glued(at + 1) &&
               i > 0 && s.has(i - 1, kModal)) {
        say(s, i, at, "needs the participle behind “be”, or no “be”", report);
    } else if (s.is(at, {"suppose"}) && s.word(at + 1) == "to") {
        say(s, i, at + 1, "needs the participle: “supposed to”", report);
    }
}

void checkBareAfterPreposition(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (report.technical()) return;
    if (!s.is(i, {"for", "of", "by", "without", "about", "before", "after", "in", "from", "at"}))
        return;
    const std::size_t at = i + 1;
    if (!s.glued(at) || !s.has(at, kPureBase)) return;
    // "You can kind of see it".
    if (s.word(i) == "of" && s.is(i - 1, {"kind", "sort"}) && s.glued(i)) return;
    // "written in Go", "used in Replace": a name.
    if (s.is(at, {"do"}) || s.capital(at)) return;
    // "Out of sync", "for export": nouns that no dictionary lists are made of verbs every day.
    if (s.has(at, kOpenVerb)) return;
    // "The tools you should be looking for include a rake"
    if (s.is(at, {"include", "remain", "seem", "appear"}) && endsClauseOfNoun(s, i)) return;
    say(s, i, at, "needs the form in “-ing” behind its preposition", report);
}

void checkPatterns(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const std::size_t next = i + 1;
    if (!s.glued(next)) return;
    // "want go", "able do"
    if (s.is(i, {"want", "wants", "wanted", "able", "decide", "decides", "decided"}) &&
        s.has(next, kPureBase) && !s.capital(next)) {
        say(s, i, next, "lacks a “to”", report);
    }
    if (s.word(i) == "able" && s.has(next, kBase) && !s.has(next, kPureBase) &&
        s.has(next + 1, kDeterminer) && s.glued(next + 1)) {
        say(s, i, next, "lacks a “to”", report);
    }
    if (s.is(i, {"would"}) && s.word(next) == "like" && s.has(next + 1, kPureBase) &&
        s.glued(next + 1)) {
        say(s, i, next + 1, "lacks a “to”", report);
    }
    const bool toVerb = s.word(next) == "to" && s.glued(next + 1) && s.has(next + 1, kBase);
    if (toVerb && s.is(i, {"enjoy", "enjoys", "enjoyed", "enjoying", "avoid", "avoids", "avoided",
                           "avoiding", "dislike", "dislikes"})) {
        say(s, i, next + 1, "takes the form in “-ing”", report);
    }
    if (toVerb && s.is(i, {"suggest", "suggests", "finish", "finished"}) &&
        s.has(next + 1, kPureBase) && !s.has(i - 1, kBe) &&
        s.is(i - 1, {"i", "we", "they", "he", "she", "you", "would", "to", "can"})) {
        say(s, i, next + 1, "takes the form in “-ing”", report);
    }
    // "let him to go", "make us to feel"
    const bool object = s.is(next, {"me", "him", "her", "us", "them", "people", "you"});
    if (object && s.word(i + 2) == "to" && s.glued(i + 2) && s.glued(i + 3)) {
        const bool let = s.is(i, {"let", "lets"}) && s.has(i + 3, kBase);
        const bool make = s.is(i, {"make", "makes", "made", "making"}) && s.has(i + 3, kPureBase);
        if ((let || make) && !s.has(i - 1, kBe)) {
            say(s, i, i + 3, "takes the bare verb, without “to”", report);
        }
    }
    if (object && s.is(i, {"let", "lets", "make", "makes", "made"}) && s.glued(i + 2) &&
        s.has(i + 2, kThird) && !s.has(i + 2, kPlural)) {
        say(s, i, i + 2, "takes the bare verb", report);
    }
    if (s.word(i) == "forward" && s.word(next) == "to" && s.glued(i + 2) && s.glued(i) &&
        s.is(i - 1, {"look", "looks", "looking", "looked"}) && s.has(i + 2, kBase) &&
        (s.has(i + 2, kPureBase) || s.is(i + 2, {"meet", "work", "see", "visit"}))) {
        say(s, i - 1, i + 2, "takes the form in “-ing”", report);
    }
}

} // namespace

void checkVerbForms(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkModal(s, i, report);
        checkDo(s, i, report);
        checkPerfect(s, i, report);
        checkTo(s, i, report);
        checkBe(s, i, report);
        checkBareAfterPreposition(s, i, report);
        checkPatterns(s, i, report);
    }
}

// NOLINTEND(bugprone-branch-clone)

} // namespace trevix
