#include "platform/linux/rules/desktop_limits.h"

namespace kelvane {

namespace {

using enum DesktopSource;

constexpr const char* kExtension =
    "To read every program and to photograph a window, turn on its Shell extension, then log in "
    "again.";

std::string withExtension(const std::string& sentence) {
    return sentence + " " + kExtension;
}

std::string lineOf(const DesktopOffer& offer, const DesktopSources& sources, bool gnomeShell) {
    if (sources.windows == None && !offer.wayland) {
        return "No desktop answers here: start Kelvane from inside your session.";
    }
    if (!offer.wayland) return {};
    if (!sources.seesAllWindows) {
        if (gnomeShell)
            return withExtension("GNOME shows Kelvane the windows of X11 programs only.");
        return "This desktop shows Kelvane the windows of X11 programs only. Log in to an X11 "
               "session to have the others graded.";
    }
    if (sources.windows == Accessibility) {
        if (gnomeShell) {
            return withExtension("On GNOME Kelvane reads text from GTK, Qt and Firefox windows.");
        }
        return "This desktop tells Kelvane only of programs that speak to assistive technology: "
               "select text in a GTK, Qt or Firefox window.";
    }
    if (sources.selection == None && sources.picture == None) {
        return "This desktop lets no program read a selection or photograph a window.";
    }
    if (sources.picture == None) {
        return sources.windows == KWin
                   ? "KWin lets only an installed Kelvane photograph windows: install the package, "
                     "or select text."
                   : "This desktop does not tell where windows are, so none can be photographed: "
                     "select text.";
    }
    if (sources.selection == None) {
        return "This desktop lets no program read a selection: a picture of the window is graded.";
    }
    return {};
}

std::string noPictureOf(const DesktopOffer& offer, const DesktopSources& sources, bool gnomeShell) {
    if (sources.picture == None) {
        if (gnomeShell && offer.wayland) {
            return "On GNOME a window can be photographed once Kelvane's Shell extension is on; "
                   "selected text can be graded without.";
        }
        return "On this desktop no program may photograph a window: select text instead.";
    }
    return "On Linux no permission is needed: the window has to be on this workspace, not "
           "minimised, and its program has to answer.";
}

std::string noSelectionOf(const DesktopSources& sources) {
    if (sources.selection == None) {
        return "On Linux there is no such permission: this desktop lets no program read a "
               "selection.";
    }
    return "On Linux there is no such permission: this display lets no program post the copy key.";
}

} // namespace

LimitWords limitsOf(const DesktopOffer& offer, const DesktopSources& sources, bool gnomeShell) {
    const bool partly = !sources.seesAllWindows || sources.windows == Accessibility;
    return {.line = lineOf(offer, sources, gnomeShell),
            .hidesFront = offer.wayland && partly,
            .noPicture = noPictureOf(offer, sources, gnomeShell),
            .noSelection = noSelectionOf(sources),
            .accessibilityHelps = offer.wayland && offer.accessibility && !offer.dataControl &&
                                  !offer.gnomeExtension};
}

} // namespace kelvane
