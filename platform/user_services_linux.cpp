#include "platform/qt/qt_dialogs.h"
#include "platform/qt/qt_url_opener.h"
#include "platform/user_services.h"

namespace kelvane {

std::unique_ptr<Dialogs> makeDialogs() {
    return makeQtDialogs();
}

std::unique_ptr<UrlOpener> makeUrlOpener() {
    return makeQtUrlOpener();
}

} // namespace kelvane
