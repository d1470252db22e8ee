// What the model uses of the world, taken from the ports of this desktop.

#pragma once

#include "app/companion_model.h"

namespace kelvane {

struct DesktopPorts;
class PlainHttpQuestion;

/// The model sees the applications through `workspace`; captures see them as the platform does.
/// All three must outlive the model and the jobs it has handed to the dispatcher.
[[nodiscard]] CompanionModel::Ports modelPorts(DesktopPorts& platform, Workspace& workspace,
                                               PlainHttpQuestion& plainHttp);

} // namespace kelvane
