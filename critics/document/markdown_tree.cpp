#include "critics/document/markdown_tree.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

namespace trevix {

namespace {

/// Bytes that are read as Markdown. A mark can cost the library some 200 bytes of memory, and no
/// document that people write is as long.
constexpr std::size_t kMostRead = std::size_t{1} << 20;
/// Marks of one paragraph, and quotations and lists within one another on one line, that are read
/// as such. Chosen: several times what the densest table of links has.
constexpr std::size_t kMostMarks = 8192;
constexpr std::size_t kDeepest = 64;

std::string_view contentOf(std::string_view line) {
    const std::size_t begin = line.find_first_not_of(" \t>");
    return begin == std::string_view::npos ? std::string_view() : line.substr(begin);
}

/// Which lines are code between fences, told line by line, so that nothing in code counts as a
/// mark.
class Fences {
public:
    [[nodiscard]] bool open() const { return m_length > 0; }

    /// Whether the line belongs to code, its fences included.
    bool holds(std::string_view line) {
        const std::string_view content = contentOf(line);
        const char mark = content.empty() ? '\0' : content.front();
        std::size_t run = 0;
        if (mark == '`' || mark == '~') {
            while (run < content.size() && content[run] == mark) ++run;
        }
        if (m_length > 0) {
            const bool closes = mark == m_mark && run >= m_length &&
                                content.find_first_not_of(" \t\r", run) == std::string_view::npos;
            if (closes) m_length = 0;
            return true;
        }
        // As CommonMark has it: three marks at least, and none within what follows a fence of
        // backticks.
        if (run < 3 || (mark == '`' && content.find('`', run) != std::string_view::npos)) {
            return false;
        }
        m_length = run;
        m_mark = mark;
        return true;
    }

private:
    std::size_t m_length = 0;
    char m_mark = '`';
};

/// Whether the line is the line of tildes or backquotes under a heading of reStructuredText or
/// AsciiDoc: about as long as the text above it, or too long for a fence, with nothing or a
/// sentence below it. Elsewhere it would open code that nothing closes.
bool isUnderline(std::string_view above, std::string_view line, std::string_view below) {
    const auto trimmed = [](std::string_view text) {
        const std::size_t end = text.find_last_not_of(" \t\r");
        return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
    };
    above = trimmed(above);
    line = trimmed(line);
    below = trimmed(below);
    constexpr std::size_t kMore = 3;  // Marks beyond the end of the text.
    constexpr std::size_t kFence = 5; // Marks; fences are of three or four.
    const char mark = line.empty() ? '\0' : line.front();
    if ((mark != '~' && mark != '`') || line.size() < 3 ||
        line.find_first_not_of(mark) != std::string_view::npos || above.empty() ||
        above.front() == ' ' || above.front() == mark) {
        return false;
    }
    const bool alike = line.size() + 1 >= above.size() && line.size() <= above.size() + kMore;
    // Backquotes are what most fences are of.
    if (mark == '`' && (!alike || line.size() < kFence)) return false;
    if (below.empty()) return alike || line.size() >= kFence;
    // Code seldom begins with a capital and goes on with words.
    const bool sentence =
        below.front() >= 'A' && below.front() <= 'Z' && below.find(' ') != std::string_view::npos;
    return alike && (sentence || below == "::");
}

/// "~~~ cut here ~~~": words between two rows of tildes, which say where something begins or ends.
bool isCutLine(std::string_view line) {
    constexpr std::string_view kTildes = "~~~";
    const std::size_t begin = line.find_first_not_of(" \t");
    const std::size_t end = line.find_last_not_of(" \t\r");
    if (begin == std::string_view::npos) return false;
    line = line.substr(begin, end + 1 - begin);
    return line.starts_with(kTildes) && line.ends_with(kTildes) &&
           line.find_first_not_of('~') != std::string_view::npos;
}

bool isMark(char c) {
    constexpr std::string_view kMarks = "[]*_~`<>&!|\\(\"'";
    return kMarks.find(c) != std::string_view::npos;
}

/// The text as the library may have it: of the same length byte by byte, so that its places hold.
std::string readable(const SourceText& source, std::size_t firstLine, std::size_t lines) {
    // Only as far as is read at all.
    std::string copy(source.text().substr(0, source.lineEnd(lines - 1)));
    const auto blank = [&](std::size_t at, std::size_t length) {
        for (std::size_t i = at; i < at + length; ++i) copy[i] = ' ';
    };
    // It replaces what no text has and skips the byte order mark, which moves columns.
    std::replace(copy.begin(), copy.end(), '\0', ' ');
    // The end of a page is the end of a paragraph at most.
    std::replace(copy.begin(), copy.end(), '\f', ' ');
    if (copy.starts_with("\xEF\xBB\xBF")) blank(0, 3);
    Fences fences;
    std::size_t marks = 0;
    for (std::size_t line = 0; line < lines; ++line) {
        const std::size_t begin = source.lineStart(line);
        const std::size_t end = source.lineEnd(line);
        if (line < firstLine) {
            blank(begin, end - begin);
            continue;
        }
        if (!fences.open() && isCutLine(source.line(line))) {
            blank(begin, end - begin);
            marks = 0;
            continue;
        }
        if (line > firstLine && !fences.open() &&
            isUnderline(source.line(line - 1), source.line(line),
                        line + 1 < lines ? source.line(line + 1) : std::string_view())) {
            blank(begin, end - begin);
            marks = 0;
            continue;
        }
        // Blanks that do not break indent like others.
        std::size_t at = begin;
        while (at < end) {
            if (copy[at] == ' ' || copy[at] == '\t') {
                ++at;
            } else if (copy.compare(at, 2, "\xC2\xA0") == 0) {
                blank(at, 2);
                at += 2;
            } else {
                break;
            }
        }
        if (fences.holds(std::string_view(copy).substr(begin, end - begin))) continue;
        if (at == end) {
            marks = 0;
            continue;
        }
        std::size_t depth = 0;
        bool leading = true;
        // In code nothing counts. Elsewhere marks beyond what anybody writes are made letters,
        // which keeps the time that hostile text takes in proportion to its length.
        for (; at < end; ++at) {
            const char c = copy[at];
            // Behind the mark of an item stands a blank: a row of dashes opens nothing.
            const bool parted = at + 1 == end || copy[at + 1] == ' ' || copy[at + 1] == '\t';
            const bool container =
                c == '>' || (parted && (c == '-' || c == '*' || c == '+' || c == '.' || c == ')'));
            leading = leading && (container || c == ' ' || c == '\t' || (c >= '0' && c <= '9'));
            // Within one another on one line: each level costs the library a block.
            if (leading && container && ++depth > kDeepest) copy[at] = 'x';
            if (isMark(c) && ++marks > kMostMarks) copy[at] = 'x';
        }
    }
    return copy;
}

struct Free {
    void operator()(cmark_parser* parser) const { cmark_parser_free(parser); }
    void operator()(cmark_node* node) const { cmark_node_free(node); }
    void operator()(cmark_iter* iterator) const { cmark_iter_free(iterator); }
};

std::unique_ptr<cmark_node, Free> parsed(const std::string& text) {
    // Notes ("[^1]") are no part of CommonMark, so they are asked for.
    constexpr int kOptions = CMARK_OPT_FOOTNOTES;
    const std::unique_ptr<cmark_parser, Free> parser(cmark_parser_new(kOptions));
    for (const char* name : {"table", "strikethrough", "tasklist"}) {
        if (cmark_syntax_extension* extension = cmark_find_syntax_extension(name)) {
            cmark_parser_attach_syntax_extension(parser.get(), extension);
        }
    }
    cmark_parser_feed(parser.get(), text.data(), text.size());
    return std::unique_ptr<cmark_node, Free>(cmark_parser_finish(parser.get()));
}

std::optional<MarkdownKind> kindOf(cmark_node* node) {
    switch (cmark_node_get_type(node)) {
    case CMARK_NODE_PARAGRAPH:
        return MarkdownKind::paragraph;
    case CMARK_NODE_HEADING:
        return MarkdownKind::heading;
    case CMARK_NODE_CODE_BLOCK:
        return MarkdownKind::code;
    case CMARK_NODE_HTML_BLOCK:
        return MarkdownKind::html;
    case CMARK_NODE_THEMATIC_BREAK:
        return MarkdownKind::rule;
    case CMARK_NODE_ITEM:
        return MarkdownKind::item;
    case CMARK_NODE_FOOTNOTE_DEFINITION:
        return MarkdownKind::note;
    default:
        break;
    }
    const std::string_view name = cmark_node_get_type_string(node);
    if (name == "table") return MarkdownKind::table;
    if (name == "tasklist") return MarkdownKind::item; // An item of a list all the same.
    return std::nullopt;
}

/// Adds what an inline node shows to the heading it stands in.
void show(cmark_node* node, std::size_t pictures, MarkdownBlock& heading) {
    std::string_view text;
    const cmark_node_type type = cmark_node_get_type(node);
    if (type == CMARK_NODE_TEXT || type == CMARK_NODE_CODE) {
        const char* literal = cmark_node_get_literal(node);
        if (literal != nullptr) text = literal;
    } else if (type == CMARK_NODE_SOFTBREAK || type == CMARK_NODE_LINEBREAK) {
        text = " ";
    }
    if (pictures == 0) heading.shown += text;
    heading.described += text;
}

class BlockReader {
public:
    BlockReader(const SourceText& source, std::size_t lines) : m_source(source), m_lines(lines) {}

    std::vector<MarkdownBlock> read(cmark_node* document) {
        const std::unique_ptr<cmark_iter, Free> iterator(cmark_iter_new(document));
        while (true) {
            const cmark_event_type event = cmark_iter_next(iterator.get());
            if (event == CMARK_EVENT_DONE) break;
            cmark_node* const node = cmark_iter_get_node(iterator.get());
            visit(node, event == CMARK_EVENT_ENTER);
        }
        // Notes are handed out last, wherever they stand.
        std::stable_sort(m_blocks.begin(), m_blocks.end(),
                         [](const auto& a, const auto& b) { return a.firstLine < b.firstLine; });
        return std::move(m_blocks);
    }

private:
    void visit(cmark_node* node, bool enters) {
        const cmark_node_type type = cmark_node_get_type(node);
        if (type == CMARK_NODE_BLOCK_QUOTE) m_quotes += enters ? 1U : std::size_t(-1);
        if (type == CMARK_NODE_ITEM) m_items += enters ? 1U : std::size_t(-1);
        if (type == CMARK_NODE_IMAGE) m_pictures += enters ? 1U : std::size_t(-1);
        if (type == CMARK_NODE_HEADING && !enters) m_heading.reset();
        if (!enters) return;
        if (m_heading) show(node, m_pictures, m_blocks[*m_heading]);
        const std::optional<MarkdownKind> kind = kindOf(node);
        if (!kind) return;
        const int start = cmark_node_get_start_line(node);
        // Blocks of extensions may have no line.
        if (start < 1 || static_cast<std::size_t>(start) > m_lines) return;
        MarkdownBlock block;
        block.kind = *kind;
        block.firstLine = static_cast<std::size_t>(start) - 1;
        const int end = cmark_node_get_end_line(node);
        // A block that the library has given no end is one line.
        block.lastLine = std::clamp(end < 1 ? block.firstLine : static_cast<std::size_t>(end) - 1,
                                    block.firstLine, m_lines - 1);
        // Columns count bytes from 1.
        const int column = std::max(1, cmark_node_get_start_column(node));
        block.begin =
            std::min(m_source.lineStart(block.firstLine) + static_cast<std::size_t>(column) - 1,
                     m_source.lineEnd(block.firstLine));
        block.quoted = m_quotes > 0;
        cmark_node* const parent = cmark_node_parent(node);
        // The paragraph of an item is its first child.
        block.inItem = parent != nullptr && cmark_node_previous(node) == nullptr &&
                       kindOf(parent) == MarkdownKind::item;
        if (*kind == MarkdownKind::heading) {
            block.level = std::clamp(cmark_node_get_heading_level(node), 1, 6);
            m_heading = m_blocks.size();
        }
        if (*kind == MarkdownKind::code) {
            int length = 0;
            int offset = 0;
            char mark = '`';
            block.fenced = cmark_node_get_fenced(node, &length, &offset, &mark) != 0;
            block.fenceLength = static_cast<std::size_t>(std::max(0, length));
            block.fenceMark = mark;
        }
        trimEnd(block);
        m_blocks.push_back(std::move(block));
    }

    /// The library closes some blocks with the line behind them and counts that line in.
    void trimEnd(MarkdownBlock& block) const {
        if (block.kind == MarkdownKind::heading) {
            // What is on several lines ends with the line under it.
            while (block.lastLine > block.firstLine) {
                const std::string_view last = contentOf(m_source.line(block.lastLine));
                if (!last.empty() && last.find_first_not_of("=- \t") == std::string_view::npos)
                    return;
                --block.lastLine;
            }
        }
        if (block.kind != MarkdownKind::code || !block.fenced ||
            block.lastLine == block.firstLine) {
            return;
        }
        // A quotation or an item ends with its own lines, closed or not.
        const std::string_view last = m_source.line(block.lastLine);
        // A line of blanks is inside either way.
        const std::size_t indent = std::min(last.find_first_not_of(" \t"), last.size());
        if (indent == last.size()) return;
        const std::size_t column = block.begin - m_source.lineStart(block.firstLine);
        const bool outside =
            block.quoted ? last[indent] != '>' : m_items > 0 && indent + 1 < column;
        if (outside) --block.lastLine;
    }

    const SourceText& m_source;
    std::size_t m_lines;
    std::vector<MarkdownBlock> m_blocks;
    std::size_t m_quotes = 0;
    std::size_t m_items = 0;
    std::size_t m_pictures = 0;
    std::optional<std::size_t> m_heading; ///< The block of the heading that is open.
};

} // namespace

MarkdownTree markdownTree(const SourceText& source, std::size_t firstLine) {
    MarkdownTree tree;
    std::size_t lines = source.lineCount();
    if (source.text().size() > kMostRead) {
        lines = source.lineAt(kMostRead); // None, where the first line is as long.
        tree.cut = source.lineStart(lines);
    }
    if (lines <= firstLine) return tree;
    // The library marks in tables of its own, common to all parsers, what its extensions look for.
    static std::mutex oneAtATime;
    const std::lock_guard lock(oneAtATime);
    cmark_gfm_core_extensions_ensure_registered();
    const auto document = parsed(readable(source, firstLine, lines));
    tree.blocks = BlockReader(source, lines).read(document.get());
    return tree;
}

std::string_view markdownVersion() {
    return cmark_version_string();
}

} // namespace trevix
