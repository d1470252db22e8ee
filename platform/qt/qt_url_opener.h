// Addresses are shown by the program that the desktop's settings name.

#pragma once

#include "platform/ports/url_opener.h"

#include <memory>
#include <string_view>

namespace kelvane {

/// Whether a browser may be asked to open this: an absolute http or https address with a host,
/// written as addresses are, so with no blank or control character in it.
[[nodiscard]] bool isWebAddress(std::string_view text);

/// Opens web addresses, and nothing else: a text that names a file or a program of this machine is
/// no valid address here. Precondition: the toolkit's application object, one with a screen, exists
/// and this is its thread.
[[nodiscard]] std::unique_ptr<UrlOpener> makeQtUrlOpener();

} // namespace kelvane
