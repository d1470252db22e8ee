#include "critics/sheet/sheet_critic.h"
#include "tests/critics/growth.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace trevix {
namespace {

struct Hostile {
    const char* name;
    std::function<void(std::string& table, std::size_t row)> addRow;
    const char* begin = "";
};

const std::vector<Hostile>& hostileTables() {
    static const std::vector<Hostile> tables{
        {"OneColumnOfNumbers",
         [](std::string& t, std::size_t i) { t += std::to_string(i * 7919 % 100'003) + "\n"; }},
        {"OneColumnOfDifferentWords",
         [](std::string& t, std::size_t i) { t += "word" + std::to_string(i) + "\n"; }},
        {"OneRow", [](std::string& t, std::size_t i) { t += std::to_string(i) + ","; }},
        {"OneRowOfNames",
         [](std::string& t, std::size_t i) { t += "n" + std::to_string(i) + ","; }},
        {"DelimitersAlone", [](std::string& t, std::size_t) { t += ",,,,,,,,"; }},
        {"AllDelimiters", [](std::string& t, std::size_t) { t += ",;\t|"; }},
        {"LineBreaksAlone", [](std::string& t, std::size_t) { t += "\n\n\r\n"; }, "a,b\n"},
        {"QuotesEverywhere", [](std::string& t, std::size_t) { t += "\"a\"\"\",\"\"\"\"\n"; }},
        {"QuotesThatOpen", [](std::string& t, std::size_t) { t += "\"a,\"b,x\n"; }},
        {"QuotesAlone", [](std::string& t, std::size_t) { t += "\"\"\""; }},
        {"OneGiantCell", [](std::string& t, std::size_t) { t += "wide cell "; }},
        {"OneGiantQuotedCell", [](std::string& t, std::size_t) { t += "wide\ncell "; }, "\""},
        {"OneGiantNumber", [](std::string& t, std::size_t) { t += "1234567890"; }, "n,m\n1,"},
        {"TotalsOnly", [](std::string& t, std::size_t) { t += "Total,5.5\n"; }, "Item,Amount\n"},
        {"OneTotalAtTheEnd",
         [](std::string& t, std::size_t i) { t += "A," + std::to_string(i % 97) + ".5\n"; },
         "Item,Amount\n"},
        {"Subtotals",
         [](std::string& t, std::size_t i) {
             t += i % 3 == 0 ? "Subtotal,17\n" : "A," + std::to_string(i % 97) + "\n";
         },
         "Item,Amount\n"},
        {"GroupTotals",
         [](std::string& t, std::size_t i) {
             t += i % 50 == 0 ? "Total north,1000\n" : "A," + std::to_string(i % 97) + "\n";
         },
         "Item,Amount\n"},
        {"RowTotals",
         [](std::string& t, std::size_t i) {
             for (int column = 0; column < 30; ++column) t += std::to_string(i % 7) + ",";
             t += std::to_string(i % 7 * 30) + "\n";
         },
         "a,b,c,d,e,f,g,h,i,j,k,l,m,n,o,p,q,r,s,t,u,v,w,x,y,z,ab,ac,ad,ae,Total\n"},
        {"Dates",
         [](std::string& t, std::size_t i) {
             t += i % 2 == 0 ? "2024-04-05,1.5.2024\n" : "05/04/2024,31.02.2024\n";
         },
         "Start,Due\n"},
        {"ErrorsAndPlaceholders", [](std::string& t, std::size_t) { t += "#REF!,TBD,xxx\n"; },
         "a,b,c\n"},
        {"EveryWidth",
         [](std::string& t, std::size_t i) { t += std::string(i % 300, ',') + "1\n"; }},
        {"IdsThatRepeat",
         [](std::string& t, std::size_t i) { t += std::to_string(i % 1000) + ",a,b\n"; },
         "id,a,b\n"},
        {"PaddedWords",
         [](std::string& t, std::size_t i) { t += " Word" + std::to_string(i % 999) + " ,x\n"; },
         "Name,Note\n"},
        {"RareValuesBesideFrequentOnes",
         [](std::string& t, std::size_t i) {
             std::string word = "abcdefghijklmnopqrstuvwxyz";
             if (i % 2 == 0) word[i / 2 % 26] = static_cast<char>('a' + i / 52 % 26);
             if (i % 4 == 0) word += std::to_string(i);
             t += word + ",x" + std::to_string(i % 300) + "yyyyyyy\n";
         },
         "Name,Maker\n"},
        {"ColumnsThatDetermineEachOther",
         [](std::string& t, std::size_t i) {
             for (std::size_t column = 0; column < 40; ++column)
                 t += "k" + std::to_string(i / 4 % (50 + column)) + (i % 97 == column ? "x," : ",");
             t += "\n";
         },
         "a,b,c,d,e,f,g,h,i,j,k,l,m,n,o,p,q,r,s,t,u,v,w,x,y,z,"
         "aa,ab,ac,ad,ae,af,ag,ah,ai,aj,ak,al,am,an,\n"},
        {"TimesAndUnitsOfEveryForm",
         [](std::string& t, std::size_t i) {
             t += std::to_string(i % 12) + ":30" + std::string(i % 29, '-') + "," +
                  std::to_string(i) + " oz" + std::string(i % 13, '.') + "\n";
         },
         "Opens,Weight\n"},
        {"BytesThatAreNoText", [](std::string& t, std::size_t) { t += "\xFF\xFE,\x80\xC2\n"; }},
    };
    return tables;
}

std::string table(const Hostile& hostile, std::size_t bytes) {
    std::string text = hostile.begin;
    for (std::size_t row = 0; text.size() < bytes; ++row) hostile.addRow(text, row);
    return text;
}

class SheetGrowth : public testing::TestWithParam<std::size_t> {};

TEST_P(SheetGrowth, IsModest) {
    std::vector<Part> parts;
    for (const std::size_t kilobytes : {64U, 256U, 1024U, 4096U}) {
        Part part;
        part.mimeType = "text/csv";
        part.text = table(hostileTables()[GetParam()], kilobytes * 1024);
        parts.push_back(std::move(part));
    }
    expectModestGrowth(parts, [](const Part& part) { (void)critiqueSheet(part).findings; });
}

INSTANTIATE_TEST_SUITE_P(Hostile, SheetGrowth,
                         testing::Range(std::size_t{0}, hostileTables().size()),
                         [](const auto& tested) { return hostileTables()[tested.param].name; });

} // namespace
} // namespace trevix
