// Brackets, quotes, blanks around marks, and shouting.

#include "critics/text/prose_rules.h"
#include "critics/text/text_rule_table.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kUnclosed = declared<WorkKind::text>("text.unclosed_pair", Severity::medium);
constexpr GradedRule kShouting = declared<WorkKind::text>("text.shouting");
constexpr GradedRule kSpacing = declared<WorkKind::text>("text.spacing");

struct Open {
    std::int32_t mark;
    std::size_t offset;
};

bool blankAt(std::string_view text, std::size_t i) {
    return i >= text.size() || text[i] == ' ' || text[i] == '\n' || text[i] == '\t' ||
           text[i] == '\r';
}

/// A closing bracket that belongs to "a)", "12)", "iv)" or to a smiley.
bool closesNothingByRight(std::string_view text, std::size_t begin, std::size_t at) {
    if (at > begin) {
        const char before = text[at - 1];
        if (before == ':' || before == ';' || before == '=' || before == '8') return true;
        if (before == '-' && at > begin + 1 &&
            (text[at - 2] == ':' || text[at - 2] == ';' || text[at - 2] == '=')) {
            return true;
        }
    }
    std::size_t start = at;
    while (start > begin && at - start < 5 &&
           (text::isAsciiLetter(text[start - 1]) || text::isAsciiDigit(text[start - 1]))) {
        --start;
    }
    const std::size_t length = at - start;
    const bool alone = start == begin || blankAt(text, start - 1);
    if (!alone || length == 0 || length > 4) return false;
    const std::string marker = text::lowerAscii(text.substr(start, length));
    return length == 1 || marker.find_first_not_of("0123456789") == std::string::npos ||
           marker.find_first_not_of("ivx") == std::string::npos;
}

bool isSadFace(std::string_view text, std::size_t begin, std::size_t at) {
    if (at == begin || !blankAt(text, at + 1)) return false;
    const char before = text[at - 1];
    return before == ':' || before == ';' || before == '=' ||
           (before == '-' && at > begin + 1 && (text[at - 2] == ':' || text[at - 2] == ';'));
}

/// "[0, 1)" and "(0, 1]" are intervals.
bool isInterval(std::string_view inner) {
    if (inner.size() > 24 || inner.find(',') == std::string_view::npos) return false;
    return inner.find_first_of("([{") == std::string_view::npos;
}

class PairScanner {
    static constexpr std::size_t kMostCarried = 8; // Marks that stay open to the next block.

public:
    PairScanner(const ProseView& view, FindingList& findings)
        : m_text(view.masked()),
          m_findings(findings),
          // A manual quotes single marks and parts of code.
          m_rule(view.isTechnical() ? softened(kUnclosed) : kUnclosed),
          m_oneSentence(view.sentences.size() == 1) {}

    /// `goesOn`: the next block begins on the line behind this one, so that what is opened here may
    /// be closed there.
    void scan(const Block& block, const Block* next, bool goesOn) {
        m_begin = block.begin;
        m_end = block.end;
        // Marks of code that nothing closes: what stands between them is not known.
        m_unsure = m_unsure || m_text.substr(block.begin, block.end - block.begin).find('`') !=
                                   std::string_view::npos;
        const std::size_t before =
            block.begin == 0 ? std::string_view::npos
                             : m_text.find_last_not_of(" \t\r\n\xC2\xA0", block.begin - 1);
        m_followsMasked = before != std::string_view::npos && m_text[before] == kMasked;
        for (std::size_t i = block.begin; i < block.end;) {
            const auto byte = static_cast<unsigned char>(m_text[i]);
            if (byte < 0x80) {
                ascii(block, i);
                ++i;
            } else {
                const text::Decoded point = text::decodeFront(m_text.substr(i));
                if (point.codePoint != text::kNoCodePoint) quote(point.codePoint, i);
                i += point.length;
            }
        }
        std::vector<Open> carried;
        for (const Open& open : m_open) {
            const bool quote = open.mark == '"' || open.mark > 0x7F;
            if (m_unsure || (quote && quoteGoesOn(open, next))) continue;
            if (!quote && goesOn && carried.size() < kMostCarried) {
                carried.push_back(open);
            } else {
                report(open.offset, quote);
            }
        }
        m_open = std::move(carried);
        if (!goesOn) m_unsure = false;
    }

private:
    void ascii(const Block& block, std::size_t i) {
        const char c = m_text[i];
        if (c == '(' || c == '[') {
            if (c == '(' && isSadFace(m_text, m_begin, i)) return;
            m_open.push_back({c, i});
        } else if (c == ')' || c == ']') {
            close(c, i);
        } else if (c == '"') {
            straightQuote(block, i);
        }
    }

    void close(char c, std::size_t i) {
        const char opener = c == ')' ? '(' : '[';
        const char other = c == ')' ? '[' : '(';
        const auto match = recent([&](const Open& open) {
            return open.mark == opener || (open.mark == other && isInterval(between(open, i)));
        });
        if (match != m_open.rend()) {
            m_open.erase(match.base() - 1); // What was opened inside stays open to be reported.
            return;
        }
        if (c == ')' && closesNothingByRight(m_text, m_begin, i)) return;
        if (m_unsure) return;
        if (m_followsMasked) return; // It may have been opened in what was not read.
        reportStray(i);
    }

    [[nodiscard]] std::string_view between(const Open& open, std::size_t i) const {
        return m_text.substr(open.offset + 1, i - open.offset - 1);
    }

    /// The innermost open mark that fits, looking only so deep that no text can make it slow.
    template <typename Fits>
    std::vector<Open>::reverse_iterator recent(Fits fits) {
        constexpr std::ptrdiff_t kDeepest = 16;
        const auto limit = m_open.rbegin() + std::min(m_open.rend() - m_open.rbegin(), kDeepest);
        const auto found = std::find_if(m_open.rbegin(), limit, fits);
        return found == limit ? m_open.rend() : found;
    }

    /// "the " character", "(")": a mark that is spoken of.
    [[nodiscard]] bool isNamed(std::size_t i) const {
        const char before = i == 0 ? ' ' : m_text[i - 1];
        const std::string_view behind = m_text.substr(i + 1, 12);
        if (before == '(' && behind.starts_with(')')) return true;
        if (before != ' ' || !behind.starts_with(' ')) return false;
        constexpr std::array<std::string_view, 5> kMarks = {"character", "mark", "sign", "quote",
                                                            "key"};
        return std::any_of(kMarks.begin(), kMarks.end(), [&](std::string_view mark) {
            return behind.substr(1).starts_with(mark);
        });
    }

    void straightQuote(const Block& block, std::size_t i) {
        if (isNamed(i)) return;
        const auto open = recent([](const Open& entry) { return entry.mark == '"'; });
        const bool isOpen = open != m_open.rend();
        const bool afterDigit = i > block.begin && text::isAsciiDigit(m_text[i - 1]);
        if (isOpen) {
            m_open.erase(open.base() - 1);
        } else if (!afterDigit) { // 27" is a length.
            m_open.push_back({'"', i});
        }
    }

    void quote(std::int32_t c, std::size_t i) {
        const auto topIs = [&](std::int32_t mark) {
            return !m_open.empty() && m_open.back().mark == mark;
        };
        const auto drop = [&](std::int32_t mark) {
            const auto found = recent([&](const Open& open) { return open.mark == mark; });
            if (found == m_open.rend()) return false;
            m_open.erase(found.base() - 1);
            return true;
        };
        switch (c) {
        case 0x201E: // „
            m_open.push_back({c, i});
            break;
        case 0x201C: // “ opens in English and closes in German.
            if (topIs(0x201E)) {
                m_open.pop_back();
            } else {
                m_open.push_back({c, i});
            }
            break;
        case 0x201D: // ”
            if (!drop(0x201C)) drop(0x201E);
            break;
        case 0xAB: // « and » open and close each other, the way round that a language wants.
            if (!drop(0xBB)) m_open.push_back({c, i});
            break;
        case 0xBB:
            if (!drop(0xAB)) m_open.push_back({c, i});
            break;
        default:
            break;
        }
    }

    /// A quotation of several paragraphs opens its quote in each and closes it in the last.
    [[nodiscard]] bool quoteGoesOn(const Open& open, const Block* next) const {
        if (open.mark != '"' && open.mark < 0x80) return false;
        if (next == nullptr || next->begin >= next->end) return false;
        const text::Decoded first = text::decodeFront(m_text.substr(next->begin));
        return first.codePoint == open.mark;
    }

    void report(std::size_t at, bool quote) {
        m_findings.add(quote && m_oneSentence ? softened(m_rule) : m_rule, at, excerptLength(at),
                       "opens " + std::string(quote ? "a quote" : "a bracket") +
                           " that its paragraph never closes");
        m_reportedOpen = true;
    }

    void reportStray(std::size_t at) {
        // The end of what the paragraph before left open is the same slip.
        if (m_reportedOpen) {
            m_reportedOpen = false;
            return;
        }
        const std::size_t begin = at - std::min<std::size_t>(at - m_begin, 30);
        std::size_t start = begin;
        while (start < at && (static_cast<unsigned char>(m_text[start]) & 0xC0U) == 0x80U) ++start;
        // "… left.)": the end of a remark that began in a sentence before.
        const bool remark = m_oneSentence && at > 0 && at + 1 == m_end &&
                            std::string_view(".!?").find(m_text[at - 1]) != std::string_view::npos;
        m_findings.add(remark ? softened(m_rule) : m_rule, start, at + 1 - start,
                       "closes a bracket that its paragraph never opened");
    }

    [[nodiscard]] std::size_t excerptLength(std::size_t at) const {
        const std::string_view rest = m_text.substr(at, 60);
        const std::size_t line = rest.find('\n');
        return line == std::string_view::npos ? rest.size() : line;
    }

    std::string_view m_text;
    FindingList& m_findings;
    GradedRule m_rule;
    std::vector<Open> m_open;
    std::size_t m_begin = 0;
    std::size_t m_end = 0; // Of the block.
    // Alone, it may come from the middle of what somebody said.
    bool m_oneSentence;
    bool m_reportedOpen = false;
    bool m_unsure = false;
    bool m_followsMasked = false; // Code or an address stands right before the block.
};

constexpr std::array<std::string_view, 34> kEverydayWords = {
    "THE", "THIS", "THAT", "NOT", "DO",  "IS",  "ARE",  "YOU",    "YOUR", "NOW", "AND",  "FOR",
    "TO",  "OF",   "IN",   "ON",  "WE",  "ALL", "MUST", "WILL",   "READ", "IT",  "WITH", "NEVER",
    "BE",  "HAVE", "HAS",  "WAS", "OUR", "NO",  "IF",   "PLEASE", "ONLY", "STOP"};

bool hasSmallLetter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

/// A line in capitals that stands by itself is a title.
bool isTitleLine(const ProseView& view, std::size_t offset) {
    const std::size_t line = view.source.lineAt(offset);
    const auto blank = [&](std::size_t i) { return text::trimmed(view.source.line(i)).empty(); };
    const std::string_view own = view.source.line(line);
    if (own.size() > 80 || own.find('!') != std::string_view::npos) return false;
    const bool apart =
        line == 0 || blank(line - 1) || line + 1 >= view.source.lineCount() || blank(line + 1);
    return !hasSmallLetter(own) && apart;
}

void checkCapitals(const ProseView& view, FindingList& findings) {
    const std::string_view text = view.masked();
    std::size_t i = 0;
    std::size_t reportedEnd = 0; // Of the passage in capitals that was reported last.
    while (i < view.words.size()) {
        std::size_t end = i;
        std::size_t everyday = 0;
        std::size_t longWords = 0;
        while (end < view.words.size()) {
            const text::Word& word = view.words[end];
            if (!word.allUpper() || word.digits) break;
            if (end > i) {
                const text::Word& before = view.words[end - 1];
                const std::string_view gap = text.substr(before.end(), word.offset - before.end());
                if (gap != " " && gap != "\n" && gap != "\r\n") break;
            }
            const std::string_view own = view.wordText(end);
            if (std::find(kEverydayWords.begin(), kEverydayWords.end(), own) !=
                kEverydayWords.end()) {
                ++everyday;
            }
            if (word.letters >= 6) ++longWords;
            ++end;
        }
        if (end - i >= 4 && (everyday > 0 || longWords >= 2) &&
            !isTitleLine(view, view.words[i].offset)) {
            const std::size_t begin = view.words[i].offset;
            const bool samePassage = reportedEnd > 0 && begin - reportedEnd < 400 &&
                                     !hasSmallLetter(text.substr(reportedEnd, begin - reportedEnd));
            reportedEnd = view.words[end - 1].end();
            i = end;
            if (samePassage) continue;
            findings.add(kShouting, begin, reportedEnd - begin, "is written all in capitals");
        }
        i = std::max(end, i + 1);
    }
}

constexpr std::array<std::string_view, 40> kSentenceStarts = {
    "The",   "This",   "That", "It",  "We",   "You", "I",      "He",      "She",    "They",
    "In",    "On",     "At",   "If",  "When", "And", "But",    "So",      "Please", "Our",
    "Your",  "A",      "An",   "For", "To",   "As",  "There",  "However", "Then",   "Also",
    "After", "Before", "No",   "Yes", "Not",  "My",  "Thanks", "These",   "Each",   "With"};

/// The run of characters without a blank around `at`, at most 60 bytes to each side.
std::string_view chunkAround(std::string_view text, std::size_t at) {
    std::size_t begin = at;
    while (begin > 0 && at - begin < 60 && !blankAt(text, begin - 1)) --begin;
    std::size_t end = at;
    while (end - at < 60 && !blankAt(text, end)) ++end;
    return text.substr(begin, end - begin);
}

bool isPlainChunk(std::string_view chunk, char mark) {
    if (chunk.find_first_of("/\\@=_&#[]{}<>|$%*+^~\x01") != std::string_view::npos) return false;
    if (std::any_of(chunk.begin(), chunk.end(), text::isAsciiDigit)) return false;
    return std::count(chunk.begin(), chunk.end(), mark) == 1;
}

void checkMissingBlank(const ProseView& view, std::size_t left, FindingList& findings) {
    const text::Word& before = view.words[left];
    const text::Word& after = view.words[left + 1];
    const std::string_view text = view.masked();
    if (after.offset != before.end() + 1) return;
    const char mark = text[before.end()];
    if (mark != ',' && mark != ';' && mark != '.' && mark != '!' && mark != '?') return;
    if (before.digits || after.digits || before.letters < 2 || after.letters < 1) return;
    if (!isPlainChunk(chunkAround(text, before.end()), mark)) return;
    if (mark == '.') {
        const std::string_view starts = view.wordText(left + 1);
        if (before.upper > 0 || std::find(kSentenceStarts.begin(), kSentenceStarts.end(), starts) ==
                                    kSentenceStarts.end()) {
            return;
        }
    } else if (after.letters < 2) {
        return;
    }
    findings.add(kSpacing, before.offset, after.end() - before.offset,
                 std::string("has no blank behind “") + mark + "”");
}

void checkBlankBefore(const ProseView& view, std::size_t left, FindingList& findings) {
    const std::string_view text = view.masked();
    const std::size_t blank = view.words[left].end();
    if (blank + 1 >= text.size() || text[blank] != ' ') return;
    const char mark = text[blank + 1];
    const bool letterFollows = blank + 2 < text.size() && text::isAsciiLetter(text[blank + 2]);
    const bool comma = mark == ',' && (blankAt(text, blank + 2) || letterFollows);
    const bool stop = mark == '.' && blankAt(text, blank + 2);
    if (!comma && !stop) return;
    findings.add(kSpacing, view.words[left].offset, blank + 2 - view.words[left].offset,
                 std::string("has a blank in front of “") + mark + "”");
}

} // namespace

void checkPairs(const ProseView& view, FindingList& findings) {
    PairScanner scanner(view, findings);
    const std::vector<Block>& blocks = view.prose.blocks;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].kind == BlockKind::table) continue;
        const bool last = i + 1 == blocks.size();
        const bool goesOn =
            !last && blocks[i + 1].kind != BlockKind::table &&
            view.source.lineAt(blocks[i + 1].begin) == view.source.lineAt(blocks[i].end) + 1;
        scanner.scan(blocks[i], last ? nullptr : &blocks[i + 1], goesOn);
    }
}

void checkShouting(const ProseView& view, FindingList& findings) {
    checkCapitals(view, findings);
    const std::string_view text = view.masked();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '!' && text[i] != '?') continue;
        std::size_t end = i;
        std::size_t exclamations = 0;
        while (end < text.size() && (text[end] == '!' || text[end] == '?')) {
            if (text[end] == '!') ++exclamations;
            ++end;
        }
        const bool afterWord = i > 0 && !blankAt(text, i - 1);
        if (end - i >= 3 && afterWord && exclamations > 0) {
            std::size_t begin = i;
            while (begin > 0 && i - begin < 40 && text::isAsciiLetter(text[begin - 1])) --begin;
            findings.add(kShouting, begin, end - begin, "shouts with its marks");
        }
        i = end - 1;
    }
}

void checkSpacing(const ProseView& view, FindingList& findings) {
    for (std::size_t i = 0; i < view.words.size(); ++i) {
        if (i + 1 < view.words.size()) checkMissingBlank(view, i, findings);
        checkBlankBefore(view, i, findings);
    }
}

} // namespace trevix
