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
/// folder that is there keeps its mode. Absolute afterwards.
[[nodiscard]] std::variant<std::filesystem::path, FolderError>
makeDataFolder(const std::filesystem::path& folder);

/// Held until it goes, or the program ends in whatever way.
class FolderLock {
public:
    /// An error when another program holds it.
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
