// The verdict on an agent's turn, as the hook of the coding tools leaves it in
// `~/.brask/state/turn.json`.
//
// One object: "at" (milliseconds since 1970), "project" (the name of its folder), "band", "score",
// "flaws" (how many), "run_id", "service" (its base). Whatever is missing or no such thing is
// absent; without a band it is no verdict.

#pragma once

#include "eval/verdict.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FileSystem;

namespace history {

struct TurnVerdict {
    std::int64_t at = 0;
    std::string project;
    Band band = Band::unknown;
    std::optional<double> score;
    std::int64_t flaws = 0;
    std::optional<std::string> runId;
    std::string service;

    bool operator==(const TurnVerdict&) const = default;
};

/// In bytes: ten times what the hook writes.
inline constexpr std::size_t kLongestTurn = 8'192;

/// Absent when it is none. Pure.
[[nodiscard]] std::optional<TurnVerdict> turnVerdictOf(std::string_view json);

/// Looks for a newer one. Main thread only.
class TurnWatch {
public:
    /// `files` must outlive it. What is there now is old.
    TurnWatch(FileSystem& files, const std::filesystem::path& braskHome);

    /// One that has come since the last look; of several the last. A file that somebody else could
    /// have written tells nothing.
    [[nodiscard]] std::optional<TurnVerdict> look();

private:
    [[nodiscard]] std::optional<TurnVerdict> read();

    FileSystem& m_files;
    std::filesystem::path m_file;
    std::optional<TurnVerdict> m_last;
};

} // namespace history
} // namespace kelvane
