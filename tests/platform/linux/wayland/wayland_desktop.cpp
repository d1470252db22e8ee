#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <grp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

constexpr uid_t kNobody = 65534;

/// The folder and the name of a compositor's socket, once somebody listens there.
std::string socketIn(const std::filesystem::path& runtime) {
    std::error_code ignored;
    for (const auto& file : std::filesystem::directory_iterator(runtime, ignored)) {
        auto name = file.path().filename().string();
        if (!name.starts_with("wayland-") || name.ends_with(".lock")) continue;
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        file.path().string().copy(address.sun_path, sizeof address.sun_path - 1);
        const bool there =
            ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(socket);
        if (there) return name;
    }
    return {};
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void stop(pid_t program) {
    ::kill(program, SIGSTOP);
    // The signal takes effect some time later; only then is the test about a stopped program.
    WaylandDesktop::waitUntil([&] {
        const auto line = contentOf("/proc/" + std::to_string(program) + "/stat");
        return line.find(") T") != std::string::npos;
    });
}

} // namespace

std::optional<std::string> WaylandDesktop::missing(Compositor compositor) {
    std::vector<std::string> wanted{"dbus-daemon"};
    if (compositor == Compositor::Sway) wanted.insert(wanted.end(), {"sway"});
    if (compositor == Compositor::KWin) {
        wanted.insert(wanted.end(), {"kwin_wayland", "kbuildsycoca5"});
    }
    if (compositor == Compositor::GnomeShell) wanted.insert(wanted.end(), {"gnome-shell"});
    for (const auto& program : wanted) {
        if (installedProgram(program)) continue;
        return "NOT TESTED: " + program + " is not installed (scripts/bootstrap test)";
    }
    return std::nullopt;
}

WaylandDesktop::WaylandDesktop(WaylandOptions options)
    : m_options(std::move(options)),
      m_home(makeTestHome()) {
    const char* const search = std::getenv("PATH");
    m_environment = {
        {"PATH", search != nullptr ? search : "/usr/local/bin:/usr/bin:/bin"},
        {"HOME", m_home.string()},
        {"TMPDIR", (m_home / "tmp").string()},
        {"XDG_RUNTIME_DIR", (m_home / "runtime").string()},
        {"XDG_SESSION_TYPE", "wayland"},
        {"LANG", "C.UTF-8"},
        {"QT_QPA_PLATFORM", "wayland"},
        {"MOZ_ENABLE_WAYLAND", "1"},
        {"GSETTINGS_BACKEND", "memory"},
        {"GSK_RENDERER", "cairo"}, // GTK 4 would draw by OpenGL, without a GPU.
        {"NO_AT_BRIDGE", "1"},
    };
    for (const auto& [name, value] : m_options.variables) m_environment[name] = value;
    if (m_environment["NO_AT_BRIDGE"] == "0") m_environment.erase("NO_AT_BRIDGE");
    try {
        startBus();
        if (m_options.compositor == Compositor::KWin && m_options.known) introduceThisProgram();
        startCompositor();
    } catch (...) {
        m_programs.killAllBut(0);
        throw;
    }
}

WaylandDesktop::~WaylandDesktop() {
    // Programs first, the compositor in peace, and the bus with all that it started last.
    const auto bus = m_bus;
    if (bus != 0) continueBus();
    if (m_compositor != 0) {
        continueCompositor();
        m_programs.end(m_compositor);
    }
    m_programs.killAllBut(bus);
    m_programs.end(bus);
    std::error_code ignored;
    std::filesystem::remove_all(m_home, ignored);
}

void WaylandDesktop::startBus() {
    TestPipe pipe;
    m_bus = m_programs.start({"dbus-daemon", "--session", "--nofork",
                              "--address=unix:path=" + (m_home / "runtime/bus").string(),
                              "--print-address=3"},
                             m_environment, m_home / "bus.log", pipe.writing);
    TestPipe::closeEnd(pipe.writing);
    const auto address = pipe.readLine(20s);
    if (address.empty()) throw std::runtime_error("dbus-daemon did not start");
    m_environment["DBUS_SESSION_BUS_ADDRESS"] = address;
}

void WaylandDesktop::introduceThisProgram() {
    std::error_code ignored;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ignored);
    const auto folder = m_home / ".local/share/applications";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "kelvane-test.desktop")
        << "[Desktop Entry]\nType=Application\nName=Test\nNoDisplay=true\nExec=" << self.string()
        << "\nX-KDE-Wayland-Interfaces=org_kde_kwin_fake_input,org_kde_plasma_window_management\n"
           "X-KDE-DBUS-Restricted-Interfaces=org.kde.KWin.ScreenShot2\n";
    const auto indexing = start({"kbuildsycoca5"});
    if (!waitUntil([&] { return !running(indexing); })) {
        throw std::runtime_error("kbuildsycoca5 does not end");
    }
}

std::vector<std::string> WaylandDesktop::swayCommand() {
    m_environment["SWAYSOCK"] = (m_home / "runtime/sway.sock").string();
    const auto config = file(
        "sway.conf",
        "output HEADLESS-1 resolution " + std::to_string(m_options.width) + "x" +
            std::to_string(m_options.height) + " scale " + std::to_string(m_options.scale) +
            "\ndefault_border none\nfocus_follows_mouse no\nfocus_on_window_activation focus\n" +
            "xwayland " + (m_options.xwayland ? "enable" : "disable") + "\n" +
            (m_options.xwayland ? "exec 'echo $DISPLAY > " + (m_home / "display").string() + "'\n"
                                : ""));
    return {"sway", "-c", config.string()};
}

std::vector<std::string> WaylandDesktop::kwinCommand() {
    // A copy has none of the file's capabilities, with which it would refuse to be looked at.
    const auto copy = m_home / "programs/kwin_wayland";
    std::filesystem::create_directories(copy.parent_path());
    std::filesystem::copy_file(*installedProgram("kwin_wayland"), copy);
    if (!m_options.titles) {
        // Qt would draw one itself.
        m_environment["QT_WAYLAND_DISABLE_WINDOWDECORATION"] = "1";
        std::filesystem::create_directories(m_home / ".config");
        file(".config/kwinrc", "[org.kde.kdecoration2]\nNoPlugin=true\n");
    }
    std::ostringstream scale;
    scale << m_options.scale;
    std::vector<std::string> command{copy.string(),     "--virtual",
                                     "--width",         std::to_string(m_options.width),
                                     "--height",        std::to_string(m_options.height),
                                     "--no-lockscreen", "--scale",
                                     scale.str(),       "--socket",
                                     "wayland-test"};
    if (m_options.xwayland) {
        const auto script = file("tell-display", "#!/bin/sh\necho $DISPLAY > " +
                                                     (m_home / "display").string() + "\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        command.insert(command.end(), {"--xwayland", script.string()});
    }
    return command;
}

std::vector<std::string> WaylandDesktop::gnomeCommand() const {
    std::vector<std::string> command{"gnome-shell",
                                     "--headless",
                                     "--wayland",
                                     "--virtual-monitor",
                                     std::to_string(m_options.width) + "x" +
                                         std::to_string(m_options.height),
                                     "--wayland-display=wayland-test"};
    if (!m_options.xwayland) command.push_back("--no-x11");
    return command;
}

void WaylandDesktop::startCompositor() {
    auto environment = m_environment;
    std::vector<std::string> command;
    switch (m_options.compositor) {
    case Compositor::Sway:
        command = swayCommand();
        m_environment["XDG_CURRENT_DESKTOP"] = "sway";
        environment["SWAYSOCK"] = m_environment["SWAYSOCK"];
        environment["WLR_BACKENDS"] = "headless";
        environment["WLR_RENDERER"] = "pixman";
        environment["WLR_LIBINPUT_NO_DEVICES"] = "1";
        break;
    case Compositor::KWin:
        command = kwinCommand();
        m_environment["XDG_CURRENT_DESKTOP"] = "KDE";
        environment["KWIN_COMPOSE"] = "O2";
        environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
        break;
    case Compositor::GnomeShell:
        command = gnomeCommand();
        m_environment["XDG_CURRENT_DESKTOP"] = "GNOME";
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = m_environment["DBUS_SESSION_BUS_ADDRESS"];
        environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
        break;
    }
    command.insert(command.end(), m_options.more.begin(), m_options.more.end());
    environment["XDG_CURRENT_DESKTOP"] = m_environment["XDG_CURRENT_DESKTOP"];
    environment.erase("QT_QPA_PLATFORM");
    m_compositor = m_programs.start(command, environment, m_home / "compositor.log");
    waitForSocket();
    const auto told = start({"dbus-update-activation-environment", "WAYLAND_DISPLAY",
                             "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE", "XDG_RUNTIME_DIR", "HOME"});
    waitUntil([&] { return !running(told); });
}

void WaylandDesktop::waitForSocket() {
    std::string name;
    const bool up = waitUntil([&] {
        name = socketIn(m_home / "runtime");
        return !name.empty() || !running(m_compositor);
    });
    if (!up || name.empty()) {
        throw std::runtime_error("the compositor did not start: " +
                                 contentOf(m_home / "compositor.log"));
    }
    m_environment["WAYLAND_DISPLAY"] = name;
    if (!m_options.xwayland) return;
    std::string display;
    waitUntil([&] {
        display = contentOf(m_home / "display");
        return display.ends_with('\n');
    });
    if (display.size() < 2) throw std::runtime_error("the compositor started no X server");
    display.pop_back();
    m_environment["DISPLAY"] = display;
}

pid_t WaylandDesktop::start(const std::vector<std::string>& command,
                            const std::map<std::string, std::string>& more) {
    auto environment = m_environment;
    for (const auto& [name, value] : more) environment[name] = value;
    return m_programs.start(command, environment, m_home / "programs.log");
}

std::string WaylandDesktop::outputOf(const std::vector<std::string>& command,
                                     const std::map<std::string, std::string>& more) {
    auto environment = m_environment;
    for (const auto& [name, value] : more) environment[name] = value;
    const auto output = m_home / "output";
    std::error_code ignored;
    std::filesystem::remove(output, ignored);
    const auto program = m_programs.start(command, environment, output);
    waitUntil([&] {
        // GNOME Shell starts ibus-daemon by a script of its own that runs in the fork. It stood
        // still there once in some 200 starts, and then answered nobody.
        if (m_options.compositor == Compositor::GnomeShell) m_programs.endStuckForks(m_compositor);
        return !running(program);
    });
    return contentOf(output);
}

void WaylandDesktop::stopCompositor() {
    stop(m_compositor);
}

void WaylandDesktop::continueCompositor() {
    ::kill(m_compositor, SIGCONT);
}

void WaylandDesktop::killCompositor() {
    m_programs.kill(m_compositor);
}

void WaylandDesktop::stopBus() {
    stop(m_bus);
}

void WaylandDesktop::continueBus() {
    ::kill(m_bus, SIGCONT);
}

std::filesystem::path WaylandDesktop::file(const std::string& name, const std::string& content) {
    auto path = m_home / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

void becomeOrdinaryUser(char** argv) {
    if (::geteuid() != 0) return;
    std::array<char, PATH_MAX> self{};
    const auto size = ::readlink("/proc/self/exe", self.data(), self.size() - 1);
    const bool changed = size > 0 && ::setgroups(0, nullptr) == 0 &&
                         ::setresgid(kNobody, kNobody, kNobody) == 0 &&
                         ::setresuid(kNobody, kNobody, kNobody) == 0;
    // Started anew, so that others of the user may look at the process again.
    if (changed) ::execv(self.data(), argv);
    std::fprintf(stderr, "cannot become an ordinary user: %s\n", std::strerror(errno));
    std::exit(1);
}

} // namespace kelvane
