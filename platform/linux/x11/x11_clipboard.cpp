#include "platform/linux/x11/x11_clipboard.h"

#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/common/clipboard_memory.h"
#include "platform/linux/rules/copy_rules.h"
#include "platform/linux/x11/bounded_reply.h"
#include "platform/linux/x11/copy_keys.h"
#include "platform/linux/x11/selection_monitor.h"
#include "platform/linux/x11/selection_reader.h"
#include "platform/linux/x11/x11_connection.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using Content = SelectionMonitor::Content;

/// Some owners refuse while they are about to take the clipboard a second time.
constexpr auto kBeforeSecondTry = 30ms;
constexpr std::size_t kLargestTargetList = std::size_t{64} << 10U;
constexpr std::size_t kLongestHint = 64; ///< Bytes: it is one word.
constexpr std::string_view kSecret = "secret";

// The version has to be asked for before anything else of it works.
bool startXtest(X11Connection& link) {
    if (link.extension(xcb_test_id) == nullptr) return false;
    return replyWithin<xcb_test_get_version_reply_t>(
               link.xcb(), xcb_test_get_version(link.xcb(), 2, 2)) != nullptr;
}

class Clipboard : public CopyClipboard {
public:
    Clipboard(std::shared_ptr<X11Connection> link, std::unique_ptr<SelectionMonitor> monitor,
              PostKeys post)
        : m_post(std::move(post)),
          m_link(std::move(link)),
          m_monitor(std::move(monitor)),
          m_reader(m_link),
          m_hasXtest(startXtest(*m_link)),
          m_clipboard(m_link->atom("CLIPBOARD")),
          m_targets(m_link->atom("TARGETS")) {}

    bool canPostKeys() override { return m_hasXtest && m_link->alive(); }
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
        bool decided = false;
        bool fromClipboard = false;
        std::int64_t countBefore = 0;
        std::optional<std::string> fromPrimary;
    };

    [[nodiscard]] SelectionMonitor::Status status();
    [[nodiscard]] bool isSecret(xcb_atom_t selection);
    [[nodiscard]] std::int64_t decideCopy();
    [[nodiscard]] std::optional<std::vector<KeyStroke>> strokes();
    void post(const std::vector<KeyStroke>& strokes);
    [[nodiscard]] std::optional<std::string> textFrom(xcb_atom_t selection);
    [[nodiscard]] ClipboardCopy readAll(const SelectionMonitor::Status& now);
    [[nodiscard]] std::vector<std::string> namesOf(const std::string& atoms);
    [[nodiscard]] std::string nameOf(xcb_atom_t atom);

    const PostKeys m_post; ///< May be empty.
    std::mutex m_mutex;    ///< Serialises the calls; guards everything below.
    std::shared_ptr<X11Connection> m_link;
    std::unique_ptr<SelectionMonitor> m_monitor; ///< Null without XFIXES.
    SelectionReader m_reader;
    const bool m_hasXtest;
    const xcb_atom_t m_clipboard;
    const xcb_atom_t m_targets;
    std::map<xcb_atom_t, std::string> m_names;

    std::int64_t m_lastChanges = 0; ///< As the monitor last told.
    /// Added to the monitor's count. It moves when PRIMARY stands in for a change, and when changes
    /// turn out to have nothing to do with a copy.
    std::int64_t m_shift = 0;
    ClipboardMemory m_memory;
    std::optional<Copy> m_copy;
};

SelectionMonitor::Status Clipboard::status() {
    if (m_monitor) {
        if (auto now = m_monitor->status()) {
            m_lastChanges = now->changes;
            return *std::move(now);
        }
    }
    return {m_lastChanges, nullptr};
}

// ---- copying -----------------------------------------------------------------------------------

void Clipboard::copyFrom(const CopyTarget& target) {
    // One call at a time: a copy is a conversation, and two would mix.
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    // Without word of changes a copy could neither be noticed nor undone.
    if (!m_monitor || !m_link->alive()) return;
    const auto now = status();
    // The clipboard may have moved while the application came to the front: some take it anew then,
    // or the user copied something. That is what has to come back, and no answer to our key.
    if (const auto before = m_memory.renew(now.changes + m_shift, [&] { return readAll(now); })) {
        m_shift = *before - now.changes;
    }
    // What cannot be brought back is not put at risk, even if the memory that was handed out for it
    // is gone by now.
    const bool mayPost = target.takesKeys && m_hasXtest && !m_memory.lost();
    const auto keys = mayPost ? strokes() : std::nullopt;
    // Begun before the key is posted, or its answer could come before anybody watches.
    m_monitor->beginCopy(target, keys.has_value(), m_memory.held());
    // Through a hold, if there is one: it lets go for this key alone.
    if (keys && !(m_post && m_post(*keys))) post(*keys);
    m_copy = Copy{};
    m_copy->countBefore = now.changes + m_shift;
}

std::optional<std::vector<KeyStroke>> Clipboard::strokes() {
    auto* const xcb = m_link->xcb();
    const auto* const setup = xcb_get_setup(xcb);
    const auto keyCount = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    // All three are asked before the first is answered: one round trip.
    const auto keymap = xcb_query_keymap(xcb);
    const auto mapping = xcb_get_keyboard_mapping(xcb, setup->min_keycode, keyCount);
    const auto rows = xcb_get_modifier_mapping(xcb);
    const auto held = replyWithin<xcb_query_keymap_reply_t>(xcb, keymap);
    const auto symbols = replyWithin<xcb_get_keyboard_mapping_reply_t>(xcb, mapping);
    const auto modifiers = replyWithin<xcb_get_modifier_mapping_reply_t>(xcb, rows);
    if (!held || !symbols || !modifiers) return std::nullopt;

    KeyboardState keyboard;
    keyboard.firstKeyCode = setup->min_keycode;
    keyboard.symbolsPerKey = symbols->keysyms_per_keycode;
    const auto* const first = xcb_get_keyboard_mapping_keysyms(symbols.get());
    keyboard.symbols.assign(first, first + xcb_get_keyboard_mapping_keysyms_length(symbols.get()));
    const auto* key = xcb_get_modifier_mapping_keycodes(modifiers.get());
    // Eight rows of as many keys, in the order of the modifiers.
    for (auto& row : keyboard.modifiers) {
        row.assign(key, key + modifiers->keycodes_per_modifier);
        key += modifiers->keycodes_per_modifier;
    }
    for (std::size_t code = 0; code < keyboard.held.size(); ++code) {
        // A bit for each key.
        keyboard.held[code] = ((std::uint32_t{held->keys[code / 8]} >> (code % 8)) & 1U) != 0;
    }
    return copyKeys(keyboard);
}

void Clipboard::post(const std::vector<KeyStroke>& strokes) {
    auto* const xcb = m_link->xcb();
    for (const auto& stroke : strokes) {
        xcb_test_fake_input(xcb, stroke.press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, stroke.key,
                            XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    }
    // The keys are down and up again when this is answered.
    (void)replyWithin<xcb_get_input_focus_reply_t>(xcb, xcb_get_input_focus(xcb));
}

std::int64_t Clipboard::changeCount() {
    const std::lock_guard lock(m_mutex);
    if (m_copy && !m_copy->decided) return decideCopy();
    return status().changes + m_shift;
}

std::int64_t Clipboard::decideCopy() {
    m_copy->decided = true;
    std::optional<std::string> fromPrimary;
    const auto seen = m_monitor->copyResult();
    if (seen && copyOutcome(seen->facts) == CopyOutcome::Primary) {
        fromPrimary = textFrom(XCB_ATOM_PRIMARY);
    }
    // An application that was busy copying a large selection answers about PRIMARY only after that,
    // so the copy itself may have come meanwhile.
    const auto result = m_monitor->finalCopyResult();
    if (!result) return m_copy->countBefore;
    m_lastChanges = result->changes;
    m_copy->fromClipboard = copyOutcome(result->facts) == CopyOutcome::Clipboard;
    if (!m_copy->fromClipboard) {
        // PRIMARY counts as one change. Without it there was none: a change that the application
        // did not make is someone else's and no answer.
        const bool taken = fromPrimary && !fromPrimary->empty();
        m_shift = m_copy->countBefore + (taken ? 1 : 0) - result->changes;
        if (taken) m_copy->fromPrimary = std::move(fromPrimary);
    }
    return result->changes + m_shift;
}

// ---- content -----------------------------------------------------------------------------------

std::optional<std::string> Clipboard::string() {
    const std::lock_guard lock(m_mutex);
    if (m_copy && m_copy->fromPrimary) return m_copy->fromPrimary;
    if (!m_link->alive()) return std::nullopt;
    if (const auto ours = status().ours) return textAmong(*ours);
    auto text = textFrom(m_clipboard);
    if (text && m_copy && m_copy->fromClipboard) {
        // Somebody else may have copied between the look and the reading.
        const auto seen = m_monitor->copyResult();
        // It would be somebody else's text.
        if (!seen || copyOutcome(seen->facts) != CopyOutcome::Clipboard) return std::nullopt;
    }
    return text;
}

void Clipboard::clearContents() {
    const std::lock_guard lock(m_mutex);
    // What was copied is over once the clipboard is set from here.
    m_copy.reset();
    if (m_monitor) m_monitor->offer(nullptr);
}

void Clipboard::setString(std::string_view text) {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    if (!m_monitor) return;
    m_monitor->offer(std::make_shared<const ClipboardContent>(ClipboardContent{
        {std::string(kUtf8String), std::string(kUtf8String), 8, std::string(text)}}));
}

PasteboardMemory Clipboard::remember() {
    const std::lock_guard lock(m_mutex);
    m_copy.reset();
    const auto now = status();
    return m_memory.remember(readAll(now), now.changes + m_shift);
}

void Clipboard::putBack(const PasteboardMemory& memory) {
    const std::lock_guard lock(m_mutex);
    const bool afterCopy = m_copy.has_value();
    m_copy.reset();
    if (!m_monitor) return;
    m_monitor->putBack(m_memory.toPutBack(memory), afterCopy);
}

// ---- reading -----------------------------------------------------------------------------------

std::optional<std::string> Clipboard::textFrom(xcb_atom_t selection) {
    const SelectionBounds bounds{kLargestText, kOwnerSilence, steady_clock::now() + kLongestRead};
    for (int attempt = 0; attempt < 2; ++attempt) {
        // Nobody there: a second try would change nothing.
        if (m_reader.owner(selection).value_or(XCB_WINDOW_NONE) == XCB_WINDOW_NONE) break;
        bool refused = true;
        for (const auto& target : textTargets()) {
            auto answer = m_reader.read(selection, m_link->atom(target), bounds);
            if (answer.kind == SelectionAnswer::Kind::Refused) continue;
            // An owner that is silent once is not asked for each target.
            if (answer.kind != SelectionAnswer::Kind::Value) return std::nullopt;
            refused = false;
            const ClipboardFormat format{target, nameOf(answer.type), answer.unit,
                                         std::move(answer.bytes)};
            // Asked last, since most text is no password, and before it is handed out.
            if (auto text = textOf(format)) return isSecret(selection) ? std::nullopt : text;
        }
        if (!refused) break;
        if (attempt == 0) std::this_thread::sleep_for(kBeforeSecondTry);
    }
    return std::nullopt;
}

/// Password managers mark what they copy, for clipboard managers not to record it. It is no work.
bool Clipboard::isSecret(xcb_atom_t selection) {
    const SelectionBounds bounds{kLongestHint, kOwnerSilence, steady_clock::now() + kOwnerSilence};
    const auto hint = m_reader.read(selection, m_link->atom(kPasswordHint), bounds);
    return hint.kind == SelectionAnswer::Kind::Value && hint.bytes.starts_with(kSecret);
}

ClipboardCopy Clipboard::readAll(const SelectionMonitor::Status& now) {
    ClipboardCopy memory;
    if (!m_link->alive()) return memory;
    if (now.ours) {
        memory.content = now.ours;
        return memory;
    }
    // Nobody there: there is nothing to remember, and nothing to lose.
    if (m_reader.owner(m_clipboard).value_or(XCB_WINDOW_NONE) == XCB_WINDOW_NONE) return memory;

    using Kind = SelectionAnswer::Kind;
    const auto end = steady_clock::now() + kLongestRemember;
    const auto offered =
        m_reader.read(m_clipboard, m_targets, {kLargestTargetList, kOwnerSilence, end});
    memory.lost = offered.kind == Kind::Silent;
    if (memory.lost) return memory;
    // An owner that cannot tell what it has got may still have text.
    const bool told = offered.kind == Kind::Value && offered.unit == 32;
    auto content = std::make_shared<ClipboardContent>();
    std::size_t room = kLargestMemory;
    bool missed = false;
    const auto targets = told ? namesOf(offered.bytes) : textTargets();
    for (const auto& target : formatsToKeep(targets)) {
        // In the order of worth, as the room and the time may not be enough for all.
        if (isCovered(target, *content)) continue;
        auto answer = m_reader.read(m_clipboard, m_link->atom(target), {room, kOwnerSilence, end});
        if (answer.kind == Kind::Silent || answer.kind == Kind::TooLarge) missed = true;
        if (answer.kind == Kind::Silent) break; // Once is enough: the wait is the user's.
        if (answer.kind != Kind::Value) continue;
        const auto type = nameOf(answer.type);
        if (!canBeKept(type)) continue;
        room -= answer.bytes.size();
        content->push_back({target, type, answer.unit, std::move(answer.bytes)});
    }
    memory.lost = missed && content->empty();
    // Offered again in the owner's own order, which some programs choose by.
    std::ranges::sort(*content, {}, [&](const ClipboardFormat& format) {
        return std::ranges::find(targets, format.target) - targets.begin();
    });
    if (!content->empty()) memory.content = std::move(content);
    return memory;
}

std::vector<std::string> Clipboard::namesOf(const std::string& atoms) {
    // Atoms are words of 32 bits, as in a property.
    X11Property list;
    list.format = 32;
    list.bytes = atoms;
    const auto wanted = list.words();
    std::vector<xcb_atom_t> unknown;
    // Names never change, so each is asked for once.
    std::ranges::copy_if(wanted, std::back_inserter(unknown),
                         [&](xcb_atom_t atom) { return !m_names.contains(atom); });
    auto names = m_reader.names(unknown);
    for (std::size_t i = 0; i < unknown.size(); ++i) {
        if (!names[i].empty()) m_names[unknown[i]] = std::move(names[i]);
    }
    std::vector<std::string> found;
    for (const auto atom : wanted) {
        const auto known = m_names.find(atom);
        if (known != m_names.end()) found.push_back(known->second);
    }
    return found;
}

std::string Clipboard::nameOf(xcb_atom_t atom) {
    const std::string bytes(reinterpret_cast<const char*>(&atom), sizeof atom);
    auto names = namesOf(bytes);
    return names.empty() ? std::string() : std::move(names.front());
}

} // namespace

std::shared_ptr<CopyClipboard> openX11Clipboard(const std::string& display, PostKeys post) {
    // Two links: the monitor listens on its own all the time.
    auto link = X11Connection::open(display);
    if (!link) return nullptr;
    return std::make_shared<Clipboard>(std::move(link), SelectionMonitor::open(display),
                                       std::move(post));
}

} // namespace kelvane
