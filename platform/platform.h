// Every port of this system, made once by the entry point.
//
// The one place where adapters come together; which file fills it in is the build's choice. Nothing
// but the entry point sees it: everyone else is handed references to just the ports they use.

#pragma once

#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/http_session.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/quit_signal.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// Never null after `makePlatform`; a port whose mechanism is missing answers "absent". Members are
/// destroyed in reverse order, so background jobs end before the ports that they use.
struct Platform {
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
    std::unique_ptr<HttpSession> http;
    std::unique_ptr<Dispatcher> dispatcher;
};

/// Precondition: the toolkit's application object exists and this is its thread.
[[nodiscard]] Platform makePlatform();

} // namespace kelvane
