#include "platform/linux/rules/desktop_sources.h"

namespace kelvane {

namespace {

using enum DesktopSource;

DesktopSource windowsOf(const DesktopOffer& offer) {
    // The one that tells more comes first: processes and places without a socket beside it.
    if (offer.plasmaWindows) return KWin;
    if (offer.foreignToplevel) return Wlroots;
    if (offer.gnomeExtension) return GnomeExtension;
    if (offer.accessibility) return Accessibility;
    return None;
}

DesktopSource selectionOf(const DesktopOffer& offer, DesktopSource windows) {
    if (offer.dataControl && (windows == KWin || windows == Wlroots)) return windows;
    if (offer.gnomeExtension) return GnomeExtension;
    if (offer.accessibility) return Accessibility;
    return None;
}

/// A key makes sense only where what it copied can be read and undone.
DesktopSource keysOf(const DesktopOffer& offer) {
    if (!offer.dataControl) return None;
    if (offer.fakeInput) return KWin;
    return offer.virtualKeyboard ? Wlroots : None;
}

DesktopSource pictureOf(const DesktopOffer& offer) {
    if (offer.plasmaWindows && offer.kwinScreenshot) return KWin;
    // Of the screen alone: without a window's place no picture of it can be cut out.
    if (offer.screencopy && offer.swaySocket) return Wlroots;
    return offer.gnomeExtension ? GnomeExtension : None;
}

} // namespace

DesktopSources chooseSources(const DesktopOffer& offer) {
    if (!offer.wayland) {
        const auto only = offer.xServer ? X11 : None;
        return {only, only, only, only, offer.xServer};
    }
    const auto windows = windowsOf(offer);
    if (windows == None) {
        const auto some = offer.xServer ? X11 : None;
        return {some, some, some, some, false};
    }
    return {windows, selectionOf(offer, windows), keysOf(offer), pictureOf(offer), true};
}

bool mayOfferMore(const DesktopOffer& offer) {
    return offer.plasmaShell && !offer.plasmaWindows;
}

bool seeMore(const DesktopSources& now, const DesktopSources& before) {
    const auto sees = [](const DesktopSources& sources) {
        if (sources.windows == None) return 0;
        if (sources.windows == Accessibility) return 2;
        return sources.seesAllWindows ? 3 : 1;
    };
    return sees(now) > sees(before);
}

} // namespace kelvane
