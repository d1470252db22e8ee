// The opener of addresses through Qt: the program that the desktop's settings name shows them.

#pragma once

#include "platform/ports/url_opener.h"

#include <memory>

namespace kelvane {

/// Opens web addresses, and nothing else: a text that names a file or a program of this machine is
/// no valid address here. Precondition: Qt's application object, one with a screen, exists and this
/// is its thread.
[[nodiscard]] std::unique_ptr<UrlOpener> makeQtUrlOpener();

} // namespace kelvane
