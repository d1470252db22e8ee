// The removal of everything that was installed.
//
// The counterpart of `ToolWiring` and `SelfInstall`. Main thread: it shows dialogs, and it blocks
// while its script runs.

#pragma once

#include <functional>
#include <string>

namespace kelvane {

class Dialogs;
class ProcessRunner;
struct Installation;

namespace Uninstall {

struct Ports {
    Dialogs& dialogs;
    ProcessRunner& processes;
    std::function<void()> terminate; ///< Ends the application.
    /// Gives back, once it is confirmed, what the script does not know of.
    std::function<void()> giveBack = [] {};
};

/// What removes an installation: the tools' wiring through the kit's installer, then our data
/// folder, the login item and the installed copy. Each line goes on whatever became of those
/// before.
[[nodiscard]] std::string script(const Installation& installation);

/// Asks first. Unless the answer is to uninstall, nothing happens. Otherwise it gives back what was
/// taken, runs the script, says that everything was removed, whatever became of it, and ends the
/// application. A copy of the program that runs from elsewhere is left where it is.
void runUninstall(const Ports& ports, const Installation& installation);

} // namespace Uninstall

} // namespace kelvane
