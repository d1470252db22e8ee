#include "platform/linux/rules/copy_rules.h"

namespace kelvane {

std::chrono::milliseconds serverTimeBetween(ServerTime earlier, ServerTime later) {
    return std::chrono::milliseconds(static_cast<std::int32_t>(later - earlier));
}

Provenance provenanceOf(const SelectionParty& owner, const SelectionParty& asked,
                        std::int32_t process, std::uint32_t resourceMask) {
    if (owner.window == 0) return Provenance::Unknown;
    const auto client = [&](std::uint32_t window) { return window & ~resourceMask; };
    if (asked.window != 0 && client(owner.window) == client(asked.window)) {
        return Provenance::Target;
    }
    if (!owner.process) return Provenance::Unknown;
    if (process != 0 && *owner.process == process) return Provenance::Target;
    // A sandboxed application knows itself by another number than the server does.
    if (asked.process && *owner.process == *asked.process) return Provenance::Target;
    return process != 0 || asked.process ? Provenance::Other : Provenance::Unknown;
}

namespace {

/// Whether what CLIPBOARD holds now came from the asked application.
bool isItsCopy(Provenance change, bool oneClient) {
    return change == Provenance::Target || (change == Provenance::Unknown && oneClient);
}

} // namespace

CopyOutcome copyOutcome(const CopyFacts& facts) {
    if (facts.keyPosted && facts.clipboardChanged && isItsCopy(facts.changedBy, facts.oneClient)) {
        return CopyOutcome::Clipboard;
    }
    if (facts.primaryOwner != Provenance::Target) return CopyOutcome::Nothing;
    if (facts.keyPosted && facts.hasAnswered) return CopyOutcome::Nothing;
    const bool fresh = facts.primaryAge && *facts.primaryAge <= kFreshSelection;
    return fresh ? CopyOutcome::Primary : CopyOutcome::Nothing;
}

bool tellsWhenAsked(const CopyFacts& facts) {
    return facts.keyPosted && !facts.clipboardChanged && facts.primaryOwner == Provenance::Target;
}

bool mayPutBack(const ClipboardFacts& facts) {
    if (facts.ownedByUs) return true;
    return facts.keyPosted && facts.changed && isItsCopy(facts.lastChange, facts.oneClient);
}

bool isLateCopy(const LateChangeFacts& facts) {
    const bool echoes = facts.selectedAfterKey <= kKeyEcho && facts.selectedAfterKey >= -kKeyEcho;
    return facts.keyPosted && facts.decided && facts.remembered &&
           facts.change == Provenance::Target && echoes && facts.arrivedAfterKey <= kLateCopyWatch;
}

std::optional<std::size_t> answeredKey(std::span<const UnansweredKey> keys) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto& key = keys[i];
        const bool byHand = key.selected && *key.selected >= kByHand;
        if (key.change == Provenance::Target && key.posted <= kLateCopyWatch && !byHand) return i;
    }
    return std::nullopt;
}

} // namespace kelvane
