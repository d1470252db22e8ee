// The classes of words that no list of ours has, told by the forms that dictionaries have of them.
//
// A word with "-s", "-ed" and "-ing" that owns nothing ("communicate's") and has neither "-ly" nor
// "-ness" is a verb and nothing else; one that owns something and has none of these forms is a
// noun. Of dictionaries that have no forms with "'s" nothing is told.

#pragma once

#include "critics/language/dictionary.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace trevix {

/// Remembers what it has told; for one text. One thread.
class OpenWords {
public:
    /// `shelf` must live as long; without one nothing is told. It is asked for the books of English
    /// with the first word.
    explicit OpenWords(const DictionaryShelf* shelf) : m_shelf(shelf) {}

    /// The classes of english_words.h of a word in lower case, of open classes only; 0 when its
    /// forms do not tell. Costs some ten look-ups once.
    [[nodiscard]] std::uint32_t of(std::string_view word);

private:
    [[nodiscard]] bool know(const std::string& word) const;
    [[nodiscard]] std::uint32_t told(const std::string& word) const;
    [[nodiscard]] bool isVerb(const std::string& word) const;
    [[nodiscard]] bool isThing(const std::string& word) const;
    [[nodiscard]] bool hasVerbForms(const std::string& word) const;
    [[nodiscard]] bool describes(const std::string& word) const;

    const DictionaryShelf* m_shelf;
    std::optional<bool> m_hasOwners; ///< Once it was asked for.
    std::unordered_map<std::string, std::uint32_t> m_told;
};

} // namespace trevix
