#include "app/cli/doctor_facts.h"

#include "app/cli/service_reach.h"
#include "app/cli/shell_module.h"
#include "app/grading_place.h"
#include "app/instance_place.h"
#include "app/own_workspace.h"
#include "app/process_settings.h"
#include "app/settings/settings_store.h"
#include "detect/harness_config.h"
#include "detect/known_agents.h"
#include "eval/chosen_environment.h"
#include "eval/eval_bridge.h"
#include "eval/service_choice.h"
#include "harness/installation.h"
#include "harness/tool_wiring.h"
#include "platform/cli.h"
#include "platform/ports/proxy_rules.h"
#include "text/build_version.h"
#include "text/web_address.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <sys/utsname.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kServicePatience = 5s; ///< It may have to be started first.
constexpr auto kInstancePatience = 2s;

/// What a shell's command prints within a few seconds; nothing when it fails or takes longer.
std::optional<std::string> ran(CliPorts& ports, const std::string& command) {
    auto result = ports.processes->run(
        {.program = "/bin/sh", .arguments = {"-c", "exec timeout -k 1 " + command}});
    if (!result || result->status != 0) return std::nullopt;
    return std::move(result->output);
}

/// Whether somebody has this name on the session bus; nothing when it could not be asked.
std::optional<bool> isOnBus(CliPorts& ports, const std::string& name) {
    const auto said =
        ran(ports, "3 dbus-send --session --print-reply --reply-timeout=2000 "
                   "--dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner string:" +
                       name + " 2>/dev/null");
    if (!said) return std::nullopt;
    return said->find("boolean true") != std::string::npos;
}

/// Who shows messages, started by this question where it is started on demand.
std::string notifier(CliPorts& ports) {
    return notifierIn(ran(ports, "5 dbus-send --session --print-reply --reply-timeout=4000 "
                                 "--dest=org.freedesktop.Notifications "
                                 "/org/freedesktop/Notifications "
                                 "org.freedesktop.Notifications.GetServerInformation 2>/dev/null")
                          .value_or(""));
}

/// What the desktop's portal resolves for an address; nothing where there is none.
std::vector<std::string> desktopProxies(CliPorts& ports, const std::string& origin) {
    return textsInReply(
        ran(ports, "3 dbus-send --session --print-reply --reply-timeout=2000 "
                   "--dest=org.freedesktop.portal.Desktop /org/freedesktop/portal/desktop "
                   "org.freedesktop.portal.ProxyResolver.Lookup " +
                       shellWord("string:" + origin) + " 2>/dev/null")
            .value_or(""));
}

std::string variable(CliPorts& ports, std::string_view name) {
    return ports.environment->get(name).value_or("");
}

std::string systemName(CliPorts& ports) {
    utsname kernel{};
    ::uname(&kernel);
    std::string name = std::string(kernel.sysname) + " " + kernel.release + " " + kernel.machine;
    const std::string release = ports.files->read("/etc/os-release").value_or("");
    constexpr std::string_view kPretty = "PRETTY_NAME=\"";
    if (const auto at = release.find(kPretty); at != std::string::npos) {
        const auto begin = at + kPretty.size();
        name = release.substr(begin, release.find('"', begin) - begin) + ", " + name;
    }
    return name;
}

std::string displayName(CliPorts& ports) {
    const std::string wayland = variable(ports, "WAYLAND_DISPLAY");
    const std::string x11 = variable(ports, "DISPLAY");
    if (!wayland.empty()) return "wayland " + wayland + (x11.empty() ? "" : " with x11 " + x11);
    return x11.empty() ? "" : "x11 " + x11;
}

/// What was chosen, laid over this process's environment as the application does it.
ServiceChoiceRead takeUpChoice(CliPorts& ports, ChosenEnvironment& environment) {
    auto read = readServiceChoice(*ports.files, braskHome(*ports.files));
    const auto& choice = read.choice;
    if (choice.where == ServiceChoice::Where::ThisMachine && !choice.base.empty() &&
        !choice.keyFile.empty()) {
        auto key = readChosenKey(*ports.files, choice.keyFile);
        if (!key.key) read.problems.push_back(key.problem);
        environment.choose(choice.base, std::move(key.key));
    }
    return read;
}

/// The instance sees to the service of this machine, unless it has said why it cannot: one that is
/// not there yet is being started.
bool answers(const std::string& base, bool isSeenTo) {
    const auto target = reachTarget(base);
    if (!target) return false;
    // Between this machine and another there may be proxies, of which the application knows.
    const auto origin = text::webOrigin(base);
    if (origin && !text::isLoopback(origin->host)) {
        const auto status =
            askStatusAsApplication(text::written(*origin) + "/healthz", kServicePatience);
        if (status) return isAnswer(*target, *status);
    }
    return isReached(*target, kServicePatience, isSeenTo);
}

Installation installation(CliPorts& ports, LoginItem item) {
    const fs::path folder = home(*ports.files);
    return {.home = folder,
            .braskHome = braskHome(folder),
            .bundleId = std::string(kBundleID),
            .loginItem = item,
            .configHome = configHome(*ports.environment, folder),
            .dataHome = dataHome(*ports.environment, folder)};
}

/// Whichever kind of login item this system goes by.
bool startsAtLogin(CliPorts& ports) {
    return std::ranges::any_of(
        std::array{LoginItem::AutostartEntry, LoginItem::LaunchAgent}, [&](LoginItem item) {
            return ports.files->exists(startFiles(installation(ports, item)).front().path);
        });
}

bool hasPackagesEntry(CliPorts& ports) {
    return ports.files->exists(fs::path("/etc/xdg/autostart") /
                               (std::string(kBundleID) + ".desktop"));
}

/// Of the copy that this program makes of itself; the kit in it knows. Empty when there is none.
std::string copyVersion(CliPorts& ports) {
    const auto copy = installedBundle(installation(ports, LoginItem::AutostartEntry));
    const auto text =
        ports.files->read(copy / "Contents/Resources/kit/standing/engine/version.txt").value_or("");
    return text.substr(0, text.find('\n'));
}

void lookAtProxies(CliPorts& ports, const text::WebOrigin& origin, DoctorFacts& facts) {
    if (namesProxies(*ports.environment)) {
        facts.proxyFrom = DoctorFacts::ProxyFrom::Environment;
        return;
    }
    if (!facts.hasSessionBus) return;
    const auto proxy = usableProxy(desktopProxies(ports, text::written(origin)));
    if (!proxy) return;
    facts.proxyFrom = DoctorFacts::ProxyFrom::Desktop;
    facts.proxy = withoutUser(*proxy);
}

} // namespace

std::optional<std::string> askInstance(std::string_view line) {
    std::error_code ignored;
    const auto folder = instanceFolder(kEnv(), std::string(kBundleID), ::geteuid(),
                                       fs::temp_directory_path(ignored));
    return askSocket(instanceSocket(folder, desktopName(kEnv())), line, kInstancePatience);
}

StatusReport statusFacts(CliPorts& ports) {
    std::optional<StatusReport> report;
    if (const auto said = askInstance(kAskStatus)) report = statusFromJson(*said);
    if (!report) {
        report.emplace();
        ChosenEnvironment environment(*ports.environment);
        const auto read = takeUpChoice(ports, environment);
        const fs::path folder = home(*ports.files);
        report->version = text::buildVersion();
        report->hasKey = EvalBridge::apiKey(environment, *ports.files, folder).has_value();
        for (const Harness& row : ToolWiring::harnessStatus(*ports.files, folder)) {
            report->wiring.emplace_back(row.label, row.wired);
        }
        report->place = serviceWord(read.choice.where);
        report->base = withoutUser(EvalBridge::base(environment));
        if (!read.problems.empty()) report->problem = read.problems.front();
    }
    report->answers =
        answers(report->base, report->isRunning && report->problem.empty() &&
                                  report->place == serviceWord(ServiceChoice::Where::ThisMachine));
    return *report;
}

DoctorFacts doctorFacts(CliPorts& ports) {
    DoctorFacts facts;
    const fs::path folder = home(*ports.files);
    facts.version = text::buildVersion();
    facts.system = systemName(ports);
    facts.desktop = variable(ports, "XDG_CURRENT_DESKTOP");
    facts.display = displayName(ports);
    if (!facts.display.empty()) {
        const auto desktop = makeWorkspace(ports);
        OwnWorkspace workspace(*desktop, kBundleID);
        static_cast<void>(workspace.frontmost());
        facts.silent = workspace.silentDisplay().value_or("");
    }
    facts.hasSessionBus = !variable(ports, "DBUS_SESSION_BUS_ADDRESS").empty() ||
                          ports.files->exists(fs::path(variable(ports, "XDG_RUNTIME_DIR")) / "bus");
    if (facts.hasSessionBus) {
        facts.hasTray = isOnBus(ports, "org.kde.StatusNotifierWatcher");
        facts.hasAccessibility = isOnBus(ports, "org.a11y.Bus");
        // Who could not ask the bus about those could not ask this.
        if (facts.hasTray && facts.hasAccessibility) facts.notifier = notifier(ports);
        SettingsStore settings(*ports.files, braskHome(folder));
        settings.look();
        facts.wantsNotices = settings.now().notifications;
    }
    facts.isRunning = askInstance(kAskStatus).has_value();
    facts.isInstalled = ToolWiring::isInstalled(*ports.files, braskHome(folder));
    facts.startsAtLogin = startsAtLogin(ports);
    facts.hasPackagesEntry = hasPackagesEntry(ports);
    facts.copyVersion = copyVersion(ports);
    facts.hasPython =
        ran(ports, "5 sh -lc 'command -v python3' </dev/null 2>/dev/null").has_value();

    ChosenEnvironment environment(*ports.environment);
    auto read = takeUpChoice(ports, environment);
    facts.place = serviceWord(read.choice.where);
    facts.choiceProblems = std::move(read.problems);
    const std::string base = EvalBridge::base(environment);
    facts.base = withoutUser(base);
    facts.isBaseSet = ports.environment->get("BRASK_API_BASE").has_value();
    facts.isAddress = reachTarget(base).has_value();
    facts.answers = answers(base, facts.isRunning && facts.choiceProblems.empty() &&
                                      read.choice.where == ServiceChoice::Where::ThisMachine);
    const auto origin = text::webOrigin(base);
    if (origin && !text::isLoopback(origin->host)) lookAtProxies(ports, *origin, facts);

    const std::string stated = variable(ports, "BRASK_API_KEY");
    const std::string chosen = environment.get("BRASK_API_KEY").value_or("");
    const bool hasChosen =
        read.choice.where == ServiceChoice::Where::ThisMachine && !facts.isBaseSet;
    if (!stated.empty()) {
        facts.key = DoctorFacts::KeyFrom::Environment;
        facts.isKeyOfAnother =
            hasChosen && readChosenKey(*ports.files, read.choice.keyFile).key != stated;
    } else if (!chosen.empty()) {
        facts.key = DoctorFacts::KeyFrom::Choice;
    } else if (EvalBridge::apiKey(environment, *ports.files, folder)) {
        facts.key = DoctorFacts::KeyFrom::KeyFile;
    }
    const auto guard = ports.files->guard(braskHome(folder) / "key");
    facts.isKeyFileOpen = guard && (guard->othersRead || guard->othersWrite || !guard->isOurs);

    const auto present = HarnessConfig::present(*ports.files, folder);
    const auto wired = HarnessConfig::wired(*ports.files, folder);
    for (const KnownAgent* tool : wireableTools()) {
        const std::string toolKey(tool->wiring->key);
        facts.tools.push_back({.name = std::string(tool->name),
                               .isPresent = present.contains(toolKey),
                               .isWired = wired.contains(toolKey)});
    }
    const fs::path service =
        localServiceProgram(*ports.files, *ports.environment,
                            ports.resources->bundle().value_or(fs::path()), read.choice.program);
    facts.localService = withoutHome(service.string(), folder.string());
    if (!service.empty()) {
        const auto told =
            ran(ports, "10 " + shellWord(service.string()) + " --engines --json 2>/dev/null");
        if (told) facts.engines = enginesOf(*told);
    }
    for (auto& problem : facts.choiceProblems) problem = withoutHome(problem, folder.string());
    return facts;
}

} // namespace kelvane
