// The ports of this system that need no toolkit, made by the entry points.
//
// In three steps, so that nobody pays for more than they ask: a host has no desktop, a workspace
// can be asked what is in front, a machine has everything. Which file fills them in is the build's
// choice. Nothing but the entry points sees them: everyone else is handed references to just the
// ports they use.
//
// No pointer is ever null; a port whose mechanism is missing answers "absent". Members are
// destroyed in reverse order.

#pragma once

#include "platform/ports/app_icons.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/login_item.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/pointer_presses.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/quit_signal.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

struct Host {
    std::unique_ptr<QuitSignal> quit;
    std::unique_ptr<Environment> environment;
    std::unique_ptr<FileSystem> files;
    std::unique_ptr<BundleResources> resources;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<Clock> clock;
    LoginItem loginItem = LoginItem::LaunchAgent; ///< What this system goes by.
};

/// What this system goes by, without making anything.
[[nodiscard]] LoginItem systemLoginItem();

/// Connects to nothing.
[[nodiscard]] Host makeHost();

/// `host` must outlive it.
[[nodiscard]] std::unique_ptr<Workspace> makeWorkspace(const Host& host);

/// For the session that the environment names now. Never null; `host` need not outlive it.
[[nodiscard]] std::unique_ptr<PointerPresses> makePointerPresses(const Host& host);

struct Machine : Host {
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<WindowList> windows;
    std::unique_ptr<WindowPicture> picture;
    std::unique_ptr<AppIcons> icons;
};

[[nodiscard]] Machine makeMachine();

} // namespace kelvane
