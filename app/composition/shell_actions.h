// The operations of the rest of the program that the shell calls, given the ports that they need.

#pragma once

#include "app/history/history_store.h"
#include "app/shell/app_delegate.h"
#include "harness/installation.h"

#include <functional>

namespace kelvane {

struct DesktopPorts;
class ChosenEnvironment;
class GradingPlace;
class AccessibilityQuestion;
class PlainHttpQuestion;
class SettingsStore;

/// What the operations are done with. All of it must outlive them.
struct ShellParts {
    DesktopPorts& ports;
    Workspace& workspace; ///< What the model sees of the applications.
    const Installation& installation;
    Application& application;
    PlainHttpQuestion& plainHttp;
    ChosenEnvironment& environment;
    GradingPlace& place;
    AccessibilityQuestion& accessibility;
    history::HistoryStore& history;
    std::function<void()> showHistory;
    SettingsStore& settings;
    std::function<void(CompanionModel&)> openSettings;
    std::function<void()> applySettings;
    Notifier& notifier;
    history::TurnWatch& turns;
};

/// Where this user's copy of the program stands, or would.
[[nodiscard]] Installation installationOf(DesktopPorts& ports);

[[nodiscard]] AppDelegate::Actions shellActions(ShellParts parts);

} // namespace kelvane
