// Dictionaries to spell by, and the shelf that has those of each language.
//
// Both are ports: a machine has other dictionaries than a test. Any thread, several at once.

#pragma once

#include "critics/language/language.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace trevix {

/// The words of one language, as one publisher writes them.
class Dictionary {
public:
    virtual ~Dictionary() = default;

    /// Whether the word is right as it stands. Capitals count: a name in lower case is wrong.
    [[nodiscard]] virtual bool knows(std::string_view word) const = 0;

    /// Words that may have been meant, the likeliest first. Costs a thousand times what `knows`
    /// does.
    [[nodiscard]] virtual std::vector<std::string> suggestions(std::string_view word) const = 0;
};

/// All that is here of one language. A word that one of the books knows is right.
struct SpellingBooks {
    std::vector<std::shared_ptr<const Dictionary>> books;
    std::string names;  ///< Of the books, for people: "en_US, en_GB".
    std::string why;    ///< Without books, a clause: "no dictionary of the language is installed".
    std::string remedy; ///< Without books: "install hunspell-fr"; empty when nothing helps.

    [[nodiscard]] bool know(std::string_view word) const;
};

class DictionaryShelf {
public:
    virtual ~DictionaryShelf() = default;

    /// What is here of a language; opened when first asked for and kept. The answer lives as long
    /// as the shelf.
    [[nodiscard]] virtual const SpellingBooks& of(NaturalLanguage language) const = 0;

    /// Who spells: "hunspell".
    [[nodiscard]] virtual std::string engine() const = 0;
    /// As it tells it; empty when it tells none.
    [[nodiscard]] virtual std::string version() const = 0;
};

/// A shelf of word lists in memory, for tests and for machines without a spelling library. It
/// suggests whatever is one edit away. Capitals as in a dictionary: a word in lower case is right
/// with a capital too.
class ListShelf : public DictionaryShelf {
public:
    /// Adds a dictionary of a language: words parted by blanks.
    void add(NaturalLanguage language, std::string_view words);

    [[nodiscard]] const SpellingBooks& of(NaturalLanguage language) const override;
    [[nodiscard]] std::string engine() const override { return "word list"; }
    [[nodiscard]] std::string version() const override { return ""; }

private:
    SpellingBooks m_books[kNaturalLanguages];
    SpellingBooks m_none{{}, "", "no dictionary of the language is installed", ""};
};

/// The known words that are one edit from `word`, which is in lower case, the likeliest slips
/// first: neighbours swapped, a letter doubled or not, one left out, one too many, another vowel,
/// another letter. At most `most`. Costs some hundred look-ups, whatever the dictionary. With
/// `capitals` a word counts that is known with a capital only.
[[nodiscard]] std::vector<std::string> wordsOneEditFrom(std::string_view word,
                                                        const SpellingBooks& books,
                                                        NaturalLanguage language, bool capitals,
                                                        std::size_t most);

/// Least number of letters put in, left out, changed or swapped with their neighbour that makes one
/// word the other, counted in code points and without regard to case; at most `most` + 1, which
/// says that it is more than `most`.
[[nodiscard]] std::size_t editsBetween(std::string_view a, std::string_view b, std::size_t most);

} // namespace trevix
