#include "harness/tool_wiring.h"

#include "detect/harness_config.h"
#include "detect/known_agents.h"
#include "harness/installation.h"
#include "harness/replace_tree.h"
#include "harness/self_install.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/file_system.h"
#include "platform/ports/login_shell.h"
#include "platform/ports/url_opener.h"
#include "text/translation.h"

#include <algorithm>

namespace kelvane::ToolWiring {

namespace {

using text::filled;
using text::translated;

namespace fs = std::filesystem;

constexpr std::string_view kValidator = "validate.py";
constexpr std::string_view kInstaller = "brask_install.py";

/// The keys of the tools for which `test` holds, in the order of the wiring status.
std::vector<std::string> keysOf(bool WiringRecord::*test) {
    std::vector<std::string> keys;
    for (const KnownAgent* tool : wireableTools()) {
        if (tool->wiring->*test) keys.emplace_back(tool->wiring->key);
    }
    return keys;
}

/// Tools that are there are wired; without any, those that people most often install later are.
/// A tool's key is also the name of its command and, behind a dot, of its folder.
std::string wiringScript() {
    std::string script = R"sh(export BRASK_HOME="$HOME/.brask"
PY=$(command -v python3) || exit 0
wired=""
for h in)sh";
    for (const auto& key : keysOf(&WiringRecord::wiredWhenFound)) script += " " + key;
    script += R"sh(; do
  if [ -d "$HOME/.$h" ] || command -v "$h" >/dev/null 2>&1; then
    "$PY" "$BRASK_HOME/brask_install.py" "$h" --global >/dev/null 2>&1 || true; wired="$wired $h"
  fi
done
)sh";
    const auto keys = keysOf(&WiringRecord::wiredWhenNoneIsFound);
    std::size_t widest = 0;
    for (const auto& key : keys) widest = std::max(widest, key.size());
    const std::string_view begin = R"sh([ -n "$wired" ] || { )sh";
    std::string before(begin);
    for (const auto& key : keys) {
        script += before + R"sh("$PY" "$BRASK_HOME/brask_install.py" )sh" + key +
                  std::string(widest - key.size(), ' ') + " --global >/dev/null 2>&1";
        before = "\n" + std::string(begin.size(), ' ');
    }
    return script + "; }";
}

Alert pythonIsMissing() {
    return {.style = Alert::Style::Warning,
            .message = translated("Alert", "Python 3 is required"),
            .informative = translated(
                "Alert",
                "Kelvane runs the validator with python3, which isn’t installed. Install Apple’s "
                "Command Line Tools (Terminal: xcode-select --install), then choose “Wire my "
                "tools” from the menu."),
            .buttons = {}};
}

/// The address as people say it: without a scheme, and without what only the page itself needs.
std::string spokenAddress(std::string_view url) {
    const auto scheme = url.find("://");
    if (scheme != std::string_view::npos) url.remove_prefix(scheme + 3);
    return std::string(url.substr(0, url.find('?')));
}

Alert toolsAreWired(const std::vector<Harness>& status, std::string_view connectURL) {
    std::string labels;
    for (const auto& harness : status) {
        if (!harness.wired) continue;
        if (!labels.empty()) labels += ", ";
        labels += harness.label;
    }
    if (labels.empty()) labels = translated("Alert", "your coding tools");
    return {.style = Alert::Style::Informational,
            .message = translated("Alert", "Kelvane is wired"),
            .informative =
                filled(translated("Alert", "Validation is now active in: %1.\nGet your free key "
                                           "at %2, then export BRASK_API_KEY."),
                       {labels, spokenAddress(connectURL)}),
            .buttons = {}};
}

void copyKit(const Ports& ports, LoginShell& shell, const fs::path& kit,
             const fs::path& braskHome) {
    ports.files.createDirectories(braskHome / "standing");
    for (const auto name : {kValidator, kInstaller}) {
        replaceTree(ports.files, kit / name, braskHome / name);
    }
    if (const auto names = ports.files.list(kit / "standing")) {
        for (const auto& name : *names) {
            // What some archivers leave beside a file to keep its attributes.
            if (name.starts_with("._")) continue;
            replaceTree(ports.files, kit / "standing" / name, braskHome / "standing" / name);
        }
    }
    if (const auto catalog = ports.bundle.url("app-catalog", "json")) {
        replaceTree(ports.files, *catalog, braskHome / "app-catalog.json");
    }
    const std::string folder = inDoubleQuotes(braskHome.string());
    shell.sh("chmod 0755 \"" + folder + "/validate.py\" \"" + folder +
             "/brask_install.py\" 2>/dev/null");
}

} // namespace

std::vector<Harness> harnessStatus(FileSystem& files, const fs::path& home) {
    const auto wired = HarnessConfig::wired(files, home);
    std::vector<Harness> status;
    for (const KnownAgent* tool : wireableTools()) {
        status.push_back({.label = std::string(tool->name),
                          .wired = wired.contains(std::string(tool->wiring->key))});
    }
    return status;
}

bool isInstalled(FileSystem& files, const fs::path& braskHome) {
    return files.exists(braskHome / kValidator);
}

void runInstall(const Ports& ports, const Installation& installation, const Settings& settings,
                bool firstRun) {
    LoginShell shell(ports.processes);
    if (!shell.hasPython3()) {
        ports.dialogs.show(pythonIsMissing());
        return;
    }
    if (const auto resources = ports.bundle.resourceFolder()) {
        copyKit(ports, shell, *resources / "kit", installation.braskHome);
    }
    shell.sh(wiringScript());
    if (!settings.noPersist) {
        SelfInstall::persistToApplications({.files = ports.files, .bundle = ports.bundle},
                                           installation);
    }
    if (firstRun) {
        if (!settings.noOpen) ports.urls.open(settings.connectURL);
        return;
    }
    ports.dialogs.show(
        toolsAreWired(harnessStatus(ports.files, installation.home), settings.connectURL));
}

} // namespace kelvane::ToolWiring
