// Whole files, read and written; whole trees, listed, copied and removed.
//
// Paths are absolute. No call throws; a failure of any kind is the absent answer. Any thread.

#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// Who may use a file, links followed.
struct FileGuard {
    bool isOurs = true;       ///< It belongs to this user, or to root.
    bool othersRead = false;  ///< Somebody besides its owner may read it.
    bool othersWrite = false; ///< Likewise write it.

    /// As the file of a key has to be.
    [[nodiscard]] bool isPrivate() const { return isOurs && !othersRead && !othersWrite; }

    bool operator==(const FileGuard&) const = default;
};

class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// All bytes of a file, or nothing when it cannot be read (missing, a folder, no permission).
    [[nodiscard]] virtual std::optional<std::string> read(const std::filesystem::path& path) = 0;

    /// All bytes of a file of any kind, a pipe included, or nothing when it cannot be read or holds
    /// more than `most`. Waits for whoever writes into a pipe, but not when nothing has come for
    /// ten seconds: then it cannot be read. The plain answer knows files alone.
    [[nodiscard]] virtual std::optional<std::string> readAny(const std::filesystem::path& path,
                                                             std::size_t most);

    /// Whether anything stands at the path: a file or a folder both count, a dangling link does
    /// not.
    [[nodiscard]] virtual bool exists(const std::filesystem::path& path) = 0;

    /// Who may use what stands at the path; nothing when nothing does.
    [[nodiscard]] virtual std::optional<FileGuard> guard(const std::filesystem::path& path) = 0;

    /// Makes the folder and every missing one above it. False when it is not there afterwards.
    virtual bool createDirectories(const std::filesystem::path& path) = 0;

    /// Writes to a temporary file beside the target and renames it over it, so that a reader sees
    /// the old bytes or the new ones and nothing between, also after a power cut. False on failure,
    /// and then the target is as it was. What a writer that was killed left there goes.
    virtual bool writeAtomically(const std::filesystem::path& path, std::string_view bytes) = 0;

    /// The same, for a file that nobody but its owner may read: it has the mode 0600 from its first
    /// byte on, and the folder that it lies in is made when missing, with the mode 0700.
    /// The plain answer writes nothing.
    virtual bool writePrivately(const std::filesystem::path& path, std::string_view bytes);

    /// Removes a file. False when there was none or it could not be removed.
    virtual bool remove(const std::filesystem::path& path) = 0;

    /// The names of what lies in a folder, hidden ones included, sorted by their bytes. Nothing
    /// when the path is no folder or may not be listed.
    [[nodiscard]] virtual std::optional<std::vector<std::string>>
    list(const std::filesystem::path& folder) = 0;

    /// Removes whatever stands at the path: a file, a link (never what it leads to), a folder with
    /// everything in it. False when there was nothing, and when something is left.
    virtual bool removeTree(const std::filesystem::path& path) = 0;

    /// Copies a file, a link as a link, or a folder with everything in it, permissions included; a
    /// copied folder may also be written to by its owner, so that it can be removed again. The copy
    /// appears whole or, on failure, not at all. False also when something stands at `to` already,
    /// when the folder for it is missing, and when `to` lies inside `from`.
    virtual bool copyTree(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    /// Puts what stands at `from` in the place of `to`; what stood there, if anything did, then
    /// stands at `from`. Links are exchanged, not what they lead to. One step where the system
    /// knows such a step for the file system, so that at no moment nothing stands at `to`;
    /// elsewhere several, undone when one fails. False when nothing stands at `from`, when the two
    /// are on different file systems, and on any failure: then both are as they were.
    virtual bool exchange(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    /// The one path of the place that `path` leads to, so that two spellings can be compared: links
    /// followed and dot segments resolved as far as something stands there, no slash at the end.
    [[nodiscard]] virtual std::filesystem::path resolve(const std::filesystem::path& path) = 0;

    /// The folder for short-lived files of this user.
    [[nodiscard]] virtual std::filesystem::path temporaryDirectory() = 0;

    /// The current user's home folder by the system's own account records, whatever the
    /// environment says. Empty when there is no such record.
    [[nodiscard]] virtual std::filesystem::path homeDirectoryForCurrentUser() = 0;
};

} // namespace kelvane
