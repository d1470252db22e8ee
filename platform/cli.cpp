#include "platform/cli.h"

#include "platform/posix/posix_platform.h"

namespace kelvane {

CliPorts makeCliPorts() {
    CliPorts ports;
    ports.quit = std::make_unique<QuitSignal>();
    ports.environment = makePosixEnvironment();
    ports.files = makePosixFileSystem();
    ports.resources = makeBundleResources(currentExecutable());
    ports.processes = makePosixProcessRunner(ports.quit.get());
    ports.clock = makePosixClock(*ports.quit);
    return ports;
}

} // namespace kelvane
