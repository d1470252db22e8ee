#include "critics/findings/source_text.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace {

// Bytes between two counts that are kept: a column costs at most so many steps, and the counts take
// a hundredth of the text.
constexpr std::size_t kBlock = 1024;

// A continuation byte outside a sequence is broken text; it may count as part of the character
// before it, which moves a column by one in text that has no right columns anyway.
bool startsCodePoint(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

} // namespace

SourceText::SourceText(std::string_view text, PlaceNamer namer)
    : m_text(text),
      m_namer(std::move(namer)) {
    m_lineStarts.push_back(0);
    std::size_t codePoints = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i % kBlock == 0) m_codePointsAtBlock.push_back(codePoints);
        if (startsCodePoint(text[i])) ++codePoints;
        // "\r\n" is one end of a line, and "\r" alone one as well.
        const bool loneReturn = text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n');
        if (text[i] == '\n' || loneReturn) m_lineStarts.push_back(i + 1);
    }
}

std::size_t SourceText::lineAt(std::size_t offset) const {
    const auto after = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    return static_cast<std::size_t>(after - m_lineStarts.begin()) - 1;
}

std::size_t SourceText::lineEnd(std::size_t line) const {
    // The last line has no end of its own: that would have begun another line.
    std::size_t end = line + 1 < m_lineStarts.size() ? m_lineStarts[line + 1] : m_text.size();
    const std::size_t start = m_lineStarts[line];
    if (line + 1 < m_lineStarts.size()) {
        if (end > start && m_text[end - 1] == '\n') --end;
        if (end > start && m_text[end - 1] == '\r') --end;
    }
    return end;
}

std::string_view SourceText::line(std::size_t line) const {
    return m_text.substr(m_lineStarts[line], lineEnd(line) - m_lineStarts[line]);
}

std::size_t SourceText::codePointsBefore(std::size_t offset) const {
    if (m_codePointsAtBlock.empty()) return 0;
    const std::size_t block = std::min(offset / kBlock, m_codePointsAtBlock.size() - 1);
    const std::string_view rest = m_text.substr(block * kBlock, offset - block * kBlock);
    return m_codePointsAtBlock[block] +
           static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), startsCodePoint));
}

std::size_t SourceText::writtenLines() const {
    std::size_t written = 0;
    for (std::size_t i = 0; i < m_lineStarts.size(); ++i) {
        if (line(i).find_first_not_of(" \t\f\v") != std::string_view::npos) ++written;
    }
    return written;
}

std::string SourceText::place(std::size_t offset, std::size_t length) const {
    offset = std::min(offset, m_text.size());
    if (m_namer) return m_namer(offset, std::min(length, m_text.size() - offset));
    const std::size_t line = lineAt(offset);
    const std::size_t column = codePointsBefore(offset) - codePointsBefore(m_lineStarts[line]) + 1;
    return "line " + std::to_string(line + 1) + ", column " + std::to_string(column);
}

std::size_t SourceText::offsetOf(std::size_t line, std::size_t column) const {
    const std::size_t start = m_lineStarts[line];
    const std::size_t end = lineEnd(line);
    if (column <= 1 || start == end) return start;
    const std::size_t wanted = codePointsBefore(start) + column - 1;
    // The last block with no more code points before it; the one wanted begins in it.
    const auto after =
        std::upper_bound(m_codePointsAtBlock.begin(), m_codePointsAtBlock.end(), wanted);
    const auto block = static_cast<std::size_t>(after - m_codePointsAtBlock.begin()) - 1;
    std::size_t seen = m_codePointsAtBlock[block];
    // Counting begins with the block, which may begin before the line.
    for (std::size_t at = block * kBlock; at < end; ++at) {
        if (startsCodePoint(m_text[at]) && seen++ == wanted) return std::max(at, start);
    }
    return end;
}

std::string SourceText::linePlace(std::size_t offset) const {
    offset = std::min(offset, m_text.size());
    if (m_namer) return m_namer(offset, 0);
    return "line " + std::to_string(lineAt(offset) + 1);
}

} // namespace trevix
