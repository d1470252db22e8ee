#include "service/verdict_limits.h"

#include "text/byte_cut.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace trevix {

namespace {

constexpr std::string_view kEllipsis = "\xe2\x80\xa6";

void cut(std::string& text) {
    text = cutTo(std::move(text), kLongestText);
}

// Those that weigh most, in the order in which they stood.
std::size_t keepMostSevere(std::vector<Finding>& findings) {
    // How many of each severity there is room for, then one pass that keeps the first so many of
    // each: the order stays, and nothing is sorted.
    if (findings.size() <= kMostFindings) return 0;
    std::map<Severity, std::size_t> counts;
    for (const Finding& finding : findings) ++counts[finding.severity];
    std::size_t room = kMostFindings;
    for (auto level = counts.rbegin(); level != counts.rend(); ++level) {
        level->second = std::min(level->second, room);
        room -= level->second;
    }
    const std::size_t left = findings.size() - kMostFindings;
    std::erase_if(findings, [&](const Finding& finding) {
        std::size_t& more = counts[finding.severity];
        return more == 0 || more-- == 0;
    });
    return left;
}

} // namespace

std::string cutTo(std::string text, std::size_t bytes) {
    if (text.size() <= bytes) return text;
    text.resize(kelvane::text::firstBytes(text, bytes - kEllipsis.size()).size());
    // A text of megabytes that was cut would otherwise go on holding them until it is stored.
    text.shrink_to_fit();
    return text.append(kEllipsis);
}

Iteration withinLimits(Iteration verdict) {
    // Without limits, work of the largest size made an answer of 94 MB, which went out with each
    // poll.
    verdict.intent = cutTo(std::move(verdict.intent), kLongestIntent);
    const std::size_t unlisted = keepMostSevere(verdict.findings);
    for (Finding& finding : verdict.findings) {
        for (std::string* text : {&finding.rule, &finding.criterion, &finding.place,
                                  &finding.evidence, &finding.detail}) {
            cut(*text);
        }
    }
    const std::size_t unnamed = verdict.parts.size() - std::min(verdict.parts.size(), kMostNamed);
    verdict.parts.resize(verdict.parts.size() - unnamed);
    for (PartSummary& part : verdict.parts) {
        cut(part.name);
        cut(part.mimeType);
    }
    // What is left out here is not told, since nobody mends anything by it.
    auto& checked = verdict.coverage.checkedBy;
    checked.resize(std::min(checked.size(), kMostNamed));
    for (CheckedBy& by : checked) {
        for (std::string* text : {&by.engine, &by.version, &by.knows}) cut(*text);
    }
    auto& missed = verdict.coverage.notChecked;
    const std::size_t gaps = missed.size() - std::min(missed.size(), kMostNamed);
    missed.resize(missed.size() - gaps);
    for (NotChecked& gap : missed) {
        for (std::string* text : {&gap.what, &gap.why, &gap.remedy}) cut(*text);
    }
    // These come on top of what is listed, so that a verdict never looks more complete than it is.
    const auto tell = [&](std::size_t count, const char* what, std::size_t most) {
        if (count == 0) return;
        missed.push_back({std::to_string(count) + " more " + what,
                          "a verdict lists at most " + std::to_string(most) + " of them",
                          "grade fewer parts at a time, or mend what is listed first"});
    };
    tell(unlisted, "findings", kMostFindings);
    tell(unnamed, "parts", kMostNamed);
    tell(gaps, "gaps", kMostNamed);
    return verdict;
}

} // namespace trevix
