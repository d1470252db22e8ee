#include "platform/linux/wayland/wayland_clipboard.h"

#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/common/clipboard_memory.h"
#include "platform/linux/rules/copy_rules.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Content = std::shared_ptr<const ClipboardContent>;

/// To post a key, or to put something back, before the clipboard has moved once more.
constexpr int kMostAttempts = 3;
constexpr std::size_t kLongestHint = 64; ///< Bytes: it is one word.
constexpr std::string_view kSecret = "secret";
/// The names by which text is asked for here, the best first. All of it is UTF-8.
constexpr std::array<std::string_view, 5> kTextFormats{kUtf8Plain, kUtf8String, kPlain, "TEXT",
                                                       kLatin1String};
constexpr std::array<WaylandKey, 4> kCopyKey{
    {{kLeftControl, true}, {kInsert, true}, {kInsert, false}, {kLeftControl, false}}};

milliseconds since(steady_clock::time_point earlier, steady_clock::time_point now) {
    return std::chrono::duration_cast<milliseconds>(now - earlier);
}

/// Who made a selection, by the window that was active then.
Provenance provenanceOf(const SelectionTag& owner, const SelectionTag& asked) {
    if (owner.window == 0 || asked.window == 0) return Provenance::Unknown;
    if (owner.window == asked.window) return Provenance::Target;
    if (owner.process != 0 && asked.process != 0) {
        return owner.process == asked.process ? Provenance::Target : Provenance::Other;
    }
    return owner.appId == asked.appId ? Provenance::Target : Provenance::Other;
}

/// The copy keys that nothing has answered yet, and what answers that nobody waits for give way to.
/// The link's thread uses it, too.
struct LateCopies {
    struct Key {
        SelectionTag asked;
        steady_clock::time_point posted;
    };
    std::mutex mutex;            ///< Guards what follows.
    std::vector<Key> unanswered; ///< Oldest first.
    bool awaited = false;        ///< A capture reads what comes now, and puts back what was there.
    /// What the clipboard held before the last key; absent when nobody remembers, or when somebody
    /// has copied since.
    std::optional<Content> before;
    std::optional<std::uint64_t> undone; ///< The generation of the last copy that gave way,
    std::weak_ptr<const ClipboardContent> undoneBy; ///< and to what.
};

/// The keys of `late` at the moment of `change`.
std::vector<UnansweredKey> unansweredAt(const SelectionChange& change, const LateCopies& late,
                                        const SelectionSeen& primary) {
    std::vector<UnansweredKey> keys;
    for (const auto& key : late.unanswered) {
        UnansweredKey unanswered;
        unanswered.change = provenanceOf(change.owner, key.asked);
        unanswered.posted = since(key.posted, change.when);
        const bool selectedSince = primary.since && *primary.since > key.posted && !primary.ours &&
                                   provenanceOf(primary.owner, key.asked) == Provenance::Target;
        if (selectedSince) unanswered.selected = since(*primary.since, change.when);
        keys.push_back(unanswered);
    }
    return keys;
}

class Clipboard : public CopyClipboard {
public:
    explicit Clipboard(WaylandClipboardParts parts) : m_parts(std::move(parts)) {
        m_parts.selections->onChange(
            [late = m_late, selections = m_parts.selections.get()](const SelectionChange& change) {
                sortOut(*late, *selections, change);
            });
    }
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard() override { m_parts.selections->onChange({}); }

    bool canPostKeys() override {
        return m_parts.link->alive() && m_parts.selections->offered() &&
               (m_parts.keys->hasVirtualKeyboard() || m_parts.keys->hasFakeInput());
    }

    void copyFrom(const CopyTarget& target) override;
    std::optional<std::string> string() override;
    std::int64_t changeCount() override;
    void clearContents() override;
    void setString(std::string_view text) override;
    PasteboardMemory remember() override;
    void putBack(const PasteboardMemory& memory) override;

private:
    /// A copy that was started and not yet put back.
    struct Copy {
        SelectionTag asked;
        bool keyPosted = false;
        std::uint64_t changesBefore = 0;
        bool decided = false;
        bool fromClipboard = false;
        std::int64_t countBefore = 0;
        std::optional<std::string> fromPrimary;
    };

    static void sortOut(LateCopies& late, WaylandSelections& selections,
                        const SelectionChange& change);
    [[nodiscard]] std::int64_t count() const {
        return static_cast<std::int64_t>(m_parts.selections->changes()) + m_shift;
    }
    [[nodiscard]] SelectionTag tagOf(const CopyTarget& target) const;
    [[nodiscard]] std::optional<Copy> begin(const CopyTarget& target, std::uint64_t changes);
    [[nodiscard]] CopyFacts facts() const;
    [[nodiscard]] ClipboardFacts clipboardFacts(const SelectionSeen& seen) const;
    [[nodiscard]] std::int64_t decideCopy();
    [[nodiscard]] std::optional<std::string> textFrom(SelectionName which);
    [[nodiscard]] ClipboardCopy readAll();
    bool offer(const Content& content, std::optional<std::uint64_t> changes = {});
    void stopWaiting();

    const WaylandClipboardParts m_parts;
    const std::shared_ptr<LateCopies> m_late = std::make_shared<LateCopies>();
    std::mutex m_mutex; ///< Serialises the calls; guards everything below.
    /// Added to the selections' count. It moves with changes of our own, when PRIMARY stands in for
    /// a change, and when changes turn out to have nothing to do with a copy.
    std::int64_t m_shift = 0;
    ClipboardMemory m_memory;
    std::optional<Copy> m_copy;
    bool m_isEmptiedByUs = false;         ///< And by nobody since, when it still is.
    std::set<std::string> m_haveAnswered; ///< By app_id: who has copied at our key before.
};

// ---- copying -----------------------------------------------------------------------------------

SelectionTag Clipboard::tagOf(const CopyTarget& target) const {
    for (auto& window : m_parts.windows->windows()) {
        if (window.number != target.window) continue;
        return {target.window, window.process, std::move(window.appId)};
    }
    return {target.window, 0, {}};
}

void Clipboard::copyFrom(const CopyTarget& target) {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    stopWaiting();
    if (!m_parts.selections->offered()) return;
    for (int attempt = 0; attempt < kMostAttempts && !m_copy; ++attempt) {
        if (!m_parts.link->answers()) return;
        // The clipboard may have moved while the application came to the front: some take it anew
        // then, or the user copied something. That is what has to come back, and no answer to our
        // key.
        const auto changes = m_parts.selections->changes();
        const auto all = static_cast<std::int64_t>(changes);
        if (const auto before = m_memory.renew(all + m_shift, [this] { return readAll(); })) {
            m_shift = *before - all;
        }
        m_copy = begin(target, changes);
    }
}

/// Posts the key where one may be posted, unless there have been more changes than these by then:
/// absent in that case.
std::optional<Clipboard::Copy> Clipboard::begin(const CopyTarget& target, std::uint64_t changes) {
    Copy copy;
    copy.asked = tagOf(target);
    copy.changesBefore = changes;
    copy.countBefore = static_cast<std::int64_t>(changes) + m_shift;
    if (!target.takesKeys || m_memory.lost()) return copy;
    struct Attempt {
        bool givenUp = false;
        bool moved = false;
        bool posted = false;
    };
    const auto attempt = std::make_shared<Attempt>(); // Guarded by the mutex of late copies.
    m_parts.link->run([attempt, changes, late = m_late, selections = m_parts.selections,
                       keys = m_parts.keys, asked = copy.asked, before = m_memory.held()] {
        const std::lock_guard lock(late->mutex);
        // Nobody would look at the answer to a key that is posted later.
        if (attempt->givenUp) return;
        attempt->moved = selections->changes() != changes;
        if (attempt->moved) return;
        attempt->posted = keys->post(kCopyKey);
        if (!attempt->posted) return;
        const auto now = steady_clock::now();
        std::erase_if(late->unanswered,
                      [&](const auto& key) { return now - key.posted > kLateCopyWatch; });
        late->unanswered.push_back({asked, now});
        late->before = before;
        late->awaited = true;
    });
    const std::lock_guard lock(m_late->mutex);
    attempt->givenUp = true;
    if (attempt->moved) return std::nullopt;
    copy.keyPosted = attempt->posted;
    return copy;
}

CopyFacts Clipboard::facts() const {
    CopyFacts facts;
    facts.keyPosted = m_copy->keyPosted;
    const auto changes = m_parts.selections->changesSince(m_copy->changesBefore);
    facts.clipboardChanged = !changes.empty();
    for (const auto& change : changes) {
        facts.changedBy = provenanceOf(change.owner, m_copy->asked);
        facts.oneClient = facts.oneClient && change.owner == changes.front().owner;
    }
    const auto primary = m_parts.selections->seen(SelectionName::Primary);
    if (!primary.formats.empty() && !primary.ours) {
        facts.primaryOwner = provenanceOf(primary.owner, m_copy->asked);
        if (primary.since) facts.primaryAge = since(*primary.since, steady_clock::now());
    }
    facts.hasAnswered = m_haveAnswered.contains(m_copy->asked.appId);
    return facts;
}

std::int64_t Clipboard::changeCount() {
    const std::lock_guard lock(m_mutex);
    if (m_copy && !m_copy->decided) return decideCopy();
    (void)m_parts.link->answers(); // What happened before the question is counted.
    return count();
}

std::int64_t Clipboard::decideCopy() {
    (void)m_parts.link->answers(); // What it has sent has arrived.
    auto& copy = *m_copy;
    copy.decided = true;
    const auto first = facts();
    const bool standsIn = copyOutcome(first) == CopyOutcome::Primary;
    std::optional<std::string> fromPrimary;
    if (standsIn || tellsWhenAsked(first)) {
        fromPrimary = textFrom(SelectionName::Primary);
        // An application that was busy, with copying a large selection or otherwise, answers about
        // PRIMARY only after that, so the copy itself may have come meanwhile.
        (void)m_parts.link->answers();
    }
    const auto changes = m_parts.selections->changes();
    copy.fromClipboard = copyOutcome(facts()) == CopyOutcome::Clipboard;
    if (copy.fromClipboard) {
        m_haveAnswered.insert(copy.asked.appId);
    } else {
        // PRIMARY counts as one change. Without it there was none: a change that the application
        // did not make is someone else's and no answer.
        const bool taken = standsIn && fromPrimary && !fromPrimary->empty();
        m_shift = copy.countBefore + (taken ? 1 : 0) - static_cast<std::int64_t>(changes);
        if (taken) copy.fromPrimary = std::move(fromPrimary);
        stopWaiting();
    }
    return count();
}

/// On the link's thread, at every change that others make.
void Clipboard::sortOut(LateCopies& late, WaylandSelections& selections,
                        const SelectionChange& change) {
    const std::lock_guard lock(late.mutex);
    const auto answered =
        answeredKey(unansweredAt(change, late, selections.seen(SelectionName::Primary)));
    if (!answered) {
        late.before.reset(); // It is older than what somebody has copied now.
        return;
    }
    late.unanswered.erase(late.unanswered.begin() + static_cast<std::ptrdiff_t>(*answered));
    if (!late.awaited && late.before) {
        late.undone = change.generation;
        late.undoneBy = *late.before;
        selections.offer(*late.before);
    }
    if (late.unanswered.empty()) late.before.reset();
}

/// Whatever comes from now on comes late.
void Clipboard::stopWaiting() {
    const std::lock_guard lock(m_late->mutex);
    m_late->awaited = false;
}

// ---- content -----------------------------------------------------------------------------------

std::optional<std::string> Clipboard::string() {
    const std::lock_guard lock(m_mutex);
    if (m_copy && m_copy->fromPrimary) return m_copy->fromPrimary;
    if (!m_parts.link->answers()) return std::nullopt;
    const auto now = m_parts.selections->seen(SelectionName::Clipboard);
    if (now.ours) return textAmong(*now.ours);
    auto text = textFrom(SelectionName::Clipboard);
    if (text && m_copy && m_copy->fromClipboard && copyOutcome(facts()) != CopyOutcome::Clipboard) {
        return std::nullopt; // Somebody else copied between the look and the reading.
    }
    return text;
}

/// False when there have been more changes than these by then: in that case it is not offered.
bool Clipboard::offer(const Content& content, std::optional<std::uint64_t> changes) {
    const auto moved = std::make_shared<std::atomic<bool>>(false);
    m_parts.link->run([moved, changes, content, late = m_late, selections = m_parts.selections] {
        const std::lock_guard lock(late->mutex);
        *moved = changes && selections->changes() != *changes;
        if (*moved) return;
        late->awaited = false;
        if (!late->unanswered.empty()) late->before = content;
        selections->offer(content);
    });
    if (*moved) return false;
    m_isEmptiedByUs = false;
    ++m_shift; // Of the selections' changes ours are none.
    // It has taken effect when the compositor says so.
    (void)m_parts.link->answers();
    return true;
}

void Clipboard::clearContents() {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    offer(nullptr);
    m_isEmptiedByUs = true;
}

void Clipboard::setString(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    offer(std::make_shared<const ClipboardContent>(ClipboardContent{
        {std::string(kUtf8Plain), std::string(kUtf8Plain), 8, std::string(text)},
        {std::string(kUtf8String), std::string(kUtf8String), 8, std::string(text)}}));
}

PasteboardMemory Clipboard::remember() {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    stopWaiting();
    (void)m_parts.link->answers();
    const auto changes = count(); // Before the reading, which others may change it during.
    return m_memory.remember(readAll(), changes);
}

ClipboardFacts Clipboard::clipboardFacts(const SelectionSeen& seen) const {
    ClipboardFacts now;
    now.ownedByUs = seen.ours != nullptr || (seen.formats.empty() && m_isEmptiedByUs);
    if (!m_copy) return now;
    const auto facts = this->facts();
    now.keyPosted = facts.keyPosted;
    now.changed = facts.clipboardChanged;
    now.lastChange = facts.changedBy;
    now.oneClient = facts.oneClient;
    return now;
}

void Clipboard::putBack(const PasteboardMemory& memory) {
    const std::lock_guard lock(m_mutex);
    const bool tookPrimary = m_copy && m_copy->fromPrimary;
    for (int attempt = 0; attempt < kMostAttempts && !tookPrimary; ++attempt) {
        (void)m_parts.link->answers();
        const auto changes = m_parts.selections->changes();
        const auto seen = m_parts.selections->seen(SelectionName::Clipboard);
        if (!mayPutBack(clipboardFacts(seen))) break;
        const auto content = m_memory.toPutBack(memory);
        if (seen.ours && seen.ours == content) break;
        if (seen.formats.empty() && (!content || content->empty())) break;
        if (offer(content, changes)) break;
    }
    m_copy.reset();
    stopWaiting();
}

// ---- reading -----------------------------------------------------------------------------------

std::optional<std::string> Clipboard::textFrom(SelectionName which) {
    const auto now = m_parts.selections->seen(which);
    const auto has = [&](std::string_view format) {
        return std::ranges::find(now.formats, format) != now.formats.end();
    };
    // Password managers mark what they copy, for clipboard managers not to record it. It is no
    // work. One that marks it and then says nothing means the same.
    if (has(kPasswordHint)) {
        const auto hint = m_parts.selections->read(
            which, now.generation, std::string(kPasswordHint),
            {kLongestHint, kOwnerSilence, steady_clock::now() + kOwnerSilence});
        const bool harmless =
            hint.kind == SelectionAnswer::Kind::Value && !hint.bytes.starts_with(kSecret);
        if (!harmless) return std::nullopt;
    }
    const auto deadline = steady_clock::now() + kLongestRead;
    for (const auto format : kTextFormats) {
        if (!has(format)) continue;
        const auto answer = m_parts.selections->read(which, now.generation, std::string(format),
                                                     {kLargestText, kOwnerSilence, deadline});
        if (answer.kind == SelectionAnswer::Kind::Refused) continue;
        if (answer.kind != SelectionAnswer::Kind::Value) return std::nullopt;
        std::string_view bytes = answer.bytes;
        if (bytes.ends_with('\0')) bytes.remove_suffix(1);
        return text::repairedUtf8(bytes);
    }
    return std::nullopt;
}

ClipboardCopy Clipboard::readAll() {
    using Kind = SelectionAnswer::Kind;
    ClipboardCopy memory;
    const auto now = m_parts.selections->seen(SelectionName::Clipboard);
    if (now.ours) {
        memory.content = now.ours;
        return memory;
    }
    const auto end = steady_clock::now() + kLongestRemember;
    auto content = std::make_shared<ClipboardContent>();
    std::size_t room = kLargestMemory;
    bool missed = false;
    for (const auto& format : formatsToKeep(now.formats)) {
        if (isCovered(format, *content)) continue;
        auto answer = m_parts.selections->read(SelectionName::Clipboard, now.generation, format,
                                               {room, kOwnerSilence, end});
        if (answer.kind == Kind::Silent || answer.kind == Kind::TooLarge) missed = true;
        if (answer.kind == Kind::Silent) break; // Once is enough: the wait is the user's.
        if (answer.kind != Kind::Value) continue;
        room -= answer.bytes.size();
        content->push_back({format, format, 8, std::move(answer.bytes)});
    }
    {
        // Known by now, for the reading was done on the thread that undoes.
        const std::lock_guard lock(m_late->mutex);
        if (m_late->undone == now.generation) return {m_late->undoneBy.lock(), false};
    }
    memory.lost = missed && content->empty();
    // Offered again in the owner's own order, which some programs choose by.
    std::ranges::sort(*content, {}, [&](const ClipboardFormat& format) {
        return std::ranges::find(now.formats, format.target) - now.formats.begin();
    });
    if (!content->empty()) memory.content = std::move(content);
    return memory;
}

} // namespace

std::shared_ptr<CopyClipboard> makeWaylandClipboard(WaylandClipboardParts parts) {
    return std::make_shared<Clipboard>(std::move(parts));
}

} // namespace kelvane
