// How does this system show an alert and an address?
//
// By its own means where it has them, else by the toolkit's; which file answers is the build's
// choice.

#pragma once

#include "platform/ports/dialogs.h"
#include "platform/ports/url_opener.h"

#include <memory>

namespace kelvane {

/// Never null. Precondition of both: the toolkit's application object exists.
[[nodiscard]] std::unique_ptr<Dialogs> makeDialogs();
[[nodiscard]] std::unique_ptr<UrlOpener> makeUrlOpener();

} // namespace kelvane
