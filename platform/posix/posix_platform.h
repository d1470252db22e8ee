// The ports that any POSIX system answers.
//
// The same sources serve Linux and macOS. Every maker returns an adapter of its own, never null;
// all adapters may be used from any thread, as their ports say.

#pragma once

#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/kept_programs.h"
#include "platform/ports/process_runner.h"

#include <filesystem>
#include <memory>

namespace kelvane {

class QuitSignal;

/// The time since the machine started, its sleep included. A wait ends at once when `quit` is
/// raised; `quit` must outlive the clock. While the machine sleeps a wait stands still.
[[nodiscard]] std::unique_ptr<Clock> makePosixClock(QuitSignal& quit);

[[nodiscard]] std::unique_ptr<Environment> makePosixEnvironment();

/// Reads regular files of up to 1 GiB, nothing else; a write goes to the file that a link leads to,
/// which keeps its permissions, and gives a new file 0644 less the umask. A tree that holds
/// anything but files, folders and links is not copied. `temporaryDirectory()` is $TMPDIR where
/// that is an absolute path, else on macOS the user's own folder for such files, else "/tmp"; it
/// ends with a slash.
[[nodiscard]] std::unique_ptr<FileSystem> makePosixFileSystem();

/// The child gets this program's environment, with the signal mask empty and SIGPIPE as usual.
/// Absent also for a program that is no absolute path and for text with a NUL in it. The status is
/// 255 when the system does not keep it because this program ignores SIGCHLD.
/// Without `quit`, which must outlive the runner, no program is ended at a quit.
[[nodiscard]] std::unique_ptr<ProcessRunner> makePosixProcessRunner(QuitSignal* quit = nullptr);

[[nodiscard]] std::unique_ptr<KeptPrograms> makePosixKeptPrograms();

/// The resources of the bundle around `executable`: for ".../X.app/Contents/MacOS/X" the files in
/// ".../X.app/Contents/Resources", also when `executable` is a link to it. Anything that does not
/// stand in such a folder is outside a bundle and finds nothing. A folder counts as a resource too;
/// an empty extension means the bare name. The paths of the bundle hold no links.
[[nodiscard]] std::unique_ptr<BundleResources>
makeBundleResources(const std::filesystem::path& executable);

/// The file this program runs from, links resolved; empty when the system does not tell.
[[nodiscard]] std::filesystem::path currentExecutable();

} // namespace kelvane
