// What the user said about switching accessibility on for this program, and the file that keeps it:
// ".brask/accessibility" under the home folder.
//
// Its first word that is "on", "off" or "no" counts; lines that begin with "#" mean nothing. Delete
// the file to be asked again.

#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace kelvane {

class FileSystem;

namespace accessibility_choice {

enum class Answer {
    On,  ///< He had this program switch it on.
    Off, ///< He had it switch it off again.
    No,  ///< He was asked and said no.
};

/// Pure; absent when he was not asked.
[[nodiscard]] std::optional<Answer> answerIn(std::string_view content);

[[nodiscard]] std::filesystem::path fileIn(const std::filesystem::path& braskHome);

[[nodiscard]] std::optional<Answer> remembered(FileSystem& files,
                                               const std::filesystem::path& braskHome);

/// Writes the file anew. False when it could not be written.
bool remember(FileSystem& files, const std::filesystem::path& braskHome, Answer answer);

} // namespace accessibility_choice

} // namespace kelvane
