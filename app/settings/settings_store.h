// The settings as they are, read anew when the file changes, and changed by an edit of the file.
//
// Main thread only. Files that somebody else could have written are not used. A file that cannot be
// read as settings any more leaves those in force that were read before it; where there were none,
// the defaults with a preview of everything.

#pragma once

#include "app/settings/settings.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class FileSystem;

class SettingsStore {
public:
    /// `files` must outlive it. Reads nothing; until look() the settings are the defaults.
    SettingsStore(FileSystem& files, const std::filesystem::path& braskHome);

    /// Reads the file again. Whether settings or problems are others now.
    bool look();

    [[nodiscard]] const Settings& now() const { return m_settings; }
    [[nodiscard]] const std::vector<std::string>& problems() const { return m_problems; }
    [[nodiscard]] const std::filesystem::path& file() const { return m_file; }

    /// Looks, edits and writes. A sentence for the user when that did not work; then the settings
    /// are what the file says.
    [[nodiscard]] std::optional<std::string> change(const std::function<void(Settings&)>& edit);

private:
    void take(SettingsRead read);

    FileSystem& m_files;
    std::filesystem::path m_file;
    std::optional<std::string> m_text; ///< As of the last look; absent: there was no file.
    bool m_isUsable = true;            ///< Whether that text may be edited.
    bool m_wasTrusted = false;         ///< Settings were read once that can be gone back to.
    Settings m_settings;
    std::vector<std::string> m_problems;
};

} // namespace kelvane
