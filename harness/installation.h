// The places of what we install, and the texts of the files that start it.
//
// Values in, values out: nothing here reads or writes. Installing and uninstalling both go by these
// answers, so that what one puts down is what the other takes away.

#pragma once

#include "platform/ports/login_item.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class Environment;

/// One user's installation. All paths are absolute.
struct Installation {
    std::filesystem::path home;
    std::filesystem::path braskHome; ///< Our data folder, ".brask" in the home folder.
    std::string bundleId;            ///< The application's reverse-DNS identifier.
    LoginItem loginItem = LoginItem::LaunchAgent;
    std::filesystem::path configHome; ///< The desktop's configuration; used by autostart entries.
    std::filesystem::path dataHome;   ///< The desktop's user data; used by autostart entries.
};

/// $XDG_CONFIG_HOME, and $XDG_DATA_HOME; where they are unset, empty or not absolute, ".config" and
/// ".local/share" under `home`.
[[nodiscard]] std::filesystem::path configHome(Environment& environment,
                                               const std::filesystem::path& home);
[[nodiscard]] std::filesystem::path dataHome(Environment& environment,
                                             const std::filesystem::path& home);

/// The bundle of the copy that starts at login: "Applications/Kelvane.app" in the home folder.
[[nodiscard]] std::filesystem::path installedBundle(const Installation& installation);

/// The program in it, which is what a login starts.
[[nodiscard]] std::filesystem::path installedExecutable(const Installation& installation);

/// A file that is ours as a whole.
struct InstalledFile {
    std::filesystem::path path;
    std::string text;

    bool operator==(const InstalledFile&) const = default;
};

/// The files through which the system finds the installed copy. With a launch agent that is its
/// property list. With an autostart entry it is that entry and one for the applications menu: a
/// program that was quit can be started again there.
[[nodiscard]] std::vector<InstalledFile> startFiles(const Installation& installation);

/// What a desktop entry's Exec key says to start `program` without arguments: quoted, so that
/// blanks and characters with a meaning to the shell, to field codes or to the entry stand for
/// themselves.
[[nodiscard]] std::string execValue(const std::filesystem::path& program);

/// The text as it stands between double quotes in a shell command.
[[nodiscard]] std::string inDoubleQuotes(std::string_view text);

/// The text as one word of a shell command.
[[nodiscard]] std::string shellWord(std::string_view text);

} // namespace kelvane
