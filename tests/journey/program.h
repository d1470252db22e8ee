// A program under test, spoken to through its standard input and output.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class Program {
public:
    /// Starts `command` with exactly `environment`. Standard error goes to the test's own.
    /// Throws std::runtime_error when it cannot be started.
    Program(const std::vector<std::string>& command,
            const std::map<std::string, std::string>& environment);
    /// Ends the program by force if it still runs.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void type(const std::string& line); ///< Writes the line and its line break.
    void endInput();

    /// Everything printed up to and including the first occurrence of `text` after what earlier
    /// calls have handed out. Absent when it did not come in time; what came stays to be read.
    [[nodiscard]] std::optional<std::string>
    readUntil(const std::string& text,
              std::chrono::milliseconds timeout = std::chrono::seconds(60));

    void signal(int number) const;
    /// The exit status, or 128 + the signal's number; absent when it still runs after `timeout`.
    [[nodiscard]] std::optional<int>
    waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] const std::string& unread() const { return m_unread; }

private:
    pid_t m_pid = 0;
    int m_input = -1;
    int m_output = -1;
    std::string m_unread;
    std::optional<int> m_status;
};

} // namespace kelvane
