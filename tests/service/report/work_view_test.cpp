#include "service/report/work_view.h"

#include "service/report/report_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace trevix {
namespace {

using testing::HasSubstr;
using testing::Not;

Finding finding(Severity severity, std::string place, const std::string& evidence) {
    return {severity, "rule.of", "criterion", std::move(place), evidence, "says of " + evidence};
}

struct Work {
    std::string modality = "document";
    std::string name = "work.md";
    std::string type = "text/markdown";
    std::string content = {};
    std::vector<Finding> findings = {};
    bool isText = true;
};

RunRecord runOf(const Work& work) {
    Iteration now;
    now.intent = "intent";
    now.parts = {{work.name, work.type, work.content.size()}};
    now.findings = work.findings;
    return {"run_1", work.modality, "", "", {now}};
}

std::string pageOf(const Work& work) {
    ReportExtras extras;
    extras.work = {{0, work.isText, work.content}};
    return reportPage(runOf(work), extras).html;
}

std::size_t countOf(const std::string& html, const std::string& word) {
    std::size_t count = 0;
    for (auto at = html.find(word); at != std::string::npos; at = html.find(word, at + 1)) ++count;
    return count;
}

std::string bodyOf(const std::string& html) {
    const auto end = html.find("<script");
    return html.substr(html.find("</style>"), end - html.find("</style>"));
}

TEST(WorkView, MarksWhatIsQuotedInProse) {
    const std::string html =
        bodyOf(pageOf({.content = "First line.\nThis is teh second.\n",
                       .findings = {finding(Severity::medium, "line 2, column 9", "teh")}}));
    EXPECT_THAT(html,
                HasSubstr("This is <mark class=\"f-medium\">teh</mark><a class=\"ref f-medium\" "
                          "id=\"m1\" href=\"#f1\""));
    EXPECT_THAT(html, HasSubstr("<div class=\"l\" data-n=\"1\">"));
    EXPECT_THAT(html, HasSubstr("id=\"f1\""));
    EXPECT_LT(html.find("This is "), html.find("id=\"f1\"")) << "the card is below its line";
    EXPECT_THAT(html, Not(HasSubstr("Flaws elsewhere")));
}

TEST(WorkView, QuotesThatSpanBlanksAndAreCutOffAreFound) {
    const std::string html =
        bodyOf(pageOf({.content = "one  two\tthree four five\nAKIA•••• and more\n",
                       .findings = {finding(Severity::low, "line 1, column 1", "one two three…"),
                                    finding(Severity::critical, "line 2", "AKIA…")}}));
    EXPECT_THAT(html, HasSubstr("<mark class=\"f-low\">one  two\tthree</mark>"));
    EXPECT_THAT(html, HasSubstr("<mark class=\"f-critical\">AKIA••••</mark>"));
}

TEST(WorkView, WithoutAQuoteTheLineIsMarked) {
    const std::string html =
        bodyOf(pageOf({.content = "one\ntwo\n",
                       .findings = {finding(Severity::high, "line 2", "something else")}}));
    EXPECT_THAT(html, HasSubstr("<div class=\"l whole f-high\" data-n=\"2\">"));
}

TEST(WorkView, MarksThatOverlapShowTheHeavierAndBothNumbers) {
    const std::string html =
        bodyOf(pageOf({.content = "alpha beta gamma\n",
                       .findings = {finding(Severity::low, "line 1, column 1", "alpha beta gamma"),
                                    finding(Severity::high, "line 1, column 7", "beta")}}));
    EXPECT_THAT(html,
                HasSubstr("<mark class=\"f-low\">alpha </mark><mark class=\"f-high\">beta</mark>"));
    EXPECT_THAT(html, HasSubstr("<mark class=\"f-low\"> gamma</mark>"));
    EXPECT_EQ(countOf(html, "href=\"#f1\""), 2U) << "in the text and in the overview";
    EXPECT_EQ(countOf(html, "href=\"#f2\""), 2U);
}

TEST(WorkView, PlacesThatTheWorkDoesNotHaveAreListedElsewhere) {
    const std::string html =
        bodyOf(pageOf({.content = "one\n",
                       .findings = {finding(Severity::high, "line 99", "gone"),
                                    finding(Severity::low, "page 2", "other")}}));
    EXPECT_THAT(html, HasSubstr("Flaws elsewhere"));
    EXPECT_EQ(countOf(html, "<article"), 2U);
    EXPECT_EQ(countOf(html, "<mark"), 0U);
}

TEST(WorkView, ALongTextIsShownAroundItsFlaws) {
    std::string content = {};
    for (int i = 1; i <= 5000; ++i) content += "line number " + std::to_string(i) + "\n";
    const std::string html =
        bodyOf(pageOf({.content = content,
                       .findings = {finding(Severity::high, "line 2500, column 1", "line")}}));
    EXPECT_EQ(countOf(html, "data-n=\""), 7U);
    EXPECT_THAT(html, HasSubstr("2496 lines left out"));
    EXPECT_THAT(html, HasSubstr("2497 lines left out"));
    const std::string clean = bodyOf(pageOf({.content = content}));
    EXPECT_EQ(countOf(clean, "data-n=\""), 60U);
}

TEST(WorkView, ALongLineIsShownAroundItsMarks) {
    const std::string content = std::string(50'000, 'a') + " teh " + std::string(50'000, 'b');
    const std::string html =
        bodyOf(pageOf({.content = content,
                       .findings = {finding(Severity::high, "line 1, column 50002", "teh")}}));
    EXPECT_LT(html.size(), 8000U);
    EXPECT_THAT(html, HasSubstr("<mark class=\"f-high\">teh</mark>"));
    EXPECT_THAT(html, HasSubstr("49601 characters left out"));
}

TEST(WorkView, APageHasASizeWhateverTheWork) {
    std::string content = {};
    std::vector<Finding> findings = {};
    for (int i = 1; i <= 200'000; ++i) content += "teh\n";
    for (int i = 1; i <= 200'000; i += 10) {
        findings.push_back(finding(i % 20 == 1 ? Severity::high : Severity::low,
                                   "line " + std::to_string(i) + ", column 1", "teh"));
    }
    const std::string html = pageOf({.content = content, .findings = findings});
    EXPECT_LT(html.size(), std::size_t{2} << 20U);
    EXPECT_THAT(html, HasSubstr("19600 lighter flaws are not shown"));
    EXPECT_LE(countOf(html, "<article"), kMostCards);
}

TEST(WorkView, AtItsPlaceASentenceDoesNotNameItAgain) {
    RunRecord run = runOf({.content = "teh\n"});
    run.iterations[0].parts.push_back({"b).md", "text/markdown", 4});
    Finding one = finding(Severity::low, "part 2 (b).md), line 1, column 1", "teh");
    one.detail = "In part 2 (b).md): Line 1, column 1: “teh” is wrong.";
    run.iterations[0].findings = {one};
    ReportExtras extras;
    extras.work = {{1, true, "teh\n"}};
    const std::string html = bodyOf(reportPage(run, extras).html);
    EXPECT_THAT(html, HasSubstr("<p dir=\"auto\">“teh” is wrong.</p>"));
    EXPECT_THAT(html, HasSubstr("href=\"#m1\">line 1, column 1</a>"));
    const std::string listed = bodyOf(reportPage(run).html);
    EXPECT_THAT(listed, HasSubstr("In part 2 (b).md): Line 1, column 1: “teh” is wrong."));
}

TEST(WorkView, CodeIsNumberedAndKeepsItsBlanks) {
    const std::string html =
        bodyOf(pageOf({.modality = "code",
                       .name = "a.py",
                       .type = "text/x-code",
                       .content = "def f():\n    return eval(x) < 3\n",
                       .findings = {finding(Severity::high, "line 2, column 12", "eval(x)")}}));
    EXPECT_THAT(html, HasSubstr("<div class=\"text code\">"));
    EXPECT_THAT(html, HasSubstr("    return <mark class=\"f-high\">eval(x)</mark>"));
    EXPECT_THAT(html, HasSubstr(" &lt; 3"));
}

TEST(WorkView, ATableMarksCellsRowsAndColumns) {
    const std::string html =
        bodyOf(pageOf({.modality = "spreadsheet",
                       .name = "t.csv",
                       .type = "text/csv",
                       .content = "Name,Amount\nx,1\n<b>,2\n",
                       .findings = {finding(Severity::high, "cell B3", "2"),
                                    finding(Severity::medium, "row 2", "x"),
                                    finding(Severity::low, "column Name", "Name")}}));
    EXPECT_THAT(html, HasSubstr("<td class=\"marked f-high\">2<a class=\"ref f-high\""));
    EXPECT_THAT(html, HasSubstr("<th scope=\"row\" class=\"marked f-medium\">2<a"));
    EXPECT_THAT(html, HasSubstr("<th scope=\"col\" class=\"marked f-low\">A<a"));
    EXPECT_THAT(html, HasSubstr("&lt;b&gt;"));
    EXPECT_EQ(countOf(html, "<article"), 3U);
}

TEST(WorkView, ATableIsCutWhereItsCriticCutIt) {
    // Said to be divided by tabs, of which it has none.
    const std::string commas =
        bodyOf(pageOf({.modality = "spreadsheet",
                       .name = "t.tsv",
                       .type = "text/tab-separated-values; charset=utf-8",
                       .content = "Name,Amount\nx,1\n<b>,2\n",
                       .findings = {finding(Severity::high, "cell B3", "2")}}));
    EXPECT_THAT(commas, HasSubstr("<td class=\"marked f-high\">2<a class=\"ref f-high\""));
    // Divided by tabs as it says, in whichever letters, though commas would divide it as well.
    const std::string tabs =
        bodyOf(pageOf({.modality = "spreadsheet",
                       .name = "t.tsv",
                       .type = "Text/Tab-Separated-Values",
                       .content = "Name, first\tAmount, net\nx, y\t1,5\nz, w\t2,5\n",
                       .findings = {finding(Severity::high, "cell B3", "2,5")}}));
    EXPECT_THAT(tabs, HasSubstr("<td class=\"marked f-high\">2,5<a class=\"ref f-high\""));
}

TEST(WorkView, ALargeTableIsShownAroundItsFlaws) {
    std::string content = {};
    for (int row = 0; row < 1000; ++row) {
        for (int column = 0; column < 60; ++column) content += std::to_string(column) + ",";
        content += "end\n";
    }
    const std::string html =
        bodyOf(pageOf({.modality = "spreadsheet",
                       .name = "t.csv",
                       .type = "text/csv",
                       .content = content,
                       .findings = {finding(Severity::high, "cell AZ500", "51")}}));
    EXPECT_THAT(html, HasSubstr("<td class=\"marked f-high\">51<a"));
    EXPECT_EQ(countOf(html, "<th scope=\"row\""), 7U);
    EXPECT_EQ(countOf(html, "<th scope=\"col\""), kMostColumns);
    EXPECT_THAT(html, HasSubstr("496 rows left out"));
    EXPECT_THAT(html, HasSubstr("37 columns left out"));
}

std::string png(unsigned width, unsigned height) {
    std::string bytes("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    for (const unsigned value : {width, height}) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

TEST(WorkView, APictureHasBoxes) {
    const std::string html = bodyOf(
        pageOf({.modality = "ui_ux",
                .name = "<w>.png",
                .type = "image/png",
                .content = png(640, 400),
                .findings = {finding(Severity::high, "x 10, y 40, 120 x 30 px", "low contrast"),
                             finding(Severity::low, "x 900, y 40, 120 x 30 px", "outside")},
                .isText = false}));
    EXPECT_THAT(html, HasSubstr("viewBox=\"0 0 640 400\""));
    EXPECT_THAT(html, HasSubstr("href=\"data:image/png;base64,iVBOR"));
    EXPECT_THAT(html, HasSubstr("class=\"edge\" x=\"7\" y=\"37\" width=\"126\" height=\"36\""));
    EXPECT_EQ(countOf(html, "class=\"edge\""), 1U);
    EXPECT_THAT(html, HasSubstr("Flaws elsewhere"));
}

TEST(WorkView, APictureThatUnpacksToTooMuchIsNotDrawn) {
    for (const auto& [width, height] :
         {std::pair(30'000U, 30'000U), std::pair(40'000U, 1U), std::pair(0U, 5U)}) {
        const std::string html =
            pageOf({.modality = "ui_ux",
                    .name = "w.png",
                    .type = "image/png",
                    .content = png(width, height),
                    .findings = {finding(Severity::high, "x 0, y 0, 1 x 1 px", "e")},
                    .isText = false});
        EXPECT_THAT(html, HasSubstr("This picture is not shown"));
        EXPECT_THAT(html, Not(HasSubstr("data:image")));
        EXPECT_EQ(countOf(html, "<article"), 1U);
    }
}

TEST(WorkView, ManyPicturesAreNotAllOnOnePage) {
    RunRecord run = runOf({.modality = "deck"});
    ReportExtras extras;
    run.iterations[0].parts.clear();
    for (std::size_t i = 0; i < 4; ++i) {
        run.iterations[0].parts.push_back({std::to_string(i) + ".png", "image/png", 1});
        extras.work.push_back({i, false, png(640, 400) + std::string(std::size_t{2} << 20U, 'x')});
    }
    const std::string html = reportPage(run, extras).html;
    EXPECT_EQ(countOf(html, "data:image/png"), 2U);
    EXPECT_EQ(countOf(html, "This picture is not shown"), 2U);
}

TEST(WorkView, WhatIsDismissedStandsThereAsThat) {
    RunRecord run = runOf({.content = "This is teh second.\n"});
    run.iterations[0].dismissed = {
        {finding(Severity::high, "line 1, column 9", "teh"), "<a name>", "now", false}};
    ReportExtras extras;
    extras.work = {{0, true, "This is teh second.\n"}};
    extras.formToken = "the-token";
    const std::string html = bodyOf(reportPage(run, extras).html);
    EXPECT_THAT(html, HasSubstr("<mark class=\"f-off\">teh</mark>"));
    EXPECT_THAT(html, HasSubstr("1 dismissed"));
    EXPECT_THAT(html, HasSubstr("no flaw: &lt;a name&gt;"));
    EXPECT_THAT(html, HasSubstr("value=\"undo\""));
    EXPECT_THAT(html, HasSubstr("No flaws"));
    EXPECT_THAT(html, Not(HasSubstr("value=\"dismiss\"")));
}

TEST(WorkView, FormsNeedAToken) {
    const Work work{.content = "teh\n", .findings = {finding(Severity::low, "line 1", "teh")}};
    EXPECT_THAT(bodyOf(pageOf(work)), Not(HasSubstr("<form")));
    ReportExtras extras;
    extras.work = {{0, true, work.content}};
    extras.formToken = "the-token";
    const std::string html = bodyOf(reportPage(runOf(work), extras).html);
    EXPECT_THAT(html, HasSubstr("<form method=\"post\" action=\"/console?run=run_1\">"));
    EXPECT_THAT(html, HasSubstr("name=\"token\" value=\"the-token\""));
}

TEST(WorkView, ChangesShowWhatWasFixedAndWhatCameIn) {
    RunRecord run = runOf({.content = "same\nhte\nkept\n",
                           .findings = {finding(Severity::low, "line 2, column 1", "hte")}});
    Iteration before = run.iterations[0];
    before.findings = {finding(Severity::high, "line 2, column 1", "teh")};
    before.findings[0].rule = "other";
    run.iterations = {before, run.iterations[0]};
    run.iterations[1].number = 1;
    ReportExtras extras;
    extras.work = {{0, true, "same\nhte\nkept\n"}};
    extras.workBefore = {{0, true, "same\nteh\nkept\n"}};
    const std::string html = bodyOf(reportPage(run, extras).html);
    EXPECT_THAT(html, HasSubstr("<del dir=\"auto\"><mark class=\"f-high\">teh</mark></del>"));
    EXPECT_THAT(html, HasSubstr("<ins dir=\"auto\"><mark class=\"f-low\">hte</mark></ins>"));
    EXPECT_THAT(html, HasSubstr("<span class=\"state\" dir=\"auto\">new</span>"));
}

} // namespace
} // namespace trevix
