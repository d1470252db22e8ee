#include "app/settings/settings_store.h"

#include "platform/ports/file_system.h"
#include "text/translation.h"

#include <utility>

namespace kelvane {

using text::translated;

SettingsStore::SettingsStore(FileSystem& files, const std::filesystem::path& braskHome)
    : m_files(files),
      m_file(braskHome / "settings.json") {}

bool SettingsStore::look() {
    const auto before = std::pair(m_settings, m_problems);
    const auto guard = m_files.guard(m_file);
    if (!guard) {
        m_text.reset();
        m_isUsable = true;
        take({});
    } else if (!guard->isOurs || guard->othersWrite) {
        m_isUsable = false;
        take(unusableSettings(m_file.string() + ": " +
                              translated("Settings",
                                         "somebody else could have written it; nothing of it is "
                                         "used (make it yours, chmod 600)")));
    } else if (auto text = m_files.readAny(m_file, kLongestSettings)) {
        m_text = std::move(*text);
        m_isUsable = true;
        take(parseSettings(*m_text, m_file.string()));
    } else {
        m_isUsable = false;
        take(unusableSettings(m_file.string() + ": " + translated("Settings", "cannot be read")));
    }
    return before != std::pair(m_settings, m_problems);
}

void SettingsStore::take(SettingsRead read) {
    m_problems = std::move(read.problems);
    if (!read.isTrusted && m_wasTrusted) return;
    m_wasTrusted = m_wasTrusted || read.isTrusted;
    m_settings = std::move(read.settings);
}

std::optional<std::string> SettingsStore::change(const std::function<void(Settings&)>& edit) {
    look();
    if (!m_isUsable) return m_problems.front();
    Settings wished = m_settings;
    edit(wished);
    const auto text = settingsText(m_text.value_or(""), wished);
    if (!text) return m_problems.front() + " " + translated("Settings", "Mend it, or delete it.");
    m_files.createDirectories(m_file.parent_path());
    // Where a link leads elsewhere, the link stays.
    if (!m_files.writeAtomically(m_files.resolve(m_file), *text)) {
        return text::filled(translated("Settings", "%1 could not be written."), {m_file.string()});
    }
    look();
    return std::nullopt;
}

} // namespace kelvane
