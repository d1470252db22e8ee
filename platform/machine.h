// The ports of this system that need no toolkit, made once by the entry point.
//
// Enough for everything that is asked and answered without a panel or the network; which file fills
// it in is the build's choice. Nothing but the entry points sees it: everyone else is handed
// references to just the ports they use.

#pragma once

#include "platform/ports/app_icons.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/quit_signal.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// Never null after `makeMachine`; a port whose mechanism is missing answers "absent". Members are
/// destroyed in reverse order.
struct Machine {
    std::unique_ptr<QuitSignal> quit;
    std::unique_ptr<Environment> environment;
    std::unique_ptr<FileSystem> files;
    std::unique_ptr<BundleResources> resources;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<Clock> clock;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<WindowList> windows;
    std::unique_ptr<WindowPicture> picture;
    std::unique_ptr<AppIcons> icons;
};

[[nodiscard]] Machine makeMachine();

} // namespace kelvane
