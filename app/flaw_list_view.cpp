#include "app/flaw_list_view.h"

#include "app/editor_line.h"
#include "app/known_sentences.h"
#include "text/shown_text.h"
#include "text/translation.h"

#include <algorithm>
#include <string_view>

namespace kelvane {

namespace {

using text::filled;
using text::shownLine;
using text::shownParagraph;
using text::translated;

constexpr std::string_view kSpelling = "text.spelling";

FlawListItem item(const Flaw& flaw, const CompanionModel& model) {
    FlawListItem item;
    item.row = flawRow(flaw);
    item.place = shownLine(flaw.place);
    // The service's own sentences quote it.
    const bool isQuoted = flaw.detail.find(flaw.evidence) != std::string::npos;
    if (!isQuoted) item.evidence = shownParagraph(flaw.evidence);
    item.spoken = item.row.severity + ": " + item.row.text;
    if (!item.place.empty()) item.spoken += ", " + item.place;
    item.mayDismiss = model.takesLastWord() && !flaw.rule.empty();
    item.mayAddWord = item.mayDismiss && !misspeltWord(flaw).empty();
    item.mayGoTo = model.canGoTo(flaw);
    return item;
}

} // namespace

FlawListView flawListView(const CompanionModel& model) {
    FlawListView view;
    const auto& verdict = *model.verdict;
    if (*model.grading || !verdict) return view;
    const auto& flaws = verdict->flaws;
    view.title = translated("Panel", "%n flaw", "%n flaws", flaws.size());
    const std::size_t listed = std::min(flaws.size(), kMostFlawsListed);
    for (std::size_t i = 0; i < listed; ++i) view.items.push_back(item(flaws[i], model));
    if (flaws.size() > listed) {
        view.more = filled(translated("Panel", "+%1 more in the full report"),
                           {std::to_string(flaws.size() - listed)});
    }
    view.note = shownParagraph(translatedSentence(model.flawNote->value_or("")));
    view.mayUndo = model.mayUndoLastWord();
    return view;
}

std::string misspeltWord(const Flaw& flaw) {
    const bool one = flaw.rule == kSpelling && !flaw.evidence.empty() &&
                     flaw.evidence.find_first_of(" #\t\n") == std::string::npos &&
                     flaw.evidence.find("…") == std::string::npos;
    return one ? flaw.evidence : std::string();
}

std::string flawText(const Flaw& flaw) {
    std::string line = flaw.severity.empty() ? "" : flaw.severity + ": ";
    if (!flaw.criterion.empty()) line += flaw.criterion + ": ";
    line += flaw.detail;
    if (!flaw.place.empty()) line += " (" + flaw.place + ")";
    if (flaw.detail.find(flaw.evidence) == std::string::npos) line += ": “" + flaw.evidence + "”";
    return shownParagraph(line);
}

std::string flawsText(const std::vector<Flaw>& flaws) {
    std::string all;
    for (const Flaw& flaw : flaws) all += flawText(flaw) + '\n';
    return all;
}

} // namespace kelvane
