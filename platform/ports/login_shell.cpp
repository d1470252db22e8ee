#include "platform/ports/login_shell.h"

#include "platform/ports/process_runner.h"

#include <string>

namespace kelvane {

std::int32_t sh(ProcessRunner& processes, std::string_view command) {
    const auto result = processes.run({.program = "/bin/sh",
                                       .arguments = {"-lc", std::string(command)},
                                       .output = ProcessOutput::Inherit});
    return result ? result->status : -1;
}

bool hasPython3(ProcessRunner& processes) {
    return sh(processes, "command -v python3 >/dev/null 2>&1") == 0;
}

} // namespace kelvane
