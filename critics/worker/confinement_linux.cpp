#include "critics/worker/confinement.h"

#include <array>
#include <csignal>
#include <cstddef>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/close_range.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace trevix {

namespace {

#if defined(__x86_64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr unsigned kArchitecture = 0; // Not known here: no filter.
#endif

// System calls above this bit are those of another calling convention of the same processor, which
// the filter would not recognise.
constexpr unsigned kOtherConvention = 0x40000000U;

constexpr sock_filter statement(unsigned code, unsigned value) {
    return {static_cast<unsigned short>(code), 0, 0, value};
}

constexpr sock_filter jump(unsigned code, unsigned value, unsigned char yes, unsigned char no) {
    return {static_cast<unsigned short>(code), yes, no, value};
}

} // namespace

// Returns are to the last two rules; a jump tells how many rules are passed over. socket(2) is
// refused for all but local sockets, which need it for talking to programs of the machine; what is
// open already may be used, and nothing but the standard descriptors is.
bool giveUpNetwork() {
    if (kArchitecture == 0) return false;
    constexpr unsigned kLoad = BPF_LD | BPF_W | BPF_ABS;
    constexpr unsigned kEqual = BPF_JMP | BPF_JEQ | BPF_K;
    constexpr unsigned kAtLeast = BPF_JMP | BPF_JGE | BPF_K;
    constexpr unsigned kReturn = BPF_RET | BPF_K;
    constexpr unsigned kRefused = SECCOMP_RET_ERRNO | 13U; // EACCES
    std::array<sock_filter, 11> rules = {
        statement(kLoad, offsetof(seccomp_data, arch)),
        jump(kEqual, kArchitecture, 1, 0),
        statement(kReturn, SECCOMP_RET_KILL_PROCESS),
        statement(kLoad, offsetof(seccomp_data, nr)),
        jump(kAtLeast, kOtherConvention, 5, 0),
        // Requests through the ring would not pass here.
        jump(kEqual, SYS_io_uring_setup, 4, 0),
        jump(kEqual, SYS_socket, 0, 2),
        statement(kLoad, offsetof(seccomp_data, args[0])),
        jump(kEqual, AF_UNIX, 0, 1),
        statement(kReturn, SECCOMP_RET_ALLOW),
        statement(kReturn, kRefused),
    };
    const sock_fprog program{static_cast<unsigned short>(rules.size()), rules.data()};
    // Without the first an unprivileged process may set no filter, seccomp(2). It also keeps
    // programs with the right of another user from getting that right.
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void endWithParent(pid_t parent) {
    // When the thread that made it ends, prctl(2), not the process: see PosixChildRunner::expect().
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Of an end before that, no signal comes.
    if (::getppid() != parent) ::raise(SIGKILL);
}

void keepOnlyStandardDescriptors() {
    constexpr unsigned kFirst = STDERR_FILENO + 1;
    // Marked instead of closed: the pipe that tells of a failed exec is still needed.
    if (::close_range(kFirst, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
    // Before Linux 5.11. As many as a process may have unless it asks for more.
    constexpr int kUsualMost = 1024;
    for (int fd = kFirst; fd < kUsualMost; ++fd) ::fcntl(fd, F_SETFD, FD_CLOEXEC);
}

} // namespace trevix
