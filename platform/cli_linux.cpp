#include "platform/cli.h"
#include "platform/linux/linux_platform.h"

namespace kelvane {

std::unique_ptr<Workspace> makeWorkspace(const CliPorts& ports) {
    return makeLinuxWorkspace(*ports.environment, *ports.clock);
}

} // namespace kelvane
