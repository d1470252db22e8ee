#include "tests/platform/linux/virtual_desktop.h"

#include "platform/linux/common/process_facts.h"

#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kelvane {

using namespace std::chrono_literals;

namespace {

// Who asks, in a message to the window manager: a list of windows, and so the user.
constexpr std::uint32_t kAsPager = 2;

} // namespace

VirtualDesktop::VirtualDesktop(DesktopOptions options)
    : m_home(makeTestHome()),
      m_manager(std::move(options.manager)) {
    const auto runtime = m_home / "runtime";

    const char* const search = std::getenv("PATH");
    m_environment = {
        {"PATH", search != nullptr ? search : "/usr/local/bin:/usr/bin:/bin"},
        {"HOME", m_home.string()},
        {"TMPDIR", (m_home / "tmp").string()},
        {"XDG_RUNTIME_DIR", runtime.string()},
        {"XDG_SESSION_TYPE", "x11"},
        {"LANG", "C.UTF-8"},
        {"GDK_BACKEND", "x11"},
        {"QT_QPA_PLATFORM", "xcb"},
        {"GSETTINGS_BACKEND", "memory"},
        {"NO_AT_BRIDGE", "1"},
    };
    try {
        startServer(options);
        if (options.sessionBus) startBus();
        if (options.windowManager) startWindowManager();
    } catch (...) {
        endEverything();
        throw;
    }
}

VirtualDesktop::~VirtualDesktop() {
    endEverything();
}

void VirtualDesktop::startServer(const DesktopOptions& options) {
    TestPipe pipe;
    std::vector<std::string> command{"Xvfb",         "-displayfd", "3",   "-screen", "0",
                                     options.screen, "-nolisten",  "tcp", "-noreset"};
    for (const auto& extension : options.withoutExtensions) {
        command.insert(command.end(), {"-extension", extension});
    }
    m_server = m_programs.start(command, m_environment, m_home / "server.log", pipe.writing);
    TestPipe::closeEnd(pipe.writing);
    const auto number = pipe.readLine(20s);
    if (number.empty()) {
        throw std::runtime_error("Xvfb did not start; see " + (m_home / "server.log").string());
    }
    m_display = ":" + number;
    m_environment["DISPLAY"] = m_display;
    m_link = X11Connection::open(m_display, kTestPatience);
    if (!m_link) throw std::runtime_error("Xvfb started but nobody answers on " + m_display);
}

void VirtualDesktop::startBus() {
    TestPipe pipe;
    m_programs.start({"dbus-daemon", "--session", "--nofork", "--print-address=3"}, m_environment,
                     m_home / "bus.log", pipe.writing);
    TestPipe::closeEnd(pipe.writing);
    const auto address = pipe.readLine(20s);
    if (address.empty()) throw std::runtime_error("dbus-daemon did not start");
    m_environment["DBUS_SESSION_BUS_ADDRESS"] = address;
}

pid_t VirtualDesktop::startWindowManager() {
    const auto manager = start(m_manager);
    if (!waitUntil([&] { return givesFocus(); })) {
        throw std::runtime_error(m_manager.front() + " did not start");
    }
    return manager;
}

/// A window manager that is still starting takes windows but does not give them the focus. So one
/// is tried, and only once that was in front and is gone is the desktop as a user finds it.
bool VirtualDesktop::givesFocus() {
    auto* const xcb = m_link->xcb();
    const auto probe = xcb_generate_id(xcb);
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, probe, m_link->root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(xcb, probe);
    xcb_flush(xcb);
    const bool focused = waitUntil([&] { return activeWindow() == probe; }, 200ms);
    xcb_destroy_window(xcb, probe);
    xcb_flush(xcb);
    return waitUntil([&] { return windows().empty(); }, 200ms) && focused;
}

pid_t VirtualDesktop::start(const std::vector<std::string>& command,
                            const std::map<std::string, std::string>& more) {
    auto environment = m_environment;
    for (const auto& [name, value] : more) environment[name] = value;
    return m_programs.start(command, environment, m_home / "programs.log");
}

bool VirtualDesktop::running(pid_t program) {
    return m_programs.running(program);
}

void VirtualDesktop::end(pid_t program) {
    m_programs.end(program);
}

void VirtualDesktop::stopServer() {
    ::kill(m_server, SIGSTOP);
    // The signal takes effect some time later; only then is the test about a stopped server.
    waitUntil([&] { return isStopped(m_server); });
}

void VirtualDesktop::continueServer() {
    ::kill(m_server, SIGCONT);
}

void VirtualDesktop::killServer() {
    m_programs.kill(m_server);
    // Only a server that ends in peace clears its traces away.
    std::error_code ignored;
    std::filesystem::remove("/tmp/.X" + m_display.substr(1) + "-lock", ignored);
    std::filesystem::remove("/tmp/.X11-unix/X" + m_display.substr(1), ignored);
}

void VirtualDesktop::endEverything() noexcept {
    m_link.reset();
    // Programs die quickest when told directly; the server goes last and in peace.
    m_programs.killAllBut(m_server);
    m_programs.end(m_server);
    std::error_code ignored;
    std::filesystem::remove_all(m_home, ignored);
}

std::vector<DesktopWindow> VirtualDesktop::windows() {
    std::vector<DesktopWindow> found;
    const auto list = m_link->property(m_link->root(), m_link->atom("_NET_CLIENT_LIST"), 65536);
    if (!list) return found;
    for (const auto id : list->words()) {
        const auto name = m_link->property(id, XCB_ATOM_WM_CLASS);
        const auto pid = m_link->property(id, m_link->atom("_NET_WM_PID"));
        auto title = m_link->property(id, m_link->atom("_NET_WM_NAME"));
        if (!title) title = m_link->property(id, XCB_ATOM_WM_NAME);
        DesktopWindow window;
        window.window = id;
        if (name) {
            const auto cut = name->bytes.find('\0');
            window.instance = name->bytes.substr(0, cut);
            if (cut != std::string::npos) {
                window.wmClass = name->bytes.substr(cut + 1);
                window.wmClass.resize(std::min(window.wmClass.find('\0'), window.wmClass.size()));
            }
        }
        if (pid) window.pid = static_cast<pid_t>(pid->firstWord().value_or(0));
        if (title) window.title = title->bytes;
        found.push_back(std::move(window));
    }
    return found;
}

std::optional<DesktopWindow> VirtualDesktop::waitForWindow(const Predicate& wanted,
                                                           std::chrono::milliseconds timeout) {
    std::optional<DesktopWindow> found;
    waitUntil(
        [&] {
            for (const auto& window : windows()) {
                if (wanted(window)) {
                    found = window;
                    return true;
                }
            }
            return false;
        },
        timeout);
    return found;
}

bool VirtualDesktop::waitUntil(const std::function<bool()>& condition,
                               std::chrono::milliseconds timeout) {
    return TestPrograms::waitUntil(condition, timeout);
}

VirtualDesktop::Predicate VirtualDesktop::ofClass(std::string wmClass) {
    return [wmClass = std::move(wmClass)](const DesktopWindow& window) {
        return window.wmClass == wmClass;
    };
}

VirtualDesktop::Predicate VirtualDesktop::ofPid(pid_t pid) {
    return [pid](const DesktopWindow& window) { return window.pid == pid; };
}

xcb_window_t VirtualDesktop::activeWindow() {
    const auto active = m_link->property(m_link->root(), m_link->atom("_NET_ACTIVE_WINDOW"));
    return active ? active->firstWord().value_or(0) : 0;
}

bool VirtualDesktop::activate(xcb_window_t window) {
    askManager(window, "_NET_ACTIVE_WINDOW", {kAsPager});
    return waitUntil([&] { return activeWindow() == window; });
}

void VirtualDesktop::close(xcb_window_t window) {
    askManager(window, "_NET_CLOSE_WINDOW", {XCB_CURRENT_TIME, kAsPager});
}

void VirtualDesktop::askManager(xcb_window_t window, std::string_view what,
                                std::initializer_list<std::uint32_t> words) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_link->atom(what);
    std::ranges::copy(words, message.data.data32);
    xcb_send_event(m_link->xcb(), 0, m_link->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(m_link->xcb());
}

bool VirtualDesktop::hasDealtWithEverything(xcb_window_t window) {
    // The answer goes to the root window, where a window manager's own questions are answered too:
    // a link of its own sees it without taking anything from the fixture's.
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> link(
        xcb_connect(m_display.c_str(), nullptr), xcb_disconnect);
    auto* const xcb = link.get();
    // GTK answers to the one mask, Qt to the other.
    const std::uint32_t notifications =
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(xcb, m_link->root(), XCB_CW_EVENT_MASK, &notifications);
    xcb_client_message_event_t question{};
    question.response_type = XCB_CLIENT_MESSAGE;
    question.format = 32;
    question.window = window;
    question.type = m_link->atom("WM_PROTOCOLS");
    question.data.data32[0] = m_link->atom("_NET_WM_PING");
    question.data.data32[1] = XCB_CURRENT_TIME;
    question.data.data32[2] = window;
    xcb_send_event(xcb, 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&question));
    xcb_flush(xcb);
    return waitUntil([&] {
        while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) {
            if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE) continue;
            const auto& answer = reinterpret_cast<const xcb_client_message_event_t&>(*event);
            if (answer.data.data32[0] == question.data.data32[0] &&
                answer.data.data32[2] == window) {
                return true;
            }
        }
        return false;
    });
}

} // namespace kelvane
