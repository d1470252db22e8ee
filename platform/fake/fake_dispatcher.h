// Two lanes of jobs that wait until the test runs them.

#pragma once

#include "platform/ports/dispatcher.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>

namespace kelvane {

/// Holds jobs until the test runs them, each lane in order.
class FakeDispatcher : public Dispatcher {
public:
    void background(std::function<void()> job) override { m_background.push_back(std::move(job)); }
    void main(std::function<void()> job) override { m_main.push_back(std::move(job)); }

    [[nodiscard]] std::size_t waitingInBackground() const { return m_background.size(); }
    [[nodiscard]] std::size_t waitingOnMain() const { return m_main.size(); }

    bool runOneInBackground(); ///< The oldest background job; false when there was none.
    bool runOneOnMain();       ///< The oldest main-thread job; false when there was none.
    void runAll();             ///< Until neither lane has a job, main jobs first.

private:
    std::deque<std::function<void()>> m_background;
    std::deque<std::function<void()>> m_main;
};

} // namespace kelvane
