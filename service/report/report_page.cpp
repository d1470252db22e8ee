#include "service/report/report_page.h"

#include "critics/findings/finding_diff.h"
#include "service/report/html.h"
#include "service/report/marked_text.h"
#include "service/report/page_action.h"
#include "service/report/work_view.h"
#include "service/store/random_id.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <vector>

namespace trevix {

namespace {

/// Parts, and lines of what was looked at, that are named.
constexpr std::size_t kMostNamed = 60;

enum class Scripted { no, yes };

Html script(const std::string& nonce) {
    return filled(page_files::kScript, {{"nonce", nonce}, {"report", filled(page_files::kReport)}});
}

Page page(const Html& title, const Html& content, Scripted scripted = Scripted::no) {
    // Drawn for every page: a style or script that got into the page from a work does not know it,
    // and the browser passes it over.
    const std::string nonce = randomName("", 16);
    const bool report = scripted == Scripted::yes;
    Page made;
    made.html = filled(page_files::kPage, {{"title", title},
                                           {"nonce", nonce},
                                           {"style", filled(page_files::kStyle)},
                                           {"content", content},
                                           {"script", report ? script(nonce) : Html()}})
                    .markup() +
                "\n";
    // Nothing is loaded from anywhere. What a report needs beyond its style: its script, and the
    // picture within the page itself.
    made.contentSecurityPolicy = "default-src 'none'; style-src 'nonce-" + nonce + "'; ";
    if (report) {
        made.contentSecurityPolicy += "script-src 'nonce-" + nonce + "'; img-src data:; ";
    }
    // Without this a work's "<base>" could turn the forms elsewhere, and another page could put
    // this one in a frame under its own buttons.
    made.contentSecurityPolicy += "base-uri 'none'; frame-ancestors 'none'; form-action ";
    made.contentSecurityPolicy += report ? "'self'" : "'none'";
    return made;
}

std::string bandClass(Band band) {
    return std::string(name(band));
}

std::string bandWords(Band band) {
    std::string words(name(band));
    std::replace(words.begin(), words.end(), '_', ' ');
    return words;
}

const char* headline(Band band) {
    switch (band) {
    case Band::ship:
        return "Ready to ship";
    case Band::route_to_fix:
        return "Fix it before it ships";
    case Band::quarantine:
        return "Hold it back";
    case Band::block:
        return "Do not ship this";
    case Band::unknown:
        break;
    }
    return "Nobody here can judge this";
}

std::string scoreText(double score) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", score);
    return text;
}

std::string timeText(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr) return {};
    char text[48];
    // strftime pads the day with a blank, which a sentence does not begin with.
    const std::size_t length = std::strftime(text, sizeof text, "%e %b %Y, %H:%M UTC", &parts);
    return text[0] == ' ' ? std::string(text + 1, length - 1) : std::string(text, length);
}

std::string versionName(const Iteration& iteration) {
    return iteration.number == 0 ? "First version" : "Revision " + std::to_string(iteration.number);
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string changeText(const FindingDiff& diff) {
    return std::to_string(diff.fixed.size()) + " fixed, " +
           counted(diff.remaining.size(), "remains", "remain") + ", " +
           std::to_string(diff.fresh.size()) + " new";
}

std::string sizeText(std::uint64_t bytes) {
    if (bytes < 1024) return counted(bytes, "byte", "bytes");
    char text[32];
    const bool mega = bytes >= 1024U * 1024U;
    std::snprintf(text, sizeof text, "%.1f %s",
                  static_cast<double>(bytes) / (mega ? 1024.0 * 1024.0 : 1024.0),
                  mega ? "MiB" : "KiB");
    return text;
}

/// `text` in an element, or nothing around nothing.
Html unlessEmpty(std::string_view tag, std::string_view className, const std::string& text) {
    if (text.empty()) return {};
    return element(tag, {{"class", std::string(className)}, {"dir", "auto"}}, {text});
}

Html soft(const Html& text) {
    return element("span", {{"class", "what"}}, {text});
}

Html pill(Band band) {
    return element("span", {{"class", "pill " + bandClass(band)}}, {bandWords(band)});
}

/// What every card of a page is written with.
struct CardPage {
    std::string action; ///< Where forms go.
    std::string token;  ///< Empty: there are no forms.
};

Html hidden(std::string_view name, const std::string& value) {
    return voidElement("input",
                       {{"type", "hidden"}, {"name", std::string(name)}, {"value", value}});
}

Html button(PageAction::Kind kind, const Html& words) {
    return element("button",
                   {{"type", "submit"}, {"name", "do"}, {"value", std::string(trevix::name(kind))}},
                   {words});
}

/// What a person can say about the flaw.
Html sayForms(const PageFlaw& flaw, const CardPage& page) {
    if (page.token.empty()) return {};
    const auto form = [&](const Html& content) {
        // They work without script: the browser posts them, and the page comes back at the flaw.
        return element(
            "form", {{"method", "post"}, {"action", page.action}},
            {hidden("token", page.token), hidden("finding", findingKey(flaw.finding)), content});
    };
    // Empty for all flaws but a single misspelt word.
    const std::string_view word = wordOf(flaw.finding);
    if (flaw.dismissed) {
        return form(flaw.byDictionary
                        ? button(PageAction::Kind::removeWord, "Take it out of my dictionary")
                        : button(PageAction::Kind::undo, "Undo: it is a flaw"));
    }
    Html forms;
    if (!word.empty()) {
        Html words = "Add “";
        words += word;
        words += "” to my dictionary";
        // Opened first: dismissing is said with a reason, and not by a slip of the mouse.
        forms += form(button(PageAction::Kind::addWord, words));
    }
    Html dismissing = element("label", {},
                              {"Why? ", voidElement("input", {{"type", "text"},
                                                              {"name", "reason"},
                                                              {"maxlength", "500"},
                                                              {"autocomplete", "off"}})});
    dismissing += button(PageAction::Kind::dismiss, "It is no flaw");
    dismissing += element("p", {{"class", "what"}},
                          {dismissalOf(flaw.finding).place.empty()
                               ? "It will not count wherever exactly this stands, and is shown as "
                                 "dismissed."
                               : "It will not count at this place, and is shown as dismissed."});
    forms += element("details", {{"class", "say"}},
                     {element("summary", {}, {"Not a flaw …"}), form(dismissing)});
    return forms;
}

/// A flaw's place and the sentence about it.
struct Words {
    std::string_view place;
    std::string_view detail;
};

/// Where a flaw is shown at its place, the sentence need not begin with that, nor the place with
/// its part.
Words wordsOf(const PageFlaw& flaw) {
    Words words{flaw.finding.place, flaw.finding.detail};
    if (!flaw.inPlace) return words;
    // A part's name may hold ", " itself, so each of them is tried as the end of it.
    for (std::size_t at = words.place.find(", "); at != std::string_view::npos;
         at = words.place.find(", ", at + 1)) {
        const std::string opening = "In " + std::string(words.place.substr(0, at)) + ": ";
        if (!words.detail.starts_with(opening)) continue;
        words.place.remove_prefix(at + 2);
        words.detail.remove_prefix(opening.size());
        break;
    }
    // But for the first letter, which is a capital in the sentence and may be none in the place.
    const bool says = !words.place.empty() && words.detail.size() > words.place.size() + 2 &&
                      words.detail.substr(1, words.place.size() - 1) == words.place.substr(1) &&
                      words.detail.substr(words.place.size(), 2) == ": ";
    if (says) words.detail.remove_prefix(words.place.size() + 2);
    return words;
}

Html placeOnCard(const PageFlaw& flaw) {
    if (flaw.finding.place.empty() || !flaw.inPlace) {
        return unlessEmpty("span", "place", flaw.finding.place);
    }
    return element(
        "a", {{"class", "place"}, {"dir", "auto"}, {"href", "#m" + std::to_string(flaw.number)}},
        {wordsOf(flaw).place});
}

Html cardContent(const PageFlaw& flaw) {
    const Finding& finding = flaw.finding;
    const std::string severity = severityName(finding.severity);
    // Flaws of earlier versions have no number: nothing leads to them.
    const Html number = flaw.number == 0
                            ? Html()
                            : element("span", {{"class", "no"}}, {std::to_string(flaw.number)});
    const Html state = flaw.dismissed ? element("span", {{"class", "state"}}, {"dismissed"})
                       : flaw.inPlace ? unlessEmpty("span", "state", flaw.state)
                                      : Html();
    const Html detail =
        finding.detail.empty() ? Html() : element("p", {{"dir", "auto"}}, {wordsOf(flaw).detail});
    // Below the line itself the quote would stand there twice.
    const Html evidence = flaw.inPlace ? Html() : unlessEmpty("code", "evidence", finding.evidence);
    Html content =
        element("div", {{"class", "top"}},
                {number, element("span", {{"class", "sev " + severity}}, {name(finding.severity)}),
                 element("b", {{"dir", "auto"}}, {finding.criterion}), placeOnCard(flaw), state});
    content += detail;
    content += evidence;
    if (flaw.dismissed) {
        const Html why = flaw.byDictionary  ? Html("The word is in your dictionary.")
                         : flaw.why.empty() ? Html("You said that this is no flaw.")
                                            : Html("You said that this is no flaw: " + flaw.why);
        content += element("p", {{"class", "why"}, {"dir", "auto"}}, {why});
    }
    return content;
}

Html foot(const PageFlaw& flaw, const Html& forms) {
    return element("div", {{"class", "foot"}},
                   {forms, element("span", {{"class", "rule"}}, {flaw.finding.rule})});
}

/// A flaw that can be led to, with what can be said about it.
Html numberedCard(const PageFlaw& flaw, const void* page) {
    // By digest, so that the address stays right when numbers change; see UserActions::form().
    const Html anchor = element("span", {{"id", "k-" + findingKey(flaw.finding)}}, {});
    Html card = element("article",
                        {{"class", "flaw " + flawClass(flaw.finding.severity, flaw.dismissed)},
                         {"id", "f" + std::to_string(flaw.number)},
                         {"tabindex", "-1"}},
                        {anchor, cardContent(flaw),
                         foot(flaw, sayForms(flaw, *static_cast<const CardPage*>(page)))});
    return card += "\n";
}

/// A flaw of another version.
Html plainCard(const Finding& finding) {
    PageFlaw flaw;
    flaw.finding = finding;
    Html card = element("article", {{"class", "flaw " + flawClass(finding.severity, false)}},
                        {cardContent(flaw), foot(flaw, {})});
    return card += "\n";
}

Html cardList(Html cards, std::size_t leftOut) {
    if (leftOut > 0) {
        cards += element("p", {{"class", "gap"}},
                         {std::to_string(leftOut) + " more are not shown; the answer of the API "
                                                    "lists all of them."});
    }
    Html list = element("div", {{"class", "flaws"}}, {"\n", cards});
    return list += "\n";
}

Html flawList(const std::vector<Finding>& findings, std::size_t most) {
    // Stable, so that those of one severity stay in the order of the work.
    std::vector<Finding> heaviestFirst = findings;
    std::stable_sort(heaviestFirst.begin(), heaviestFirst.end(),
                     [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
    Html cards;
    const std::size_t shown = std::min(most, heaviestFirst.size());
    for (std::size_t i = 0; i < shown; ++i) cards += plainCard(heaviestFirst[i]);
    return cardList(std::move(cards), heaviestFirst.size() - shown);
}

Html section(const char* level, const std::string& id, const char* title, std::size_t count,
             const Html& content) {
    if (count == 0) return {};
    const Html shown = element("span", {{"class", "count"}}, {std::to_string(count)});
    Html made = element("section", {{"class", "is-" + id}},
                        {element(level, {}, {title, " ", shown}), "\n", content});
    return made += "\n";
}

Html earlierSections(const FindingDiff& diff) {
    const auto list = [](const char* id, const char* title, const std::vector<Finding>& findings) {
        return section("h3", id, title, findings.size(), flawList(findings, kMostEarlierFlaws));
    };
    Html sections = list("new", "New", diff.fresh);
    sections += list("remaining", "Remaining", diff.remaining);
    return sections += list("fixed", "Fixed", diff.fixed);
}

/// The cards of those flaws that are not shown with the work, the heaviest first.
Html sectionOf(const std::vector<PageFlaw>& flaws, const char* id, const char* title,
               std::string_view state, bool dismissed, const CardPage& page) {
    std::vector<const PageFlaw*> chosen;
    for (const PageFlaw& flaw : flaws) {
        if (!flaw.inPlace && flaw.dismissed == dismissed && (dismissed || flaw.state == state)) {
            chosen.push_back(&flaw);
        }
    }
    std::stable_sort(chosen.begin(), chosen.end(), [](const PageFlaw* a, const PageFlaw* b) {
        return a->finding.severity > b->finding.severity;
    });
    Html cards;
    const std::size_t shown = std::min(kMostCards, chosen.size());
    for (std::size_t i = 0; i < shown; ++i) cards += numberedCard(*chosen[i], &page);
    return section("h2", id, title, chosen.size(),
                   cardList(std::move(cards), chosen.size() - shown));
}

Html ring(const Iteration& iteration) {
    const auto hundredths = std::lround(std::clamp(iteration.score, 0.0, 1.0) * 100.0);
    // A dash of no length would still show its round ends.
    // Its round ends come from the style of the line.
    const Html value = hundredths == 0 ? Html()
                                       : filled(page_files::kRingValue,
                                                {{"hundredths", std::to_string(hundredths)}});
    return filled(page_files::kRing, {{"band", bandClass(iteration.band)},
                                      {"score", scoreText(iteration.score)},
                                      {"value", value}});
}

Html partsList(const std::vector<PartSummary>& parts) {
    if (parts.empty()) return "none";
    Html list;
    for (const PartSummary& part : parts) {
        if (!list.empty()) list += lineBreak();
        // Compared by address, because parts may have equal names.
        if (&part == parts.data() + kMostNamed) {
            return list += soft("and " + std::to_string(parts.size() - kMostNamed) + " more");
        }
        list += element("bdi", {}, {part.name.empty() ? "unnamed" : part.name});
        list += " ";
        list += soft(part.mimeType + ", " + sizeText(part.bytes));
    }
    return list;
}

Html term(const char* name, const Html& description) {
    if (description.empty()) return {};
    Html made = element("dt", {}, {name});
    return made += element("dd", {}, {description});
}

/// Who judged it, and what nobody could judge.
Html coverageList(const Coverage& coverage) {
    if (coverage.checkedBy.empty() && coverage.notChecked.empty()) return {};
    Html items = "\n";
    std::size_t named = 0;
    for (const CheckedBy& by : coverage.checkedBy) {
        if (named++ == kMostNamed) break;
        const std::string engine = by.version.empty() ? by.engine : by.engine + " " + by.version;
        items += element("li", {{"class", "checked"}}, {by.knows, " ", soft(engine)});
        items += "\n";
    }
    named = 0;
    for (const NotChecked& gap : coverage.notChecked) {
        if (named++ == kMostNamed) break;
        const std::string advice = gap.remedy.empty() ? gap.why : gap.why + "; " + gap.remedy;
        items += element("li", {{"class", "missed"}}, {gap.what, " ", soft(advice)});
        items += "\n";
    }
    Html section =
        element("section", {{"class", "coverage"}},
                {element("h2", {}, {"What was looked at"}), "\n", element("ul", {}, {items})});
    return section += "\n";
}

Html dismissedWords(std::size_t count) {
    if (count == 0) return {};
    return element("p", {{"class", "change"}},
                   {counted(count, "dismissed", "dismissed"), " ",
                    soft("by you; band and score are without")});
}

Html verdictCard(const RunRecord& run, const std::string& change) {
    const Iteration& now = run.latest();
    const Html since = change.empty() ? Html()
                                      : element("p", {{"class", "change"}},
                                                {change, " ", soft("since the version before")});
    const Html words = element("div", {},
                               {pill(now.band), element("h1", {}, {headline(now.band)}),
                                element("p", {{"class", "what"}, {"dir", "auto"}}, {now.intent}),
                                since, dismissedWords(now.dismissed.size())});
    const Html facts = element("dl", {{"class", "meta"}},
                               {term("Judged", timeText(now.createdMs)),
                                term("Version", versionName(now)), term("Kind", run.modality),
                                term("Field", run.vertical), term("Parts", partsList(now.parts))});
    Html card = element("section", {{"class", "card"}},
                        {element("div", {{"class", "verdict"}}, {ring(now), words}), facts});
    return card += "\n";
}

/// The version `number` of the run: what was found in the first one, what each later one changed.
Html earlierVersion(const RunRecord& run, std::size_t number) {
    const Iteration& iteration = run.iterations[number];
    std::string summary;
    Html details;
    if (number == 0) {
        summary = counted(iteration.findings.size(), "flaw", "flaws");
        details = iteration.findings.empty() ? element("p", {{"class", "none"}}, {"No flaws."})
                                             : flawList(iteration.findings, kMostEarlierFlaws);
    } else {
        const FindingDiff diff =
            compareFindings(run.iterations[number - 1].findings, iteration.findings);
        summary = changeText(diff);
        details = earlierSections(diff);
    }
    const Html head = element("summary", {},
                              {element("b", {}, {versionName(iteration)}), pill(iteration.band),
                               element("span", {}, {scoreText(iteration.score)}),
                               soft(timeText(iteration.createdMs)), soft(summary)});
    Html card = element("details", {{"class", "card"}}, {head, element("div", {}, {details})});
    return card += "\n";
}

/// Earlier versions, latest first. The latest itself stands above.
Html history(const RunRecord& run) {
    if (run.iterations.size() < 2) return {};
    Html made = element("h2", {}, {"Earlier versions"});
    made += "\n";
    const std::size_t last = run.iterations.size() - 1;
    // Counts down to 0 without going below it.
    for (std::size_t number = last; number-- > 0;) {
        if (last - number > kMostVersions) {
            return made +=
                   element("p", {{"class", "gap"}},
                           {counted(number + 1, "earlier version is", "earlier versions are") +
                            " not shown."});
        }
        made += earlierVersion(run, number);
    }
    return made;
}

/// As one word of a shell, whatever is in it.
std::string quotedForShell(std::string_view path) {
    std::string quoted = "'";
    // Between single quotes a shell changes nothing; one of its own is put between two such texts.
    for (const char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

/// The findings of the latest version as its page shows them, in their order.
std::vector<PageFlaw> pageFlaws(const Iteration& now, const FindingDiff* diff) {
    std::vector<PageFlaw> flaws;
    const auto add = [&](const std::vector<Finding>& findings, const char* state) {
        for (const Finding& finding : findings) {
            PageFlaw flaw;
            flaw.finding = finding;
            flaw.state = state;
            flaws.push_back(std::move(flaw));
        }
    };
    if (diff == nullptr) {
        add(now.findings, "");
    } else {
        add(diff->fresh, "new");
        add(diff->remaining, "remaining");
    }
    for (const DismissedFinding& one : now.dismissed) {
        PageFlaw flaw;
        flaw.finding = one.finding;
        flaw.dismissed = true;
        flaw.why = one.reason;
        flaw.byDictionary = one.byDictionary;
        flaws.push_back(std::move(flaw));
    }
    return flaws;
}

/// Only the heaviest are shown in the work where there are very many.
std::size_t dropLightest(std::vector<PageFlaw>& flaws) {
    if (flaws.size() <= kMostCards) return 0;
    std::stable_sort(flaws.begin(), flaws.end(), [](const PageFlaw& a, const PageFlaw& b) {
        // What was dismissed is the lightest of all.
        return a.dismissed != b.dismissed ? b.dismissed : a.finding.severity > b.finding.severity;
    });
    const std::size_t dropped = flaws.size() - kMostCards;
    flaws.resize(kMostCards);
    return dropped;
}

Html filterBar(const std::vector<Finding>& findings) {
    if (findings.empty()) return {};
    const auto count = [&](Severity severity) {
        return std::to_string(
            std::count_if(findings.begin(), findings.end(),
                          [&](const Finding& finding) { return finding.severity == severity; }));
    };
    Html bar = filled(page_files::kFilter, {{"critical", count(Severity::critical)},
                                            {"high", count(Severity::high)},
                                            {"medium", count(Severity::medium)},
                                            {"low", count(Severity::low)}});
    return bar += "\n";
}

/// Every flaw in a line, the heaviest first, where they are scattered over the work.
Html overview(const std::vector<PageFlaw>& flaws) {
    std::vector<const PageFlaw*> order;
    for (const PageFlaw& flaw : flaws) {
        if (!flaw.dismissed) order.push_back(&flaw);
    }
    // A list of one says nothing that the flaw itself does not.
    if (order.size() < 2) return {};
    std::stable_sort(order.begin(), order.end(), [](const PageFlaw* a, const PageFlaw* b) {
        return a->finding.severity != b->finding.severity
                   ? a->finding.severity > b->finding.severity
                   : a->number < b->number;
    });
    Html items = "\n";
    for (const PageFlaw* flaw : order) {
        const std::string severity = severityName(flaw->finding.severity);
        items += element("li", {{"class", "line f-" + severity}},
                         {element("a", {{"href", "#f" + std::to_string(flaw->number)}},
                                  {element("span", {{"class", "sev " + severity}},
                                           {name(flaw->finding.severity)}),
                                   " ", flaw->finding.criterion}),
                          " ", unlessEmpty("span", "place", flaw->finding.place)});
        items += "\n";
    }
    Html made = element(
        "details", {{"class", "card overview"}},
        {element("summary", {}, {"All flaws, the heaviest first"}), element("ol", {}, {items})});
    return made += "\n";
}

Html workSection(const Html& work) {
    if (work.empty()) return {};
    Html made = element("section", {{"class", "work"}, {"id", "work"}},
                        {element("h2", {}, {"The work"}), "\n", work});
    return made += "\n";
}

Html notShown(const Iteration& now) {
    // Where there are no flaws nothing is missed.
    if (now.parts.empty() || now.findings.empty()) return {};
    Html made = element("p", {{"class", "none"}},
                        {"The work itself is not kept, or no longer: its flaws are listed."});
    return made += "\n";
}

Html changesSection(const RunRecord& run, const FindingDiff& diff, const ReportExtras& extras,
                    const std::vector<PageFlaw>& flaws) {
    const Html changes = changesView(run.iterations[run.iterations.size() - 2], extras.workBefore,
                                     diff.fixed, run.latest(), extras.work, flaws);
    if (changes.empty()) return {};
    Html made = element("details", {{"class", "card changes"}},
                        {element("summary", {}, {"What changed since the version before"}),
                         element("div", {}, {changes})});
    return made += "\n";
}

} // namespace

Page reportPage(const RunRecord& run, const ReportExtras& extras) {
    const Iteration& now = run.latest();
    const bool revised = run.iterations.size() > 1;
    FindingDiff diff;
    if (revised) {
        diff = compareFindings(run.iterations[run.iterations.size() - 2].findings, now.findings);
    }
    std::vector<PageFlaw> flaws = pageFlaws(now, revised ? &diff : nullptr);
    // Before the work is drawn, which draws a card for each that is left.
    const std::size_t dropped = dropLightest(flaws);
    const CardPage cards{"/console?run=" + run.id, extras.formToken};
    // Numbers the flaws and says which of them are shown in the work; all that follows reads that.
    const Html work = workView(now, run.modality, extras.work, flaws, numberedCard, &cards);

    Html content;
    if (!extras.notice.empty()) {
        content += element("p", {{"class", "card notice"}, {"role", "alert"}}, {extras.notice});
    }
    content += verdictCard(run, revised ? changeText(diff) : std::string());
    content += filterBar(now.findings);
    if (!work.empty()) content += overview(flaws);
    if (revised) content += changesSection(run, diff, extras, flaws);
    content += workSection(work);
    if (work.empty()) content += notShown(now);
    if (revised) {
        content +=
            sectionOf(flaws, "new", work.empty() ? "New" : "New, elsewhere", "new", false, cards);
        content +=
            sectionOf(flaws, "remaining", work.empty() ? "Remaining" : "Remaining, elsewhere",
                      "remaining", false, cards);
    } else {
        content +=
            sectionOf(flaws, "found", work.empty() ? "Flaws" : "Flaws elsewhere", "", false, cards);
    }
    if (dropped > 0) {
        content += element("p", {{"class", "gap"}},
                           {counted(dropped, "lighter flaw is", "lighter flaws are") +
                            " not shown; the answer of the API lists all of them."});
        content += "\n";
    }
    content +=
        section("h2", "fixed", "Fixed", diff.fixed.size(), flawList(diff.fixed, kMostEarlierFlaws));
    if (now.findings.empty()) {
        content += element("h2", {}, {"No flaws"});
        content += "\n";
        content +=
            element("p", {{"class", "none"}}, {"Nothing was found that would have to be fixed."});
        content += "\n";
    }
    content += sectionOf(flaws, "dismissed", "Dismissed", "", true, cards);
    content += coverageList(now.coverage);
    content += history(run);
    return page(bandWords(now.band) + " · " + scoreText(now.score) + " · Trevix report", content,
                Scripted::yes);
}

Page noSuchRunPage() {
    return page("No such report · Trevix", filled(page_files::kNoSuchRun));
}

Page closedReportPage() {
    return page("Report · Trevix", filled(page_files::kClosedReport));
}

Page notDonePage(std::string_view runId, std::string_view why) {
    return page("Not done · Trevix",
                filled(page_files::kNotDone,
                       {{"why", why}, {"report", "/console?run=" + std::string(runId)}}));
}

Page connectPage(std::string_view base, std::string_view keyFile) {
    const auto& file = keyFile.empty() ? page_files::kConnectGivenKey : page_files::kConnect;
    return page("Connect · Trevix", filled(file, {{"base", base},
                                                  {"key_file", keyFile},
                                                  {"quoted_key_file", quotedForShell(keyFile)}}));
}

Page indexPage() {
    return page("Trevix local", filled(page_files::kIndex));
}

} // namespace trevix
