// What the critics of prose know of languages beyond their own rules: dictionaries, a list of known
// slips, the words of a person.
//
// A value to hand about; any thread. Each part may be missing.

#pragma once

#include "critics/language/dictionary.h"
#include "critics/language/slip_list.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

namespace trevix {

/// Words in lower case that are right whatever a dictionary says.
using PersonalWords = std::unordered_set<std::string>;

struct LanguageTools {
    std::shared_ptr<const DictionaryShelf> shelf;
    std::shared_ptr<const SlipList> slips;
    /// Asked once for each part, so that a word counts from the next grade on.
    std::function<PersonalWords()> personalWords;
};

/// The words of a dictionary of one's own: one a line; what follows a "#" is a remark.
[[nodiscard]] PersonalWords personalWordsIn(std::string_view text);

/// Those of a file; none when it is not there, or larger than 1 MiB.
[[nodiscard]] PersonalWords readPersonalWords(const std::filesystem::path& file);

/// What this machine has, for a person with these folders. `personal` is a file that need not be
/// there. Reads the list of slips, and dictionaries only when they are asked for.
[[nodiscard]] LanguageTools toolsOfMachine(const std::filesystem::path& home,
                                           const std::filesystem::path& dataHome,
                                           std::filesystem::path personal);

} // namespace trevix
