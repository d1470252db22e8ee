#include "tests/journey/program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <thread>

namespace kelvane {

namespace {

using Time = std::chrono::steady_clock;

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (auto& text : texts) list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

} // namespace

Program::Program(const std::vector<std::string>& command,
                 const std::map<std::string, std::string>& environment) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<std::string> arguments = command;
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    const int failed = ::posix_spawn(&m_pid, command.front().c_str(), &actions, nullptr,
                                     pointers(arguments).data(), pointers(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    m_input = in[1];
    m_output = out[0];
    if (failed != 0) {
        m_status = -1;
        throw std::runtime_error("cannot start " + command.front());
    }
}

Program::~Program() {
    endInput();
    if (!m_status) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    if (m_output >= 0) ::close(m_output);
}

void Program::type(const std::string& line) {
    const std::string bytes = line + "\n";
    if (::write(m_input, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the program does not read");
    }
}

void Program::endInput() {
    if (m_input >= 0) ::close(m_input);
    m_input = -1;
}

std::optional<std::string> Program::readUntil(const std::string& text,
                                              std::chrono::milliseconds timeout) {
    const auto deadline = Time::now() + timeout;
    for (;;) {
        if (const auto at = m_unread.find(text); at != std::string::npos) {
            auto read = m_unread.substr(0, at + text.size());
            m_unread.erase(0, at + text.size());
            return read;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Time::now());
        pollfd ready{.fd = m_output, .events = POLLIN, .revents = 0};
        if (left.count() <= 0 || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0) {
            return std::nullopt;
        }
        std::array<char, 4096> buffer{};
        const auto count = ::read(m_output, buffer.data(), buffer.size());
        if (count <= 0) return std::nullopt;
        m_unread.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void Program::signal(int number) const {
    ::kill(m_pid, number);
}

std::optional<int> Program::waitForEnd(std::chrono::milliseconds timeout) {
    const auto deadline = Time::now() + timeout;
    while (!m_status) {
        int status = 0;
        if (::waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        } else if (Time::now() >= deadline) {
            return std::nullopt;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return m_status;
}

} // namespace kelvane
