#include "platform/linux/linux_platform.h"
#include "platform/machine.h"
#include "platform/posix/posix_platform.h"

namespace kelvane {

Machine makeMachine() {
    Machine machine;
    machine.quit = std::make_unique<QuitSignal>();
    machine.environment = makePosixEnvironment();
    machine.files = makePosixFileSystem();
    machine.resources = makeBundleResources(currentExecutable());
    machine.processes = makePosixProcessRunner();
    machine.clock = makePosixClock(*machine.quit);

    LinuxDesktop desktop = makeLinuxDesktop(*machine.environment, *machine.clock);
    machine.workspace = std::move(desktop.workspace);
    machine.keyboard = std::move(desktop.keyboard);
    machine.pasteboard = std::move(desktop.pasteboard);
    machine.windows = std::move(desktop.windowList);
    machine.picture = std::move(desktop.windowPicture);
    machine.icons = std::move(desktop.icons);
    return machine;
}

} // namespace kelvane
