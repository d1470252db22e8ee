#include "critics/sheet/table_reader.h"

#include <gtest/gtest.h>

#include <random>

namespace trevix {
namespace {

using Rows = std::vector<std::vector<std::string>>;

TEST(TableReader, FindsTheDelimiter) {
    const struct {
        const char* text;
        char delimiter;
    } cases[] = {
        {"a,b,c\n1,2,3\n", ','}, {"a;b;c\n1,5;2,5;3,5\n", ';'},   {"a\tb\n1\t2\n", '\t'},
        {"a|b\n1|2\n", '|'},     {"\"x;y\",2\n\"p;q\",3\n", ','}, {"one column\nonly\n", ','},
    };
    for (const auto& c : cases)
        EXPECT_EQ(readTable(c.text, false).delimiter, c.delimiter) << c.text;
}

TEST(TableReader, TabSeparatedTextKeepsCommasInCells) {
    EXPECT_EQ(readTable("a,b\tc\n1,5\t2\n", true).rows, (Rows{{"a,b", "c"}, {"1,5", "2"}}));
}

TEST(TableReader, APartIsCutAtTabsWhereItSaysSoAndHasThem) {
    const char* both = "a, b\tc, d\n1,5\t2,5\n";
    const struct {
        const char* text;
        const char* type;
        char delimiter;
    } cases[] = {
        {both, "text/tab-separated-values", '\t'},
        {both, "Text/Tab-Separated-Values; charset=utf-8", '\t'},
        {both, "text/x-tab-separated-values", '\t'},
        {"a,b\n1,2\n", "text/tab-separated-values", ','},
        {"a\tb\n1\t2\n", "text/csv", '\t'},
        {"a,b\n1,2\n", "text/csv; comment=tab-separated", ','},
        {"a,b\n1,2\n", "", ','},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(readSheet(c.text, c.type).delimiter, c.delimiter) << c.type << ": " << c.text;
    }
}

TEST(TableReader, ReadsQuotingAndLineEnds) {
    const struct {
        const char* text;
        Rows rows;
    } cases[] = {
        {"a,b\r\nc,d\r\n", {{"a", "b"}, {"c", "d"}}},
        {"a,b\rc,d", {{"a", "b"}, {"c", "d"}}},
        {"\"a\nb\",c\nd,e", {{"a\nb", "c"}, {"d", "e"}}},
        {"\"say \"\"hi\"\"\",2\n3,4", {{"say \"hi\"", "2"}, {"3", "4"}}},
        {"\xEF\xBB\xBF"
         "a,b\n1,2",
         {{"a", "b"}, {"1", "2"}}},
        {"a,b\n\n1,2\n\n\n", {{"a", "b"}, {""}, {"1", "2"}}},
        {"a,\n,b", {{"a", ""}, {"", "b"}}},
        {"5\" pipe,1\n6\" pipe,2", {{"5\" pipe", "1"}, {"6\" pipe", "2"}}},
    };
    for (const auto& c : cases) EXPECT_EQ(readTable(c.text, false).rows, c.rows) << c.text;
}

TEST(TableReader, QuoteNeverClosedSwallowsNothing) {
    const Table table = readTable("a,b\n\"open,2\n3,4\n", false);
    EXPECT_EQ(table.rows, (Rows{{"a", "b"}, {"\"open", "2"}, {"3", "4"}}));
    ASSERT_TRUE(table.openQuote);
    EXPECT_EQ(table.openQuote->first, 1U);
    EXPECT_EQ(table.openQuote->second, 0U);
}

TEST(TableReader, ManyQuotesNeverClosedTakeLinearTime) {
    std::string text;
    while (text.size() < 180'000) text += "\"x,";
    EXPECT_EQ(readTable(text, false).rows.size(), 1U);
}

TEST(TableReader, FindsTheHeader) {
    const struct {
        const char* text;
        std::optional<std::size_t> header;
    } cases[] = {
        {"Item,Price\nChair,12\nTable,30\n", 0},
        {"Chair,12\nTable,30\nLamp,8\n", std::nullopt},
        {"Sales report,,\n,,\nItem,Region,Price\nChair,North,12\nTable,South,30\n", 2},
        {"Name,City\nAnn,Bern\nBob,Rome\nCid,Oslo\n", 0},
        {"north,x\nnorth,y\nsouth,x\n", std::nullopt},
        {"Item,2023,2024\nChair,12,14\nTable,30,31\n", 0},
        {"1,2\n3,4\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(readTable(c.text, false).headerRow, c.header) << c.text;
}

TEST(TableReader, HeaderOnTwoRowsJoinsBoth) {
    const Table table =
        readTable(",2023,,2024,\nItem,Plan,Actual,Plan,Actual\nA,1,2,3,4\nB,5,6,7,8\n", false);
    ASSERT_EQ(table.headerRow, 1U);
    EXPECT_EQ(table.header(1), "2023 Plan");
    EXPECT_EQ(table.header(2), "2023 Actual");
    EXPECT_EQ(table.header(4), "2024 Actual");
}

TEST(TableReader, NamesCellsAsSheetsDo) {
    EXPECT_EQ(cellName(3, 2), "C4");
    EXPECT_EQ(columnName(0), "A");
    EXPECT_EQ(columnName(25), "Z");
    EXPECT_EQ(columnName(26), "AA");
    EXPECT_EQ(columnName(701), "ZZ");
    EXPECT_EQ(columnName(702), "AAA");
}

TEST(TableReader, TrimsEverySpace) {
    EXPECT_EQ(trimmedCell(" \xC2\xA0 x y\t"), "x y");
    EXPECT_EQ(trimmedCell("plain"), "plain");
    EXPECT_EQ(trimmedCell("   "), "");
}

} // namespace
} // namespace trevix
