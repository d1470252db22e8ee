// What the model uses of the world, taken from the platform.

#pragma once

#include "app/companion_model.h"

namespace kelvane {

struct Platform;

/// The model sees the applications through `workspace`; captures see them as the platform does.
/// Both must outlive the model and the jobs it has handed to the dispatcher.
[[nodiscard]] CompanionModel::Ports modelPorts(Platform& platform, Workspace& workspace);

} // namespace kelvane
