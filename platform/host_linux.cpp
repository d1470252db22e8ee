#include "platform/linux/linux_platform.h"
#include "platform/machine.h"

namespace kelvane {

LoginItem systemLoginItem() {
    return LoginItem::AutostartEntry;
}

std::unique_ptr<Workspace> makeWorkspace(const Host& host) {
    return makeLinuxWorkspace(*host.environment, *host.clock);
}

} // namespace kelvane
