#include "service/setup/data_folder.h"

#include "service/store/own_file.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trevix {

std::variant<std::filesystem::path, FolderError>
makeDataFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::path whole = std::filesystem::absolute(folder, error).lexically_normal();
    // A "/" at the end leaves an empty last part.
    if (!whole.has_filename()) whole = whole.parent_path();
    std::filesystem::path made;
    for (const std::filesystem::path& step : whole) {
        // Step by step, since create_directories() has no say in the mode of what it makes. What is
        // there already keeps its own.
        made /= step;
        if (mkdir(made.c_str(), 0700) == 0) continue;
        // Before anything else is asked, which may fail for reasons of its own.
        const int cause = errno;
        if (std::filesystem::is_directory(made, error)) continue;
        return FolderError{"cannot make the folder " + made.string() + ": " + std::strerror(cause)};
    }
    if (auto problem = folderProblem(whole)) return FolderError{std::move(*problem)};
    return whole;
}

std::variant<FolderLock, FolderError> FolderLock::take(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / "lock";
    if (auto problem = fileProblem(file)) return FolderError{std::move(*problem)};
    // Never removed, also not at the end: a lock on a file whose name is gone keeps nobody out.
    const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return FolderError{file.string() + ": " + std::strerror(errno)};
    FolderLock lock(fd);
    // The system lets go of it with the last descriptor, however the program ends.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return FolderError{"another trevix-local is using " + folder.string()};
        }
        return FolderError{file.string() + ": " + std::strerror(errno)};
    }
    return lock;
}

FolderLock::~FolderLock() {
    if (m_fd >= 0) close(m_fd);
}

FolderLock::FolderLock(FolderLock&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

} // namespace trevix
