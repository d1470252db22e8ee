// "Go to line": which program shows which line of which file.
//
// The text that was graded came from a selection, so nobody told the file. It is looked for among
// the files that the editor was started with and those that the desktop remembers as used lately,
// and taken only when the graded text stands in it word for word: then the line of a flaw in the
// selection is a line of the file. Pure but for `fileWithText`, which reads files; any thread.

#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FileSystem;

namespace editor_line {

/// Files that are looked into, and bytes of one: a page of an editor's own list,
/// and more than anybody writes by hand.
inline constexpr std::size_t kMostFiles = 30;
inline constexpr std::size_t kLargestFile = 4 * 1024 * 1024;
/// Of the desktop's list of files used lately.
inline constexpr std::size_t kLargestList = 8 * 1024 * 1024;

/// The command that has the application show the line, its name first, looked up on the search
/// path; an instance that runs shows it. Absent for an application that has no such way.
[[nodiscard]] std::optional<std::vector<std::string>>
command(std::string_view bundleId, const std::filesystem::path& file, std::size_t line);

/// Whether there is such a command.
[[nodiscard]] bool isKnown(std::string_view bundleId);

/// The files that the application was started with: the absolute paths on the command lines of its
/// processes, of which `commandLines` has one a line. What is no path is among them; a path with
/// blanks is, too.
[[nodiscard]] std::vector<std::filesystem::path> startedWith(std::string_view bundleId,
                                                             std::string_view commandLines);

/// The line of "line 12" and of "line 12, column 3"; absent for any other place.
[[nodiscard]] std::optional<std::size_t> lineIn(std::string_view place);

/// The local files of a list in the form of the Desktop Bookmark Specification, the one that was
/// used last first. What is not of that form is passed over.
[[nodiscard]] std::vector<std::filesystem::path> recentFiles(std::string_view bookmarks);

/// The line of `content` on which `text` begins, from 1; absent when it does not stand in there.
/// Ends of lines count as the same whatever they are written with, and white space around the text
/// does not count.
[[nodiscard]] std::optional<std::size_t> lineOfText(std::string_view content,
                                                    std::string_view text);

struct FoundText {
    std::filesystem::path file;
    std::size_t line = 1; ///< On which the text begins.

    bool operator==(const FoundText&) const = default;
};

/// The first of the files that holds the text, looking into `kMostFiles` at most.
[[nodiscard]] std::optional<FoundText>
fileWithText(FileSystem& files, const std::vector<std::filesystem::path>& candidates,
             std::string_view text);

} // namespace editor_line

} // namespace kelvane
