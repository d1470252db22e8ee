// Words that dictionaries lack and people write, and joined words that they do not mean to.
//
// Closed lists of our own. Constants; any thread.

#pragma once

#include <string_view>

namespace trevix {

/// Whether it is a word of computing, business or daily life younger than the dictionaries.
/// Lower case.
[[nodiscard]] bool isYoungWord(std::string_view word);

/// What two words are written as one in "alot", and are wrong so; empty for others. Lower case.
[[nodiscard]] std::string_view partedForm(std::string_view word);

} // namespace trevix
