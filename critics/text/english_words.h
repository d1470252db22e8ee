// The words of English that the grammar rules know, each with what it can be in a sentence.
//
// Closed lists of our own: a word that is not in them is nothing, and no rule speaks about it.
// Built once; any thread.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace trevix {

/// What a word can be; several at once.
enum WordClass : std::uint32_t {
    kBase = 1U << 0U,        ///< A verb as the dictionary has it: "go", "work".
    kPureBase = 1U << 1U,    ///< Such a verb that is no noun and no adjective: "go", not "work".
    kThird = 1U << 2U,       ///< "goes"; only of verbs whose form is no plural of a noun.
    kPast = 1U << 3U,        ///< "went", "bought": irregular, and nothing but a past.
    kPastOnly = 1U << 4U,    ///< "went", which is no participle either.
    kRegularPast = 1U << 5U, ///< "worked".
    kIng = 1U << 6U,         ///< "going"; only of pure verbs.
    kSingular = 1U << 7U,    ///< A noun that needs an article or a plural: "student".
    kPlural = 1U << 8U,      ///< "students", "people".
    kMass = 1U << 9U,        ///< "information".
    kAdjective = 1U << 10U,
    kComparative = 1U << 11U, ///< "bigger"
    kSuperlative = 1U << 12U, ///< "biggest"
    kPerson = 1U << 13U,      ///< A noun for people, singular or plural.
    kFunction = 1U << 14U,    ///< A little word, behind which no noun phrase goes on.
    kBe = 1U << 15U,
    kModal = 1U << 16U,
    kPreposition = 1U << 17U,
    kDeterminer = 1U << 18U,
    kAdverb = 1U << 19U,       ///< One that stands between subject and verb.
    kMeasure = 1U << 20U,      ///< "years", "dollars": five of them may be one amount.
    kConjunction = 1U << 21U,  ///< Behind it a clause begins.
    kAnyThird = 1U << 22U,     ///< "works": in "-s" too, where it may be the plural of a noun.
    kObject = 1U << 23U,       ///< "me", "them", "it".
    kStrict = 1U << 24U,       ///< A singular noun that no idiom has without an article.
    kLatePast = 1U << 25U,     ///< "felt", "lost": a past that is another word too.
    kOpenVerb = 1U << 26U,     ///< Of a verb that stands in no list here; see open_words.h.
    kOpenSingular = 1U << 27U, ///< Such a noun.
    kOpenPlural = 1U << 28U,
    kOpenCount = 1U << 29U, ///< A singular noun of those that has a plural of its own.
};

/// With "'" for each "’".
[[nodiscard]] std::string withStraightApostrophes(std::string_view word);

/// The classes of a word in lower case, with straight apostrophes; 0 when it is not known.
[[nodiscard]] std::uint32_t classesOf(std::string_view word);

/// "study" to "studies", "watch" to "watches": nouns and verbs alike. In lower case.
[[nodiscard]] std::string withEndingS(const std::string& word);

/// The words known that begin with this small letter, in the order of the alphabet; none for
/// another sign.
[[nodiscard]] const std::vector<std::string_view>& everydayWords(char first);

/// Whether the verb keeps its "to" where what it goes with stands before it: "which book did you
/// refer to to write it". In lower case.
[[nodiscard]] bool keepsTo(std::string_view verb);

/// A set of words written as one text, parted by blanks. `words` must live as long.
class WordSet {
public:
    explicit WordSet(std::string_view words);
    [[nodiscard]] bool has(std::string_view word) const { return m_words.contains(word); }

private:
    std::unordered_set<std::string_view> m_words;
};

} // namespace trevix
