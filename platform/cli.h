// The ports of a run on the command line, and the one place that makes them.
//
// Nothing here draws or links Qt, and nothing connects to a desktop before a workspace is asked
// for: a run that only prints pays for no more. Which adapters stand behind the ports is the
// build's choice. Only entry points see the struct: everyone else is handed references to just the
// ports that he uses.

#pragma once

#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/quit_signal.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// No pointer is ever null. Members are destroyed in reverse order, so a port stands below those
/// that it uses.
struct CliPorts {
    std::unique_ptr<QuitSignal> quit;
    std::unique_ptr<Environment> environment;
    std::unique_ptr<FileSystem> files;
    std::unique_ptr<BundleResources> resources;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<Clock> clock;
};

/// Connects to nothing and starts nothing.
[[nodiscard]] CliPorts makeCliPorts();

/// What is in front on the desktop that the environment names now. Never null; without a desktop it
/// has its absent answers. What `ports` points to must outlive it.
[[nodiscard]] std::unique_ptr<Workspace> makeWorkspace(const CliPorts& ports);

} // namespace kelvane
