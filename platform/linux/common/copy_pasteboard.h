// The user's clipboard, with everything it offers.
//
// What the keyboard port's last copy took from PRIMARY instead counts as a change and is the text
// until it is put back; the clipboard itself is then not touched at any moment.

#pragma once

#include "platform/linux/common/copy_clipboard.h"
#include "platform/ports/pasteboard.h"

#include <memory>

namespace kelvane {

/// Hand it the clipboard that the keyboard has. With a null clipboard every answer is the absent
/// one.
[[nodiscard]] std::unique_ptr<Pasteboard>
makeCopyPasteboard(std::shared_ptr<CopyClipboard> clipboard);

} // namespace kelvane
