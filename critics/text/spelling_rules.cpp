#include "critics/text/spelling_rules.h"

#include "critics/text/borrowed_phrases.h"
#include "critics/text/english_words.h"
#include "critics/text/known_words.h"
#include "critics/text/text_rule_table.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kSure = declared<WorkKind::text>("text.spelling", Severity::medium);
constexpr GradedRule kUnsure = declared<WorkKind::text>("text.spelling", Severity::low);

// Where these come from stands in docs/thresholds.md.
constexpr std::size_t kMostWords = 20'000;   // Different words of a part that are looked up.
constexpr std::size_t kMostSuggestions = 16; // Words that a dictionary is asked to mend.
constexpr std::size_t kMostNearest = 150;    // Words that are mended by one edit.
constexpr std::size_t kMostNear = 12;        // Words that are one edit away from one.
constexpr std::size_t kLongestToMend = 20;   // Letters; also of what is taken apart.
constexpr std::size_t kMostForeign = 300;    // Unknown words that other dictionaries are asked for.
constexpr std::size_t kLongestWord = 40;     // Bytes; what is longer is no slip of a word.
constexpr std::size_t kFewestLetters = 3;
constexpr std::size_t kTerm = 3;              // Times a word stands in the text.
constexpr std::size_t kLongerForTwoEdits = 6; // Letters from which on two edits are a slip.
constexpr std::size_t kLongerForThreeEdits = 8;
constexpr std::size_t kMostEdits = 3;
constexpr std::size_t kFewSuggestions = 8; // Of a dictionary, the likeliest.
constexpr std::size_t kFewestForShare = 8; // Words; in fewer a share says nothing.
constexpr std::size_t kMostUnknown = 50;   // Percent; beyond it the words are no prose.
constexpr std::size_t kShortestStem = 5;   // Letters behind a prefix.
constexpr std::size_t kShortestPart = 4;   // Letters of each half of "codebase".
constexpr std::size_t kShortestPartOfCompound = 5;
constexpr std::size_t kLongestAcronym = 5;  // Letters of one that is written small.
constexpr std::size_t kLongestOfPlural = 6; // Letters of a word whose plural a dictionary may lack.
constexpr std::size_t kLongestOfNames = 7;  // Letters of "vtable" and its like.
constexpr std::size_t kShortWord = 5;       // Letters; up to them many words are near each other.
constexpr std::size_t kLongWord = 8;        // Letters; from them on one may lack a consonant.

constexpr std::array<std::string_view, 28> kPrefixes = {
    "un",   "re",    "non",   "pre",   "sub",   "multi",  "auto", "de",  "micro", "meta",
    "over", "under", "inter", "cross", "super", "pseudo", "anti", "co",  "mis",   "dis",
    "semi", "mini",  "macro", "hyper", "ultra", "bi",     "mid",  "post"};
constexpr std::array<std::string_view, 10> kSuffixes = {
    "like", "wise", "less", "able", "ability", "ness", "ish", "ify", "ization", "ized"};

/// How the text writes a word, as far as that decides whether it is looked up.
enum class Shape { plain, capitalised, other };

struct Verdict {
    bool known = true;
    bool sure = false;
    bool listed = false;    ///< Among the known slips, so that no name is meant.
    std::string suggestion; ///< Empty when there is none.
    bool capitalOnly = false;
};

class Speller {
public:
    Speller(const ProseView& view, const ProseLanguages& languages, const LanguageTools& tools,
            const std::set<std::size_t>& spokenOf, LanguageSlips& slips, Coverage& coverage)
        : m_view(view),
          m_languages(languages),
          m_tools(tools),
          m_spokenOf(spokenOf),
          m_slips(slips),
          m_coverage(coverage),
          m_technical(view.isTechnical()),
          m_hasSharpS(view.masked().find("ß") != std::string_view::npos),
          m_casual(isCasual(view)) {
        if (tools.personalWords) m_personal = tools.personalWords();
        countWords();
        gatherCodeWords();
    }

    void check() {
        const std::vector<WordRange> ranges = wordsOfBlocks(m_view);
        m_starts = sentenceStarts();
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            if (m_view.prose.blocks[i].kind == BlockKind::table) continue;
            const NaturalLanguage language = m_languages.blocks[i].language;
            if (language == NaturalLanguage::unknown || language == NaturalLanguage::other)
                continue;
            checkBlock(ranges[i], language);
        }
        if (m_looked > kMostWords) {
            m_coverage.missed({"spelling of all words",
                               "more than " + std::to_string(kMostWords) + " different words", ""});
        }
    }

private:
    struct Suspect {
        std::size_t word;
        Verdict verdict;
    };

    void countWords() {
        for (std::size_t i = 0; i < m_view.words.size(); ++i) {
            if (m_view.words[i].length <= kLongestWord) ++m_counts[lower(i)];
        }
    }

    /// Words that also stand in what is masked are names of things in the code.
    void gatherCodeWords() {
        const std::string_view masked = m_view.masked();
        const std::string_view whole = m_view.source.text();
        for (std::size_t i = 0; i < masked.size();) {
            if (masked[i] != kMasked) {
                ++i;
                continue;
            }
            std::size_t end = i;
            while (end < masked.size() && (masked[end] == kMasked || masked[end] == '\n')) ++end;
            for (const text::Word& word : text::wordsIn(whole, i, end)) {
                if (word.length <= kLongestWord) {
                    m_code.insert(text::lowercased(whole.substr(word.offset, word.length)));
                }
            }
            i = end;
        }
    }

    [[nodiscard]] std::string lower(std::size_t word) const {
        return withStraightApostrophes(text::lowercased(m_view.wordText(word)));
    }

    [[nodiscard]] std::unordered_set<std::size_t> sentenceStarts() const {
        std::unordered_set<std::size_t> starts;
        for (const Sentence& sentence : m_view.sentences) {
            const auto first = std::lower_bound(
                m_view.words.begin(), m_view.words.end(), sentence.begin,
                [](const text::Word& word, std::size_t at) { return word.offset < at; });
            if (first != m_view.words.end()) {
                starts.insert(static_cast<std::size_t>(first - m_view.words.begin()));
            }
        }
        return starts;
    }

    [[nodiscard]] char before(const text::Word& word) const {
        return word.offset == 0 ? ' ' : m_view.masked()[word.offset - 1];
    }
    [[nodiscard]] char at(std::size_t offset) const {
        return offset < m_view.masked().size() ? m_view.masked()[offset] : ' ';
    }

    /// Whether it is a word of prose at all: no part of an address, a file name, a quotation, a
    /// word that a line parts.
    [[nodiscard]] bool isProse(std::size_t index) const {
        const text::Word& word = m_view.words[index];
        if (word.digits || word.letters < kFewestLetters || word.length > kLongestWord)
            return false;
        constexpr std::string_view kOfCode = "_/\\@#$%&+=<>~^|*:\x01{}";
        const char left = before(word);
        if (kOfCode.find(left) != std::string_view::npos) {
            // Emphasis and a label's colon stand beside ordinary words.
            const bool emphasis = left == '*' || (left == '_' && at(word.end()) == '_');
            if (!emphasis) return false;
        }
        if (left == '.' && word.offset > 1 && !isBlank(at(word.offset - 2))) return false;
        if (left == '.' || left == '-') {
            if (word.offset < 2 || isBlank(at(word.offset - 2)) || at(word.offset - 2) == '-') {
                return false; // ".profile", "--verbose"
            }
        }
        const char right = at(word.end());
        const char next = at(word.end() + 1);
        if (right == '_' && left != '_') return false;
        if (std::string_view("/\\@#$%&+=<>~^|\x01({[").find(right) != std::string_view::npos)
            return false;
        const bool joins = right == '.' || right == ':';
        if (joins && !isBlank(next) && next != '*' && next != '"' && next != ')' && next != '\'' &&
            next != '.') {
            return false;
        }
        return !isQuoted(word) && !m_view.isPartedByLine(word);
    }

    /// Whether a hyphen joins it to another word.
    [[nodiscard]] bool isPartOfCompound(const text::Word& word) const {
        return before(word) == '-' || (at(word.end()) == '-' && !isBlank(at(word.end() + 1)));
    }

    static bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

    [[nodiscard]] bool isQuoted(const text::Word& word) const {
        const std::string_view masked = m_view.masked();
        const char left = before(word);
        const char right = at(word.end());
        if ((left == '"' || left == '\'') && left == right) return true;
        const auto marks = [&](std::string_view open, std::string_view close) {
            return word.offset >= open.size() &&
                   masked.substr(word.offset - open.size(), open.size()) == open &&
                   masked.substr(word.end(), close.size()) == close;
        };
        return marks("“", "”") || marks("„", "“") || marks("‘", "’") || marks("«", "»");
    }

    [[nodiscard]] Shape shapeOf(const text::Word& word) const {
        if (word.upper == 0) return Shape::plain;
        if (word.upper == 1 && word.capitalised) return Shape::capitalised;
        return Shape::other;
    }

    /// Whether a blank, the end of a line or a hyphen alone parts the word from the one before.
    [[nodiscard]] bool followsClosely(std::size_t index) const {
        const std::size_t end = m_view.words[index - 1].end();
        return m_view.words[index].offset == end + 1 && (isBlank(at(end)) || at(end) == '-');
    }

    [[nodiscard]] std::set<std::size_t> wordsOfBorrowedPhrases(const WordRange& range) const {
        std::set<std::size_t> found;
        std::vector<std::string> words;
        for (std::size_t i = range.begin; i < range.end; ++i) words.push_back(lower(i));
        for (std::size_t i = range.begin; i < range.end; ++i) {
            std::size_t close = 1;
            while (close < kMostWordsOfPhrase && i + close < range.end &&
                   followsClosely(i + close)) {
                ++close;
            }
            std::size_t n = borrowedPhrase(std::span(words).subspan(i - range.begin, close));
            for (; n > 0; --n) found.insert(i + n - 1);
        }
        return found;
    }

    void checkBlock(const WordRange& range, NaturalLanguage language) {
        const SpellingBooks& books = m_tools.shelf->of(language);
        if (books.books.empty()) return;
        const std::set<std::size_t> borrowed = language == NaturalLanguage::english
                                                   ? wordsOfBorrowedPhrases(range)
                                                   : std::set<std::size_t>();
        std::vector<Suspect> suspects;
        std::size_t looked = 0;
        std::size_t unknown = 0;
        for (std::size_t i = range.begin; i < range.end; ++i) {
            const text::Word& word = m_view.words[i];
            const Shape shape = shapeOf(word);
            if (shape == Shape::other || !isProse(i) || m_spokenOf.contains(word.offset) ||
                borrowed.contains(i)) {
                continue;
            }
            // German writes every noun with a capital; elsewhere one inside a sentence is a name.
            const bool starts = m_starts.contains(i);
            if (shape == Shape::capitalised && language != NaturalLanguage::german && !starts)
                continue;
            ++looked;
            const Verdict& verdict = verdictOn(i, shape, books, language);
            if (verdict.known) continue;
            // "git-reflog", "topo-order": parts of a compound are names and short forms.
            const bool part = isPartOfCompound(word);
            if (part && (!verdict.listed || word.letters < kShortestPartOfCompound)) continue;
            ++unknown;
            suspects.push_back({i, verdict});
        }
        if (looked >= kFewestForShare && unknown * 100 > looked * kMostUnknown) {
            m_coverage.missed(
                {"spelling of some passages", "they are in no language known here", ""});
            return;
        }
        for (const Suspect& suspect : suspects) report(suspect);
    }

    /// Whether nothing but a capital or an apostrophe is left out.
    [[nodiscard]] static bool isHabit(const std::string& own, const Verdict& verdict) {
        if (verdict.capitalOnly) return true;
        std::string meant = withStraightApostrophes(verdict.suggestion);
        return meant.size() > own.size() && std::erase(meant, '\'') > 0 && meant == own;
    }

    void report(const Suspect& suspect) {
        const text::Word& word = m_view.words[suspect.word];
        const Verdict& verdict = suspect.verdict;
        const std::string says =
            verdict.capitalOnly
                ? "is a name and begins with a capital: “" + verdict.suggestion + "”"
            : verdict.suggestion.empty() ? "is in no dictionary"
                                         : "is misspelt; “" + verdict.suggestion + "” may be meant";
        const bool sure = verdict.sure && !(m_casual && isHabit(lower(suspect.word), verdict));
        m_slips.add(sure ? kSure : kUnsure, word.offset, word.length, says);
    }

    const Verdict& verdictOn(std::size_t index, Shape shape, const SpellingBooks& books,
                             NaturalLanguage language) {
        std::string own = lower(index);
        const std::string key =
            std::to_string(static_cast<int>(language)) + (shape == Shape::plain ? "p" : "c") + own;
        const auto found = m_verdicts.find(key);
        if (found != m_verdicts.end()) return found->second;
        Verdict verdict;
        if (++m_looked <= kMostWords) verdict = judge(own, index, shape, books, language);
        return m_verdicts.emplace(key, std::move(verdict)).first->second;
    }

    [[nodiscard]] Verdict judge(const std::string& own, std::size_t index, Shape shape,
                                const SpellingBooks& books, NaturalLanguage language) {
        const std::string written = shape == Shape::plain ? own : capitalised(own);
        if (books.know(written) || isKnownOtherwise(own, books, language)) return {};

        Verdict verdict;
        verdict.known = false;
        if (language == NaturalLanguage::german) {
            if (std::string sharp = withSharpS(own, shape, books); !sharp.empty()) {
                // Nobody in Switzerland writes "ß".
                if (!m_hasSharpS) return {};
                verdict.sure = true;
                verdict.suggestion = std::move(sharp);
                return verdict;
            }
        }
        const bool english = language == NaturalLanguage::english;
        const std::string_view meant =
            english && m_tools.slips != nullptr ? m_tools.slips->meantBy(own) : std::string_view();
        if (!meant.empty()) {
            verdict.sure = verdict.listed = true;
            verdict.suggestion = meant;
            return verdict;
        }
        if (const std::string_view parted = partedForm(own); english && !parted.empty()) {
            verdict.sure = verdict.listed = true;
            verdict.suggestion = parted;
            return verdict;
        }
        // A word that comes again and again is a term of the text.
        if (m_counts[own] >= kTerm || m_code.contains(own)) return {};
        if (english && shape == Shape::plain) {
            const std::string proper = capitalised(own);
            if (books.know(proper)) {
                // "git", "java": in notes on code a name may be a command.
                if ((m_technical || own.size() <= kFewestLetters) && !isProperWord(own)) return {};
                // A name in small letters is a habit; a day or a language so is a slip.
                verdict.sure = isProperWord(own);
                verdict.suggestion = proper;
                verdict.capitalOnly = true;
                return verdict;
            }
        }
        if (isBuilt(own, books)) return {};
        if (english && isFormOfKnown(own, books)) return {};
        if (isJoined(own, books) && !isNearEveryday(own, language, books)) return {};
        // "Priya Nair leads it": at the start of a sentence a name looks like any other word.
        if (shape == Shape::capitalised && english && beginsName(index)) return {};
        // Dictionaries of other languages lack more, and borrow from English what they lack.
        if (!english && isForeign(own, language)) return {};
        suggest(own, index, shape, language, books, verdict);
        if (english && isAmericanFor(own, verdict.suggestion)) return {};
        if (english && isLatinFor(own, verdict.suggestion)) return {};
        if (english && shape == Shape::capitalised && looksLikeName(own, verdict.suggestion))
            return {};
        // Who writes a word twice alike means it, as far as one can tell.
        if (m_counts[own] > 1) verdict.sure = false;
        // Beside code a word that no dictionary has is more often a term than a slip.
        if (m_technical) {
            verdict.sure = false;
            if (m_edits > 1 || own.size() < kLongerForTwoEdits) return {};
        }
        if (shape == Shape::capitalised && !verdict.sure) return {};
        if (english && verdict.sure && m_edits > 1 && isForeign(own, language))
            verdict.sure = false;
        return verdict;
    }

    /// Whether the next word, one blank behind this one, begins with a capital too.
    [[nodiscard]] bool beginsName(std::size_t index) const {
        if (index + 1 >= m_view.words.size()) return false;
        const text::Word& word = m_view.words[index];
        const text::Word& next = m_view.words[index + 1];
        const std::size_t end = word.offset + word.length;
        return next.capitalised && next.offset == end + 1 && m_view.masked()[end] == ' ';
    }

    static std::string_view withoutOwner(std::string_view own) {
        return own.ends_with("'s") ? own.substr(0, own.size() - 2) : own;
    }

    /// At the start of a sentence: whether a word near none of every day is rather a name. Such are
    /// short, begin with another letter, end in a vowel in which few words of English do, or have
    /// other consonants and no ending by which words are made.
    [[nodiscard]] static bool looksLikeName(std::string_view own, std::string_view other) {
        own = withoutOwner(own);
        other = withoutOwner(other);
        constexpr std::array<std::string_view, 21> kOfWords = {
            "ing",  "ings", "ed",  "ly",  "tion", "tions", "sion",  "ness", "ment", "ments", "able",
            "ible", "ful",  "ous", "ism", "ity",  "ology", "ances", "ence", "ght",  "ghts"};
        if (own.empty() || other.empty() || classesOf(other) != 0) return false;
        if (own.size() < kLongerForTwoEdits || own.front() != other.front()) return true;
        constexpr std::string_view kOfNames = "aiou";
        if (kOfNames.find(own.back()) != std::string_view::npos) return true;
        return skeleton(own) != skeleton(text::lowercased(other)) &&
               std::ranges::none_of(kOfWords,
                                    [&](std::string_view ending) { return own.ends_with(ending); });
    }

    /// "convertor", "convertors", where the dictionaries have "converter" alone: either ending
    /// makes the one who does something.
    [[nodiscard]] static bool isLatinFor(std::string_view own, std::string_view other) {
        if (own.ends_with('s') && other.ends_with('s')) {
            own.remove_suffix(1);
            other.remove_suffix(1);
        }
        return own.size() >= kLongWord && own.ends_with("or") && other.ends_with("er") &&
               classesOf(other) == 0 &&
               own.substr(0, own.size() - 2) == other.substr(0, other.size() - 2);
    }

    /// "defenseman", where the dictionaries have "defenceman" alone.
    [[nodiscard]] static bool isAmericanFor(std::string_view own, std::string_view other) {
        struct Spelling {
            std::string_view british;
            std::string_view american;
        };
        constexpr std::array<Spelling, 3> kSpellings = {
            {{"grey", "gray"}, {"defence", "defense"}, {"ae", "e"}}};
        return std::ranges::any_of(kSpellings, [&](const Spelling& each) {
            const std::size_t at = other.find(each.british);
            if (at == std::string_view::npos || (at == 0 && each.british == "ae")) return false;
            const std::string_view tail = other.substr(at + each.british.size());
            return own.size() == at + each.american.size() + tail.size() &&
                   own.starts_with(other.substr(0, at)) && own.ends_with(tail) &&
                   own.substr(at, each.american.size()) == each.american;
        });
    }

    static std::string capitalised(const std::string& own) {
        const std::size_t first = text::decodeFront(own).length;
        return text::uppercased(own.substr(0, first)) + own.substr(first);
    }

    [[nodiscard]] bool isKnownOtherwise(const std::string& own, const SpellingBooks& books,
                                        NaturalLanguage language) const {
        if (m_personal.contains(own)) return true;
        if (isYoungWord(own)) return true;
        const std::size_t apostrophe = own.rfind('\'');
        if (apostrophe == std::string::npos || apostrophe == 0) return false;
        const std::string stem = own.substr(0, apostrophe);
        const std::string tail = own.substr(apostrophe + 1);
        if (language == NaturalLanguage::english) {
            if (own.ends_with("n'ts")) return true; // "dos and don'ts"
            return tail == "s" && (books.know(stem) || books.know(capitalised(stem)) ||
                                   isYoungWord(stem) || m_personal.contains(stem));
        }
        // "l'eau", "jusqu'ici": the word behind the elision counts.
        return books.know(tail) || books.know(capitalised(tail));
    }

    /// "yurts", "stylings", "pdf": a known word in the plural that a dictionary happens to lack, or
    /// the letters of a known short form.
    [[nodiscard]] static bool isFormOfKnown(const std::string& own, const SpellingBooks& books) {
        if (own.size() >= kFewestLetters && own.size() <= kLongestAcronym &&
            books.know(text::uppercased(own))) {
            return true;
        }
        return (own.size() <= kLongestOfPlural + 1 || own.ends_with("ings")) &&
               isPluralOfKnown(own, books);
    }

    /// Whether it is a known word, none of every day, with an "s" as it takes one.
    [[nodiscard]] static bool isPluralOfKnown(const std::string& own, const SpellingBooks& books) {
        if (own.size() < kFewestLetters + 1 || own.back() != 's') return false;
        const std::string stem = own.substr(0, own.size() - 1);
        constexpr std::string_view kWantsE = "sxzyf"; // "classs", "familys", "shelfs"
        if (kWantsE.find(stem.back()) != std::string_view::npos) return false;
        if (stem.ends_with("ch") || stem.ends_with("sh")) return false; // "matchs"
        return books.know(stem) && classesOf(stem) == 0;
    }

    /// "codebase", "rebuildable": made of known words, as every text may make them.
    [[nodiscard]] bool isBuilt(const std::string& own, const SpellingBooks& books) const {
        for (const std::string_view prefix : kPrefixes) {
            if (own.size() < prefix.size() + kShortestStem || !own.starts_with(prefix)) continue;
            if (books.know(own.substr(prefix.size()))) return true;
        }
        for (const std::string_view suffix : kSuffixes) {
            if (own.size() < suffix.size() + kShortestPart || !own.ends_with(suffix)) continue;
            if (books.know(own.substr(0, own.size() - suffix.size()))) return true;
        }
        return false;
    }

    /// "codebase": two words in one.
    [[nodiscard]] static bool isJoined(const std::string& own, const SpellingBooks& books) {
        if (own.size() > kLongestToMend) return false;
        for (std::size_t i = kShortestPart; i + kShortestPart <= own.size(); ++i) {
            if (books.know(own.substr(0, i)) && books.know(own.substr(i))) return true;
        }
        return false;
    }

    /// "grüssen" as "grüßen", where a book knows that; empty when none does.
    [[nodiscard]] static std::string withSharpS(const std::string& own, Shape shape,
                                                const SpellingBooks& books) {
        constexpr std::string_view kSharp = "ß";
        for (std::size_t at = own.find("ss"); at != std::string::npos;
             at = own.find("ss", at + 1)) {
            std::string sharp = own.substr(0, at) + std::string(kSharp) + own.substr(at + 2);
            if (shape != Shape::plain) sharp = capitalised(sharp);
            if (books.know(sharp)) return sharp;
        }
        return {};
    }

    /// Whether a known word is one edit away: "situaction" is no action of a situ. Such a word
    /// has the same first letter, and is no plural of this one or the other way round.
    [[nodiscard]] bool isNearEveryday(const std::string& own, NaturalLanguage language,
                                      const SpellingBooks& books) {
        if (language != NaturalLanguage::english || m_technical) return false;
        if (own.size() < kLongerForThreeEdits || m_nearest >= kMostNearest) return false;
        ++m_nearest;
        const auto near = wordsOneEditFrom(own, books, language, false, kMostNear);
        return std::any_of(near.begin(), near.end(), [&](const std::string& each) {
            return each.front() == own.front() && each + "s" != own && own + "s" != each;
        });
    }

    void suggest(const std::string& own, std::size_t index, Shape shape, NaturalLanguage language,
                 const SpellingBooks& books, Verdict& verdict) {
        const text::Word& word = m_view.words[index];
        std::size_t best = kMostEdits + 1;
        std::string parted;
        if (word.letters <= kLongestToMend && m_nearest++ < kMostNearest) {
            const bool capitals =
                language == NaturalLanguage::german && shape == Shape::capitalised;
            const std::vector<std::string> near =
                wordsOneEditFrom(own, books, language, capitals, kMostNear);
            // Among like slips the everyday word is the likelier one.
            const auto everyday = std::find_if(
                near.begin(), near.end(), [](const auto& each) { return classesOf(each) != 0; });
            if (!near.empty()) {
                best = 1;
                verdict.suggestion = everyday == near.end() ? near.front() : *everyday;
            }
        }
        if (best > 1 && word.letters <= kLongestToMend && m_suggested < kMostSuggestions) {
            ++m_suggested;
            const std::vector<std::string> found = books.books.front()->suggestions(own);
            const std::size_t few = std::min<std::size_t>(found.size(), kFewSuggestions);
            for (std::size_t i = 0; i < few; ++i) {
                if (found[i].find_first_of(" -") != std::string::npos) {
                    if (parted.empty()) parted = found[i];
                    continue;
                }
                const std::size_t edits = editsBetween(own, found[i], kMostEdits);
                if (edits >= best) continue;
                best = edits;
                verdict.suggestion = found[i];
            }
        }
        if (best > 1 && language == NaturalLanguage::english && !m_technical &&
            own.size() >= kLongerForTwoEdits) {
            const std::string_view everyday = everydayWordNear(own);
            const std::size_t edits =
                everyday.empty() ? kMostEdits + 1 : editsBetween(own, everyday, kMostEdits);
            if (edits <= 2) {
                best = std::min(best, edits);
                verdict.suggestion = everyday;
            }
        }
        m_edits = best;
        if (verdict.suggestion.empty()) verdict.suggestion = parted;
        if (verdict.suggestion.find(' ') != std::string::npos) {
            verdict.sure = false;
            return;
        }
        const bool one = best == 1 && word.letters > kFewestLetters;
        const bool two = best == 2 && word.letters >= kLongerForTwoEdits && !m_technical;
        const bool three = best == 3 && word.letters >= kLongerForThreeEdits &&
                           verdict.suggestion.front() == own.front();
        verdict.sure = one || two || three;
        if (language == NaturalLanguage::english && isMadeAsNamesAre(own, verdict.suggestion, best))
            verdict.sure = false;
        // "perseverant" beside "perseverance": another word of the family, not a slip.
        if (best > 1 && differsInEnding(own, verdict.suggestion)) verdict.sure = false;
        // "ipod": a name that is written as it likes.
        if (text::lowercased(verdict.suggestion) == own && !isProperWord(own)) verdict.sure = false;
        // "wheelbarrows": of a known word, which a dictionary need not have in each form.
        if (language == NaturalLanguage::english && isPluralOfKnown(own, books))
            verdict.sure = false;
        // "tovar's": what owns something is a name as often.
        if (own.ends_with("'s") && classesOf(withoutOwner(verdict.suggestion)) == 0)
            verdict.sure = false;
        // An ending that every language hangs on words of its own making.
        if (own.ends_with("able") && !verdict.suggestion.ends_with("able")) verdict.sure = false;
        if (shape == Shape::capitalised) {
            verdict.sure = (best == 1 && word.letters > 4) || (best == 2 && word.letters > 7);
        }
    }

    [[nodiscard]] static bool isVowel(char c) {
        return std::string_view("aeiouy").find(c) != std::string_view::npos;
    }

    /// What is left of a word without vowels, doubled letters and "h", with the letters alike that
    /// sound alike: "fosfor" and "phosphor" are one.
    [[nodiscard]] static std::string skeleton(std::string_view word) {
        std::string bones;
        for (std::size_t i = 0; i < word.size(); ++i) {
            char c = word[i];
            if (c == 'p' && i + 1 < word.size() && word[i + 1] == 'h') c = 'f';
            if (isVowel(c) || c == 'h' || c == 'w') continue;
            const bool soft = i + 1 < word.size() && (word[i + 1] == 'e' || word[i + 1] == 'i');
            if (c == 'c') c = soft ? 's' : 'k';
            if (c == 'q') c = 'k';
            if (c == 'z') c = 's';
            if (bones.empty() || bones.back() != c) bones += c;
        }
        return bones;
    }

    /// Whether the word is more likely a name of a program than the suggestion misspelt: another
    /// letter in front ("vtable"), no vowel ("ctrls"), short and near to a word that is seldom
    /// written ("glibc"), or several edits off with other consonants ("kubectl").
    [[nodiscard]] static bool isMadeAsNamesAre(std::string_view own, const std::string& suggestion,
                                               std::size_t edits) {
        const std::string other = text::lowercased(suggestion);
        if (std::none_of(own.begin(), own.end(), isVowel)) return true;
        if (own.size() == other.size() + 1 && own.size() <= kLongestOfNames &&
            own.substr(1) == other && own[0] != own[1] && !isVowel(own[0])) {
            return true;
        }
        if (classesOf(other) != 0 || edits == 0) return false;
        const std::string ours = skeleton(own);
        const std::string theirs = skeleton(other);
        if (edits == 1) {
            if (own.size() > kShortWord || ours == theirs) return false;
            // Two letters changed places.
            return !std::is_permutation(own.begin(), own.end(), other.begin(), other.end());
        }
        if (ours == theirs) return false;
        return own.size() < kLongWord || theirs.size() != ours.size() + 1 ||
               editsBetween(ours, theirs, 2) != 1;
    }

    /// Whether two words have one stem, and each an ending of its own by which such words are made.
    [[nodiscard]] static bool differsInEnding(std::string_view own, std::string_view other) {
        constexpr std::size_t kShortestStemOfBoth = 6;
        constexpr std::array<std::string_view, 16> kEndings = {
            "ant", "ance", "ancy",  "ent", "ence", "ation", "ative", "ive",
            "ist", "ism",  "istic", "al",  "ity",  "ness",  "ment",  "er"};
        std::size_t same = 0;
        while (same < own.size() && same < other.size() && own[same] == other[same]) ++same;
        // The stem may end before the letters that both endings begin with.
        for (std::size_t stem = kShortestStemOfBoth; stem <= same; ++stem) {
            if (text::isOneOf(own.substr(stem), kEndings) &&
                text::isOneOf(other.substr(stem), kEndings))
                return true;
        }
        return false;
    }

    /// The everyday word, with the same first letter and of about the same length, that is at most
    /// two edits away; empty when there is none, or several.
    [[nodiscard]] static std::string_view everydayWordNear(const std::string& own) {
        std::string_view found;
        std::size_t best = 3;
        for (const std::string_view word : everydayWords(own.front())) {
            if (word.size() + 2 < own.size() || own.size() + 2 < word.size()) continue;
            if (word.size() < kLongerForTwoEdits) continue;
            const std::size_t edits = editsBetween(own, word, 2);
            if (edits > best || edits > 2) continue;
            found = edits == best ? std::string_view() : word;
            best = edits;
        }
        return found;
    }

    [[nodiscard]] bool isForeign(const std::string& own, NaturalLanguage language) {
        if (++m_foreign > kMostForeign) return false;
        return std::any_of(std::begin(kSpelledLanguages), std::end(kSpelledLanguages),
                           [&](NaturalLanguage other) {
                               return other != language && m_tools.shelf->of(other).know(own);
                           });
    }

    /// Names of peoples, languages, days and months, which nobody writes in lower case on purpose.
    static bool isProperWord(const std::string& own) {
        constexpr std::array<std::string_view, 58> kProper = {
            "english",    "american", "british",  "french",   "german",    "spanish",   "chinese",
            "japanese",   "indian",   "italian",  "russian",  "korean",    "european",  "african",
            "asian",      "arabic",   "canadian", "mexican",  "christian", "christmas", "america",
            "europe",     "africa",   "asia",     "england",  "germany",   "france",    "spain",
            "india",      "italy",    "russia",   "canada",   "mexico",    "australia", "brazil",
            "london",     "paris",    "monday",   "tuesday",  "wednesday", "thursday",  "friday",
            "saturday",   "sunday",   "january",  "february", "april",     "june",      "july",
            "september",  "october",  "november", "december", "greek",     "dutch",     "swedish",
            "portuguese", "egyptian"};
        return text::isOneOf(own, kProper);
    }

    const ProseView& m_view;
    const ProseLanguages& m_languages;
    const LanguageTools& m_tools;
    const std::set<std::size_t>& m_spokenOf;
    LanguageSlips& m_slips;
    Coverage& m_coverage;
    PersonalWords m_personal;
    std::unordered_map<std::string, std::size_t> m_counts;
    std::unordered_set<std::string> m_code;
    std::unordered_set<std::size_t> m_starts;
    std::unordered_map<std::string, Verdict> m_verdicts;
    bool m_technical = false;
    bool m_hasSharpS = false;
    bool m_casual = false;
    std::size_t m_looked = 0;
    std::size_t m_suggested = 0;
    std::size_t m_nearest = 0;
    std::size_t m_foreign = 0;
    std::size_t m_edits = 0; // Of the suggestion that was found last.
};

} // namespace

void checkSpelling(const ProseView& view, const ProseLanguages& languages,
                   const LanguageTools& tools, const std::set<std::size_t>& spokenOf,
                   LanguageSlips& slips, Coverage& coverage) {
    if (tools.shelf == nullptr) return;
    Speller(view, languages, tools, spokenOf, slips, coverage).check();
}

} // namespace trevix
