#include "critics/findings/place.h"

#include "critics/findings/source_text.h"

#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

Place of(Place::Kind kind) {
    Place place;
    place.kind = kind;
    return place;
}

TEST(Place, EveryFormIsRead) {
    Place line = of(Place::Kind::line);
    line.line = 12;
    EXPECT_EQ(placeOf("line 12", {"a"}), line);
    line.column = 5;
    EXPECT_EQ(placeOf("line 12, column 5", {"a"}), line);

    Place cell = of(Place::Kind::cell);
    cell.row = 3;
    cell.cellColumn = 2;
    EXPECT_EQ(placeOf("cell C4", {"a"}), cell);
    cell.cellColumn = 27;
    EXPECT_EQ(placeOf("cell AB4", {"a"}), cell);

    Place row = of(Place::Kind::row);
    row.row = 4;
    EXPECT_EQ(placeOf("row 5", {"a"}), row);

    Place column = of(Place::Kind::column);
    column.header = "Total (net), in part";
    EXPECT_EQ(placeOf("column Total (net), in part", {"a"}), column);

    Place box = of(Place::Kind::box);
    box.x = 10;
    box.y = 40;
    box.width = 120;
    box.height = 30;
    EXPECT_EQ(placeOf("x 10, y 40, 120 x 30 px", {"a"}), box);
}

TEST(Place, ALineAndColumnLeadBackToTheByte) {
    std::string text = "one\r\n\u00e9\u00e8 two\n";
    text += std::string(3000, 'x') + "\u2014y\n\nend \xff!";
    const SourceText source(text);
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        const bool continues = (static_cast<unsigned char>(text[offset]) & 0xC0U) == 0x80U;
        if (continues || text[offset] == '\r' || text[offset] == '\n') continue;
        const Place place = placeOf(source.place(offset), {"a"});
        ASSERT_EQ(place.kind, Place::Kind::line);
        EXPECT_EQ(source.offsetOf(place.line - 1, place.column), offset);
    }
    EXPECT_EQ(source.offsetOf(0, 0), 0U);
    EXPECT_EQ(source.offsetOf(0, 99), 3U) << "the end of the line";
    EXPECT_EQ(SourceText("").offsetOf(0, 5), 0U);
}

TEST(Place, ThePartIsToldByItsKnownName) {
    const std::vector<std::string> names{"a.txt", "b), line 7.txt", ""};
    Place place = of(Place::Kind::line);
    place.line = 3;
    place.part = 1;
    EXPECT_EQ(placeOf("part 2 (b), line 7.txt), line 3", names), place);
    place.part = 2;
    EXPECT_EQ(placeOf("part 3, line 3", names), place);
    Place whole;
    whole.part = 1;
    EXPECT_EQ(placeOf("part 2 (b), line 7.txt)", names), whole);
}

TEST(Place, OtherWordsNameNothingThatCanBeMarked) {
    for (const char* words :
         {"", "page 2", "line", "line 0", "line x", "line 3 of many", "line 3, column", "cell 4",
          "cell C", "cell C0", "cell ABCDEFGH1", "row 0", "column ", "x 1, y 2", "x 1, y 2, 3 x 4",
          "line 99999999999999999999", "sheet Sales, cell C4", "part 2 (a), line 3"}) {
        EXPECT_EQ(placeOf(words, {"a"}), Place()) << words;
    }
    EXPECT_EQ(placeOf("part 9 (a), line 3", {"a", "b"}), Place());
    EXPECT_EQ(placeOf("part 1 (other), line 3", {"a", "b"}), Place());
}

} // namespace
} // namespace trevix
