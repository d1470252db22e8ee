// The request to an application to copy its selection.
//
// With Ctrl+Insert, which copies wherever Ctrl+C does and interrupts nothing anywhere. A terminal
// (and Emacs) gets no key at all, because there every key is input to the program inside: what is
// selected in it is taken from the PRIMARY selection instead. Ctrl+C is never posted.

#pragma once

#include "platform/linux/common/copy_clipboard.h"
#include "platform/ports/keyboard.h"

#include <functional>
#include <memory>
#include <optional>

namespace kelvane {

/// The window of `ProcessId` to ask; absent when that is not the active application at this moment.
using CopyTargetOf = std::function<std::optional<CopyTarget>(ProcessId)>;

/// With a null clipboard nothing is trusted and nothing posted.
[[nodiscard]] std::unique_ptr<Keyboard> makeCopyKeyboard(std::shared_ptr<CopyClipboard> clipboard,
                                                         CopyTargetOf copyTargetOf);

} // namespace kelvane
