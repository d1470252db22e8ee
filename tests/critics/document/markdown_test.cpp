#include "critics/document/document_critic.h"
#include "critics/document/markdown.h"
#include "critics/document/markdown_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {
namespace {

/// The texts that the ranges of a list stand for.
template <typename Entry>
std::vector<std::string> textsOf(const std::string& text, const std::vector<Entry>& entries) {
    std::vector<std::string> texts;
    for (const Entry& entry : entries) texts.push_back(text.substr(entry.offset, entry.length));
    return texts;
}

std::vector<std::string> headingsOf(const std::string& text) {
    const SourceText source(text);
    std::vector<std::string> texts;
    for (const Heading& heading : outlineOf(source).headings) {
        texts.push_back(std::to_string(heading.level) + " " +
                        text.substr(heading.begin, heading.end - heading.begin));
    }
    return texts;
}

/// One letter a line: b(lank), p(rose), h(eading), i(tem), t(able), c(ode), d(efinition), r(ule),
/// o(ther).
std::string linesOf(const std::string& text) {
    const SourceText source(text);
    std::string kinds;
    for (const LineKind kind : outlineOf(source).lines) {
        constexpr std::string_view kLetters = "bphitcdro";
        kinds += kLetters[static_cast<std::size_t>(kind)];
    }
    return kinds;
}

/// The prose of each block, with what is masked as ".".
std::vector<std::string> proseOf(const std::string& text) {
    const SourceText source(text);
    const Outline outline = outlineOf(source);
    std::vector<std::string> blocks;
    for (const Block& block : outline.prose.blocks) {
        std::string prose = outline.prose.masked.substr(block.begin, block.end - block.begin);
        std::replace(prose.begin(), prose.end(), kMasked, '.');
        blocks.push_back(std::move(prose));
    }
    return blocks;
}

using Texts = std::vector<std::string>;

TEST(Outline, HeadingsOfEitherKind) {
    EXPECT_EQ(headingsOf("# One #\n\n##  Two ##  \n###Three\n\nFour\n====\n\nFive\n----\n"),
              (Texts{"1 One", "2 Two", "1 Four", "2 Five"}));
    EXPECT_EQ(headingsOf("> ## In a quotation\n\n- # In an item\n"),
              (Texts{"2 In a quotation", "1 In an item"}));
    EXPECT_EQ(headingsOf("\xEF\xBB\xBF# Behind a mark\r\n\r\nText\r\n"), Texts{"1 Behind a mark"});
    EXPECT_EQ(headingsOf("    # code\n\n```\n# code\n```\n<!--\n# comment\n-->\n"), Texts{});
    // A line under a paragraph of several lines is a line.
    EXPECT_EQ(headingsOf("One line\nand another\n-----\n"), Texts{});
}

TEST(Outline, HeadingsShowTheirWords) {
    const std::string text = "## [A *b*](c.md) `d` ![e](f.svg) &amp; \\* g\n";
    const SourceText source(text);
    const Outline outline = outlineOf(source);
    ASSERT_EQ(outline.headings.size(), 1U);
    EXPECT_EQ(outline.headings[0].shown, "A b d  & * g");
    EXPECT_EQ(outline.headings[0].described, "A b d e & * g");
}

TEST(Outline, LinesAreWhatTheyAreInMarkdown) {
    EXPECT_EQ(linesOf("Text\n\n- one\n  more\n\n      code\n2) two\n"), "pbipbcib");
    EXPECT_EQ(linesOf("| a | b |\n|---|---|\n| 1 | 2 |\nand so on\n\n***\n"), "ttttbrb");
    EXPECT_EQ(linesOf("[a]: b\n[c]:\n  d\n\n[^e]: note\n\n<p>html</p>\n"), "dddbdbpb");
    EXPECT_EQ(linesOf("```\ncode\n\n```\n~~~ x\ncode\n~~~\n"), "cccccccb");
    EXPECT_EQ(linesOf("\xC2\xA0\xC2\xA0\xC2\xA0\xC2\xA0indented\n"), "cb");
}

TEST(Outline, FrontMatterIsNoText) {
    EXPECT_EQ(linesOf("---\ntitle: A\ntags: [b]\n---\nText\n"), "oooopb");
    EXPECT_EQ(linesOf("+++\ntitle = \"A\"\n\n# comment\n+++\nText\n"), "ooooopb");
    EXPECT_EQ(linesOf("---\n---\nText\n"), "oopb");
    EXPECT_EQ(linesOf("---\n\nText\n\n---\n"), "rbpbrb") << "two rules";
    const auto titled = [](const std::string& text) {
        const SourceText source(text);
        return outlineOf(source).frontTitle;
    };
    EXPECT_TRUE(titled("---\nTitle: A\n---\nText\n"));
    EXPECT_FALSE(titled("---\ntitle:\nsubtitle: A\n---\nText\n"));
    EXPECT_FALSE(titled("title: A\n\nText\n"));
}

TEST(Outline, ProseIsWhatPeopleRead) {
    EXPECT_EQ(proseOf("> A quotation\n> of two lines\n"), (Texts{"A quotation\n. of two lines"}));
    EXPECT_EQ(proseOf("See [it](x.md) and `code`.\n\n<!-- no --> Yes.\n"),
              (Texts{"See .it....... and .......", "........... Yes."}));
    EXPECT_EQ(proseOf("A claim.[^1]\n\n[^1]: Its source\n    is old.\n"),
              (Texts{"A claim.....", "Its source\n    is old."}));
    EXPECT_EQ(proseOf("Text.\n\n[^unused]: Its source.\n"), (Texts{"Text.", "Its source."}));
    EXPECT_EQ(proseOf("a) one\nb) two\n"), (Texts{"one", "two"})) << "as a word processor has it";
}

TEST(Outline, LinksReferencesAndNotes) {
    const std::string text =
        "[a](b \"t\") ![c](d) [e][f] [g][] (h)[i.md] [^j]\n\n[f]: k\n\n[^j]: l\n";
    const SourceText source(text);
    const Outline outline = outlineOf(source);
    EXPECT_EQ(textsOf(text, outline.links), (Texts{"[a](b \"t\")", "![c](d)"}));
    EXPECT_EQ(textsOf(text, outline.references), (Texts{"[e][f]", "[g][]"}));
    EXPECT_EQ(textsOf(text, outline.reversed), Texts{"(h)[i.md]"});
    EXPECT_EQ(textsOf(text, outline.noteMarks), Texts{"[^j]"});
    EXPECT_EQ(textsOf(text, outline.definitions), Texts{"[f]: k"});
    EXPECT_EQ(textsOf(text, outline.notes), Texts{"[^j]: l"});
}

TEST(Outline, UnclosedParts) {
    const auto fence = [](const std::string& text) {
        const SourceText source(text);
        return outlineOf(source).unclosedFence;
    };
    EXPECT_EQ(fence("Text\n\n```sh\nls\n"), 6U);
    EXPECT_EQ(fence("> ```\n> ls\n> ```\n"), std::nullopt);
    EXPECT_EQ(fence("- ```\n  ls\n  ````\n"), std::nullopt);
    EXPECT_EQ(fence("````\n```\n"), 0U);
    EXPECT_EQ(fence("- ```\n  ls\n\nText\n"), 2U);
    EXPECT_EQ(linesOf("- ```\n  ls\nText\n"), "icpb");
    EXPECT_EQ(linesOf("> ```\n> ls\nText\n"), "ccpb");
    const auto comment = [](const std::string& text) {
        const SourceText source(text);
        return outlineOf(source).unclosedComment;
    };
    EXPECT_EQ(comment("Text\n\n<!-- here\n\nmore\n"), 6U);
    EXPECT_EQ(comment("`<!--` begins one\n\n    <!--\n"), std::nullopt);
    EXPECT_EQ(comment("<!--\n\na\n\n-->\n"), std::nullopt);
}

/// How often the coverage says that the structure behind some line was not read.
std::ptrdiff_t structureGaps(const Coverage& coverage) {
    return std::count_if(coverage.notChecked.begin(), coverage.notChecked.end(),
                         [](const NotChecked& gap) {
                             return gap.what.find("structure of Markdown behind line") == 0;
                         });
}

TEST(Outline, BehindTheFirstMebibyteOnlyProseIsRead) {
    std::string text = "# Title\n\n";
    while (text.size() < (1U << 20U) + 100) text += "A line of text stands here.\n\n";
    const std::size_t cut = text.size();
    text += "# Another\n\nThe last words.\n";
    const SourceText source(text);
    const Outline outline = outlineOf(source);
    EXPECT_EQ(outline.headings.size(), 1U);
    ASSERT_TRUE(outline.unread);
    EXPECT_LT(*outline.unread, cut);
    EXPECT_EQ(text.substr(outline.prose.blocks.back().begin), "The last words.\n");
    Part part;
    part.text = text;
    EXPECT_EQ(structureGaps(critiqueDocument(part).coverage), 1);
}

TEST(Outline, TheCriticSaysWhoReadTheStructure) {
    Part part;
    part.text = "# Title\n\nSome words stand here.\n";
    const Coverage coverage = critiqueDocument(part).coverage;
    EXPECT_EQ(
        std::count(coverage.checkedBy.begin(), coverage.checkedBy.end(),
                   CheckedBy{"cmark-gfm", std::string(markdownVersion()), "structure of Markdown"}),
        1);
    EXPECT_EQ(structureGaps(coverage), 0);
}

// ---- the published examples of the format
// --------------------------------------------------------

struct Example {
    std::string markdown;
    std::string html;
};

/// Those that Debian's package cmark-gfm brings; none where it is not here.
std::vector<Example> examples() {
    std::vector<Example> found;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(
        popen("gzip -dc /usr/share/doc/cmark-gfm/spec.txt.gz 2>/dev/null", "r"), pclose);
    if (!pipe) return found;
    std::string text;
    std::array<char, 65536> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        text.append(buffer.data(), count);
    }
    const std::string fence(32, '`');
    for (std::size_t at = text.find("\n" + fence + " example"); at != std::string::npos;
         at = text.find("\n" + fence + " example", at)) {
        const std::size_t begin = text.find('\n', at + 1) + 1;
        const std::size_t middle = text.find("\n.\n", begin - 1);
        const std::size_t end = text.find("\n" + fence + "\n", middle);
        if (middle == std::string::npos || end == std::string::npos) break;
        Example example{text.substr(begin, middle + 1 - begin),
                        text.substr(middle + 3, end - middle - 2)};
        // The examples show tabs as arrows.
        for (std::size_t tab = 0; (tab = example.markdown.find("→", tab)) != std::string::npos;) {
            example.markdown.replace(tab, std::string("→").size(), "\t");
        }
        found.push_back(std::move(example));
        at = end;
    }
    return found;
}

void expectInRange(const std::string& text, const Outline& outline) {
    ASSERT_EQ(outline.prose.masked.size(), text.size());
    const SourceText source(text);
    ASSERT_EQ(outline.lines.size(), source.lineCount());
    std::size_t end = 0;
    for (const Block& block : outline.prose.blocks) {
        EXPECT_LE(end, block.begin);
        EXPECT_LT(block.begin, block.end);
        end = block.end;
    }
    EXPECT_LE(end, text.size());
    for (const Heading& heading : outline.headings) {
        EXPECT_LE(heading.begin, heading.end);
        EXPECT_LE(heading.end, text.size());
        EXPECT_LT(heading.line, source.lineCount());
    }
    for (const Link& link : outline.links) EXPECT_LE(link.offset + link.length, text.size());
    for (const auto* list :
         {&outline.references, &outline.definitions, &outline.noteMarks, &outline.notes,
          &outline.reversed, &outline.silentPictures, &outline.gluedHeadings}) {
        for (const Reference& entry : *list) EXPECT_LE(entry.offset + entry.length, text.size());
    }
    for (const TableRow& row : outline.rows) EXPECT_LT(row.line, source.lineCount());
}

std::size_t countOf(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

TEST(OutlineBySpecification, HasThePartsOfEveryExample) {
    const std::vector<Example> all = examples();
    if (all.empty()) {
        GTEST_SKIP() << "SKIPPED: no examples here; on Debian the package cmark-gfm has them";
    }
    EXPECT_GT(all.size(), 600U);
    std::size_t headings = 0;
    std::size_t agreeing = 0;
    for (const Example& example : all) {
        SCOPED_TRACE(example.markdown);
        const SourceText source(example.markdown);
        const Outline outline = outlineOf(source);
        expectInRange(example.markdown, outline);
        Part part;
        part.text = example.markdown;
        for (const Finding& finding : critiqueDocument(part).findings) {
            EXPECT_FALSE(finding.place.empty());
        }
        std::size_t expected = 0;
        for (char level = '1'; level <= '6'; ++level) {
            expected += countOf(example.html, std::string("<h") + level + ">");
        }
        ++headings;
        if (outline.headings.size() == expected) ++agreeing;
        EXPECT_EQ(countOf(example.html, "<table>\n<thead>") > 0,
                  !outline.rows.empty() &&
                      outline.rows[0].cells ==
                          outline.rows[std::min<std::size_t>(1, outline.rows.size() - 1)].cells);
    }
    // Lines under several lines of text, and single marks under one, are no headings here.
    EXPECT_GE(agreeing + 5, headings) << agreeing << " of " << headings;
}

} // namespace
} // namespace trevix
