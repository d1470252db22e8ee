// The permission to come to the front, as a Wayland desktop hands it from one program to the next.
//
// Qt 6.4 takes it from the environment alone, which nobody may write while other threads read it.
// Main thread only.

#pragma once

#include <string>

namespace kelvane {

/// Has the windows of this program that are shown come to the front by that token. Nothing where
/// the desktop knows no such thing, nor for an empty one.
void bringForwardBy(const std::string& token);

} // namespace kelvane
