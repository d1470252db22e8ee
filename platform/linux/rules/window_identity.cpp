#include "platform/linux/rules/window_identity.h"

#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using Found = DesktopEntryIndex::Found;
using Accept = std::function<bool(const DesktopEntry&)>;

/// Terminals that may run without a desktop file to say so. Lower case.
constexpr std::array<std::string_view, 23> kTerminalClasses{
    "alacritty",      "cool-retro-term",
    "eterm",          "foot",
    "ghostty",        "guake",
    "kitty",          "konsole",
    "lxterminal",     "mate-terminal",
    "mlterm",         "qterminal",
    "rxvt",           "st",
    "st-256color",    "tilix",
    "urxvt",          "uxterm",
    "xfce4-terminal", "xterm",
    "yakuake",        "zutty",
    "wezterm",
};

/// What browsers built from Chromium call themselves, in lower case. Their web apps bear names that
/// begin with "<one of kWebAppPrefixes>-".
constexpr std::array<std::string_view, 12> kChromiumClasses{
    "brave-browser",
    "chromium",
    "chromium-browser",
    "google-chrome",
    "google-chrome-beta",
    "google-chrome-unstable",
    "microsoft-edge",
    "msedge",
    "opera",
    "ungoogled-chromium",
    "vivaldi",
    "vivaldi-stable",
};
constexpr std::array<std::string_view, 7> kWebAppPrefixes{
    "chrome-", "chromium-", "msedge-", "brave-", "vivaldi-", "opera-", "crx_",
};

/// Names under which a program's windows go that no desktop file claims, and the file that is
/// meant.
constexpr std::pair<std::string_view, std::string_view> kOtherNames[] = {
    // The windows belong to a service behind the terminal, which under Wayland is all they say.
    {"gnome-terminal-server", "org.gnome.Terminal"},
    // A second window of the terminal that runs already.
    {"footclient", "foot"},
};

/// What LibreOffice's windows and their program are called as long as they do not say which of its
/// applications they are: under Wayland for as long as they live, when the first of them was the
/// start centre.
constexpr std::array<std::string_view, 5> kOfficeNames{"libreoffice", "libreoffice-startcenter",
                                                       "soffice", "soffice.bin",
                                                       "org.libreoffice.libreoffice"};
constexpr std::string_view kOfficeMark = "LibreOffice ";
constexpr std::array<std::string_view, 6> kOfficeApplications{"Writer", "Calc", "Impress",
                                                              "Draw",   "Math", "Base"};

bool isOffice(std::string_view name) {
    return text::isOneOf(text::lowerAscii(name), kOfficeNames);
}

/// The application of LibreOffice that shows a document, from the end of its window's title:
/// "budget.ods - LibreOffice Calc" gives "calc". Empty for other titles.
std::string officeApplication(std::string_view title) {
    for (const auto application : kOfficeApplications) {
        if (!title.ends_with(application)) continue;
        auto before = title.substr(0, title.size() - application.size());
        if (!before.ends_with(kOfficeMark)) return {};
        before.remove_suffix(kOfficeMark.size());
        // Before the product stands a dash, which dash depends on the version and the language.
        for (const std::string_view dash : {" - ", " \u2013 ", " \u2014 "}) {
            if (before.ends_with(dash)) return text::lowerAscii(application);
        }
        return {};
    }
    return {};
}

/// Chromium appends its profile's folder to the instance: "chromium (/home/me/other)".
std::string_view withoutProfile(std::string_view name) {
    if (!name.ends_with(')')) return name;
    const auto begin = name.find(" (/");
    return begin == std::string_view::npos ? name : name.substr(0, begin);
}

std::string_view lastComponent(std::string_view id) {
    return id.substr(id.rfind('.') + 1); // npos + 1 is 0: the whole id.
}

/// Of several entries that claim one class, the one that bears its name: an editor's client, its
/// settings page or a handler of links often carries the same claim.
const DesktopEntry* best(const Found& found, std::string_view name, std::string_view wmClass,
                         const Accept& accept) {
    const DesktopEntry* chosen = nullptr;
    int chosenRank = 0;
    for (const auto* const entry : found) {
        if (!accept(*entry)) continue;
        const auto id = text::lowerAscii(entry->id);
        int rank = 1;
        if (lastComponent(id) == text::lowerAscii(name)) rank = 2;
        if (lastComponent(id) == text::lowerAscii(wmClass)) rank = 3;
        if (id == text::lowerAscii(name)) rank = 4;
        if (id == text::lowerAscii(wmClass)) rank = 5;
        if (rank > chosenRank) {
            chosen = entry;
            chosenRank = rank;
        }
    }
    return chosen;
}

const DesktopEntry* byClaim(const DesktopEntryIndex& index, std::string_view name,
                            std::string_view wmClass, const Accept& accept) {
    if (name.empty()) return nullptr;
    return best(index.byStartupWmClass(name), name, wmClass, accept);
}

/// A window whose class is the id of a desktop file, give or take case and spaces. Entries that are
/// not for menus count only when no other one fits.
const DesktopEntry* byName(const DesktopEntryIndex& index, std::string_view name,
                           const Accept& accept) {
    if (name.empty()) return nullptr;
    auto folded = text::lowerAscii(name);
    std::replace(folded.begin(), folded.end(), ' ', '-');
    const DesktopEntry* aside = nullptr;
    for (const std::string_view id : {name, std::string_view(folded)}) {
        const auto* const entry = index.byId(id);
        if (entry == nullptr || !accept(*entry)) continue;
        if (!entry->noDisplay) return entry;
        if (aside == nullptr) aside = entry;
    }
    return aside;
}

const DesktopEntry* byLastComponent(const DesktopEntryIndex& index, std::string_view name) {
    const auto& found = index.byLastComponent(name);
    return found.size() == 1 ? found.front() : nullptr;
}

/// The property holds an id, the name of a file, or its whole path.
const DesktopEntry* byDesktopFile(const DesktopEntryIndex& index, std::string_view file) {
    constexpr std::string_view kFolder = "/applications/";
    if (file.starts_with('/')) {
        const auto folder = file.find(kFolder);
        file = folder == std::string_view::npos ? file.substr(file.rfind('/') + 1)
                                                : file.substr(folder + kFolder.size());
    }
    if (const auto id = desktopId(file)) return index.byId(*id);
    return file.empty() ? nullptr : index.byId(file);
}

std::string_view baseName(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0: the whole path.
}

/// The program that a desktop file's Exec line starts, without quotes. Wrappers count as
/// themselves.
std::string_view programOf(std::string_view exec) {
    exec.remove_prefix(std::min(exec.find_first_not_of(' '), exec.size()));
    if (exec.starts_with('"')) {
        exec.remove_prefix(1);
        return exec.substr(0, exec.find('"'));
    }
    return exec.substr(0, exec.find(' '));
}

/// Programs that are started to run another one: what stands behind their windows is anybody.
bool runsOthers(std::string_view program) {
    static constexpr std::array<std::string_view, 19> kRunners{
        "bash", "dash", "env",    "electron", "flatpak", "gjs",  "java",   "mono",
        "node", "perl", "python", "ruby",     "sh",      "snap", "wine64", "wine64-preloader",
        "wine", "wish", "zsh"};
    const auto bare = program.substr(0, program.find_last_not_of("0123456789.") + 1);
    return text::isOneOf(program, kRunners) || text::isOneOf(bare, kRunners);
}

bool isIdentifier(std::string_view id) {
    return std::ranges::none_of(id, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F || c == '"' || c == '\\';
    });
}

bool isHostAndPath(std::string_view name) {
    const auto host = name.substr(0, name.find("__"));
    const auto dot = host.find('.');
    return dot != std::string_view::npos && dot != 0 && !host.ends_with('.') &&
           std::all_of(host.begin(), host.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-';
           });
}

bool isPage(std::string_view rest) {
    return isHostAndPath(rest) && rest.find("__") != rest.npos;
}

/// An installed site's key, then a profile: "<32 letters>-Default"; one browser writes "_" before.
bool isInstalledSite(std::string_view rest) {
    constexpr std::size_t kKey = 32;
    if (rest.starts_with('_')) rest.remove_prefix(1);
    return rest.size() > kKey && rest[kKey] == '-' &&
           rest.substr(0, kKey).find_first_not_of("abcdefghijklmnop") == rest.npos;
}

/// The id of a site in a browser's window of its own, when `name` names one: as the browser writes
/// it where it writes it whole ("chrome-docs.google.com__document-Default", "crx_…"), completed
/// where it leaves the browser to the class ("docs.google.com__document").
std::optional<std::string> webApp(std::string_view name, bool classIsBrowser) {
    for (const auto prefix : kWebAppPrefixes) {
        if (!name.starts_with(prefix)) continue;
        const auto rest = name.substr(prefix.size());
        if (prefix == "crx_" ? !rest.empty() : isPage(rest) || isInstalledSite(rest)) {
            return std::string(name);
        }
    }
    if (name.starts_with("_crx_")) return webApp(name.substr(1), classIsBrowser);
    if (!classIsBrowser || !isHostAndPath(name)) return std::nullopt;
    const bool hasPath = name.find("__") != std::string_view::npos;
    return "chrome-" + std::string(name) + (hasPath ? "" : "__");
}

class Resolver {
public:
    Resolver(const WindowFacts& facts, const DesktopEntryIndex& index)
        : m_facts(facts),
          m_index(index),
          m_instance(withoutProfile(facts.instance)),
          m_class(withoutProfile(facts.wmClass)) {}

    std::optional<WindowIdentity> resolve() const {
        if (auto found = byTitle()) return found;
        if (const auto* const entry = byDesktopFile(m_index, m_facts.kdeDesktopFile)) {
            return of(*entry);
        }
        const Accept anyone = [](const DesktopEntry&) { return true; };
        if (boxed()) {
            // A sandbox knows its application; a namesake from outside must not take its windows.
            if (auto found = byClasses([this](const DesktopEntry& entry) { return ours(entry); })) {
                return found;
            }
            if (auto found = bySandbox()) return found;
        }
        if (auto found = byClasses(anyone)) return found;
        if (!m_facts.gtkApplicationId.empty()) {
            if (const auto* const entry = m_index.byId(m_facts.gtkApplicationId)) return of(*entry);
        }
        for (const auto name : {m_instance, m_class}) {
            if (const auto* const entry = byLastComponent(m_index, name)) return of(*entry);
        }
        for (const auto& [name, id] : kOtherNames) {
            if (m_instance != name && m_class != name && baseName(m_facts.executable) != name) {
                continue;
            }
            if (const auto* const entry = m_index.byId(id)) return of(*entry);
        }
        if (const auto* const entry = byExecutable()) return of(*entry);
        return byClassAlone();
    }

private:
    /// A document of LibreOffice whose window does not say which application it is of.
    std::optional<WindowIdentity> byTitle() const {
        if (m_facts.title.empty()) return std::nullopt;
        const bool itself = m_class.starts_with("libreoffice-") && !isOffice(m_class);
        if (itself || (!isOffice(m_instance) && !isOffice(m_class) &&
                       !isOffice(baseName(m_facts.executable)))) {
            return std::nullopt;
        }
        const auto application = officeApplication(m_facts.title);
        if (application.empty()) return std::nullopt;
        // As if the window were called as it ought to be. The desktop's property and the executable
        // know no better than the window did.
        WindowFacts named = m_facts;
        named.title.clear();
        named.kdeDesktopFile.clear();
        named.executable.clear();
        named.instance = named.wmClass = "libreoffice-" + application;
        auto found = Resolver(named, m_index).resolve();
        if (found && found->source == WindowIdentity::Source::DesktopEntry) return found;
        for (const std::string_view prefix : {"org.libreoffice.LibreOffice.", "libreoffice_"}) {
            const auto* const entry = m_index.byId(std::string(prefix) + application);
            if (entry != nullptr && (!boxed() || ours(*entry))) return of(*entry);
        }
        // The Flatpak without its files here is told by its sandbox, as without a title.
        if (boxed()) return std::nullopt;
        return found;
    }

    /// The one entry that starts the program behind the window: programs that come without an
    /// installer (an archive, an AppImage) get a desktop file that says no more than that.
    const DesktopEntry* byExecutable() const {
        const auto program = baseName(m_facts.executable);
        if (program.empty() || runsOthers(program)) return nullptr;
        const DesktopEntry* only = nullptr;
        for (const auto& entry : m_index.entries()) {
            if (entry.noDisplay || baseName(programOf(entry.exec)) != program) continue;
            if (only != nullptr) return nullptr;
            only = &entry;
        }
        return only;
    }

    std::optional<WindowIdentity> byClasses(const Accept& accept) const {
        if (const auto* const entry = byClaim(m_index, m_instance, m_class, accept)) {
            return of(*entry);
        }
        if (auto id = webAppId()) {
            return WindowIdentity{*std::move(id), std::nullopt, WindowIdentity::Source::WebApp,
                                  true};
        }
        if (const auto* const entry = byClaim(m_index, m_class, m_class, accept)) {
            return of(*entry);
        }
        for (const auto name : {m_instance, m_class}) {
            if (const auto* const entry = byName(m_index, name, accept)) return of(*entry);
        }
        return std::nullopt;
    }

    std::optional<std::string> webAppId() const {
        // An installed site has a desktop file of that very name.
        if (m_index.byId(m_instance) != nullptr || m_index.byId(m_class) != nullptr) {
            return std::nullopt;
        }
        if (auto id = webApp(m_instance, classIsBrowser())) return id;
        return webApp(m_class, false);
    }

    bool classIsBrowser() const {
        const auto lower = text::lowerAscii(m_class);
        if (text::lowerAscii(m_instance) == lower) return false;
        return text::isOneOf(lower, kChromiumClasses) ||
               text::isOneOf(text::lowerAscii(lastComponent(m_class)), kChromiumClasses);
    }

    bool boxed() const { return !m_facts.flatpakId.empty() || !m_facts.snapInstance.empty(); }

    bool ours(const DesktopEntry& entry) const {
        if (!m_facts.flatpakId.empty()) {
            return entry.flatpakId == m_facts.flatpakId || entry.id == m_facts.flatpakId ||
                   entry.id.starts_with(m_facts.flatpakId + '.');
        }
        return entry.snapInstance == m_facts.snapInstance ||
               entry.id.starts_with(m_facts.snapInstance + '_');
    }

    std::optional<WindowIdentity> bySandbox() const {
        if (!m_facts.flatpakId.empty()) {
            if (const auto* const entry = m_index.byId(m_facts.flatpakId)) return of(*entry);
            return WindowIdentity{m_facts.flatpakId, className(), WindowIdentity::Source::Sandbox,
                                  takesKeys(m_facts.flatpakId)};
        }
        const auto& snap = m_facts.snapInstance;
        if (const auto* const entry = m_index.byId(snap + "_" + snap)) return of(*entry);
        const DesktopEntry* only = nullptr;
        for (const auto& entry : m_index.entries()) {
            if (entry.noDisplay || !ours(entry)) continue;
            if (only != nullptr) return std::nullopt;
            only = &entry;
        }
        return only == nullptr ? std::nullopt : std::optional(of(*only));
    }

    std::optional<WindowIdentity> byClassAlone() const {
        const auto name = m_class.empty() ? m_instance : m_class;
        if (name.empty()) return std::nullopt;
        return WindowIdentity{"wmclass:" + text::lowerAscii(name), className(),
                              WindowIdentity::Source::WmClass, takesKeys({})};
    }

    WindowIdentity of(const DesktopEntry& entry) const {
        return {entry.id, entry.name.empty() ? className() : entry.name,
                WindowIdentity::Source::DesktopEntry,
                takesKeys(entry.id) && !entry.hasCategory("TerminalEmulator")};
    }

    std::optional<std::string> className() const {
        const auto name = m_class.empty() ? m_instance : m_class;
        if (name.empty()) return std::nullopt;
        return std::string(name);
    }

    bool takesKeys(std::string_view id) const {
        for (const auto name : {m_instance, m_class, id}) {
            const auto lower = text::lowerAscii(name);
            const auto last = lastComponent(lower);
            if (text::isOneOf(last, kTerminalClasses) || last == "emacs" || last == "emacsclient" ||
                last.ends_with("terminal") || last.find("terminal-") != last.npos) {
                return false;
            }
        }
        return true;
    }

    const WindowFacts& m_facts;
    const DesktopEntryIndex& m_index;
    std::string_view m_instance;
    std::string_view m_class;
};

} // namespace

std::optional<WindowIdentity> identify(const WindowFacts& facts, const DesktopEntryIndex& index) {
    auto identity = Resolver(facts, index).resolve();
    if (identity && !isIdentifier(identity->id)) return std::nullopt;
    return identity;
}

std::optional<IdentifiedWindow> identify(std::span<const WindowFacts> chain,
                                         std::span<const WindowFacts> neighbours,
                                         const DesktopEntryIndex& index) {
    std::optional<IdentifiedWindow> unclaimed;
    for (auto facts = chain.rbegin(); facts != chain.rend(); ++facts) {
        auto identity = identify(*facts, index);
        if (!identity) continue;
        IdentifiedWindow window{*std::move(identity), facts->process};
        if (window.identity.source != WindowIdentity::Source::WmClass) return window;
        if (!unclaimed) unclaimed = std::move(window);
    }
    for (const auto& facts : neighbours) {
        auto identity = identify(facts, index);
        if (identity && identity->source == WindowIdentity::Source::DesktopEntry) {
            return IdentifiedWindow{*std::move(identity), facts.process};
        }
    }
    return unclaimed;
}

std::int64_t processIdOf(std::int32_t process, std::string_view bundleId) {
    // FNV-1a: two applications of one process share a number once in two thousand million.
    std::uint32_t hash = 2166136261U;
    for (const char c : bundleId) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    return static_cast<std::int64_t>((std::uint64_t{hash & 0x7FFFFFFFU} << 32U) |
                                     static_cast<std::uint32_t>(process));
}

std::string flatpakIdFrom(std::string_view flatpakInfo) {
    bool inside = false;
    while (!flatpakInfo.empty()) {
        const auto end = std::min(flatpakInfo.find('\n'), flatpakInfo.size());
        const auto line = flatpakInfo.substr(0, end);
        flatpakInfo.remove_prefix(std::min(end + 1, flatpakInfo.size()));
        if (line.starts_with('[')) inside = line == "[Application]";
        if (inside && line.starts_with("name=")) return text::utf8FromOutside(line.substr(5));
    }
    return {};
}

std::string appImageFrom(std::string_view environment) {
    constexpr std::string_view kName = "APPIMAGE=";
    while (!environment.empty()) {
        const auto end = std::min(environment.find('\0'), environment.size());
        const auto variable = environment.substr(0, end);
        environment.remove_prefix(std::min(end + 1, environment.size()));
        if (variable.starts_with(kName)) {
            return text::utf8FromOutside(variable.substr(kName.size()));
        }
    }
    return {};
}

std::string snapInstanceFrom(std::string_view cgroups) {
    constexpr std::string_view kMark = "/snap.";
    for (auto at = cgroups.find(kMark); at != cgroups.npos; at = cgroups.find(kMark, at + 1)) {
        const auto rest = cgroups.substr(at + kMark.size());
        const auto name = rest.substr(0, rest.find_first_of("./\n"));
        if (!name.empty() && name.size() < rest.size() && rest[name.size()] == '.') {
            return text::utf8FromOutside(name);
        }
    }
    return {};
}

} // namespace kelvane
