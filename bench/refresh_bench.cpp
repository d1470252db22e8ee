// What does one refresh of the model cost beside the process listing that it must run anyway?
//
// A virtual desktop with a real editor in front, the real adapters, the shipped catalog. Both sides
// are measured in turns within one run, as CPU time (user and system) of this process and its
// children, so that other work on the machine falls on both alike.
//
//     refresh_bench           the cost
//     refresh_bench TICKS     instead, what that many refreshes do to the memory of the process

#include "app/companion_model.h"
#include "catalog/app_catalog.h"
#include "platform/desktop.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/source_tree.h"

#include <QCoreApplication>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace kelvane;

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double cpu(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Memory of this process alone, in kB: what it shares with nobody.
long privateMemory() {
    std::ifstream rollup("/proc/self/smaps_rollup");
    long total = 0;
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with("Private_")) total += std::stol(line.substr(line.find(':') + 1));
    }
    return total;
}

void printGrowth(CompanionModel& model, int ticks) {
    constexpr int kSamples = 10;
    for (int sample = 0; sample <= kSamples; ++sample) {
        if (sample > 0) {
            for (int i = 0; i < ticks / kSamples; ++i) model.refresh();
        }
        std::printf("after %6d refreshes %8ld kB private memory\n", sample * (ticks / kSamples),
                    privateMemory());
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    constexpr int kRounds = 31;
    constexpr int kPerRound = 10;

    VirtualDesktop desktop;
    for (const auto& [name, value] : desktop.environment()) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    desktop.start({"mousepad", "--disable-server"});
    desktop.start({"xterm"});
    if (!desktop.waitForWindow(VirtualDesktop::ofClass("XTerm")) ||
        !desktop.waitForWindow(VirtualDesktop::ofClass("Mousepad"))) {
        std::fputs("refresh_bench: the desktop's programs do not show\n", stderr);
        return 1;
    }

    const QCoreApplication application(argc, argv);
    DesktopPorts platform = makeDesktopPorts();
    const auto bytes = platform.files->read(inSourceTree("resources/app-catalog.json"));
    CompanionModel model({.workspace = *platform.workspace,
                          .processes = *platform.processes,
                          .files = *platform.files,
                          .environment = *platform.environment,
                          .http = *platform.http,
                          .clock = *platform.clock,
                          .dispatcher = *platform.dispatcher,
                          .capture = [](const DetectedApp&) { return CaptureResult{}; }},
                         AppCatalog::load(bytes.value()), desktop.home());
    model.refresh();
    if (!model.detected->app) {
        std::fputs("refresh_bench: the front application is not recognised\n", stderr);
        return 1;
    }

    if (argc > 1) {
        printGrowth(model, static_cast<int>(std::strtol(argv[1], nullptr, 10)));
        return 0;
    }

    const ProcessRequest listing{
        .program = "/bin/ps", .arguments = {"-axo", "comm="}, .output = ProcessOutput::Capture};
    std::vector<double> listings;
    std::vector<double> refreshes;
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        const double before = cpu(RUSAGE_CHILDREN);
        for (int i = 0; i < kPerRound; ++i) {
            if (!platform.processes->run(listing)) return 1;
        }
        // The listing alone: only what the child used, not what starting and reading it costs here.
        const double alone = cpu(RUSAGE_CHILDREN) - before;
        const double start = cpu(RUSAGE_SELF) + cpu(RUSAGE_CHILDREN);
        for (int i = 0; i < kPerRound; ++i) model.refresh();
        const double refresh = cpu(RUSAGE_SELF) + cpu(RUSAGE_CHILDREN) - start;
        listings.push_back(alone / kPerRound);
        refreshes.push_back(refresh / kPerRound);
        ratios.push_back(refresh / alone);
    }
    std::printf("ps -axo comm= alone   %8.3f ms CPU (median of %d rounds)\n",
                1e3 * median(listings), kRounds);
    std::printf("one refresh, ps in it %8.3f ms CPU\n", 1e3 * median(refreshes));
    std::printf("ratio                 %8.2f    (budget 1.50)\n", median(ratios));
    return 0;
}
