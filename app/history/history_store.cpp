#include "app/history/history_store.h"

#include "platform/ports/file_system.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace kelvane::history {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr std::string_view kEnding = ".json";
// Names that are tried for one verdict: two of the same millisecond are rare, and alike only when
// two instances have them.
constexpr int kNames = 100;
constexpr std::size_t kDigits = 13; // of a time in milliseconds, until the year 2286

/// "1772546709123-00": sorts by time.
std::string idAt(std::int64_t ms, int number) {
    std::array<char, 40> text{};
    const int length = std::snprintf(text.data(), text.size(), "%013lld-%02d",
                                     static_cast<long long>(std::max<std::int64_t>(ms, 0)), number);
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

/// Of nothing but what `idAt` writes: an id is a file's name.
bool isId(std::string_view id) {
    return id.size() == kDigits + 3 && id[kDigits] == '-' &&
           id.find_first_not_of("0123456789-") == std::string_view::npos;
}

std::int64_t timeOf(const std::string& id) {
    return std::stoll(id.substr(0, kDigits));
}

/// The ids in a folder, the oldest first.
std::vector<std::string> idsIn(FileSystem& files, const fs::path& folder) {
    std::vector<std::string> ids;
    for (const std::string& name : files.list(folder).value_or(std::vector<std::string>())) {
        if (!name.ends_with(kEnding)) continue;
        auto id = name.substr(0, name.size() - kEnding.size());
        if (isId(id)) ids.push_back(std::move(id));
    }
    return ids;
}

fs::path fileOf(const fs::path& folder, const std::string& id) {
    return folder / (id + std::string(kEnding));
}

std::string underWayText(const UnderWay& job) {
    json object = {{"job_id", job.jobId},
                   {"base", job.base},
                   {"desktop", job.desktop},
                   {"accepted_ms", job.acceptedMs},
                   {"work", lineOf(job.work)}};
    return object.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

std::optional<UnderWay> underWayIn(const std::string& text) {
    // Of one level, and written by this program alone.
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object()) return std::nullopt;
    const auto string = [&](const char* key) {
        const auto found = object.find(key);
        return found != object.end() && found->is_string() ? found->get<std::string>()
                                                           : std::string();
    };
    const auto time = object.find("accepted_ms");
    auto work = entryInLine(string("work"));
    if (!work || time == object.end() || !time->is_number_integer()) return std::nullopt;
    UnderWay job{.jobId = string("job_id"),
                 .base = string("base"),
                 .desktop = string("desktop"),
                 .acceptedMs = time->get<std::int64_t>(),
                 .work = *std::move(work)};
    if (job.jobId.empty()) return std::nullopt;
    return job;
}

} // namespace

HistoryStore::HistoryStore(FileSystem& files, const fs::path& braskHome,
                           std::function<std::int64_t()> nowMs)
    : m_files(files),
      m_folder(braskHome / "history"),
      m_underWay(braskHome / "under-way"),
      m_nowMs(std::move(nowMs)) {}

std::optional<std::string> HistoryStore::record(VerdictEntry entry) {
    entry.timeMs = m_nowMs();
    const std::string line = lineOf(entry);
    if (line.size() > kLongestEntry) return std::nullopt;
    for (int number = 0; number < kNames; ++number) {
        auto id = idAt(entry.timeMs, number);
        const auto file = fileOf(m_folder, id);
        if (m_files.exists(file)) continue;
        if (!m_files.writePrivately(file, line)) return std::nullopt;
        prune();
        return id;
    }
    return std::nullopt;
}

std::vector<VerdictEntry> HistoryStore::list() const {
    std::vector<VerdictEntry> entries;
    auto ids = idsIn(m_files, m_folder);
    std::ranges::reverse(ids);
    const std::int64_t oldest = m_nowMs() - std::chrono::milliseconds(kLongestAge).count();
    for (std::string& id : ids) {
        if (entries.size() == kMostEntries || timeOf(id) < oldest) break;
        const auto text = m_files.readAny(fileOf(m_folder, id), kLongestEntry);
        auto entry = text ? entryInLine(*text) : std::nullopt;
        if (!entry) continue;
        entry->id = std::move(id);
        entries.push_back(*std::move(entry));
    }
    return entries;
}

bool HistoryStore::holdsRun(const std::string& runId) const {
    const auto isOfIt = [&](const VerdictEntry& entry) { return entry.runId == runId; };
    return !runId.empty() && std::ranges::any_of(list(), isOfIt);
}

void HistoryStore::prune() {
    const auto ids = idsIn(m_files, m_folder);
    const std::int64_t oldest = m_nowMs() - std::chrono::milliseconds(kLongestAge).count();
    std::size_t kept = 0;
    std::size_t bytes = 0;
    // The newest first: what does not fit behind them goes.
    for (auto id = ids.rbegin(); id != ids.rend(); ++id) {
        const auto file = fileOf(m_folder, *id);
        const bool fits = kept < kMostEntries && timeOf(*id) >= oldest && bytes <= kMostBytes;
        const auto text = fits ? m_files.readAny(file, kLongestEntry) : std::nullopt;
        bytes += text ? text->size() : 0;
        if (fits && bytes <= kMostBytes) {
            ++kept;
        } else {
            m_files.remove(file);
        }
    }
}

bool HistoryStore::erase(const std::string& id) {
    return isId(id) && m_files.remove(fileOf(m_folder, id));
}

bool HistoryStore::eraseAll() {
    return !m_files.exists(m_folder) || m_files.removeTree(m_folder);
}

void HistoryStore::keepUnderWay(const UnderWay& job) {
    m_files.writePrivately(fileOf(m_underWay, digestOf(job.jobId)), underWayText(job));
}

void HistoryStore::endUnderWay(const std::string& jobId) {
    m_files.remove(fileOf(m_underWay, digestOf(jobId)));
}

std::vector<UnderWay> HistoryStore::takeUp(const std::string& desktop,
                                           std::chrono::milliseconds most) {
    std::vector<UnderWay> jobs;
    for (const auto& name : m_files.list(m_underWay).value_or(std::vector<std::string>())) {
        if (!name.ends_with(kEnding)) continue;
        const auto text = m_files.readAny(m_underWay / name, 2 * kLongestEntry);
        auto job = text ? underWayIn(*text) : std::nullopt;
        const std::int64_t age = job ? m_nowMs() - job->acceptedMs : 0;
        // From the future: a clock was set, and how long it has waited nobody knows.
        if (!job || age < 0 || age >= most.count()) {
            m_files.remove(m_underWay / name);
            continue;
        }
        if (job->desktop == desktop) jobs.push_back(*std::move(job));
    }
    std::ranges::sort(jobs, {}, &UnderWay::acceptedMs);
    return jobs;
}

} // namespace kelvane::history
