#include "app/cli/run_modes.h"

#include "app/cli/detection_report.h"
#include "app/cli/standard_streams.h"
#include "app/own_workspace.h"
#include "app/process_settings.h"
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

constexpr std::string_view kHelp =
    R"(Usage: kelvane [--catalog PATH] [--render PATH | --demo]
       kelvane --detect | --selftest [--catalog PATH]
       kelvane --check-catalog PATH
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

struct Mode {
    std::string_view name;
    Answer (*run)();
    bool anywhere; ///< Counts even where it stands as the value of another switch.
};

/// Of several the first one wins.
constexpr Mode kModes[] = {
    {"--selftest", selfTest, true},       {"--detect", detect, true},
    {kCheckCatalog, checkCatalog, false}, {"--help", help, false},
    {"--version", version, false},
};

/// The switches that take the argument after them, whatever it looks like.
constexpr std::string_view kTakeAValue[] = {"--catalog", "--render", kCheckCatalog};

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
    const auto asked = std::ranges::find_if(kModes, isAskedFor);
    if (asked == std::end(kModes)) return std::nullopt;
    const Answer answer = asked->run();
    return writeStandardOutput(answer.output) ? answer.status : std::max(answer.status, 1);
}

} // namespace kelvane
