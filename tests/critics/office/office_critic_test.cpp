#include "critics/office/office_critic.h"

#include "tests/critics/growth.h"
#include "tests/critics/office/zip_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace trevix {
namespace {

using archives::Entry;
using archives::zip;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Skips the test in a build without the reader, and says so.
#define NEEDS_READER()                                                                             \
    if (const auto tried = readOffice("", OfficeKind::wordDocument);                               \
        !std::get<OfficeFailure>(tried).remedy.empty())                                            \
    GTEST_SKIP() << std::get<OfficeFailure>(tried).reason

std::string word(const std::string& body) {
    return zip({{"word/document.xml", "<?xml version=\"1.0\"?><w:document xmlns:w=\"w\"><w:body>" +
                                          body + "</w:body></w:document>"}});
}

std::string paragraph(const std::string& text, const std::string& properties = "") {
    return "<w:p><w:pPr>" + properties + "</w:pPr><w:r><w:t>" + text + "</w:t></w:r></w:p>";
}

std::string openFile(const std::string& body) {
    return zip({{"content.xml", "<office:document-content xmlns:office=\"o\"><office:body>" + body +
                                    "</office:body></office:document-content>"}});
}

Critique judged(const std::string& bytes, OfficeKind kind) {
    Part part;
    part.isText = false;
    part.bytes = bytes;
    auto outcome = critiqueOffice(part, kind, LanguageTools());
    if (const auto* unread = std::get_if<Unread>(&outcome)) {
        ADD_FAILURE() << unread->reason;
        return {};
    }
    return std::get<Critique>(std::move(outcome));
}

std::string refused(const std::string& bytes, OfficeKind kind = OfficeKind::wordDocument) {
    const auto read = readOffice(bytes, kind);
    const auto* failure = std::get_if<OfficeFailure>(&read);
    return failure == nullptr ? "read" : failure->reason;
}

std::vector<std::string> placesOf(const Critique& critique) {
    std::vector<std::string> places;
    for (const Finding& finding : critique.findings)
        places.push_back(finding.rule + " at " + finding.place);
    return places;
}

TEST(OfficeCritic, WordDocumentsAreReadByParagraphs) {
    NEEDS_READER();
    const std::string bytes =
        word(paragraph("Minutes", "<w:pStyle w:val=\"Heading1\"/>") +
             paragraph("We met on Monday and spoke about the budget.") +
             paragraph("The next meeting is at the the town hall.") +
             "<w:p><w:del><w:r><w:delText>the the</w:delText></w:r></w:del>"
             "<w:r><w:t xml:space=\"preserve\">Costs &amp; </w:t></w:r><w:r><w:t>gains</w:t></w:r>"
             "<w:r><w:tab/><w:t>rose.</w:t></w:r></w:p>");
    EXPECT_THAT(placesOf(judged(bytes, OfficeKind::wordDocument)),
                ElementsAre("text.doubled_word at paragraph 3"));
    const auto read = readOffice(bytes, OfficeKind::wordDocument);
    const auto& work = std::get<OfficeWork>(read);
    ASSERT_EQ(work.paragraphs.size(), 4U);
    EXPECT_EQ(work.paragraphs[0].role, OfficeParagraph::Role::heading);
    EXPECT_EQ(work.paragraphs[3].text, "Costs & gains\trose.");
    EXPECT_TRUE(work.whole);
}

TEST(OfficeCritic, ARepeatedSentenceNamesTheFirstOnesPlace) {
    NEEDS_READER();
    const std::string sentence = "All of us agree that the offer must be sent before Friday noon.";
    const auto critique = judged(
        word(paragraph(sentence) + paragraph("Something else stands here.") + paragraph(sentence)),
        OfficeKind::wordDocument);
    ASSERT_THAT(placesOf(critique), ElementsAre("text.repeated_sentence at paragraph 3"));
    EXPECT_THAT(critique.findings[0].detail, HasSubstr("in paragraph 1 already"));
}

TEST(OfficeCritic, OpenDocumentsAreReadByParagraphs) {
    NEEDS_READER();
    const std::string bytes = openFile(
        "<office:text><text:tracked-changes><text:p>gone gone the the</text:p>"
        "</text:tracked-changes><text:h>Minutes</text:h>"
        "<text:p>We met<text:s text:c=\"1\"/>on <text:span>Monday</text:span> as planned.</text:p>"
        "<text:p>The next meeting is at the the town hall.</text:p></office:text>");
    EXPECT_THAT(placesOf(judged(bytes, OfficeKind::openText)),
                ElementsAre("text.doubled_word at paragraph 3"));
    const auto read = readOffice(bytes, OfficeKind::openText);
    EXPECT_EQ(std::get<OfficeWork>(read).paragraphs[1].text, "We met on Monday as planned.");
}

TEST(OfficeCritic, SlidesAreReadByTheirNumbers) {
    NEEDS_READER();
    const auto slide = [](const std::string& text) {
        return "<p:sld xmlns:p=\"p\" xmlns:a=\"a\"><a:p><a:r><a:t>" + text +
               "</a:t></a:r></a:p></p:sld>";
    };
    EXPECT_THAT(placesOf(judged(zip({{"ppt/slides/slide2.xml", slide("lorem ipsum and so on")},
                                     {"ppt/slides/slide1.xml", slide("Results of the year")}}),
                                OfficeKind::presentation)),
                ElementsAre("text.placeholder at slide 2"));
    EXPECT_THAT(
        placesOf(judged(openFile("<office:presentation><draw:page><text:p>One fine thing"
                                 "</text:p></draw:page><draw:page><text:p>lorem ipsum and so"
                                 "</text:p></draw:page></office:presentation>"),
                        OfficeKind::openSlides)),
        ElementsAre("text.placeholder at slide 2"));
}

TEST(OfficeCritic, WorkbooksGoToTheSheetCritic) {
    NEEDS_READER();
    const auto row = [](int number, const std::string& cells) {
        return "<row r=\"" + std::to_string(number) + "\">" + cells + "</row>";
    };
    std::string rows = row(1, "<c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"inlineStr\"><is><t>"
                              "Sum</t></is></c>");
    for (int i = 2; i <= 6; ++i) {
        rows += row(i, "<c r=\"A" + std::to_string(i) + "\" t=\"inlineStr\"><is><t>north " +
                           std::to_string(i) + "</t></is></c><c r=\"B" + std::to_string(i) +
                           "\"><v>" + std::to_string(i * 10) + "</v></c>");
    }
    rows += row(7, "<c r=\"A7\" t=\"inlineStr\"><is><t>south</t></is></c>"
                   "<c r=\"B7\" t=\"e\"><v>#REF!</v></c>");
    const std::string bytes =
        zip({{"xl/workbook.xml", "<workbook><sheets><sheet name=\"Sales\" r:id=\"rId1\"/></sheets>"
                                 "</workbook>"},
             {"xl/_rels/workbook.xml.rels", "<Relationships><Relationship Id=\"rId1\" "
                                            "Target=\"worksheets/other.xml\"/></Relationships>"},
             {"xl/sharedStrings.xml", "<sst><si><r><t>Reg</t></r><r><t>ion</t></r></si></sst>"},
             {"xl/worksheets/other.xml",
              "<worksheet><sheetData>" + rows + "</sheetData></worksheet>"}});
    const auto critique = judged(bytes, OfficeKind::workbook);
    EXPECT_THAT(placesOf(critique),
                testing::Contains("sheet.formula_error at sheet Sales, cell B7"));
    EXPECT_TRUE(critique.coverage.known);
    const auto read = readOffice(bytes, OfficeKind::workbook);
    EXPECT_EQ(std::get<OfficeWork>(read).sheets[0].rows[0][0], "Region");
}

TEST(OfficeCritic, OpenSheetsGoThereToo) {
    NEEDS_READER();
    const std::string cell = "<table:table-cell><text:p>";
    const std::string bytes =
        openFile("<office:spreadsheet><table:table table:name=\"Sales\">"
                 "<table:table-row>" +
                 cell + "Region</text:p></table:table-cell>" + cell +
                 "Sum</text:p></table:table-cell></table:table-row>"
                 "<table:table-row>" +
                 cell + "north</text:p></table:table-cell>" + cell +
                 "#REF!</text:p></table:table-cell></table:table-row>"
                 "<table:table-row table:number-rows-repeated=\"1048574\"><table:table-cell "
                 "table:number-columns-repeated=\"16384\"/></table:table-row>"
                 "</table:table></office:spreadsheet>");
    EXPECT_THAT(placesOf(judged(bytes, OfficeKind::openSheet)),
                testing::Contains("sheet.formula_error at sheet Sales, cell B2"));
    const auto read = readOffice(bytes, OfficeKind::openSheet);
    EXPECT_EQ(std::get<OfficeWork>(read).sheets[0].rows.size(), 2U);
    EXPECT_TRUE(std::get<OfficeWork>(read).whole);
}

TEST(OfficeCritic, WhatIsNoSuchFileIsSaid) {
    NEEDS_READER();
    EXPECT_EQ(refused(""), "it is damaged or no archive");
    EXPECT_EQ(refused("no archive at all"), "it is damaged or no archive");
    EXPECT_EQ(refused(word(paragraph("Text")).substr(0, 60)), "it is damaged or no archive");
    EXPECT_EQ(refused(zip({{"other.xml", "<a/>"}})), "it has no word/document.xml");
    EXPECT_EQ(refused(zip({{"word/document.xml", "<w:p><unclosed"}})),
              "its word/document.xml is no XML");
    EXPECT_EQ(refused(zip({{"xl/workbook.xml", "<workbook/>"}}), OfficeKind::workbook),
              "it has no sheet");
    EXPECT_THAT(refused(zip({{"word/document.xml", "secret bytes", std::nullopt, true}})),
                HasSubstr("encrypted"));
}

TEST(OfficeCritic, NamesOutsideTheArchiveAreNobodysBusiness) {
    NEEDS_READER();
    const std::string document =
        "<w:document>" + paragraph("A sentence of some words.") + "</w:document>";
    const auto read = readOffice(
        zip({{"../../etc/cron.d/x", "x"}, {"/etc/passwd", "x"}, {"word/document.xml", document}}),
        OfficeKind::wordDocument);
    EXPECT_EQ(std::get<OfficeWork>(read).paragraphs.size(), 1U);
    // A relation that points out of the archive finds nothing in it.
    EXPECT_EQ(refused(zip({{"xl/workbook.xml",
                            "<workbook><sheets><sheet name=\"A\" r:id=\"r\"/></sheets></workbook>"},
                           {"xl/_rels/workbook.xml.rels",
                            "<Relationships><Relationship Id=\"r\" "
                            "Target=\"../../../../etc/passwd\"/></Relationships>"}}),
                      OfficeKind::workbook),
              "it has no sheet");
}

TEST(OfficeCritic, EntitiesOfADocumentsOwnStayUnresolved) {
    NEEDS_READER();
    const auto read = readOffice(
        zip({{"word/document.xml",
              "<!DOCTYPE d [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;\"><!ENTITY x SYSTEM "
              "\"file:///etc/passwd\">]><w:document>" +
                  paragraph("&b; and &x; stay") + "</w:document>"}}),
        OfficeKind::wordDocument);
    EXPECT_EQ(std::get<OfficeWork>(read).paragraphs[0].text, "&b; and &x; stay");
}

TEST(OfficeCritic, BombsAreRefusedBeforeTheyAreUnpacked) {
    NEEDS_READER();
    EXPECT_EQ(refused(zip({{"word/document.xml", "tiny", 2'000'000'000U}})),
              "it is too large unpacked");
    EXPECT_EQ(refused(zip({{"word/document.xml", std::string(1000, 'x'), 8'000'000U}})),
              "it unpacks to many hundred times its size");
    std::vector<Entry> many(kMostOfficeEntries + 1, Entry{"a", "", std::nullopt, false});
    for (std::size_t i = 0; i < many.size(); ++i) many[i].name = "e" + std::to_string(i);
    EXPECT_EQ(refused(zip(many)), "its archive has too many entries");
}

TEST(OfficeCritic, FarCellsAndLongStringsAreCutOff) {
    NEEDS_READER();
    const auto book = [](const std::string& strings, const std::string& rows) {
        return zip(
            {{"xl/workbook.xml", "<workbook><sheets><sheet name=\"A\"/></sheets></workbook>"},
             {"xl/sharedStrings.xml", "<sst>" + strings + "</sst>"},
             {"xl/worksheets/sheet1.xml",
              "<worksheet><sheetData>" + rows + "</sheetData></worksheet>"}});
    };
    const auto far =
        readOffice(book("", "<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>"
                            "<row r=\"1048576\"><c r=\"XFD1048576\"><v>2</v></c></row>"),
                   OfficeKind::workbook);
    EXPECT_EQ(std::get<OfficeWork>(far).sheets[0].rows.size(), 1U);
    EXPECT_FALSE(std::get<OfficeWork>(far).whole);

    std::string rows;
    for (int i = 1; i <= 2000; ++i) {
        rows += "<row><c t=\"s\"><v>0</v></c><c t=\"s\"><v>0</v></c></row>";
    }
    const auto shared = readOffice(book("<si><t>" + std::string(100'000, 'x') + "</t></si>", rows),
                                   OfficeKind::workbook);
    EXPECT_FALSE(std::get<OfficeWork>(shared).whole);
    std::size_t bytes = 0;
    for (const auto& row : std::get<OfficeWork>(shared).sheets[0].rows) {
        for (const auto& cell : row) bytes += cell.size();
    }
    EXPECT_LE(bytes, kMostOfficeText);
}

TEST(OfficeGrowth, DeepAndLongFilesTakeTheirTime) {
    NEEDS_READER();
    const auto deep = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i) text += "<w:tbl><w:tc>";
        text += paragraph("the words");
        for (int i = 0; i < depth; ++i) text += "</w:tc></w:tbl>";
        return word(text);
    };
    const auto lines = [](int count) {
        std::string text;
        for (int i = 0; i < count; ++i) text += paragraph("Word " + std::to_string(i) + " here.");
        return word(text);
    };
    const auto run = [](const std::string& bytes) {
        Part part;
        part.isText = false;
        part.bytes = bytes;
        (void)critiqueOffice(part, OfficeKind::wordDocument, LanguageTools());
    };
    expectModestGrowth(std::vector<std::string>{deep(2'000), deep(8'000), deep(32'000)}, run);
    expectModestGrowth(std::vector<std::string>{lines(500), lines(2'000), lines(8'000)}, run);
}

} // namespace
} // namespace trevix
