#include "platform/platform.h"

#include "platform/qt/qt_dispatcher.h"
#include "platform/qt/qt_http_session.h"

namespace kelvane {

Platform makePlatform() {
    Platform platform{makeMachine(), nullptr, nullptr};
    platform.http = makeQtHttpSession(*platform.quit);
    platform.dispatcher = makeQtDispatcher();
    return platform;
}

} // namespace kelvane
