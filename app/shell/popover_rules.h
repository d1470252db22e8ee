// The popover's place, and whether the click that is being handled has closed it.
//
// Values in, values out, in the desktop's own coordinates.

#pragma once

#include "app/shell/shell_ports.h"

#include <chrono>
#include <optional>
#include <vector>

namespace kelvane {

/// One screen of the desktop.
struct Screen {
    Rect geometry;
    Rect available; ///< Without the bars along its edges; empty when the system does not tell.

    bool operator==(const Screen&) const = default;
};

/// What the popover stands beside, in the order in which it is looked for: an item with an area
/// that touches a screen, the pointer. Neither: the top right corner of the first screen.
struct PopoverBeside {
    std::optional<Rect> item;
    std::optional<Point> pointer;
};

/// The gap between the popover and what it stands beside or the screen's edge.
inline constexpr int kPopoverGap = 4;

/// The popover's top left corner. Under its item and centred on it; above it when the item is in
/// the lower half of its screen; to its left or right when a bar along that edge holds the item.
/// Kept inside the screen's available area, its top left corner first when it is larger than that.
/// The origin when there is no screen.
[[nodiscard]] Point popoverPlace(const PopoverBeside& beside, Size popover,
                                 const std::vector<Screen>& screens);

/// How high a popover beside that may be to be seen whole. 0 when there is no screen.
[[nodiscard]] int popoverRoom(const PopoverBeside& beside, const std::vector<Screen>& screens);

/// A moment at which the pointer stood somewhere.
struct PointerMoment {
    std::chrono::nanoseconds time{0};
    Point at;
};

/// Whether `now` is still the click whose press closed the popover: hardly moved, hardly later.
/// The item reports a click only when the button goes up, or later through a message bus.
[[nodiscard]] bool isSameClick(const std::optional<PointerMoment>& closing,
                               const PointerMoment& now);

/// What the popover does when the toolkit tells that it has lost the keyboard.
enum class KeyboardGone {
    Stays,
    Closes,
    ClosesIfItLasts, ///< When it has not had it again after `kLateNews`.
};

/// What the toolkit tells comes after what the window system knows: on a busy machine the news of a
/// loan to a capture may come when the keyboard is back already.
struct KeyboardLoan {
    bool lent = false; ///< Now.
    bool told = true;  ///< The toolkit has told that the last loan began, or has nothing to tell.
    std::optional<std::chrono::nanoseconds> sinceItsEnd; ///< Absent before the first one's end.
};

/// How long after a loan its beginning may be told. Seen: 110 ms, with twenty programs at two
/// processors.
inline constexpr std::chrono::seconds kLateNews{1};

[[nodiscard]] KeyboardGone keyboardGone(const KeyboardLoan& loan);

} // namespace kelvane
