// The clipboard of a desktop, as the port that asks an application to copy and the port that reads
// what came of it share it.
//
// The two belong together because only together can they tell what a copy of ours changed from what
// the user did: whether a change of the clipboard came from the asked application, whether its
// PRIMARY selection may stand in when nothing came, and whether a copy that came too late to be
// read has to be undone. The rules are in copy_rules.h; who makes one of these is the traffic.
//
// Calls are serialised, so any thread may make them. No call waits longer than the bounds below,
// whatever other programs or the desktop do, and once the desktop is gone each answers "nothing" at
// once.

#pragma once

#include "platform/ports/pasteboard.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// The application that is asked to copy.
struct CopyTarget {
    pid_t process = 0;        ///< On this machine; 0 when not known.
    std::uint32_t window = 0; ///< The window in front.
    bool takesKeys = true;    ///< False where a key is input to a program inside: terminals, Emacs.
};

/// An owner that shows no sign of life for this long has nothing to give.
inline constexpr std::chrono::milliseconds kOwnerSilence{300};
/// However lively an owner is, one text has to be through after this.
inline constexpr std::chrono::milliseconds kLongestRead{3000};
/// The same for everything that `remember()` reads together.
inline constexpr std::chrono::milliseconds kLongestRemember{600};
inline constexpr std::size_t kLargestText = std::size_t{64} << 20U;
inline constexpr std::size_t kLargestMemory = std::size_t{32} << 20U;

class CopyClipboard {
public:
    virtual ~CopyClipboard() = default;

    /// Whether key events reach other programs: the desktop answers and takes keys from this one.
    [[nodiscard]] virtual bool canPostKeys() = 0;

    /// Starts a copy: posts the copy key where `target` takes keys, and in any case lets the next
    /// `changeCount()` decide what came of it. No key is posted when what the clipboard holds could
    /// not be remembered and would be lost.
    virtual void copyFrom(const CopyTarget& target) = 0;

    /// As in `Pasteboard`.
    [[nodiscard]] virtual std::optional<std::string> string() = 0;
    [[nodiscard]] virtual std::int64_t changeCount() = 0;
    virtual void clearContents() = 0;
    virtual void setString(std::string_view text) = 0;
    [[nodiscard]] virtual PasteboardMemory remember() = 0;
    virtual void putBack(const PasteboardMemory& memory) = 0;
};

} // namespace kelvane
