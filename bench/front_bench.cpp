// How long does the question take which application is in front?
//
// Asked of the product's own workspace, on an X server, on sway and on KWin, each with an editor in
// front and two more windows behind, and then with all three standing still; and of what programs
// tell assistive technology, with one of them standing still in the end. The middle of the answers
// is compared with the budget, and the longest of those beside programs that stand still. A desktop
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
/// Of one round while programs stand still: what the panel may be held up by them.
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

/// Whether no round took longer than somebody may notice, while those programs stand still.
bool reportFrozen(const char* name, const std::vector<pid_t>& programs,
                  const std::function<void()>& round) {
    for (const auto program : programs) ::kill(program, SIGSTOP);
    double longest = 0;
    for (int i = 0; i < kFrozenRounds; ++i) longest = std::max(longest, milliseconds(round));
    for (const auto program : programs) ::kill(program, SIGCONT);
    std::printf("%-6s a round beside %zu of 3 that stand still %.2f ms at most (budget %.0f ms)\n",
                name, programs.size(), longest, kFrozenBudget);
    return longest < kFrozenBudget;
}

/// False when a budget is exceeded or nobody is in front.
bool measure(const char* name, const std::map<std::string, std::string>& variables,
             const std::vector<pid_t>& programs) {
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
    const bool quick = report(name, "front application", std::move(times), kBudget);
    // All that the panel asks of a desktop before it is drawn, and what a capture asks first.
    const bool unmoved = reportFrozen(name, programs, [&] {
        (void)ports.workspace->frontmost();
        (void)ports.workspace->runningApplications();
        (void)ports.workspace->silentDisplay();
        (void)ports.windowList->onScreenWindows();
    });
    return quick && unmoved;
}

template <typename Desktop>
std::vector<pid_t> furnish(Desktop& desktop, const std::map<std::string, std::string>& more = {}) {
    return {desktop.start({"mousepad", "--disable-server"}, more),
            desktop.start({"featherpad", "--standalone"}, more),
            desktop.start({"gedit", "--standalone"}, more)};
}

bool onWayland(const char* name, Compositor compositor) {
    if (const auto why = WaylandDesktop::missing(compositor)) {
        std::printf("%-6s %s\n", name, why->c_str());
        return true;
    }
    WaylandDesktop desktop({.compositor = compositor});
    const auto programs = furnish(desktop);
    return measure(name, desktop.environment(), programs);
}

bool onX11() {
    VirtualDesktop desktop;
    const auto programs = furnish(desktop);
    return measure("X11", desktop.environment(), programs);
}

/// By what programs show on the bus of assistive technology, of which one stands still in the end.
bool byAccessibility() {
    VirtualDesktop desktop;
    const std::map<std::string, std::string> speaking{{"NO_AT_BRIDGE", "0"},
                                                      {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}};
    const auto programs = furnish(desktop, speaking);
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
    const bool unmoved = reportFrozen("AT-SPI", {programs.front()}, [&] {
        fakes.clock.time += accessible::kForgotten; // It is waited for again.
        (void)seen->windows();
    });
    return quick && unmoved;
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
