// Tells languages apart, and says nothing where it is not sure.
//
// Little words that every text of a language has are counted; libcld2, where the build has it,
// knows the languages beyond. Pure; any thread.

#pragma once

#include "critics/language/language.h"

#include <string_view>

namespace trevix {

/// The language of a passage without markup. At most its first 16 kB are read. Unknown when there
/// is too little of it, or when two languages have about as much to say for themselves.
[[nodiscard]] ToldLanguage tellLanguage(std::string_view passage);

/// Whether the build tells languages apart that no little words are known of here.
[[nodiscard]] bool tellsManyLanguages();

} // namespace trevix
