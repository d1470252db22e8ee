// The folder in which each child has one of its own, as a new service takes it over.

#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// What a child's folder is called, as mkdtemp(3) takes it.
constexpr std::string_view kChildFolder = "work.XXXXXX";

/// Makes `folder`, or empties it, open to its owner only (0700), and ends what still waits there
/// for a service that was killed. Nobody else may be using it. Throws
/// std::filesystem::filesystem_error when that cannot be done; a program that cannot be ended
/// stays.
void takeOverWorkFolder(const std::filesystem::path& folder);

/// Whether these words start bubblewrap over the folder of a child below `folder`.
[[nodiscard]] bool isSandboxBelow(const std::filesystem::path& folder,
                                  const std::vector<std::string>& words);

/// Ends this user's processes that were started with such words, on Linux; elsewhere there are
/// none.
void endSandboxesBelow(const std::filesystem::path& folder);

} // namespace trevix
