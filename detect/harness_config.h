// The probe of the coding tools' configuration: which are set up for this user, which are wired.
//
// Both answers are sets of the keys of `WiringRecord`. Nothing is parsed: a tool is wired when one
// of its files contains the markers that the installer leaves, so a marker in a comment counts too.
// Read-only; a file that cannot be read or is not UTF-8 counts as empty. Any thread.

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
