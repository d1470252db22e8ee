#include "platform/machine.h"
#include "platform/macos/macos_platform.h"

namespace kelvane {

LoginItem systemLoginItem() {
    return LoginItem::LaunchAgent;
}

std::unique_ptr<Workspace> makeWorkspace(const Host&) {
    return makeNsWorkspace();
}

} // namespace kelvane
