// The standard streams of a program that others start, read and leave.
//
// For the main thread, before any other.

#pragma once

#include <string_view>

namespace kelvane {

/// Opens whichever of the three standard descriptors is closed on the null device, so that nothing
/// else (a connection, a file) is ever given their numbers, and has a reader that has gone reported
/// as an error instead of ending the program. Called once, before anything is opened.
void openStandardStreams();

/// Writes everything to standard output and waits for whoever is slow to read it. True when it is
/// written, and also when the reader has gone: nobody misses the rest.
[[nodiscard]] bool writeStandardOutput(std::string_view bytes);

} // namespace kelvane
