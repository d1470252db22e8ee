// How long does the question take which application is in front?
//
// Asked of the product's own workspace, on an X server, on sway and on KWin, each with an editor in
// front and two more windows behind; and of what programs tell assistive technology, with one of
// them standing still besides. The middle of the answers is compared with the budget. A desktop
// that is not installed is left out, with a word.

#include "platform/fake/fakes.h"
#include "platform/linux/accessibility/accessible_desktop.h"
#include "platform/linux/desktop_files.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/rules/accessible_tree.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <signal.h>

namespace {

using namespace kelvane;

constexpr int kAnswers = 200;
constexpr double kBudget = 5; ///< Milliseconds.
constexpr double kAccessibleBudget = 10;
/// Of one round while a program stands still: what the panel may be held up by it.
constexpr double kFrozenBudget = 300;
constexpr int kFrozenRounds = 10;

double milliseconds(const std::function<void()>& action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

/// Whether the middle of the times is within the budget; none is not.
bool report(const char* name, const char* what, std::vector<double> times, double budget) {
    if (times.empty()) return false;
    std::sort(times.begin(), times.end());
    const double middle = times[times.size() / 2];
    std::printf("%-6s %s %.2f ms (95 %% within %.2f ms, budget %.0f ms)\n", name, what, middle,
                times[times.size() * 95 / 100], budget);
    return middle < budget;
}

/// False when the budget is exceeded or nobody is in front.
bool measure(const char* name, const std::map<std::string, std::string>& variables) {
    FakePlatform fakes;
    for (const auto& [key, value] : variables) fakes.environment.variables[key] = value;
    const auto ports = makeLinuxDesktop(fakes.environment, fakes.clock, fakes.ownFocus);
    if (!TestPrograms::waitUntil([&] {
            (void)ports.limits
                ->now(); // A compositor that does not know this program yet is asked again.
            return ports.workspace->runningApplications().size() >= 3 &&
                   ports.workspace->frontmost().has_value();
        })) {
        std::printf("%-6s nobody is in front\n", name);
        return false;
    }
    std::vector<double> times;
    for (int i = 0; i < kAnswers; ++i) {
        bool answered = false;
        const double took =
            milliseconds([&] { answered = ports.workspace->frontmost().has_value(); });
        if (answered) times.push_back(took);
    }
    return report(name, "front application", std::move(times), kBudget);
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

/// By what programs show on the bus of assistive technology, of which one stands still in the end.
bool byAccessibility() {
    VirtualDesktop desktop;
    const std::map<std::string, std::string> speaking{{"NO_AT_BRIDGE", "0"},
                                                      {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}};
    const pid_t editor = desktop.start({"mousepad", "--disable-server"}, speaking);
    desktop.start({"featherpad", "--standalone"}, speaking);
    desktop.start({"gedit", "--standalone"}, speaking);
    FakePlatform fakes;
    const auto files = std::make_shared<DesktopFiles>(
        std::vector<std::filesystem::path>{"/usr/share"}, "", fakes.clock);
    const auto seen = openAccessibleDesktop(
        {.session = desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"), .accessibility = {}},
        [files] { return files->index(); }, fakes.clock, fakes.ownFocus);
    // A program that was passed over while it started is asked again as if later.
    if (!TestPrograms::waitUntil([&] {
            fakes.clock.time += accessible::kForgotten;
            return seen->windows().size() >= 3 && seen->front().has_value();
        })) {
        std::printf("AT-SPI nobody is in front\n");
        return false;
    }
    std::vector<double> times;
    for (int i = 0; i < kAnswers; ++i) {
        bool answered = false;
        const double took = milliseconds([&] { answered = seen->front().has_value(); });
        if (answered) times.push_back(took);
    }
    const bool quick = report("AT-SPI", "front application", std::move(times), kAccessibleBudget);
    ::kill(editor, SIGSTOP);
    times.clear();
    for (int i = 0; i < kFrozenRounds; ++i) {
        fakes.clock.time += accessible::kForgotten; // It is waited for again.
        times.push_back(milliseconds([&] { (void)seen->windows(); }));
    }
    ::kill(editor, SIGCONT);
    // The longest is what somebody may notice.
    const double longest = *std::ranges::max_element(times);
    std::printf(
        "AT-SPI a round beside a program that stands still %.0f ms at most (budget %.0f ms)\n",
        longest, kFrozenBudget);
    return quick && longest < kFrozenBudget;
}

} // namespace

int main(int, char** argv) {
    becomeOrdinaryUser(argv);
    try {
        const bool all[] = {onX11(), onWayland("sway", Compositor::Sway),
                            onWayland("KWin", Compositor::KWin), byAccessibility()};
        return std::ranges::all_of(all, [](bool one) { return one; }) ? 0 : 1;
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
