// The states in which the panel is drawn and checked: every face it has, and texts that try it.

#pragma once

#include "app/companion_model.h"
#include "app/panel/history_bridge.h"
#include "app/panel/panel_bridge.h"
#include "platform/fake/fakes.h"

#include <functional>
#include <string>
#include <vector>

namespace kelvane {

/// A model over fakes, with the shipped mark and no icons until a test gives it some.
class PanelFixture {
public:
    PanelFixture();

    FakePlatform fake;
    CompanionModel model;
    PanelImages images{fake.icons, fake.resources};
};

struct PanelState {
    std::string name;
    std::function<void(PanelFixture&)> set;
    std::function<void(PanelBridge&)> open = [](PanelBridge&) {}; ///< What is opened in it then.
};

[[nodiscard]] const std::vector<PanelState>& panelStates();

/// A state of the window of the history, over six verdicts of two applications; the newest, of a
/// revision, is "6", and "5" is the version before it.
struct HistoryState {
    std::string name;
    std::function<void(HistoryBridge&)> open;
};

[[nodiscard]] const std::vector<HistoryState>& historyStates();
[[nodiscard]] HistoryBridge::Entries someVerdicts();
/// Ports that hand those out at once and do nothing else, at UTC.
[[nodiscard]] HistoryBridge::Ports historyPorts();

} // namespace kelvane
