// The folders of the XDG Base Directory Specification, decided from the values of its variables.
//
// A value that is unset, empty or not absolute counts as not there: a relative folder would depend
// on where a program was started from. Pure; any thread.

#pragma once

#include <filesystem>
#include <string>

namespace kelvane::text {

/// $XDG_CONFIG_HOME, else ".config" under `home`. Absolute exactly when one of the two is.
[[nodiscard]] std::filesystem::path xdgConfigHome(const std::string& value,
                                                  const std::filesystem::path& home);

/// $XDG_DATA_HOME, else ".local/share" under `home`. Absolute exactly when one of the two is.
[[nodiscard]] std::filesystem::path xdgDataHome(const std::string& value,
                                                const std::filesystem::path& home);

} // namespace kelvane::text
