// A Wayland desktop of our own for tests: a compositor without a screen, a session bus, a private
// home folder, and the real programs a test starts on it.
//
//     class SwayTest : public testing::Test {
//         void SetUp() override {
//             if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
//             if (!s_desktop) s_desktop = std::make_unique<WaylandDesktop>(WaylandOptions{});
//         }
//         static void TearDownTestSuite() { s_desktop.reset(); }
//         inline static std::unique_ptr<WaylandDesktop> s_desktop;
//     };
//     s_desktop->start({"mousepad", "--disable-server", file});
//
// sway refuses root, and KWin tells a program by its file only when it may look at the process: a
// test program calls `becomeOrdinaryUser` first of all (wayland_main.cpp does). Starting takes
// between 0.1 s and 1.5 s, so a suite shares one. Everything started here ends with the object, or
// with the test program should it crash. Use it from one thread, the one that made it.

#pragma once

#include "tests/platform/linux/test_programs.h"

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

enum class Compositor { Sway, KWin, GnomeShell };

struct WaylandOptions {
    Compositor compositor = Compositor::Sway;
    int width = 1280; ///< Of its one screen, in pixels.
    int height = 800;
    double scale = 1;
    bool xwayland = false; ///< An X server for X11 programs.
    bool titles = true;    ///< Title bars on KWin. On sway there are none.
    /// Whether KWin lets this very program use what it keeps from others, as it lets the installed
    /// product: by a desktop file that names the program and the interfaces.
    bool known = true;
    /// For everything on the desktop, the compositor too, on top of what `environment()` has. The
    /// accessibility bus of GTK programs is off unless NO_AT_BRIDGE is set to "0" here.
    std::map<std::string, std::string> variables = {};
    std::vector<std::string> more = {}; ///< Of the compositor's command line, at the end.
};

class WaylandDesktop {
public:
    /// What is not installed of what that compositor needs, in a sentence for whoever reads why a
    /// suite was left out; absent when all is here.
    [[nodiscard]] static std::optional<std::string> missing(Compositor compositor);

    /// Throws std::runtime_error that says what went wrong when the desktop cannot be had;
    /// GoogleTest turns that into a failure of the suite.
    explicit WaylandDesktop(WaylandOptions options = {});
    ~WaylandDesktop();
    WaylandDesktop(const WaylandDesktop&) = delete;
    WaylandDesktop& operator=(const WaylandDesktop&) = delete;

    [[nodiscard]] const std::filesystem::path& home() const { return m_home; }
    /// What the programs on this desktop see: WAYLAND_DISPLAY, XDG_RUNTIME_DIR, HOME, the bus
    /// address, SWAYSOCK on sway, DISPLAY with an X server, ...
    [[nodiscard]] const std::map<std::string, std::string>& environment() const {
        return m_environment;
    }
    [[nodiscard]] Compositor compositor() const { return m_options.compositor; }

    /// Starts a program on this desktop, with `more` on top of `environment()`. Its output goes to
    /// `home()/programs.log`. Throws when it cannot be started.
    pid_t start(const std::vector<std::string>& command,
                const std::map<std::string, std::string>& more = {});
    /// Runs it to its end and returns what it printed; empty when it failed.
    std::string outputOf(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& more = {});
    [[nodiscard]] bool running(pid_t program) { return m_programs.running(program); }
    /// Ends a program started here and waits until it is gone: politely, then by force.
    void end(pid_t program) { m_programs.end(program); }

    /// On KWin: has it let this very program use what it keeps from others from now on, once it
    /// notices, as after an installation. At the start this is done for `known`.
    void introduceThisProgram();

    /// Has the compositor stand still and go on, and ends it as a crash would.
    void stopCompositor();
    void continueCompositor();
    void killCompositor();
    /// The same of the session bus.
    void stopBus();
    void continueBus();

    /// A file of that name and content in `home()`.
    std::filesystem::path file(const std::string& name, const std::string& content);

    static bool waitUntil(const std::function<bool()>& condition,
                          std::chrono::milliseconds timeout = std::chrono::seconds(30)) {
        return TestPrograms::waitUntil(condition, timeout);
    }

private:
    void startBus();
    void startCompositor();
    [[nodiscard]] std::vector<std::string> swayCommand();
    [[nodiscard]] std::vector<std::string> kwinCommand();
    [[nodiscard]] std::vector<std::string> gnomeCommand() const;
    void waitForSocket();

    const WaylandOptions m_options;
    std::filesystem::path m_home;
    std::map<std::string, std::string> m_environment;
    TestPrograms m_programs;
    pid_t m_compositor = 0;
    pid_t m_bus = 0;
};

/// Has this very program start again as an ordinary user when it runs as root. Call it before
/// anything else; returns when there is nothing to do.
void becomeOrdinaryUser(char** argv);

} // namespace kelvane
