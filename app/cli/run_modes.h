// The command-line modes: which one a start is, and its answer.
//
// They run from start to end on the calling thread: no event loop, no window, and a display only to
// ask what is in front, if there is one. Only `--status` and `--doctor` use the network: whether
// the service answers.

#pragma once

#include <optional>

namespace kelvane {

/// Records the arguments and runs the command-line mode that they ask for, wherever its switch
/// stands among them: the first that is there of `--selftest`, `--detect`, `--check-catalog`,
/// `--help`, `--version`, `--grade`, `--status` and `--doctor`. All but the first two do not count
/// where they stand as the value of another switch. The mode's exit status, or nothing when none is
/// there: then the application is to be started. `--service` and, without `--json`, `--settings`
/// are no such modes but said to the instance that runs, if one does.
///
/// The answer has been written when this returns. A reader that has gone, and a standard output
/// that was never open, are no errors. An answer lost any other way (a full disk) makes the status
/// 1 where it would have been 0, without a word.
[[nodiscard]] std::optional<int> runCommandLineMode(int argc, const char* const* argv);

} // namespace kelvane
