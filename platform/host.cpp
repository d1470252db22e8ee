#include "platform/machine.h"
#include "platform/posix/posix_platform.h"

namespace kelvane {

Host makeHost() {
    Host host;
    host.quit = std::make_unique<QuitSignal>();
    host.environment = makePosixEnvironment();
    host.files = makePosixFileSystem();
    host.resources = makeBundleResources(currentExecutable());
    host.processes = makePosixProcessRunner();
    host.clock = makePosixClock(*host.quit);
    host.loginItem = systemLoginItem();
    return host;
}

} // namespace kelvane
