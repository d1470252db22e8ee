#include "app/cli/run_modes.h"

#include "app/cli/detection_report.h"
#include "app/cli/doctor.h"
#include "app/cli/doctor_facts.h"
#include "app/cli/history_report.h"
#include "app/cli/standard_streams.h"
#include "app/cli/status_report.h"
#include "app/history/history_store.h"
#include "app/instance_place.h"
#include "app/own_workspace.h"
#include "app/process_settings.h"
#include "app/settings/settings_store.h"
#include "catalog/catalog_check.h"
#include "catalog/catalog_loader.h"
#include "detect/app_detector.h"
#include "detect/harness_config.h"
#include "detect/live_agent_scan.h"
#include "platform/cli.h"
#include "selftest/self_test.h"
#include "text/build_version.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

constexpr std::string_view kCheckCatalog = "--check-catalog";
constexpr std::string_view kSearch = "--search";

constexpr std::string_view kHelp =
    R"(Usage: kelvane [--catalog PATH] [--render PATH | --demo]
       kelvane --detect | --selftest [--catalog PATH]
       kelvane --check-catalog PATH
       kelvane --grade [--window | --selection]
       kelvane --status | --doctor [--json]
       kelvane --history [--search TEXT] [--json | --open]
       kelvane --service | --settings [--json]
       kelvane --help | --version

Grades your work, in whatever application is in front, before it ships.
Without a switch it runs in the menu bar.

  --catalog PATH  take the application catalog from PATH
  --render PATH   write a picture of the panel with demonstration data to PATH,
                  in PNG, and quit
  --demo          show the panel with demonstration data in an ordinary window
  --detect        print what is in front and which agents are here, as one line
                  of JSON, and exit
  --selftest      check the catalog and the rules of this build, and exit
  --check-catalog PATH
                  say what is wrong with the catalog at PATH, and exit
  --grade         have the running instance grade what is in front, for a
                  shortcut of your desktop's, and exit
  --window        of that: a picture of its window, whatever the catalog says
  --selection     of that: the selected text
  --status        print what the running instance does, and exit
  --doctor        print what works here and what to do, without secrets, and
                  exit
  --history       print the verdicts of the past, and exit
  --search TEXT   of these: those in which all words of TEXT stand
  --open          have the running instance show them in a window
  --json          of these three: one line of JSON
  --service       ask where to grade: on this machine, or with a service account
  --settings      open the window of settings; with --json print them instead,
                  as one line of JSON, and exit
  --help          print this and exit
  --version       print the version and exit
)";

struct Answer {
    std::string output;
    int status = 0;
};

AppCatalog catalogOf(CliPorts& ports) {
    return loadCatalog({.files = *ports.files,
                        .resources = *ports.resources,
                        .braskHome = braskHome(*ports.files),
                        .standardError = std::cerr},
                       argValue("--catalog"));
}

Answer selfTest() {
    CliPorts ports = makeCliPorts();
    std::ostringstream report;
    const int status = SelfTest::run(catalogOf(ports), report);
    return {std::move(report).str(), status};
}

Answer detect() {
    CliPorts ports = makeCliPorts();
    // Most of the time goes into listing processes: let that go on beside the rest.
    auto listing = LiveAgentScan::startProcessListing(*ports.processes);
    const AppCatalog catalog = catalogOf(ports);
    const auto desktop = makeWorkspace(ports);
    OwnWorkspace workspace(*desktop, kBundleID);
    const DetectedApp front = AppDetector::frontmost(workspace, catalog);
    const auto folder = home(*ports.files);
    auto bundleIds = LiveAgentScan::runningBundleIds(workspace);
    if (const auto silent = workspace.silentDisplay()) {
        std::cerr << "kelvane: the display " << *silent << " does not answer\n";
    }
    const auto agents = LiveAgentScan::finish(std::move(listing), std::move(bundleIds),
                                              HarnessConfig::present(*ports.files, folder),
                                              HarnessConfig::wired(*ports.files, folder));
    return {detectionReport(front, catalog.apps().size(), agents) + '\n'};
}

Answer checkCatalog() {
    const auto path = argValue(kCheckCatalog);
    if (!path || path->empty()) {
        std::cerr << "kelvane: " << kCheckCatalog << " needs the path of a catalog\n";
        return {{}, 1};
    }
    const CliPorts ports = makeCliPorts();
    const CatalogCheck check = checkCatalogFile(*ports.files, *path);
    std::string output;
    for (const auto& complaint : check.complaints) output += *path + ": " + complaint + '\n';
    if (check.complaints.empty()) {
        output = *path + ": nothing wrong (" + std::to_string(check.apps) + " apps)\n";
    }
    return {std::move(output), check.complaints.empty() ? 0 : 1};
}

Answer version() {
    return {"kelvane " + std::string(text::buildVersion()) + '\n'};
}

Answer help() {
    return {std::string(kHelp)};
}

bool isGiven(std::string_view name) {
    return std::ranges::find(args(), name) != args().end();
}

Answer grade() {
    const bool window = isGiven("--window");
    if (window && isGiven("--selection")) {
        std::cerr << "kelvane: --window and --selection exclude each other\n";
        return {{}, 2};
    }
    const GradeWish wish = window                   ? GradeWish::Window
                           : isGiven("--selection") ? GradeWish::Selection
                                                    : GradeWish::AsCatalog;
    const auto reply = askInstance(askGrade(wish));
    const auto begun = reply ? gradeBegunOf(*reply) : std::nullopt;
    if (!begun) {
        std::cerr << "kelvane: no instance runs here that answers; start kelvane first\n";
        return {{}, 1};
    }
    switch (*begun) {
    case GradeBegun::Yes:
        return {};
    case GradeBegun::NothingInFront:
        std::cerr << "kelvane: nothing is in front that the catalog knows\n";
        return {{}, 3};
    case GradeBegun::NoKey:
        std::cerr << "kelvane: there is no key; choose where to grade with kelvane --service\n";
        return {{}, 4};
    case GradeBegun::Already:
        std::cerr << "kelvane: a grade is under way\n";
        return {{}, 5};
    case GradeBegun::Paused:
        std::cerr << "kelvane: paused; resume in the menu of its icon or in the settings\n";
        return {{}, 6};
    case GradeBegun::NeverCaptured:
        std::cerr << "kelvane: nothing is captured from what is in front, as it is set\n";
        return {{}, 7};
    }
    return {{}, 1};
}

Answer status() {
    CliPorts ports = makeCliPorts();
    const StatusReport report = statusFacts(ports);
    return {isGiven("--json") ? statusJson(report) + '\n' : statusText(report),
            report.isRunning ? 0 : 1};
}

Answer doctor() {
    CliPorts ports = makeCliPorts();
    const auto lines = doctorLines(doctorFacts(ports));
    return {isGiven("--json") ? doctorJson(lines) + '\n' : doctorText(lines),
            isHealthy(lines) ? 0 : 1};
}

Answer pastVerdicts() {
    if (isGiven("--open")) {
        if (askInstance(kAskHistory) == "done") return {};
        std::cerr << "kelvane: no instance runs here that answers; start kelvane first\n";
        return {{}, 1};
    }
    CliPorts ports = makeCliPorts();
    const history::HistoryStore store(*ports.files, braskHome(*ports.files), wallClockMs);
    const auto entries = history::search(store.list(), argValue(kSearch).value_or(""));
    return {isGiven("--json") ? historyJson(entries) + '\n' : historyText(entries, localTimeMs)};
}

/// Every setting as it counts, what cannot be used on standard error.
Answer settings() {
    const CliPorts ports = makeCliPorts();
    SettingsStore store(*ports.files, braskHome(*ports.files));
    store.look();
    for (const auto& problem : store.problems()) std::cerr << "kelvane: " << problem << '\n';
    return {settingsJson(store.now()) + '\n', store.problems().empty() ? 0 : 1};
}

struct Mode {
    std::string_view name;
    Answer (*run)();
    bool anywhere; ///< Counts even where it stands as the value of another switch.
};

/// Of several the first one wins.
constexpr Mode kModes[] = {
    {"--selftest", selfTest, true},       {"--detect", detect, true},
    {kCheckCatalog, checkCatalog, false}, {"--help", help, false},
    {"--version", version, false},        {"--grade", grade, false},
    {"--status", status, false},          {"--doctor", doctor, false},
    {"--history", pastVerdicts, false},
};

/// The switches that take the argument after them, whatever it looks like.
constexpr std::string_view kTakeAValue[] = {"--catalog", "--render", kCheckCatalog, kSearch};

bool isAskedFor(const Mode& mode) {
    for (auto argument = args().begin(); argument != args().end(); ++argument) {
        if (*argument == mode.name) return true;
        const bool takesNext = std::ranges::find(kTakeAValue, *argument) != std::end(kTakeAValue);
        if (takesNext && !mode.anywhere && ++argument == args().end()) break;
    }
    return false;
}

} // namespace

std::optional<int> runCommandLineMode(int argc, const char* const* argv) {
    recordArgs(argc, argv);
    openStandardStreams();
    if (isGiven("--settings") && isGiven("--json")) {
        const Answer answer = settings();
        return writeStandardOutput(answer.output) ? answer.status : std::max(answer.status, 1);
    }
    const auto asked = std::ranges::find_if(kModes, isAskedFor);
    if (asked == std::end(kModes)) {
        // Said to the instance that runs; where none does, it begins with the question.
        const bool isAnswered = (isGiven("--service") && askInstance(kAskService) == "done") ||
                                (isGiven("--settings") && askInstance(kAskSettings) == "done");
        return isAnswered ? std::optional(0) : std::nullopt;
    }
    const Answer answer = asked->run();
    return writeStandardOutput(answer.output) ? answer.status : std::max(answer.status, 1);
}

} // namespace kelvane
