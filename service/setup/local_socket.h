// The Unix socket on which the service listens beside its port.
//
// Only programs of this user reach it: it stands in a folder that is closed to others, and both
// ends tell the system's word for who the other is. Any thread.

#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace trevix {

struct SocketError {
    std::string text; ///< For people.
};

/// "trevix-local/api.sock" under the runtime folder of the session. Absent when `xdgRuntimeDir` is
/// not set, not absolute, not there, or belongs to somebody else.
[[nodiscard]] std::optional<std::filesystem::path>
defaultSocket(const std::optional<std::string>& xdgRuntimeDir);

/// "http+unix://%2Frun%2F...": the base address of a service that listens there.
[[nodiscard]] std::string socketBase(const std::filesystem::path& socket);

class LocalSocket {
public:
    /// Makes the socket with mode 0600 and listens on it. Its folder is made where there is none
    /// (0700); one that is there must be this user's, and closed to others. A socket that is this
    /// user's and on which nobody answers is replaced; whatever else has the name stays, and is an
    /// error, and so is a path that is not absolute or longer than such addresses may be.
    [[nodiscard]] static std::variant<LocalSocket, SocketError>
    listen(const std::filesystem::path& socket);

    /// Removes the socket, if the name is still its own. To be called while somebody listens on it
    /// yet: until then no other service takes the name.
    ~LocalSocket();
    LocalSocket(LocalSocket&& other) noexcept;
    LocalSocket& operator=(LocalSocket&&) = delete;

    /// The descriptor, which is the caller's from now on.
    [[nodiscard]] int release();

private:
    LocalSocket(int fd, std::filesystem::path path, dev_t device, unsigned long long inode);

    int m_fd;
    std::filesystem::path m_path; ///< Empty when it was moved from.
    dev_t m_device;
    unsigned long long m_inode;
};

} // namespace trevix
