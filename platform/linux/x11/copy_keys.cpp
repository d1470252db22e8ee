#include "platform/linux/x11/copy_keys.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <span>

namespace kelvane {

namespace {

// Keysyms of X: Insert and the left Control.
constexpr std::uint32_t kInsert = 0xFF63;
constexpr std::uint32_t kControlLeft = 0xFFE3;
// Rows of the modifier mapping: Shift, Lock, Control, Mod1 to Mod5.
constexpr std::size_t kShiftRow = 0;
constexpr std::size_t kControlRow = 2;

std::span<const std::uint32_t> symbolsOf(const KeyboardState& keyboard, KeyCode key) {
    if (key < keyboard.firstKeyCode) return {};
    // The mapping is a table with so many symbols for each key, from the first key on.
    const std::size_t begin =
        std::size_t{static_cast<std::size_t>(key) - keyboard.firstKeyCode} * keyboard.symbolsPerKey;
    if (begin + keyboard.symbolsPerKey > keyboard.symbols.size()) return {};
    return std::span(keyboard.symbols).subspan(begin, keyboard.symbolsPerKey);
}

/// Caps, Num, Scroll, Shift, Kana and Eisu lock, and the locks and switches of levels and groups.
bool isLock(std::uint32_t symbol) {
    constexpr std::array locks{0xFFE5U, 0xFF7FU, 0xFF14U, 0xFFE6U, 0xFF2DU, 0xFF30U};
    if (std::ranges::find(locks, symbol) != locks.end()) return true;
    return symbol == 0xFE01U || symbol == 0xFE05U || (symbol >= 0xFE07U && symbol <= 0xFE0FU);
}

bool locks(const KeyboardState& keyboard, KeyCode key) {
    return std::ranges::any_of(symbolsOf(keyboard, key), isLock);
}

/// The key that gives `symbol` without Shift, by preference in the first group.
std::optional<KeyCode> keyFor(const KeyboardState& keyboard, std::uint32_t symbol) {
    // Columns in pairs: without and with Shift, for each group.
    for (std::size_t column = 0; column < keyboard.symbolsPerKey; column += 2) {
        for (std::size_t key = keyboard.firstKeyCode; key <= 255; ++key) {
            const auto symbols = symbolsOf(keyboard, static_cast<KeyCode>(key));
            if (column < symbols.size() && symbols[column] == symbol) {
                return static_cast<KeyCode>(key);
            }
        }
    }
    return std::nullopt;
}

std::optional<KeyCode> controlKey(const KeyboardState& keyboard) {
    std::optional<KeyCode> any;
    for (const KeyCode key : keyboard.modifiers[kControlRow]) {
        if (key == 0 || locks(keyboard, key)) continue;
        const auto symbols = symbolsOf(keyboard, key);
        if (!symbols.empty() && symbols.front() == kControlLeft) return key;
        if (!any) any = key;
    }
    return any;
}

} // namespace

std::optional<std::vector<KeyStroke>> copyKeys(const KeyboardState& keyboard) {
    const auto insert = keyFor(keyboard, kInsert);
    const auto control = controlKey(keyboard);
    if (!insert || !control) return std::nullopt;

    bool controlHeld = false;
    std::set<KeyCode> shifts;
    std::set<KeyCode> others;
    for (std::size_t row = 0; row < keyboard.modifiers.size(); ++row) {
        for (const KeyCode key : keyboard.modifiers[row]) {
            if (key == 0 || !keyboard.held[key] || locks(keyboard, key)) continue;
            if (row == kControlRow) {
                controlHeld = true;
            } else if (row == kShiftRow) {
                shifts.insert(key);
            } else {
                others.insert(key);
            }
        }
    }

    std::vector<KeyStroke> strokes;
    const auto stroke = [&](KeyCode key, bool press) { strokes.push_back({key, press}); };
    if (keyboard.held[*insert]) stroke(*insert, false);
    for (const KeyCode key : shifts) stroke(key, false);
    // Control before the others are let go: a Super that is pressed and let go by itself opens
    // menus.
    if (!controlHeld) stroke(*control, true);
    for (const KeyCode key : others) stroke(key, false);
    stroke(*insert, true);
    stroke(*insert, false);
    for (const KeyCode key : others) stroke(key, true);
    if (!controlHeld) stroke(*control, false);
    for (const KeyCode key : shifts) stroke(key, true);
    return strokes;
}

} // namespace kelvane
