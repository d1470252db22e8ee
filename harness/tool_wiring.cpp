#include "harness/tool_wiring.h"

#include "detect/harness_config.h"
#include "harness/installation.h"
#include "harness/self_install.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/file_system.h"
#include "platform/ports/login_shell.h"
#include "platform/ports/url_opener.h"

#include <utility>

namespace kelvane::ToolWiring {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kValidator = "validate.py";
constexpr std::string_view kInstaller = "brask_install.py";

constexpr std::pair<std::string_view, std::string_view> kTools[] = {
    {"Claude Code", "claude"},
    {"Codex", "codex"},
    {"OpenClaw", "openclaw"},
    {"Cursor", "cursor"},
};

/// Tools that are there are wired; without any, the two that people most often install later are.
constexpr std::string_view kWiringScript = R"sh(export BRASK_HOME="$HOME/.brask"
PY=$(command -v python3) || exit 0
wired=""
for h in claude codex openclaw; do
  if [ -d "$HOME/.$h" ] || command -v "$h" >/dev/null 2>&1; then
    "$PY" "$BRASK_HOME/brask_install.py" "$h" --global >/dev/null 2>&1 || true; wired="$wired $h"
  fi
done
[ -n "$wired" ] || { "$PY" "$BRASK_HOME/brask_install.py" claude --global >/dev/null 2>&1
                     "$PY" "$BRASK_HOME/brask_install.py" codex  --global >/dev/null 2>&1; })sh";

Alert pythonIsMissing() {
    return {.style = Alert::Style::Warning,
            .message = "Python 3 is required",
            .informative =
                "Kelvane runs the validator with python3, which isn’t installed. Install Apple’s "
                "Command Line Tools (Terminal: xcode-select --install), then choose “Wire my "
                "tools” from the menu.",
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
    if (labels.empty()) labels = "your coding tools";
    return {.style = Alert::Style::Informational,
            .message = "Kelvane is wired",
            .informative = "Validation is now active in: " + labels + ".\nGet your free key at " +
                           spokenAddress(connectURL) + ", then export BRASK_API_KEY.",
            .buttons = {}};
}

/// A copy onto something that is there fails.
void replace(FileSystem& files, const fs::path& source, const fs::path& target) {
    files.removeTree(target);
    files.copyTree(source, target);
}

void copyKit(const Ports& ports, const fs::path& kit, const fs::path& braskHome) {
    ports.files.createDirectories(braskHome / "standing");
    for (const auto name : {kValidator, kInstaller}) {
        replace(ports.files, kit / name, braskHome / name);
    }
    if (const auto names = ports.files.list(kit / "standing")) {
        for (const auto& name : *names) {
            // What some archivers leave beside a file to keep its attributes.
            if (name.starts_with("._")) continue;
            replace(ports.files, kit / "standing" / name, braskHome / "standing" / name);
        }
    }
    if (const auto catalog = ports.bundle.url("app-catalog", "json")) {
        replace(ports.files, *catalog, braskHome / "app-catalog.json");
    }
    const std::string folder = braskHome.string();
    sh(ports.processes,
       "chmod 0755 \"" + folder + "/validate.py\" \"" + folder + "/brask_install.py\" 2>/dev/null");
}

} // namespace

std::vector<Harness> harnessStatus(FileSystem& files, const fs::path& home) {
    const auto wired = HarnessConfig::wired(files, home);
    std::vector<Harness> status;
    for (const auto& [label, key] : kTools) {
        status.push_back({.label = std::string(label), .wired = wired.contains(std::string(key))});
    }
    return status;
}

bool isInstalled(FileSystem& files, const fs::path& braskHome) {
    return files.exists(braskHome / kValidator);
}

void runInstall(const Ports& ports, const Installation& installation, const Settings& settings,
                bool firstRun) {
    if (!hasPython3(ports.processes)) {
        ports.dialogs.show(pythonIsMissing());
        return;
    }
    if (const auto resources = ports.bundle.resourceFolder()) {
        copyKit(ports, *resources / "kit", installation.braskHome);
    }
    sh(ports.processes, kWiringScript);
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
