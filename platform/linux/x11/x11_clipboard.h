// The clipboard of an X server: the CLIPBOARD selection, with PRIMARY beside it.
//
// A thread of its own owns the content that this program offers to others and hears about every
// change; reading happens on the caller's thread over a second link.

#pragma once

#include "platform/linux/common/copy_clipboard.h"
#include "platform/linux/x11/copy_keys.h"

#include <memory>
#include <string>

namespace kelvane {

/// Connects to `display` ("" means the `DISPLAY` variable of this process). Null when no server
/// answers there. Ending the last reference hands what this program offers on the clipboard to a
/// clipboard manager, where one runs, and takes at most about half a second. The copy key is posted
/// by `post` where that is given and does.
[[nodiscard]] std::shared_ptr<CopyClipboard> openX11Clipboard(const std::string& display,
                                                              PostKeys post = {});

} // namespace kelvane
