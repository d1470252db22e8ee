// The blocks of a text in Markdown, as cmark-gfm reads them.
//
// Paragraphs, headings, code, lists, tables and notes with the lines they stand on, so that whoever
// asks reads the rest from the text itself; nothing is rendered. Every text has blocks. Text that
// was made to be slow is read in linear time and bounded memory: what stands behind the first
// mebibyte, and marks beyond what any paragraph has, are taken for ordinary letters. Pure; any
// thread, one text at a time.

#pragma once

#include "critics/findings/source_text.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

enum class MarkdownKind { paragraph, heading, code, html, table, item, note, rule };

struct MarkdownBlock {
    MarkdownKind kind = MarkdownKind::paragraph;
    std::size_t firstLine = 0; ///< Of the text, from 0.
    std::size_t lastLine = 0;  ///< At least `firstLine`, within the text.
    std::size_t begin = 0;     ///< Offset of its first byte, on the first line.
    bool quoted = false;       ///< Within a quotation, whose marks stand in front of its lines.
    bool inItem = false;       ///< The first block of an item of a list.
    int level = 0;             ///< Of a heading, 1 to 6.
    bool fenced = false;       ///< Code between fences.
    char fenceMark = '`';
    std::size_t fenceLength = 0;
    std::string shown;     ///< What a heading shows, without marks and pictures.
    std::string described; ///< The same with the words that stand for pictures.
};

struct MarkdownTree {
    std::vector<MarkdownBlock> blocks; ///< In the order of their first lines.
    std::optional<std::size_t> cut;    ///< What stands behind it was not read.
};

/// The blocks of `source` from line `firstLine` on: what stands above is front matter.
[[nodiscard]] MarkdownTree markdownTree(const SourceText& source, std::size_t firstLine);

/// As the library tells it: "0.29.0.gfm.6".
[[nodiscard]] std::string_view markdownVersion();

} // namespace trevix
