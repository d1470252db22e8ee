#include "tests/platform/linux/virtual_desktop.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

std::string findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) return name;
    const char* const value = std::getenv("PATH");
    const std::string path = value != nullptr ? value : "/usr/local/bin:/usr/bin:/bin";
    for (std::size_t begin = 0; begin <= path.size();) {
        const auto end = std::min(path.find(':', begin), path.size());
        const auto candidate = path.substr(begin, end - begin) + "/" + name;
        if (::access(candidate.c_str(), X_OK) == 0) return candidate;
        begin = end + 1;
    }
    throw std::runtime_error("The desktop tests need the program \"" + name +
                             "\", which is not installed (see scripts/bootstrap).");
}

struct Pipe {
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
        reading = ends[0];
        writing = ends[1];
    }
    ~Pipe() {
        closeEnd(reading);
        closeEnd(writing);
    }
    static void closeEnd(int& end) {
        if (end >= 0) ::close(end);
        end = -1;
    }
    int reading = -1;
    int writing = -1;
};

/// Starts a program in a process group of its own. `said`, when given, arrives there as
/// descriptor 3.
pid_t launch(const std::vector<std::string>& command,
             const std::map<std::string, std::string>& environment,
             const std::filesystem::path& log, int said = -1) {
    const auto program = findProgram(command.at(0));
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
    std::vector<char*> arguments;
    for (const auto& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    std::vector<char*> block;
    for (const auto& entry : variables) block.push_back(const_cast<char*>(entry.c_str()));
    block.push_back(nullptr);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output =
        ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);

    const pid_t child = ::fork();
    if (child == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(null, 0);
        ::dup2(output, 1);
        ::dup2(output, 2);
        if (said >= 0) ::dup2(said, 3);
        ::execve(program.c_str(), arguments.data(), block.data());
        ::_exit(127);
    }
    ::close(null);
    ::close(output);
    if (child < 0) throw std::runtime_error("fork failed for " + program);
    ::setpgid(child, child); // Also here: whoever comes first, it is done before we signal it.
    return child;
}

std::string readLine(int descriptor, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string line;
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd waiting{descriptor, POLLIN, 0};
        if (::poll(&waiting, 1, 100) <= 0) continue;
        char c = 0;
        const auto got = ::read(descriptor, &c, 1);
        if (got <= 0 || c == '\n') break;
        line.push_back(c);
    }
    return line;
}

} // namespace

VirtualDesktop::VirtualDesktop(DesktopOptions options) : m_manager(options.manager) {
    const std::string model =
        (std::filesystem::temp_directory_path() / "kelvane-desktop-XXXXXX").string();
    std::vector<char> path(model.begin(), model.end());
    path.push_back('\0');
    if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("cannot make a home folder");
    m_home = path.data();
    const auto runtime = m_home / "runtime";
    std::filesystem::create_directories(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);

    const char* const search = std::getenv("PATH");
    m_environment = {
        {"PATH", search != nullptr ? search : "/usr/local/bin:/usr/bin:/bin"},
        {"HOME", m_home.string()},
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
    Pipe pipe;
    std::vector<std::string> command{"Xvfb",         "-displayfd", "3",   "-screen", "0",
                                     options.screen, "-nolisten",  "tcp", "-noreset"};
    for (const auto& extension : options.withoutExtensions) {
        command.insert(command.end(), {"-extension", extension});
    }
    m_server = launch(command, m_environment, m_home / "server.log", pipe.writing);
    m_programs.push_back(m_server);
    Pipe::closeEnd(pipe.writing);
    const auto number = readLine(pipe.reading, 20s);
    if (number.empty()) {
        throw std::runtime_error("Xvfb did not start; see " + (m_home / "server.log").string());
    }
    m_display = ":" + number;
    m_environment["DISPLAY"] = m_display;
    m_link = X11Connection::open(m_display);
    if (!m_link) throw std::runtime_error("Xvfb started but nobody answers on " + m_display);
}

void VirtualDesktop::startBus() {
    Pipe pipe;
    m_programs.push_back(launch({"dbus-daemon", "--session", "--nofork", "--print-address=3"},
                                m_environment, m_home / "bus.log", pipe.writing));
    Pipe::closeEnd(pipe.writing);
    const auto address = readLine(pipe.reading, 20s);
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
    const auto child = launch(command, environment, m_home / "programs.log");
    m_programs.push_back(child);
    return child;
}

bool VirtualDesktop::running(pid_t program) {
    const auto known = std::find(m_programs.begin(), m_programs.end(), program);
    if (known == m_programs.end()) return false;
    if (::waitpid(program, nullptr, WNOHANG) == 0) return true;
    m_programs.erase(known);
    return false;
}

void VirtualDesktop::end(pid_t program) {
    if (!running(program)) return;
    ::kill(-program, SIGCONT);
    ::kill(-program, SIGTERM);
    if (waitUntil([&] { return !running(program); }, 2s)) return;
    reap(program);
}

void VirtualDesktop::reap(pid_t program) {
    const auto known = std::find(m_programs.begin(), m_programs.end(), program);
    if (known == m_programs.end()) return;
    m_programs.erase(known);
    ::kill(-program, SIGKILL);
    while (::waitpid(program, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void VirtualDesktop::killServer() {
    reap(m_server);
    // Only a server that ends in peace clears its traces away.
    std::error_code ignored;
    std::filesystem::remove("/tmp/.X" + m_display.substr(1) + "-lock", ignored);
    std::filesystem::remove("/tmp/.X11-unix/X" + m_display.substr(1), ignored);
}

void VirtualDesktop::endEverything() noexcept {
    m_link.reset();
    // Programs die quickest when told directly; the server goes last and in peace.
    while (m_programs.size() > 1 || (m_programs.size() == 1 && m_programs.front() != m_server)) {
        reap(m_programs.back());
    }
    if (!m_programs.empty()) end(m_server);
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
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return condition();
        std::this_thread::sleep_for(5ms);
    }
    return true;
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
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_link->atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2; // As a pager: the user asked for it.
    xcb_send_event(m_link->xcb(), 0, m_link->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(m_link->xcb());
    return waitUntil([&] { return activeWindow() == window; });
}

} // namespace kelvane
