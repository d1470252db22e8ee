// A text file of the user's, edited line by line.
//
// Everything else in the file stays as it is, byte for byte: remarks, order, line ends. A change is
// whole or not there at all, whenever the program ends; a link is followed, so that the file it
// leads to changes and the link stays. Who edits the same file at the same moment takes turns with
// us if it locks the folder (flock), as the validator kit does. A file that does not exist is an
// empty one, made with its folder for its owner alone when a line is added.
//
// Any thread. An error is a sentence for people.

#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// Bytes; a larger file is not one that a person filled by saying things one by one.
constexpr std::size_t kLargestLineFile = std::size_t{4} << 20U;

/// The lines without their ends. Absent when the file is there and cannot be read, is no file, or
/// is too large.
[[nodiscard]] std::optional<std::vector<std::string>> readLines(const std::filesystem::path& file);

/// Adds `line` at the end, unless a line that `isSame` is there already; `head` goes before it into
/// a file that is empty. Absent when it is on the disk.
[[nodiscard]] std::optional<std::string>
addLine(const std::filesystem::path& file, std::string_view line,
        const std::function<bool(std::string_view)>& isSame, std::string_view head = {});

/// Takes every line out that `isSame`. Absent when none is left.
[[nodiscard]] std::optional<std::string>
removeLines(const std::filesystem::path& file, const std::function<bool(std::string_view)>& isSame);

} // namespace trevix
