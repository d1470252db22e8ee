#include "critics/document/markdown.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

// How far a bracket is followed, in bytes, so that one that never closes costs no more than that:
// browsers take addresses of about 2,000 characters, and a tag is shorter than that.
constexpr std::size_t kLongestTarget = 2000;
constexpr std::size_t kDeepestTarget = 8; // Brackets within an address; chosen.
constexpr std::size_t kLongestTag = 400;
constexpr std::size_t kLongestLabel = 999; // Of a link, as CommonMark has it; bytes here.

std::size_t indentOf(std::string_view line) {
    std::size_t columns = 0;
    for (const char c : line) {
        if (c == ' ') {
            ++columns;
        } else if (c == '\t') {
            columns += 4 - columns % 4;
        } else {
            break;
        }
    }
    return columns;
}

std::size_t runOf(std::string_view text, char c) {
    const std::size_t end = text.find_first_not_of(c);
    return end == std::string_view::npos ? text.size() : end;
}

bool onlyOf(std::string_view text, std::string_view marks) {
    return !text.empty() && text.find_first_not_of(marks) == std::string_view::npos;
}

/// "| --- | :-: |"
bool isDelimiterRow(std::string_view content) {
    return onlyOf(content, "|-: \t") && content.find('-') != std::string_view::npos &&
           content.find('|') != std::string_view::npos;
}

std::size_t cellsIn(std::string_view row) {
    row = text::trimmed(row);
    if (!row.empty() && row.front() == '|') row.remove_prefix(1);
    std::size_t cells = 1;
    bool code = false;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (row[i] == '\\') {
            ++i;
        } else if (row[i] == '`') {
            code = !code;
        } else if (row[i] == '|' && !code) {
            if (text::trimmed(row.substr(i + 1)).empty()) break;
            ++cells;
        }
    }
    return cells;
}

class OutlineReader {
public:
    explicit OutlineReader(const SourceText& source) : m_source(source) {
        m_outline.lines.assign(source.lineCount(), LineKind::blank);
        m_outline.prose.masked = std::string(source.text());
    }

    Outline read() {
        maskComments();
        std::size_t line = frontMatter();
        while (line < m_source.lineCount()) line = readLine(line);
        closeBlock();
        if (m_fenceOpen) m_outline.unclosedFence = m_fenceOffset;
        maskCode(masked());
        readLinks();
        maskTags();
        maskAddresses(masked());
        return std::move(m_outline);
    }

private:
    std::string& masked() { return m_outline.prose.masked; }

    [[nodiscard]] std::string_view maskedLine(std::size_t line) const {
        return std::string_view(m_outline.prose.masked)
            .substr(m_source.lineStart(line), m_source.lineEnd(line) - m_source.lineStart(line));
    }

    void maskComments() {
        const std::string_view text = m_source.text();
        for (std::size_t at = text.find("<!--"); at != std::string_view::npos;) {
            const std::size_t close = text.find("-->", at + 4);
            if (close == std::string_view::npos) {
                // A comment shown inside code is closed by the code.
                const std::size_t line = m_source.lineStart(m_source.lineAt(at));
                if (text.substr(line, at - line).find('`') == std::string_view::npos) {
                    m_outline.unclosedComment = at;
                }
                return;
            }
            mask(masked(), at, close + 3 - at);
            at = text.find("<!--", close + 3);
        }
    }

    /// "---", lines of "key: value", "---" at the very start. The first line behind it.
    std::size_t frontMatter() {
        if (text::trimmed(m_source.line(0)) != "---") return 0;
        const std::size_t limit = std::min<std::size_t>(m_source.lineCount(), 200);
        for (std::size_t i = 1; i < limit; ++i) {
            const std::string_view line = text::trimmed(m_source.line(i));
            if (line == "---" || line == "...") {
                for (std::size_t j = 0; j <= i; ++j) setOther(j);
                return i > 1 ? i + 1 : 0;
            }
            if (line.empty() || line[0] == '#') return 0;
        }
        return 0;
    }

    void setOther(std::size_t line) {
        m_outline.lines[line] = LineKind::other;
        mask(masked(), m_source.lineStart(line), m_source.line(line).size());
    }

    void setCode(std::size_t line) {
        m_outline.lines[line] = LineKind::code;
        mask(masked(), m_source.lineStart(line), m_source.line(line).size());
        closeBlock();
    }

    std::size_t readLine(std::size_t line) {
        const std::string_view raw = maskedLine(line);
        std::string_view content = text::trimmed(raw);
        if (readFence(line, content)) return line + 1;
        if (content.empty()) {
            m_outline.lines[line] = LineKind::blank;
            closeBlock();
            return line + 1;
        }
        if (onlyOf(content, std::string_view("\x01", 1))) {
            m_outline.lines[line] = LineKind::other;
            return line + 1;
        }
        const bool afterBlank = line == 0 || m_outline.lines[line - 1] == LineKind::blank ||
                                m_outline.lines[line - 1] == LineKind::code;
        if (indentOf(raw) >= 4 && afterBlank && !m_inList) {
            setCode(line);
            return line + 1;
        }
        while (!content.empty() && content.front() == '>') {
            // A quotation in a document is part of it; only its marks are not.
            mask(masked(), static_cast<std::size_t>(content.data() - masked().data()), 1);
            content = text::trimmed(content.substr(1));
        }
        if (content.empty()) {
            m_outline.lines[line] = LineKind::other;
            closeBlock();
            return line + 1;
        }
        if (readHeading(line, content) || readRule(line, content)) return line + 1;
        if (const std::size_t next = readTable(line, content); next > line) return next;
        if (readDefinition(line, content)) return line + 1;
        readText(line, content, indentOf(raw), afterBlank);
        return line + 1;
    }

    bool readFence(std::size_t line, std::string_view content) {
        const char mark = content.empty() ? '\0' : content.front();
        const std::size_t run = mark == '`' || mark == '~' ? runOf(content, mark) : 0;
        if (m_fenceOpen) {
            const bool closes =
                run >= m_fenceLength && mark == m_fenceMark && run == content.size();
            if (closes) m_fenceOpen = false;
            setCode(line);
            return true;
        }
        if (run < 3) return false;
        if (mark == '`' && content.find('`', run) != std::string_view::npos) return false;
        m_fenceOpen = true;
        m_fenceMark = mark;
        m_fenceLength = run;
        m_fenceOffset = static_cast<std::size_t>(content.data() - masked().data());
        setCode(line);
        return true;
    }

    [[nodiscard]] std::size_t offsetOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - m_outline.prose.masked.data());
    }

    void addHeading(std::size_t line, int level, std::string_view text) {
        closeBlock();
        m_inList = false;
        const std::size_t begin = offsetOf(text);
        m_outline.headings.push_back({level, line, begin, begin + text.size()});
        if (!text.empty()) {
            m_outline.prose.blocks.push_back({begin, begin + text.size(), BlockKind::heading});
        }
    }

    bool readHeading(std::size_t line, std::string_view content) {
        const std::size_t marks = runOf(content, '#');
        if (marks == 0 || marks > 6) return false;
        if (content.size() > marks && content[marks] != ' ' && content[marks] != '\t') return false;
        m_outline.lines[line] = LineKind::heading;
        std::string_view text = text::trimmed(content.substr(marks));
        std::string_view bare = text;
        while (!bare.empty() && bare.back() == '#') bare.remove_suffix(1);
        if (bare.empty() || bare.back() == ' ' || bare.back() == '\t') text = text::trimmed(bare);
        addHeading(line, static_cast<int>(marks), text);
        return true;
    }

    /// A rule between paragraphs, or the line under a heading.
    bool readRule(std::size_t line, std::string_view content) {
        const bool single = onlyOf(content, "=") || onlyOf(content, "-");
        const bool afterText = line > 0 && m_outline.lines[line - 1] == LineKind::prose &&
                               (line == 1 || m_outline.lines[line - 2] == LineKind::blank ||
                                m_outline.lines[line - 2] == LineKind::heading);
        if (single && content.size() >= 2 && afterText &&
            text::trimmed(m_source.line(line - 1)).size() <= 100) {
            m_open = false; // Its text was taken for a paragraph.
            m_outline.lines[line - 1] = LineKind::heading;
            m_outline.lines[line] = LineKind::heading;
            addHeading(line - 1, content[0] == '=' ? 1 : 2, text::trimmed(maskedLine(line - 1)));
            return true;
        }
        if (content.size() < 3 || !(onlyOf(content, "- ") || onlyOf(content, "* ") ||
                                    onlyOf(content, "_ ") || onlyOf(content, "= "))) {
            return false;
        }
        m_outline.lines[line] = LineKind::rule;
        closeBlock();
        return true;
    }

    std::size_t readTable(std::size_t line, std::string_view content) {
        if (content.find('|') == std::string_view::npos || line + 1 >= m_source.lineCount()) {
            return line;
        }
        if (!isDelimiterRow(text::trimmed(m_source.line(line + 1)))) return line;
        closeBlock();
        const std::size_t expected = cellsIn(m_source.line(line));
        std::size_t row = line;
        Block block{m_source.lineStart(line), 0, BlockKind::table};
        for (; row < m_source.lineCount(); ++row) {
            const std::string_view text = m_source.line(row);
            if (text.find('|') == std::string_view::npos) break;
            m_outline.lines[row] = LineKind::tableRow;
            m_outline.rows.push_back({row, cellsIn(text), expected});
            block.end = m_source.lineEnd(row);
        }
        m_outline.prose.blocks.push_back(block);
        return row;
    }

    /// "[id]: target" and "[^id]: text".
    bool readDefinition(std::size_t line, std::string_view content) {
        if (content.size() < 4 || content[0] != '[') return false;
        const std::size_t close = content.find("]:");
        if (close == std::string_view::npos || close < 2 || close > 100) return false;
        const std::string_view id = content.substr(1, close - 1);
        if (id.find_first_of("[]") != std::string_view::npos) return false;
        const std::size_t offset = offsetOf(content);
        const std::string_view raw = m_source.text().substr(offset, content.size());
        if (id[0] == '^') {
            m_outline.notes.push_back({offset, content.size(), raw.substr(2, close - 2)});
            mask(masked(), offset, close + 2);
            m_outline.lines[line] = LineKind::definition;
            closeBlock();
            openBlock(offset + close + 2, BlockKind::paragraph);
            m_current.end = m_source.lineEnd(line);
            return true;
        }
        if (text::trimmed(content.substr(close + 2)).empty()) return false;
        closeBlock();
        m_outline.lines[line] = LineKind::definition;
        m_outline.definitions.push_back({offset, content.size(), raw.substr(1, close - 1)});
        mask(masked(), offset, content.size());
        return true;
    }

    void readText(std::size_t line, std::string_view content, std::size_t indent, bool afterBlank) {
        const std::size_t marker = listMarkerLength(content);
        if (marker > 0) {
            closeBlock();
            m_inList = true;
            m_outline.lines[line] = LineKind::listItem;
        } else {
            if (afterBlank && indent < 2) m_inList = false;
            m_outline.lines[line] = LineKind::prose;
        }
        if (!m_open) {
            openBlock(offsetOf(content) + marker,
                      marker > 0 ? BlockKind::listItem : BlockKind::paragraph);
        }
        m_current.end = m_source.lineEnd(line);
    }

    void openBlock(std::size_t begin, BlockKind kind) {
        m_current = Block{begin, begin, kind};
        m_open = true;
    }

    void closeBlock() {
        if (m_open && m_current.begin < m_current.end) m_outline.prose.blocks.push_back(m_current);
        m_open = false;
    }

    void readLinks() {
        const std::string_view source = m_source.text();
        std::vector<std::size_t> open;
        m_pictures.clear();
        for (std::size_t i = 0; i < source.size(); ++i) {
            const char c = masked()[i];
            if (c == '\\') {
                ++i;
            } else if (c == '\n') {
                if (i + 1 < source.size() && (source[i + 1] == '\n' || source[i + 1] == '\r')) {
                    open.clear();
                }
            } else if (c == '[') {
                open.push_back(i);
            } else if (c == ']' && !open.empty()) {
                const std::size_t begin = open.back();
                open.pop_back();
                i = readBracket(begin, i);
            }
        }
        maskPictures();
    }

    /// Pictures lie within one another or apart, in the order of their ends: from the last one
    /// back, each that begins in front of all masked before it is masked up to there.
    void maskPictures() {
        std::size_t masked = m_source.text().size();
        for (auto picture = m_pictures.rbegin(); picture != m_pictures.rend(); ++picture) {
            const auto [begin, end] = *picture;
            if (begin >= masked) continue;
            mask(this->masked(), begin, std::min(end, masked) - begin);
            masked = begin;
        }
    }

    /// What the text in brackets from `begin` to `close` is. The last byte that belongs to it.
    std::size_t readBracket(std::size_t begin, std::size_t close) {
        const std::string_view text = m_source.text();
        const std::string_view inner = text.substr(begin + 1, close - begin - 1);
        if (inner.size() > 1 && inner[0] == '^' && inner.size() < 100) {
            m_outline.noteMarks.push_back({begin, close + 1 - begin, inner.substr(1)});
            mask(masked(), begin, close + 1 - begin);
            return close;
        }
        const char next = close + 1 < text.size() ? masked()[close + 1] : '\0';
        const bool image = begin > 0 && text[begin - 1] == '!';
        if (next == '(') {
            const std::size_t end = targetEnd(close + 1);
            if (end == 0) return close;
            std::string_view target = text::trimmed(text.substr(close + 2, end - close - 2));
            const std::size_t offset = image ? begin - 1 : begin;
            m_outline.links.push_back({offset, end + 1 - offset, inner, withoutTitle(target), image,
                                       !target.empty() && target.front() == '<'});
            if (image) {
                m_pictures.emplace_back(offset, end + 1);
            } else {
                mask(masked(), begin, 1);
                mask(masked(), close, end + 1 - close);
            }
            return end;
        }
        const bool indexing = begin > 0 && text::isAsciiWord(text[begin - 1]);
        if (next != '[' || indexing) return close;
        const std::string_view rest = text.substr(close + 2, 100);
        const std::size_t end = rest.find_first_of("]\n[");
        if (end == std::string_view::npos || rest[end] != ']') return close;
        const std::string_view id = end == 0 ? inner : rest.substr(0, end);
        if (id.empty() || id[0] == '^') return close; // "[1][^2]" is two things.
        if (id.size() > kLongestLabel) return close;
        const bool numbers = onlyOf(inner, "0123456789, -");
        if (!numbers) {
            m_outline.references.push_back({begin, close + 3 + end - begin, id});
            mask(masked(), begin, 1);
            mask(masked(), close, end + 3);
            return close + 2 + end;
        }
        return close;
    }

    /// The bracket that closes the target opened at `open`, on the same line, or 0.
    [[nodiscard]] std::size_t targetEnd(std::size_t open) const {
        const std::string_view near = m_source.text().substr(open, kLongestTarget);
        std::size_t depth = 0;
        for (std::size_t i = 0; i < near.size(); ++i) {
            if (near[i] == '\n') return 0;
            if (near[i] == '(' && ++depth > kDeepestTarget) return 0;
            if (near[i] == ')' && --depth == 0) return open + i;
        }
        return 0;
    }

    static std::string_view withoutTitle(std::string_view target) {
        if (!target.empty() && target.front() == '<') {
            const std::size_t close = target.find('>');
            return target.substr(1, close == std::string_view::npos ? target.size() : close - 1);
        }
        const std::size_t quote = target.find_first_of("\"'");
        if (quote != std::string_view::npos && quote > 0 && target.back() == target[quote] &&
            (target[quote - 1] == ' ' || target[quote - 1] == '\t')) {
            target = text::trimmed(target.substr(0, quote));
        }
        return target;
    }

    /// HTML between angle brackets. A bracket that is no tag stays, it may be a placeholder.
    void maskTags() {
        std::string& text = masked();
        for (std::size_t i = 0; i + 2 < text.size(); ++i) {
            if (text[i] != '<') continue;
            const char first = text[i + 1] == '/' ? text[i + 2] : text[i + 1];
            if (!text::isAsciiLetter(first)) continue;
            const std::string_view near = std::string_view(text).substr(i + 1, kLongestTag);
            const std::size_t close = near.find_first_of("<>");
            if (close == std::string_view::npos || near[close] == '<') continue;
            const std::string_view inner = near.substr(0, close);
            const bool tag = inner.find('=') != std::string_view::npos || inner[0] == '/' ||
                             inner.back() == '/' || inner.find("://") != std::string_view::npos ||
                             inner.find('@') != std::string_view::npos || isElement(inner);
            if (tag) mask(text, i, close + 2);
        }
    }

    static bool isElement(std::string_view inner) {
        constexpr std::string_view kElements =
            " a b i u p s br hr em li ol ul td th tr dl dt dd div img kbd pre sub sup del ins "
            "code span table thead tbody details summary strong small center picture source ";
        const std::string name = " " + text::lowerAscii(inner) + " ";
        return kElements.find(name) != std::string_view::npos;
    }

    const SourceText& m_source;
    Outline m_outline;
    Block m_current;
    std::vector<std::pair<std::size_t, std::size_t>> m_pictures; ///< Begin and end of each.
    bool m_open = false;
    bool m_inList = false;
    bool m_fenceOpen = false;
    char m_fenceMark = '`';
    std::size_t m_fenceLength = 3;
    std::size_t m_fenceOffset = 0;
};

} // namespace

Outline outlineOf(const SourceText& source) {
    return OutlineReader(source).read();
}

} // namespace trevix
