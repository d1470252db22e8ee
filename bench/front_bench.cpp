// How long does the question take which application is in front?
//
// Asked of the product's own workspace, on an X server, on sway and on KWin, each with an editor in
// front and two more windows behind. The middle of 200 answers is compared with the budget. A
// desktop that is not installed is left out, with a word.

#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace kelvane;

constexpr int kAnswers = 200;
constexpr double kBudget = 5; ///< Milliseconds.

/// False when the budget is exceeded or nobody is in front.
bool measure(const char* name, const std::map<std::string, std::string>& variables) {
    FakePlatform fakes;
    for (const auto& [key, value] : variables) fakes.environment.variables[key] = value;
    const auto ports = makeLinuxDesktop(fakes.environment, fakes.clock, fakes.ownFocus);
    if (!TestPrograms::waitUntil([&] {
            return ports.workspace->runningApplications().size() >= 3 &&
                   ports.workspace->frontmost().has_value();
        })) {
        std::printf("%-6s nobody is in front\n", name);
        return false;
    }
    std::vector<double> times;
    for (int i = 0; i < kAnswers; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        const bool answered = ports.workspace->frontmost().has_value();
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - begin;
        if (answered) times.push_back(took.count());
    }
    if (times.empty()) return false;
    std::sort(times.begin(), times.end());
    const double middle = times[times.size() / 2];
    std::printf("%-6s front application %.2f ms (95 %% within %.2f ms, budget %.0f ms)\n", name,
                middle, times[times.size() * 95 / 100], kBudget);
    return middle < kBudget;
}

template <typename Desktop>
void furnish(Desktop& desktop) {
    desktop.start({"mousepad", "--disable-server"});
    desktop.start({"featherpad"});
    desktop.start({"gedit", "--standalone"});
}

bool onWayland(const char* name, Compositor compositor) {
    if (const auto why = WaylandDesktop::missing(compositor)) {
        std::printf("%-6s %s\n", name, why->c_str());
        return true;
    }
    WaylandDesktop desktop({.compositor = compositor});
    furnish(desktop);
    return measure(name, desktop.environment());
}

bool onX11() {
    VirtualDesktop desktop;
    furnish(desktop);
    return measure("X11", desktop.environment());
}

} // namespace

int main(int, char** argv) {
    becomeOrdinaryUser(argv);
    try {
        const bool all[] = {onX11(), onWayland("sway", Compositor::Sway),
                            onWayland("KWin", Compositor::KWin)};
        return std::ranges::all_of(all, [](bool one) { return one; }) ? 0 : 1;
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
