// Keys posted to whatever window has the keyboard, through zwp_virtual_keyboard or KWin's fake
// input.
//
// The virtual keyboard is made once and kept: a program that comes to a seat without a keyboard,
// and one whose keyboard goes away again, ignores the first keys. It has the keymap of the seat's
// own keyboard, so that no program changes its layout for it.

#pragma once

#include "platform/linux/wayland/wayland_globals.h"

#include <cstdint>
#include <memory>
#include <span>

namespace kelvane {

struct WaylandKey {
    std::uint32_t code = 0; ///< As the kernel numbers keys (KEY_LEFTCTRL is 29).
    bool press = false;
};

inline constexpr std::uint32_t kLeftControl = 29;
inline constexpr std::uint32_t kInsert = 110;

class WaylandKeys : public WaylandPart {
public:
    /// What the compositor lets this program use; after the start. Any thread.
    [[nodiscard]] virtual bool hasVirtualKeyboard() const = 0;
    [[nodiscard]] virtual bool hasFakeInput() const = 0;
    /// Posts the strokes in their order. The link's thread only; false where there is no means.
    virtual bool post(std::span<const WaylandKey> strokes) = 0;
};

[[nodiscard]] std::shared_ptr<WaylandKeys> makeWaylandKeys();

} // namespace kelvane
