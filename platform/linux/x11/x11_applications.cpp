#include "platform/linux/x11/x11_applications.h"

#include "platform/linux/x11/x11_processes.h"
#include "text/unicode.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <tuple>
#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLongestChain = 8;
constexpr std::uint32_t kLongestList = 1 << 20; ///< Bytes: some 260,000 windows.
constexpr std::array<std::string_view, 11> kAtoms{
    "_NET_ACTIVE_WINDOW",  "_NET_CLIENT_LIST",         "_NET_CLIENT_LIST_STACKING",
    "_NET_WM_PID",         "_NET_SUPPORTING_WM_CHECK", "_NET_WM_STATE",
    "_NET_WM_DESKTOP",     "_NET_CURRENT_DESKTOP",     "_NET_WM_WINDOW_TYPE",
    "_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE",
};

std::string textOf(const std::optional<X11Property>& property) {
    if (!property) return {};
    auto text = text::utf8FromOutside(property->text().value_or(""));
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::pair<std::string, std::string> classOf(const std::optional<X11Property>& property) {
    const auto bytes = property ? property->text().value_or("") : std::string();
    const auto cut = std::min(bytes.find('\0'), bytes.size());
    const auto rest = std::string_view(bytes).substr(std::min(cut + 1, bytes.size()));
    return {text::utf8FromOutside(std::string_view(bytes).substr(0, cut)),
            text::utf8FromOutside(rest.substr(0, rest.find('\0')))};
}

/// The beginning of a small file of the kernel's or a sandbox's; empty when it cannot be read.
std::string beginningOf(const std::string& path) {
    std::string bytes(4096, '\0');
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return {};
    ssize_t got = 0;
    do {
        got = ::read(file, bytes.data(), bytes.size());
    } while (got < 0 && errno == EINTR);
    ::close(file);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

std::string hostName() {
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return {};
    return name.data();
}

bool sameHost(std::string_view one, std::string_view other) {
    // One may carry its domain and the other not.
    return one.substr(0, one.find('.')) == other.substr(0, other.find('.'));
}

} // namespace

X11Applications::X11Applications(std::shared_ptr<X11Connection> connection,
                                 InstalledEntries installed)
    : m_connection(std::move(connection)),
      m_installed(std::move(installed)),
      m_host(hostName()),
      m_serverTellsProcesses(serverTellsProcesses(*m_connection)) {
    m_connection->internAtoms(kAtoms);
}

std::optional<ApplicationWindow> X11Applications::active() {
    auto& x = *m_connection;
    x.dropEvents();
    const auto activeCookie = x.askProperty(x.root(), x.atom("_NET_ACTIVE_WINDOW"));
    const auto managerCookie = x.askProperty(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK"));
    const auto activeProperty = x.takeProperty(activeCookie);
    const auto managerProperty = x.takeProperty(managerCookie);
    const auto window = activeProperty ? activeProperty->firstWord().value_or(0) : 0;
    const auto manager = managerProperty ? managerProperty->firstWord().value_or(0) : 0;
    if (window == XCB_WINDOW_NONE || manager == XCB_WINDOW_NONE) return std::nullopt;

    const auto proof = x.askProperty(manager, x.atom("_NET_SUPPORTING_WM_CHECK"));
    Reads reads;
    read({window}, reads);
    if (!isManager(manager, proof) || !reads[window]) return std::nullopt;

    const auto index = m_installed();
    auto found = decide(window, reads, {}, *index);
    if (found && found->identity.source == WindowIdentity::Source::WmClass) {
        const auto neighbours = stacking().value_or(std::vector<xcb_window_t>{});
        read(neighbours, reads);
        found = decide(window, reads, neighbours, *index);
    }
    ApplicationWindow answer{window, {}, reads[window]->facts.process, true};
    if (found) {
        answer = {window,
                  {found->identity.id, found->identity.name,
                   processIdOf(found->process, found->identity.id)},
                  found->process,
                  found->identity.takesKeys};
    } else {
        answer.app.pid = processIdOf(answer.process, "");
    }
    return answer;
}

// A window manager that died leaves its last words on the root window, but not on its own.
bool X11Applications::isManager(xcb_window_t window, xcb_get_property_cookie_t proof) {
    const auto proven = m_connection->takeProperty(proof);
    return window != XCB_WINDOW_NONE && proven && proven->firstWord() == window;
}

std::optional<std::vector<xcb_window_t>> X11Applications::clients() {
    return list("_NET_CLIENT_LIST");
}

std::optional<std::vector<xcb_window_t>> X11Applications::stacking() {
    auto windows = list("_NET_CLIENT_LIST_STACKING");
    if (windows) std::reverse(windows->begin(), windows->end());
    return windows;
}

std::optional<std::vector<xcb_window_t>> X11Applications::list(std::string_view name) {
    auto& x = *m_connection;
    x.dropEvents();
    const auto listCookie = x.askProperty(x.root(), x.atom(name), kLongestList);
    const auto managerCookie = x.askProperty(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK"));
    const auto property = x.takeProperty(listCookie);
    const auto manager = x.takeProperty(managerCookie);
    if (!property || property->format != 32 || !manager) return std::nullopt;
    const auto window = manager->firstWord().value_or(0);
    if (!isManager(window, x.askProperty(window, x.atom("_NET_SUPPORTING_WM_CHECK")))) {
        return std::nullopt;
    }
    return property->words();
}

std::vector<ApplicationWindow>
X11Applications::identifyAll(const std::vector<xcb_window_t>& windows,
                             const std::vector<xcb_window_t>& neighbours) {
    Reads reads;
    auto all = windows;
    all.insert(all.end(), neighbours.begin(), neighbours.end());
    read(std::move(all), reads);
    const auto index = m_installed();
    std::vector<ApplicationWindow> answers;
    for (const auto window : windows) {
        const auto& own = reads[window];
        if (!own) continue;
        const auto found = decide(window, reads, neighbours, *index);
        if (found) {
            answers.push_back({window,
                               {found->identity.id, found->identity.name,
                                processIdOf(found->process, found->identity.id)},
                               found->process,
                               found->identity.takesKeys});
        } else {
            answers.push_back({window,
                               {std::nullopt, std::nullopt, processIdOf(own->facts.process, "")},
                               own->facts.process,
                               true});
        }
    }
    return answers;
}

void X11Applications::read(std::vector<xcb_window_t> windows, Reads& reads) {
    auto& x = *m_connection;
    auto* const xcb = x.xcb();
    struct Asked {
        xcb_window_t window;
        xcb_get_geometry_cookie_t there;
        xcb_get_property_cookie_t wmClass, transientFor, pid, machine, gtk, kde;
        xcb_res_query_client_ids_cookie_t owner;
    };
    for (std::size_t level = 0; level < kLongestChain && !windows.empty(); ++level) {
        std::vector<Asked> asked;
        for (const auto window : windows) {
            if (!reads.emplace(window, std::nullopt).second) continue;
            Asked one{};
            one.window = window;
            one.there = xcb_get_geometry_unchecked(xcb, window);
            one.wmClass = x.askProperty(window, XCB_ATOM_WM_CLASS);
            one.transientFor = x.askProperty(window, XCB_ATOM_WM_TRANSIENT_FOR);
            one.pid = x.askProperty(window, x.atom("_NET_WM_PID"));
            one.machine = x.askProperty(window, XCB_ATOM_WM_CLIENT_MACHINE);
            one.gtk = x.askProperty(window, x.atom("_GTK_APPLICATION_ID"));
            one.kde = x.askProperty(window, x.atom("_KDE_NET_WM_DESKTOP_FILE"));
            if (m_serverTellsProcesses) one.owner = askProcess(x, window);
            asked.push_back(one);
        }
        windows.clear();
        for (const auto& one : asked) {
            const XcbOwned<xcb_get_geometry_reply_t> there(
                xcb_get_geometry_reply(xcb, one.there, nullptr));
            Read found;
            std::tie(found.facts.instance, found.facts.wmClass) =
                classOf(x.takeProperty(one.wmClass));
            const auto parent = x.takeProperty(one.transientFor);
            const auto pid = x.takeProperty(one.pid);
            const auto machine = textOf(x.takeProperty(one.machine));
            found.facts.gtkApplicationId = textOf(x.takeProperty(one.gtk));
            found.facts.kdeDesktopFile = textOf(x.takeProperty(one.kde));
            found.remote = !machine.empty() && !sameHost(machine, m_host);
            // The server's word first: inside a sandbox a process counts its own pids.
            if (m_serverTellsProcesses) found.facts.process = takeProcess(x, one.owner);
            if (found.facts.process == 0 && pid && !found.remote) {
                found.facts.process = asProcess(pid->firstWord().value_or(0));
            }
            if (!there) continue;
            const auto above = parent ? parent->firstWord().value_or(0) : 0;
            if (above != x.root()) found.transientFor = above;
            if (!found.remote) addSandbox(found.facts);
            if (found.transientFor != XCB_WINDOW_NONE) windows.push_back(found.transientFor);
            reads[one.window] = std::move(found);
        }
    }
}

void X11Applications::addSandbox(WindowFacts& facts) const {
    if (facts.process == 0) return;
    const auto folder = "/proc/" + std::to_string(facts.process);
    facts.flatpakId = flatpakIdFrom(beginningOf(folder + "/root/.flatpak-info"));
    if (facts.flatpakId.empty())
        facts.snapInstance = snapInstanceFrom(beginningOf(folder + "/cgroup"));
}

std::vector<xcb_window_t> X11Applications::chain(xcb_window_t window, const Reads& reads) const {
    std::vector<xcb_window_t> windows;
    while (windows.size() < kLongestChain &&
           std::find(windows.begin(), windows.end(), window) == windows.end()) {
        const auto read = reads.find(window);
        if (read == reads.end() || !read->second) break;
        windows.push_back(window);
        window = read->second->transientFor;
    }
    return windows;
}

std::optional<IdentifiedWindow> X11Applications::decide(xcb_window_t window, const Reads& reads,
                                                        const std::vector<xcb_window_t>& neighbours,
                                                        const DesktopEntryIndex& index) const {
    const auto& own = *reads.at(window);
    std::vector<WindowFacts> parents;
    for (const auto link : chain(window, reads)) parents.push_back(reads.at(link)->facts);
    std::vector<WindowFacts> others;
    // Programs on another machine share whatever process brought their windows here.
    if (own.facts.process != 0 && !own.remote) {
        for (const auto neighbour : neighbours) {
            const auto read = reads.find(neighbour);
            if (neighbour == window || read == reads.end() || !read->second) continue;
            if (read->second->facts.process == own.facts.process) {
                others.push_back(read->second->facts);
            }
        }
    }
    return identify(parents, others, index);
}

} // namespace kelvane
