#include "critics/findings/finding_list.h"

#include "critics/findings/shown_secret.h"
#include "text/byte_cut.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

// One character can be any number of combining marks; evidence stays small even then.
constexpr std::size_t kMostEvidenceBytes = 1200;
constexpr std::string_view kEllipsis = "…";

std::string onOneLine(std::string_view text) {
    std::string line;
    bool blankPending = false;
    for (std::size_t i = 0; i < text.size();) {
        const text::Decoded point = text::decodeFront(text.substr(i));
        // The C1 controls too: some terminals obey them.
        const bool control =
            point.codePoint < 0x20 || (point.codePoint >= 0x7F && point.codePoint < 0xA0);
        // A run of blanks is one, and none at either end.
        if (text::isSpace(point.codePoint) || (point.codePoint != text::kNoCodePoint && control)) {
            blankPending = !line.empty();
        } else {
            if (blankPending) line += ' ';
            blankPending = false;
            if (point.codePoint != text::kNoCodePoint) {
                line += text.substr(i, point.length);
            } else {
                line += "\xEF\xBF\xBD";
            }
        }
        i += point.length;
    }
    return line;
}

/// The place as a sentence begins with it: "Line 12", "At x 10, y 40".
std::string beginning(std::string place) {
    // The name of a coordinate has no capital.
    if (place.starts_with("x ")) return "At " + place;
    if (!place.empty() && place[0] >= 'a' && place[0] <= 'z') {
        place[0] = static_cast<char>(place[0] - 'a' + 'A');
    }
    return place;
}

Finding findingOf(std::string_view id, std::string_view criterion, Severity severity,
                  std::string_view place, std::string evidence, std::string detail) {
    return {severity,           std::string(id),     std::string(criterion),
            std::string(place), std::move(evidence), std::move(detail)};
}

Finding worded(std::string_view id, std::string_view criterion, Severity severity,
               std::string_view place, std::string evidence, std::string_view says) {
    std::string detail =
        beginning(std::string(place)) + ": “" + evidence + "” " + std::string(says) + ".";
    return findingOf(id, criterion, severity, place, std::move(evidence), std::move(detail));
}

Finding worded(const Rule& rule, Severity severity, std::string_view place, std::string evidence,
               std::string_view says) {
    return worded(rule.id, rule.criterion, severity, place, std::move(evidence), says);
}

} // namespace

std::string shortened(std::string_view text, std::size_t limit) {
    // A prefix that is surely long enough, so that a text of many megabytes costs nothing.
    const bool cutAway = text.size() > 4 * kMostEvidenceBytes;
    std::string line = onOneLine(text.substr(0, 4 * kMostEvidenceBytes));
    std::string_view kept = text::firstCharacters(line, limit);
    if (kept.size() == line.size() && line.size() <= kMostEvidenceBytes && !cutAway) return line;
    // One less, for the ellipsis.
    kept = text::firstBytes(text::firstCharacters(line, limit - 1), kMostEvidenceBytes);
    return std::string(kept) + std::string(kEllipsis);
}

void FindingList::hide(std::size_t offset, std::size_t length) {
    m_hidden.emplace_back(offset, offset + length);
}

std::string FindingList::quote(std::size_t offset, std::size_t length) const {
    const std::string_view text = m_source->text();
    offset = std::min(offset, text.size());
    // Reading a little past what can be shown is enough.
    // A cut in the middle of a code point is dealt with by shortened(), which reads far less.
    const std::size_t end =
        offset + std::min({length, text.size() - offset, std::size_t{5} * kMostEvidenceBytes});
    std::string shown;
    std::size_t at = offset;
    // Hidden spans are in order and do not overlap; the first that ends behind the beginning.
    const auto firstOverlap =
        std::upper_bound(m_hidden.begin(), m_hidden.end(), offset,
                         [](std::size_t value, const auto& span) { return value < span.second; });
    for (auto span = firstOverlap; span != m_hidden.end() && span->first < end; ++span) {
        if (span->first > at) shown += text.substr(at, span->first - at);
        const std::string_view secret = text.substr(span->first, span->second - span->first);
        shown += shownSecret(secret);
        at = std::min(std::max(at, span->second), end);
    }
    shown += text.substr(at, end - at);
    return shortened(shown);
}

template <typename Place>
bool FindingList::admit(std::string_view id, GradedRule rule, const Place& place) {
    // Looked up before a string is made: most findings are of rules that have some already.
    const auto known = m_tallies.find(id);
    Tally& tally = known != m_tallies.end() ? known->second : m_tallies[std::string(id)];
    tally.criterion = rule.rule().criterion;
    if (++tally.count <= kMostFindingsPerRule) return true;
    // The place costs a search in the text, so it is found for the first one only.
    if (tally.firstUnlisted.empty()) tally.firstUnlisted = place();
    tally.worstUnlisted = std::max(tally.worstUnlisted, rule.severity());
    return false;
}

void FindingList::add(GradedRule rule, std::size_t offset, std::size_t length,
                      std::string_view says) {
    const auto place = [&] { return m_source->place(offset, length); };
    if (!admit(rule.rule().id, rule, place)) return;
    m_findings.emplace_back(
        offset, worded(rule.rule(), rule.severity(), place(), quote(offset, length), says));
}

void FindingList::addWith(GradedRule rule, std::size_t offset, std::string_view evidence,
                          std::string_view says) {
    const auto place = [&] { return m_source->place(offset); };
    if (!admit(rule.rule().id, rule, place)) return;
    m_findings.emplace_back(
        offset, worded(rule.rule(), rule.severity(), place(), shortened(evidence), says));
}

void FindingList::addForeign(GradedRule rule, std::string_view code, std::size_t offset,
                             std::size_t evidence, std::size_t length, std::string_view says) {
    const std::string_view family = rule.rule().id;
    // The family's id ends in "*", which the code takes the place of.
    const std::string id = std::string(family.substr(0, family.size() - 1)) + std::string(code);
    const auto place = [&] { return m_source->place(offset); };
    if (!admit(id, rule, place)) return;
    m_findings.emplace_back(offset, worded(id, rule.rule().criterion, rule.severity(), place(),
                                           quote(evidence, length), says));
}

void FindingList::addAt(GradedRule rule, std::string_view place, std::string_view evidence,
                        std::string detail) {
    if (!admit(rule.rule().id, rule, [&] { return std::string(place); })) return;
    m_findings.emplace_back(0, findingOf(rule.rule().id, rule.rule().criterion, rule.severity(),
                                         place, shortened(evidence), std::move(detail)));
}

std::vector<Finding> FindingList::take() {
    // Stable: at one place the order of the rules stands.
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Finding> findings;
    findings.reserve(m_findings.size());
    for (auto& [offset, finding] : m_findings) findings.push_back(std::move(finding));
    // After all others, in the order of the ids, so that the same work has the same list.
    for (const auto& [id, tally] : m_tallies) {
        if (tally.count <= kMostFindingsPerRule) continue;
        findings.push_back(worded(id, tally.criterion, tally.worstUnlisted, tally.firstUnlisted,
                                  std::to_string(tally.count - kMostFindingsPerRule) + " more",
                                  "of the same kind are not listed, the first of them here"));
    }
    m_findings.clear();
    m_tallies.clear();
    return findings;
}

} // namespace trevix
