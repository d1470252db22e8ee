// A file descriptor that is closed with its owner.

#pragma once

#include <unistd.h>
#include <utility>

namespace kelvane {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            close();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    ~UniqueFd() { close(); }

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] explicit operator bool() const { return m_fd >= 0; }

    /// Closes now; false when the system reports that written data may be lost.
    bool close() {
        // Whatever the outcome, the descriptor is gone: closing again could hit another file.
        return m_fd < 0 || ::close(std::exchange(m_fd, -1)) == 0;
    }

private:
    int m_fd = -1;
};

} // namespace kelvane
