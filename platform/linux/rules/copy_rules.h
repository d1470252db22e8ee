// The outcome of asking an application to copy, and what of it has to be undone.
//
// Selections on an X server are announced, not handed over, so a change of CLIPBOARD may be the
// answer, may be someone else's, or may come when nobody waits for it any more. Everything here is
// decided from values.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kelvane {

/// A moment of the X server: milliseconds that wrap around every 49.7 days. 0 is never a moment.
using ServerTime = std::uint32_t;

/// From `earlier` to `later`, which lie less than 24 days apart; negative when they are swapped.
[[nodiscard]] std::chrono::milliseconds serverTimeBetween(ServerTime earlier, ServerTime later);

/// A window and the process behind it, as the server tells: absent for programs elsewhere.
struct SelectionParty {
    std::uint32_t window = 0; ///< 0: nobody.
    std::optional<std::int32_t> process;
};

enum class Provenance {
    Target,  ///< The asked application made it.
    Other,   ///< Another program of this machine did.
    Unknown, ///< The server cannot tell.
};

/// Who made a selection. `asked` is the front window of the asked application, `process` its
/// process (0: not known). Windows that differ only in the bits of `resourceMask` belong to one
/// client of the server, which decides without any process being known.
[[nodiscard]] Provenance provenanceOf(const SelectionParty& owner, const SelectionParty& asked,
                                      std::int32_t process, std::uint32_t resourceMask);

/// PRIMARY may stand in for a copy that did not come only while it is this fresh: many
/// applications, terminals among them, keep it long after nothing is selected any more.
inline constexpr std::chrono::seconds kFreshSelection{60};

/// A late CLIPBOARD is still the answer to our key when it carries a time within this of the key's.
/// Applications stamp a copy with the time of the event that asked for it, however long they take;
/// nobody presses a copy key of his own so shortly after ours.
inline constexpr std::chrono::milliseconds kKeyEcho{300};

/// After this a late CLIPBOARD is not waited for any more.
inline constexpr std::chrono::milliseconds kLateCopyWatch{2000};

struct CopyFacts {
    bool keyPosted = false;
    bool clipboardChanged = false; ///< Since the key.
    Provenance primaryOwner = Provenance::Unknown;
    /// Since PRIMARY was selected; absent when that moment is not known.
    std::optional<std::chrono::milliseconds> primaryAge;
    Provenance changedBy = Provenance::Unknown; ///< The last change of CLIPBOARD since the key.
    bool oneClient = true;    ///< Every change since the key came from one client of the server.
    bool hasAnswered = false; ///< The application has answered a copy key of ours before.
};

enum class CopyOutcome {
    Nothing,   ///< Nothing is selected, as far as one can tell.
    Clipboard, ///< The text is on CLIPBOARD.
    Primary,   ///< The text is PRIMARY; CLIPBOARD is as it was.
};

/// What came of a copy. A change of CLIPBOARD is the answer when the asked application made it, or
/// one client of whom the server does not know whose it is; what somebody else copied meanwhile is
/// not the selection. Where no key was posted CLIPBOARD cannot be the answer. PRIMARY stands in for
/// an application that gets no key, or has never answered one: when one that does says nothing,
/// nothing is selected.
[[nodiscard]] CopyOutcome copyOutcome(const CopyFacts& facts);

/// Whether asking for PRIMARY tells if a copy comes that has not come yet: an application deals
/// with a key before it deals with a question that came after it.
[[nodiscard]] bool tellsWhenAsked(const CopyFacts& facts);

struct ClipboardFacts {
    bool ownedByUs = false;
    bool keyPosted = false; ///< Since the content was remembered.
    bool changed = false;   ///< Since the key.
    Provenance lastChange = Provenance::Unknown;
    bool oneClient = true; ///< Every change since the key came from one client of the server.
};

/// Whether remembered content may replace what CLIPBOARD holds now: when a copy of ours, or we
/// ourselves, put it there. What someone else put there is his.
[[nodiscard]] bool mayPutBack(const ClipboardFacts& facts);

struct LateChangeFacts {
    bool keyPosted = false;
    bool decided = false; ///< The outcome was looked at already: nobody will read this change.
    bool remembered = false;
    Provenance change = Provenance::Unknown;
    std::chrono::milliseconds selectedAfterKey{0}; ///< By the time the change carries.
    std::chrono::milliseconds arrivedAfterKey{0};
};

/// Whether a change of CLIPBOARD is the answer to our key, come too late, and has to be undone.
[[nodiscard]] bool isLateCopy(const LateChangeFacts& facts);

/// Nobody selects something and presses a copy key in less than this: the two keys of a shortcut
/// alone are further apart. An application that comes to both of them late announces them together.
inline constexpr std::chrono::milliseconds kByHand{100};

/// A copy key of ours that nothing has answered, at the moment of a change of CLIPBOARD.
struct UnansweredKey {
    Provenance change = Provenance::Unknown; ///< Of the change, as seen from whom the key asked.
    std::chrono::milliseconds posted{0};     ///< How long before the change.
    /// How long before the change he selected something new; absent when he has not since the key.
    std::optional<std::chrono::milliseconds> selected;
};

/// Which of them, oldest first, a change answers that carries no time of its own; absent when it is
/// somebody's own copy. Keys are answered in their order and before those of the user that came
/// later, so it is the oldest of that application, unless the key is older than `kLateCopyWatch` or
/// the user had the time to select something else and to copy that.
[[nodiscard]] std::optional<std::size_t> answeredKey(std::span<const UnansweredKey> keys);

} // namespace kelvane
