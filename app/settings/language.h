// Which of the program's languages its texts are in.
//
// Pure; any thread.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// What the person has set, or else the first of the desktop's languages that the program has; else
/// "en". `desktops` are names of locales, the preferred one first, as "de-AT", "de_AT.UTF-8" or
/// "C".
[[nodiscard]] std::string languageOf(std::string_view set,
                                     const std::vector<std::string>& desktops);

/// What a language calls itself; empty for none of the program's.
[[nodiscard]] std::string_view languageName(std::string_view language);

} // namespace kelvane
