// The dictionaries of a machine, read by libhunspell.
//
// A build without the library has a shelf all the same; it has no books and says why.

#pragma once

#include "critics/language/dictionary.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace trevix {

/// Where systems and people keep dictionaries, in the order of asking: those of the person (of
/// `dataHome`, which is $XDG_DATA_HOME or what stands for it, and of `home`), then those of the
/// system. Folders of an empty path are left out.
[[nodiscard]] std::vector<std::filesystem::path>
dictionaryFolders(const std::filesystem::path& home, const std::filesystem::path& dataHome);

/// The shelf over these folders; the first that has a dictionary has it. Nothing is read before a
/// language is asked for. A dictionary that cannot be read is a reason in the answer, and so is one
/// larger than a dictionary can be.
[[nodiscard]] std::shared_ptr<const DictionaryShelf>
hunspellShelf(std::vector<std::filesystem::path> folders);

} // namespace trevix
