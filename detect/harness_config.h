// Is a coding tool set up for this user, and is it wired to the validator?
//
// Both answers are sets of the keys "claude", "codex", "openclaw" and "cursor". Nothing is parsed:
// a tool is wired when its configuration contains the marker that the installer leaves, so a marker
// in a comment counts too. Read-only; a file that cannot be read counts as empty. Any thread.

#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace kelvane {

class FileSystem;

namespace HarnessConfig {

/// The tools whose configuration exists under `home`.
[[nodiscard]] std::set<std::string> present(FileSystem& files, const std::filesystem::path& home);

/// The tools whose configuration under `home` carries the validator's marker. A tool can be wired
/// without being present.
[[nodiscard]] std::set<std::string> wired(FileSystem& files, const std::filesystem::path& home);

} // namespace HarnessConfig

} // namespace kelvane
