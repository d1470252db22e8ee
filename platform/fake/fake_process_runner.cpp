#include "platform/fake/fake_process_runner.h"

#include <utility>

namespace kelvane {

namespace {

/// Has ended before anybody waits for it.
class FakeProcess : public RunningProcess {
public:
    explicit FakeProcess(ProcessResult result) : m_result(std::move(result)) {}
    ProcessResult finish() override { return std::move(m_result); }

private:
    ProcessResult m_result;
};

} // namespace

std::unique_ptr<RunningProcess> FakeProcessRunner::start(const ProcessRequest& request) {
    std::string line = request.program;
    for (const auto& argument : request.arguments) line += " " + argument;
    m_journal.add(std::move(line));
    requests.push_back(request);
    std::optional<ProcessResult> result;
    if (answer) {
        result = answer(request);
    } else if (const auto found = results.find(request.program); found != results.end()) {
        result = found->second;
    }
    if (!result) return nullptr;
    if (onRun) onRun(request);
    if (request.output == ProcessOutput::Inherit) result->output.clear();
    return std::make_unique<FakeProcess>(*std::move(result));
}

} // namespace kelvane
