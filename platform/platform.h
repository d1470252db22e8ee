// Every port of this system, the toolkit's included, made once by the entry point of the panel.

#pragma once

#include "platform/machine.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/http_session.h"
#include "platform/ports/pointer_presses.h"
#include "platform/ports/url_opener.h"

#include <memory>

namespace kelvane {

/// Never null after `makePlatform`. Background jobs end before the ports that they use.
struct Platform : Machine {
    std::unique_ptr<HttpSession> http;
    std::unique_ptr<Dialogs> dialogs;
    std::unique_ptr<UrlOpener> urls;
    std::unique_ptr<PointerPresses> presses;
    std::unique_ptr<Dispatcher> dispatcher;
};

/// Precondition: the toolkit's application object exists and this is its thread.
[[nodiscard]] Platform makePlatform();

} // namespace kelvane
