// The windows that a test puts on the screen.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/window_list.h"

#include <optional>
#include <vector>

namespace kelvane {

class FakeWindowList : public WindowList {
public:
    explicit FakeWindowList(Journal& journal) : m_journal(journal) {}

    std::optional<std::vector<WindowInfo>> windows = std::vector<WindowInfo>{};

    std::optional<std::vector<WindowInfo>> onScreenWindows() override;

private:
    Journal& m_journal;
};

} // namespace kelvane
