#include "platform/linux/desktop_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>

namespace kelvane {

namespace {

constexpr std::size_t kLongestFile = 1 << 20;
constexpr std::size_t kMostEntries = 20'000;
constexpr int kDeepest = 8;
constexpr std::chrono::seconds kLookAgainAfter{5};

/// Reads a regular file, nothing else: a pipe in a folder must not hold us up.
std::optional<std::string> readFile(const std::filesystem::path& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return std::nullopt;
    std::optional<std::string> bytes;
    struct stat status {};
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size >= 0 &&
        static_cast<std::size_t>(status.st_size) <= kLongestFile) {
        std::string& room = bytes.emplace(static_cast<std::size_t>(status.st_size), '\0');
        std::size_t have = 0;
        while (have < room.size()) {
            const auto got = ::read(file, room.data() + have, room.size() - have);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            have += static_cast<std::size_t>(got);
        }
        room.resize(have);
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

} // namespace

DesktopVariables desktopVariables(Environment& environment) {
    const auto value = [&](std::string_view name) { return environment.get(name).value_or(""); };
    return {.home = value("HOME"),
            .xdgDataHome = value("XDG_DATA_HOME"),
            .xdgDataDirs = value("XDG_DATA_DIRS"),
            .lcAll = value("LC_ALL"),
            .lcMessages = value("LC_MESSAGES"),
            .lang = value("LANG")};
}

DesktopFiles::DesktopFiles(std::vector<std::filesystem::path> dataFolders,
                           const std::string& locale, Clock& clock)
    : m_dataFolders(std::move(dataFolders)),
      m_keys(localeKeys(locale)),
      m_clock(clock) {}

std::shared_ptr<const DesktopEntryIndex> DesktopFiles::index() {
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

void DesktopFiles::read() {
    m_folders.clear();
    Reading reading;
    for (const auto& folder : m_dataFolders) readFolder(folder / "applications", {}, 0, reading);
    m_index = std::make_shared<DesktopEntryIndex>(std::move(reading.entries));
}

void DesktopFiles::readFolder(const std::filesystem::path& applications,
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
