#include "platform/ports/login_shell.h"

#include "platform/ports/process_runner.h"

#include <string>

namespace kelvane {

std::int32_t LoginShell::sh(std::string_view command) {
    return run(command, kCommandPatience);
}

bool LoginShell::hasPython3() {
    return run("command -v python3 >/dev/null 2>&1", kProfilePatience) == 0;
}

std::int32_t LoginShell::run(std::string_view command, std::chrono::seconds patience) {
    const auto tried =
        m_processes.run({.program = "/bin/sh",
                         .arguments = {m_readsProfile ? "-lc" : "-c", std::string(command)},
                         .output = ProcessOutput::Inherit,
                         .timeLimit = patience});
    if (!tried) return -1;
    if (!tried->timedOut || !m_readsProfile) return tried->status;
    m_readsProfile = false;
    return run(command, patience);
}

} // namespace kelvane
