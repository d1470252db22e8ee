#include "platform/linux/rules/desktop_entries.h"

#include "text/unicode.h"
#include "text/xdg_folders.h"

#include <algorithm>
#include <set>
#include <utility>

namespace kelvane {

namespace {

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
        if (rank >= m_rank || !text::isValidUtf8(value)) return;
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

std::string messagesLocale(const DesktopVariables& variables) {
    for (const auto& value : {variables.lcAll, variables.lcMessages}) {
        if (!value.empty()) return value;
    }
    return variables.lang;
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
        if (!language.empty() || !text::isValidUtf8(value)) continue;
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
    if (id.empty() || id.ends_with('/') || !text::isValidUtf8(id)) return std::nullopt;
    std::replace(id.begin(), id.end(), '/', '-');
    return id;
}

std::vector<std::filesystem::path> dataFolders(const DesktopVariables& variables) {
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
    const std::filesystem::path home = variables.home;
    add(text::xdgDataHome(variables.xdgDataHome, home));
    const std::string system =
        variables.xdgDataDirs.empty() ? "/usr/local/share:/usr/share" : variables.xdgDataDirs;
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
            m_byLowerClass[text::lowerAscii(entry.startupWmClass)].push_back(&entry);
        }
        if (std::count(entry.id.begin(), entry.id.end(), '.') >= 2) {
            m_byLastComponent[text::lowerAscii(entry.id.substr(entry.id.rfind('.') + 1))].push_back(
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
    return exact.empty() ? find(m_byLowerClass, text::lowerAscii(wmClass)) : exact;
}

const DesktopEntryIndex::Found&
DesktopEntryIndex::byLastComponent(std::string_view component) const {
    return find(m_byLastComponent, text::lowerAscii(component));
}

} // namespace kelvane
