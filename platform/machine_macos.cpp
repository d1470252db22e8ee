#include "platform/machine.h"
#include "platform/macos/macos_platform.h"
#include "platform/macos/screencapture.h"

namespace kelvane {

std::unique_ptr<PointerPresses> makePointerPresses(const Host&) {
    return makeNsPointerPresses();
}

Machine makeMachine() {
    Machine machine{makeHost(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    machine.workspace = makeNsWorkspace();
    machine.keyboard = makeCgKeyboard();
    machine.pasteboard = makeNsPasteboard();
    machine.windows = makeCgWindowList();
    machine.picture = makeScreencapture(*machine.processes, *machine.files);
    machine.icons = makeNsAppIcons();
    return machine;
}

} // namespace kelvane
