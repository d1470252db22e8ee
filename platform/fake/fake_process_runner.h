// Programs whose results a test names.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/process_runner.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class FakeProcessRunner : public ProcessRunner {
public:
    explicit FakeProcessRunner(Journal& journal) : m_journal(journal) {}

    /// By program path; a program that is not listed cannot be started.
    std::map<std::string, ProcessResult> results;
    /// When set, decides instead of `results`: for tests that tell commands of one program apart.
    std::function<std::optional<ProcessResult>(const ProcessRequest&)> answer;
    std::function<void(const ProcessRequest&)> onRun; ///< The command's visible effect.
    std::vector<ProcessRequest> requests;

    std::unique_ptr<RunningProcess> start(const ProcessRequest& request) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
