// Children whose results a test names.

#pragma once

#include "critics/worker/child_process.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace trevix {

/// Starts nothing. Any thread, as the real one.
class FakeChildRunner : public ChildRunner {
public:
    /// What a request ends in; without it, and before `cancel` is asked for, nothing can be
    /// started.
    std::function<ChildResult(const ChildRequest&)> answer;

    /// The requests so far, whole, in their order.
    [[nodiscard]] std::vector<ChildRequest> requests() const {
        const std::lock_guard lock(m_mutex);
        return m_requests;
    }

    /// The same as lines: "/usr/bin/shellcheck --norc work.sh < work.sh". Files stand behind "<".
    [[nodiscard]] std::vector<std::string> journal() const;

    /// What was said to come, whole, in order; it is not begun.
    [[nodiscard]] std::vector<ChildRequest> expected() const {
        const std::lock_guard lock(m_mutex);
        return m_expected;
    }
    void expect(const ChildRequest& request) override {
        const std::lock_guard lock(m_mutex);
        m_expected.push_back(request);
    }

    using ChildRunner::run;
    /// A request whose `cancel` is asked for already ends as cancelled; output longer than the
    /// request's limit is cut there and ends as too much.
    [[nodiscard]] ChildResult run(const ChildRequest& request, StopToken cancel,
                                  const std::function<void(std::string_view)>& onOutput) override;

private:
    mutable std::mutex m_mutex;
    std::vector<ChildRequest> m_requests;
    std::vector<ChildRequest> m_expected;
};

} // namespace trevix
