#include "critics/pages/pdf_critic.h"

#include "critics/pages/pdf_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A PDF of pages with lines of Helvetica, written here object by object.
std::string pdf(const std::vector<std::vector<std::string>>& pages) {
    std::vector<std::string> objects;
    std::string kids;
    for (std::size_t i = 0; i < pages.size(); ++i) kids += std::to_string(4 + 2 * i) + " 0 R ";
    objects.emplace_back("<< /Type /Catalog /Pages 2 0 R >>");
    objects.push_back("<< /Type /Pages /Count " + std::to_string(pages.size()) + " /Kids [" + kids +
                      "] >>");
    objects.emplace_back("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>");
    for (std::size_t i = 0; i < pages.size(); ++i) {
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << "
                          "/Font << /F1 3 0 R >> >> /Contents " +
                          std::to_string(5 + 2 * i) + " 0 R >>");
        std::string content = "BT /F1 12 Tf 14 TL 72 770 Td\n";
        for (const std::string& line : pages[i]) content += "(" + line + ") Tj T*\n";
        content += "ET";
        objects.push_back("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                          content + "\nendstream");
    }
    std::string out = "%PDF-1.4\n";
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(out.size());
        out += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::size_t table = out.size();
    out += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const std::size_t offset : offsets) {
        const std::string digits = std::to_string(offset);
        out += std::string(10 - digits.size(), '0') + digits + " 00000 n \n";
    }
    return out + "trailer\n<< /Size " + std::to_string(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n";
}

std::variant<Critique, Unread> judged(const std::string& bytes) {
    Part part;
    part.mimeType = "application/pdf";
    part.isText = false;
    part.bytes = bytes;
    return critiquePdf(part, LanguageTools());
}

class PdfCritic : public testing::Test {
protected:
    void SetUp() override {
        if (pdfEngine().name.empty()) GTEST_SKIP() << "this build has no reader of PDF";
    }
};

TEST_F(PdfCritic, FindingsStandOnPages) {
    const auto outcome = judged(pdf({{"We met on Monday and spoke about the budget."},
                                     {"The next meeting takes place at the the town hall."}}));
    const auto& critique = std::get<Critique>(outcome);
    ASSERT_EQ(critique.findings.size(), 1U);
    EXPECT_EQ(critique.findings[0].rule, "text.doubled_word");
    EXPECT_EQ(critique.findings[0].place, "page 2");
    EXPECT_EQ(critique.findings[0].evidence, "the the");
    EXPECT_EQ(critique.coverage.checkedBy.back().engine, "poppler");
    EXPECT_EQ(critique.extent.words, 19U);
}

TEST_F(PdfCritic, PagesCutSentencesWithoutAFinding) {
    const auto outcome =
        judged(pdf({{"This page ends in the middle of a sentence (which the"},
                    {"next page then brings to its end in good or-", "der) and"}}));
    EXPECT_TRUE(std::get<Critique>(outcome).findings.empty());
}

TEST_F(PdfCritic, PagesWithoutTextAreAGap) {
    const auto outcome = judged(pdf({{"We met on Monday and spoke about the budget."}, {}}));
    const auto& gaps = std::get<Critique>(outcome).coverage.notChecked;
    ASSERT_FALSE(gaps.empty());
    EXPECT_EQ(gaps.back().what, "1 page without text");

    const auto scanned = judged(pdf({{}, {}}));
    const auto& critique = std::get<Critique>(scanned);
    EXPECT_FALSE(critique.coverage.known);
    EXPECT_TRUE(critique.findings.empty());
    ASSERT_EQ(critique.coverage.notChecked.size(), 1U);
    EXPECT_EQ(critique.coverage.notChecked[0].what, "2 pages without text");
}

TEST_F(PdfCritic, WhatCannotBeReadIsSaid) {
    const std::string good = pdf({{"A sentence of some words."}});
    for (const std::string& bytes : {std::string(), std::string("no PDF"), good.substr(0, 30)}) {
        const auto outcome = judged(bytes);
        ASSERT_TRUE(std::holds_alternative<Unread>(outcome)) << bytes.size();
        EXPECT_EQ(std::get<Unread>(outcome).reason, "it is damaged or no PDF");
    }
    std::string locked = good;
    locked.replace(locked.find("/Root 1 0 R"), 11,
                   "/Root 1 0 R /Encrypt << /Filter /Standard /V 1 /R 2 /P -4 /O <" +
                       std::string(64, 'a') + "> /U <" + std::string(64, 'b') +
                       "> >> /ID [<00> <00>]");
    const auto outcome = judged(locked);
    ASSERT_TRUE(std::holds_alternative<Unread>(outcome));
    EXPECT_EQ(std::get<Unread>(outcome).reason, "it is encrypted with a password");
}

TEST_F(PdfCritic, LongFilesAreReadInPart) {
    const std::vector<std::vector<std::string>> pages(kMostPdfPages + 5,
                                                      {"Some words stand here."});
    const auto outcome = judged(pdf(pages));
    const auto& gaps = std::get<Critique>(outcome).coverage.notChecked;
    ASSERT_FALSE(gaps.empty());
    EXPECT_THAT(gaps.back().what, HasSubstr("to " + std::to_string(kMostPdfPages + 5)));
}

TEST_F(PdfCritic, ALongTextEndsBetweenCodePoints) {
    // The letter is two bytes of UTF-8 and one of the file.
    const std::string bytes = pdf({{"\\351\\351\\351"}, {"Behind the limit."}});
    for (const std::size_t most : {4U, 5U}) {
        const auto read = readPdf(bytes, most);
        ASSERT_TRUE(std::holds_alternative<PdfText>(read));
        EXPECT_THAT(std::get<PdfText>(read).pages, ElementsAre("ØØ")) << most;
        EXPECT_EQ(std::get<PdfText>(read).pageCount, 2U);
    }
}

} // namespace
} // namespace trevix
