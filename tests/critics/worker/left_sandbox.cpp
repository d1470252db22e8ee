#include "tests/critics/worker/left_sandbox.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trevix {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::minutes kPatience{1}; // How long a busy machine may take.
constexpr int kTold = 100;                   // A descriptor's number that nothing else has.

/// Its one child; 0 when there is none.
pid_t childOf(pid_t parent) {
    const std::string number = std::to_string(parent);
    std::ifstream file("/proc/" + number + "/task/" + number + "/children");
    pid_t child = 0;
    file >> child;
    return child;
}

struct FullPipe {
    FullPipe() {
        if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error("no pipe");
        const std::string page(4096, ' ');
        while (write(ends[1], page.data(), page.size()) > 0) {
        }
        fcntl(ends[1], F_SETFL, 0); // Whoever writes now waits.
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;
    ~FullPipe() {
        for (const int end : ends) close(end);
    }
    std::array<int, 2> ends{};
};

} // namespace

// The one that clones tells the number of what it cloned before it lets that go on. It is held up
// there, by a pipe that takes nothing, and killed.
LeftSandbox::LeftSandbox(const std::filesystem::path& folder, const SandboxFacts& facts) {
    std::filesystem::create_directories(folder);
    ChildRequest request;
    request.program = "/usr/bin/env";
    std::vector<std::string> words = shutIn(request, folder.string(), facts);
    words.insert(words.begin() + 1, {"--info-fd", std::to_string(kTold)});
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const FullPipe told;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, told.ends[1], kTold);
    pid_t maker = 0;
    std::array<char*, 1> none = {nullptr};
    const int failed =
        posix_spawn(&maker, pointers[0], &actions, nullptr, pointers.data(), none.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) throw std::runtime_error("bwrap cannot be started");
    const auto until = Clock::now() + kPatience;
    pid_t process = 0;
    while (process == 0 && Clock::now() < until) {
        std::this_thread::yield();
        process = childOf(maker);
    }
    if (process != 0) m_held = static_cast<int>(syscall(SYS_pidfd_open, process, 0U));
    kill(maker, SIGKILL);
    waitpid(maker, nullptr, 0);
    if (m_held < 0) throw std::runtime_error("bwrap has made no process");
}

LeftSandbox::~LeftSandbox() {
    syscall(SYS_pidfd_send_signal, m_held, SIGKILL, nullptr, 0U);
    close(m_held);
}

bool LeftSandbox::waits() const {
    pollfd end{m_held, POLLIN, 0};
    return poll(&end, 1, 0) == 0;
}

void LeftSandbox::awaitEnd() const {
    pollfd end{m_held, POLLIN, 0};
    poll(&end, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count()));
}

} // namespace trevix
