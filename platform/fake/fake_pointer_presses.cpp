#include "platform/fake/fake_pointer_presses.h"

#include <utility>

namespace kelvane {

void FakePointerPresses::start(std::function<void()> pressed) {
    stop();
    if (!systemTells || !pressed) return;
    m_journal.add("listen");
    m_pressed = std::move(pressed);
}

void FakePointerPresses::stop() {
    if (!std::exchange(m_pressed, nullptr)) return;
    m_journal.add("stop listening");
}

void FakePointerPresses::press() {
    if (m_pressed) m_pressed();
}

} // namespace kelvane
