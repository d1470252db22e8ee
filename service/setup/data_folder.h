// The data folder of a service, which has it alone.
//
// The folder with the key and the runs belongs to one service at a time: two would grade every job
// twice.

#pragma once

#include <filesystem>
#include <string>
#include <variant>

namespace trevix {

struct FolderError {
    std::string text; ///< For people.
};

/// Makes the folder where there is none, and those above it, open to their owner only (0700). A
/// folder that is there keeps its mode; one that is a link, belongs to somebody else or may be
/// written in by others is an error. Absolute afterwards.
[[nodiscard]] std::variant<std::filesystem::path, FolderError>
makeDataFolder(const std::filesystem::path& folder);

/// Held until it goes, or the program ends in whatever way.
class FolderLock {
public:
    /// An error when another program holds it, or its file is not this user's alone.
    [[nodiscard]] static std::variant<FolderLock, FolderError>
    take(const std::filesystem::path& folder);

    ~FolderLock();
    FolderLock(FolderLock&& other) noexcept;
    FolderLock& operator=(FolderLock&&) = delete;

private:
    explicit FolderLock(int fd) : m_fd(fd) {}
    int m_fd;
};

} // namespace trevix
