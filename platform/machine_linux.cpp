#include "platform/linux/linux_platform.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/x11/x11_pointer_presses.h"
#include "platform/machine.h"

#include <utility>

namespace kelvane {

std::unique_ptr<PointerPresses> makePointerPresses(const Host& host) {
    const auto session = linuxSession(*host.environment);
    // Under Wayland only presses on the windows of X11 programs would be heard: half an answer.
    return makeX11PointerPresses(session.kind == LinuxSession::Kind::X11 ? session.display : "");
}

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
