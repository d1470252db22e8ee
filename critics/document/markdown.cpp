#include "critics/document/markdown.h"

#include "critics/document/markdown_tree.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

// How far a bracket is followed, in bytes, so that one that never closes costs no more than that:
// browsers take addresses of about 2,000 characters, and a tag is shorter than that.
constexpr std::size_t kLongestTarget = 2000;
constexpr std::size_t kDeepestTarget = 8; // Brackets within an address; chosen.
constexpr std::size_t kLongestTag = 400;
constexpr std::size_t kLongestLabel = 999;      // Of a link, as CommonMark has it; bytes here.
constexpr std::size_t kMostFrontMatter = 200;   // Lines; chosen.
constexpr std::size_t kLongestUnderlined = 100; // Bytes that a heading with a line under it shows.
constexpr std::size_t kLongestReversed = 300;   // Bytes between round brackets in front of a link.
constexpr std::string_view kMaskedOnly("\x01 \t", 3);

std::size_t runOf(std::string_view text, char c) {
    const std::size_t end = text.find_first_not_of(c);
    return end == std::string_view::npos ? text.size() : end;
}

bool onlyOf(std::string_view text, std::string_view marks) {
    return !text.empty() && text.find_first_not_of(marks) == std::string_view::npos;
}

/// "| --- | :-: |". As the marks under a header have it; a hyphen and a bar, or it is a rule or a
/// line of text.
bool isDelimiterRow(std::string_view content) {
    return onlyOf(content, "|-: \t") && content.find('-') != std::string_view::npos &&
           content.find('|') != std::string_view::npos;
}

/// A bar parts cells even within code, unless a backslash stands before it.
std::size_t cellsIn(std::string_view row) {
    row = text::trimmed(row);
    if (!row.empty() && row.front() == '|') row.remove_prefix(1);
    std::size_t cells = 1;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (row[i] == '\\') {
            ++i;
        } else if (row[i] == '|') {
            // A bar at the end closes the last cell and begins none.
            if (text::trimmed(row.substr(i + 1)).empty()) break;
            ++cells;
        }
    }
    return cells;
}

/// "title: …" in front matter of either kind.
bool namesTitle(std::string_view line) {
    const std::string_view key = text::trimmed(line.substr(0, line.find_first_of(":=")));
    return key.size() < line.size() && text::lowerAscii(key) == "title" &&
           !text::trimmed(line.substr(line.find_first_of(":=") + 1)).empty();
}

class OutlineReader {
public:
    explicit OutlineReader(const SourceText& source) : m_source(source) {
        m_outline.lines.assign(source.lineCount(), LineKind::blank);
        m_outline.prose.masked = std::string(source.text());
    }

    // The library says which block each line is of; what it does not tell, such as places within a
    // line, is read here from the text. In this order: code goes first, since nothing in it is a
    // mark, and links before tags, since an address may stand in angle brackets.
    Outline read() {
        const std::size_t first = frontMatter();
        const MarkdownTree tree = markdownTree(m_source, first);
        if (tree.cut) m_outline.unread = tree.cut;
        m_read.assign(m_source.lineCount(), false);
        std::fill(m_read.begin(), m_read.begin() + static_cast<std::ptrdiff_t>(first), true);
        for (const MarkdownBlock& block : tree.blocks) readBlock(block);
        readRest();
        sortBlocks();
        maskCode(masked());
        maskComments();
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

    /// Comments within lines; those of their own are masked by then. One that is not closed is told
    /// elsewhere, and hides nothing here.
    void maskComments() {
        for (std::size_t at = masked().find("<!--"); at != std::string::npos;) {
            const std::size_t close = masked().find("-->", at + 4);
            if (close == std::string::npos) return;
            mask(masked(), at, close + 3 - at);
            at = masked().find("<!--", close + 3);
        }
    }

    /// "---" or "+++" at the very start, lines of "key: value" or "key = value", and the same mark
    /// again. The first line behind it.
    std::size_t frontMatter() {
        const std::string_view opener = text::trimmed(m_source.line(0));
        if (opener != "---" && opener != "+++") return 0;
        // A block of keys is short; without a limit a rule at the top would be followed through all
        // of the text.
        const std::size_t limit = std::min<std::size_t>(m_source.lineCount(), kMostFrontMatter);
        bool titled = false;
        bool keyed = false;
        for (std::size_t i = 1; i < limit; ++i) {
            const std::string_view line = text::trimmed(m_source.line(i));
            if (line == opener || (opener == "---" && line == "...")) {
                if (i > 1 && !keyed) return 0; // A heading between rules.
                for (std::size_t j = 0; j <= i; ++j) setOther(j);
                m_outline.frontTitle = titled;
                return i + 1;
            }
            if (line.empty() && opener == "---" && i == 1) return 0; // A rule above the text.
            if (opener == "---" && (line.empty() || line[0] == '#')) return 0;
            keyed = keyed || line.find_first_of(":=") != std::string_view::npos;
            titled = titled || namesTitle(line);
        }
        return 0;
    }

    void setOther(std::size_t line) {
        m_outline.lines[line] = LineKind::other;
        mask(masked(), m_source.lineStart(line), m_source.line(line).size());
    }

    /// Masks the marks of quotations that begin the line. What stands behind them.
    std::string_view unquoted(std::size_t line, bool quoted) {
        std::string_view content = text::trimmed(maskedLine(line));
        // What is masked already may be a mark that an earlier block of the same line has dealt
        // with.
        while (quoted && !content.empty() &&
               (content.front() == '>' || content.front() == kMasked)) {
            // A quotation in a document is part of it; only its marks are not.
            mask(masked(), offsetOf(content), 1);
            content = text::trimmed(content.substr(1));
        }
        return content;
    }

    void readBlock(const MarkdownBlock& block) {
        for (std::size_t line = block.firstLine; line <= block.lastLine; ++line) {
            // Items and notes hold other blocks, and only their first lines are theirs.
            if (block.kind != MarkdownKind::item && block.kind != MarkdownKind::note) {
                m_read[line] = true;
            }
        }
        switch (block.kind) {
        case MarkdownKind::heading:
            readHeading(block);
            break;
        case MarkdownKind::code:
            readCode(block);
            break;
        case MarkdownKind::html:
            readHtml(block);
            break;
        case MarkdownKind::table:
            readTableBlock(block);
            break;
        case MarkdownKind::item:
            m_read[block.firstLine] = true;
            m_outline.lines[block.firstLine] = LineKind::listItem;
            break;
        case MarkdownKind::note:
            m_read[block.firstLine] = true;
            readNote(block.firstLine, block.quoted);
            break;
        case MarkdownKind::rule:
            m_outline.lines[block.firstLine] = LineKind::rule;
            break;
        case MarkdownKind::paragraph:
            readParagraph(block);
            break;
        }
    }

    /// The line's kind, unless it begins an item or a note, which weighs more.
    void setKind(std::size_t line, LineKind kind) {
        LineKind& own = m_outline.lines[line];
        if (own != LineKind::listItem && own != LineKind::definition) own = kind;
    }

    void readCode(const MarkdownBlock& block) {
        for (std::size_t line = block.firstLine; line <= block.lastLine; ++line) {
            setKind(line, LineKind::code);
            const std::size_t begin =
                line == block.firstLine ? block.begin : m_source.lineStart(line);
            mask(masked(), begin, m_source.lineEnd(line) - begin);
        }
        if (!block.fenced) return;
        std::string_view last = text::trimmed(m_source.line(block.lastLine));
        // Within a quotation the fence that closes has its marks too.
        while (block.quoted && !last.empty() && last.front() == '>') {
            last = text::trimmed(last.substr(1));
        }
        const bool closed = block.lastLine > block.firstLine &&
                            runOf(last, block.fenceMark) == last.size() &&
                            last.size() >= block.fenceLength;
        if (!closed && !m_outline.unclosedFence) m_outline.unclosedFence = block.begin;
    }

    void readHtml(const MarkdownBlock& block) {
        const std::size_t end = m_source.lineEnd(block.lastLine);
        const std::string_view html = m_source.text().substr(block.begin, end - block.begin);
        const std::string_view content = text::trimmed(html);
        const std::string head = text::lowerAscii(content.substr(0, 8));
        // Kinds of HTML blocks begin with these, CommonMark 4.6: comments, and elements whose
        // content is text as it stands.
        const auto beginsWith = [&](std::string_view tag) {
            return head.compare(0, tag.size(), tag) == 0;
        };
        if (beginsWith("<!--")) {
            const auto begin = static_cast<std::size_t>(content.data() - m_source.text().data());
            std::size_t close = m_source.text().find("-->", begin + 4);
            // Only at the end of the text is nothing behind it that it could hide by mistake.
            if (close == std::string_view::npos) {
                if (!m_outline.unclosedComment) m_outline.unclosedComment = begin;
                close = m_source.text().size();
            }
            mask(masked(), begin, std::min(close + 3, end) - begin);
            for (std::size_t line = block.firstLine; line <= block.lastLine; ++line) {
                const bool masked = onlyOf(text::trimmed(maskedLine(line)), kMaskedOnly);
                setKind(line, masked ? LineKind::other : LineKind::prose);
            }
            readProse(block, LineKind::prose);
            return;
        }
        if (beginsWith("<pre") || beginsWith("<script") || beginsWith("<style")) {
            readCode(block);
            return;
        }
        readProse(block, LineKind::prose);
    }

    /// Lines of text as one block, or several where items begin.
    void readProse(const MarkdownBlock& block, LineKind kind) {
        for (std::size_t line = block.firstLine; line <= block.lastLine; ++line) {
            const std::string_view content = unquoted(line, block.quoted);
            // A line of marks alone shows nothing.
            if (content.empty() || onlyOf(content, kMaskedOnly)) continue;
            setKind(line, kind);
            if (!m_open) openBlock(offsetOf(content), BlockKind::paragraph);
            m_current.end = m_source.lineEnd(line);
        }
        closeBlock();
    }

    void readParagraph(const MarkdownBlock& block) {
        bool atStart = true; // Definitions stand in front of the text.
        for (std::size_t line = block.firstLine; line <= block.lastLine; ++line) {
            std::string_view content = unquoted(line, block.quoted);
            if (line == block.firstLine) {
                content = maskedLine(line).substr(
                    std::min(block.begin - m_source.lineStart(line), maskedLine(line).size()));
                content = text::trimmed(content);
            }
            if (content.empty()) continue;
            if ((atStart || definesAddress(content)) && readDefinition(line, content)) continue;
            atStart = false;
            // Columns that the header does not have make it no table.
            if (content.find('|') != std::string_view::npos && line < block.lastLine &&
                isDelimiterRow(unquoted(line + 1, block.quoted))) {
                closeBlock();
                readTable(line, block.lastLine, block.quoted);
                break;
            }
            const bool alone = block.firstLine == block.lastLine && !block.inItem;
            // "##Heading": the library takes it for text, people for a heading. One "#" may be a
            // number or a name.
            if (alone && runOf(content, '#') > 1 && runOf(content, '#') <= 6 &&
                content.size() > runOf(content, '#') &&
                (text::isAsciiLetter(content[runOf(content, '#')]) ||
                 static_cast<unsigned char>(content[runOf(content, '#')]) >= 0x80)) {
                m_outline.gluedHeadings.push_back({offsetOf(content), content.size(), {}});
            }
            readText(line, content, block.inItem && line == block.firstLine);
        }
        closeBlock();
    }

    [[nodiscard]] std::size_t offsetOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - m_outline.prose.masked.data());
    }

    void readHeading(MarkdownBlock block) {
        // Definitions right above a heading are counted in with it.
        while (block.firstLine + 1 < block.lastLine) {
            // Definitions belong to no heading, so each moves its beginning down.
            const std::string_view above = unquoted(block.firstLine, block.quoted);
            if (!definesAddress(above) || !readDefinition(block.firstLine, above)) break;
            block.begin = m_source.lineStart(++block.firstLine);
        }
        std::string_view content = unquoted(block.firstLine, block.quoted);
        const std::size_t at = block.begin - m_source.lineStart(block.firstLine);
        if (!block.quoted) content = text::trimmed(maskedLine(block.firstLine).substr(at));
        if (block.firstLine == block.lastLine) {
            // Marks may close a heading as well, if a blank stands before them.
            std::string_view text = text::trimmed(content.substr(runOf(content, '#')));
            std::string_view bare = text;
            while (!bare.empty() && bare.back() == '#') bare.remove_suffix(1);
            if (bare.empty() || bare.back() == ' ' || bare.back() == '\t') {
                text = text::trimmed(bare);
            }
            addHeading(block, text);
            return;
        }
        // A line under a heading, or under a paragraph that was not meant for one.
        const bool heading = block.lastLine == block.firstLine + 1 &&
                             block.shown.size() <= kLongestUnderlined &&
                             unquoted(block.lastLine, block.quoted).size() >= 2;
        if (heading) {
            setKind(block.lastLine, LineKind::heading);
            addHeading(block, content);
            return;
        }
        MarkdownBlock text = block;
        --text.lastLine;
        readParagraph(text);
        m_outline.lines[block.lastLine] = LineKind::rule;
    }

    void addHeading(const MarkdownBlock& block, std::string_view text) {
        m_outline.lines[block.firstLine] = LineKind::heading;
        const std::size_t begin = offsetOf(text);
        m_outline.headings.push_back({block.level, block.firstLine, begin, begin + text.size(),
                                      block.shown, block.described});
        if (!text.empty()) {
            m_outline.prose.blocks.push_back({begin, begin + text.size(), BlockKind::heading});
        }
    }

    /// The library counts the text right above a header in with the table.
    void readTableBlock(const MarkdownBlock& block) {
        std::size_t header = block.firstLine;
        while (header + 1 < block.lastLine && !isDelimiterRow(unquoted(header + 1, block.quoted))) {
            ++header;
        }
        // Where no line is a row of marks to us, all of it is what the library says.
        if (!isDelimiterRow(unquoted(std::min(header + 1, block.lastLine), block.quoted))) {
            header = block.firstLine;
        }
        for (std::size_t line = block.firstLine; line < header; ++line) {
            const std::string_view content = unquoted(line, block.quoted);
            if (!content.empty()) readText(line, content, false);
        }
        closeBlock();
        readTable(header, block.lastLine, block.quoted);
    }

    void readTable(std::size_t first, std::size_t last, bool quoted) {
        // The header says how many cells a row has.
        const std::size_t expected = cellsIn(unquoted(first, quoted));
        Block block{m_source.lineStart(first), 0, BlockKind::table};
        for (std::size_t row = first; row <= last; ++row) {
            const std::string_view content = unquoted(row, quoted);
            if (content.empty()) break;
            m_outline.lines[row] = LineKind::tableRow;
            m_outline.rows.push_back({row, cellsIn(content), expected});
            block.end = m_source.lineEnd(row);
        }
        m_outline.prose.blocks.push_back(block);
    }

    /// The end of the label of "[id]: …" at the start of `content`, or 0.
    static std::size_t labelEnd(std::string_view content) {
        if (content.size() < 4 || content[0] != '[') return 0;
        // A label is bounded, so a bracket that never closes costs no more than that.
        const std::size_t close = content.substr(0, kLongestLabel + 2).find("]:");
        if (close == std::string_view::npos || close < 2) return 0;
        const std::string_view id = content.substr(1, close - 1);
        return id.find_first_of("[]") == std::string_view::npos ? close : 0;
    }

    /// Whether "[id]: …" has an address behind it: meant for a definition wherever it stands.
    static bool definesAddress(std::string_view content) {
        const std::size_t close = labelEnd(content);
        if (close == 0) return false;
        const std::string_view target = text::trimmed(content.substr(close + 2));
        if (target.empty()) return false;
        // What begins like an address, since text behind such a label may be a note.
        return target[0] == '/' || target[0] == '.' || target[0] == '#' || target[0] == '<' ||
               target.find("://") != std::string_view::npos;
    }

    /// "[^id]: text", of which the text is read as a paragraph.
    void readNote(std::size_t line, bool quoted) {
        const std::string_view content = unquoted(line, quoted);
        const std::size_t close = labelEnd(content);
        if (close < 3 || content[1] != '^') return;
        const std::size_t offset = offsetOf(content);
        const std::string_view raw = m_source.text().substr(offset, content.size());
        m_outline.notes.push_back({offset, content.size(), raw.substr(2, close - 2)});
        mask(masked(), offset, close + 2);
        m_outline.lines[line] = LineKind::definition;
    }

    /// "[id]: target".
    bool readDefinition(std::size_t line, std::string_view content) {
        const std::size_t close = labelEnd(content);
        if (close == 0 || content[1] == '^') return false;
        if (text::trimmed(content.substr(close + 2)).empty()) return false;
        const std::size_t offset = offsetOf(content);
        const std::string_view raw = m_source.text().substr(offset, content.size());
        setKind(line, LineKind::definition);
        m_outline.definitions.push_back({offset, content.size(), raw.substr(1, close - 1)});
        std::string_view target = text::trimmed(raw.substr(close + 2));
        // Behind the address a title may stand.
        if (target.front() != '<') target = target.substr(0, target.find_first_of(" \t"));
        m_outline.definedLinks.push_back(
            {offset, content.size(), {}, withoutTitle(target), false, target.front() == '<'});
        mask(masked(), offset, content.size());
        return true;
    }

    /// The library drops definitions, and notes that nothing points to; behind its reach is text.
    void readRest() {
        for (std::size_t line = 0; line < m_source.lineCount(); ++line) {
            // Lines that no block has: definitions, and what is beyond the reach of the library.
            if (m_read[line]) {
                closeBlock();
                continue;
            }
            const std::string_view content = unquoted(line, true);
            if (content.empty()) {
                closeBlock();
                if (!text::trimmed(m_source.line(line)).empty()) setKind(line, LineKind::other);
                continue;
            }
            if (labelEnd(content) > 2 && content[1] == '^') {
                closeBlock();
                readNote(line, true);
                const std::string_view text = unquoted(line, true);
                if (!text.empty()) openBlock(offsetOf(text), BlockKind::paragraph);
                m_current.end = m_source.lineEnd(line);
                continue;
            }
            if (!m_open && (readDefinition(line, content) || readSplitDefinition(line, content))) {
                continue;
            }
            readText(line, content, false);
        }
        closeBlock();
    }

    /// A definition that has its target, or its title, on a line of its own.
    bool readSplitDefinition(std::size_t line, std::string_view content) {
        const std::size_t close = labelEnd(content);
        const std::size_t offset = offsetOf(content);
        // The target stands on the next line.
        if (close > 0 && close + 2 == content.size() && line + 1 < m_source.lineCount()) {
            const std::string_view raw = m_source.text().substr(offset, content.size());
            setKind(line, LineKind::definition);
            m_outline.definitions.push_back({offset, content.size(), raw.substr(1, close - 1)});
            mask(masked(), offset, content.size());
            return true;
        }
        // A title, or the target of the line before.
        if (line > 0 && m_outline.lines[line - 1] == LineKind::definition) {
            setKind(line, LineKind::definition);
            mask(masked(), offset, content.size());
            return true;
        }
        return false;
    }

    void readText(std::size_t line, std::string_view content, bool item) {
        const std::size_t marker = listMarkerLength(content);
        if (marker > 0) closeBlock();
        setKind(line, marker > 0 ? LineKind::listItem : LineKind::prose);
        if (!m_open) {
            openBlock(offsetOf(content) + marker,
                      marker > 0 || item ? BlockKind::listItem : BlockKind::paragraph);
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

    void sortBlocks() {
        std::vector<Block>& blocks = m_outline.prose.blocks;
        std::stable_sort(blocks.begin(), blocks.end(),
                         [](const Block& a, const Block& b) { return a.begin < b.begin; });
        // Blocks that overlap are cut where the one before ends, so that every byte is judged once.
        std::size_t end = 0;
        std::erase_if(blocks, [&](Block& block) {
            block.begin = std::max(block.begin, end);
            if (block.begin >= block.end) return true;
            end = block.end;
            return false;
        });
        std::stable_sort(m_outline.headings.begin(), m_outline.headings.end(),
                         [](const Heading& a, const Heading& b) { return a.begin < b.begin; });
        std::stable_sort(m_outline.rows.begin(), m_outline.rows.end(),
                         [](const TableRow& a, const TableRow& b) { return a.line < b.line; });
    }

    void readLinks() {
        const std::string_view source = m_source.text();
        // A stack of brackets that are open; what a bracket closes is the innermost. Paragraphs end
        // it.
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
                // Everything within is read by then, since inner brackets close first.
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
        // What is masked twice would cost the square of how deep pictures nest.
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
        // A mark of a note has no blanks and is short.
        if (inner.size() > 1 && inner[0] == '^' && inner.size() < 100) {
            m_outline.noteMarks.push_back({begin, close + 1 - begin, inner.substr(1)});
            mask(masked(), begin, close + 1 - begin);
            return close;
        }
        const char next = close + 1 < text.size() ? masked()[close + 1] : '\0';
        const bool image = begin > 0 && text[begin - 1] == '!';
        if (next == '(') {
            const std::size_t end = targetEnd(close + 1);
            // Brackets without an address are text in brackets.
            if (end == 0) return close;
            std::string_view target = text::trimmed(text.substr(close + 2, end - close - 2));
            const std::size_t offset = image ? begin - 1 : begin;
            m_outline.links.push_back({offset, end + 1 - offset, inner, withoutTitle(target), image,
                                       !target.empty() && target.front() == '<'});
            if (image) {
                m_pictures.emplace_back(offset, end + 1);
            } else {
                // The text of a link is prose; its brackets and its address are none.
                mask(masked(), begin, 1);
                mask(masked(), close, end + 1 - close);
            }
            return end;
        }
        // The round brackets before it may hold the text.
        if (next != '[' && begin > 0 && masked()[begin - 1] == ')') readReversed(begin, close);
        const bool indexing = begin > 0 && text::isAsciiWord(text[begin - 1]);
        // a[i][j] is program text.
        if (next != '[' || indexing) return close;
        const std::string_view rest = text.substr(close + 2, 100);
        const std::size_t end = rest.find_first_of("]\n[");
        if (end == std::string_view::npos || rest[end] != ']') return close;
        const std::string_view id = end == 0 ? inner : rest.substr(0, end);
        if (id.empty() || id[0] == '^') return close; // "[1][^2]" is two things.
        if (id.size() > kLongestLabel) return close;
        // [1][2] are two sources.
        const bool numbers = onlyOf(inner, "0123456789, -");
        if (!numbers) {
            m_outline.references.push_back({begin, close + 3 + end - begin, id});
            if (image && text::trimmed(inner).empty()) {
                m_outline.silentPictures.push_back({begin - 1, close + 4 + end - begin, {}});
            }
            mask(masked(), begin, 1);
            mask(masked(), close, end + 3);
            return close + 2 + end;
        }
        return close;
    }

    /// "(text)[address]": the brackets of a link the wrong way round.
    void readReversed(std::size_t begin, std::size_t close) {
        const std::string_view address = m_source.text().substr(begin + 1, close - begin - 1);
        const bool path = address.find_first_of("./#") != std::string_view::npos ||
                          address.find("://") != std::string_view::npos;
        if (!path || address.empty() || address.size() > kLongestTarget ||
            address.find_first_of(" \t\n") != std::string_view::npos)
            return;
        std::size_t open = begin - 1; // On the bracket that closes the text.
        // Bounded, since a bracket may have no partner.
        const std::size_t least = open > kLongestReversed ? open - kLongestReversed : 0;
        std::size_t depth = 1;
        while (open > least && depth > 0) {
            const char c = masked()[--open];
            if (c == '\n') return;
            if (c == ')') ++depth;
            if (c == '(') --depth;
        }
        if (depth > 0 || open + 2 == begin) return;
        // f(x)[a.b] is program text, and what is behind a bracket has its link already.
        const char before = open > 0 ? m_source.text()[open - 1] : ' ';
        if (text::isAsciiWord(before) || before == ']' || before == '\\') return;
        m_outline.reversed.push_back({open, close + 1 - open, address});
    }

    /// The bracket that closes the target opened at `open`, on the same line, or 0.
    [[nodiscard]] std::size_t targetEnd(std::size_t open) const {
        const std::string_view near = m_source.text().substr(open, kLongestTarget);
        std::size_t depth = 0;
        // As CommonMark has it, round brackets in an address come in pairs.
        for (std::size_t i = 0; i < near.size(); ++i) {
            if (near[i] == '\n') return 0;
            if (near[i] == '(' && ++depth > kDeepestTarget) return 0;
            if (near[i] == ')' && --depth == 0) return open + i;
        }
        return 0;
    }

    static std::string_view withoutTitle(std::string_view target) {
        // In angle brackets an address may hold blanks, and has no title within.
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
            // A second "<" before the end shows that the first begins no tag.
            const std::size_t close = near.find_first_of("<>");
            if (close == std::string_view::npos || near[close] == '<') continue;
            const std::string_view inner = near.substr(0, close);
            const bool tag = inner.find('=') != std::string_view::npos || inner[0] == '/' ||
                             inner.back() == '/' || inner.find("://") != std::string_view::npos ||
                             inner.find('@') != std::string_view::npos || isElement(inner);
            if (tag && isSilentPicture(inner)) {
                m_outline.silentPictures.push_back({i, close + 2, {}});
            }
            if (tag) mask(text, i, close + 2);
        }
    }

    /// "img src=…" that does not even say that no words are needed, as alt="" does.
    static bool isSilentPicture(std::string_view tag) {
        if (!text::hasAt(tag, 0, "img ") && !text::hasAt(tag, 0, "img\n")) return false;
        for (const std::string_view attribute : {"alt", "aria-", "role", "{"}) {
            for (std::size_t at = 1; at < tag.size(); ++at) {
                // A name of an attribute, not the end of another.
                if (text::hasAt(tag, at, attribute) && !text::isAsciiWord(tag[at - 1]))
                    return false;
            }
        }
        return true;
    }

    static bool isElement(std::string_view inner) {
        constexpr std::string_view kElements =
            " a b i u p s br hr em li ol ul td th tr dl dt dd div img kbd pre sub sup del ins "
            "code span table thead tbody details summary strong small center picture source ";
        // Elements without attributes; with them the "=" tells.
        const std::string name = " " + text::lowerAscii(inner) + " ";
        return kElements.find(name) != std::string_view::npos;
    }

    const SourceText& m_source;
    Outline m_outline;
    std::vector<bool> m_read; ///< Lines that some block of the library has.
    Block m_current;
    std::vector<std::pair<std::size_t, std::size_t>> m_pictures; ///< Begin and end of each.
    bool m_open = false;
};

} // namespace

Outline outlineOf(const SourceText& source) {
    return OutlineReader(source).read();
}

} // namespace trevix
