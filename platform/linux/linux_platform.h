// The ports that a Linux desktop answers, made for the session this program runs in.

#pragma once

#include "platform/ports/accessibility_switch.h"
#include "platform/ports/app_icons.h"
#include "platform/ports/clock.h"
#include "platform/ports/compositing.h"
#include "platform/ports/desktop_limits.h"
#include "platform/ports/environment.h"
#include "platform/ports/global_shortcut.h"
#include "platform/ports/input_hold.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/own_focus.h"
#include "platform/ports/panel_place.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/pointer_presses.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// None of them is ever null. Without a display each gives its absent answer, at once.
struct LinuxDesktop {
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<WindowList> windowList;
    std::unique_ptr<WindowPicture> windowPicture;
    std::unique_ptr<PanelPlace> panelPlace;
    std::unique_ptr<DesktopLimits> limits;
    std::unique_ptr<AccessibilitySwitch> accessibility;
    std::unique_ptr<AppIcons> icons;
    /// Under Wayland it never tells: only presses on the windows of X11 programs would be heard,
    /// half an answer.
    std::unique_ptr<PointerPresses> pointerPresses;
    std::unique_ptr<GlobalShortcut> shortcut; ///< Of the X server; else none.
    std::unique_ptr<InputHold> hold;          ///< Under Wayland it holds nothing, likewise.
    std::unique_ptr<Compositing> compositing; ///< Without an X session always on.
};

/// Connects to the display that `environment` names. All three must outlive what is made. A
/// compositor that is silent now, or does not know this program yet, is asked again whenever
/// `limits` are, and then the environment is read again. A display that goes away later does not
/// come back: start again to use another one.
[[nodiscard]] LinuxDesktop makeLinuxDesktop(Environment& environment, Clock& clock,
                                            OwnFocus& ownFocus);

/// The first of them alone, with nothing beside it, by what answers now; only `clock` must outlive
/// it.
[[nodiscard]] std::unique_ptr<Workspace> makeLinuxWorkspace(Environment& environment, Clock& clock);

} // namespace kelvane
