// What a clipboard held when it was last remembered, for the time until it is put back.
//
// It lives as long as the `PasteboardMemory` that was handed out for it, and no longer: what was on
// the user's clipboard is gone from here once a capture is over. Kept past that is only whether it
// could be kept at all. Not thread-safe: whoever has one guards it.

#pragma once

#include "platform/linux/common/clipboard_formats.h"
#include "platform/ports/pasteboard.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace kelvane {

/// All that a clipboard holds, as far as it could be read.
struct ClipboardCopy {
    std::shared_ptr<const ClipboardContent> content; ///< Null for nothing.
    bool lost = false; ///< There was something, and nothing of it could be kept.
};

class ClipboardMemory {
public:
    using Content = std::shared_ptr<const ClipboardContent>;

    /// What to hand out for `seen`, read when the clipboard's count was `changeCount`. It is the
    /// latest from then on.
    [[nodiscard]] PasteboardMemory remember(ClipboardCopy seen, std::int64_t changeCount);

    /// For the moment before a copy: where the latest memory is still held and the clipboard has
    /// moved to `changeCount` since, what `read` finds takes its place, under the count that it was
    /// handed out with. Returns that count; absent when nothing was to do, and `read` not called.
    std::optional<std::int64_t> renew(std::int64_t changeCount,
                                      const std::function<ClipboardCopy()>& read);

    /// Whether the clipboard held something when it was last looked at that could not be kept, and
    /// that a copy would lose.
    [[nodiscard]] bool lost() const;

    /// The content of the latest memory, null when the clipboard was empty; absent when nobody
    /// holds that memory any more.
    [[nodiscard]] std::optional<Content> held() const;

    /// What putting `memory` back means: what was handed out, or what took its place since.
    [[nodiscard]] Content toPutBack(const PasteboardMemory& memory) const;

private:
    struct Kept {
        Content handedOut; ///< What `PasteboardMemory::formats` points to, also once renewed.
        ClipboardCopy copy;
        std::int64_t changeCount = 0;
    };
    std::weak_ptr<Kept> m_latest;
    bool m_lost = false; ///< Of the latest memory, when it is gone.
};

} // namespace kelvane
