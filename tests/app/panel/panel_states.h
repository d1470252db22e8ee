// The states in which the panel is drawn and checked: every face it has, and texts that try it.

#pragma once

#include "app/companion_model.h"
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
};

[[nodiscard]] const std::vector<PanelState>& panelStates();

} // namespace kelvane
