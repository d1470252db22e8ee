#include "app/cli/standard_streams.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace kelvane {

void openStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free number is this one: those below it are open by now.
        if (::fcntl(stream, F_GETFD) == -1 && errno == EBADF) {
            [[maybe_unused]] const int opened = ::open("/dev/null", O_RDWR);
        }
    }
    ::signal(SIGPIPE, SIG_IGN);
}

bool writeStandardOutput(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd ready{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
            ::poll(&ready, 1, -1);
        } else if (errno == EPIPE) {
            return true;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace kelvane
