// The rule for spelling.
//
// Only words of running prose are looked up: code, addresses, file names, identifiers, names and
// abbreviations are left alone, and so is a word that the text has three times, which is a term.
// What is left is held against the dictionaries of the block's language. Sure slips are medium, the
// others low. At most so many words are looked up and so many suggestions asked for that no text
// takes long; docs/thresholds.md has the figures. Any thread.

#pragma once

#include "critics/text/language_slips.h"
#include "critics/text/prose_languages.h"

#include <set>

namespace trevix {

/// Adds what is misspelt. Without a shelf nothing; nothing about words whose offsets are in
/// `spokenOf`, which another rule has found already. A limit that was met is a gap in `coverage`.
void checkSpelling(const ProseView& view, const ProseLanguages& languages,
                   const LanguageTools& tools, const std::set<std::size_t>& spokenOf,
                   LanguageSlips& slips, Coverage& coverage);

} // namespace trevix
