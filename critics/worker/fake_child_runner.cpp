#include "critics/worker/fake_child_runner.h"

namespace trevix {

std::vector<std::string> FakeChildRunner::journal() const {
    std::vector<std::string> lines;
    for (const ChildRequest& request : requests()) {
        std::string line = request.program;
        for (const std::string& argument : request.arguments) line += " " + argument;
        for (std::size_t i = 0; i < request.files.size(); ++i) {
            line += (i == 0 ? " < " : " ") + request.files[i].first;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

ChildResult FakeChildRunner::run(const ChildRequest& request, StopToken cancel,
                                 const std::function<void(std::string_view)>& onOutput) {
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    ChildResult result;
    if (cancel.isAsked()) {
        result.end = ChildResult::End::cancelled;
        return result;
    }
    if (!answer) {
        result.errors = "nothing answers here";
        return result;
    }
    result = answer(request);
    if (result.output.size() > request.limits.output) {
        result.output.resize(static_cast<std::size_t>(request.limits.output));
        result.end = ChildResult::End::tooMuch;
    }
    // As the real one has it: see kMostErrors there.
    if (result.errors.size() > 4096) result.errors.resize(4096);
    if (onOutput) onOutput(result.output);
    return result;
}

} // namespace trevix
