// The user's clipboard: what is on it, whether it has changed, and how it is put back.
//
// Calls come from one thread at a time (captures never overlap). An owner that shows no sign of
// life for about 300 ms has nothing to give; one that keeps sending a long content is given up
// after 3 s, and after 0.6 s where it is only remembered.

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// What a pasteboard held at one moment, as far as it can be put back later.
struct PasteboardMemory {
    /// The text, absent when there was none (nothing at all, or only an image).
    std::optional<std::string> string;
    std::int64_t changeCount = 0;

    /// Whatever else an adapter keeps in order to restore formats other than text. Opaque to
    /// everyone but the adapter that made it; null where text is all that comes back.
    std::shared_ptr<const void> formats;
};

class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// The text on the pasteboard as UTF-8, or nothing when it holds no text. A text that its owner
    /// marks as a password counts as none. After a copy of ours it is the asked application's text:
    /// an adapter that can tell gives nothing of what somebody else copied meanwhile.
    [[nodiscard]] virtual std::optional<std::string> string() = 0;

    /// A number that differs from an earlier answer when something was copied in between. After a
    /// copy of ours an adapter that can tell whose change it was counts only the application's.
    [[nodiscard]] virtual std::int64_t changeCount() = 0;

    virtual void clearContents() = 0;

    /// Makes `text` the only content. Takes effect before it returns.
    virtual void setString(std::string_view text) = 0;

    /// Notes the present content, for `putBack`. The plain answer is `string()` and
    /// `changeCount()`; an adapter that can keep other formats does so here.
    [[nodiscard]] virtual PasteboardMemory remember();

    /// Brings the remembered content back after a copy of ours replaced it. The plain answer
    /// clears the pasteboard and, only when a text had been remembered, sets that text again; an
    /// adapter that kept other formats brings those back too.
    virtual void putBack(const PasteboardMemory& memory);
};

} // namespace kelvane
