#include "platform/fake/fake_window_list.h"

namespace kelvane {

std::optional<std::vector<WindowInfo>> FakeWindowList::onScreenWindows() {
    m_journal.add("windows");
    return windows;
}

} // namespace kelvane
