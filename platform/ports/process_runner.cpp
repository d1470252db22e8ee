#include "platform/ports/process_runner.h"

namespace kelvane {

std::optional<ProcessResult> ProcessRunner::run(const ProcessRequest& request) {
    const auto process = start(request);
    if (!process) return std::nullopt;
    return process->finish();
}

} // namespace kelvane
