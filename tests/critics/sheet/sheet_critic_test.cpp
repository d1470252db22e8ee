#include "critics/sheet/sheet_critic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace trevix {
namespace {

using testing::HasSubstr;

std::vector<Finding> judge(const std::string& text, const char* mimeType = "text/csv") {
    Part part;
    part.mimeType = mimeType;
    part.name = "sheet";
    part.text = text;
    return critiqueSheet(part).findings;
}

/// "rule@place" of every finding, in order.
std::vector<std::string> found(const std::string& text, const char* mimeType = "text/csv") {
    std::vector<std::string> names;
    for (const Finding& finding : judge(text, mimeType)) {
        names.push_back(finding.rule + "@" + finding.place);
    }
    return names;
}

using Names = std::vector<std::string>;

struct Case {
    const char* what;
    std::string text;
    Names expected;
};

void expectFound(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(found(c.text), c.expected) << c.what << "\n" << c.text;
}

const char* const kGood = "Item,Region,Qty,Price,Line total,Date\n"
                          "Chair,North,3,12.50,37.50,2024-01-05\n"
                          "Table,South,1,150.00,150.00,2024-01-06\n"
                          "Lamp,North,4,20.00,80.00,2024-02-07\n"
                          "Desk,East,2,95.00,190.00,2024-02-08\n"
                          "Shelf,North,7,30.00,210.00,2024-02-09\n"
                          "Total,,17,,667.50,\n";

TEST(SheetCritic, GoodSheetsAreClean) {
    expectFound({
        {"ledger", kGood, {}},
        {"German",
         "Artikel;Menge;Preis;Gesamtpreis;Datum\nStuhl;3;12,50;37,50;05.01.2024\n"
         "Tisch;1;150,00;150,00;06.01.2024\nLampe;4;20,00;80,00;07.02.2024\n"
         "Schrank;2;1.095,00;2.190,00;09.02.2024\n\nSumme;10;;2.457,50;\n",
         {}},
        {"French", "Article;Prix\nA;1 234,50\nB;2 000,00\nC;12,25\nTotal;3 246,75\n", {}},
        {"no header", "Chair,3,12\nTable,1,150\nLamp,4,20\n", {}},
        {"words alone", "Name,City\nAnn,Bern\nBob,Rome\nCid,Oslo\n", {}},
        {"a column called x",
         "x,y,none\n1.5,2.5,3\n1.7,2.25,4\n1.9,2.1,7\n2.5,2.2,1\n2.75,2,9\n",
         {}},
        {"one cell", "42", {}},
        {"one column of numbers", "Heads counted\n4\n17\n9\n12\n30\n2\n", {}},
        {"one column", "Name\nAnn\nBob\nCid\n", {}},
        {"crosstab without corner", ",Q1,Q2\nNorth,1,2\nSouth,3,4\nEast,5,6\n", {}},
        {"sections",
         "Item,Jan,Feb\nNorth,,\nA,1,2\nB,3,4\nSubtotal,4,6\n\nSouth,,\nC,5,6\nD,7,8\n"
         "Subtotal,12,14\nTotal,16,20\n",
         {}},
        {"report title",
         "Sales 2024,,\n,,\nItem,Region,Sales\nA,N,5\nB,S,6\nC,E,7\nTotal,,18\n",
         {}},
        {"survey answers repeat",
         "Question,Answer,Grade\nA,yes,1\nA,yes,1\nA,no,2\nA,yes,1\nA,no,2\n",
         {}},
    });
}

TEST(SheetCritic, SheetAsCopiedWithTabs) {
    std::string text = kGood;
    std::replace(text.begin(), text.end(), ',', '\t');
    EXPECT_EQ(found(text, "text/tab-separated-values"), Names{});
    EXPECT_EQ(found(text, "text/plain"), Names{});
}

TEST(SheetCritic, NothingInTheSheet) {
    EXPECT_EQ(found(""), Names{"sheet.empty@the whole sheet"});
    EXPECT_EQ(found(" , ,\n,,\n"), Names{"sheet.empty@the whole sheet"});
}

TEST(SheetCritic, EveryFindingNamesPlaceAndEvidence) {
    const auto findings =
        judge("Item,Qty\nA,1\nB,#REF!\nC,TBD\nD,-4\nE,1O5\nF,6\nG,7\nH,8\nI,9\nJ,10\nK,3\n");
    ASSERT_GE(findings.size(), 4U);
    for (const Finding& finding : findings) {
        EXPECT_THAT(finding.detail, testing::ContainsRegex("[cC]ell|[rR]ow|[cC]olumn"));
        EXPECT_THAT(finding.detail, HasSubstr(finding.place.substr(1))); // May be capitalised.
        EXPECT_THAT(finding.detail, HasSubstr(finding.evidence));
        EXPECT_FALSE(finding.criterion.empty());
        EXPECT_EQ(finding.detail.back(), '.');
    }
}

TEST(SheetCritic, FormulaErrors) {
    expectFound({
        {"each kind",
         "A,B\n1,#REF!\n2,#DIV/0!\n3,Err:502\n4,#N/A\n",
         {"sheet.formula_error@cell B2", "sheet.formula_error@cell B3",
          "sheet.formula_error@cell B4", "sheet.formula_error@cell B5"}},
        {"in a total", "Item,Sum\nA,1\nB,2\nC,3\nTotal,#VALUE!\n", {"sheet.formula_error@cell B5"}},
        {"talk about errors", "Item,Note\nA,shows #REF! here\nB,see #12\n", {}},
    });
    EXPECT_EQ(judge("A,B\n1,#REF!\n")[0].severity, Severity::high);
    EXPECT_EQ(judge("A,B\n1,#N/A\n")[0].severity, Severity::medium);
}

TEST(SheetCritic, FormulasShownAsText) {
    expectFound({
        {"formula", "Item,Sum\nA,1\nB,2\nC,=SUM(B2:B3)\n", {"sheet.formula_text@cell B4"}},
        {"no formula", "Item,Note\nA,=\nB,== big ==\nC,=)\n", {}},
    });
}

TEST(SheetCritic, RaggedRows) {
    expectFound({
        {"too long", "a,b,c\n1,2,3\nSmith, John,2,3\n4,5,6\n7,8,9\n", {"sheet.ragged_row@row 3"}},
        {"too short", "a,b,c\nx,2,3\ny,5\nz,8,9\nw,1,2\n", {"sheet.ragged_row@row 3"}},
        {"note at the end", "a,b,c\nx,2,3\ny,5,6\nz,8,9\nw,1,2\nSource: register\n", {}},
        {"trailing delimiter", "a,b,c\nx,2,3,\ny,5,6\nz,8,9\nw,1,2\n", {}},
    });
    EXPECT_EQ(judge("a,b,c\n1,2,3\nx,y,2,3\n4,5,6\n7,8,9\n")[0].severity, Severity::high);
}

TEST(SheetCritic, QuoteNeverClosed) {
    expectFound({
        {"open", "Item,Qty\n\"Chair,3\nTable,1\nLamp,4\n", {"sheet.open_quote@cell A2"}},
        {"inches", "Item,Qty\n5\" pipe,3\n6\" pipe,1\n", {}},
        {"doubled", "Item,Qty\n\"a \"\"b\"\"\",3\nc,1\n", {}},
    });
}

TEST(SheetCritic, Headers) {
    expectFound({
        {"duplicate",
         "Item,Price,price\nA,1,2\nB,3,4\nC,5,6\n",
         {"sheet.duplicate_header@cell C1"}},
        {"duplicate under groups",
         ",2023,,2024,\nItem,Plan,Actual,Plan,Actual\nA,1,2,3,4\nB,5,6,7,8\n",
         {}},
        {"empty over data", "Item,,Price\nA,x,2\nB,y,4\nC,z,6\n", {"sheet.empty_header@cell B1"}},
        {"empty over nothing much", "Item,Price,\nA,2,\nB,4,see A\nC,6,\n", {}},
    });
}

TEST(SheetCritic, NumbersStoredAsText) {
    expectFound({
        {"apostrophe", "Item,Qty\nA,1\nB,'22\nC,3\nD,4\nE,5\n", {"sheet.text_number@cell B3"}},
        {"letter for digit",
         "Item,Qty\nA,10\nB,1O5\nC,30\nD,l2\nE,50\nF,1\nG,1\nH,2\nI,3\nJ,4\n",
         {"sheet.text_number@cell B3", "sheet.text_number@cell B5"}},
        {"blank after", "Item,Qty\nA,10\nB,20 \nC,30\nD,40\n", {"sheet.text_number@cell B3"}},
        {"blank inside",
         "Item,Cost\nA,1500\nB,1 234\nC,3000\nD,4000\n",
         {"sheet.text_number@cell B3"}},
        {"blanks as style", "Item, Qty\nA, 10\nB, 20\nC, 30\n", {}},
        {"grouping with blanks", "Item,Cost\nA,1 500\nB,1 234\nC,300\nD,4 000\n", {}},
        {"codes with zeros", "Item,Zip\nA,01234\nB,12345\nC,23456\nD,34567\n", {}},
    });
}

TEST(SheetCritic, MixedTypes) {
    expectFound({
        {"word among numbers",
         "Item,Qty\nA,1\nB,2\nC,three\nD,4\nE,5\nF,6\n",
         {"sheet.mixed_types@cell B4"}},
        {"number among dates",
         "Item,Date\nA,2024-01-01\nB,2024-01-02\nC,45321\nD,2024-01-04\nE,2024-01-05\nF,2024-01-"
         "06\n",
         {"sheet.mixed_types@cell B4"}},
        {"no value", "Item,Qty\nA,1\nB,n/a\nC,-\nD,4\nE,5\nF,\nG,7\n", {}},
        {"half and half", "Item,Size\nA,1\nB,small\nC,3\nD,large\nE,5\nF,7\n", {}},
        {"total row",
         "Item,Qty\nA,1\nB,2\nC,4\nD,4\nE,5\nTotal,pending\n",
         {"sheet.mixed_types@cell B7"}},
        {"section headings", "Item,Qty,Unit\nA,1,x\nB,2,x\nOld stock,,\nC,3,x\nD,4,x\nE,5,x\n", {}},
    });
}

/// Figures shown with one decimal that add up to 8.0, above that total.
std::string sixteenRows(const std::string& total) {
    std::string csv = "Item,Cost\n";
    for (char item = 'A'; item < 'A' + 16; ++item)
        csv += std::string(1, item) + (item % 2 == 0 ? ",0.4\n" : ",0.6\n");
    return csv + "Total," + total + "\n";
}

TEST(SheetCritic, TotalsThatDoNotAddUp) {
    expectFound({
        {"wrong", "Item,Cost\nA,10\nB,20\nC,30\nTotal,70\n", {"sheet.wrong_total@cell B5"}},
        {"right", "Item,Cost\nA,10\nB,20\nC,30\nTotal,60\n", {}},
        {"misses a row",
         "Item,Cost\nA,10.00\nB,20.00\nC,35.00\nTotal,30.00\n",
         {"sheet.wrong_total@cell B5"}},
        {"rounded", "Item,Cost\nA,1.3\nB,1.3\nC,1.3\nTotal,4.0\n", {}},
        {"rounded, sixteen rows", sixteenRows("8.3"), {}},
        {"more than rounding, sixteen rows", sixteenRows("8.5"), {"sheet.wrong_total@cell B18"}},
        {"off by one, whole",
         "Item,Qty\nA,10\nB,20\nC,31\nTotal,60\n",
         {"sheet.wrong_total@cell B5"}},
        {"German marks",
         "Posten;Betrag\nA;1.250,50\nB;2.000,00\nC;10,00\nSumme;3.360,50\n",
         {"sheet.wrong_total@cell B5"}},
        {"negative in brackets", "Item,Amount\nA,500\nB,(200)\nC,100\nTotal,400\n", {}},
        {"currency", "Item;Cost\nA;$10.00\nB;$20.00\nC;$1,000.00\nTotal;$1,030.00\n", {}},
        {"group total, near miss",
         "Item,Cost\nA,100\nB,200\nTotal costs,310\n",
         {"sheet.wrong_total@cell B4"}},
        {"a row that sums two others", "Item,Cost\nA,10\nB,20\nA and B,30\nTotal,30\n", {}},
        {"thousands and decimals open", "Item;Cost\nA;900\nB;1.100\nC;500\nTotal;2.500\n", {}},
        {"wrong subtotal",
         "Item,Cost\nA,10\nB,20\nSubtotal,35\nC,30\nD,40\nSubtotal,70\nTotal,100\n",
         {"sheet.wrong_total@cell B4"}},
        {"mean under prices", "Item,Unit price\nA,10\nB,20\nC,30\nTotal,20\n", {}},
        {"rate", "Item,Rate\nA,10\nB,20\nC,30\nTotal,22\n", {}},
        {"year", "Item,Year\nA,2020\nB,2021\nC,2022\nTotal,3\n", {}},
        {"total above its rows", "Item,Cost\nTotal,60\nA,10\nB,20\nC,30\n", {}},
        {"a name that begins with Total",
         "Game,Sales\nChess,10\nTotal War,20\nGo,30\nTotal,60\n",
         {}},
        {"error among the rows",
         "Item,Cost\nA,10\nB,#REF!\nC,30\nTotal,99\n",
         {"sheet.formula_error@cell B3"}},
        {"figures beside each other",
         "Measure,Value\nSessions,1200\nUsers,800\nPages,12\nTotal revenue,9400\n",
         {}},
        {"count of rows", "Item,Mark\nA,10\nB,20\nC,30\nTotal,3\n", {}},
    });
    const auto findings = judge("Item,Cost\nA,10\nB,20\nC,30\nTotal,70\n");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].severity, Severity::high);
    EXPECT_EQ(findings[0].evidence, "70; the rows add up to 60");
}

TEST(SheetCritic, TotalsAcrossTheRow) {
    const std::string head = "Item,Q1,Q2,Total\n";
    expectFound({
        {"sum", head + "A,1,2,3\nB,4,5,9\nC,6,7,13\nD,8,9,19\n", {"sheet.wrong_row_total@cell D5"}},
        {"sum right", head + "A,1,2,3\nB,4,5,9\nC,6,7,13\nD,8,9,17\n", {}},
        {"product",
         "Item,Qty,Price,Amount\nA,2,1.50,3.00\nB,3,2.00,6.00\nC,4,2.50,10.00\nD,5,3.00,16.00\n",
         {"sheet.wrong_row_total@cell D5"}},
        {"something else", "Item,Qty,Price,Total\nA,2,3,17\nB,3,4,19\nC,4,5,27\nD,5,6,31\n", {}},
    });
}

TEST(SheetCritic, SharesThatDoNotMakeAHundred) {
    expectFound({
        {"ninety-five", "Item,Share %\nA,40\nB,30\nC,25\n", {"sheet.percent_sum@column Share %"}},
        {"percent signs", "Item,Share\nA,40%\nB,30%\nC,35%\n", {"sheet.percent_sum@column Share"}},
        {"a hundred", "Item,Share\nA,40%\nB,30%\nC,30%\n", {}},
        {"rounded", "Item,Share\nA,33%\nB,33%\nC,33%\n", {}},
        {"no parts of one whole", "Item,Growth\nA,40%\nB,30%\nC,25%\n", {}},
        {"part of a list", "Item,Share\nA,12%\nB,9%\nC,4%\n", {}},
    });
}

TEST(SheetCritic, StrayBlanks) {
    expectFound({
        {"after",
         "Name,City\nAnn ,Bern\nBob,Rome\nCid,Oslo\nDee,Kyiv\n",
         {"sheet.stray_blanks@cell A2"}},
        {"no-break space",
         "Name,City\nAnn,Bern\nBob,\xC2\xA0Rome\nCid,Oslo\nDee,Kyiv\n",
         {"sheet.stray_blanks@cell B3"}},
        {"everywhere", "Name, City\nAnn, Bern\nBob, Rome\nCid, Oslo\n", {}},
    });
    EXPECT_EQ(judge("Name,City\nAnn ,Bern\nBob,Rome\nCid,Oslo\nDee,Kyiv\n")[0].evidence, "Ann␣");
}

TEST(SheetCritic, SpellingVariants) {
    const std::string rows = "A,North\nB,North\nC,South\nD,South\nE,North\nF,South\nG,North\n";
    expectFound({
        {"capitals", "Item,Region\n" + rows + "H,north\n", {"sheet.spelling_variants@cell B9"}},
        {"same", "Item,Region\n" + rows + "H,North\n", {}},
        {"two equal camps", "Item,Region\nA,us\nB,US\nC,us\nD,US\nE,us\nF,US\nG,us\nH,US\n", {}},
    });
}

TEST(SheetCritic, ImpossibleDates) {
    const std::string rest = "B,2024-01-02\nC,2024-01-03\nD,2024-01-04\n";
    expectFound({
        {"31 February",
         "Item,Date\nA,31.02.2024\nB,01.03.2024\nC,02.03.2024\nD,03.03.2024\n",
         {"sheet.impossible_date@cell B2"}},
        {"month 13", "Item,Date\nA,2024-13-01\n" + rest, {"sheet.impossible_date@cell B2"}},
        {"slashes either way",
         "Item,Date\nA,32/13/2024\nB,12/11/2024\nC,11/12/2024\nD,01/02/2024\n",
         {"sheet.impossible_date@cell B2"}},
        {"leap day", "Item,Date\nA,2024-02-29\n" + rest, {}},
        {"no leap day", "Item,Date\nA,2023-02-29\n" + rest, {"sheet.impossible_date@cell B2"}},
        {"version numbers by year", "Item,Version\nA,2024.0.1\nB,2024.1.12\nC,2023.40.1\n", {}},
        {"version numbers", "Item,Version\nA,1.13.45\nB,2.31.40\nC,3.45.99\n", {}},
    });
}

TEST(SheetCritic, MixedDateFormats) {
    expectFound({
        {"one stray",
         "Item,Date\nA,2024-01-01\nB,02.01.2024\nC,2024-01-03\nD,2024-01-04\n",
         {"sheet.mixed_dates@cell B3"}},
        {"month first among day first",
         "Item,Date\nA,13/01/2024\nB,01/25/2024\nC,14/02/2024\nD,03/04/2024\n",
         {"sheet.mixed_dates@cell B3"}},
        {"open order", "Item,Date\nA,03/01/2024\nB,04/02/2024\nC,05/02/2024\nD,06/04/2024\n", {}},
        {"open and day first",
         "Item,Date\nA,03/01/2024\nB,14/02/2024\nC,15/02/2024\nD,06/04/2024\n",
         {}},
        {"no majority",
         "Item,Date\nA,2024-01-01\nB,2024-01-02\nC,03.01.2024\nD,04.01.2024\n",
         {"sheet.mixed_dates@column Date"}},
    });
}

TEST(SheetCritic, MixedCurrenciesAndUnits) {
    expectFound({
        {"currency", "Item,Cost\nA,$10\nB,$12\nC,€9\nD,$14\n", {"sheet.mixed_currencies@cell B4"}},
        {"one currency", "Item,Cost\nA,$10\nB,$12\nC,9\nD,USD 14\n", {}},
        {"many currencies", "Item,Cost\nA,$10\nB,£12\nC,€9\nD,$14\n", {}},
        {"unit", "Item,Weight\nA,1 kg\nB,2 kg\nC,300 g\nD,4 kg\n", {"sheet.mixed_units@cell B4"}},
        {"one unit", "Item,Weight\nA,1 kg\nB,2 kg\nC,3 kg\nD,4 kg\n", {}},
    });
}

TEST(SheetCritic, MixedDecimalMarks) {
    expectFound({
        {"stray comma",
         "Item;Cost\nA;1.5\nB;2,5\nC;3.5\nD;4.5\n",
         {"sheet.mixed_decimals@cell B3"}},
        {"thousands are no decimals", "Item;Cost\nA;1.5\nB;2,500\nC;3.5\nD;4.5\n", {}},
    });
}

TEST(SheetCritic, DuplicateRowsAndIds) {
    const std::string rows = "B,2,x\nC,3,y\nD,4,z\nE,5,x\nF,6,y\n";
    expectFound({
        {"row", "Item,Qty,Note\n" + rows + "C,3,y\n", {"sheet.duplicate_row@row 7"}},
        {"all but one cell", "Item,Qty,Note\n" + rows + "C,3,z\n", {}},
        {"id", "ID,Name\n1,Ann\n2,Bob\n3,Cid\n3,Dee\n4,Eve\n", {"sheet.duplicate_id@cell A5"}},
        {"ids differ", "ID,Name\n1,Ann\n2,Bob\n3,Cid\n4,Dee\n", {}},
        {"foreign key", "Customer id,Order\n1,A\n1,B\n2,C\n2,D\n2,E\n", {}},
    });
}

TEST(SheetCritic, EmptyRowsAndColumns) {
    const std::string rows = "A,1,x\nB,2,y\nC,3,z\nD,4,x\nE,5,y\nF,6,z\nG,7,x\nH,8,y\n";
    expectFound({
        {"row", "Item,Qty,Note\n" + rows + ",,\nI,9,z\n", {"sheet.empty_row@row 10"}},
        {"before the total", "Item,Qty,Note\n" + rows + ",,\nTotal,36,\n", {}},
        {"column",
         "Item,,Qty,Price,Note\nA,,1,2,x\nB,,2,3,y\nC,,3,4,z\n",
         {"sheet.empty_column@column B"}},
        {"named column",
         "Item,Owner,Qty,Price\nA,,1,2\nB,,2,3\nC,,3,4\n",
         {"sheet.empty_column@column Owner"}},
        {"column after the last", "Item,Qty,Price,Note,\nA,1,2,x,\nB,2,3,y,\nC,3,4,z,\n", {}},
    });
}

TEST(SheetCritic, PercentagesOutOfRange) {
    expectFound({
        {"progress",
         "Task,Progress\nA,40%\nB,130%\nC,25%\nD,100%\n",
         {"sheet.percent_range@cell B3"}},
        {"negative", "Task,% done\nA,40\nB,-5\nC,25\nD,100\n", {"sheet.percent_range@cell B3"}},
        {"growth may exceed", "Item,Growth\nA,40%\nB,130%\nC,-25%\nD,100%\n", {}},
    });
}

TEST(SheetCritic, NegativeCounts) {
    expectFound({
        {"quantity", "Item,Quantity\nA,4\nB,-3\nC,2\nD,1\n", {"sheet.negative_count@cell B3"}},
        {"balance", "Item,Balance\nA,4\nB,-3\nC,2\nD,1\n", {}},
        {"stock change", "Item,Stock change\nA,4\nB,-3\nC,2\nD,1\n", {}},
        {"returns throughout", "Item,Quantity\nA,-4\nB,-3\nC,2\nD,1\n", {}},
    });
}

TEST(SheetCritic, Placeholders) {
    expectFound({
        {"placeholder",
         "Item,Owner\nA,Ann\nB,TBD\nC,???\n",
         {"sheet.placeholder@cell B3", "sheet.placeholder@cell B4"}},
        {"no value", "Item,Owner\nA,Ann\nB,n/a\nC,-\n", {}},
    });
}

TEST(SheetCritic, GapsInTheNumbering) {
    expectFound({
        {"gap", "No,Task\n1,a\n2,b\n3,c\n5,d\n6,e\n7,f\n", {"sheet.sequence_gap@cell A5"}},
        {"complete", "No,Task\n1,a\n2,b\n3,c\n4,d\n5,e\n6,f\n", {}},
        {"tens", "No,Task\n10,a\n20,b\n30,c\n40,d\n50,e\n70,f\n", {}},
        {"keys of a database", "id,Task\n101,a\n102,b\n103,c\n104,d\n107,e\n108,f\n", {}},
    });
}

TEST(SheetCritic, WhatOneRuleFindsBeyondItsMostIsCounted) {
    std::string text = "Item,Owner\n";
    for (int i = 0; i < 60; ++i) text += "item " + std::to_string(i) + ",TBD\n";
    const auto findings = judge(text);
    ASSERT_EQ(findings.size(), 51U);
    EXPECT_EQ(findings.back().place, "cell B52");
    EXPECT_EQ(findings.back().evidence, "10 more");
}

TEST(SheetCritic, EvidenceIsShortAndValid) {
    const std::string text =
        "Item,Qty\nA,1\nB,2\nC,3\nD,4\nE,5\nF," + std::string(500, 'w') + "\xFF\n";
    const auto findings = judge(text);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_LE(findings[0].evidence.size(), 130U);
    EXPECT_EQ(findings[0].evidence.find('\xFF'), std::string::npos);
    EXPECT_EQ(findings[0].detail.find('\xFF'), std::string::npos);
}

TEST(SheetCritic, LargeSheets) {
    std::string line;
    for (int i = 0; line.size() < 180'000; ++i) line += std::to_string(i) + ",";
    EXPECT_EQ(found(line), Names{});

    std::string rows = "Item,Qty,Note\n";
    for (int i = 0; i < 50'000; ++i) {
        rows += "item " + std::to_string(i) + "," + std::to_string(i % 97) + ",note " +
                std::to_string(i * 7) + "\n";
    }
    EXPECT_EQ(found(rows), Names{});
}

TEST(SheetCritic, SameSheetSameFindings) {
    const std::string text = "Item,Qty\nA,#REF!\nB,TBD\nC,3\nD,4\nTotal,9\n";
    EXPECT_EQ(judge(text), judge(text));
}

TEST(SheetCritic, SurvivesRandomTables) {
    std::mt19937 random(20240131);
    const std::vector<std::string> pieces{",",          ";",
                                          "\t",         "\n",
                                          "\r\n",       "\"",
                                          "1",          "-2.5",
                                          "1,234",      "31.02.2024",
                                          "Total",      "#REF!",
                                          "TBD",        "é",
                                          "\xFF",       " ",
                                          "100%",       "(3)",
                                          "1e400",      "999999999999999999999999999999",
                                          "=A1+B1",     "'",
                                          "id",         "Share",
                                          "Qty",        "\xEF\xBB\xBF",
                                          "13/13/2024", "\xE2\x80",
                                          "€",          "5 kg",
                                          "|",          std::string(1, '\0')};
    for (int round = 0; round < 1500; ++round) {
        std::string text;
        const auto length = random() % 120;
        for (std::size_t i = 0; i < length; ++i) text += pieces[random() % pieces.size()];
        for (const Finding& finding : judge(text)) EXPECT_FALSE(finding.place.empty());
    }
}

} // namespace
} // namespace trevix
