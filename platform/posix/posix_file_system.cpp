#include "platform/posix/posix_platform.h"
#include "platform/posix/unique_fd.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <pwd.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace kelvane {

namespace {

namespace fs = std::filesystem;

// Bytes.
constexpr std::size_t kReadAtOnce = 65536;
// Bytes; nothing that is read whole is meant to be larger.
constexpr off_t kMaxFileSize = off_t{1} << 30;
constexpr int kStreamSilence = 10'000; ///< Milliseconds.
// As Linux follows at most, path_resolution(7).
constexpr int kMaxLinks = 40;
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

/// Where short-lived files go when the environment does not say.
std::string usualTemporaryFolder() {
#ifdef __APPLE__
    // Each user has one of their own, which nobody else can look into.
    std::array<char, PATH_MAX> folder{};
    const std::size_t size = ::confstr(_CS_DARWIN_USER_TEMP_DIR, folder.data(), folder.size());
    if (size > 1 && size <= folder.size() && folder[0] == '/') return folder.data();
#endif
    return "/tmp";
}

/// A path as a C string would end at the first NUL and name another file.
bool isUsable(const fs::path& path) {
    return !path.empty() && path.native().find('\0') == std::string::npos;
}

int openRetrying(const fs::path& path, int flags, mode_t mode = 0) {
    int fd = -1;
    do {
        // A terminal that is opened must not become this program's own.
        fd = ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

std::optional<std::string> readRegularFile(const fs::path& path) {
    // Without O_NONBLOCK, opening a pipe that nobody writes to would wait for ever.
    const UniqueFd file(openRetrying(path, O_RDONLY | O_NONBLOCK));
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    if (info.st_size > kMaxFileSize) return std::nullopt;
    // The size is a hint only: some files have none (those in /proc), and others grow.
    std::string bytes;
    std::size_t used = 0;
    // One byte more, so that the end is found without making room for more.
    bytes.resize(info.st_size > 0 ? static_cast<std::size_t>(info.st_size) + 1 : kReadAtOnce);
    while (true) {
        if (used == bytes.size()) bytes.resize(bytes.size() + bytes.size() / 2 + kReadAtOnce);
        const ssize_t got = ::read(file.get(), bytes.data() + used, bytes.size() - used);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        used += static_cast<std::size_t>(got);
    }
    bytes.resize(used);
    return bytes;
}

/// Everything that comes out of a file, a pipe or a device.
std::optional<std::string> readStream(int stream, bool isPipe, std::size_t most) {
    std::string bytes;
    std::size_t used = 0;
    while (true) {
        // Never more than one byte beyond what is allowed, which is enough to see that it is too
        // much.
        bytes.resize(std::min(used + std::max(used / 2, kReadAtOnce), most + 1));
        const ssize_t got = ::read(stream, bytes.data() + used, bytes.size() - used);
        if (got > 0) {
            used += static_cast<std::size_t>(got);
            if (used > most) return std::nullopt;
            continue;
        }
        // A pipe that nobody has opened for writing yet is at its end, too: that is waited for.
        if (got == 0 && (used > 0 || !isPipe)) break;
        if (got < 0 && errno != EINTR && errno != EAGAIN) return std::nullopt;
        pollfd writer{.fd = stream, .events = POLLIN, .revents = 0};
        const int ready = ::poll(&writer, 1, kStreamSilence);
        if (ready == 0) return std::nullopt;
        if (ready > 0 && got == 0 && (writer.revents & POLLIN) == 0) break; // written to and left
    }
    bytes.resize(used);
    return bytes;
}

/// The path at the end of a chain of links, whether or not a file stands there yet.
std::optional<fs::path> finalTarget(fs::path path) {
    for (int links = 0; links < kMaxLinks; ++links) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
        const fs::path target = fs::read_symlink(path, error);
        if (error) return std::nullopt;
        // A relative one counts from the folder of the link.
        path = path.parent_path() / target; // an absolute target replaces the whole
    }
    return std::nullopt;
}

constexpr std::string_view kTemporaryPrefix = ".kelvane-";

/// A name beside `target` for what is to take its place; a new one at every call.
fs::path temporaryNameBeside(const fs::path& target) {
    static std::atomic<unsigned> number = 0;
    return target.parent_path() / (std::string(kTemporaryPrefix) + std::to_string(getpid()) + "-" +
                                   std::to_string(number++));
}

/// Whether the name is one of `temporaryNameBeside` by a process that is no more: it was killed,
/// and what it had written or copied is nobody's.
bool isLeftOver(std::string_view name) {
    if (!name.starts_with(kTemporaryPrefix)) return false;
    name.remove_prefix(kTemporaryPrefix.size());
    pid_t process = 0;
    const auto read = std::from_chars(name.data(), name.data() + name.size(), process);
    if (read.ec != std::errc() || process <= 0) return false;
    const std::string_view rest(read.ptr, name.data() + name.size());
    if (rest.size() < 2 || rest[0] != '-' ||
        rest.find_first_not_of("0123456789", 1) != std::string_view::npos) {
        return false;
    }
    return ::kill(process, 0) != 0 && errno == ESRCH;
}

void removeLeftOvers(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (isLeftOver(entry->path().filename().native())) found.push_back(entry->path());
    }
    for (const auto& path : found) fs::remove_all(path, error);
}

constexpr int kTemporaryNames = 100; // some may be left over from a crash

/// A new file beside `target`, removed again unless it takes the target's place.
class TemporaryFile {
public:
    TemporaryFile(const fs::path& target, mode_t mode) {
        for (int i = 0; i < kTemporaryNames && !m_file; ++i) {
            m_path = temporaryNameBeside(target);
            m_file = UniqueFd(openRetrying(m_path, O_WRONLY | O_CREAT | O_EXCL, mode));
            // Any other reason holds for every name.
            if (!m_file && errno != EEXIST) break;
        }
        m_exists = static_cast<bool>(m_file);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (m_exists) ::unlink(m_path.c_str());
    }

    [[nodiscard]] explicit operator bool() const { return m_exists; }

    /// Gives the file the owner, where we may, and the permissions of an existing one.
    bool adopt(const struct stat& info) {
        if (fchown(m_file.get(), info.st_uid, info.st_gid) != 0) {
            // Not permitted to most users; the file is then theirs, as any new file would be.
        }
        const auto permissions = static_cast<mode_t>(info.st_mode & kPermissions);
        return fchmod(m_file.get(), permissions) == 0;
    }

    bool write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t put = ::write(m_file.get(), bytes.data(), bytes.size());
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(put));
        }
        // Closing may tell what writing did not, on network file systems.
        return toDisk() && m_file.close();
    }

    bool replace(const fs::path& target) {
        if (std::rename(m_path.c_str(), target.c_str()) != 0) return false;
        m_exists = false;
        return true;
    }

private:
    bool toDisk() {
#ifdef F_FULLFSYNC // on macOS fsync alone leaves the data in the drive's cache
        if (fcntl(m_file.get(), F_FULLFSYNC) == 0) return true;
#endif
        int result = 0;
        do {
            result = fsync(m_file.get());
        } while (result != 0 && errno == EINTR);
        return result == 0;
    }

    fs::path m_path;
    UniqueFd m_file;
    bool m_exists = false;
};

enum class Privacy { AsBefore, OwnerOnly };

bool replaceContents(const fs::path& path, std::string_view bytes,
                     Privacy privacy = Privacy::AsBefore) {
    // A link stays, and what it leads to is replaced.
    const auto target = finalTarget(path);
    if (!target || !target->has_filename()) return false;
    struct stat old {};
    const bool replaces = ::lstat(target->c_str(), &old) == 0;
    if (replaces && !S_ISREG(old.st_mode)) return false;

    // Work of the user's may be in them, which is kept no longer than its time.
    removeLeftOvers(target->parent_path());
    constexpr mode_t kOwnerOnly = 0600; // until it has the old file's permissions
    constexpr mode_t kUsual = 0644;     // less what the umask takes away
    const bool isPrivate = privacy == Privacy::OwnerOnly;
    TemporaryFile file(*target, replaces || isPrivate ? kOwnerOnly : kUsual);
    if (!file || (replaces && !isPrivate && !file.adopt(old))) return false;
    if (!file.write(bytes) || !file.replace(*target)) return false;

    // The file is in place whatever comes of this; it makes the new name survive a power cut.
    const UniqueFd folder(openRetrying(target->parent_path(), O_RDONLY | O_DIRECTORY));
    if (folder) fsync(folder.get());
    return true;
}

/// "a/link/" would name what the link leads to.
fs::path withoutTrailingSlash(const fs::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

/// Whether the path names an entry of a folder, which the root and dot segments do not.
bool namesAnEntry(const fs::path& path) {
    const auto name = path.filename();
    return isUsable(path) && !name.empty() && name != "." && name != "..";
}

bool somethingAt(const fs::path& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

bool liesIn(const fs::path& path, const fs::path& folder) {
    // By whole names: "/a/bc" does not lie in "/a/b".
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

bool removeWholly(const fs::path& path) {
    std::error_code error;
    const auto removed = fs::remove_all(path, error);
    // remove_all() counts what it removed; nothing is an error here.
    return !error && removed > 0;
}

/// Some file systems tell only now that there was no room. It also makes a copy that replaces
/// something survive a power cut as what it replaces would have.
bool flushed(const fs::path& file) {
    const UniqueFd opened(openRetrying(file, O_RDONLY | O_NONBLOCK));
    return (!opened && errno == EACCES) || (opened && fsync(opened.get()) == 0);
}

bool copyEntry(const fs::path& from, const fs::path& to);

bool copyFolder(const fs::path& from, const fs::path& to, fs::perms permissions) {
    std::error_code error;
    if (!fs::create_directory(to, error)) return false;
    fs::directory_iterator entry(from, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (!copyEntry(entry->path(), to / entry->path().filename())) return false;
    }
    if (error) return false;
    // Its owner has to be able to change it, or it could not even be removed again.
    fs::permissions(to, permissions | fs::perms::owner_all, error);
    return !error;
}

bool copyEntry(const fs::path& from, const fs::path& to) {
    std::error_code error;
    const auto status = fs::symlink_status(from, error);
    switch (status.type()) {
    case fs::file_type::regular:
        return fs::copy_file(from, to, error) && flushed(to);
    case fs::file_type::symlink:
        fs::copy_symlink(from, to, error);
        return !error;
    case fs::file_type::directory:
        return copyFolder(from, to, status.permissions());
    default: // a pipe or a device has no content to copy
        return false;
    }
}

/// Copies beside the target first, so that nobody sees half a copy in its place. A copy is large,
/// so what a killed one left there goes first.
bool copyInOneStep(const fs::path& from, const fs::path& to) {
    removeLeftOvers(to.parent_path());
    fs::path copy;
    for (int i = 0; i < kTemporaryNames && (copy.empty() || somethingAt(copy)); ++i) {
        copy = temporaryNameBeside(to);
    }
    if (somethingAt(copy)) return false;
    // rename(2) would replace what is there, so that is looked for right before it.
    if (copyEntry(from, copy) && !somethingAt(to) && std::rename(copy.c_str(), to.c_str()) == 0) {
        return true;
    }
    removeWholly(copy);
    return false;
}

/// The system's own exchange. False with EINVAL, ENOSYS or ENOTSUP where there is none.
bool exchangeAtOnce(const fs::path& from, const fs::path& to) {
#if defined(__APPLE__)
    return ::renamex_np(from.c_str(), to.c_str(), RENAME_SWAP) == 0;
#elif defined(RENAME_EXCHANGE)
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE) == 0;
#else
    errno = ENOSYS;
    return false;
#endif
}

/// For file systems that know no exchange, those of some networks among them.
bool exchangeInSteps(const fs::path& from, const fs::path& to) {
    const fs::path aside = temporaryNameBeside(to);
    if (somethingAt(aside) || std::rename(to.c_str(), aside.c_str()) != 0) return false;
    if (std::rename(from.c_str(), to.c_str()) != 0) {
        std::rename(aside.c_str(), to.c_str());
        return false;
    }
    if (std::rename(aside.c_str(), from.c_str()) == 0) return true;
    std::rename(to.c_str(), from.c_str());
    std::rename(aside.c_str(), to.c_str());
    return false;
}

fs::path homeByAccount() {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    for (std::size_t size = 4096; size <= kMost; size *= 2) {
        std::vector<char> buffer(size);
        passwd record{};
        passwd* found = nullptr;
        // The record's size is not to be known before: the buffer grows until it fits.
        const int error = getpwuid_r(getuid(), &record, buffer.data(), buffer.size(), &found);
        if (error == EINTR) continue;
        if (error == ERANGE) continue;
        if (error != 0 || found == nullptr || found->pw_dir == nullptr) return {};
        return found->pw_dir;
    }
    return {};
}

class PosixFileSystem : public FileSystem {
public:
    std::optional<std::string> read(const fs::path& path) override {
        if (!isUsable(path)) return std::nullopt;
        try {
            return readRegularFile(path);
        } catch (const std::bad_alloc&) { // more than this machine's memory holds
        } catch (const std::length_error&) {
        }
        return std::nullopt;
    }

    std::optional<std::string> readAny(const fs::path& path, std::size_t most) override {
        if (!isUsable(path)) return std::nullopt;
        const UniqueFd file(openRetrying(path, O_RDONLY | O_NONBLOCK));
        struct stat info {};
        if (!file || fstat(file.get(), &info) != 0 || S_ISDIR(info.st_mode)) return std::nullopt;
        if (S_ISREG(info.st_mode) && info.st_size > 0 &&
            static_cast<std::uintmax_t>(info.st_size) > most) {
            return std::nullopt;
        }
        try {
            return readStream(file.get(), S_ISFIFO(info.st_mode), most);
        } catch (const std::bad_alloc&) { // more than this machine's memory holds
            return std::nullopt;
        }
    }

    bool exists(const fs::path& path) override {
        struct stat info {};
        return isUsable(path) && ::stat(path.c_str(), &info) == 0;
    }

    std::optional<FileGuard> guard(const fs::path& path) override {
        struct stat info {};
        if (!isUsable(path) || ::stat(path.c_str(), &info) != 0) return std::nullopt;
        return FileGuard{.isOurs = info.st_uid == ::geteuid() || info.st_uid == 0,
                         .othersRead = (info.st_mode & (S_IRGRP | S_IROTH)) != 0,
                         .othersWrite = (info.st_mode & (S_IWGRP | S_IWOTH)) != 0};
    }

    bool createDirectories(const fs::path& path) override {
        if (!isUsable(path)) return false;
        std::error_code error;
        fs::create_directories(path, error);
        // Asked for and not taken from the answer above, which is false for a folder that is there
        // already.
        return fs::is_directory(path, error);
    }

    bool writeAtomically(const fs::path& path, std::string_view bytes) override {
        return isUsable(path) && replaceContents(path, bytes);
    }

    bool writePrivately(const fs::path& path, std::string_view bytes) override {
        if (!isUsable(path)) return false;
        constexpr mode_t kOwnersFolder = 0700;
        std::error_code error;
        const auto folder = path.parent_path();
        fs::create_directories(folder.parent_path(), error);
        ::mkdir(folder.c_str(), kOwnersFolder); // One that is there is as its owner has it.
        return replaceContents(path, bytes, Privacy::OwnerOnly);
    }

    bool remove(const fs::path& path) override {
        return isUsable(path) && ::unlink(path.c_str()) == 0;
    }

    std::optional<std::vector<std::string>> list(const fs::path& folder) override {
        if (!isUsable(folder)) return std::nullopt;
        std::vector<std::string> names;
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            names.push_back(entry->path().filename().string());
        }
        if (error) return std::nullopt;
        // readdir(3) gives names in the file system's own order, which differs between machines.
        std::sort(names.begin(), names.end());
        return names;
    }

    bool removeTree(const fs::path& path) override {
        const auto entry = withoutTrailingSlash(path);
        return namesAnEntry(entry) && removeWholly(entry);
    }

    bool copyTree(const fs::path& from, const fs::path& to) override {
        const auto source = withoutTrailingSlash(from);
        const auto target = withoutTrailingSlash(to);
        if (!namesAnEntry(source) || !namesAnEntry(target) || somethingAt(target)) return false;
        // Or it would copy itself into itself without end.
        if (liesIn(resolve(target), resolve(source))) return false;
        return copyInOneStep(source, target);
    }

    bool exchange(const fs::path& from, const fs::path& to) override {
        const auto one = withoutTrailingSlash(from);
        const auto other = withoutTrailingSlash(to);
        if (!namesAnEntry(one) || !namesAnEntry(other) || !somethingAt(one)) return false;
        if (!somethingAt(other)) return std::rename(one.c_str(), other.c_str()) == 0;
        if (exchangeAtOnce(one, other)) return true;
        const bool isUnknown = errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
        return isUnknown && exchangeInSteps(one, other);
    }

    fs::path resolve(const fs::path& path) override {
        if (!isUsable(path)) return path;
        std::error_code error;
        const auto resolved = fs::weakly_canonical(path, error);
        return withoutTrailingSlash(error ? path.lexically_normal() : resolved);
    }

    fs::path temporaryDirectory() override {
        const char* named = std::getenv("TMPDIR");
        std::string folder = named != nullptr && named[0] == '/' ? named : usualTemporaryFolder();
        if (!folder.ends_with('/')) folder += '/';
        return folder;
    }

    fs::path homeDirectoryForCurrentUser() override { return homeByAccount(); }
};

} // namespace

std::unique_ptr<FileSystem> makePosixFileSystem() {
    return std::make_unique<PosixFileSystem>();
}

} // namespace kelvane
