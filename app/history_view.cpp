#include "app/history_view.h"

#include "text/shown_text.h"
#include "text/translation.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace kelvane {

namespace {

using history::DiffLine;
using history::VerdictEntry;
using text::filled;
using text::shownLine;
using text::shownParagraph;
using text::shownWithin;
using text::translated;
using Kind = HistoryDetail::Kind;

std::string dayOf(std::int64_t ms, const LocalTime& local) {
    return history::isoTime(local(ms)).substr(0, 10);
}

std::string flawsOf(const VerdictEntry& entry) {
    return translated("Panel", "%n flaw", "%n flaws", entry.flawCount);
}

std::string kindOf(const VerdictEntry& entry) {
    return entry.isPicture ? translated("Modality", "a picture")
                           : shownWithin(modalityLabel(entry.kind));
}

/// As it is said: the sign that is drawn for no verdict is not a word.
std::string bandName(Band band) {
    return band == Band::unknown ? translated("History", "no verdict") : bandPill(band).label;
}

HistoryLine verdictLine(const VerdictEntry& entry, const LocalTime& local) {
    HistoryLine line;
    line.kind = HistoryLine::Kind::Verdict;
    line.id = entry.id;
    line.pill = bandPill(entry.band);
    if (entry.score) line.score = scoreText(*entry.score).value_or("");
    line.text = clockOf(entry.timeMs, local) + " · " + kindOf(entry) + " · " + flawsOf(entry);
    line.spoken = shownWithin(entry.app) + ", " + momentOf(entry.timeMs, local) + ", " +
                  bandName(entry.band) + (line.score.empty() ? "" : ", Trevix " + line.score) +
                  ", " + flawsOf(entry);
    return line;
}

std::string counted(std::string heading, std::size_t count) {
    return std::move(heading) + " (" + std::to_string(count) + ")";
}

void addFlaws(HistoryDetails& details, std::string heading, const std::vector<Flaw>& flaws,
              std::size_t count) {
    details.lines.push_back({Kind::Heading, std::move(heading), {}, {}});
    const std::size_t shown = std::min(flaws.size(), kMostHistoryFlaws);
    for (std::size_t i = 0; i < shown; ++i) {
        auto row = flawRow(flaws[i]);
        if (!flaws[i].place.empty()) row.text += " (" + shownLine(flaws[i].place) + ")";
        details.lines.push_back(
            {Kind::Flaw, std::move(row.text), std::move(row.severity), row.severityTint});
    }
    if (count > shown) {
        details.lines.push_back({Kind::Note,
                                 filled(translated("Panel", "+%1 more in the full report"),
                                        {std::to_string(count - shown)}),
                                 {},
                                 {}});
    }
}

std::size_t countIn(const std::string& digits) {
    std::size_t count = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), count);
    return count;
}

HistoryDetail diffLine(const DiffLine& line) {
    switch (line.kind) {
    case DiffLine::Kind::Removed:
        return {Kind::Removed, shownLine(line.text), {}, Tint::red};
    case DiffLine::Kind::Added:
        return {Kind::Added, shownLine(line.text), {}, Tint::green};
    case DiffLine::Kind::Skipped:
        return {Kind::Skipped,
                translated("History", "%n line is not shown", "%n lines are not shown",
                           countIn(line.text)),
                {},
                Tint::secondary};
    case DiffLine::Kind::Same:
        break;
    }
    return {Kind::Same, shownLine(line.text), {}, Tint::primary};
}

} // namespace

std::string shownNames(const VerdictEntry& entry) {
    return kindOf(entry) + '\n' + bandName(entry.band);
}

std::string momentOf(std::int64_t ms, const LocalTime& local) {
    const std::string time = history::isoTime(local(ms));
    // "2026-03-03T14:05:09Z"
    return time.size() < 16 ? time : time.substr(0, 10) + " " + time.substr(11, 5);
}

std::string clockOf(std::int64_t ms, const LocalTime& local) {
    const std::string moment = momentOf(ms, local);
    return moment.size() < 16 ? moment : moment.substr(11);
}

std::vector<HistoryLine> historyLines(const std::vector<VerdictEntry>& entries,
                                      const LocalTime& local) {
    std::vector<std::pair<std::string, std::vector<const VerdictEntry*>>> apps;
    for (const VerdictEntry& entry : entries) {
        const auto found = std::ranges::find(apps, entry.app, &decltype(apps)::value_type::first);
        if (found == apps.end()) {
            apps.push_back({entry.app, {&entry}});
        } else {
            found->second.push_back(&entry);
        }
    }
    std::vector<HistoryLine> lines;
    for (const auto& [app, verdicts] : apps) {
        lines.push_back({.kind = HistoryLine::Kind::App,
                         .text = shownLine(app),
                         .id = {},
                         .pill = {},
                         .score = {},
                         .spoken = shownLine(app)});
        std::string day;
        for (const VerdictEntry* const verdict : verdicts) {
            if (auto its = dayOf(verdict->timeMs, local); its != day) {
                day = std::move(its);
                lines.push_back({.kind = HistoryLine::Kind::Day,
                                 .text = day,
                                 .id = {},
                                 .pill = {},
                                 .score = {},
                                 .spoken = day});
            }
            lines.push_back(verdictLine(*verdict, local));
        }
    }
    return lines;
}

HistoryDetails historyDetails(const VerdictEntry& entry, const LocalTime& local) {
    HistoryDetails details;
    details.title = shownWithin(entry.app) + ", " + momentOf(entry.timeMs, local);
    details.hasReport = !entry.runId.empty();
    addFlaws(details, counted(translated("History", "Flaws"), entry.flawCount), entry.flaws,
             entry.flawCount);
    if (entry.flawCount == 0) {
        details.lines.back() = {
            Kind::Note, translated("History", "No flaws were listed."), {}, Tint::secondary};
    }
    return details;
}

HistoryDetails comparisonDetails(const history::Comparison& comparison, const LocalTime& local) {
    HistoryDetails details;
    const auto& [before, after] = std::pair(comparison.before, comparison.after);
    details.title = shownWithin(after.app) + ", " + momentOf(before.timeMs, local) + " → " +
                    momentOf(after.timeMs, local);
    details.hasReport = !after.runId.empty();
    details.spoken = details.title;
    const auto add = [&](std::string heading, const std::vector<Flaw>& flaws) {
        heading = counted(std::move(heading), flaws.size());
        details.spoken += ", " + heading;
        addFlaws(details, std::move(heading), flaws, flaws.size());
    };
    add(translated("History", "Fixed"), comparison.flaws.fixed);
    add(translated("History", "Remaining"), comparison.flaws.remaining);
    add(translated("History", "New"), comparison.flaws.fresh);
    const bool isCut =
        before.flawCount > before.flaws.size() || after.flawCount > after.flaws.size();
    if (isCut) {
        details.lines.push_back(
            {Kind::Note,
             filled(translated("History", "Of a verdict with more than %1 flaws the "
                                          "first are compared."),
                    {std::to_string(history::kMostFlaws)}),
             {},
             Tint::secondary});
    }
    details.lines.push_back({Kind::Heading, translated("History", "Text"), {}, {}});
    if (!comparison.hasTexts) {
        details.lines.push_back(
            {Kind::Note,
             comparison.isSameWork
                 ? translated("History", "The work is the same.")
                 : translated("History", "The text is kept only of what this machine has graded; "
                                         "pictures are not."),
             {},
             Tint::secondary});
    } else if (comparison.text.empty()) {
        details.lines.push_back(
            {Kind::Note, translated("History", "No line differs."), {}, Tint::secondary});
    }
    for (const DiffLine& line : comparison.text) details.lines.push_back(diffLine(line));
    if (before.textIsCut || after.textIsCut) {
        details.lines.push_back(
            {Kind::Note,
             filled(translated("History", "Of a long text the first %1 KiB are kept."),
                    {std::to_string(history::kLongestText / 1024)}),
             {},
             Tint::secondary});
    }
    return details;
}

} // namespace kelvane
