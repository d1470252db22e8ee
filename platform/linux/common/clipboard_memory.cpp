#include "platform/linux/common/clipboard_memory.h"

#include <utility>

namespace kelvane {

PasteboardMemory ClipboardMemory::remember(ClipboardCopy seen, std::int64_t changeCount) {
    const auto content = seen.content;
    const auto kept = std::make_shared<Kept>(Kept{content, std::move(seen), changeCount});
    m_latest = kept;
    m_lost = kept->copy.lost;
    return {.string = content ? textAmong(*content) : std::nullopt,
            .changeCount = changeCount,
            // An opaque pointer to the caller, that keeps the memory alive.
            .formats = std::shared_ptr<const void>(kept, content.get())};
}

std::optional<std::int64_t> ClipboardMemory::renew(std::int64_t changeCount,
                                                   const std::function<ClipboardCopy()>& read) {
    const auto kept = m_latest.lock();
    if (!kept || kept->changeCount == changeCount) return std::nullopt;
    kept->copy = read();
    return kept->changeCount;
}

bool ClipboardMemory::lost() const {
    const auto kept = m_latest.lock();
    return kept ? kept->copy.lost : m_lost;
}

std::optional<ClipboardMemory::Content> ClipboardMemory::held() const {
    const auto kept = m_latest.lock();
    return kept ? std::optional(kept->copy.content) : std::nullopt;
}

ClipboardMemory::Content ClipboardMemory::toPutBack(const PasteboardMemory& memory) const {
    const auto kept = m_latest.lock();
    if (kept && kept->changeCount == memory.changeCount) return kept->copy.content;
    return std::static_pointer_cast<const ClipboardContent>(memory.formats);
}

} // namespace kelvane
