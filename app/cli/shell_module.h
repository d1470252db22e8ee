// Starts the part of the program that draws.
//
// The panel and everything it needs of Qt live in a module beside the executable, so that
// the command-line modes neither load nor wait for it.

#pragma once

namespace kelvane {

/// Loads the module from the bundle and runs the application in it. Its exit status; 1, with the
/// reason on standard error, when the module cannot be loaded.
[[nodiscard]] int runShell(int argc, char** argv);

} // namespace kelvane

/// What the module offers. Called once, on the main thread.
extern "C" int kelvaneRunApplication(int argc, char** argv);
