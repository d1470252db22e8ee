// Is this start one of the command-line modes, and what does it answer?

#pragma once

#include <optional>

namespace kelvane {

/// Records the arguments and runs the command-line mode that they ask for, to its end. The exit
/// status, or nothing when they ask for none: then the application is to be started.
[[nodiscard]] std::optional<int> runCommandLineMode(int argc, const char* const* argv);

} // namespace kelvane
