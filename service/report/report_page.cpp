#include "service/report/report_page.h"

#include "critics/findings/finding_diff.h"
#include "service/report/html_text.h"
#include "service/report/report_style.h"
#include "service/store/random_id.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <vector>

namespace trevix {

namespace {

Page page(const std::string& title, const std::string& content) {
    const std::string nonce = randomName("", 16);
    Page made;
    made.html = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
                "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
                "<title>" +
                title + "</title><style nonce=\"" + nonce + "\">" + std::string(kStyle) +
                "</style></head>\n<body><main>\n<p class=\"brand\"><a href=\"/\">Trevix local</a>"
                "</p>\n" +
                content + "\n</main></body></html>\n";
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
        break;
    }
    return "Do not ship this";
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

std::string flawItem(const Finding& finding) {
    const std::string severity = lowerName(finding.severity);
    std::string html = "<li class=\"flaw f-" + severity +
                       "\"><div class=\"top\"><span class=\"sev " + severity + "\">" +
                       std::string(name(finding.severity)) + "</span><b dir=\"auto\">" +
                       htmlText(finding.criterion) + "</b>";
    if (!finding.place.empty()) {
        html += "<span class=\"place\" dir=\"auto\">" + htmlText(finding.place) + "</span>";
    }
    html += "</div>";
    if (!finding.detail.empty()) html += "<p dir=\"auto\">" + htmlText(finding.detail) + "</p>";
    if (!finding.evidence.empty()) {
        html += "<code class=\"evidence\" dir=\"auto\">" + htmlText(finding.evidence) + "</code>";
    }
    return html + "<span class=\"rule\">" + htmlText(finding.rule) + "</span></li>\n";
}

std::string flawList(const std::vector<Finding>& findings) {
    std::vector<Finding> heaviestFirst = findings;
    std::stable_sort(heaviestFirst.begin(), heaviestFirst.end(),
                     [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
    std::string html = "<ul class=\"flaws\">\n";
    for (const Finding& finding : heaviestFirst) html += flawItem(finding);
    return html + "</ul>\n";
}

std::string section(const char* level, const std::string& id, const std::string& title,
                    const std::vector<Finding>& findings) {
    if (findings.empty()) return {};
    return "<section class=\"is-" + id + "\"><" + level + ">" + title + " <span class=\"count\">" +
           std::to_string(findings.size()) + "</span></" + level + ">\n" + flawList(findings) +
           "</section>\n";
}

std::string diffSections(const char* level, const FindingDiff& diff) {
    return section(level, "new", "New", diff.fresh) +
           section(level, "remaining", "Remaining", diff.remaining) +
           section(level, "fixed", "Fixed", diff.fixed);
}

std::string ring(const Iteration& iteration) {
    const int hundredths =
        static_cast<int>(std::lround(std::clamp(iteration.score, 0.0, 1.0) * 100.0));
    const std::string score = scoreText(iteration.score);
    std::string html = "<svg class=\"ring " + bandClass(iteration.band) +
                       "\" viewBox=\"0 0 100 100\" role=\"img\" aria-label=\"Score " + score +
                       " of 1\"><circle class=\"track\" cx=\"50\" cy=\"50\" r=\"43\"/>";
    if (hundredths > 0) {
        html += "<circle class=\"value\" cx=\"50\" cy=\"50\" r=\"43\" pathLength=\"100\" "
                "stroke-dasharray=\"" +
                std::to_string(hundredths) + " 100\" transform=\"rotate(-90 50 50)\"/>";
    }
    return html + "<text x=\"50\" y=\"56\">" + score +
           "</text><text class=\"of\" x=\"50\" y=\"72\">of 1</text></svg>";
}

std::string partsText(const std::vector<PartSummary>& parts) {
    if (parts.empty()) return "none";
    std::string html;
    for (const PartSummary& part : parts) {
        if (!html.empty()) html += "<br>";
        html += "<bdi>" + htmlText(part.name.empty() ? "unnamed" : part.name) +
                "</bdi> <span class=\"what\">" + htmlText(part.mimeType) + ", " +
                sizeText(part.bytes) + "</span>";
    }
    return html;
}

std::string term(const char* name, const std::string& html) {
    return html.empty() ? std::string() : std::string("<dt>") + name + "</dt><dd>" + html + "</dd>";
}

std::string verdictCard(const RunRecord& run, const std::string& change) {
    const Iteration& now = run.latest();
    std::string html = "<section class=\"card\"><div class=\"verdict\">" + ring(now) +
                       "<div><span class=\"pill " + bandClass(now.band) + "\">" +
                       bandWords(now.band) + "</span><h1>" + headline(now.band) +
                       "</h1><p class=\"what\" dir=\"auto\">" + htmlText(now.intent) + "</p>";
    if (!change.empty()) {
        html += "<p class=\"change\">" + change +
                " <span class=\"what\">since the version before"
                "</span></p>";
    }
    html += "</div></div><dl class=\"meta\">";
    html += term("Judged", timeText(now.createdMs));
    html += term("Version", versionName(now));
    html += term("Kind", htmlText(run.modality));
    html += term("Field", htmlText(run.vertical));
    html += term("Parts", partsText(now.parts));
    return html + "</dl></section>\n";
}

// Earlier versions and what each changed, latest first. The latest itself stands above.
std::string history(const RunRecord& run) {
    if (run.iterations.size() < 2) return {};
    std::string html = "<h2>Earlier versions</h2>\n";
    for (std::size_t i = run.iterations.size() - 1; i-- > 0;) {
        const Iteration& iteration = run.iterations[i];
        html += "<details class=\"card\"><summary><b>" + versionName(iteration) +
                "</b><span class=\"pill " + bandClass(iteration.band) + "\">" +
                bandWords(iteration.band) + "</span><span>" + scoreText(iteration.score) +
                "</span><span class=\"what\">" + timeText(iteration.createdMs) + "</span>";
        if (i == 0) {
            html += "<span class=\"what\">" + counted(iteration.findings.size(), "flaw", "flaws") +
                    "</span></summary><div>";
            html += iteration.findings.empty() ? "<p class=\"none\">No flaws.</p>"
                                               : flawList(iteration.findings);
        } else {
            const FindingDiff diff =
                compareFindings(run.iterations[i - 1].findings, iteration.findings);
            html += "<span class=\"what\">" + changeText(diff) + "</span></summary><div>" +
                    diffSections("h3", diff);
        }
        html += "</div></details>\n";
    }
    return html;
}

} // namespace

Page reportPage(const RunRecord& run) {
    const Iteration& now = run.latest();
    std::string content;
    if (run.iterations.size() == 1) {
        content = verdictCard(run, {}) + section("h2", "found", "Flaws", now.findings);
    } else {
        const FindingDiff diff =
            compareFindings(run.iterations[run.iterations.size() - 2].findings, now.findings);
        content = verdictCard(run, changeText(diff)) + diffSections("h2", diff);
    }
    if (now.findings.empty())
        content += "<h2>No flaws</h2>\n<p class=\"none\">Nothing was found that "
                   "would have to be fixed.</p>\n";
    content += history(run);
    return page(bandWords(now.band) + " · " + scoreText(now.score) + " · Trevix report", content);
}

Page noSuchRunPage() {
    return page(
        "No such report · Trevix",
        "<section class=\"card\"><h1>There is no such report</h1>"
        "<p>The address names no run of this service, or one so old that it was deleted.</p>"
        "</section>");
}

Page connectPage(std::string_view base, std::string_view keyFile) {
    std::string content = "<section class=\"card\"><h1>Connect to this service</h1>";
    const std::string exportBase = "export BRASK_API_BASE=" + htmlText(base);
    if (keyFile.empty()) {
        content += "<p>The key is the one that the service was started with.</p><pre>" +
                   exportBase + "\nexport BRASK_API_KEY=…</pre>";
    } else {
        std::string quoted = "'";
        for (const char c : keyFile) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        quoted += "'";
        content += "<p>The key is in a file that only you can read: <code>" + htmlText(keyFile) +
                   "</code></p><p>In the shell that starts your program:</p><pre>" + exportBase +
                   "\nexport BRASK_API_KEY=\"$(cat " + htmlText(quoted) +
                   ")\"</pre><p>Or keep the key where every program of yours looks for it:</p>"
                   "<pre>mkdir -p ~/.brask &amp;&amp; install -m 600 " +
                   htmlText(quoted) + " ~/.brask/key</pre>";
    }
    return page("Connect · Trevix", content + "</section>");
}

Page indexPage() {
    return page("Trevix local",
                "<section class=\"card\"><h1>The local evaluation service</h1>"
                "<p>It judges your work on this machine. Nothing leaves it.</p>"
                "<p><a href=\"/connect\">Connect a program</a></p>"
                "<p class=\"what\">Reports open from the program that asked for the verdict: "
                "each has an address of its own that nobody can guess.</p></section>");
}

} // namespace trevix
