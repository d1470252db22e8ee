#include "platform/linux/x11/x11_applications.h"

#include "platform/linux/common/process_facts.h"
#include "platform/linux/x11/x11_processes.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <tuple>
#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLongestChain = 8;
/// Below the root: a frame, a part of the frame, the window itself.
constexpr std::size_t kDeepestFrame = 3;
/// Where the keyboard may be inside a window, seen from outside.
constexpr std::size_t kDeepestFocus = 16;
constexpr std::uint32_t kWithdrawn = 0;         ///< WM_STATE: not managed any more.
constexpr std::uint32_t kLongestList = 1 << 20; ///< Bytes: some 260,000 windows.
constexpr std::array<std::string_view, 12> kAtoms{
    "_NET_ACTIVE_WINDOW",  "_NET_CLIENT_LIST",         "_NET_CLIENT_LIST_STACKING",
    "_NET_WM_PID",         "_NET_SUPPORTING_WM_CHECK", "_NET_WM_STATE",
    "_NET_WM_DESKTOP",     "_NET_CURRENT_DESKTOP",     "_NET_WM_WINDOW_TYPE",
    "_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE", "WM_STATE",
};

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
    // A server that owes an answer is not asked further.
    if (!x.answers()) return std::nullopt;
    x.dropEvents();
    const auto window = activeWindow();
    if (window == XCB_WINDOW_NONE) return std::nullopt;
    Reads reads;
    read({window}, reads);
    if (!reads[window]) return std::nullopt;

    const auto index = m_installed();
    auto found = decide(window, reads, {}, *index);
    // Its own facts may be enough; the other windows of the same process are read only when they
    // are not.
    if (!found || found->identity.source == WindowIdentity::Source::WmClass) {
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

// EWMH; without it the window with the keyboard, from which the managed one is found outwards.
xcb_window_t X11Applications::activeWindow() {
    auto& x = *m_connection;
    const auto activeCookie = x.askProperty(x.root(), x.atom("_NET_ACTIVE_WINDOW"));
    const auto managerCookie = x.askProperty(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK"));
    const auto active = x.takeProperty(activeCookie);
    const auto managerProperty = x.takeProperty(managerCookie);
    const auto manager = managerProperty ? managerProperty->firstWord().value_or(0) : 0;
    const bool told =
        active && manager != XCB_WINDOW_NONE &&
        isManager(manager, x.askProperty(manager, x.atom("_NET_SUPPORTING_WM_CHECK")));
    return told ? active->firstWord().value_or(0) : focusedWindow();
}

// A window manager that died leaves its last words on the root window, but not on its own. It sets
// the same property on a window of its own (EWMH, _NET_SUPPORTING_WM_CHECK).
bool X11Applications::isManager(xcb_window_t window, xcb_get_property_cookie_t proof) {
    const auto proven = m_connection->takeProperty(proof);
    return window != XCB_WINDOW_NONE && proven && proven->firstWord() == window;
}

/// Whoever decides where windows go, whether it follows the newer conventions or only the old ones.
/// The server itself knows that.
bool X11Applications::somebodyManages() {
    auto& x = *m_connection;
    const auto root = x.reply<xcb_get_window_attributes_reply_t>(
        xcb_get_window_attributes_unchecked(x.xcb(), x.root()));
    // Only one client may ask to redirect windows: the window manager.
    return root && (root->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
}

/// The managed window around the one that has the keyboard.
xcb_window_t X11Applications::focusedWindow() {
    auto& x = *m_connection;
    if (!somebodyManages()) return XCB_WINDOW_NONE;
    const auto focus = x.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus_unchecked(x.xcb()));
    auto window = focus ? focus->focus : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    for (std::size_t level = 0; level < kDeepestFocus; ++level) {
        // The keyboard is nowhere, or wherever the pointer is.
        if (window == x.root() || window == XCB_INPUT_FOCUS_POINTER_ROOT) break;
        const auto stateCookie = x.askProperty(window, x.atom("WM_STATE"));
        const auto treeCookie = xcb_query_tree_unchecked(x.xcb(), window);
        const auto state = x.takeProperty(stateCookie);
        const auto tree = x.reply<xcb_query_tree_reply_t>(treeCookie);
        if (state) return window;
        if (!tree) break;
        window = tree->parent;
    }
    return XCB_WINDOW_NONE;
}

std::optional<std::vector<xcb_window_t>> X11Applications::clients() {
    if (!m_connection->answers()) return std::nullopt;
    if (auto windows = list("_NET_CLIENT_LIST")) return windows;
    if (!somebodyManages()) return std::nullopt;
    auto windows = windowsWithState();
    std::ranges::sort(windows); // An order of its own, so that it is the same each time.
    return windows;
}

std::optional<std::vector<xcb_window_t>> X11Applications::stacking() {
    if (!m_connection->answers()) return std::nullopt;
    if (auto windows = list("_NET_CLIENT_LIST_STACKING")) {
        // The list has the lowest first.
        std::ranges::reverse(*windows);
        return windows;
    }
    auto windows = clients();
    if (!windows) return std::nullopt;
    return topmostFirst(*std::move(windows));
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

/// What a window manager has taken charge of, by the mark that it puts on every such window.
std::vector<xcb_window_t> X11Applications::windowsWithState() {
    auto& x = *m_connection;
    std::vector<xcb_window_t> found;
    std::vector<xcb_window_t> level{x.root()};
    for (std::size_t depth = 0; depth < kDeepestFrame && !level.empty(); ++depth) {
        // All questions of a level before the first answer: as many round trips as levels.
        std::vector<xcb_query_tree_cookie_t> trees;
        for (const auto window : level) trees.push_back(xcb_query_tree_unchecked(x.xcb(), window));
        std::vector<std::pair<xcb_window_t, xcb_get_property_cookie_t>> asked;
        for (const auto cookie : trees) {
            const auto tree = x.reply<xcb_query_tree_reply_t>(cookie);
            if (!tree) continue;
            const std::span children(
                xcb_query_tree_children(tree.get()),
                static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
            for (const auto child : children) {
                asked.emplace_back(child, x.askProperty(child, x.atom("WM_STATE")));
            }
        }
        level.clear();
        for (const auto& [window, cookie] : asked) {
            // What is managed is not looked into: its parts are the program's own.
            const auto state = x.takeProperty(cookie);
            const bool managed = state && state->firstWord().value_or(0) != kWithdrawn;
            (managed ? found : level).push_back(window);
        }
    }
    return found;
}

/// As the server has stacked the frames in which they stand.
std::vector<xcb_window_t> X11Applications::topmostFirst(std::vector<xcb_window_t> windows) {
    auto& x = *m_connection;
    // The child of the root around each window, level by level, for all windows at once.
    std::map<xcb_window_t, xcb_window_t> frames;
    for (const auto window : windows) frames[window] = window;
    auto climbing = windows;
    for (std::size_t level = 0; level < kDeepestFocus && !climbing.empty(); ++level) {
        std::vector<xcb_query_tree_cookie_t> asked;
        for (const auto window : climbing) {
            asked.push_back(xcb_query_tree_unchecked(x.xcb(), frames[window]));
        }
        std::vector<xcb_window_t> higher;
        for (std::size_t i = 0; i < climbing.size(); ++i) {
            const auto tree = x.reply<xcb_query_tree_reply_t>(asked[i]);
            if (!tree || tree->parent == x.root() || tree->parent == XCB_WINDOW_NONE) continue;
            frames[climbing[i]] = tree->parent;
            higher.push_back(climbing[i]);
        }
        climbing = std::move(higher);
    }
    const auto tree = x.reply<xcb_query_tree_reply_t>(xcb_query_tree_unchecked(x.xcb(), x.root()));
    if (!tree) return windows;
    std::map<xcb_window_t, int> height; // The server lists the lowest first.
    const auto* const children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) height[children[i]] = i;
    std::ranges::stable_sort(windows, std::ranges::greater(),
                             [&](xcb_window_t window) { return height[frames[window]]; });
    return windows;
}

std::vector<ApplicationWindow>
X11Applications::identifyAll(const std::vector<xcb_window_t>& windows,
                             const std::vector<xcb_window_t>& neighbours) {
    if (!m_connection->answers()) return {};
    Reads reads;
    auto all = windows;
    all.insert(all.end(), neighbours.begin(), neighbours.end());
    // All at once: what the server is asked about one window does not wait for the answers about
    // another.
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
    // Level by level along WM_TRANSIENT_FOR, with all questions of a level asked at once. A window
    // is read once, however many lead to it.
    for (std::size_t level = 0; level < kLongestChain && !windows.empty(); ++level) {
        std::vector<Asked> asked;
        for (const auto window : windows) {
            // Already read, or being read.
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
            const auto there = x.reply<xcb_get_geometry_reply_t>(one.there);
            Read found;
            std::tie(found.facts.instance, found.facts.wmClass) =
                classOf(x.takeProperty(one.wmClass));
            const auto parent = x.takeProperty(one.transientFor);
            const auto pid = x.takeProperty(one.pid);
            const auto machine = shortTextOf(x.takeProperty(one.machine));
            found.facts.gtkApplicationId = shortTextOf(x.takeProperty(one.gtk));
            found.facts.kdeDesktopFile = shortTextOf(x.takeProperty(one.kde));
            found.remote = !machine.empty() && !sameHost(machine, m_host);
            // The server's word first: inside a sandbox a process counts its own pids.
            if (m_serverTellsProcesses) found.facts.process = takeProcess(x, one.owner);
            if (found.facts.process == 0 && pid && !found.remote) {
                found.facts.process = asProcess(pid->firstWord().value_or(0));
            }
            if (!there) continue;
            const auto above = parent ? parent->firstWord().value_or(0) : 0;
            // The root stands for "of the whole group", which names no window.
            if (above != x.root()) found.transientFor = above;
            if (!found.remote) addProcessFacts(found.facts);
            if (found.transientFor != XCB_WINDOW_NONE) windows.push_back(found.transientFor);
            reads[one.window] = std::move(found);
        }
    }
}

// A window may lead back to itself, by mistake or on purpose.
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
