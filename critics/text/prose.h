// The paragraphs and sentences of a text, as the prose rules read it.
//
// Things that are no prose (addresses, code, quoted mail) are masked: their bytes are replaced by
// kMasked, so that offsets stay those of the original and no rule trips over a bracket in an
// address. Every text has blocks, an empty one none. Linear in the length of the text; pure.

#pragma once

#include "critics/findings/source_text.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

constexpr char kMasked = '\x01';

enum class BlockKind { paragraph, listItem, heading, table };

/// A run of lines that belong together: brackets and sentences do not reach beyond it.
struct Block {
    std::size_t begin = 0;
    std::size_t end = 0; ///< Without the last line break.
    BlockKind kind = BlockKind::paragraph;
};

struct Sentence {
    std::size_t begin = 0;
    std::size_t end = 0; ///< Behind its closing mark and quotes.
    std::size_t words = 0;
    bool ended = false; ///< It has a closing mark.
    std::size_t block = 0;
};

struct Prose {
    std::string masked;
    std::vector<Block> blocks; ///< In order, not overlapping.
};

/// Masks `length` bytes from `offset` on, but for line breaks.
void mask(std::string& text, std::size_t offset, std::size_t length);

/// Masks code between backquotes.
void maskCode(std::string& text);

/// Masks web and mail addresses.
void maskAddresses(std::string& text);

/// Prose of plain text and mail: blocks are parted by blank lines and list markers; quoted mail
/// ("> ...") is masked.
[[nodiscard]] Prose plainProse(const SourceText& source);

/// Whether the line, without its indentation, begins with a list marker ("- ", "* ", "3. ", "b) ").
/// The length of the marker with its blanks, or 0.
[[nodiscard]] std::size_t listMarkerLength(std::string_view line);

/// Every sentence of every block but tables. Abbreviations ("e.g.", "Dr."), initials and decimals
/// do not end one; a short line does.
[[nodiscard]] std::vector<Sentence> sentencesOf(const Prose& prose);

} // namespace trevix
