#include "critics/worker/posix_child_runner.h"

#include "critics/findings/stop.h"
#include "critics/worker/confinement.h"
#include "critics/worker/work_folder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trevix {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t kMostErrors = 4096; // Bytes, as the header says.
constexpr int kExecFailed = 127;          // What shells say of a program that cannot be run.
constexpr rlim_t kDescriptors = 256;      // Enough for every runtime that was tried, with room.
constexpr std::chrono::milliseconds kTick{50}; // How late an end behind an open pipe is noticed.
// How often the end is looked for once both pipes are closed; see Child::wait().
constexpr std::chrono::milliseconds kNearEnd{1};
constexpr std::chrono::seconds kProbe{5}; // bwrap takes some 10 ms where it works.

/// A descriptor that is closed with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }
    void reset() {
        if (m_fd >= 0) ::close(std::exchange(m_fd, -1));
    }

private:
    int m_fd = -1;
};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

/// Away from the standard descriptors, which become() overwrites one by one; they are free when
/// this program was started without them.
Descriptor movedUp(Descriptor end) {
    if (end.get() > STDERR_FILENO) return end;
    Descriptor moved(::fcntl(end.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!moved.isOpen()) throw std::system_error(errno, std::generic_category(), "pipe");
    return moved;
}

/// No end is a standard descriptor. Throws std::system_error when the process has no descriptor
/// left.
Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    Pipe made{Descriptor(ends[0]), Descriptor(ends[1])};
    // pipe2() would do it at once, but is not everywhere; see m_making for the moment between.
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    made.read = movedUp(std::move(made.read));
    made.write = movedUp(std::move(made.write));
    return made;
}

// poll() may announce what is gone by the time of the call, and one pipe must not hold the others
// up.
void unblock(const Descriptor& end) {
    ::fcntl(end.get(), F_SETFL, ::fcntl(end.get(), F_GETFL) | O_NONBLOCK);
}

/// The child's own folder, which goes with everything in it.
class OwnFolder {
public:
    explicit OwnFolder(const fs::path& parent) {
        std::string name = (parent / kChildFolder).string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "a folder for the work");
        }
        m_path = name;
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder() {
        std::error_code ignored;
        // A folder that stays takes room and no more, until takeOverWorkFolder().
        fs::remove_all(m_path, ignored);
    }

    void put(const std::string& name, const std::string& content) const {
        const fs::path relative(name);
        // Names come from tables of ours and from the names of parts, which are a stranger's.
        if (relative.empty() || relative.is_absolute() ||
            std::find(relative.begin(), relative.end(), "..") != relative.end()) {
            throw std::invalid_argument("a file outside its folder: " + name);
        }
        const fs::path file = m_path / relative;
        fs::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
        if (!out.flush()) throw std::runtime_error("the work cannot be written: " + name);
    }

    [[nodiscard]] const std::string& path() const { return m_path.native(); }

private:
    fs::path m_path;
};

void limit(int resource, rlim_t most) {
    rlimit now{};
    if (::getrlimit(static_cast<decltype(RLIMIT_CPU)>(resource), &now) != 0) return;
    // Never more than is allowed already, since raising a hard limit is an error.
    now.rlim_max = now.rlim_max == RLIM_INFINITY ? most : std::min(now.rlim_max, most);
    now.rlim_cur = now.rlim_max;
    ::setrlimit(static_cast<decltype(RLIMIT_CPU)>(resource), &now);
}

/// Everything that the child needs after the fork, made before it: nothing may be allocated there.
struct Launch {
    std::vector<std::string> command;
    std::vector<std::string> environment;
    std::vector<char*> argv;
    std::vector<char*> envp;
    std::string folder;
    pid_t parent = ::getpid();
    ChildLimits limits;
    bool filterNetwork = false;
    int input = -1;
    int output = -1;
    int errors = -1;
    int failure = -1;

    // Called last: growing one of the vectors would move the words that the pointers point to.
    void settle() {
        for (std::string& word : command) argv.push_back(word.data());
        for (std::string& entry : environment) envp.push_back(entry.data());
        argv.push_back(nullptr);
        envp.push_back(nullptr);
    }
};

/// In the child, between fork and exec.
[[noreturn]] void become(const Launch& launch) {
    // A session, and so a group, of its own: endAll() reaches all that it starts.
    ::setsid();
    endWithParent(launch.parent);
    // Ignored signals stay ignored over an exec, and blocked ones blocked; programs expect neither.
    for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    // All ends of the pipes are above the three, so none is overwritten.
    ::dup2(launch.input, STDIN_FILENO);
    ::dup2(launch.output, STDOUT_FILENO);
    ::dup2(launch.errors, STDERR_FILENO);
    keepOnlyStandardDescriptors();
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, static_cast<rlim_t>(launch.limits.cpu.count()));
    limit(RLIMIT_FSIZE, launch.limits.fileSize);
    limit(RLIMIT_NOFILE, kDescriptors);
    if (launch.limits.addressSpace > 0) limit(RLIMIT_AS, launch.limits.addressSpace);
    // Since Linux 4.7 this counts what is mapped privately for writing as well as the heap, so an
    // allocator cannot get around it; getrlimit(2).
    limit(RLIMIT_DATA, launch.limits.memory);
    // Where the system has no such means the limits are all there is.
    [[maybe_unused]] const bool shut = launch.filterNetwork && giveUpNetwork();
    if (::chdir(launch.folder.c_str()) == 0) {
        ::execve(launch.argv.front(), launch.argv.data(), launch.envp.data());
    }
    // The other end of the pipe closes with a successful exec, so four bytes in it mean that there
    // was none.
    const int error = errno;
    // There is nobody to tell if this fails.
    [[maybe_unused]] const auto told = ::write(launch.failure, &error, sizeof error);
    ::_exit(kExecFailed);
}

/// Turns a stop request into something that poll sees.
class Cancel {
public:
    explicit Cancel(const StopToken& token)
        : m_pipe(makePipe()),
          // Closing the other end is all that is done on the thread that asks to stop: it takes no
          // lock and makes poll() return.
          m_callback(token, [this] { m_pipe.write.reset(); }) {}

    [[nodiscard]] int readable() const { return m_pipe.read.get(); }

private:
    Pipe m_pipe;
    StopCallback m_callback;
};

/// While it lives, writing to a program that has ended is an error of the write and no more.
class NoBrokenPipes {
public:
    NoBrokenPipes() {
        sigemptyset(&m_broken);
        sigaddset(&m_broken, SIGPIPE);
        // SIGPIPE of a write is sent to the thread that writes, so blocking it here is enough,
        // whatever the program does about it. One that was pending before is not ours to take.
        m_before = isPending();
        ::pthread_sigmask(SIG_BLOCK, &m_broken, &m_mask);
    }
    NoBrokenPipes(const NoBrokenPipes&) = delete;
    NoBrokenPipes& operator=(const NoBrokenPipes&) = delete;
    ~NoBrokenPipes() {
        int taken = 0;
        if (!m_before && isPending()) ::sigwait(&m_broken, &taken);
        ::pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
    }

private:
    static bool isPending() {
        sigset_t pending;
        return ::sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t m_broken{};
    sigset_t m_mask{};
    bool m_before = false;
};

/// A child from its start to its end.
class Child {
public:
    Child(pid_t pid, Descriptor input, Descriptor output, Descriptor errors)
        : m_pid(pid),
          m_input(std::move(input)),
          m_output(std::move(output)),
          m_errors(std::move(errors)) {
        // Ours alone: the flag belongs to an end's own file description, and the child has the
        // other ends.
        for (const Descriptor* end : {&m_input, &m_output, &m_errors}) unblock(*end);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { endAll(); }

    /// Whether it has ended without being asked for anything.
    [[nodiscard]] bool endedEarly() { return hasEnded(); }

    /// Once only, from now on within the limits of `request`.
    ChildResult attend(const ChildRequest& request, const Cancel& cancel,
                       const std::function<void(std::string_view)>& onOutput) {
        m_fed = request.input;
        m_mostOutput = request.limits.output;
        m_deadline = Clock::now() + request.limits.wall;
        // Until both pipes have closed and the child has ended, in whichever order.
        while (!m_ended && (m_output.isOpen() || m_errors.isOpen() || !hasEnded())) {
            if (!wait(cancel, onOutput)) break;
            // Something that it started may hold the pipes open longer than it lives.
            if (hasEnded()) {
                drain(onOutput);
                break;
            }
        }
        // Also after a good end: what it left running goes too.
        endAll();
        if (!m_ended) {
            const bool itself = WIFEXITED(m_status);
            m_result.end = itself ? ChildResult::End::exited : ChildResult::End::killed;
            m_result.status = itself ? WEXITSTATUS(m_status) : WTERMSIG(m_status);
        }
        return std::move(m_result);
    }

private:
    /// One round; false when the child is to be ended.
    bool wait(const Cancel& cancel, const std::function<void(std::string_view)>& onOutput) {
        const auto left = m_deadline - Clock::now();
        if (left <= Clock::duration::zero()) return ends(ChildResult::End::outOfTime);
        std::array<pollfd, 4> events = {
            pollfd{cancel.readable(), POLLIN, 0}, pollfd{m_output.get(), POLLIN, 0},
            pollfd{m_errors.get(), POLLIN, 0}, pollfd{m_input.get(), POLLOUT, 0}};
        // With both pipes closed nothing announces the end, which is then near.
        const bool silent = !m_output.isOpen() && !m_errors.isOpen();
        const auto most = std::min<Clock::duration>(left, silent ? kNearEnd : kTick);
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(most).count();
        // A signal may interrupt the waiting; the limits go on from m_deadline.
        if (::poll(events.data(), events.size(), static_cast<int>(wait)) < 0) return errno == EINTR;
        if (events[0].revents != 0) return ends(ChildResult::End::cancelled);
        // Feeding and reading in turns: a child that writes before it has read everything would
        // otherwise wait for us while we wait for it.
        if (events[3].revents != 0) feed();
        if (events[2].revents != 0) readErrors();
        return events[1].revents == 0 || readOutput(onOutput);
    }

    bool ends(ChildResult::End end) {
        m_ended = true;
        m_result.end = end;
        return false;
    }

    void feed() {
        const ssize_t written =
            m_fed.empty() ? 0 : ::write(m_input.get(), m_fed.data(), m_fed.size());
        if (written > 0) m_fed.remove_prefix(static_cast<std::size_t>(written));
        const bool refused = written < 0 && errno != EAGAIN && errno != EINTR;
        // A program that does not want all of it is no fault.
        if (refused || m_fed.empty()) m_input.reset();
    }

    void readErrors() {
        std::array<char, 4096> room{};
        const ssize_t got = ::read(m_errors.get(), room.data(), room.size());
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) m_errors.reset();
        if (got <= 0) return;
        // Beyond that it is read and dropped, or the child would stop at a full pipe.
        const std::size_t left = kMostErrors - m_result.errors.size();
        m_result.errors.append(room.data(), std::min(left, static_cast<std::size_t>(got)));
    }

    bool readOutput(const std::function<void(std::string_view)>& onOutput) {
        std::array<char, 65536> room; // NOLINT(cppcoreguidelines-pro-type-member-init): is filled
        const ssize_t got = ::read(m_output.get(), room.data(), room.size());
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) m_output.reset();
        if (got <= 0) return true;
        const std::uint64_t left = m_mostOutput - m_result.output.size();
        const auto taken = std::min<std::uint64_t>(left, static_cast<std::uint64_t>(got));
        const std::string_view piece(room.data(), static_cast<std::size_t>(taken));
        m_result.output.append(piece);
        if (onOutput) onOutput(piece);
        // Exactly the limit is not too much.
        return taken == static_cast<std::uint64_t>(got) || ends(ChildResult::End::tooMuch);
    }

    /// What it wrote before it ended.
    void drain(const std::function<void(std::string_view)>& onOutput) {
        std::array<pollfd, 1> event = {pollfd{m_output.get(), POLLIN, 0}};
        while (m_output.isOpen() && ::poll(event.data(), 1, 0) > 0 && readOutput(onOutput)) {
        }
        event[0].fd = m_errors.get();
        while (m_errors.isOpen() && ::poll(event.data(), 1, 0) > 0) readErrors();
    }

    /// Looks without taking its status: until that is taken the number stays the child's own.
    bool hasEnded() {
        if (m_left) return true;
        siginfo_t found{};
        int failed = 0;
        do {
            failed = ::waitid(P_PID, static_cast<id_t>(m_pid), &found, WEXITED | WNOHANG | WNOWAIT);
        } while (failed != 0 && errno == EINTR);
        // An error is ECHILD: somebody else has waited for it, and there is nothing left to wait
        // for.
        m_taken = failed != 0;
        m_left = m_taken || found.si_pid != 0;
        return m_left;
    }

    /// Ends the whole group, which outlives its leader when it started more.
    void endAll() {
        if (m_gone) return;
        m_gone = true;
        // Before the leader is waited for: after that a group of strangers may have its number.
        if (hasEnded() && m_taken) return;
        ::kill(-m_pid, SIGKILL);
        // SIGKILL cannot be put off, so this does not wait for long.
        while (::waitpid(m_pid, &m_status, 0) < 0 && errno == EINTR) {
        }
    }

    pid_t m_pid;
    Descriptor m_input;
    Descriptor m_output;
    Descriptor m_errors;
    Clock::time_point m_deadline;
    ChildResult m_result;
    std::string_view m_fed; ///< What is left of the input.
    std::uint64_t m_mostOutput = 0;
    int m_status = 0;
    bool m_ended = false; // by us
    bool m_left = false;  // its end was noticed
    bool m_taken = false; // its status, by somebody else
    bool m_gone = false;  // with all that it started
};

ChildResult notStarted(std::string why) {
    ChildResult result;
    result.errors = std::move(why);
    return result;
}

/// A program that has begun, in its folder, and has been told nothing so far.
struct Begun {
    OwnFolder folder; // Goes after the child that works in it.
    std::optional<Child> child;

    explicit Begun(const fs::path& parent) : folder(parent) {}
};

/// What a path stands for at a moment; what is not there is all zero.
struct Stamp {
    dev_t device = 0;
    ino_t node = 0;
    off_t size = 0;
    fs::file_time_type changed{};

    bool operator==(const Stamp&) const = default;
};

Stamp stampOf(const std::string& path) {
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0) return {};
    // The file's own time, since what a folder holds shows in it too.
    std::error_code error;
    return {found.st_dev, found.st_ino, found.st_size, fs::last_write_time(path, error)};
}

/// Of all that a child saw when it began and that may change before it is asked.
std::vector<Stamp> stampsFor(const ChildRequest& request) {
    std::vector<Stamp> stamps = {stampOf(request.program)};
    for (const std::string& path : request.readable) stamps.push_back(stampOf(path));
    return stamps;
}

ChildRequest withoutInput(ChildRequest request) {
    request.input.clear();
    return request;
}

class PosixChildRunner : public ChildRunner {
public:
    PosixChildRunner(fs::path workFolder, SandboxFacts facts, std::chrono::milliseconds readyFor)
        : m_workFolder(std::move(workFolder)),
          m_facts(std::move(facts)),
          m_readyFor(readyFor) {}
    PosixChildRunner(const PosixChildRunner&) = delete;
    PosixChildRunner& operator=(const PosixChildRunner&) = delete;

    ~PosixChildRunner() override {
        {
            const std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_changed.notify_all();
        if (m_keeper.joinable()) m_keeper.join();
    }

    using ChildRunner::run;

    ChildResult run(const ChildRequest& request, StopToken cancel,
                    const std::function<void(std::string_view)>& onOutput) override {
        try {
            const NoBrokenPipes quiet;
            // Before anything is begun: a request to stop that has come already ends the child in
            // its first round.
            const Cancel cancelled(cancel);
            std::unique_ptr<Begun> begun = ready(request);
            if (begun == nullptr) begun = begin(request);
            return begun->child->attend(request, cancelled, onOutput);
        } catch (const std::exception& error) {
            return notStarted(error.what());
        }
    }

    void expect(const ChildRequest& request) override {
        try {
            const std::lock_guard lock(m_mutex);
            m_wanted = withoutInput(request);
            // One thread begins them all: where a child ends with the thread that made it, none
            // may be made by a thread that ends before.
            if (!m_keeper.joinable()) m_keeper = std::thread([this] { keep(); });
        } catch (const std::exception&) {
            return; // Then it is begun when it comes.
        }
        m_changed.notify_all();
    }

private:
    struct Ready {
        ChildRequest request;
        std::vector<Stamp> stamps;
        std::unique_ptr<Begun> begun;
        Clock::time_point until;
    };

    /// The child that was begun for such a request, when it is as good as a new one.
    [[nodiscard]] std::unique_ptr<Begun> ready(const ChildRequest& request) {
        std::optional<Ready> taken;
        {
            std::unique_lock lock(m_mutex);
            // One that is just being begun is there sooner than another one.
            m_changed.wait(lock, [this] { return !m_beginning; });
            if (!m_ready || withoutInput(request) != m_ready->request) return nullptr;
            taken = std::exchange(m_ready, std::nullopt);
        }
        // It may have ended while it waited, and what it has read may have changed: a dictionary
        // was installed, a word was added. Then one is begun anew.
        const bool good = !taken->begun->child->endedEarly() && taken->stamps == stampsFor(request);
        return good ? std::move(taken->begun) : nullptr;
    }

    /// The keeper's thread: begins what is expected, and ends what waited too long.
    void keep() {
        std::unique_lock lock(m_mutex);
        while (!m_stopping) {
            std::optional<Ready> gone;
            if (m_wanted) {
                const ChildRequest wanted = *std::exchange(m_wanted, std::nullopt);
                // The same is expected again: it only waits for longer.
                if (m_ready && m_ready->request == wanted) {
                    m_ready->until = Clock::now() + m_readyFor;
                    continue;
                }
                gone = std::exchange(m_ready, std::nullopt);
                m_beginning = true;
                lock.unlock();
                // Ended outside the lock: a child and its folder take a while to go.
                gone.reset();
                std::optional<Ready> made = prepared(wanted);
                lock.lock();
                m_ready = std::move(made);
                m_beginning = false;
                m_changed.notify_all();
            } else if (!m_ready) {
                m_changed.wait(lock, [this] { return m_stopping || m_wanted; });
            } else if (Clock::now() < m_ready->until) {
                // By value: the child may be taken, and another one begun, meanwhile.
                const auto until = m_ready->until;
                m_changed.wait_until(lock, until, [this] { return m_stopping || m_wanted; });
            } else {
                gone = std::exchange(m_ready, std::nullopt);
                lock.unlock();
                gone.reset();
                lock.lock();
            }
        }
        m_ready.reset();
    }

    [[nodiscard]] std::optional<Ready> prepared(const ChildRequest& request) {
        try {
            std::vector<Stamp> stamps = stampsFor(request);
            auto begun = begin(request);
            return Ready{request, std::move(stamps), std::move(begun), Clock::now() + m_readyFor};
        } catch (const std::exception&) {
            return std::nullopt; // The request itself will say why.
        }
    }

    /// Throws when the program cannot be started.
    [[nodiscard]] std::unique_ptr<Begun> begin(const ChildRequest& request) {
        auto begun = std::make_unique<Begun>(m_workFolder);
        const OwnFolder& folder = begun->folder;
        for (const auto& [name, content] : request.files) folder.put(name, content);

        Launch launch;
        launch.command = shutIn(request, folder.path(), m_facts);
        // Nothing of the service's own environment, in which secrets may stand. C.UTF-8, so that
        // answers read the same everywhere.
        launch.environment = {"PATH=/usr/local/bin:/usr/bin:/bin", "HOME=" + folder.path(),
                              "LC_ALL=C.UTF-8"};
        for (const auto& [name, value] : request.environment) {
            launch.environment.push_back(name + "=" + value);
        }
        launch.folder = folder.path();
        launch.limits = request.limits;
        // The name space of bubblewrap has no network already.
        launch.filterNetwork = m_facts.bubblewrap.empty();

        // Under one lock: a child that is made between a pipe and its mark would hold it open.
        std::unique_lock making(m_making);
        Pipe input = makePipe();
        Pipe output = makePipe();
        Pipe errors = makePipe();
        Pipe failure = makePipe();
        launch.input = input.read.get();
        launch.output = output.write.get();
        launch.errors = errors.write.get();
        launch.failure = failure.write.get();
        launch.settle();
        const pid_t pid = ::fork();
        if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
        if (pid == 0) become(launch);
        making.unlock();
        input.read.reset();
        output.write.reset();
        errors.write.reset();
        failure.write.reset();

        begun->child.emplace(pid, std::move(input.write), std::move(output.read),
                             std::move(errors.read));
        int error = 0;
        // Ends at once: the other end closes when the program begins, or when it cannot. No bytes
        // mean that the program has begun.
        if (::read(failure.read.get(), &error, sizeof error) == sizeof error) {
            throw std::runtime_error(request.program + ": " + std::strerror(error));
        }
        return begun;
    }

    const fs::path m_workFolder;
    const SandboxFacts m_facts;
    const std::chrono::milliseconds m_readyFor;
    std::mutex m_making;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_beginning = false;
    std::optional<ChildRequest> m_wanted;
    std::optional<Ready> m_ready;
    std::thread m_keeper;
};

} // namespace

bool inputWaits() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) != 0;
}

std::unique_ptr<ChildRunner> makePosixChildRunner(fs::path workFolder, SandboxFacts facts,
                                                  std::chrono::milliseconds readyFor) {
    return std::make_unique<PosixChildRunner>(std::move(workFolder), std::move(facts), readyFor);
}

SandboxFacts sandboxOfThisMachine(const fs::path& workFolder, const std::string& program) {
    SandboxFacts facts;
    // On a system with a merged /usr these are links into it, and a child needs the same ones.
    for (const char* name : {"/bin", "/sbin", "/lib", "/lib32", "/lib64", "/libx32"}) {
        std::error_code error;
        const fs::path target = fs::read_symlink(name, error);
        if (!error) facts.rootLinks.emplace_back(name, target.string());
    }
    for (const char* path : {"/usr/bin/bwrap", "/usr/local/bin/bwrap"}) {
        if (::access(path, X_OK) != 0) continue;
        facts.bubblewrap = path;
        // Tried and not asked for its version: whether name spaces are allowed depends on the
        // kernel's settings, and shows only in use.
        ChildRequest probe;
        probe.program = program;
        probe.arguments = {"--version"};
        probe.limits.wall = kProbe;
        const ChildResult tried = makePosixChildRunner(workFolder, facts)->run(probe);
        if (tried.end == ChildResult::End::exited && tried.status == 0) return facts;
    }
    facts.bubblewrap.clear();
    return facts;
}

} // namespace trevix
