#include "tests/service/service_process.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trevix {

namespace {

std::string readAll(int fd) {
    std::string all;
    char buffer[4096];
    for (ssize_t n = 0; (n = read(fd, buffer, sizeof buffer)) > 0;) {
        all.append(buffer, static_cast<std::size_t>(n));
    }
    return all;
}

} // namespace

ServiceProcess::ServiceProcess(const std::vector<std::string>& arguments,
                               const std::vector<std::string>& environment) {
    std::vector<std::string> words{TREVIX_LOCAL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    spawn(std::move(words), environment, {});
}

ServiceProcess::ServiceProcess(const std::vector<std::string>& arguments,
                               const std::vector<std::string>& environment,
                               const std::vector<int>& descriptors, const std::string& begin) {
    std::vector<std::string> words{"/bin/sh", "-c", begin, "sh", TREVIX_LOCAL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    spawn(std::move(words), environment, descriptors);
}

void ServiceProcess::spawn(std::vector<std::string> words,
                           const std::vector<std::string>& environment,
                           const std::vector<int>& descriptors) {
    int output[2];
    int errors[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<std::string> variables = environment;
    for (const char* kept : {"PATH", "TMPDIR", "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (const char* value = std::getenv(kept)) {
            variables.push_back(std::string(kept) + "=" + value);
        }
    }
    const auto pointers = [](std::vector<std::string>& texts) {
        std::vector<char*> all;
        for (std::string& text : texts) all.push_back(text.data());
        all.push_back(nullptr);
        return all;
    };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errors[1], 2);
    // Out of the way of the numbers that they are to have.
    std::vector<int> moved;
    for (const int descriptor : descriptors) {
        moved.push_back(fcntl(descriptor, F_DUPFD_CLOEXEC, 100));
    }
    for (std::size_t i = 0; i < moved.size(); ++i) {
        posix_spawn_file_actions_adddup2(&actions, moved[i], 3 + static_cast<int>(i));
    }
    const int failed = posix_spawn(&m_pid, words.front().c_str(), &actions, nullptr,
                                   pointers(words).data(), pointers(variables).data());
    for (const int descriptor : moved) close(descriptor);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    close(errors[1]);
    m_output = output[0];
    m_errors = errors[0];
    if (failed != 0) throw std::runtime_error("cannot start " + words.front());
}

ServiceProcess::~ServiceProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    close(m_output);
    close(m_errors);
}

std::uint16_t ServiceProcess::awaitPort() {
    m_firstLine = nextLine();
    const std::string start = "trevix-local listening on http://127.0.0.1:";
    if (m_firstLine.rfind(start, 0) != 0) return 0;
    return static_cast<std::uint16_t>(std::strtol(m_firstLine.c_str() + start.size(), nullptr, 10));
}

std::string ServiceProcess::nextLine() {
    std::string line;
    char c = 0;
    while (read(m_output, &c, 1) == 1 && c != '\n') line += c;
    return line;
}

void ServiceProcess::signal(int number) {
    kill(m_pid, number);
}

Ended ServiceProcess::end() {
    Ended ended;
    ended.output = readAll(m_output);
    ended.errors = readAll(m_errors);
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    if (WIFEXITED(status)) ended.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) ended.signal = WTERMSIG(status);
    return ended;
}

} // namespace trevix
