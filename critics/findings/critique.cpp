#include "critics/findings/critique.h"

#include "text/build_version.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace trevix {

namespace {

// Linear, in lists of a few dozen.
template <typename Entry>
void addOnce(std::vector<Entry>& list, Entry entry) {
    if (std::find(list.begin(), list.end(), entry) == list.end()) list.push_back(std::move(entry));
}

void takeIn(Critique& critique, Critique& other) {
    std::move(other.findings.begin(), other.findings.end(), std::back_inserter(critique.findings));
    for (CheckedBy& by : other.coverage.checkedBy) critique.coverage.checked(std::move(by));
    for (NotChecked& gap : other.coverage.notChecked) critique.coverage.missed(std::move(gap));
}

} // namespace

void Coverage::checked(CheckedBy by) {
    addOnce(checkedBy, std::move(by));
}

void Coverage::missed(NotChecked gap) {
    addOnce(notChecked, std::move(gap));
}

CheckedBy ownRules(std::string knows) {
    return {"trevix", std::string(kelvane::text::buildVersion()), std::move(knows)};
}

void addSecondOpinion(Critique& critique, Critique other) {
    // Of the same part: its size is counted once, by whoever saw most of it, and it is known when
    // one of them knows it.
    takeIn(critique, other);
    critique.extent.words = std::max(critique.extent.words, other.extent.words);
    critique.extent.lines = std::max(critique.extent.lines, other.extent.lines);
    critique.extent.cells = std::max(critique.extent.cells, other.extent.cells);
    critique.coverage.known = critique.coverage.known || other.coverage.known;
}

void addPart(Critique& critique, Critique other) {
    // Of another part: sizes add up, and the whole is known only when all of it is.
    takeIn(critique, other);
    critique.extent.words += other.extent.words;
    critique.extent.lines += other.extent.lines;
    critique.extent.cells += other.extent.cells;
    critique.coverage.known = critique.coverage.known && other.coverage.known;
}

} // namespace trevix
