// A text with its lines numbered: the place of each byte in the words a person would use.
//
// Lines end at LF, CR LF or a lone CR. Columns count code points from 1, as editors do; a byte that
// is not UTF-8 counts as one. The text is not copied and must outlive the view. Building it is
// linear, every question afterwards is cheap even for a single line of many megabytes.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

class SourceText {
public:
    explicit SourceText(std::string_view text);

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

    /// "line 12, column 5".
    [[nodiscard]] std::string place(std::size_t offset) const;

private:
    [[nodiscard]] std::size_t codePointsBefore(std::size_t offset) const;

    std::string_view m_text;
    std::vector<std::size_t> m_lineStarts;
    std::vector<std::size_t> m_codePointsAtBlock; ///< Code points before each block of bytes.
};

} // namespace trevix
