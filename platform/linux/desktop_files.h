// The desktop files of this machine, as `rules/desktop_entries.h` reads them.

#pragma once

#include "platform/linux/rules/desktop_entries.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// What the environment says now.
[[nodiscard]] DesktopVariables desktopVariables(Environment& environment);

/// The desktop files of this machine, read when first asked for and again when a folder changed.
/// Any thread.
class DesktopFiles {
public:
    /// `clock` must outlive this object.
    DesktopFiles(std::vector<std::filesystem::path> dataFolders, const std::string& locale,
                 Clock& clock);

    /// What is installed now, or was a few seconds ago: the folders are looked at that often, and
    /// read only when their modification time has moved. Never null.
    [[nodiscard]] std::shared_ptr<const DesktopEntryIndex> index();

private:
    struct Folder {
        std::filesystem::path path;
        std::optional<std::int64_t> changed; ///< Absent when there is no such folder.
    };

    struct Reading {
        std::vector<DesktopEntry> entries;
        std::set<std::pair<std::uint64_t, std::uint64_t>> places; ///< Folders read already.
    };

    void read();
    void readFolder(const std::filesystem::path& applications, const std::filesystem::path& below,
                    int depth, Reading& reading);

    const std::vector<std::filesystem::path> m_dataFolders;
    const std::vector<std::string> m_keys;
    Clock& m_clock;
    std::mutex m_mutex; ///< Guards everything below.
    std::shared_ptr<const DesktopEntryIndex> m_index;
    std::vector<Folder> m_folders; ///< Every one that was read or would be if it were there.
    Instant m_lookedAt{0};
};

} // namespace kelvane
