#include "platform/macos/macos_platform.h"
#include "platform/user_services.h"

namespace kelvane {

std::unique_ptr<Dialogs> makeDialogs() {
    return makeNsDialogs();
}

std::unique_ptr<UrlOpener> makeUrlOpener() {
    return makeNsUrlOpener();
}

} // namespace kelvane
