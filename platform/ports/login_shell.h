// A command as the user would have typed it.
//
// Built on `ProcessRunner`: "/bin/sh" as a login shell, which reads the user's profile and so finds
// what the user's terminal finds. Any thread; the caller is blocked until the command has ended.

#pragma once

#include <cstdint>
#include <string_view>

namespace kelvane {

class ProcessRunner;

/// Runs `command` with this program's own standard streams and waits for it. The shell's status, or
/// -1 when it could not be started.
std::int32_t sh(ProcessRunner& processes, std::string_view command);

/// Whether a python3 is on the login shell's search path.
[[nodiscard]] bool hasPython3(ProcessRunner& processes);

} // namespace kelvane
