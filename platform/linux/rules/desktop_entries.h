// Desktop files, which say what applications are installed: their syntax, their identifiers and an
// index over them.
//
// A desktop file lies below an `applications` folder of one of the data folders; its path below
// that folder is the application's identifier. The files are written by packagers, installers and
// users: what makes no sense is left out, silently. Values in, values out; any thread.

#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

struct DesktopEntry {
    std::string id;             ///< Like "org.gnome.gedit"; empty as parsed, the path tells.
    std::string name;           ///< In the user's language where the file has it; may be empty.
    std::string startupWmClass; ///< May be empty, like everything below.
    std::string exec;
    std::string icon; ///< A name in the icon theme, or an absolute path.
    std::string flatpakId;
    std::string snapInstance;
    std::vector<std::string> categories;
    bool noDisplay = false; ///< Not for menus: helpers, handlers of links, settings pages.
    bool hidden = false;    ///< As good as deleted; it also masks its namesakes further back.

    [[nodiscard]] bool hasCategory(std::string_view category) const;
    bool operator==(const DesktopEntry&) const = default;
};

/// The environment variables of a session that its desktop files depend on; empty where unset.
struct DesktopVariables {
    std::string home = {};
    std::string xdgDataHome = {};
    std::string xdgDataDirs = {};
    std::string lcAll = {};
    std::string lcMessages = {};
    std::string lang = {};
};

/// The locale that messages are wanted in, like "de_AT.UTF-8"; empty when nothing says.
[[nodiscard]] std::string messagesLocale(const DesktopVariables& variables);

/// What may stand in the brackets of a translated key for this locale, best first:
/// "de_AT.UTF-8@euro" gives de_AT@euro, de_AT, de@euro, de. None for "C", "POSIX" and "".
[[nodiscard]] std::vector<std::string> localeKeys(std::string_view locale);

/// Reads one desktop file. Absent when it describes no application: another type, no main group,
/// or no text at all.
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(std::string_view bytes,
                                                            std::span<const std::string> keys);

/// The identifier of a desktop file, from its path below `applications`: "kde/kate.desktop" gives
/// "kde-kate". Absent for a file of another kind.
[[nodiscard]] std::optional<std::string> desktopId(const std::filesystem::path& below);

/// Where desktop files are looked for, most important first: the user's data folder, the system's,
/// then the places to which sandboxed applications are exported. Existing or not; none twice.
[[nodiscard]] std::vector<std::filesystem::path> dataFolders(const DesktopVariables& variables);

/// All desktop files of one moment, by the questions asked of them. Immutable.
class DesktopEntryIndex {
public:
    /// `entries` in order of importance: of two with one id the first one counts.
    explicit DesktopEntryIndex(std::vector<DesktopEntry> entries);
    DesktopEntryIndex(const DesktopEntryIndex&) = delete;
    DesktopEntryIndex& operator=(const DesktopEntryIndex&) = delete;

    /// In order of importance, without the hidden ones.
    [[nodiscard]] const std::vector<DesktopEntry>& entries() const { return m_entries; }

    using Found = std::vector<const DesktopEntry*>;
    /// The entry of exactly that id; null when there is none.
    [[nodiscard]] const DesktopEntry* byId(std::string_view id) const;
    /// Entries meant for menus that claim windows of this class: written exactly so, or, when no
    /// entry does, in other case.
    [[nodiscard]] const Found& byStartupWmClass(std::string_view wmClass) const;
    /// Entries meant for menus whose id is a reverse domain name that ends in `.component`, in
    /// whatever case.
    [[nodiscard]] const Found& byLastComponent(std::string_view component) const;

private:
    using Table = std::map<std::string, Found, std::less<>>;
    static const Found& find(const Table& table, std::string_view key);

    std::vector<DesktopEntry> m_entries;
    std::map<std::string, const DesktopEntry*, std::less<>> m_byId;
    Table m_byClass;
    Table m_byLowerClass;
    Table m_byLastComponent;
};

/// Whoever knows what is installed now. Never answers null; any thread.
using InstalledEntries = std::function<std::shared_ptr<const DesktopEntryIndex>()>;

} // namespace kelvane
