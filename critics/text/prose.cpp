#include "critics/text/prose.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

// A line that ends this early was ended on purpose: an address, a title, a signature.
constexpr std::size_t kShortLine = 45;
constexpr std::size_t kLongestCode = 2000; // Bytes between backquotes in running text.
constexpr std::size_t kMostClosers = 64;   // Marks behind the end of a sentence.

constexpr std::array<std::string_view, 62> kAbbreviations = {
    "e.g", "i.e", "etc",  "dr",  "mr",  "mrs",    "ms",  "prof", "st",  "vs",   "no",
    "nos", "fig", "figs", "eq",  "ca",  "approx", "inc", "ltd",  "co",  "corp", "jr",
    "sr",  "jan", "feb",  "mar", "apr", "jun",    "jul", "aug",  "sep", "sept", "oct",
    "nov", "dec", "mon",  "tue", "wed", "thu",    "fri", "sat",  "sun", "vol",  "vols",
    "ed",  "eds", "pp",   "al",  "cf",  "dept",   "est", "tel",  "bzw", "usw",  "z.b",
    "d.h", "u.a", "nr",   "str", "abs", "ggf",    "incl"};

bool isCloser(std::int32_t c) {
    return c == '"' || c == '\'' || c == ')' || c == ']' || c == '*' || c == '_' || c == 0x201D ||
           c == 0x2019 || c == 0xBB || c == 0x201C;
}

bool isOpener(std::int32_t c) {
    return c == '"' || c == '\'' || c == '(' || c == '[' || c == '*' || c == '_' || c == 0x201C ||
           c == 0x2018 || c == 0x201E || c == 0xAB;
}

bool isAbbreviation(std::string_view text, std::size_t begin, std::size_t stop) {
    std::size_t start = stop;
    while (start > begin && stop - start < 12) {
        const char c = text[start - 1];
        if (!text::isAsciiLetter(c) && c != '.' && (static_cast<unsigned char>(c) < 0x80)) break;
        --start;
    }
    const std::string word = text::lowerAscii(text.substr(start, stop - start));
    if (word.empty()) return false;
    if (word.size() == 1 && word != "i") return true; // An initial.
    if (word.find('.') != std::string::npos) return true;
    return std::find(kAbbreviations.begin(), kAbbreviations.end(), word) != kAbbreviations.end();
}

class SentenceScanner {
public:
    SentenceScanner(const Prose& prose, std::vector<Sentence>& sentences)
        : m_text(prose.masked),
          m_sentences(sentences) {}

    void scan(const Block& block, std::size_t index) {
        m_block = index;
        m_end = block.end;
        start(block.begin);
        bool inWord = false;
        bool wordCounts = false;
        std::size_t lineStart = block.begin;
        for (std::size_t i = block.begin; i < block.end;) {
            const text::Decoded point = text::decodeFront(m_text.substr(i));
            if (text::isSpace(point.codePoint)) {
                if (inWord && wordCounts) ++m_current.words;
                inWord = wordCounts = false;
                if (point.codePoint == '\n') {
                    if (endsLine(lineStart, i)) finish(i, i + 1, false);
                    lineStart = i + 1;
                }
                i += point.length;
                continue;
            }
            inWord = true;
            if (point.codePoint == kMasked || point.codePoint == text::kNoCodePoint ||
                text::isLetter(point.codePoint) || text::isDigit(point.codePoint)) {
                wordCounts = true;
            }
            const std::size_t next = i + point.length;
            if (const std::size_t stop = sentenceStop(point.codePoint, i, next); stop != 0) {
                if (wordCounts) ++m_current.words;
                inWord = wordCounts = false;
                finish(stop, stop, true);
                i = stop;
                continue;
            }
            i = next;
        }
        if (inWord && wordCounts) ++m_current.words;
        finish(block.end, block.end, false);
    }

private:
    void start(std::size_t at) {
        m_current = Sentence{};
        m_current.begin = at;
        m_current.block = m_block;
    }

    void finish(std::size_t end, std::size_t next, bool ended) {
        while (m_current.begin < end && isBlank(m_text[m_current.begin])) ++m_current.begin;
        while (end > m_current.begin && isBlank(m_text[end - 1])) --end;
        m_current.end = end;
        m_current.ended = ended;
        if (m_current.words > 0) m_sentences.push_back(m_current);
        start(next);
    }

    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    [[nodiscard]] bool endsLine(std::size_t lineStart, std::size_t lineEnd) const {
        const std::string_view line = m_text.substr(lineStart, lineEnd - lineStart);
        if (line.size() >= 2 && line.substr(line.size() - 2) == "  ") return true;
        if (!line.empty() && line.back() == '\\') return true;
        return line.size() < kShortLine;
    }

    /// Where the sentence ends that this mark closes, or 0 when it closes none.
    [[nodiscard]] std::size_t sentenceStop(std::int32_t c, std::size_t at, std::size_t next) const {
        const bool wide = c == 0x3002 || c == 0xFF01 || c == 0xFF1F;
        if (c != '.' && c != '!' && c != '?' && c != 0x2026 && !wide) return 0;
        std::size_t end = next;
        while (end < m_end && end - next < kMostClosers) {
            const text::Decoded point = text::decodeFront(m_text.substr(end));
            const bool mark =
                point.codePoint == '.' || point.codePoint == '!' || point.codePoint == '?';
            if (!isCloser(point.codePoint) && !mark) break;
            end += point.length;
        }
        if (wide || end >= m_end) return end;
        if (!text::isSpace(text::decodeFront(m_text.substr(end)).codePoint)) return 0;
        std::size_t after = end;
        while (after < m_end && isBlank(m_text[after])) ++after;
        if (after >= m_end) return end;
        if (c == '.' && end == next && isAbbreviation(m_text, m_current.begin, at)) return 0;
        text::Decoded follower = text::decodeFront(m_text.substr(after));
        while (isOpener(follower.codePoint) && after + follower.length < m_end) {
            after += follower.length;
            follower = text::decodeFront(m_text.substr(after));
        }
        return text::isLower(follower.codePoint) ? 0 : end;
    }

    std::string_view m_text;
    std::vector<Sentence>& m_sentences;
    Sentence m_current;
    std::size_t m_block = 0;
    std::size_t m_end = 0;
};

bool isAddressByte(char c) {
    return static_cast<unsigned char>(c) > ' ' && c != '<' && c != '>' && c != '"' && c != '`' &&
           c != kMasked;
}

std::size_t addressEnd(std::string_view text, std::size_t at) {
    std::size_t end = at;
    std::size_t open = 0;
    std::size_t close = 0;
    while (end < text.size() && isAddressByte(text[end])) {
        if (text[end] == '(') ++open;
        if (text[end] == ')' && ++close > open) break; // Closes what was open before the address.
        ++end;
    }
    constexpr std::string_view kTrailing = ".,;:!?'*_])";
    while (end > at && kTrailing.find(text[end - 1]) != std::string_view::npos) {
        if (text[end - 1] == ')' && open >= close) break;
        --end;
    }
    return end;
}

bool isMailByte(char c) {
    return text::isAsciiWord(c) || c == '.' || c == '-' || c == '+';
}

} // namespace

void mask(std::string& text, std::size_t offset, std::size_t length) {
    for (std::size_t i = offset; i < offset + length && i < text.size(); ++i) {
        if (text[i] != '\n' && text[i] != '\r') text[i] = kMasked;
    }
}

/// The length of "`name'", as old manuals quote names and files; 0 when it is none.
std::size_t oldQuoteLength(std::string_view text, std::size_t at) {
    constexpr std::size_t kLongest = 80; // Bytes: a name or a path.
    const std::string_view near = text.substr(at + 1, kLongest);
    const std::size_t close = near.find('\'');
    if (close == 0 || close == std::string_view::npos) return 0;
    // In code between backquotes an apostrophe stands beside brackets and letters.
    if (near.substr(0, close).find_first_of(" \t\r\n`()[]{}\"") != std::string_view::npos) return 0;
    const std::string_view behind = near.substr(close + 1, 1);
    const bool ends = behind.empty() ||
                      std::string_view(" \n\r\t.,;:)?!").find(behind[0]) != std::string_view::npos;
    return ends ? close + 2 : 0;
}

void maskCode(std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] != '`') {
            ++i;
            continue;
        }
        std::size_t ticks = i;
        while (ticks < text.size() && text[ticks] == '`') ++ticks;
        const std::size_t length = ticks - i;
        if (const std::size_t quote = length == 1 ? oldQuoteLength(text, i) : 0; quote > 0) {
            mask(text, i, quote);
            i += quote;
            continue;
        }
        // Code between backquotes stays within its paragraph.
        std::string_view near = std::string_view(text).substr(0, ticks + kLongestCode);
        near = near.substr(0, near.find("\n\n", ticks));
        std::size_t close = ticks;
        while (close < near.size()) {
            close = near.find('`', close);
            if (close == std::string_view::npos) break;
            std::size_t end = close;
            while (end < near.size() && near[end] == '`') ++end;
            if (end - close == length) break;
            close = end;
        }
        if (close < near.size()) {
            mask(text, i, close + length - i);
            i = close + length;
        } else {
            i = ticks;
        }
    }
}

void maskAddresses(std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        const bool wordStart = i == 0 || !text::isAsciiWord(text[i - 1]);
        if (wordStart && (c == 'h' || c == 'H' || c == 'w' || c == 'W' || c == 'f' || c == 'm')) {
            if (text::hasAt(text, i, "http://") || text::hasAt(text, i, "https://") ||
                text::hasAt(text, i, "www.") || text::hasAt(text, i, "ftp://") ||
                text::hasAt(text, i, "mailto:")) {
                const std::size_t end = addressEnd(text, i);
                mask(text, i, end - i);
                i = std::max(end, i + 1);
                continue;
            }
        }
        if (c == '@' && i > 0 && i + 1 < text.size() && isMailByte(text[i - 1]) &&
            text::isAsciiWord(text[i + 1])) {
            std::size_t start = i;
            while (start > 0 && i - start < 80 && isMailByte(text[start - 1])) --start;
            std::size_t end = i + 1;
            while (end < text.size() && isMailByte(text[end])) ++end;
            while (end > i && (text[end - 1] == '.' || text[end - 1] == '-')) --end;
            mask(text, start, end - start);
            i = std::max(end, i + 1);
            continue;
        }
        ++i;
    }
}

std::size_t listMarkerLength(std::string_view line) {
    std::size_t i = 0;
    if (line.substr(0, 3) == "•" || line.substr(0, 3) == "–") {
        i = 3;
    } else if (!line.empty() && (line[0] == '-' || line[0] == '*' || line[0] == '+')) {
        i = 1;
    } else {
        while (i < line.size() && text::isAsciiDigit(line[i]) && i < 4) ++i;
        if (i == 0 && !line.empty() && text::isAsciiLetter(line[0])) {
            i = 1;
            if (line.size() < 2 || line[1] != ')') return 0;
        }
        if (i == 0 || i > 3 || i >= line.size() || (line[i] != '.' && line[i] != ')')) return 0;
        ++i;
    }
    const std::size_t blank = i;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    return i > blank ? i : 0;
}

/// "  $ make", ">>> f(x)", "  x = g(y);": a line of a program or of a terminal amid plain text.
bool isCodeLine(std::string_view line, std::string_view content) {
    const bool indented = line.size() > content.size() && (line[0] == ' ' || line[0] == '\t');
    if (content.starts_with(">>> ") || content.starts_with("#include ")) return true;
    if (content.starts_with("$ ") && content.size() > 3 && !text::isAsciiDigit(content[2])) {
        return true;
    }
    if (!indented) return false;
    const char last = content.back();
    if (last == '{' || last == '}' || last == '\\') return true;
    if (last == ';' && content.find_first_of("()=[]") != std::string_view::npos) return true;
    return content.starts_with("# ") || content.starts_with("sudo ");
}

Prose plainProse(const SourceText& source) {
    Prose prose;
    prose.masked = std::string(source.text());
    Block current;
    bool open = false;
    const auto close = [&] {
        if (open) prose.blocks.push_back(current);
        open = false;
    };
    for (std::size_t i = 0; i < source.lineCount(); ++i) {
        const std::string_view line = source.line(i);
        const std::string_view content = text::trimmed(line);
        if (!content.empty() && line[0] == '>') {
            mask(prose.masked, source.lineStart(i), line.size());
        }
        const bool code = !content.empty() && isCodeLine(line, content);
        if (code) mask(prose.masked, source.lineStart(i), line.size());
        if (content.empty() || line[0] == '>' || code ||
            content.find_first_not_of("-=_*~# ") == std::string_view::npos) {
            close();
            continue;
        }
        const auto indent = static_cast<std::size_t>(content.data() - line.data());
        const bool item = listMarkerLength(content) > 0;
        const bool row = content[0] == '|' || std::count(line.begin(), line.end(), '\t') >= 2;
        if (item || (open && row != (current.kind == BlockKind::table))) close();
        if (!open) {
            current = Block{};
            current.begin = source.lineStart(i) + indent;
            current.kind = row    ? BlockKind::table
                           : item ? BlockKind::listItem
                                  : BlockKind::paragraph;
            if (item && !row) current.begin += listMarkerLength(content);
            open = true;
        }
        current.end = source.lineEnd(i);
    }
    close();
    maskCode(prose.masked);
    maskAddresses(prose.masked);
    return prose;
}

std::vector<Sentence> sentencesOf(const Prose& prose) {
    std::vector<Sentence> sentences;
    SentenceScanner scanner(prose, sentences);
    for (std::size_t i = 0; i < prose.blocks.size(); ++i) {
        const Block& block = prose.blocks[i];
        if (block.kind != BlockKind::table && block.begin < block.end) scanner.scan(block, i);
    }
    return sentences;
}

} // namespace trevix
