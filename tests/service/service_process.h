// The built service as a process of its own, which a test may end in any way.

#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace trevix {

struct Ended {
    std::optional<int> exitCode; ///< Absent when a signal ended it.
    int signal = 0;
    std::string output; ///< Of standard output, from where reading stopped.
    std::string errors;
};

class ServiceProcess {
public:
    /// Starts trevix-local with these arguments and, on top of an almost empty environment, these
    /// variables ("NAME=value").
    explicit ServiceProcess(const std::vector<std::string>& arguments,
                            const std::vector<std::string>& environment = {});
    /// The same, begun as a service manager does it: with these descriptors as 3, 4 and so on, by a
    /// shell that runs `begin` with the program's words as its own, so `exec "$@"` at the end.
    ServiceProcess(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment, const std::vector<int>& descriptors,
                   const std::string& begin);
    ~ServiceProcess(); ///< Kills it if it still runs.
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// Reads the line that tells the port; 0 when the program ended without it.
    std::uint16_t awaitPort();
    /// Reads one more line of standard output; empty when the program ended.
    std::string nextLine();
    void signal(int number);
    /// Blocks until the program has ended.
    Ended end();

    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] const std::string& firstLine() const { return m_firstLine; }

private:
    void spawn(std::vector<std::string> words, const std::vector<std::string>& environment,
               const std::vector<int>& descriptors);

    pid_t m_pid = -1;
    int m_output = -1;
    int m_errors = -1;
    std::string m_firstLine;
};

} // namespace trevix
