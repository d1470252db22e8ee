// Where does the running application show: in the Dock and the task bar, or only in the menu bar?
//
// A question that every system answers for the whole process; which file answers it is the build's
// choice. Main thread only.

#pragma once

namespace kelvane {

/// Makes this an accessory application: on macOS it has no Dock icon and no menus; elsewhere a
/// program shows nowhere until it opens a window, and nothing is to be done. Call it once, right
/// after the toolkit's application object was made and before anything is shown.
void makeAccessoryApplication();

/// Brings this application before all others, as opening a window does not do by itself on macOS
/// for an accessory one. Elsewhere the window manager sees to it when the window asks.
void activateApplication();

} // namespace kelvane
