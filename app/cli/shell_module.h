// Starts the part of the program that draws.
//
// The panel and everything it needs of Qt live in a module beside the executable, so that
// the command-line modes neither load nor wait for it.

#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace kelvane {

/// Loads the module from the bundle and runs the application in it. Its exit status; 1, with the
/// reason on standard error, when the module cannot be loaded.
[[nodiscard]] int runShell(int argc, char** argv);

/// The HTTP status with which `url` answers a GET without a key, asked as the application asks its
/// service: through the proxies that the environment or the desktop names. 0 for no answer within
/// `patience`; absent when the module cannot be loaded.
[[nodiscard]] std::optional<int> askStatusAsApplication(const std::string& url,
                                                        std::chrono::milliseconds patience);

} // namespace kelvane

/// What the module offers. Called once, on the main thread.
extern "C" int kelvaneRunApplication(int argc, char** argv);
/// As askStatusAsApplication(); milliseconds. Needs no application.
extern "C" int kelvaneAskStatus(const char* url, int patience);
