#include "platform/fake/fake_dispatcher.h"

namespace kelvane {

namespace {

bool runOldest(std::deque<std::function<void()>>& lane) {
    if (lane.empty()) return false;
    const auto job = std::move(lane.front());
    lane.pop_front();
    job();
    return true;
}

} // namespace

bool FakeDispatcher::runOneInBackground() {
    return runOldest(m_background);
}

bool FakeDispatcher::runOneOnMain() {
    return runOldest(m_main);
}

void FakeDispatcher::runAll() {
    while (runOneOnMain() || runOneInBackground()) {
    }
}

} // namespace kelvane
