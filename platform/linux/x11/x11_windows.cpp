#include "platform/linux/x11/x11_windows.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

// _NET_WM_DESKTOP of a window that is on all of them.
constexpr std::uint32_t kEveryDesktop = 0xFFFFFFFFU;
constexpr std::uint32_t kNormalState = 1; ///< WM_STATE: shown, not an icon.

constexpr std::array<std::pair<std::string_view, X11WindowType>, 14> kTypes{{
    {"_NET_WM_WINDOW_TYPE_NORMAL", X11WindowType::Normal},
    {"_NET_WM_WINDOW_TYPE_DIALOG", X11WindowType::Dialog},
    {"_NET_WM_WINDOW_TYPE_UTILITY", X11WindowType::Utility},
    {"_NET_WM_WINDOW_TYPE_TOOLBAR", X11WindowType::Toolbar},
    {"_NET_WM_WINDOW_TYPE_MENU", X11WindowType::Menu},
    {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", X11WindowType::Menu},
    {"_NET_WM_WINDOW_TYPE_POPUP_MENU", X11WindowType::Menu},
    {"_NET_WM_WINDOW_TYPE_SPLASH", X11WindowType::Splash},
    {"_NET_WM_WINDOW_TYPE_NOTIFICATION", X11WindowType::Notification},
    {"_NET_WM_WINDOW_TYPE_TOOLTIP", X11WindowType::Notification},
    {"_NET_WM_WINDOW_TYPE_COMBO", X11WindowType::Notification},
    {"_NET_WM_WINDOW_TYPE_DND", X11WindowType::Notification},
    {"_NET_WM_WINDOW_TYPE_DOCK", X11WindowType::Dock},
    {"_NET_WM_WINDOW_TYPE_DESKTOP", X11WindowType::Desktop},
}};

void internAtoms(X11Connection& x) {
    std::vector<std::string_view> names{
        "_NET_CURRENT_DESKTOP",
        "_NET_WM_DESKTOP",
        "_NET_WM_STATE",
        "_NET_WM_STATE_HIDDEN",
        "_NET_WM_STATE_STICKY",
        "_NET_WM_WINDOW_TYPE",
        "_GTK_FRAME_EXTENTS",
        "WM_STATE",
        "_NET_SUPPORTING_WM_CHECK",
    };
    for (const auto& [name, type] : kTypes) names.push_back(name);
    x.internAtoms(names);
}

/// A window may name several types, the most fitting first; those nobody has heard of are skipped.
X11WindowType typeOf(X11Connection& x, const std::optional<X11Property>& property) {
    if (!property) return X11WindowType::Normal;
    for (const auto atom : property->words()) {
        for (const auto& [name, type] : kTypes) {
            if (atom == x.atom(name)) return type;
        }
    }
    return X11WindowType::Normal;
}

/// Whether the window manager itself draws the screen. Such a one keeps the windows of other
/// desktops mapped, for its overviews; all others unmap what is not shown or move it off the
/// screen.
bool managerDrawsScreen(X11Connection& x) {
    // Whoever owns this selection draws the screen (EWMH); one for each screen.
    const auto ownerCookie = xcb_get_selection_owner_unchecked(
        x.xcb(), x.atom("_NET_WM_CM_S" + std::to_string(x.screenNumber())));
    const auto managerCookie = x.askProperty(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK"));
    const auto owner = x.reply<xcb_get_selection_owner_reply_t>(ownerCookie);
    const auto manager = x.takeProperty(managerCookie);
    const auto client = [&](xcb_window_t window) {
        return window & ~xcb_get_setup(x.xcb())->resource_id_mask;
    };
    return owner && owner->owner != XCB_WINDOW_NONE && manager &&
           client(owner->owner) == client(manager->firstWord().value_or(0));
}

/// Whether any of it lies on the screen, all outputs taken together.
bool reachesScreen(const xcb_screen_t& screen, const xcb_translate_coordinates_reply_t& place,
                   const xcb_get_geometry_reply_t& size) {
    return place.dst_x < screen.width_in_pixels && place.dst_y < screen.height_in_pixels &&
           place.dst_x + size.width > 0 && place.dst_y + size.height > 0;
}

} // namespace

std::vector<X11WindowDescription> describeWindows(X11Connection& x,
                                                  const std::vector<xcb_window_t>& windows) {
    if (windows.empty() || !x.answers()) return {};
    auto* const xcb = x.xcb();
    struct Asked {
        xcb_get_geometry_cookie_t geometry;
        xcb_translate_coordinates_cookie_t place;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_property_cookie_t type, states, desktop, shown, margins;
    };
    internAtoms(x);
    const auto currentCookie = x.askProperty(x.root(), x.atom("_NET_CURRENT_DESKTOP"));
    std::vector<Asked> asked;
    asked.reserve(windows.size());
    // All questions before the first answer, for a hundred windows too: a few round trips together.
    for (const auto window : windows) {
        asked.push_back({xcb_get_geometry_unchecked(xcb, window),
                         xcb_translate_coordinates_unchecked(xcb, window, x.root(), 0, 0),
                         xcb_get_window_attributes_unchecked(xcb, window),
                         x.askProperty(window, x.atom("_NET_WM_WINDOW_TYPE")),
                         x.askProperty(window, x.atom("_NET_WM_STATE")),
                         x.askProperty(window, x.atom("_NET_WM_DESKTOP")),
                         x.askProperty(window, x.atom("WM_STATE")),
                         x.askProperty(window, x.atom("_GTK_FRAME_EXTENTS"))});
    }
    const bool drawsScreen = managerDrawsScreen(x);
    const auto current = x.takeProperty(currentCookie);
    const auto currentDesktop = current ? current->firstWord() : std::nullopt;
    std::vector<X11WindowDescription> described;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto geometry = x.reply<xcb_get_geometry_reply_t>(asked[i].geometry);
        const auto place = x.reply<xcb_translate_coordinates_reply_t>(asked[i].place);
        const auto attributes = x.reply<xcb_get_window_attributes_reply_t>(asked[i].attributes);
        const auto type = x.takeProperty(asked[i].type);
        const auto states = x.takeProperty(asked[i].states);
        const auto desktop = x.takeProperty(asked[i].desktop);
        const auto shown = x.takeProperty(asked[i].shown);
        const auto margins = x.takeProperty(asked[i].margins);
        // It went while it was being asked about.
        if (!geometry || !place || !attributes) continue;

        const auto has = [&](std::string_view state) {
            const auto words = states ? states->words() : std::vector<std::uint32_t>{};
            return std::find(words.begin(), words.end(), x.atom(state)) != words.end();
        };
        const auto onDesktop = desktop ? desktop->firstWord() : std::nullopt;
        // Every output of a tiling window manager shows a desktop of its own, and one of them is
        // the current one.
        const bool here = !drawsScreen || !onDesktop || !currentDesktop ||
                          *onDesktop == *currentDesktop || *onDesktop == kEveryDesktop ||
                          has("_NET_WM_STATE_STICKY");
        X11WindowDescription one;
        one.window = windows[i];
        one.type = typeOf(x, type);
        // Without a window manager there is no such state, and what is mapped is shown.
        one.onScreen = here && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                       reachesScreen(x.screen(), *place, *geometry) &&
                       (!shown || shown->firstWord() == kNormalState) &&
                       !has("_NET_WM_STATE_HIDDEN");
        const auto extents = frameExtents(margins, geometry->width, geometry->height);
        one.width = geometry->width - extents.left - extents.right;
        one.height = geometry->height - extents.top - extents.bottom;
        described.push_back(one);
    }
    return described;
}

} // namespace kelvane
