// Where each question about a desktop is answered, chosen by what the desktop offers.
//
// By what is there and never by the desktop's name: names are settings that people and scripts
// change, and the same name means other things from one release to the next. Values in, values out;
// any thread.

#pragma once

namespace kelvane {

enum class DesktopSource {
    X11,            ///< An X server. Under Wayland it knows the windows of X11 programs alone.
    Wlroots,        ///< wlroots' protocols, with sway's own socket where there is one.
    KWin,           ///< KWin's protocols and its bus name.
    GnomeExtension, ///< The product's extension of GNOME Shell.
    Accessibility,  ///< What programs tell assistive technology.
    None,
};

/// What was found on the desktop of this login. A thing is offered when it answered, not when a
/// variable says that it should be there.
struct DesktopOffer {
    bool xServer = false; ///< One lets this program in.
    bool wayland = false; ///< A compositor lets it in, or the session says that it runs under one.

    // Globals of the compositor.
    bool foreignToplevel = false; ///< zwlr_foreign_toplevel_manager_v1
    bool plasmaWindows = false;   ///< org_kde_plasma_window_management
    bool dataControl = false;     ///< zwlr_data_control_manager_v1 or ext_data_control_manager_v1
    bool virtualKeyboard = false; ///< zwp_virtual_keyboard_manager_v1
    bool fakeInput = false;       ///< org_kde_kwin_fake_input
    bool screencopy = false;      ///< zwlr_screencopy_manager_v1
    bool plasmaShell = false;     ///< org_kde_plasma_shell, which KWin lets everybody use.

    // Beside them.
    bool swaySocket = false;     ///< Tells which process a window is of, and where it stands.
    bool kwinScreenshot = false; ///< org.kde.KWin.ScreenShot2 lets this program in.
    bool gnomeExtension = false; ///< The extension answers on the session bus.
    bool accessibility = false;  ///< The accessibility bus answers.

    bool operator==(const DesktopOffer&) const = default;
};

/// One answer for each question; `None` where nobody has one.
struct DesktopSources {
    DesktopSource windows = DesktopSource::None;   ///< Who is in front, who runs, bring forward.
    DesktopSource selection = DesktopSource::None; ///< The clipboard and PRIMARY, or the text.
    DesktopSource keys = DesktopSource::None;      ///< The copy key.
    DesktopSource picture = DesktopSource::None;   ///< Of one window.
    /// Whether `windows` sees every window. An X server under Wayland does not: while none of its
    /// windows is in front it names nobody.
    bool seesAllWindows = false;

    bool operator==(const DesktopSources&) const = default;
};

/// Accessibility is never first where data control answers: it knows fewer programs, and walking
/// through some of them costs them seconds. The selection of an X server is taken only together
/// with its windows: under Wayland the two know different programs.
[[nodiscard]] DesktopSources chooseSources(const DesktopOffer& offer);

/// Whether the compositor may tell more over a later link: KWin does not know this program yet.
[[nodiscard]] bool mayOfferMore(const DesktopOffer& offer);

/// Whether `now` is told of more windows than `before`: by a source that was late at login, or that
/// the user has turned on since.
[[nodiscard]] bool seeMore(const DesktopSources& now, const DesktopSources& before);

} // namespace kelvane
