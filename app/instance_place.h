// Where the running instance of this program listens, and what can be said to it.
//
// A line each way over a socket in a folder that is this user's alone. Pure; any thread.

#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

using EnvironmentSnapshot = std::map<std::string, std::string>;

/// What tells one desktop of a user from another, fit for a file's name: from WAYLAND_DISPLAY, else
/// from DISPLAY without its screen number, else "console".
[[nodiscard]] std::string desktopName(const EnvironmentSnapshot& environment);

/// The folder for the lock and the socket: `name` in XDG_RUNTIME_DIR when that is an absolute path,
/// else "`name`-`user`" in `temporary`.
[[nodiscard]] std::filesystem::path instanceFolder(const EnvironmentSnapshot& environment,
                                                   const std::string& name, unsigned user,
                                                   const std::filesystem::path& temporary);

/// The socket of the instance on `desktop`.
[[nodiscard]] std::filesystem::path instanceSocket(const std::filesystem::path& folder,
                                                   const std::string& desktop);

/// What is captured when a grade is asked for: as the catalog says, or in spite of it.
enum class GradeWish { AsCatalog, Selection, Window };

// The lines, without their ends. "open" with a token behind it is `SingleInstance`'s own.
inline constexpr std::string_view kAskStatus = "status";
inline constexpr std::string_view kAskService = "service";
inline constexpr std::string_view kAskHistory = "history";
inline constexpr std::string_view kAskSettings = "settings";
[[nodiscard]] std::string_view askGrade(GradeWish wish);
[[nodiscard]] std::optional<GradeWish> gradeWishOf(std::string_view line);

/// What became of the wish to grade, and the line that says so.
enum class GradeBegun { Yes, NothingInFront, NoKey, Already, Paused, NeverCaptured };
[[nodiscard]] std::string_view gradeReply(GradeBegun begun);
[[nodiscard]] std::optional<GradeBegun> gradeBegunOf(std::string_view reply);

} // namespace kelvane
