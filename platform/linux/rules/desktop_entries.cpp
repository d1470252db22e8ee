#include "platform/linux/rules/desktop_entries.h"

#include "platform/linux/x11/x11_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>
#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLongestFile = 1 << 20;
constexpr std::size_t kMostEntries = 20'000;
constexpr int kDeepest = 8;
constexpr std::chrono::seconds kLookAgainAfter{5};
constexpr std::string_view kExtension = ".desktop";

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text.push_back(value[i]);
            continue;
        }
        switch (value[++i]) {
        case 's':
            text.push_back(' ');
            break;
        case 'n':
            text.push_back('\n');
            break;
        case 't':
            text.push_back('\t');
            break;
        case 'r':
            text.push_back('\r');
            break;
        default:
            text.push_back(value[i]);
        }
    }
    return text;
}

std::vector<std::string> listed(std::string_view value) {
    std::vector<std::string> items;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= value.size(); ++i) {
        if (i < value.size() && value[i] == '\\') {
            ++i;
        } else if (i >= value.size() || value[i] == ';') {
            auto item = unescaped(trimmed(value.substr(begin, i - begin)));
            if (!item.empty()) items.push_back(std::move(item));
            begin = i + 1;
        }
    }
    return items;
}

/// Reads a regular file, nothing else: a pipe in a folder must not hold us up.
std::optional<std::string> readFile(const std::filesystem::path& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return std::nullopt;
    std::optional<std::string> bytes;
    struct stat status {};
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size >= 0 &&
        static_cast<std::size_t>(status.st_size) <= kLongestFile) {
        bytes.emplace(static_cast<std::size_t>(status.st_size), '\0');
        std::size_t have = 0;
        while (have < bytes->size()) {
            const auto got = ::read(file, bytes->data() + have, bytes->size() - have);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            have += static_cast<std::size_t>(got);
        }
        bytes->resize(have);
    }
    ::close(file);
    return bytes;
}

struct FolderState {
    std::int64_t changed;
    std::pair<std::uint64_t, std::uint64_t> place; ///< Device and number: one per real folder.
};

std::optional<FolderState> stateOf(const std::filesystem::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
    return FolderState{std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
                       {status.st_dev, status.st_ino}};
}

std::optional<std::int64_t> changeTime(const std::filesystem::path& folder) {
    const auto state = stateOf(folder);
    if (!state) return std::nullopt;
    return state->changed;
}

/// A value that the file may give in several languages: the best one wins.
class Translated {
public:
    explicit Translated(std::span<const std::string> keys) : m_keys(keys) {}

    void offer(std::string_view language, std::string_view value) {
        auto rank = m_keys.size();
        if (!language.empty()) {
            const auto found = std::find(m_keys.begin(), m_keys.end(), language);
            if (found == m_keys.end()) return;
            rank = static_cast<std::size_t>(found - m_keys.begin());
        }
        if (rank >= m_rank || !isUtf8(value)) return;
        m_rank = rank;
        m_value = unescaped(value);
    }
    [[nodiscard]] const std::string& value() const { return m_value; }

private:
    std::span<const std::string> m_keys;
    std::size_t m_rank = static_cast<std::size_t>(-1);
    std::string m_value;
};

} // namespace

bool DesktopEntry::hasCategory(std::string_view category) const {
    return std::find(categories.begin(), categories.end(), category) != categories.end();
}

std::string messagesLocale(Environment& environment) {
    for (const auto* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        auto value = environment.get(name);
        if (value && !value->empty()) return *std::move(value);
    }
    return {};
}

std::vector<std::string> localeKeys(std::string_view locale) {
    std::string_view modifier;
    if (const auto at = locale.find('@'); at != std::string_view::npos) {
        modifier = locale.substr(at);
        locale = locale.substr(0, at);
    }
    locale = locale.substr(0, locale.find('.'));
    if (locale.empty() || locale == "C" || locale == "POSIX") return {};
    const auto language = locale.substr(0, locale.find('_'));
    std::vector<std::string> keys;
    const auto add = [&keys](std::string key) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
    };
    add(std::string(locale) + std::string(modifier));
    add(std::string(locale));
    add(std::string(language) + std::string(modifier));
    add(std::string(language));
    return keys;
}

std::optional<DesktopEntry> parseDesktopEntry(std::string_view bytes,
                                              std::span<const std::string> keys) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    if (bytes.find('\0') != std::string_view::npos) return std::nullopt;

    DesktopEntry entry;
    Translated name(keys);
    std::string type;
    std::set<std::string, std::less<>> seen;
    bool inside = false;
    bool any = false;
    while (!bytes.empty()) {
        const auto end = std::min(bytes.find('\n'), bytes.size());
        const auto line = trimmed(bytes.substr(0, end));
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            inside = line == "[Desktop Entry]";
            any = any || inside;
            continue;
        }
        const auto equals = line.find('=');
        if (!inside || equals == std::string_view::npos) continue;
        auto key = trimmed(line.substr(0, equals));
        const auto value = trimmed(line.substr(equals + 1));
        // Keys are unique in a sound file; in another one the first of them counts.
        if (!seen.insert(std::string(key)).second) continue;
        std::string_view language;
        if (const auto bracket = key.find('['); bracket != std::string_view::npos) {
            if (key.back() != ']') continue;
            language = key.substr(bracket + 1, key.size() - bracket - 2);
            key = key.substr(0, bracket);
            if (language.empty()) continue;
        }
        if (key == "Name") name.offer(language, value);
        if (!language.empty() || !isUtf8(value)) continue;
        if (key == "Type") type = value;
        if (key == "StartupWMClass") entry.startupWmClass = unescaped(value);
        if (key == "Exec") entry.exec = unescaped(value);
        if (key == "Icon") entry.icon = unescaped(value);
        if (key == "Categories") entry.categories = listed(value);
        if (key == "X-Flatpak") entry.flatpakId = unescaped(value);
        if (key == "X-SnapInstanceName") entry.snapInstance = unescaped(value);
        if (key == "NoDisplay") entry.noDisplay = value == "true";
        if (key == "Hidden") entry.hidden = value == "true";
    }
    // A file that does nothing but hide its namesake often says only that.
    if (!any || (type != "Application" && !(type.empty() && entry.hidden))) return std::nullopt;
    entry.name = name.value();
    return entry;
}

std::optional<std::string> desktopId(const std::filesystem::path& below) {
    auto id = below.generic_string();
    if (!id.ends_with(kExtension)) return std::nullopt;
    id.resize(id.size() - kExtension.size());
    if (id.empty() || id.ends_with('/') || !isUtf8(id)) return std::nullopt;
    std::replace(id.begin(), id.end(), '/', '-');
    return id;
}

std::vector<std::filesystem::path> dataFolders(Environment& environment) {
    std::vector<std::filesystem::path> folders;
    const auto add = [&folders](const std::filesystem::path& folder) {
        // A relative folder would depend on where we were started from: such a value counts as
        // not there.
        if (!folder.is_absolute()) return;
        auto path = folder.lexically_normal();
        if (!path.has_filename()) path = path.parent_path();
        if (std::find(folders.begin(), folders.end(), path) == folders.end()) {
            folders.push_back(std::move(path));
        }
    };
    const std::filesystem::path home = environment.get("HOME").value_or("");
    const auto own = environment.get("XDG_DATA_HOME").value_or("");
    if (std::filesystem::path(own).is_absolute()) {
        add(own);
    } else {
        add(home / ".local/share");
    }
    auto system = environment.get("XDG_DATA_DIRS").value_or("");
    if (system.empty()) system = "/usr/local/share:/usr/share";
    for (std::size_t begin = 0; begin <= system.size();) {
        const auto end = std::min(system.find(':', begin), system.size());
        add(system.substr(begin, end - begin));
        begin = end + 1;
    }
    add(home / ".local/share/flatpak/exports/share");
    add("/var/lib/flatpak/exports/share");
    add("/var/lib/snapd/desktop");
    return folders;
}

DesktopEntryIndex::DesktopEntryIndex(std::vector<DesktopEntry> entries) {
    std::set<std::string, std::less<>> seen;
    for (auto& entry : entries) {
        if (!seen.insert(entry.id).second || entry.hidden) continue;
        m_entries.push_back(std::move(entry));
    }
    for (const auto& entry : m_entries) {
        m_byId.emplace(entry.id, &entry);
        if (entry.noDisplay) continue;
        if (!entry.startupWmClass.empty()) {
            m_byClass[entry.startupWmClass].push_back(&entry);
            m_byLowerClass[lowerAscii(entry.startupWmClass)].push_back(&entry);
        }
        if (std::count(entry.id.begin(), entry.id.end(), '.') >= 2) {
            m_byLastComponent[lowerAscii(entry.id.substr(entry.id.rfind('.') + 1))].push_back(
                &entry);
        }
    }
}

const DesktopEntryIndex::Found& DesktopEntryIndex::find(const Table& table, std::string_view key) {
    static const Found kNone;
    const auto found = table.find(key);
    return found == table.end() ? kNone : found->second;
}

const DesktopEntry* DesktopEntryIndex::byId(std::string_view id) const {
    const auto found = m_byId.find(id);
    return found == m_byId.end() ? nullptr : found->second;
}

const DesktopEntryIndex::Found&
DesktopEntryIndex::byStartupWmClass(std::string_view wmClass) const {
    const auto& exact = find(m_byClass, wmClass);
    return exact.empty() ? find(m_byLowerClass, lowerAscii(wmClass)) : exact;
}

const DesktopEntryIndex::Found&
DesktopEntryIndex::byLastComponent(std::string_view component) const {
    return find(m_byLastComponent, lowerAscii(component));
}

DesktopEntries::DesktopEntries(std::vector<std::filesystem::path> dataFolders,
                               const std::string& locale, Clock& clock)
    : m_dataFolders(std::move(dataFolders)),
      m_keys(localeKeys(locale)),
      m_clock(clock) {}

std::shared_ptr<const DesktopEntryIndex> DesktopEntries::index() {
    const std::lock_guard lock(m_mutex);
    const auto now = m_clock.now();
    if (m_index && now - m_lookedAt < kLookAgainAfter) return m_index;
    m_lookedAt = now;
    const auto same = [](const Folder& folder) {
        return changeTime(folder.path) == folder.changed;
    };
    if (!m_index || !std::all_of(m_folders.begin(), m_folders.end(), same)) read();
    return m_index;
}

void DesktopEntries::read() {
    m_folders.clear();
    Reading reading;
    for (const auto& folder : m_dataFolders) readFolder(folder / "applications", {}, 0, reading);
    m_index = std::make_shared<DesktopEntryIndex>(std::move(reading.entries));
}

void DesktopEntries::readFolder(const std::filesystem::path& applications,
                                const std::filesystem::path& below, int depth, Reading& reading) {
    const auto folder = below.empty() ? applications : applications / below;
    const auto state = stateOf(folder);
    // Noted before it is read: what changes meanwhile is seen the next time.
    m_folders.push_back({folder, state ? std::optional(state->changed) : std::nullopt});
    // Links may lead to a folder twice, or in circles.
    if (!state || !reading.places.insert(state->place).second) return;

    std::vector<std::filesystem::path> names;
    std::error_code error;
    for (std::filesystem::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        names.push_back(file->path().filename());
    }
    std::sort(names.begin(), names.end()); // The order on disk must not decide anything.
    for (const auto& name : names) {
        if (reading.entries.size() >= kMostEntries) return;
        const auto relative = below / name;
        const auto id = desktopId(relative);
        if (!id) {
            if (depth < kDeepest && std::filesystem::is_directory(applications / relative, error)) {
                readFolder(applications, relative, depth + 1, reading);
            }
            continue;
        }
        const auto bytes = readFile(applications / relative);
        if (!bytes) continue;
        auto entry = parseDesktopEntry(*bytes, m_keys);
        if (!entry) continue;
        entry->id = *id;
        reading.entries.push_back(*std::move(entry));
    }
}

} // namespace kelvane
