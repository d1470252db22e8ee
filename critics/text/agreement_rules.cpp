// Subject and verb: "she don't", "they was", "people is", "there is many".

#include "critics/text/grammar_rules.h"
#include "critics/text/text_rule_table.h"

namespace trevix {

namespace {

constexpr GradedRule kAgreement = declared<WorkKind::text>("text.agreement", Severity::medium);

constexpr std::string_view kDisagree = "has a verb that does not agree with its subject";

void say(const EnglishSentence& s, std::size_t first, std::size_t last, GrammarReport& report) {
    report.add(kAgreement, s, first, last, std::string(kDisagree));
}

/// Verbs that want "that he go", without an ending.
bool wantsSubjunctive(const EnglishSentence& s, std::size_t i) {
    return s.before(i, {"suggest",     "suggests",   "suggested",  "recommend",    "recommends",
                        "recommended", "insist",     "insists",    "insisted",     "demand",
                        "demands",     "demanded",   "propose",    "proposed",     "require",
                        "requires",    "required",   "request",    "requested",    "ask",
                        "asked",       "important",  "essential",  "necessary",    "vital",
                        "wish",        "lest",       "rather",     "better",       "crucial",
                        "prefer",      "imperative", "ensure",     "insisting",    "demanding",
                        "requesting",  "proposing",  "suggesting", "recommending", "requiring"});
}

/// "if", "as though", "wish": behind them "were" goes with everybody.
bool isHypothetical(const EnglishSentence& s, std::size_t i) {
    return s.before(i, {"if", "wish", "wishes", "wished", "though", "as", "suppose", "unless"});
}

/// An auxiliary before the subject, as in a question: the verb behind it is bare by right.
bool isInverted(const EnglishSentence& s, std::size_t subject) {
    if (subject == 0) return false;
    return s.has(subject - 1, kModal) ||
           s.is(subject - 1, {"do",     "does",    "did",     "don't", "doesn't", "didn't", "let",
                              "lets",   "let's",   "make",    "makes", "made",    "help",   "helps",
                              "helped", "have",    "has",     "had",   "see",     "saw",    "hear",
                              "heard",  "watch",   "watched", "or",    "and",     "nor",    "not",
                              "making", "letting", "helping", "than",  "having"});
}

/// The verb behind a subject at `i`, past the adverbs between.
std::size_t verbAfter(const EnglishSentence& s, std::size_t subject) {
    std::size_t verb = subject + 1;
    while (verb < subject + 3 && s.glued(verb) && s.has(verb, kAdverb)) ++verb;
    return s.glued(verb) ? verb : s.size();
}

bool isBareFinite(const EnglishSentence& s, std::size_t i) {
    return s.has(i, kPureBase) || s.is(i, {"have", "do", "don't", "haven't"});
}

void checkThirdPerson(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool person = s.is(i, {"he", "she"});
    if (!person && !s.is(i, {"it"})) return;
    if (s.allUpper(i) && s.word(i) == "it") return; // Information technology.
    if (isInverted(s, i) || wantsSubjunctive(s, i)) return;
    const std::size_t verb = verbAfter(s, i);
    if (verb >= s.size()) return;
    const bool were =
        s.is(verb, {"are", "aren't"}) || (s.is(verb, {"were", "weren't"}) && !isHypothetical(s, i));
    if (person) {
        const bool bare =
            isBareFinite(s, verb) || (s.has(verb, kBase) &&
                                      !s.is(verb, {"cost", "set", "put", "let", "fit", "last",
                                                   "present", "direct", "long"}) &&
                                      !s.has(verb, kPast | kAdverb | kModal));
        if (s.is(verb, {"become", "come"}) || bare || were) say(s, i, verb, report);
        return;
    }
    // "It" is an object as often.
    const bool subject = i == 0 || s.gap(i) == ',' || s.gap(i) == ';' ||
                         s.is(i - 1, {"because", "when", "although", "since", "while", "but", "and",
                                      "so", "that", "think", "believe", "where", "which"});
    // "Those who saw it have": the verb of the clause around.
    const bool have =
        s.is(verb, {"have", "haven't"}) && verb == i + 1 && i > 0 && s.glued(i) &&
        !s.has(i - 1, kBase | kPast | kRegularPast | kIng | kPreposition | kLatePast | kAnyThird) &&
        !s.before(i, {"who", "that", "which", "what", "whoever", "if"});
    if ((subject && (isBareFinite(s, verb) || were)) || have) say(s, i, verb, report);
}

void checkPluralPronoun(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    const bool nominative = s.is(i, {"they", "we"});
    const bool you = s.word(i) == "you";
    const bool self = s.word(i) == "i";
    if (!nominative && !you && !self) return;
    if (self && i > 0 && s.glued(i) && s.capital(i - 1) && i > 1) return; // "World War I was"
    const std::size_t verb = verbAfter(s, i);
    if (verb >= s.size()) return;
    const bool has = s.is(verb, {"has", "hasn't", "doesn't"}) || s.has(verb, kThird);
    const bool be = s.is(verb, {"is", "isn't"}) || (!self && s.is(verb, {"was", "wasn't"}));
    if (you && !s.opensClause(i)) return;
    if (self && s.is(verb, {"is", "isn't"}) && i > 0 && s.is(i - 1, {"and", "or"})) return;
    // "What they do makes sense", "all we need is": the verb belongs to the clause around.
    if (verb > i + 1 && !has) return;
    if (s.before(i, {"what", "whatever", "all", "how", "where", "way", "who", "whether"}) &&
        s.has(verb, kThird) && !s.is(verb, {"has", "does"})) {
        return;
    }
    // "We needs more", where the word may be a plural too; "we judges" are people.
    const bool other = (nominative || (self && s.opensClause(i))) && verb == i + 1 &&
                       s.has(verb, kAnyThird) && !s.has(verb, kPlural) && !s.capital(verb) &&
                       !s.is(verb, {"judges", "cooks", "hosts"});
    if (has || be || other) say(s, i, verb, report);
}

void checkEverybody(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"everyone", "everybody", "someone", "somebody", "anyone", "anybody", "nobody",
                  "everything", "something", "nothing", "anything"})) {
        return;
    }
    if (isInverted(s, i) || wantsSubjunctive(s, i)) return;
    const std::size_t verb = verbAfter(s, i);
    if (verb >= s.size()) return;
    const bool were = s.is(verb, {"were", "weren't"}) && !isHypothetical(s, i);
    const bool sure = s.is(verb, {"have", "are", "don't", "aren't", "haven't"}) || were;
    if (sure || (s.opensClause(i) && s.has(verb, kPureBase))) say(s, i, verb, report);
}

/// The noun that ends the phrase which begins at `i`, or the size when none does.
std::size_t nounOf(const EnglishSentence& s, std::size_t i, std::uint32_t nouns) {
    std::size_t at = i;
    while (at < i + 4 && at < s.size() && (at == i || s.glued(at)) &&
           s.has(at, kDeterminer | kAdjective | kComparative | kSuperlative) && !s.has(at, nouns)) {
        ++at;
    }
    return at < s.size() && (at == i || s.glued(at)) && s.has(at, nouns) ? at : s.size();
}

/// "prices", "pallets": a plural by its ending alone, behind a word that wants a noun. Of the nouns
/// in "-s" that are singular the endings and the single words are told apart; names and what only
/// programs have are not asked about.
bool endsAsPlural(const EnglishSentence& s, std::size_t i) {
    constexpr std::size_t kShortest = 5;
    const std::string_view word = s.word(i);
    if (word.size() < kShortest || !word.ends_with('s') || s.capital(i) ||
        s.has(i, ~(kAnyThird | kThird))) {
        return false;
    }
    for (const std::string_view other : {"ss", "us", "is", "ics", "'s"}) {
        if (word.ends_with(other)) return false;
    }
    static const WordSet kSingularInS(
        "alias atlas bias canvas chaos cosmos corps diabetes gallows headquarters innings lens "
        "measles means molasses news pancreas rabies series species summons sweepstakes asbestos "
        "barracks billiards blues crossroads darts draughts works sometimes always perhaps besides "
        "others less yours hers theirs ours");
    return !kSingularInS.has(word);
}

void checkPluralByEnding(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (report.technical() || !s.glued(i + 1) ||
        !s.is(i, {"the", "these", "those", "our", "my", "your", "their", "his", "her"})) {
        return;
    }
    // Behind a preposition the phrase is part of another, whose verb it is.
    if (i > 0 && !s.is(i - 1, {"that", "because", "but", "while", "although"})) return;
    if (i > 0 && !s.glued(i)) return;
    if (!endsAsPlural(s, i + 1) || !s.glued(i + 2)) return;
    // "That the headers is a list": the name of one thing.
    if (s.is(i + 2, {"is", "was"}) && s.is(i + 3, {"a", "an", "the"})) return;
    if (s.is(i + 2, {"is", "was", "isn't", "wasn't", "doesn't", "hasn't"})) {
        say(s, i + 1, i + 2, report);
    }
}

void checkPluralNoun(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.opensClause(i)) return;
    const std::size_t noun = nounOf(s, i, kPlural | kOpenPlural);
    if (noun >= s.size() || s.has(noun, kMeasure) || s.has(noun, kAdjective)) return;
    const bool open = s.has(noun, kOpenPlural);
    if (open && (s.capital(noun) || report.technical())) return;
    for (std::size_t k = i; k < noun; ++k) {
        if (s.is(k, {"one", "each", "every", "either", "neither", "another", "a", "an"})) return;
    }
    if (s.gap(i) == ',' || s.gap(i) == ':') {
        // The last of a list, or an aside.
        if (s.before(i, {"of", "and", "or", "each", "such", "like", "include", "includes"})) return;
        if (!s.has(noun, kPerson) && s.word(noun) != "people") return;
    }
    if (i > 0 && s.glued(i) && s.is(i - 1, {"what", "which", "who", "how", "whether", "than"}))
        return;
    const std::size_t verb = verbAfter(s, noun);
    if (verb >= s.size()) return;
    const bool sure =
        s.is(verb, {"is", "was", "has", "does", "doesn't", "isn't", "wasn't", "hasn't"});
    // "Parcels is a course": the name of one thing.
    const bool name = open && s.is(verb, {"is", "was"}) && s.is(verb + 1, {"a", "an", "the"});
    if (name) return;
    const bool person = s.has(noun, kPerson) || s.word(noun) == "people";
    const bool third = s.has(verb, kThird) && (person || !report.technical());
    // "The children plays in": with a noun behind it "plays" would need an owner's apostrophe.
    const bool goesOn = s.glued(verb + 1) && s.word(verb + 1) != "of" &&
                        s.has(verb + 1, kDeterminer | kPreposition | kObject);
    const bool other = person && verb == noun + 1 && s.has(verb, kAnyThird) &&
                       !s.has(verb, kPlural) && (goesOn || s.word(noun) == "people");
    if (sure || third || other) say(s, noun, verb, report);
}

/// Of these some say "are", and of some nobody says anything else.
bool isManyInOne(std::string_view noun) {
    static const WordSet words(
        "couple team group company factory party organization organisation community number "
        "generation club family relative patient government council committee department "
        "ministry agency university college faculty army navy military enemy opposition "
        "majority minority percentage proportion variety multitude plurality assortment "
        "selection series species pair dozen handful trio quartet band orchestra choir crew staff "
        "audience public press media jury clergy police gentry aristocracy nobility electorate "
        "population congregation congress parliament senate cabinet administration "
        "management leadership management board panel commission corporation squad league "
        "union federation household youth data bacteria criteria phenomena algae alumni "
        "larvae fungi nuclei stimuli cattle poultry vermin offspring aircraft spacecraft "
        "hovercraft deer sheep fish salmon trout bison moose swine dice lice mice geese oxen "
        "teeth feet men women children kin folk lot rest bulk remainder half third quarter "
        "hundred thousand million billion gang tribe crowd herd flock fleet cast duo");
    return words.has(noun);
}

void checkSingularNoun(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.opensClause(i) || (i > 0 && s.gap(i) == ',')) return;
    if (!s.is(i, {"a", "an", "the", "this", "each", "every", "another", "my", "his", "her", "its",
                  "our", "your", "their"})) {
        return;
    }
    const std::size_t noun = nounOf(s, i + 1, kSingular | kOpenSingular);
    if (noun >= s.size() || !s.glued(i + 1)) return;
    if (isManyInOne(s.word(noun))) return;
    const bool open = s.has(noun, kOpenSingular);
    if (open && (s.capital(noun) || report.technical())) return;
    if (i > 0 && isHypothetical(s, i)) return;
    if (wantsSubjunctive(s, i)) return;
    const std::size_t verb = noun + 1;
    if (!s.glued(verb)) return;
    const bool bare = s.has(verb, kPureBase) && !s.is(verb, {"do"});
    const bool object = s.has(noun, kPerson) && s.has(verb, kBase) &&
                        !s.has(verb, kSingular | kAdverb) && s.glued(verb + 1) &&
                        s.has(verb + 1, kDeterminer | kObject) && s.word(verb + 1) != "that";
    if (bare || object ||
        s.is(verb, {"have", "are", "don't", "aren't", "haven't", "were", "weren't"})) {
        say(s, noun, verb, report);
    }
}

void checkRelative(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.is(i, {"who", "that", "which"}) || i == 0 || !s.glued(i)) return;
    const std::size_t verb = verbAfter(s, i);
    if (verb >= s.size()) return;
    const bool who = s.word(i) == "who";
    const std::size_t noun = i - 1;
    if (s.before(i, {"one", "each", "number", "group", "list", "set", "kind", "only", "series",
                     "pair", "couple", "every", "team"})) {
        return;
    }
    // "Kinds of partnerships that include" and "a kind of partnerships that includes" are both
    // right.
    const bool open = who && s.has(noun, kOpenPlural) && !s.capital(noun) && !report.technical();
    if ((s.has(noun, kPlural) || open) && !s.has(noun, kAdjective | kMeasure)) {
        const bool within = i >= 2 && s.is(i - 2, {"of", "in", "for", "with", "from", "on", "to"});
        const bool third = s.has(verb, kThird) || s.is(verb, {"has", "does", "doesn't", "hasn't"});
        const bool be = who && s.is(verb, {"is", "was", "isn't", "wasn't"});
        if (who ? third || be : third && !within && !s.before(i, {"of"}))
            say(s, noun, verb, report);
        return;
    }
    const bool one = s.is(noun, {"someone", "somebody", "anyone", "anybody", "everyone",
                                 "everybody", "nobody"}) ||
                     (s.has(noun, kPerson) && s.has(noun, kSingular) && !s.has(noun, kAdjective) &&
                      s.word(noun) != "couple");
    if (!who || !one || s.before(i, {"and", "or", "those", "these"})) return;
    if (s.is(verb, {"have", "are", "don't", "aren't", "haven't"}) || s.has(verb, kPureBase)) {
        say(s, noun, verb, report);
    }
}

void checkThere(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (s.word(i) != "there" || !s.glued(i + 1)) return;
    const std::size_t be = i + 1;
    if (s.is(be, {"is", "was", "isn't", "wasn't"}) && s.glued(be + 1)) {
        const std::size_t at = be + 1;
        if (s.is(at, {"many", "several", "various", "numerous", "two", "three", "four", "five",
                      "six", "these", "those"})) {
            // "There is many a reason", "there is two years' work".
            if (s.is(at + 1, {"a", "an"}) || s.has(at + 1, kMeasure)) return;
            say(s, i, at, report);
            return;
        }
        std::size_t noun = at;
        if (s.is(at, {"some", "other", "lots", "plenty", "also", "only"})) noun = at + 1;
        if (s.is(at, {"lots", "plenty"}) && s.word(noun) == "of") ++noun;
        if (s.is(at, {"a"}) && s.word(at + 1) == "lot" && s.word(at + 2) == "of") noun = at + 3;
        const std::size_t end = s.past(noun, kAdjective);
        if (s.glued(end) && s.has(end, kPlural) && !s.has(end, kMeasure) && s.endsPhrase(end)) {
            say(s, i, end, report);
        }
        return;
    }
    if (s.is(be, {"are", "were"}) && s.glued(be + 1)) {
        if (s.is(be + 1, {"much"})) {
            say(s, i, be + 1, report);
            return;
        }
        if (!s.is(be + 1, {"a", "an", "another"})) return;
        const std::size_t noun = s.past(be + 2, kAdjective);
        for (std::size_t k = noun; k < noun + 6; ++k) {
            if (s.is(k, {"and", "or", "of"}) || s.gap(k) == ',') return;
        }
        if (s.glued(noun) && s.has(noun, kSingular) && s.endsPhrase(noun) &&
            !s.is(noun, {"couple"})) {
            say(s, i, noun, report);
        }
    }
}

void checkDemonstrative(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (!s.glued(i + 1)) return;
    if (s.is(i, {"these", "those"}) && s.opensClause(i) &&
        s.is(i + 1, {"is", "was", "has", "doesn't", "isn't"})) {
        say(s, i, i + 1, report);
    }
    if (i == 0 && s.word(i) == "this" &&
        s.is(i + 1, {"have", "are", "were", "don't", "aren't", "make", "mean", "cause", "lead"})) {
        say(s, i, i + 1, report);
    }
}

void checkQuestion(const EnglishSentence& s, std::size_t i, GrammarReport& report) {
    if (i + 1 >= s.size() || !s.glued(i + 1)) return;
    const bool opens = i == 0 || s.is(i - 1, {"why", "what", "where", "how", "when", "who"});
    if (!opens) return;
    const bool he = s.is(i + 1, {"he", "she"});
    const bool many = s.is(i + 1, {"they", "we", "you", "i"});
    if (s.is(i, {"do", "don't", "have", "are"}) && he) say(s, i, i + 1, report);
    if (s.is(i, {"does", "doesn't", "has", "is"}) && many) say(s, i, i + 1, report);
    if (s.is(i, {"was", "wasn't"}) && many && s.word(i + 1) != "i") say(s, i, i + 1, report);
}

} // namespace

void checkAgreement(const EnglishSentence& s, GrammarReport& report) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        checkThirdPerson(s, i, report);
        checkPluralPronoun(s, i, report);
        checkEverybody(s, i, report);
        checkPluralNoun(s, i, report);
        checkPluralByEnding(s, i, report);
        checkSingularNoun(s, i, report);
        checkRelative(s, i, report);
        checkThere(s, i, report);
        checkDemonstrative(s, i, report);
        checkQuestion(s, i, report);
    }
}

} // namespace trevix
