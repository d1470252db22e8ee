// Whether a file or folder is this user's alone.
//
// What the service keeps is opened only where nobody else can have put it, can read it or can
// change it. Nothing is changed here: what is wrong is told, with what would put it right. Other
// users cannot do anything between the look and the use, since the folder is closed to them. Any
// thread.

#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace trevix {

/// Why the file may not be used, in one sentence: it is no regular file or a link, belongs to
/// somebody else, has a second name, or may be read or written by others. Absent when all is well,
/// and when there is no such file.
[[nodiscard]] std::optional<std::string> fileProblem(const std::filesystem::path& file);

/// The same of a file that is open, by its facts; it may have a second name, as one has that is
/// just being made.
[[nodiscard]] std::optional<std::string> fileProblem(const std::filesystem::path& file,
                                                     const struct stat& facts);

/// Why the folder may not be used: it is no folder or a link, belongs to somebody else, or others
/// may write in it. What is in it may have modes of its own, so that others may look into it.
/// Absent when all is well, and when there is none.
[[nodiscard]] std::optional<std::string> folderProblem(const std::filesystem::path& folder);

} // namespace trevix
