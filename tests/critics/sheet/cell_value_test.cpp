#include "critics/sheet/cell_value.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(CellValue, ReadsNumbersOfEveryLocale) {
    const struct {
        const char* text;
        double value;
        DecimalMark mark;
        int decimals;
    } cases[] = {
        {"0", 0, DecimalMark::none, 0},
        {"1234", 1234, DecimalMark::none, 0},
        {"-12", -12, DecimalMark::none, 0},
        {"+7", 7, DecimalMark::none, 0},
        {"−3.5", -3.5, DecimalMark::dot, 1},
        {"1,234.56", 1234.56, DecimalMark::dot, 2},
        {"1.234,56", 1234.56, DecimalMark::comma, 2},
        {"1 234,56", 1234.56, DecimalMark::comma, 2},
        {"1\xC2\xA0"
         "234.5",
         1234.5, DecimalMark::dot, 1},
        {"1'234.50", 1234.5, DecimalMark::dot, 2},
        {"1,234,567", 1234567, DecimalMark::dot, 0},
        {"1.234.567", 1234567, DecimalMark::comma, 0},
        {"12,34,567.8", 1234567.8, DecimalMark::dot, 1},
        {"1,234", 1234, DecimalMark::openComma, 0},
        {"1.234", 1234, DecimalMark::openDot, 0},
        {"0.125", 0.125, DecimalMark::dot, 3},
        {"12,5", 12.5, DecimalMark::comma, 1},
        {".5", 0.5, DecimalMark::dot, 1},
        {"(250)", -250, DecimalMark::none, 0},
        {"250-", -250, DecimalMark::none, 0},
        {"-3.5e3", -3500, DecimalMark::dot, 1},
        {"1E-2", 0.01, DecimalMark::none, 0},
        {" 42 ", 42, DecimalMark::none, 0},
    };
    for (const auto& c : cases) {
        const auto number = readNumber(c.text);
        ASSERT_TRUE(number) << c.text;
        EXPECT_DOUBLE_EQ(number->value, c.value) << c.text;
        EXPECT_EQ(number->mark, c.mark) << c.text;
        EXPECT_EQ(number->decimals, c.decimals) << c.text;
    }
}

TEST(CellValue, OpenMarksKeepTheOtherReading) {
    EXPECT_DOUBLE_EQ(readNumber("1,234")->other, 1.234);
    EXPECT_DOUBLE_EQ(readNumber("-1.234")->other, -1.234);
    EXPECT_DOUBLE_EQ(readNumber("1,234.5")->other, 1234.5);
}

TEST(CellValue, ReadsPercentCurrencyAndUnit) {
    EXPECT_TRUE(readNumber("12 %")->percent);
    EXPECT_DOUBLE_EQ(readNumber("12.5%")->value, 12.5);
    EXPECT_EQ(readNumber("$12.00")->currency, "USD");
    EXPECT_EQ(readNumber("12,00 €")->currency, "EUR");
    EXPECT_EQ(readNumber("CHF 1'200.00")->currency, "CHF");
    EXPECT_DOUBLE_EQ(readNumber("-$5")->value, -5);
    EXPECT_DOUBLE_EQ(readNumber("$-5")->value, -5);
    EXPECT_DOUBLE_EQ(readNumber("($5.25)")->value, -5.25);
    EXPECT_EQ(readNumber("14 kg")->unit, "kg");
}

TEST(CellValue, WordsAreNoNumbers) {
    for (const char* text :
         {"", "abc", "12 apples", "1,2,3", "1.2.3", "12..5", "--5", "$", "%", "1,23,4", "12:30",
          "O5", "1 23", "e5", "(", "()", "4 USDX", "1,234,56.7", "31.02.2024"}) {
        EXPECT_FALSE(readNumber(text)) << text;
    }
}

TEST(CellValue, ReadsDates) {
    const struct {
        const char* text;
        DateForm form;
        DayOrder order;
        bool possible;
    } cases[] = {
        {"2024-02-29", DateForm::isoDashes, DayOrder::yearFirst, true},
        {"2023-02-29", DateForm::isoDashes, DayOrder::yearFirst, false},
        {"2024-13-01", DateForm::isoDashes, DayOrder::yearFirst, false},
        {"2024-01-05T10:30:00Z", DateForm::isoDashes, DayOrder::yearFirst, true},
        {"2024-01-05 10:30", DateForm::isoDashes, DayOrder::yearFirst, true},
        {"2024/01/05", DateForm::isoSlashes, DayOrder::yearFirst, true},
        {"31.01.2024", DateForm::dots, DayOrder::dayFirst, true},
        {"31.02.2024", DateForm::dots, DayOrder::dayFirst, false},
        {"1.2.24", DateForm::dots, DayOrder::dayFirst, true},
        {"03/04/2024", DateForm::slashes, DayOrder::either, true},
        {"13/04/2024", DateForm::slashes, DayOrder::dayFirst, true},
        {"04/13/2024", DateForm::slashes, DayOrder::monthFirst, true},
        {"13/13/2024", DateForm::slashes, DayOrder::either, false},
        {"31/04/2024", DateForm::slashes, DayOrder::dayFirst, false},
        {"05-11-2024", DateForm::dashes, DayOrder::either, true},
        {"12 Jan 2024", DateForm::monthName, DayOrder::dayFirst, true},
        {"Jan 12, 2024", DateForm::monthName, DayOrder::monthFirst, true},
        {"3. März 2024", DateForm::monthName, DayOrder::dayFirst, true},
        {"30 Feb 2024", DateForm::monthName, DayOrder::dayFirst, false},
    };
    for (const auto& c : cases) {
        const auto date = readDate(c.text);
        ASSERT_TRUE(date) << c.text;
        EXPECT_EQ(date->form, c.form) << c.text;
        EXPECT_EQ(date->order, c.order) << c.text;
        EXPECT_EQ(date->possible, c.possible) << c.text;
    }
}

TEST(CellValue, OtherThingsAreNoDates) {
    for (const char* text : {"", "12.5", "1/2", "192.168.0.1", "12-34-5678-9", "May", "2024",
                             "555-1234", "2024-01", "1.2.345", "12 Apples 2024", "99-99-9999-"}) {
        EXPECT_FALSE(readDate(text)) << text;
    }
}

TEST(CellValue, KnowsFormulaErrors) {
    for (const char* text : {"#REF!", "#DIV/0!", "#VALUE!", "#NAME?", "#N/A", "#NUM!", "#NULL!",
                             "Err:502", "Err:522", "#WERT!", " #REF! "}) {
        EXPECT_TRUE(isFormulaError(text)) << text;
    }
    for (const char* text :
         {"", "#1", "#ref", "REF", "Err:", "Err:404", "#REF! is an error", "#tag"}) {
        EXPECT_FALSE(isFormulaError(text)) << text;
    }
}

TEST(CellValue, KnowsPlaceholders) {
    for (const char* text :
         {"TBD", "tbd", "xxx", "XXXX", "???", "??", "TODO", "####", "lorem ipsum"}) {
        EXPECT_TRUE(isPlaceholder(text)) << text;
    }
    for (const char* text :
         {"", "?", "x", "XX", "n/a", "-", "todos", "TBD later", "XXL", "#", "none"}) {
        EXPECT_FALSE(isPlaceholder(text)) << text;
    }
}

TEST(CellValue, TellsSummaryRowsFromData) {
    const struct {
        const char* label;
        RowKind kind;
    } cases[] = {
        {"Total", RowKind::total},
        {"TOTAL:", RowKind::total},
        {"Grand total", RowKind::total},
        {"Summe", RowKind::total},
        {"Subtotal", RowKind::subtotal},
        {"Zwischensumme", RowKind::subtotal},
        {"North total", RowKind::groupTotal},
        {"Total costs", RowKind::groupTotal},
        {"Average", RowKind::otherSummary},
        {"Max", RowKind::otherSummary},
        {"Max Miller", RowKind::data},
        {"Sumatra", RowKind::data},
        {"Totally new", RowKind::data},
        {"Summary", RowKind::data},
        {"Chair", RowKind::data},
        {"", RowKind::data},
    };
    for (const auto& c : cases) EXPECT_EQ(rowKindOf(c.label), c.kind) << c.label;
}

} // namespace
} // namespace trevix
