// What the model uses of the world, taken from the ports of this desktop.

#pragma once

#include "app/companion_model.h"

namespace kelvane {

struct DesktopPorts;
class Environment;
class PlainHttpQuestion;
class SettingsStore;

/// The model sees the applications through `workspace`; captures see them as the platform does.
/// `environment` is the one with the person's choice of a service in it. All of it must outlive the
/// model and the jobs it has handed to the dispatcher.
[[nodiscard]] CompanionModel::Ports
modelPorts(DesktopPorts& platform, Workspace& workspace, Environment& environment,
           PlainHttpQuestion& plainHttp, history::HistoryStore& history,
           std::filesystem::path dataHome, SettingsStore& settings);

} // namespace kelvane
