#include "platform/platform.h"

#include "platform/qt/qt_dispatcher.h"
#include "platform/qt/qt_http_session.h"
#include "platform/user_services.h"

namespace kelvane {

Platform makePlatform() {
    Platform platform{makeMachine(), nullptr, nullptr, nullptr, nullptr, nullptr};
    platform.http = makeQtHttpSession(*platform.quit);
    platform.dialogs = makeDialogs();
    platform.urls = makeUrlOpener();
    platform.presses = makePointerPresses(platform);
    platform.dispatcher = makeQtDispatcher();
    return platform;
}

} // namespace kelvane
