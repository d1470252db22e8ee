#include "platform/linux/linux_platform.h"
#include "platform/machine.h"

#include <utility>

namespace kelvane {

Machine makeMachine() {
    Machine machine{makeHost(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
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
