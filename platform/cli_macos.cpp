#include "platform/cli.h"
#include "platform/macos/macos_platform.h"

namespace kelvane {

std::unique_ptr<Workspace> makeWorkspace(const CliPorts&) {
    return makeNsWorkspace();
}

} // namespace kelvane
