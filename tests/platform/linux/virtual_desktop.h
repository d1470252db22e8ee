// A desktop of our own for tests: an X server without a screen, a window manager, a session bus, a
// private home folder, and the real programs a test starts on it.
//
//     class X11WorkspaceTest : public testing::Test {
//         static void SetUpTestSuite() { s_desktop = std::make_unique<VirtualDesktop>(); }
//         static void TearDownTestSuite() { s_desktop.reset(); }
//         inline static std::unique_ptr<VirtualDesktop> s_desktop;
//     };
//     s_desktop->start({"mousepad", "--disable-server"});
//     const auto window = s_desktop->waitForWindow(VirtualDesktop::ofClass("Mousepad"));
//     ASSERT_TRUE(window);
//
// Starting takes about 0.2 s, so a suite shares one. Everything started here ends with the object,
// or with the test program should it crash. Use it from one thread, the one that made it.

#pragma once

#include "platform/linux/x11/x11_connection.h"
#include "tests/platform/linux/test_programs.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct DesktopOptions {
    std::string screen = "1600x1000x24"; ///< Width x height x depth.
    bool windowManager = true;
    std::vector<std::string> manager = {"openbox", "--sm-disable"}; ///< Its command.
    bool sessionBus = true;
    std::vector<std::string> withoutExtensions = {}; ///< Of the server, like "XTEST".
};

/// One managed top-level window, as the window manager lists it.
struct DesktopWindow {
    xcb_window_t window = XCB_WINDOW_NONE;
    std::string instance; ///< First half of WM_CLASS.
    std::string wmClass;  ///< Second half.
    std::string title;
    pid_t pid = 0; ///< _NET_WM_PID, 0 when not set.
};

/// How long the links of tests wait for the server. A machine may be busy for a while.
inline constexpr std::chrono::seconds kTestPatience{60};

class VirtualDesktop {
public:
    using Predicate = std::function<bool(const DesktopWindow&)>;

    /// Throws std::runtime_error that says what is missing when the desktop cannot be had;
    /// GoogleTest turns that into a failure of the suite.
    explicit VirtualDesktop(DesktopOptions options = {});
    ~VirtualDesktop();
    VirtualDesktop(const VirtualDesktop&) = delete;
    VirtualDesktop& operator=(const VirtualDesktop&) = delete;

    [[nodiscard]] const std::string& display() const { return m_display; } ///< Like ":7".
    [[nodiscard]] const std::filesystem::path& home() const { return m_home; }
    /// What the programs on this desktop see: DISPLAY, HOME, XDG_RUNTIME_DIR, the bus address, ...
    [[nodiscard]] const std::map<std::string, std::string>& environment() const {
        return m_environment;
    }

    /// Starts a program on this desktop, with `more` on top of `environment()`. Its output goes to
    /// `home()/programs.log`. Throws when it cannot be started.
    pid_t start(const std::vector<std::string>& command,
                const std::map<std::string, std::string>& more = {});
    /// For a desktop made without one. Returns when new windows get the focus.
    pid_t startWindowManager();
    /// Whether a program started here still runs.
    [[nodiscard]] bool running(pid_t program);
    /// Ends a program started here and waits until it is gone: politely, then by force.
    void end(pid_t program);

    /// Ends the X server at once, as a crash would.
    void killServer();
    /// Has the X server stand still and go on. Nothing else of this object may be used meanwhile:
    /// it would wait.
    void stopServer();
    void continueServer();

    /// All managed windows, oldest first. Empty when the server is gone.
    [[nodiscard]] std::vector<DesktopWindow> windows();
    // What a test waits for takes a moment, or minutes on a machine that is busy: the limits say
    // when it is not going to happen.

    /// The first window that `wanted` accepts, waiting for it if need be; absent after `timeout`.
    [[nodiscard]] std::optional<DesktopWindow>
    waitForWindow(const Predicate& wanted,
                  std::chrono::milliseconds timeout = std::chrono::seconds(60));
    /// Looks at `condition` every few milliseconds until it holds; false after `timeout`.
    static bool waitUntil(const std::function<bool()>& condition,
                          std::chrono::milliseconds timeout = std::chrono::seconds(60));

    [[nodiscard]] static Predicate ofClass(std::string wmClass);
    [[nodiscard]] static Predicate ofPid(pid_t pid);

    /// Which window the window manager calls active; 0 when none.
    [[nodiscard]] xcb_window_t activeWindow();
    /// Makes a window the active one and waits until it is. False when that did not happen.
    bool activate(xcb_window_t window);
    /// Asks the window manager to close a window, as the cross on its bar in a list of windows
    /// does; its program decides what comes of it.
    void close(xcb_window_t window);
    /// Has a window's program answer whether it lives (_NET_WM_PING). The question stands in its
    /// queue behind every key and press that it has been sent before. False when no answer came.
    [[nodiscard]] bool hasDealtWithEverything(xcb_window_t window);

    /// The fixture's own link to the server, for whatever else a test wants to see or do.
    [[nodiscard]] X11Connection& link() { return *m_link; }

private:
    void startServer(const DesktopOptions& options);
    void startBus();
    bool givesFocus();
    /// Sends the window manager what a list of windows would.
    void askManager(xcb_window_t window, std::string_view what,
                    std::initializer_list<std::uint32_t> words);
    void endEverything() noexcept;

    std::filesystem::path m_home;
    std::string m_display;
    std::map<std::string, std::string> m_environment;
    TestPrograms m_programs;
    pid_t m_server = 0;
    std::vector<std::string> m_manager;
    std::shared_ptr<X11Connection> m_link;
};

} // namespace kelvane
