// The outline of a document.
//
// The headings, lists, tables, links and notes of a text in Markdown, or of plain text as it is
// copied from a word processor, which has fewer of them. Its blocks are those of CommonMark with
// GitHub's tables and notes; brackets are read from the text itself, as a link that nothing defines
// is a flaw here. Only what the document rules ask for is read; nothing is rendered. Code, comments
// and front matter are masked in the prose. Linear in the length of the text, and every text,
// however broken, has an outline.

#pragma once

#include "critics/findings/source_text.h"
#include "critics/text/prose.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

enum class LineKind { blank, prose, heading, listItem, tableRow, code, definition, rule, other };

struct Heading {
    int level = 1;
    std::size_t line = 0;
    std::size_t begin = 0; ///< Of its text, without the marks.
    std::size_t end = 0;
    std::string shown;     ///< What it shows, without marks and pictures.
    std::string described; ///< The same with the words that stand for pictures.
};

struct Link {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string_view text;
    std::string_view target; ///< Without a title in quotes and without angle brackets.
    bool image = false;
    bool bracketed = false; ///< The target stood in angle brackets, where blanks are allowed.
};

/// "[text][id]", "[^id]" or their definitions; ids as written, without the caret.
struct Reference {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string_view id;
};

struct TableRow {
    std::size_t line = 0;
    std::size_t cells = 0;
    std::size_t expected = 0; ///< Cells of the header.
};

struct Outline {
    std::vector<LineKind> lines;
    std::vector<Heading> headings;
    std::vector<Link> links;
    std::vector<Reference> references;  ///< To link definitions.
    std::vector<Reference> definitions; ///< Of links.
    std::vector<Link> definedLinks;     ///< For each definition its address; without a text.
    std::vector<Reference> noteMarks;
    std::vector<Reference> notes;
    std::vector<Reference> reversed;       ///< "(text)[address]"; the id is the address.
    std::vector<Reference> silentPictures; ///< Of HTML or by reference, without words; no id.
    std::vector<Reference> gluedHeadings;  ///< "##Text", which is none; without an id.
    std::vector<TableRow> rows;
    std::optional<std::size_t> unclosedFence;   ///< Its offset.
    std::optional<std::size_t> unclosedComment; ///< Its offset.
    std::optional<std::size_t> unread; ///< Behind it only prose was read: the text is too long.
    bool frontTitle = false;           ///< The front matter has a title.
    Prose prose;
};

/// The views in the outline point into the text of `source`.
[[nodiscard]] Outline outlineOf(const SourceText& source);

} // namespace trevix
