#include "app/shell/popover_rules.h"

#include <algorithm>
#include <cstdlib>

namespace kelvane {

namespace {

// A press closes the popover, and the tray tells of the click when the button is let go: what comes
// later, or from further off, is another click.
constexpr std::chrono::milliseconds kClickTime{500};
constexpr int kClickSlop = 8; // Points.

bool hasArea(const Rect& rect) {
    return rect.width > 0 && rect.height > 0;
}

Point middle(const Rect& rect) {
    return {rect.x + rect.width / 2, rect.y + rect.height / 2};
}

bool holds(const Rect& rect, Point point) {
    // Half-open, so that two screens side by side share no point.
    return point.x >= rect.x && point.x < rect.x + rect.width && point.y >= rect.y &&
           point.y < rect.y + rect.height;
}

const Screen* screenAt(const std::vector<Screen>& screens, Point point) {
    const auto found = std::ranges::find_if(
        screens, [&](const Screen& screen) { return holds(screen.geometry, point); });
    return found == screens.end() ? nullptr : &*found;
}

/// The one on which the popover comes to stand. Precondition: there is one.
const Screen& screenOf(const PopoverBeside& beside, const std::vector<Screen>& screens) {
    const Screen* screen = nullptr;
    if (beside.item && hasArea(*beside.item)) screen = screenAt(screens, middle(*beside.item));
    if (screen == nullptr && beside.pointer) screen = screenAt(screens, *beside.pointer);
    return screen != nullptr ? *screen : screens.front();
}

Rect availableOn(const Screen& screen) {
    // Some desktops tell no area without their bars.
    return hasArea(screen.available) ? screen.available : screen.geometry;
}

int kept(int value, int low, int high) {
    // Low wins where there is not enough room: the top left corner stays in sight.
    return std::max(low, std::min(value, high));
}

Point keptInside(Point place, Size popover, const Rect& area) {
    return {
        kept(place.x, area.x + kPopoverGap, area.x + area.width - popover.width - kPopoverGap),
        kept(place.y, area.y + kPopoverGap, area.y + area.height - popover.height - kPopoverGap)};
}

/// Beside `item`, on the side that faces the middle of the screen.
Point besideItem(const Rect& item, Size popover, const Screen& screen) {
    const Rect area = availableOn(screen);
    const Point centre = middle(item);
    Point place{centre.x - popover.width / 2, centre.y - popover.height / 2};
    // A bar at the side: within the height of the area and beyond its width.
    const bool inSideBar = centre.y >= area.y && centre.y < area.y + area.height &&
                           (centre.x < area.x || centre.x >= area.x + area.width);
    if (inSideBar) {
        place.x = centre.x < area.x ? item.x + item.width + kPopoverGap
                                    : item.x - popover.width - kPopoverGap;
    } else {
        const bool upperHalf = centre.y < middle(screen.geometry).y;
        place.y =
            upperHalf ? item.y + item.height + kPopoverGap : item.y - popover.height - kPopoverGap;
    }
    return keptInside(place, popover, area);
}

} // namespace

Point popoverPlace(const PopoverBeside& beside, Size popover, const std::vector<Screen>& screens) {
    if (screens.empty()) return {};
    // In the order of what is known best: the item, the pointer, the corner where trays are.
    if (beside.item && hasArea(*beside.item)) {
        if (const Screen* screen = screenAt(screens, middle(*beside.item))) {
            return besideItem(*beside.item, popover, *screen);
        }
    }
    if (beside.pointer) {
        if (const Screen* screen = screenAt(screens, *beside.pointer)) {
            return besideItem({beside.pointer->x, beside.pointer->y, 1, 1}, popover, *screen);
        }
    }
    const Rect area = availableOn(screens.front());
    return keptInside({area.x + area.width, area.y}, popover, area);
}

int popoverRoom(const PopoverBeside& beside, const std::vector<Screen>& screens) {
    if (screens.empty()) return 0;
    return std::max(availableOn(screenOf(beside, screens)).height - 2 * kPopoverGap, 1);
}

bool isSameClick(const std::optional<PointerMoment>& closing, const PointerMoment& now) {
    if (!closing) return false;
    const auto passed = now.time - closing->time;
    // A clock that went back makes no click.
    return passed >= std::chrono::nanoseconds(0) && passed <= kClickTime &&
           std::abs(now.at.x - closing->at.x) <= kClickSlop &&
           std::abs(now.at.y - closing->at.y) <= kClickSlop;
}

KeyboardGone keyboardGone(const KeyboardLoan& loan) {
    if (loan.lent) return KeyboardGone::Stays;
    const bool mayBeLate = !loan.told && loan.sinceItsEnd && *loan.sinceItsEnd <= kLateNews;
    return mayBeLate ? KeyboardGone::ClosesIfItLasts : KeyboardGone::Closes;
}

} // namespace kelvane
