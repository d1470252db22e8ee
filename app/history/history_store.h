// The verdicts of the past, in a folder of the user's own.
//
// "history" in the data folder: a file for each verdict, named by its time, with the mode 0600. A
// file is written whole or not at all and never changed, so that any number of programs keep their
// verdicts here side by side, a full disk costs the one that did not fit, and a damaged file costs
// itself. What is older or more than the bounds below goes when the next one comes.
//
// Beside them "under-way": what a service accepted and has not answered yet, so that a restart
// takes it up again. Any thread; calls block for the disk. Nothing throws, and what fails is left
// out.

#pragma once

#include "app/history/verdict_entry.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class FileSystem;

namespace history {

/// Three or four a working day for half a year; so many files are read to show them.
inline constexpr std::size_t kMostEntries = 500;
/// All files together. A verdict without a text takes some two kilobytes.
inline constexpr std::size_t kMostBytes = 16 * 1024 * 1024;
inline constexpr std::chrono::hours kLongestAge{24 * 180};

/// A job that the service has accepted.
struct UnderWay {
    std::string jobId;
    std::string base = {};       ///< A digest of the service's address, which may hold a password.
    std::string desktop = {};    ///< Of the instance that waits for it, see desktopName().
    std::int64_t acceptedMs = 0; ///< Since 1970, UTC.
    VerdictEntry work = {};      ///< What is known before there is a verdict.

    bool operator==(const UnderWay&) const = default;
};

class HistoryStore {
public:
    /// `files` must outlive it. `nowMs` is since 1970, UTC.
    HistoryStore(FileSystem& files, const std::filesystem::path& braskHome,
                 std::function<std::int64_t()> nowMs);

    /// Keeps a verdict, with the time of now, and lets go what is past the bounds. Its id; absent
    /// when it could not be written.
    std::optional<std::string> record(VerdictEntry entry);

    /// All that can be read, the newest first.
    [[nodiscard]] std::vector<VerdictEntry> list() const;

    /// Whether a verdict of that run can be read. None for an empty id.
    [[nodiscard]] bool holdsRun(const std::string& runId) const;

    /// False when there was none of that id, or it could not be removed.
    bool erase(const std::string& id);
    /// Everything, what cannot be read included. False when something is left.
    bool eraseAll();

    // What is under way.
    void keepUnderWay(const UnderWay& job);
    void endUnderWay(const std::string& jobId);
    /// What this desktop's instance waited for when it ended, the oldest first, and accepted no
    /// longer ago than `most`. What is older, of any desktop, goes.
    [[nodiscard]] std::vector<UnderWay> takeUp(const std::string& desktop,
                                               std::chrono::milliseconds most);

    [[nodiscard]] std::int64_t now() const { return m_nowMs(); }
    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

private:
    void prune();

    FileSystem& m_files;
    std::filesystem::path m_folder;
    std::filesystem::path m_underWay;
    std::function<std::int64_t()> m_nowMs;
};

} // namespace history

} // namespace kelvane
