#include "service/setup/local_socket.h"

#include "service/setup/data_folder.h"
#include "service/store/own_file.h"
#include "text/web_address.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace trevix {

namespace {

int makeSocket() {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    // SOCK_CLOEXEC would do it at once, but is not everywhere.
    if (fd >= 0) fcntl(fd, F_SETFD, FD_CLOEXEC);
    return fd;
}

// Whether a program listens there. Also when it has no room for one more right now.
bool isAnswered(const sockaddr_un& address) {
    const int fd = makeSocket();
    if (fd < 0) return true;
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    // These two are what a socket file without a program gives, and no file. EAGAIN, a full queue,
    // is the sign of one that lives.
    const bool answered =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
        (errno != ECONNREFUSED && errno != ENOENT);
    close(fd);
    return answered;
}

} // namespace

std::optional<std::filesystem::path>
defaultSocket(const std::optional<std::string>& xdgRuntimeDir) {
    if (!xdgRuntimeDir) return std::nullopt;
    const std::filesystem::path folder = *xdgRuntimeDir;
    struct stat facts {};
    // A runtime folder belongs to its user by the rules for it; one left over from another user, by
    // sudo say, is no place for us.
    if (!folder.is_absolute() || stat(folder.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode) ||
        facts.st_uid != geteuid()) {
        return std::nullopt;
    }
    return folder / "trevix-local" / "api.sock";
}

std::string socketBase(const std::filesystem::path& socket) {
    return kelvane::text::socketAddress(socket.string());
}

std::variant<LocalSocket, SocketError> LocalSocket::listen(const std::filesystem::path& socket) {
    const std::string name = socket.string();
    sockaddr_un address{};
    if (!socket.is_absolute()) return SocketError{name + " is not an absolute path"};
    // 108 bytes on Linux, 104 elsewhere, the closing zero among them (unix(7)).
    if (name.size() >= sizeof address.sun_path) {
        return SocketError{name + " is longer than the " +
                           std::to_string(sizeof address.sun_path - 1) +
                           " characters that a socket's name may have"};
    }
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), address.sun_path);

    const auto folder = makeDataFolder(socket.parent_path());
    if (const auto* error = std::get_if<FolderError>(&folder)) return SocketError{error->text};
    struct stat facts {};
    // The rights of a socket file are not looked at everywhere; those of its folder are.
    if (lstat(socket.parent_path().c_str(), &facts) == 0 && (facts.st_mode & 077U) != 0) {
        return SocketError{"other users may look into " + socket.parent_path().string() +
                           "; take that from them: chmod 700 '" + socket.parent_path().string() +
                           "'"};
    }
    if (lstat(name.c_str(), &facts) == 0) {
        if (!S_ISSOCK(facts.st_mode) || facts.st_uid != geteuid()) {
            return SocketError{name + " is there already and is no socket of this user's"};
        }
        if (isAnswered(address)) return SocketError{"another program listens on " + name};
        // Left behind by a service that was killed: bind(2) takes no name that is there.
        unlink(name.c_str());
    }
    const int fd = makeSocket();
    if (fd < 0) return SocketError{name + ": " + std::strerror(errno)};
    // The process makes its files with mode 0600 (umask 077), but this may be used without.
    const mode_t before = umask(0177);
    // The file is there with its final rights at once; chmod afterwards would leave a moment
    // between.
    const bool bound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    const int cause = errno;
    umask(before);
    if (!bound || ::listen(fd, SOMAXCONN) != 0 || lstat(name.c_str(), &facts) != 0) {
        const int why = bound ? errno : cause;
        close(fd);
        return SocketError{"cannot listen on " + name + ": " + std::strerror(why)};
    }
    // Remembered by device and inode, for the destructor: the name may have been taken over since.
    return LocalSocket(fd, socket, facts.st_dev, facts.st_ino);
}

LocalSocket::LocalSocket(int fd, std::filesystem::path path, dev_t device, unsigned long long inode)
    : m_fd(fd),
      m_path(std::move(path)),
      m_device(device),
      m_inode(inode) {}

LocalSocket::~LocalSocket() {
    if (m_fd >= 0) close(m_fd);
    if (m_path.empty()) return;
    struct stat facts {};
    // A later service may have made its own there by now.
    if (lstat(m_path.c_str(), &facts) == 0 && facts.st_dev == m_device && facts.st_ino == m_inode) {
        unlink(m_path.c_str());
    }
}

LocalSocket::LocalSocket(LocalSocket&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1)),
      m_path(std::exchange(other.m_path, {})),
      m_device(other.m_device),
      m_inode(other.m_inode) {}

int LocalSocket::release() {
    return std::exchange(m_fd, -1);
}

} // namespace trevix
