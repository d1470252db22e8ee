#include "critics/findings/finding_diff.h"

#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <array>
#include <cstddef>
#include <deque>
#include <map>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

bool namesAPlace(std::string_view word) {
    static constexpr std::array<std::string_view, 14> kWords{
        "line", "lines", "row",   "rows", "column", "columns", "page",
        "cell", "cells", "pages", "part", "parts",  "slide",   "slides"};
    return text::isOneOf(word, kWords);
}

// "12", "C4", "AB17": what follows a word such as "line" or "cell". 0 when nothing of the kind
// does.
std::size_t positionLength(std::string_view text) {
    std::size_t letters = 0;
    // Three letters name the last column that a sheet has.
    while (letters < text.size() && letters < 3 && text[letters] >= 'A' && text[letters] <= 'Z') {
        ++letters;
    }
    std::size_t end = letters;
    while (end < text.size() && text::isAsciiDigit(text[end])) ++end;
    if (end == letters) return 0;
    return end < text.size() && text::isAsciiLetter(text[end]) ? 0 : end;
}

using Key = std::array<std::string, 3>;

// One round of pairing: equal keys are paired in order.
template <typename KeyOf>
void pairUp(const std::vector<Finding>& before, const std::vector<Finding>& after,
            std::vector<bool>& beforeTaken, std::vector<bool>& afterTaken, const KeyOf& keyOf) {
    // Queues, so that of several equal findings the first is paired with the first.
    std::map<Key, std::deque<std::size_t>> open;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (!beforeTaken[i]) open[keyOf(before[i])].push_back(i);
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (afterTaken[i]) continue;
        const auto found = open.find(keyOf(after[i]));
        if (found == open.end() || found->second.empty()) continue;
        beforeTaken[found->second.front()] = true;
        afterTaken[i] = true;
        found->second.pop_front();
    }
}

} // namespace

std::string withoutPlaces(std::string_view evidence) {
    std::string kept;
    std::size_t i = 0;
    while (i < evidence.size()) {
        if (!text::isAsciiLetter(evidence[i])) {
            kept += evidence[i++];
            continue;
        }
        std::size_t end = i;
        while (end < evidence.size() && text::isAsciiLetter(evidence[end])) ++end;
        const std::string_view word = evidence.substr(i, end - i);
        kept += word;
        i = end;
        if (!namesAPlace(text::lowerAscii(word)) || i >= evidence.size() || evidence[i] != ' ')
            continue;
        if (const std::size_t length = positionLength(evidence.substr(i + 1)); length > 0) {
            kept += " #";
            i += 1 + length;
        }
    }
    return kept;
}

FindingDiff compareFindings(const std::vector<Finding>& before, const std::vector<Finding>& after) {
    std::vector<bool> beforeTaken(before.size());
    std::vector<bool> afterTaken(after.size());
    // From the surest pairing to the most doubtful: the very same finding; the same words
    // elsewhere, since what stands above them has grown or shrunk; other words of the same rule at
    // the same place. What is left over has gone, or is new. Each round takes time by the number of
    // findings times its logarithm.
    pairUp(before, after, beforeTaken, afterTaken, [](const Finding& f) {
        return Key{f.rule, f.place, f.evidence};
    });
    pairUp(before, after, beforeTaken, afterTaken, [](const Finding& f) {
        return Key{f.rule, withoutPlaces(f.evidence), {}};
    });
    pairUp(before, after, beforeTaken, afterTaken, [](const Finding& f) {
        return Key{f.rule, f.place, {}};
    });

    FindingDiff diff;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (!beforeTaken[i]) diff.fixed.push_back(before[i]);
    }
    for (std::size_t i = 0; i < after.size(); ++i) {
        (afterTaken[i] ? diff.remaining : diff.fresh).push_back(after[i]);
    }
    return diff;
}

} // namespace trevix
