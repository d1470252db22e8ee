// Commands as the user would have typed them.
//
// Built on `ProcessRunner`: "/bin/sh" as a login shell, which reads the user's profile and so finds
// what the user's terminal finds. Any thread; the caller is blocked until the command has ended,
// which has limits: a profile may wait for something that never comes.

#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace kelvane {

class ProcessRunner;

/// What a login shell may take to read the profile; slow ones take seconds.
inline constexpr std::chrono::seconds kProfilePatience{20};
/// What a command may take; those of an installation take one or two seconds.
inline constexpr std::chrono::seconds kCommandPatience{60};

/// Commands of one undertaking, one after the other. They must bear being run again: one that does
/// not end in time is ended and run once more by a shell that reads no profile, and so are all
/// after it.
class LoginShell {
public:
    explicit LoginShell(ProcessRunner& processes) : m_processes(processes) {}

    /// Runs `command` with this program's own standard streams and waits for it. The shell's
    /// status, or -1 when it could not be started.
    std::int32_t sh(std::string_view command);

    /// Whether a python3 is on the login shell's search path.
    [[nodiscard]] bool hasPython3();

private:
    std::int32_t run(std::string_view command, std::chrono::seconds patience);

    ProcessRunner& m_processes;
    bool m_readsProfile = true;
};

} // namespace kelvane
