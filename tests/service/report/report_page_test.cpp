#include "service/report/report_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace trevix {
namespace {

using testing::HasSubstr;
using testing::Not;

Finding finding(std::string rule, const std::string& text) {
    return {Severity::high,  std::move(rule),    "criterion " + text,
            "place " + text, "evidence " + text, "detail " + text};
}

Iteration iteration(int number, Band band, double score, std::vector<Finding> findings) {
    return {number,
            1'772'546'709'000,
            "Validate this Editor work before it ships.",
            band,
            score,
            {{"launch-note.md", "text/markdown", 1843}},
            std::move(findings),
            {100, 0, 0},
            {{{"hunspell", "1.7", "spelling, English"}},
             {{"grammar", "nobody <here> knows it", "learn it"}},
             true}};
}

RunRecord fresh() {
    return {"run_1",
            "document",
            "writing",
            "",
            {iteration(0, Band::route_to_fix, 0.8, {finding("text.placeholder", "one")})}};
}

std::size_t countOf(const std::string& html, const std::string& word) {
    std::size_t count = 0;
    for (auto at = html.find(word); at != std::string::npos; at = html.find(word, at + 1)) ++count;
    return count;
}

// The end of the well-formed tag that begins at `at`, or `at` itself when there is none.
std::size_t tagEnd(const std::string& html, std::size_t at) {
    const auto isName = [&](std::size_t i) {
        return i < html.size() &&
               (std::isalnum(static_cast<unsigned char>(html[i])) != 0 || html[i] == '-');
    };
    std::size_t i = at + 1;
    if (i < html.size() && html[i] == '/') ++i;
    if (!isName(i)) return at;
    while (isName(i)) ++i;
    while (i < html.size() && html[i] == ' ') {
        ++i;
        if (!isName(i)) return at;
        while (isName(i)) ++i;
        if (html.compare(i, 2, "=\"") != 0) return at;
        i = html.find_first_of("\"<>", i + 2);
        if (i == std::string::npos || html[i] != '"') return at;
        ++i;
    }
    if (i < html.size() && html[i] == '/') ++i;
    return i < html.size() && html[i] == '>' ? i + 1 : at;
}

std::string withoutTags(const std::string& html) {
    std::string rest;
    for (std::size_t i = 0; i < html.size();) {
        const std::size_t end = html[i] == '<' ? tagEnd(html, i) : i;
        if (end == i)
            rest += html[i++];
        else
            i = end;
    }
    return rest;
}

TEST(ReportPage, ShowsTheVerdictAndEveryFlaw) {
    const std::string html = reportPage(fresh()).html;
    for (const char* text :
         {"route to fix", "Fix it before it ships", "0.80", "HIGH", "criterion one", "place one",
          "evidence one", "detail one", "text.placeholder", "launch-note.md", "1.8 KiB",
          "3 Mar 2026, 14:05 UTC", "First version", "document", "writing",
          "Validate this Editor work before it ships."}) {
        EXPECT_THAT(html, HasSubstr(text));
    }
    EXPECT_THAT(html, Not(HasSubstr("since the version before")));
    EXPECT_THAT(html, Not(HasSubstr("Earlier versions")));
}

TEST(ReportPage, WorkWithoutFlawsIsToldSo) {
    const std::string html =
        reportPage({"run_1", "text", "", "", {iteration(0, Band::ship, 1.0, {})}}).html;
    EXPECT_THAT(html, HasSubstr("Ready to ship"));
    EXPECT_THAT(html, HasSubstr("1.00"));
    EXPECT_THAT(html, HasSubstr("No flaws"));
    EXPECT_THAT(html, Not(HasSubstr("class=\"flaw ")));
}

TEST(ReportPage, SaysWhoLookedAndWhatNobodyKnows) {
    const std::string html =
        reportPage({"run_1", "text", "", "", {iteration(0, Band::unknown, 1.0, {})}}).html;
    EXPECT_THAT(html, HasSubstr("Nobody here can judge this"));
    EXPECT_THAT(html, HasSubstr("spelling, English"));
    EXPECT_THAT(html, HasSubstr("hunspell 1.7"));
    EXPECT_THAT(html, HasSubstr("nobody &lt;here&gt; knows it; learn it"));
}

TEST(ReportPage, ARevisionShowsWhatIsFixedRemainsAndIsNew) {
    RunRecord run = fresh();
    run.iterations = {
        iteration(0, Band::quarantine, 0.4, {finding("r1", "old"), finding("r2", "kept")}),
        iteration(1, Band::route_to_fix, 0.6, {finding("r2", "kept"), finding("r3", "came")})};
    const std::string html = reportPage(run).html;
    EXPECT_THAT(html, HasSubstr("1 fixed, 1 remains, 1 new"));
    const auto fixed = html.find("class=\"is-fixed\"");
    const auto remaining = html.find("class=\"is-remaining\"");
    const auto fresh = html.find("class=\"is-new\"");
    const auto earlier = html.find("Earlier versions");
    ASSERT_LT(fresh, remaining);
    ASSERT_LT(remaining, fixed);
    ASSERT_LT(fixed, earlier);
    EXPECT_THAT(html.substr(fresh, remaining - fresh), HasSubstr("evidence came"));
    EXPECT_THAT(html.substr(remaining, fixed - remaining), HasSubstr("evidence kept"));
    EXPECT_THAT(html.substr(fixed, earlier - fixed), HasSubstr("evidence old"));
    EXPECT_THAT(html.substr(earlier), HasSubstr("First version"));
    EXPECT_THAT(html.substr(earlier), HasSubstr("2 flaws"));
}

TEST(ReportPage, EveryEarlierRevisionKeepsItsOwnChanges) {
    RunRecord run = fresh();
    run.iterations = {iteration(0, Band::block, 0.1, {finding("r1", "a"), finding("r2", "b")}),
                      iteration(1, Band::quarantine, 0.4, {finding("r2", "b")}),
                      iteration(2, Band::ship, 1.0, {})};
    const std::string html = reportPage(run).html;
    EXPECT_THAT(html, HasSubstr("1 fixed, 0 remain, 0 new"));
    EXPECT_THAT(html, HasSubstr("1 fixed, 1 remains, 0 new"));
    EXPECT_EQ(countOf(html, "<details"), 2U);
    EXPECT_LT(html.find("<b>Revision 1</b>"), html.find("<b>First version</b>"));
}

TEST(ReportPage, HeavierFlawsComeFirst) {
    RunRecord run = fresh();
    Finding low = finding("r", "small");
    low.severity = Severity::low;
    Finding critical = finding("r", "big");
    critical.severity = Severity::critical;
    run.iterations = {iteration(0, Band::block, 0.3, {low, critical})};
    const std::string html = reportPage(run).html;
    EXPECT_LT(html.find("evidence big"), html.find("evidence small"));
}

TEST(ReportPage, NothingOfTheWorkBecomesPartOfThePage) {
    const std::string hostile = "\"'><script>alert(1)</script><img src=x onerror=alert(2)>"
                                "</style></title>&#60;\x01\x1b\xff\u202e";
    Finding bad{Severity::critical, hostile, hostile, hostile, hostile, hostile};
    RunRecord run{hostile, hostile, hostile, hostile, {}};
    for (int number : {0, 1, 2}) {
        Iteration version = iteration(number, Band::block, 0.5, {bad});
        version.intent = hostile;
        version.parts = {{hostile, hostile, 1}};
        run.iterations.push_back(version);
    }
    run.iterations[2].findings[0].rule = "other" + hostile;
    ReportExtras extras;
    extras.work = {{0, true, hostile + "\n" + hostile}};
    extras.workBefore = {{0, true, hostile}};
    extras.formToken = hostile;
    extras.notice = hostile;
    const std::string html = reportPage(run, extras).html;
    EXPECT_EQ(countOf(html, "<script"), 1U) << "the page's own";
    EXPECT_EQ(countOf(html, "<img"), 0U);
    EXPECT_EQ(countOf(html, "</style>"), 1U) << "the page's own";
    EXPECT_EQ(countOf(html, "</title>"), 1U);
    EXPECT_EQ(html.find_first_of("\x01\x1b\xff"), std::string::npos);
    EXPECT_EQ(countOf(html, "\u202e"), 0U);
    EXPECT_GT(countOf(html, "&lt;script&gt;"), 10U);
    // No tag but those that the page itself is made of, and attributes always closed.
    EXPECT_EQ(withoutTags(
                  html.substr(html.find("</style>"), html.find("<script") - html.find("</style>")))
                  .find_first_of("<>"),
              std::string::npos);
    EXPECT_EQ(withoutTags("<b onclick='x'>"), "<b onclick='x'>") << "else this could not fail";
}

TEST(ReportPage, LoadsNothingAndRunsItsOwnScriptAlone) {
    RunRecord run = fresh();
    const Page first = reportPage(run);
    EXPECT_THAT(first.contentSecurityPolicy, HasSubstr("default-src 'none'"));
    EXPECT_THAT(first.contentSecurityPolicy, HasSubstr("frame-ancestors 'none'"));
    EXPECT_THAT(first.contentSecurityPolicy, Not(HasSubstr("unsafe")));
    const auto at = first.contentSecurityPolicy.find("'nonce-");
    ASSERT_NE(at, std::string::npos);
    const std::string nonce = first.contentSecurityPolicy.substr(at + 7, 32);
    EXPECT_EQ(nonce.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_THAT(first.html, HasSubstr("<style nonce=\"" + nonce + "\">"));
    EXPECT_THAT(first.html, HasSubstr("<script nonce=\"" + nonce + "\">"));
    EXPECT_THAT(first.contentSecurityPolicy, HasSubstr("script-src 'nonce-" + nonce + "'"));
    EXPECT_THAT(first.contentSecurityPolicy, HasSubstr("img-src data:;"));
    EXPECT_THAT(first.contentSecurityPolicy, HasSubstr("form-action 'self'"));
    EXPECT_NE(first.contentSecurityPolicy, reportPage(run).contentSecurityPolicy);
    for (const char* loads : {"http:", "https:", "//", "url(", "@import", "<link", "src="}) {
        EXPECT_THAT(first.html, Not(HasSubstr(loads)));
    }
    EXPECT_THAT(first.html, Not(HasSubstr(" style=\""))) << "the policy would ignore it";
    EXPECT_THAT(first.html, Not(HasSubstr(" on"
                                          "click")));
    const Page other = indexPage();
    EXPECT_THAT(other.contentSecurityPolicy, Not(HasSubstr("script-src")));
    EXPECT_THAT(other.contentSecurityPolicy, HasSubstr("form-action 'none'"));
    EXPECT_THAT(other.html, Not(HasSubstr("<script")));
}

TEST(ConnectPage, TellsWhereTheKeyIsInWordsForAShell) {
    const std::string html = connectPage("http://127.0.0.1:8797", "/home/o'neil <x>/key").html;
    EXPECT_THAT(html, HasSubstr("export BRASK_API_BASE=http://127.0.0.1:8797"));
    EXPECT_THAT(html, HasSubstr("$(cat &#39;/home/o&#39;\\&#39;&#39;neil &lt;x&gt;/key&#39;)"));
}

TEST(ConnectPage, WithoutAKeyFileNamesNone) {
    const std::string html = connectPage("http://127.0.0.1:8797", "").html;
    EXPECT_THAT(html, HasSubstr("the one that the service was started with"));
    EXPECT_THAT(html, Not(HasSubstr("cat ")));
}

TEST(AnyPage, LeavesNothingToFillIn) {
    RunRecord revised = fresh();
    revised.iterations.push_back(iteration(1, Band::ship, 1.0, {}));
    for (const Page& page :
         {reportPage(fresh()), reportPage(revised), noSuchRunPage(), notDonePage("run_1", "why"),
          indexPage(), connectPage("http://127.0.0.1:8797", "/key"),
          connectPage("http://127.0.0.1:8797", "")}) {
        EXPECT_THAT(page.html, Not(HasSubstr("{{")));
        EXPECT_THAT(page.html, HasSubstr(":root{color-scheme:light dark;"));
        EXPECT_THAT(page.html, HasSubstr("</body></html>\n"));
    }
}

} // namespace
} // namespace trevix
