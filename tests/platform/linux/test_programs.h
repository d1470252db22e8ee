// The real programs that a test starts on a desktop of its own, and the folder in which they live.
//
// Each gets a process group of its own and ends with the object, or with the test program should it
// crash. Use it from one thread.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

/// A pipe through which a program that was started tells one line.
struct TestPipe {
    TestPipe();
    ~TestPipe();
    TestPipe(const TestPipe&) = delete;
    TestPipe& operator=(const TestPipe&) = delete;

    /// What came until a line feed, the end, or `timeout`.
    [[nodiscard]] std::string readLine(std::chrono::milliseconds timeout) const;
    static void closeEnd(int& end);

    int reading = -1;
    int writing = -1;
};

/// Where the program of that name lies, or nothing when it is not installed.
[[nodiscard]] std::optional<std::filesystem::path> installedProgram(const std::string& name);

/// A fresh home folder, with a folder `runtime` in it that is the user's alone. A bus with those
/// two starts no notification service that happens to be installed: its window would lie over what
/// a test clicks on. A test that wants one starts it.
[[nodiscard]] std::filesystem::path makeTestHome();

class TestPrograms {
public:
    TestPrograms() = default;
    ~TestPrograms() { killAllBut(0); }
    TestPrograms(const TestPrograms&) = delete;
    TestPrograms& operator=(const TestPrograms&) = delete;

    /// Starts a program with exactly that environment; what it says goes to the end of `log`, and
    /// `said`, when given, is its descriptor 3. Throws std::runtime_error when it is not installed
    /// or cannot be started.
    pid_t start(const std::vector<std::string>& command,
                const std::map<std::string, std::string>& environment,
                const std::filesystem::path& log, int said = -1);
    /// Whether a program started here still runs.
    [[nodiscard]] bool running(pid_t program);
    /// Ends it and waits until it is gone: politely, then by force.
    void end(pid_t program);
    void kill(pid_t program);
    void killAllBut(pid_t program);

    /// Ends the children of `program` that are still a copy of it after `patience` of being looked
    /// at. A program with threads that runs code of its own between fork and exec can stand still
    /// there for good, on a lock that another thread held, and with it the one that waits for the
    /// exec. Call it again and again.
    void endStuckForks(pid_t program, std::chrono::milliseconds patience = std::chrono::seconds(1));

    /// Looks at `condition` every few milliseconds until it holds; false after `timeout`.
    static bool waitUntil(const std::function<bool()>& condition,
                          std::chrono::milliseconds timeout = std::chrono::seconds(60));

private:
    std::vector<pid_t> m_programs;                                  ///< Oldest first.
    std::map<pid_t, std::chrono::steady_clock::time_point> m_forks; ///< When first seen.
};

} // namespace kelvane
