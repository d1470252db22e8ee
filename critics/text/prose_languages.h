// The language of each block of a text.
//
// A block that is long enough speaks for itself, so that work in two languages is judged by both; a
// short one has the language of the whole. Pure but for the dictionaries; linear; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"
#include "critics/text/prose_rules.h"

#include <vector>

namespace trevix {

struct ProseLanguages {
    ToldLanguage whole;               ///< Unknown when nothing is sure.
    std::vector<ToldLanguage> blocks; ///< One for each block of the prose.
};

/// Dictionaries are asked only where the words themselves do not tell, as in a title.
[[nodiscard]] ProseLanguages languagesOf(const ProseView& view, const LanguageTools& tools);

/// The first and one past the last word of the view that lie in the block.
struct WordRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};
[[nodiscard]] std::vector<WordRange> wordsOfBlocks(const ProseView& view);

/// Who can judge prose in these languages, and what nobody here can. Known when most of the words
/// are in a language whose dictionary is here; a text without words is.
void noteLanguages(const ProseView& view, const ProseLanguages& languages,
                   const LanguageTools& tools, Coverage& coverage);

} // namespace trevix
