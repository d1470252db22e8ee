#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"
#include "platform/posix/unique_fd.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <utility>
#include <vector>

extern char** environ;

namespace kelvane {

namespace {

// On macOS the flag closes whatever no action names; elsewhere SpawnFiles::dropOthers() does.
#ifdef __APPLE__
constexpr short kSpawnFlags =
    POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_CLOEXEC_DEFAULT;
#else
constexpr short kSpawnFlags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
#endif

constexpr int kFirstPrivateFd = 3;

using Time = std::chrono::steady_clock::time_point;
constexpr std::chrono::milliseconds kMercy{500};     ///< From being asked to end to being ended.
constexpr std::chrono::milliseconds kLongestNap{10}; ///< Between two looks at a child.

class SpawnAttributes {
public:
    /// A session rather than a group: on a terminal, a program in the background may neither read
    /// nor set anything, and a profile that does would be stopped.
    explicit SpawnAttributes(bool ownSession) {
        const auto flags =
            static_cast<short>(kSpawnFlags | (ownSession ? short{POSIX_SPAWN_SETSID} : short{0}));
        sigset_t none;
        sigset_t usual;
        sigemptyset(&none);
        sigemptyset(&usual);
        // SIGPIPE alone is set back: this program may ignore it, and the child would inherit that.
        sigaddset(&usual, SIGPIPE);
        m_ready = posix_spawnattr_init(&m_attributes) == 0;
        m_complete = m_ready && posix_spawnattr_setsigmask(&m_attributes, &none) == 0 &&
                     posix_spawnattr_setsigdefault(&m_attributes, &usual) == 0 &&
                     posix_spawnattr_setflags(&m_attributes, flags) == 0;
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() {
        if (m_ready) posix_spawnattr_destroy(&m_attributes);
    }

    [[nodiscard]] bool complete() const { return m_complete; }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
    bool m_ready = false;
    bool m_complete = false;
};

/// What the child's three standard descriptors become, and that it has no others.
class SpawnFiles {
public:
    /// `output` receives what the child writes; without one the child shares ours.
    explicit SpawnFiles(const UniqueFd& output) {
        m_ready = posix_spawn_file_actions_init(&m_actions) == 0;
        m_complete = m_ready && (output ? redirect(output.get()) : inherit()) && dropOthers();
    }
    /// What the child is told comes by `input`; what it writes goes nowhere, its errors to ours.
    static SpawnFiles kept(const UniqueFd& input) { return SpawnFiles(input.get()); }
    SpawnFiles(const SpawnFiles&) = delete;
    SpawnFiles& operator=(const SpawnFiles&) = delete;
    ~SpawnFiles() {
        if (m_ready) posix_spawn_file_actions_destroy(&m_actions);
    }

    [[nodiscard]] bool complete() const { return m_complete; }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    explicit SpawnFiles(int input) {
        m_ready = posix_spawn_file_actions_init(&m_actions) == 0;
        m_complete =
            m_ready && posix_spawn_file_actions_adddup2(&m_actions, input, STDIN_FILENO) == 0 &&
            posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) ==
                0 &&
            inheritOne(STDERR_FILENO) && dropOthers();
    }

    bool redirect(int output) {
        return posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY,
                                                0) == 0 &&
               posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO) == 0 &&
               posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, "/dev/null", O_WRONLY,
                                                0) == 0;
    }

    bool inherit() {
#ifdef __APPLE__ // where nothing is passed on that is not named
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            if (!inheritOne(fd)) return false;
        }
#endif
        return true;
    }

    bool inheritOne([[maybe_unused]] int fd) {
#ifdef __APPLE__
        if (fcntl(fd, F_GETFD) >= 0) {
            return posix_spawn_file_actions_addinherit_np(&m_actions, fd) == 0;
        }
#endif
        return true;
    }

    bool dropOthers() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 34)
        return posix_spawn_file_actions_addclosefrom_np(&m_actions, kFirstPrivateFd) == 0;
#else
        return true; // by the spawn flag on macOS; elsewhere every descriptor is close-on-exec
#endif
    }

    posix_spawn_file_actions_t m_actions{};
    bool m_ready = false;
    bool m_complete = false;
};

struct Pipe {
    UniqueFd read;
    UniqueFd write;

    [[nodiscard]] explicit operator bool() const { return read && write; }
};

/// Away from the standard descriptors, which the child's file actions overwrite one by one; they
/// are free when this program was started without them.
UniqueFd movedUp(UniqueFd fd) {
    if (!fd || fd.get() >= kFirstPrivateFd) return fd;
    return UniqueFd(fcntl(fd.get(), F_DUPFD_CLOEXEC, kFirstPrivateFd));
}

Pipe makePipe() {
    std::array<int, 2> ends{};
#ifdef __APPLE__
    if (pipe(ends.data()) != 0) return {};
    for (const int fd : ends) fcntl(fd, F_SETFD, FD_CLOEXEC);
#else
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
#endif
    UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    return {.read = movedUp(std::move(readEnd)), .write = movedUp(std::move(writeEnd))};
}

/// Milliseconds until then for `poll`, which waits for ever without a time.
int pollTimeout(const std::optional<Time>& until) {
    if (!until) return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*until - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

/// Until when a program is waited for: for ever, to a time, or to the quit.
class Patience {
public:
    /// A null `quit` never comes.
    Patience(std::chrono::milliseconds limit, QuitSignal* quit) : m_limit(limit) {
        if (quit == nullptr) return;
        m_wake = makePipe();
        m_onQuit = quit->onRaise([this] {
            m_isOver = true;
            m_wake.write.close(); // which wakes the poll
        });
    }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience() = default;

    /// The limit counts from here on.
    void begin() {
        if (m_limit.count() > 0) m_until = std::chrono::steady_clock::now() + m_limit;
    }

    [[nodiscard]] bool hasNoEnd() const { return !m_until && !m_wake.read; }
    [[nodiscard]] bool isOver() const {
        return m_isOver || (m_until && std::chrono::steady_clock::now() >= *m_until);
    }

    /// Blocks until something can be read or the patience is over; false then.
    [[nodiscard]] bool waitToRead(const UniqueFd& fd) const {
        // poll() passes over a descriptor that is negative.
        std::array<pollfd, 2> ready{{{.fd = fd.get(), .events = POLLIN, .revents = 0},
                                     {.fd = m_wake.read.get(), .events = 0, .revents = 0}}};
        while (!isOver()) {
            const int count = ::poll(ready.data(), ready.size(), pollTimeout(m_until));
            if (count > 0 && ready[0].revents != 0) return true;
            if (count < 0 && errno != EINTR) return true; // the read will tell
        }
        return false;
    }

private:
    std::chrono::milliseconds m_limit;
    std::optional<Time> m_until;
    std::atomic<bool> m_isOver = false;
    Pipe m_wake;
    QuitSignal::Registration m_onQuit; ///< Goes first: its callback uses the others.
};

/// To the end, or to what had come when the patience was over.
std::string readToEnd(const UniqueFd& fd, const Patience& patience) {
    std::string bytes;
    std::array<char, 65536> buffer{};
    while (true) {
        if (!patience.hasNoEnd() && !patience.waitToRead(fd)) return bytes;
        const ssize_t got = ::read(fd.get(), buffer.data(), buffer.size());
        if (got > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return bytes;
        }
    }
}

/// The child's status, or nothing while it runs, which only `WNOHANG` can find.
std::optional<std::int32_t> statusOf(pid_t child, int options) {
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(child, &status, options);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0) return std::nullopt;
    // Someone else in this program took the status (or none is kept, with SIGCHLD ignored).
    if (ended < 0) return 255;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::int32_t waitForEnd(pid_t child) {
    return statusOf(child, 0).value_or(255);
}

/// No system call waits for a child and for a time on both systems: looks again and again, seldom
/// enough to cost nothing and often enough that nobody notices.
std::optional<std::int32_t> waitForEnd(pid_t child, const Patience& patience) {
    std::chrono::milliseconds nap{1};
    while (true) {
        if (const auto status = statusOf(child, WNOHANG)) return status;
        if (patience.isOver()) return std::nullopt;
        std::this_thread::sleep_for(nap);
        nap = std::min(nap * 2, kLongestNap);
    }
}

/// Asks the child and all it started to end, and then no longer asks. Its status.
std::int32_t endGroup(pid_t leader) {
    ::kill(-leader, SIGTERM);
    ::kill(-leader, SIGCONT); // one that is stopped could not hear it
    Patience mercy(kMercy, nullptr);
    mercy.begin();
    const auto status = waitForEnd(leader, mercy);
    ::kill(-leader, SIGKILL); // also what is left of the group when the leader heard
    return status ? *status : waitForEnd(leader);
}

/// The text as a C string cannot say where it ends.
bool hasNul(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

class PosixProcess : public RunningProcess {
public:
    /// Without `output` there is nothing to read.
    PosixProcess(pid_t child, UniqueFd output, std::chrono::milliseconds timeLimit,
                 QuitSignal* quit)
        : m_child(child),
          m_output(std::move(output)),
          m_patience(timeLimit, quit) {}
    PosixProcess(const PosixProcess&) = delete;
    PosixProcess& operator=(const PosixProcess&) = delete;
    ~PosixProcess() override {
        m_output.close(); // nobody reads any more: let it end
        if (m_child != 0) await();
    }

    ProcessResult finish() override { return await(); }

private:
    ProcessResult await() {
        ProcessResult result;
        m_patience.begin();
        if (m_output) result.output = readToEnd(m_output, m_patience);
        const pid_t child = std::exchange(m_child, 0);
        const auto status = m_patience.hasNoEnd() ? std::optional(waitForEnd(child))
                                                  : waitForEnd(child, m_patience);
        result.timedOut = !status;
        result.status = status ? *status : endGroup(child);
        return result;
    }

    pid_t m_child; ///< 0 once it has been waited for.
    UniqueFd m_output;
    Patience m_patience;
};

/// `words` as posix_spawn takes them: valid as long as they are.
std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

class PosixKeptProgram : public KeptProgram {
public:
    PosixKeptProgram(pid_t child, UniqueFd input) : m_child(child), m_input(std::move(input)) {}

    bool isRunning() override {
        if (m_child != 0 && waitpid(m_child, nullptr, WNOHANG) != 0) m_child = 0;
        return m_child != 0;
    }

private:
    pid_t m_child;    ///< 0 once it has ended.
    UniqueFd m_input; ///< Nothing is ever written into it.
};

class PosixKeptPrograms : public KeptPrograms {
public:
    std::unique_ptr<KeptProgram> start(const std::filesystem::path& program,
                                       const std::vector<std::string>& arguments) override {
        std::vector<std::string> words{program.string()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        for (const auto& word : words) {
            if (hasNul(word)) return nullptr;
        }
        if (!program.is_absolute()) return nullptr;
        Pipe pipe = makePipe();
        if (!pipe) return nullptr;
        const SpawnAttributes attributes(false);
        const auto files = SpawnFiles::kept(pipe.read);
        if (!attributes.complete() || !files.complete()) return nullptr;
        pid_t child = 0;
        if (posix_spawn(&child, words.front().c_str(), files.get(), attributes.get(),
                        pointersTo(words).data(), environ) != 0) {
            return nullptr;
        }
        return std::make_unique<PosixKeptProgram>(child, std::move(pipe.write));
    }

    bool isServed(const std::filesystem::path& path) override {
        sockaddr_un address{};
        const std::string name = path.string();
        if (name.size() >= sizeof address.sun_path || hasNul(name)) return false;
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, name.size());
        const UniqueFd asking(::socket(AF_UNIX, SOCK_STREAM, 0));
        if (!asking) return false;
        ::fcntl(asking.get(), F_SETFD, FD_CLOEXEC);
        ::fcntl(asking.get(), F_SETFL, O_NONBLOCK);
        // With no room for one more right now somebody listens all the same.
        return ::connect(asking.get(), reinterpret_cast<const sockaddr*>(&address),
                         sizeof address) == 0 ||
               errno == EAGAIN || errno == EINPROGRESS;
    }
};

class PosixProcessRunner : public ProcessRunner {
public:
    explicit PosixProcessRunner(QuitSignal* quit) : m_quit(quit) {}

    std::unique_ptr<RunningProcess> start(const ProcessRequest& request) override {
        // Nothing is looked for along PATH.
        if (!request.program.starts_with('/') || hasNul(request.program)) return nullptr;
        std::vector<std::string> words{request.program};
        for (const auto& argument : request.arguments) {
            if (hasNul(argument)) return nullptr;
            words.push_back(argument);
        }
        Pipe pipe;
        if (request.output == ProcessOutput::Capture) {
            pipe = makePipe();
            if (!pipe) return nullptr;
        }
        QuitSignal* const quit = request.endsAtQuit ? m_quit : nullptr;
        const SpawnAttributes attributes(request.timeLimit.count() > 0 || quit != nullptr);
        const SpawnFiles files(pipe.write);
        if (!attributes.complete() || !files.complete()) return nullptr;
        pid_t child = 0;
        if (posix_spawn(&child, words.front().c_str(), files.get(), attributes.get(),
                        pointersTo(words).data(), environ) != 0) {
            return nullptr;
        }
        // Our writing end goes here, or the end of the output would never come.
        return std::make_unique<PosixProcess>(child, std::move(pipe.read), request.timeLimit, quit);
    }

private:
    QuitSignal* m_quit;
};

} // namespace

std::unique_ptr<KeptPrograms> makePosixKeptPrograms() {
    return std::make_unique<PosixKeptPrograms>();
}

std::unique_ptr<ProcessRunner> makePosixProcessRunner(QuitSignal* quit) {
    return std::make_unique<PosixProcessRunner>(quit);
}

} // namespace kelvane
