#include "platform/linux/linux_platform.h"
#include "platform/platform.h"
#include "platform/posix/posix_platform.h"
#include "platform/qt/qt_dispatcher.h"
#include "platform/qt/qt_http_session.h"

namespace kelvane {

Platform makePlatform() {
    Platform platform;
    platform.quit = std::make_unique<QuitSignal>();
    platform.environment = makePosixEnvironment();
    platform.files = makePosixFileSystem();
    platform.resources = makeBundleResources(currentExecutable());
    platform.processes = makePosixProcessRunner();
    platform.clock = makePosixClock(*platform.quit);

    LinuxDesktop desktop = makeLinuxDesktop(*platform.environment, *platform.clock);
    platform.workspace = std::move(desktop.workspace);
    platform.keyboard = std::move(desktop.keyboard);
    platform.pasteboard = std::move(desktop.pasteboard);
    platform.windows = std::move(desktop.windowList);
    platform.picture = std::move(desktop.windowPicture);

    platform.http = makeQtHttpSession(*platform.quit);
    platform.dispatcher = makeQtDispatcher();
    return platform;
}

} // namespace kelvane
