#include "app/history/version_comparison.h"

#include "text/unicode.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

namespace kelvane::history {

namespace {

// Unchanged lines around a change, as every tool of this kind shows them.
constexpr std::size_t kContext = 3;
// Edits that are looked for one by one. The search keeps a row for each and takes the square of it:
// 1,000 are 4 MB and some milliseconds.
constexpr int kMostEdits = 1'000;

std::string ruleOf(const Flaw& flaw) {
    return flaw.rule.empty() ? flaw.criterion : flaw.rule;
}

std::string evidenceOf(const Flaw& flaw) {
    return flaw.evidence.empty() ? flaw.detail : flaw.evidence;
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty() && lines.size() < kMostLines) {
        const auto end = text.find('\n');
        auto line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

using Lines = std::vector<std::string_view>;
using Kind = DiffLine::Kind;

void add(std::vector<DiffLine>& to, Kind kind, std::string_view line) {
    to.push_back({kind, std::string(line)});
}

void replaceAll(std::vector<DiffLine>& to, const Lines& before, const Lines& after) {
    for (const auto line : before) add(to, Kind::Removed, line);
    for (const auto line : after) add(to, Kind::Added, line);
}

/// The shortest way from one to the other (Myers, 1986), walked back from its end.
std::vector<DiffLine> shortestEdit(const Lines& before, const Lines& after) {
    const int n = static_cast<int>(before.size());
    const int m = static_cast<int>(after.size());
    const int most = std::min(n + m, kMostEdits);
    // rows[d][k + d]: how far diagonal k gets in `before` with d edits.
    std::vector<std::vector<int>> rows;
    const auto place = [](int d, int k) {
        const int at = k + d;
        return static_cast<std::size_t>(at);
    };
    const auto reached = [&](const std::vector<int>& row, int d, int k) {
        return k < -d || k > d ? -1 : row[place(d, k)];
    };
    int edits = -1;
    for (int d = 0; d <= most && edits < 0; ++d) {
        std::vector<int> row(static_cast<std::size_t>(2 * d + 1), -1);
        for (int k = -d; k <= d; k += 2) {
            int x = 0;
            if (d > 0) {
                const auto& last = rows.back();
                const int down = reached(last, d - 1, k + 1);
                const int right = reached(last, d - 1, k - 1);
                x = k == -d || (k != d && right < down) ? down : right + 1;
            }
            int y = x - k;
            while (x < n && y < m && x >= 0 && y >= 0 &&
                   before[static_cast<std::size_t>(x)] == after[static_cast<std::size_t>(y)]) {
                ++x;
                ++y;
            }
            row[place(d, k)] = x;
            if (k == n - m && x >= n) edits = d;
        }
        rows.push_back(std::move(row));
    }
    std::vector<DiffLine> lines;
    if (edits < 0) {
        replaceAll(lines, before, after);
        return lines;
    }
    int x = n;
    int y = m;
    for (int d = edits; d > 0; --d) {
        const auto& last = rows[static_cast<std::size_t>(d - 1)];
        const int k = x - y;
        const int down = reached(last, d - 1, k + 1);
        const int right = reached(last, d - 1, k - 1);
        const bool isAdded = k == -d || (k != d && right < down);
        const int fromX = isAdded ? down : right + 1;
        // The equal lines behind the edit, then the edit itself.
        while (x > fromX) {
            add(lines, Kind::Same, before[static_cast<std::size_t>(--x)]);
            --y;
        }
        if (isAdded) {
            add(lines, Kind::Added, after[static_cast<std::size_t>(--y)]);
        } else {
            add(lines, Kind::Removed, before[static_cast<std::size_t>(--x)]);
        }
    }
    while (x > 0) add(lines, Kind::Same, before[static_cast<std::size_t>(--x)]);
    std::ranges::reverse(lines);
    return lines;
}

/// Only what is near a change, one line for each stretch that is left out.
std::vector<DiffLine> withContext(const std::vector<DiffLine>& all) {
    std::vector<bool> near(all.size(), false);
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].kind == Kind::Same) continue;
        const std::size_t end = std::min(all.size(), i + kContext + 1);
        for (std::size_t k = i < kContext ? 0 : i - kContext; k < end; ++k) near[k] = true;
    }
    std::vector<DiffLine> shown;
    for (std::size_t i = 0; i < all.size();) {
        std::size_t end = i;
        while (end < all.size() && !near[end]) ++end;
        if (end > i) {
            add(shown, Kind::Skipped, std::to_string(end - i));
            i = end;
            continue;
        }
        if (shown.size() >= kMostDiffLines) {
            add(shown, Kind::Skipped, std::to_string(all.size() - i));
            break;
        }
        shown.push_back(all[i++]);
    }
    return shown;
}

bool holds(const std::string& lowered, const VerdictEntry& entry, std::string_view word) {
    return lowered.find(word) != std::string::npos ||
           (entry.text && text::lowercased(*entry.text).find(word) != std::string::npos);
}

} // namespace

FlawChanges compareFlaws(const std::vector<Flaw>& before, const std::vector<Flaw>& after) {
    std::vector<bool> wasPaired(before.size(), false);
    std::vector<bool> isPaired(after.size(), false);
    const auto pair = [&](auto key) {
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (isPaired[i]) continue;
            for (std::size_t k = 0; k < before.size(); ++k) {
                if (wasPaired[k] || key(before[k]) != key(after[i])) continue;
                wasPaired[k] = isPaired[i] = true;
                break;
            }
        }
    };
    pair([](const Flaw& flaw) { return std::tuple(ruleOf(flaw), evidenceOf(flaw), flaw.place); });
    pair([](const Flaw& flaw) { return std::tuple(ruleOf(flaw), evidenceOf(flaw)); });
    FlawChanges changes;
    for (std::size_t k = 0; k < before.size(); ++k) {
        if (!wasPaired[k]) changes.fixed.push_back(before[k]);
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
        (isPaired[i] ? changes.remaining : changes.fresh).push_back(after[i]);
    }
    return changes;
}

std::vector<DiffLine> compareTexts(std::string_view before, std::string_view after) {
    if (before == after) return {};
    Lines one = linesOf(before);
    Lines other = linesOf(after);
    // What both begin and end with needs no search.
    std::size_t head = 0;
    while (head < one.size() && head < other.size() && one[head] == other[head]) ++head;
    std::size_t tail = 0;
    while (tail < one.size() - head && tail < other.size() - head &&
           one[one.size() - 1 - tail] == other[other.size() - 1 - tail]) {
        ++tail;
    }
    const auto middle = [&](const Lines& lines) {
        return Lines(lines.begin() + static_cast<std::ptrdiff_t>(head),
                     lines.end() - static_cast<std::ptrdiff_t>(tail));
    };
    std::vector<DiffLine> all;
    for (std::size_t i = 0; i < head; ++i) add(all, Kind::Same, one[i]);
    for (auto& line : shortestEdit(middle(one), middle(other))) all.push_back(std::move(line));
    for (std::size_t i = one.size() - tail; i < one.size(); ++i) add(all, Kind::Same, one[i]);
    const bool differs =
        std::ranges::any_of(all, [](const DiffLine& line) { return line.kind != Kind::Same; });
    return differs ? withContext(all) : std::vector<DiffLine>();
}

Comparison compare(const VerdictEntry& one, const VerdictEntry& other) {
    const bool isInOrder = one.timeMs <= other.timeMs;
    Comparison result;
    result.before = isInOrder ? one : other;
    result.after = isInOrder ? other : one;
    result.flaws = compareFlaws(result.before.flaws, result.after.flaws);
    result.hasTexts = one.text && other.text;
    result.isSameWork = !one.digest.empty() && one.digest == other.digest;
    if (result.hasTexts) result.text = compareTexts(*result.before.text, *result.after.text);
    return result;
}

const VerdictEntry* versionBefore(const std::vector<VerdictEntry>& entries,
                                  const VerdictEntry& entry) {
    const auto self = std::ranges::find(entries, entry.id, &VerdictEntry::id);
    if (self == entries.end()) return nullptr;
    const auto find = [&](auto isVersion) -> const VerdictEntry* {
        const auto found = std::find_if(self + 1, entries.end(), isVersion);
        return found == entries.end() ? nullptr : &*found;
    };
    if (!entry.runId.empty()) {
        const auto* const ofRun =
            find([&](const VerdictEntry& other) { return other.runId == entry.runId; });
        if (ofRun != nullptr) return ofRun;
    }
    return find([&](const VerdictEntry& other) {
        return other.app == entry.app && other.kind == entry.kind &&
               other.isPicture == entry.isPicture;
    });
}

std::vector<VerdictEntry> search(const std::vector<VerdictEntry>& entries, std::string_view words,
                                 const ShownNames& shown) {
    std::vector<std::string> wanted;
    std::string lowered = text::lowercased(words);
    for (std::size_t at = 0; at < lowered.size();) {
        const auto begin = lowered.find_first_not_of(" \t\n", at);
        if (begin == std::string::npos) break;
        at = std::min(lowered.find_first_of(" \t\n", begin), lowered.size());
        wanted.push_back(lowered.substr(begin, at - begin));
    }
    std::vector<VerdictEntry> found;
    for (const VerdictEntry& entry : entries) {
        std::string told = entry.app + '\n' + entry.kind + '\n' + std::string(name(entry.band)) +
                           '\n' + isoTime(entry.timeMs) + '\n' + entry.error.value_or("");
        for (const Flaw& flaw : entry.flaws) {
            told += '\n' + flaw.severity + ' ' + flaw.criterion + ' ' + flaw.detail + ' ' +
                    flaw.rule + ' ' + flaw.evidence;
        }
        if (shown) told += '\n' + shown(entry);
        told = text::lowercased(told);
        if (std::ranges::all_of(wanted,
                                [&](const auto& word) { return holds(told, entry, word); })) {
            found.push_back(entry);
        }
    }
    return found;
}

} // namespace kelvane::history
