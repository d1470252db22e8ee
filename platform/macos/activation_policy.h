// This program's place in the Dock and before others.
//
// Main thread only, after Qt has made the application object: making it turns the process
// into an ordinary application unless its bundle says otherwise.

#pragma once

namespace kelvane {

/// From now on the program lives in the menu bar: no Dock icon, no menus of its own.
void setAccessoryPolicy();

/// Makes this the active application, whichever is active now, so that its window gets the keys.
void activateIgnoringOtherApplications();

} // namespace kelvane
