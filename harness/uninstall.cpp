#include "harness/uninstall.h"

#include "harness/installation.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/login_shell.h"
#include "text/translation.h"

namespace kelvane::Uninstall {

namespace {

using text::translated;

Alert question() {
    return {.style = Alert::Style::Warning,
            .message = translated("Alert", "Uninstall Kelvane?"),
            .informative = translated(
                "Alert",
                "Removes Trevix validation from your coding tools, deletes ~/.brask, and removes "
                "this app. Your own MCP servers, hooks, and notes are left intact."),
            .buttons = {translated("Alert", "Uninstall"), translated("Alert", "Cancel")}};
}

Alert farewell() {
    return {.style = Alert::Style::Informational,
            .message = translated("Alert", "Kelvane removed"),
            .informative = translated(
                "Alert", "Everything was removed — your own config was left intact. Thanks for "
                         "trying it."),
            .buttons = {}};
}

} // namespace

std::string script(const Installation& installation) {
    const auto& id = installation.bundleId;
    // The installer first: it lives in the folder that goes next. Each line goes on whatever the
    // one before came to: what is gone already is no failure.
    std::string lines =
        R"sh(python3 "$HOME/.brask/brask_install.py" uninstall all --global >/dev/null 2>&1 || true
rm -rf "$HOME/.brask"
launchctl bootout "gui/$(id -u)/)sh" +
        id + R"sh(" 2>/dev/null || true
rm -f "$HOME/Library/LaunchAgents/)sh" +
        id + R"sh(.plist"
rm -rf "$HOME/Applications/Kelvane.app")sh";
    // The files of a Linux desktop; those of macOS are named above.
    if (installation.loginItem == LoginItem::AutostartEntry) {
        lines += "\nrm -f";
        for (const auto& file : startFiles(installation)) {
            lines += " " + shellWord(file.path.string());
        }
    }
    return lines;
}

void runUninstall(const Ports& ports, const Installation& installation) {
    // Closing the question is no answer, and removes nothing.
    if (ports.dialogs.show(question()) != 0U) return;
    ports.giveBack();
    LoginShell(ports.processes).sh(script(installation));
    ports.dialogs.show(farewell());
    ports.terminate();
}

} // namespace kelvane::Uninstall
