// Phrases that English has taken over from other languages as they are.
//
// Their words stand in no English dictionary, or beside one that is meant otherwise ("fait" beside
// "fair"). A closed list of our own, of what dictionaries of English explain. Constants; any
// thread.

#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace trevix {

/// The words of the longest.
constexpr std::size_t kMostWordsOfPhrase = 6;

/// How many of the words, from the first on, are such a phrase: 2 for {"fait", "accompli", "of"}; 0
/// for none. Of several it is the longest. Words are in lower case, with "'" for an apostrophe, and
/// have the marks of their letters or not.
[[nodiscard]] std::size_t borrowedPhrase(std::span<const std::string> words);

} // namespace trevix
