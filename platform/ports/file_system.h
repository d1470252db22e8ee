// Read and write whole files.
//
// Paths are absolute. No call throws; a failure of any kind is the absent answer. Any thread.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// All bytes of a file, or nothing when it cannot be read (missing, a folder, no permission).
    [[nodiscard]] virtual std::optional<std::string> read(const std::filesystem::path& path) = 0;

    /// Whether anything stands at the path: a file or a folder both count, a dangling link does
    /// not.
    [[nodiscard]] virtual bool exists(const std::filesystem::path& path) = 0;

    /// Makes the folder and every missing one above it. False when it is not there afterwards.
    virtual bool createDirectories(const std::filesystem::path& path) = 0;

    /// Writes to a temporary file beside the target and renames it over it, so that a reader sees
    /// the old bytes or the new ones and nothing between, also after a power cut. False on failure,
    /// and then the target is as it was.
    virtual bool writeAtomically(const std::filesystem::path& path, std::string_view bytes) = 0;

    /// Removes a file. False when there was none or it could not be removed.
    virtual bool remove(const std::filesystem::path& path) = 0;

    /// The folder for short-lived files of this user.
    [[nodiscard]] virtual std::filesystem::path temporaryDirectory() = 0;

    /// The current user's home folder by the system's own account records, whatever the
    /// environment says. Empty when there is no such record.
    [[nodiscard]] virtual std::filesystem::path homeDirectoryForCurrentUser() = 0;
};

} // namespace kelvane
