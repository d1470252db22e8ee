#include "tests/platform/linux/test_programs.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

std::string findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) return name;
    if (const auto path = installedProgram(name)) return path->string();
    throw std::runtime_error("The desktop tests need the program \"" + name +
                             "\", which is not installed (see scripts/bootstrap).");
}

} // namespace

TestPipe::TestPipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
    reading = ends[0];
    writing = ends[1];
}

TestPipe::~TestPipe() {
    closeEnd(reading);
    closeEnd(writing);
}

void TestPipe::closeEnd(int& end) {
    if (end >= 0) ::close(end);
    end = -1;
}

std::string TestPipe::readLine(std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string line;
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd waiting{reading, POLLIN, 0};
        if (::poll(&waiting, 1, 100) <= 0) continue;
        char c = 0;
        const auto got = ::read(reading, &c, 1);
        if (got <= 0 || c == '\n') break;
        line.push_back(c);
    }
    return line;
}

std::optional<std::filesystem::path> installedProgram(const std::string& name) {
    const char* const value = std::getenv("PATH");
    const std::string path = value != nullptr ? value : "/usr/local/bin:/usr/bin:/bin";
    for (std::size_t begin = 0; begin <= path.size();) {
        const auto end = std::min(path.find(':', begin), path.size());
        const auto candidate = path.substr(begin, end - begin) + "/" + name;
        if (::access(candidate.c_str(), X_OK) == 0) return candidate;
        begin = end + 1;
    }
    return std::nullopt;
}

std::filesystem::path makeTestHome() {
    const std::string model =
        (std::filesystem::temp_directory_path() / "kelvane-desktop-XXXXXX").string();
    std::vector<char> path(model.begin(), model.end());
    path.push_back('\0');
    if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("cannot make a home folder");
    std::filesystem::path home(path.data());
    std::filesystem::create_directories(home / "runtime");
    std::filesystem::permissions(home / "runtime", std::filesystem::perms::owner_all);
    // For what programs leave behind that are ended without being asked.
    std::filesystem::create_directory(home / "tmp");
    // Of the folders of a bus's services only this one wins over those of the system.
    const auto services = home / "runtime/dbus-1/services";
    std::filesystem::create_directories(services);
    std::ofstream(services / "org.freedesktop.Notifications.service")
        << "[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n";
    return home;
}

pid_t TestPrograms::start(const std::vector<std::string>& command,
                          const std::map<std::string, std::string>& environment,
                          const std::filesystem::path& log, int said) {
    const auto program = findProgram(command.at(0));
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
    std::vector<char*> arguments;
    for (const auto& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    std::vector<char*> block;
    for (const auto& entry : variables) block.push_back(const_cast<char*>(entry.c_str()));
    block.push_back(nullptr);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output =
        ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);

    const pid_t child = ::fork();
    if (child == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(null, 0);
        ::dup2(output, 1);
        ::dup2(output, 2);
        if (said >= 0) ::dup2(said, 3);
        ::execve(program.c_str(), arguments.data(), block.data());
        ::_exit(127);
    }
    ::close(null);
    ::close(output);
    if (child < 0) throw std::runtime_error("fork failed for " + program);
    ::setpgid(child, child); // Also here: whoever comes first, it is done before we signal it.
    m_programs.push_back(child);
    return child;
}

bool TestPrograms::running(pid_t program) {
    const auto known = std::find(m_programs.begin(), m_programs.end(), program);
    if (known == m_programs.end()) return false;
    if (::waitpid(program, nullptr, WNOHANG) == 0) return true;
    m_programs.erase(known);
    return false;
}

void TestPrograms::end(pid_t program) {
    if (!running(program)) return;
    ::kill(-program, SIGCONT);
    ::kill(-program, SIGTERM);
    if (waitUntil([&] { return !running(program); }, 2s)) return;
    kill(program);
}

void TestPrograms::kill(pid_t program) {
    const auto known = std::find(m_programs.begin(), m_programs.end(), program);
    if (known == m_programs.end()) return;
    m_programs.erase(known);
    ::kill(-program, SIGKILL);
    while (::waitpid(program, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void TestPrograms::killAllBut(pid_t program) {
    const auto programs = m_programs;
    for (auto one = programs.rbegin(); one != programs.rend(); ++one) {
        if (*one != program) kill(*one);
    }
}

void TestPrograms::endStuckForks(pid_t program, std::chrono::milliseconds patience) {
    const std::filesystem::path processes("/proc");
    const auto number = std::to_string(program);
    std::error_code failure;
    const auto self = std::filesystem::read_symlink(processes / number / "exe", failure);
    if (failure) return;
    const auto now = std::chrono::steady_clock::now();
    std::map<pid_t, std::chrono::steady_clock::time_point> forks;
    for (const auto& thread :
         std::filesystem::directory_iterator(processes / number / "task", failure)) {
        std::ifstream children(thread.path() / "children");
        for (pid_t child = 0; children >> child;) {
            const auto other =
                std::filesystem::read_symlink(processes / std::to_string(child) / "exe", failure);
            if (failure || other != self) continue;
            const auto seen = m_forks.find(child);
            const auto since = seen == m_forks.end() ? now : seen->second;
            if (now - since >= patience) ::kill(child, SIGKILL);
            forks.emplace(child, since);
        }
    }
    m_forks = std::move(forks);
}

bool TestPrograms::waitUntil(const std::function<bool()>& condition,
                             std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

} // namespace kelvane
