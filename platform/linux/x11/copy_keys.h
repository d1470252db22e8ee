// The keys that make Ctrl+Insert on this keyboard, whatever is held down at the moment.
//
// A key combination reaches an application together with every modifier that happens to be held, so
// those are let go for the moment and pressed again. Locks (Caps, Num) are left alone: applications
// ignore them in shortcuts, and letting a lock key go and pressing it again would toggle it.

#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace kelvane {

using KeyCode = std::uint8_t;

/// The server's keyboard, as values.
struct KeyboardState {
    KeyCode firstKeyCode = 8;
    std::uint8_t symbolsPerKey = 0;
    /// `symbolsPerKey` for each key in turn; unshifted and shifted by turns, group after group.
    std::vector<std::uint32_t> symbols;
    /// The keys of Shift, Lock, Control, Mod1 ... Mod5; 0 fills up.
    std::array<std::vector<KeyCode>, 8> modifiers;
    std::bitset<256> held;
};

struct KeyStroke {
    KeyCode key = 0;
    bool press = false;

    bool operator==(const KeyStroke&) const = default;
};

/// Another way for strokes into the server, for when the usual one is held. False: not now, take
/// the usual one.
using PostKeys = std::function<bool(const std::vector<KeyStroke>&)>;

/// The strokes in order. Absent when the keyboard has no Insert or no Control key.
///
/// Shift goes up before Control goes down, since the two together may switch the layout; the other
/// modifiers go up after, since Alt or Super going up alone opens a menu.
[[nodiscard]] std::optional<std::vector<KeyStroke>> copyKeys(const KeyboardState& keyboard);

} // namespace kelvane
