#include "critics/document/document_critic.h"
#include "critics/findings/verdict_rule.h"
#include "tests/critics/critic_cases.h"
#include "tests/source_tree.h"

#include <fstream>
#include <iterator>
#include <string>

namespace trevix {
namespace {

std::string sample(const std::string& name) {
    std::ifstream file(kelvane::inSourceTree("docs/samples/" + name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

const char* const kReport = R"(---
title: Quarterly report
---

# Quarterly report

This report covers the first quarter.[^scope] The figures are explained in [Method](#method), and
the raw data is [public](https://example.org/data_(2026)/q1.csv "Raw data").

## Results

| Region | Orders | Note |
|:-------|-------:|------|
| North  | 1,204  | up `a\|b` |
| South  | 987    | flat \| calm |

Table 1: Orders by region.

As Table 1 shows, the north grew. See also [the guide][guide] and ![growth by month](growth.png).

### Added

- Figures by month, and a list of
  what changed.

```python
print("the the")  # TODO (not prose
```

## Method

1. Collect the orders.
2. Check them twice.
   - by hand
   - by script
3. Add them up.

<!-- reviewed by Ana -->

[^scope]: January to March 2026, all shops.
[guide]: https://example.org/guide
)";

const char* const kPlainReport = R"(Visit report

1. Background

The plant in Graz was visited on Tuesday, 3 March 2026. Section 2 lists what was seen, and Section 3
what should follow.

2. Observations

Two of the three lines were running. The third one was being serviced.

Figure 1: The hall from the gallery
Figure 2: The third line

Figure 2 shows the open gearbox. Section 230 of the building code asks for a cover there.

3. Next steps

a) order the cover
b) repeat the visit in May
)";

const char* const kReadme = R"(Parcel counter
==============

Counts parcels. Install it, then run `parcel count <dir>`.

Usage
-----

    parcel count --from <name> ./inbox

1. First run it dry.
1. Then run it for real.

Contents: [Usage](#usage), [Licence](LICENSE), [Site](<https://example.com/a b>).

> The quickest way to count.

* [x] counts
* [ ] sorts
)";

TEST(DocumentCritic, GoodDocumentsHaveNoFinding) {
    expectRules({{"report in Markdown", kReport, {}},
                 {"report from a word processor", kPlainReport, {}},
                 {"read-me file", kReadme, {}}},
                critiqueDocument);
}

TEST(DocumentCritic, Headings) {
    const std::string text = "\n\nSome text stands here.\n\n";
    expectRules(
        {{"skipped level", "# One" + text + "### Three" + text, {"document.heading_order"}},
         {"back up by two",
          "# One" + text + "## Two" + text + "### Three" + text + "# Four" + text + "# Five" + text,
          {}},
         {"a fragment that begins deep", "### Three" + text + "#### Four" + text, {}},
         {"second title",
          "# One" + text + "## Two" + text + "# Three" + text,
          {"document.second_title"}},
         {"every chapter at the first level", "# One" + text + "# Two" + text, {}},
         {"duplicate",
          "# A" + text + "## Setup" + text + "## Setup" + text,
          {"document.duplicate_heading"}},
         {"same name in other chapters",
          "# Changes" + text + "## 1.0\n\n### Added" + text + "## 1.1\n\n### Added" + text,
          {}},
         {"empty section",
          "# One" + text + "## Two\n\n## Three" + text,
          {"document.empty_section"}},
         {"empty last section", "# One" + text + "## Two\n", {"document.empty_section"}},
         {"a heading above a deeper one", "# One\n\n## Two" + text, {}},
         {"no heading", "#hashtag is no heading, and neither is C#.", {}},
         {"skipped below a title in the front matter",
          "---\ntitle: One\n---\n\n### Three" + text,
          {"document.heading_order"}},
         {"front matter without a title", "---\ntags: a\n---\n\n### Three" + text, {}},
         {"a title with nothing below it",
          "# One\n\n# Two\n\nAll of the text stands here.\n",
          {"document.empty_section", "document.second_title"}},
         {"names of one thing", "# One" + text + "## Two\n## Three" + text, {}},
         {"a line for a shell", "# One" + text + "# backup --all /srv\n\n# ls -l\n", {}},
         {"a line for an editor", "# One" + text + "# -*- notes -*-\n\n# Two" + text, {}},
         {"a dash in a heading",
          "# One" + text + "# Two - or three\n\n# Four" + text,
          {"document.empty_section"}},
         {"names in code, with lines between",
          "# One" + text + "## walk(far)\n\n## .rest()\n\n## `halt`" + text,
          {}},
         {"a name in code in front of words",
          "# One" + text + "## walk(far)\n\n## How to rest" + text,
          {"document.empty_section"}},
         {"headings that lead elsewhere",
          "# One" + text + "## [Plan](plan.md) and [map](map.md)\n\n## Two" + text +
              "### Join us! [![chat](chat.svg)][chat]\n\n[chat]: https://x.org/\n",
          {}},
         {"headings that a program fills in",
          "# One" + text + "# %OPTIONS%\n\n# ::: shop.Shelf\n\n# Two" + text,
          {}},
         {"names in code that are underlined",
          "# One" + text +
              "<a name=\"walk\"></a>.walk(far)\n---------\n.walk(far, [fast])\n---------" + text,
          {}},
         {"an anchor in a heading",
          "# One" + text + "## <a name=\"two\"></a>Two\n\n## Three" + text,
          {"document.empty_section"}},
         {"shares of a whole",
          "# One" + text + "# 20 % of 100 %\n\n# Two" + text,
          {"document.empty_section"}},
         {"a title between two lines",
          "---------\nThe house\n---------\n\nRooms\n-----\n\nThere are four of them.\n",
          {}},
         {"a plan", "# One\n\n## Two\n\n## Three\n\n# Four is a good number\n\n# Five\n", {}},
         {"without words", "# One" + text + "##" + text, {"document.empty_heading"}},
         {"without a blank", "# One" + text + "##Two" + text, {"document.glued_heading"}},
         {"a tag, a number and a row of marks",
          "# One" + text + "#tag\n\n#12 is fixed.\n\n####\n\n##1\n",
          {"document.empty_heading"}},
         {"rows of marks between comments",
          "# One" + text +
              "# -----------\n# Settings of the house\n# -----------\n\ncolour = green\n",
          {}},
         {"comments with empty lines between",
          "# One" + text + "# first\n#\n# second\n\na = 1\n",
          {}},
         {"a title underlined with less than its chapters",
          "The house\n---------\n\nROOMS\n=====\n\nThere are four of them.\n",
          {}},
         {"comments elsewhere", "# One" + text + "# first\n#\n# second\n\na = 1\n#\nb = 2\n", {}},
         {"a page break above a line",
          "# One" + text + "\f\n-------------------------\nCopyright of the house, all of it.\n",
          {}},
         {"fields of a form",
          "# One" + text + "## Which room?\n\n## What did you see there?\n\n## Witnesses:\n",
          {}},
         {"one question without its answer",
          "# One" + text + "## Which room?\n\n## Two" + text,
          {"document.empty_section"}},
         {"marks under a title",
          "# One" + text + "The garden\n######\n\nIt is green, and it is large.\n",
          {}},
         {"headings in code", "# One" + text + "```sh\n### comment\n# comment\n```\n", {}}},
        critiqueDocument);
}

TEST(DocumentCritic, ALevelThatIsNowhereIsPassedOverByChoice) {
    const std::string text = "\n\nSome text stands here.\n\n";
    const auto severities = [](const std::string& document) {
        std::vector<Severity> found;
        for (const Finding& finding : critiqueDocument(textPart(document)).findings) {
            if (finding.rule == "document.heading_order") found.push_back(finding.severity);
        }
        return found;
    };
    const std::string three = "### A" + text + "### B" + text + "### C" + text;
    EXPECT_EQ(severities("# One" + text + three), std::vector{Severity::low});
    EXPECT_EQ(severities("# One" + text + three + "## D" + text), std::vector{Severity::medium});
    EXPECT_EQ(severities("# One" + text + "### A" + text + "### B" + text),
              std::vector{Severity::medium});
    // A sentence below the title, and one slip among eight headings.
    EXPECT_EQ(severities("# One\n\n### What it is that we do here" + text),
              std::vector{Severity::low});
    EXPECT_EQ(severities("# One\n\n### Two" + text), std::vector{Severity::medium});
    std::string rows;
    for (const char* name : {"B", "C", "D", "E", "F"}) rows += "## " + std::string(name) + text;
    EXPECT_EQ(severities("# One" + text + "## A" + text + "#### Z" + text + rows),
              std::vector{Severity::low});
    EXPECT_EQ(severities("# One" + text + "#### Z" + text + rows), std::vector{Severity::medium});
}

namespace {

/// So many words of sound prose, in paragraphs that differ.
std::string proseOf(std::size_t words) {
    std::string prose;
    for (std::size_t i = 0; i < words; i += 10) {
        prose +=
            "The garden of house " + std::to_string(i) + " lies by the river and is green.\n\n";
    }
    return prose;
}

} // namespace

TEST(DocumentCritic, ALevelThatIsMissingWeighsLowInAPage) {
    const auto severities = [](const std::string& document) {
        return severitiesOf(critiqueDocument(textPart(document)).findings,
                            "document.heading_order");
    };
    const std::string text = "\n\nSome text stands here.\n\n";
    const std::string one = "# One" + text + "### Three" + text + "## Two" + text;
    EXPECT_EQ(severities(one), std::vector{Severity::medium});
    EXPECT_EQ(severities(one + proseOf(100)), std::vector{Severity::low});
    const std::string two = one + "#### Four" + text;
    EXPECT_EQ(severities(two + proseOf(150)), (std::vector{Severity::medium, Severity::medium}));
    EXPECT_EQ(severities(two + proseOf(300)), (std::vector{Severity::low, Severity::low}));
}

TEST(DocumentCritic, DeadAnchorsThatAreFewForTheTextWeighLow) {
    const auto severities = [](const std::string& document) {
        return severitiesOf(critiqueDocument(textPart(document)).findings,
                            "document.broken_anchor");
    };
    const std::string head = "# The title\n\n## Usage notes\n\n";
    const std::string capitals = head + "See [how](#Usage-Notes) it works.\n\n";
    EXPECT_EQ(severities(capitals), std::vector{Severity::medium});
    EXPECT_EQ(severities(capitals + proseOf(100)), std::vector{Severity::low});
    const std::string nowhere = head + "See [where](#the-cellar) it is.\n\n";
    EXPECT_EQ(severities(nowhere + proseOf(400)), std::vector{Severity::medium});
    EXPECT_EQ(severities(nowhere + proseOf(1'000)), std::vector{Severity::low});
    const std::string both = capitals + nowhere.substr(head.size());
    EXPECT_EQ(severities(both + proseOf(400)), (std::vector{Severity::low, Severity::medium}));
    const std::string more = nowhere + "And [when](#the-attic) it was.\n\n";
    EXPECT_EQ(severities(more + proseOf(1'200)), (std::vector{Severity::medium, Severity::medium}));
}

TEST(DocumentCritic, AHeadingMayStandForItsSection) {
    const std::string text = "\n\nSome text stands here.\n\n";
    expectRules(
        {{"a group of names in code",
          "# One" + text + "## Core calls\n\n## `walk(far)`" + text + "## `rest()`" + text,
          {}},
         {"one name in code",
          "# One" + text + "## Core calls\n\n## `walk(far)`" + text + "## How to rest" + text,
          {"document.empty_section"}},
         {"a name and its like in code",
          "# One" + text + "## Width\n\n## width" + text,
          {"document.duplicate_heading"}},
         {"a licence by its name", "# One" + text + "## BSD Licensed\n", {}},
         {"a licence without one", "# One" + text + "## The license\n", {"document.empty_section"}},
         {"a sentence",
          "# One" + text + "## Read and write all of the old books.\n\n## Two" + text,
          {}},
         {"a name with a full stop",
          "# One" + text + "## Rooms etc.\n\n## Two" + text,
          {"document.empty_section"}}},
        critiqueDocument);
}

TEST(DocumentCritic, Links) {
    const std::string head = "# The title\n\n## Usage notes\n\n";
    expectRules(
        {{"anchor", head + "See [how](#usage-notes) and [up](#top) here.", {}},
         {"anchor in capitals",
          head + "See [how](#Usage-Notes) it works.",
          {"document.broken_anchor"}},
         {"anchor of a heading with marks",
          head + "See [one](#ab--c-d), [two](#日本語), [three](#-go).\n\n## A*b* & `C`: d!\n\n"
                 "Text.\n\n## 日本語\n\nText.\n\n## 🚀 Go\n\nText.\n",
          {}},
         {"anchors of headings of one name",
          head + "See [one](#a) and [two](#a-1).\n\n# B\n\n## A\n\nText.\n\n"
                 "# C\n\n## A\n\nText.\n",
          {}},
         {"anchor of a third one",
          head + "See [three](#a-2).\n\n# B\n\n## A\n\nText.\n\n# C\n\n## A\n\nText.\n",
          {"document.broken_anchor"}},
         {"anchor of one's own",
          head + "See [it](#MyPart).\n\n## Some part {#MyPart}\n\nText.\n",
          {}},
         {"anchor of one's own beside other attributes",
          head + "See [a](#MyPart), [b](#her-part) and [c](#his-part).\n\n"
                 "## Some part {#MyPart .wide}\n\nText.\n\n## Part (*new*) ## {: #her-part }\n\n"
                 "Text.\n\n## Last {: .wide #his-part}\n\nText.\n",
          {}},
         {"anchors of names in code, which a tool makes",
          head + "Set [it](#opt-shop.enable) or call [add](#shop.Shelf.add) first.",
          {}},
         {"anchor with a number",
          head + "See [it](#2.-usage-of-it) first.",
          {"document.broken_anchor"}},
         {"attributes without an anchor",
          head + "See [it](#wide).\n\n## Some part {: .wide }\n\nText.\n",
          {"document.broken_anchor"}},
         {"prefix of the page", head + "See [how](#user-content-usage-notes) it works.", {}},
         {"reversed",
          head + "See (the guide)[https://x.org/g] for more.",
          {"document.reversed_link"}},
         {"reversed to a place nearby",
          head + "See (the guide)[docs/guide.md].",
          {"document.reversed_link"}},
         {"sources, notes and program text",
          head + "As (Miller)[1] has it, and f(x)[a.b], `(a)[b.c]`, (so)[sic], (it)[^1].\n\n"
                 "[^1]: A note.\n",
          {}},
         {"reversed around brackets",
          head + "See (the (old) guide)[https://x.org/g] for more.",
          {"document.reversed_link"}},
         {"definition of nothing", head + "See [it][g] here.\n\n[g]: #\n", {"document.empty_link"}},
         {"definition of a missing part",
          head + "See [g] here.\n\n[g]: #missing\n",
          {"document.broken_anchor"}},
         {"definition as a comment", head + "Some text.\n\n[//]: # (a remark)\n", {}},
         {"picture of HTML without words",
          head + "Look: <img src=\"a.png\"> is it.\n\n<img\n  src=\"b.png\">\n",
          {"document.image_text"}},
         {"picture of HTML with words, or with none on purpose",
          head + "Look: <img alt=\"A\" src=\"a.png\"> <img src=\"b.png\" alt=\"\"> is it.\n\n"
                 "`<img src=c>`\n",
          {}},
         {"picture by reference without words",
          head + "Look: ![][a] is it.\n\n[a]: a.png\n",
          {"document.image_text"}},
         {"a link in brackets", head + "See (it)[here](https://x.org/g) now.", {}},
         {"without words", head + "See [](https://x.org/g) now.", {"document.link_text"}},
         {"a picture for words", head + "See [![Go](go.svg)](https://x.org/g) now.", {}},
         {"a host that is named like a scheme",
          head + "See [it](https://httpd.example.org/) and [that](http://httpbin.example.org/a).",
          {}},
         {"an address that a program fills in",
          head + "See [it]({{ site.home }}) and [that]({% link notes/a b.md %}).",
          {}},
         {"keys", head + "Press [tab][tab] to see them.", {}},
         {"a definition that is missing",
          head + "Press [the tab][tab] key.",
          {"document.missing_definition"}},
         {"arguments and names in code",
          head + "Call ping([data][, then]) or [run][store::Shelf::run] it.",
          {}},
         {"a name with words",
          head + "Look [it][the store: here] up.",
          {"document.missing_definition"}},
         {"the top of the page", head + "Go [up](#_top).", {}},
         {"a scheme in front of a scheme",
          head + "See [it](https://http://x.org/a) and [that](http://https//x.org/a).",
          {"document.broken_address"}},
         {"broken anchor", head + "See [how](#missing-part) it works.", {"document.broken_anchor"}},
         {"anchor of a heading that is a link",
          head + "See [all](#ready-set), [one](#read-me) and [two](#go).\n\n"
                 "## [Ready](a/b.js) [set][s]\n\nText.\n\n## [`read me`](<a (1).md>)\n\nText.\n\n"
                 "## [![Go](go.svg)](go.html)\n\nText.\n\n[s]: s.html\n",
          {}},
         {"anchor of the target of such a heading",
          head + "See [it](#readyabjs).\n\n## [Ready](a/b.js)\n\nText.\n",
          {"document.broken_anchor"}},
         {"anchor by attribute", head + "<a id=\"here\"></a> See [how](#here) it works.", {}},
         {"anchor of a heading with a long line under it",
          head + "See [all](#all-rooms).\n\nAll rooms\n" + std::string(90, '-') + "\n\nText.\n",
          {}},
         {"anchor by a bare attribute", head + "<a id=here></a> See [how](#here) it works.", {}},
         {"empty target", head + "See [the guide]() for more.", {"document.empty_link"}},
         {"gap", head + "See [the guide](TODO) for more.", {"document.empty_link"}},
         {"lone hash", head + "See [the guide](#) for more.", {"document.empty_link"}},
         {"one slash", head + "See [it](http:/example.com) here.", {"document.broken_address"}},
         {"misspelt scheme",
          head + "See [it](htps://example.com) here.",
          {"document.broken_address"}},
         {"no host", head + "See [it](https:///path) here.", {"document.broken_address"}},
         {"blank", head + "See [it](https://example.com/a b) here.", {"document.broken_address"}},
         {"two points",
          head + "See [it](https://example..com/a) here.",
          {"document.broken_address"}},
         {"relative, mail and query",
          head + "See [a](docs/a.md#x), [b](mailto:a@b.org), [c](https://x.org/?q=1,2&r=..) here.",
          {}},
         {"missing definition",
          head + "See [the guide][guide] for more.",
          {"document.missing_definition"}},
         {"a label that goes on in the next line",
          head +
              "See [the\nlong guide][], [it][The  long guide] and [all\nof it][the long guide].\n\n"
              "[the long guide]: https://x.org/g\n",
          {}},
         {"brackets of arguments",
          head + "Call it with [+][LABEL][.][b] or with [[+]OFFSET[.][b] [+][LABEL][.]] alone.",
          {}},
         {"brackets of code",
          head + "It is the sum of row[i][j][\"k\"] and of [a-z][a-z0-9] alone.",
          {}},
         {"names that a tool links", head + "See [`Garden`][beds.Garden] and [`sow`][].", {}},
         {"a name where addresses are defined",
          head + "See [`Garden`][garden] and [a bed][bed].\n\n[bed]: https://example.com/bed\n",
          {"document.missing_definition"}},
         {"definition", head + "See [the guide][Guide] for more.\n\n[guide]: https://x.org/g", {}},
         {"an index is no link", head + "The cell m[i][j] holds a sum.", {}},
         {"picture without words",
          head + "Look: ![](chart.png) is the chart.",
          {"document.image_text"}}},
        critiqueDocument);
}

TEST(DocumentCritic, Notes) {
    expectRules(
        {{"sound", "A claim.[^1]\n\n[^1]: Its source is old.", {}},
         {"missing", "A bold claim.[^2]\n\nMore text here.", {"document.missing_note"}},
         {"at the start of a line", "A bold claim\n[^1] of mine.\n\n[^1]: Its source is old.", {}},
         {"no notes but patterns",
          "[^abc] is none of these letters.\n\nIt is the same as [^\\w] for most of them.",
          {}},
         {"unused",
          "A bold claim stands here.\n\n[^1]: Its source is old.",
          {"document.unused_note"}},
         {"sources", "As shown [1] and [2] before.\n\n[1] A. Author, One.\n[2] B. Other, Two.", {}},
         {"missing source",
          "As shown [1] and [4] before.\n\n[1] A. Author, One.\n[2] B. Other, Two.",
          {"document.missing_note"}}},
        critiqueDocument);
}

TEST(DocumentCritic, NumberedLists) {
    const std::vector<std::string> flagged = {"document.list_order"};
    expectRules(
        {{"in order", "1. one thing\n2. two things\n3. three things\n", {}},
         {"gap", "1. one thing\n2. two things\n4. four things\n", flagged},
         {"swapped", "1. one thing\n3. three things\n2. two things\n", flagged},
         {"twice", "1. one thing\n2. two things\n2. two more things\n", flagged},
         {"all ones", "1. one thing\n1. another thing\n1. a third thing\n", {}},
         {"starts late", "5. five things\n6. six things\n", {}},
         {"two lists", "1. one thing\n2. two things\n\nBetween them.\n\n1. one more\n", {}},
         {"nested", "1. one thing\n   1. inner one\n   2. inner two\n2. two things\n", {}},
         {"a date at the start of a line",
          "1. one thing\n\nThe fair was held in Bonn on the\n12. of March, they say.\n",
          {}},
         {"continued", "1. one thing\n\n   with a second paragraph\n\n2. two things\n", {}}},
        critiqueDocument);
}

TEST(DocumentCritic, Tables) {
    const std::string head = "Some words first.\n\n| a | b |\n|---|---|\n";
    expectRules(
        {{"regular", head + "| one | two |\n", {}},
         {"too many", head + "| one | two | three |\n", {"document.table_columns"}},
         {"too few", head + "| one |\n", {"document.table_columns"}},
         {"too few in half of the rows",
          head + "| one |\n| two |\n| three |\n| four | 4 |\n",
          {"document.table_columns"}},
         {"escaped bar", head + "| one \\| more | two |\n", {}},
         {"bar in code", head + "| `a|b` | two |\n", {"document.table_columns"}},
         {"escaped bar in code", head + "| `a\\|b` | two |\n", {}},
         {"text right below", head + "| one | two |\nAnd so on.\n", {"document.table_columns"}},
         {"a delimiter row of other columns",
          "Some words first.\n\n| a | b |\n|---|\n| one | two |\n",
          {"document.table_columns"}},
         {"in a quotation", "Some words.\n\n> | a | b |\n> |---|---|\n> | one | two |\n", {}},
         {"text right above",
          "Some words first.\n\n**The beds**\n| a | b |\n|---|---|\n| one | two |\n",
          {}},
         {"text right above a row too long",
          "Some words first.\n\n**The beds**\n| a | b |\n|---|---|\n| one | two | 3 |\n",
          {"document.table_columns"}},
         {"no outer bars", "Some words.\n\na | b\n--|--\none | two\n", {}},
         {"placeholder in a cell", head + "| one | TBD |\n", {"text.placeholder"}}},
        critiqueDocument);
}

TEST(DocumentCritic, RowsThatEndEarlyByHabitWeighLow) {
    const std::string head = "Some words first.\n\n| a | b |\n|---|---|\n";
    const auto worst = [](const std::string& table) {
        Severity graver = Severity::low;
        for (const Finding& finding : critiqueDocument(textPart(table)).findings) {
            EXPECT_EQ(finding.rule, "document.table_columns");
            graver = std::max(graver, finding.severity);
        }
        return graver;
    };
    EXPECT_EQ(worst(head + "| one |\n| two |\n| three |\n| four | 4 |\n"), Severity::low);
    EXPECT_EQ(worst(head + "| one |\n| two |\n| four | 4 |\n"), Severity::medium);
    EXPECT_EQ(worst(head + "| one |\n| two |\n| three |\n| four | 4 | 5 |\n"), Severity::medium);
}

TEST(DocumentCritic, ADayThatATableOfAManualLeavesOpenWeighsLow) {
    const auto severities = [](const std::string& document) {
        std::vector<Severity> found;
        for (const Finding& finding : critiqueDocument(textPart(document)).findings) {
            if (finding.rule == "text.placeholder") found.push_back(finding.severity);
        }
        return found;
    };
    const std::string table =
        "# Releases\n\n| Release | Ends |\n|---|---|\n| 4 | May |\n| 5 | TBD |\n";
    EXPECT_EQ(severities(table), std::vector{Severity::high});
    EXPECT_EQ(severities(table + "\nRun `shelf --list` for all of them.\n"),
              std::vector{Severity::low});
    EXPECT_EQ(severities("# Releases\n\nTBD\n\nRun `shelf --list` for all of them.\n"),
              std::vector{Severity::high});
}

TEST(DocumentCritic, ReferencesByNumber) {
    const std::vector<std::string> flagged = {"document.missing_reference"};
    const std::string captions = "Table 1: Sales.\n\nTable 2: Costs.\n\nTable 3: Staff.\n\n";
    expectRules(
        {{"exists", captions + "As Table 2 shows, all is well.", {}},
         {"does not exist", captions + "As Table 4 shows, all is well.", flagged},
         {"no captions to compare with", "As Table 4 shows, all is well here.", {}},
         {"figures", "Figure 1: A hall.\n\nSee Fig. 2 for the hall itself.", flagged},
         {"sections", "# 1 Start\n\nSee Section 3.2 for more of it.\n\n# 2 End\n\nThis is it.",
          flagged},
         {"a section elsewhere",
          "# 1 Start\n\nSee Section 7 of the act for more.\n\n# 2 End\n\nThis is it.",
          {}}},
        critiqueDocument);
}

TEST(DocumentCritic, UnclosedPartsAndSpellings) {
    expectRules(
        {{"code block", "Some words first.\n\n```sh\nls\n", {"document.unclosed_code"}},
         {"comment",
          "Some words first.\n\n<!-- hidden from here\n\nmore words.",
          {"document.unclosed_comment"}},
         {"a line that says where something was cut out",
          "Some words first.\n\n~~~ cut here ~~~\nThe rest of the message.\n~~~ cut here "
          "~~~\n\nMore.",
          {}},
         {"longer fence", "Some words first.\n\n````md\n```\n````\n", {}},
         {"tildes under a heading", "Garden tools\n~~~~~~~~~~~~\n\nThey hang in the shed.", {}},
         {"fewer tildes than the heading", "All of the garden tools\n~~~~~~~\n\nThey hang.", {}},
         {"tildes that close", "Call it\n~~~~~~~\n\nls\n~~~~~~~\n\nand wait.", {}},
         {"tildes around code", "Call it\n\n~~~~~~~\nls\n~~~~~~~\n\nand wait.", {}},
         {"code of one line", "~~~~\nls -l\n~~~~\n\nThis lists what is here.\n", {}},
         {"tildes with a sentence below",
          "Garden tools\n~~~~~~~~~~~~\nThey hang in the shed.\n",
          {}},
         {"tildes with a literal block below", "Garden tools\n~~~~~~~~~~~~\n::\n\n    rake\n", {}},
         {"backquotes under a heading",
          "Garden tools\n````````````\n\nThey hang in the shed.\n\nSeeds\n`````\nSeeds lie in the "
          "box.\n",
          {}},
         {"backquotes that open code",
          "Call it like this:\n````````\nls\n",
          {"document.unclosed_code"}},
         {"a fence under a word",
          "Run\n```\n\nls -l and see what is here\n",
          {"document.unclosed_code"}},
         {"tildes of another length with a sentence below",
          "In the garden stand these tools\n~~~~~~~\nThey hang in the shed.\n",
          {"document.unclosed_code"}},
         {"tildes that open code", "Garden tools\n~~~~~~~~~~~~\nls\n", {"document.unclosed_code"}},
         {"spelling",
          "Send an e-mail. Every email counts, each email is read.",
          {"document.spelling_mix"}},
         {"one spelling", "Send an e-mail. Every e-mail counts here.", {}},
         {"name of a product",
          "On GitHub we trust, on Github we post.",
          {"document.spelling_mix"}}},
        critiqueDocument);
}

TEST(DocumentCritic, ProseRulesLeaveCodeAndAddressesAlone) {
    expectRules({{"inline code", "Call `foo(the the` or ``a ` b ( c`` at once.", {}},
                 {"code block", "As follows here:\n\n```\nTODO (the the\n```\n\nThat is all.", {}},
                 {"indented code", "As follows here:\n\n    TODO (the the\n\nThat is all.", {}},
                 {"bare address", "See https://example.com/TODO_(x and go on.", {}},
                 {"quotation", "> We went to the the market today.", {"text.doubled_word"}},
                 {"list item", "- We went to the the market today.", {"text.doubled_word"}}},
                critiqueDocument);
}

TEST(DocumentCritic, TheFlawedLaunchNoteBreaksExactlyTheseRules) {
    const std::string text = sample("launch-note.md");
    ASSERT_FALSE(text.empty());
    const Critique critique = critiqueDocument(textPart(text, "launch-note.md", "text/markdown"));
    const auto& findings = critique.findings;
    EXPECT_EQ(findings.size(), 8U);
    EXPECT_EQ(rulesOf(findings), (std::vector<std::string>{
                                     "document.empty_link", "document.heading_order",
                                     "text.date_order", "text.doubled_word", "text.long_sentence",
                                     "text.placeholder", "text.unclosed_pair", "text.weekday"}));
    EXPECT_EQ(judge(critique).band, Band::quarantine);
    EXPECT_EQ(onlyFinding(findings, "text.weekday").place, "line 3, column 48");
    EXPECT_EQ(onlyFinding(findings, "text.weekday").evidence, "Tuesday, 14 September 2026");
}

TEST(DocumentCritic, TheCorrectedLaunchNoteShips) {
    const std::string text = sample("launch-note-corrected.md");
    ASSERT_FALSE(text.empty());
    // With this machine's dictionaries, without which nobody would know the language.
    const Critique critique = critiqueDocument(textPart(text, "launch-note.md", "text/markdown"),
                                               toolsOfMachine({}, {}, {}));
    EXPECT_EQ(rulesOf(critique.findings), std::vector<std::string>{});
    EXPECT_EQ(judge(critique), (Judgement{1.0, Band::ship}));
}

} // namespace
} // namespace trevix
