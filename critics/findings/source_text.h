// A text with its lines numbered: the place of each byte in the words a person would use.
//
// Lines end at LF, CR LF or a lone CR. Columns count code points from 1, as editors do; a byte that
// is not UTF-8 counts as one. The text is not copied and must outlive the view. Building it is
// linear, every question afterwards is cheap even for a single line of many megabytes.
//
// A text that was taken out of something else (a picture, a page, a cell) is shown at the place
// that it has there: whoever took it out names the places.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// Where the bytes from `offset` on, `length` of them, stand in what the text was taken from: "page
/// 2", "x 10, y 40, 120 x 30 px". Answers for every offset up to the end of the text.
using PlaceNamer = std::function<std::string(std::size_t offset, std::size_t length)>;

class SourceText {
public:
    explicit SourceText(std::string_view text) : SourceText(text, {}) {}
    /// For a text whose places `namer` knows.
    SourceText(std::string_view text, PlaceNamer namer);

    [[nodiscard]] std::string_view text() const { return m_text; }
    [[nodiscard]] std::size_t lineCount() const { return m_lineStarts.size(); }

    /// Index from 0 of the line that holds the byte; an offset past the end is on the last line.
    [[nodiscard]] std::size_t lineAt(std::size_t offset) const;
    [[nodiscard]] std::size_t lineStart(std::size_t line) const { return m_lineStarts[line]; }
    /// The end of the line without its line break.
    [[nodiscard]] std::size_t lineEnd(std::size_t line) const;
    [[nodiscard]] std::string_view line(std::size_t line) const;
    /// How many lines hold more than blanks.
    [[nodiscard]] std::size_t writtenLines() const;

    /// "line 12, column 5", or what the namer of places says.
    [[nodiscard]] std::string place(std::size_t offset, std::size_t length = 0) const;

    /// Where the column of the line begins, columns being counted from 1; the end of the line for
    /// one that it does not have. The other way round from `place`.
    [[nodiscard]] std::size_t offsetOf(std::size_t line, std::size_t column) const;

    /// "line 12", or what the namer of places says.
    [[nodiscard]] std::string linePlace(std::size_t offset) const;

private:
    [[nodiscard]] std::size_t codePointsBefore(std::size_t offset) const;

    std::string_view m_text;
    PlaceNamer m_namer;
    std::vector<std::size_t> m_lineStarts;
    std::vector<std::size_t> m_codePointsAtBlock; ///< Code points before each block of bytes.
};

} // namespace trevix
