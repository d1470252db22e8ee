// A file descriptor that is closed with its object, and what is written to one.

#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>

#include <unistd.h>

namespace trevix {

/// What open() and its like returned, -1 included.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }

private:
    int m_fd;
};

/// Whether all of it could be written; else errno says why not.
[[nodiscard]] inline bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

} // namespace trevix
