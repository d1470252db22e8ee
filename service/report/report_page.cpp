#include "service/report/report_page.h"

#include "critics/findings/finding_diff.h"
#include "service/report/html.h"
#include "service/store/random_id.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <vector>

namespace trevix {

namespace {

Page page(const Html& title, const Html& content) {
    const std::string nonce = randomName("", 16);
    Page made;
    made.html = filled(page_files::kPage, {{"title", title},
                                           {"nonce", nonce},
                                           {"style", filled(page_files::kStyle)},
                                           {"content", content}})
                    .markup() +
                "\n";
    made.contentSecurityPolicy = "default-src 'none'; style-src 'nonce-" + nonce +
                                 "'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
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

std::string lowerName(Severity severity) {
    std::string lower(name(severity));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return static_cast<char>(c + 32); });
    return lower;
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

Html flawItem(const Finding& finding) {
    const std::string severity = lowerName(finding.severity);
    const Html top =
        element("div", {{"class", "top"}},
                {element("span", {{"class", "sev " + severity}}, {name(finding.severity)}),
                 element("b", {{"dir", "auto"}}, {finding.criterion}),
                 unlessEmpty("span", "place", finding.place)});
    const Html detail =
        finding.detail.empty() ? Html() : element("p", {{"dir", "auto"}}, {finding.detail});
    return element("li", {{"class", "flaw f-" + severity}},
                   {top, detail, unlessEmpty("code", "evidence", finding.evidence),
                    element("span", {{"class", "rule"}}, {finding.rule})});
}

Html flawList(const std::vector<Finding>& findings) {
    std::vector<Finding> heaviestFirst = findings;
    std::stable_sort(heaviestFirst.begin(), heaviestFirst.end(),
                     [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
    Html items = "\n";
    for (const Finding& finding : heaviestFirst) {
        items += flawItem(finding);
        items += "\n";
    }
    Html list = element("ul", {{"class", "flaws"}}, {items});
    return list += "\n";
}

Html section(const char* level, const std::string& id, const char* title,
             const std::vector<Finding>& findings) {
    if (findings.empty()) return {};
    const Html count = element("span", {{"class", "count"}}, {std::to_string(findings.size())});
    Html made = element("section", {{"class", "is-" + id}},
                        {element(level, {}, {title, " ", count}), "\n", flawList(findings)});
    return made += "\n";
}

Html diffSections(const char* level, const FindingDiff& diff) {
    Html sections = section(level, "new", "New", diff.fresh);
    sections += section(level, "remaining", "Remaining", diff.remaining);
    return sections += section(level, "fixed", "Fixed", diff.fixed);
}

Html ring(const Iteration& iteration) {
    const auto hundredths = std::lround(std::clamp(iteration.score, 0.0, 1.0) * 100.0);
    // A dash of no length would still show its round ends.
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
    for (const CheckedBy& by : coverage.checkedBy) {
        const std::string engine = by.version.empty() ? by.engine : by.engine + " " + by.version;
        items += element("li", {{"class", "checked"}}, {by.knows, " ", soft(engine)});
        items += "\n";
    }
    for (const NotChecked& gap : coverage.notChecked) {
        const std::string advice = gap.remedy.empty() ? gap.why : gap.why + "; " + gap.remedy;
        items += element("li", {{"class", "missed"}}, {gap.what, " ", soft(advice)});
        items += "\n";
    }
    Html section =
        element("section", {{"class", "coverage"}},
                {element("h2", {}, {"What was looked at"}), "\n", element("ul", {}, {items})});
    return section += "\n";
}

Html verdictCard(const RunRecord& run, const std::string& change) {
    const Iteration& now = run.latest();
    const Html since = change.empty() ? Html()
                                      : element("p", {{"class", "change"}},
                                                {change, " ", soft("since the version before")});
    const Html words =
        element("div", {},
                {pill(now.band), element("h1", {}, {headline(now.band)}),
                 element("p", {{"class", "what"}, {"dir", "auto"}}, {now.intent}), since});
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
                                             : flawList(iteration.findings);
    } else {
        const FindingDiff diff =
            compareFindings(run.iterations[number - 1].findings, iteration.findings);
        summary = changeText(diff);
        details = diffSections("h3", diff);
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
    for (std::size_t number = run.iterations.size() - 1; number-- > 0;) {
        made += earlierVersion(run, number);
    }
    return made;
}

/// As one word of a shell, whatever is in it.
std::string quotedForShell(std::string_view path) {
    std::string quoted = "'";
    for (const char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

} // namespace

Page reportPage(const RunRecord& run) {
    const Iteration& now = run.latest();
    Html content;
    if (run.iterations.size() == 1) {
        content = verdictCard(run, {});
        content += section("h2", "found", "Flaws", now.findings);
    } else {
        const FindingDiff diff =
            compareFindings(run.iterations[run.iterations.size() - 2].findings, now.findings);
        content = verdictCard(run, changeText(diff));
        content += diffSections("h2", diff);
    }
    if (now.findings.empty()) {
        content += element("h2", {}, {"No flaws"});
        content += "\n";
        content +=
            element("p", {{"class", "none"}}, {"Nothing was found that would have to be fixed."});
        content += "\n";
    }
    content += coverageList(now.coverage);
    content += history(run);
    return page(bandWords(now.band) + " · " + scoreText(now.score) + " · Trevix report", content);
}

Page noSuchRunPage() {
    return page("No such report · Trevix", filled(page_files::kNoSuchRun));
}

Page closedReportPage() {
    return page("Report · Trevix", filled(page_files::kClosedReport));
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
