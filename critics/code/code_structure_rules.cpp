// The shape of code: brackets, length, depth, code that never runs, indentation.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kMismatched = declared<WorkKind::code>("code.mismatched_bracket");
constexpr GradedRule kUnclosed = declared<WorkKind::code>("code.unclosed_bracket");
constexpr GradedRule kLongFunction = declared<WorkKind::code>("code.long_function");
constexpr GradedRule kNesting = declared<WorkKind::code>("code.deep_nesting");
constexpr GradedRule kDeadCode = declared<WorkKind::code>("code.dead_code", Severity::medium);
// "#if 0" is how C comments code out.
constexpr GradedRule kShutOff = declared<WorkKind::code>("code.dead_code", Severity::low);
constexpr GradedRule kMixedIndentation =
    declared<WorkKind::code>("code.mixed_indentation", Severity::low);
constexpr GradedRule kMixedPython =
    declared<WorkKind::code>("code.mixed_indentation", Severity::high);
constexpr GradedRule kLongLine = declared<WorkKind::code>("code.long_line");

// Where these come from stands with the rules in code_rule_table.h.
constexpr std::size_t kMostLinesInFunction = 80; // First line and closing brace included.
constexpr std::size_t kDeepestNesting = 6;       // Blocks.
constexpr std::size_t kLongestLine = 160;        // Characters.
constexpr std::size_t kLongestUnbroken = 80;     // Bytes; addresses and data cannot be wrapped.
constexpr std::size_t kMostMismatches = 3;       // One slip throws later brackets off as well.

bool checksBrackets(Language language) {
    switch (language) {
    case Language::unknown:
    case Language::html:
    case Language::yaml:
    case Language::json: // Has a stricter rule of its own.
    case Language::ruby: // Its literals take any brackets for quotes.
        return false;
    default:
        return true;
    }
}

constexpr std::array<std::string_view, 14> kControl = {
    "if",     "for",    "while", "switch",       "catch",  "foreach", "using",
    "return", "sizeof", "with",  "synchronized", "elseif", "lock",    "match"};

/// The opening brace of the body that belongs to the function word at `word`, or kNoToken.
std::size_t bodyOf(const CodeView& view, std::size_t word) {
    // 200 tokens: the longest list of parameters, with room.
    for (std::size_t i = word + 1; i < view.code.size() && i < word + 200; ++i) {
        // Only what stands beside the word: braces of default values are within brackets.
        if (view.parent[i] != view.parent[word]) continue;
        if (view.is(i, "{")) return i;
        if (view.is(i, ";") || view.is(i, "}")) return kNoToken;
    }
    return kNoToken;
}

/// Whether the brace opens the body of a function written "name(...) {".
bool opensFunction(const CodeView& view, std::size_t brace) {
    std::size_t i = brace;
    // Up to eight qualifiers may stand between the brackets and the brace: const, noexcept, a
    // return type.
    for (int steps = 0; i > 0 && steps < 8; ++steps) {
        --i;
        if (view.is(i, ")")) break;
        const bool qualifier = view.isKind(i, TokenKind::identifier) || view.is(i, "->") ||
                               view.is(i, "::") || view.is(i, ",");
        if (!qualifier) return false;
    }
    if (!view.is(i, ")") || view.match[i] == kNoToken || view.match[i] == 0) return false;
    const std::size_t name = view.match[i] - 1;
    return view.isKind(name, TokenKind::identifier) &&
           !text::isOneOf(view.textOf(view.code[name]), kControl);
}

void reportLongFunction(const CodeView& view, std::size_t first, std::size_t brace,
                        FindingList& findings) {
    const std::size_t close = view.match[brace];
    if (close == kNoToken) return;
    const std::size_t lines = view.lineOf(close) - view.lineOf(first) + 1;
    if (lines <= kMostLinesInFunction) return;
    const std::size_t start = view.code[first].offset;
    findings.add(kLongFunction, start, view.source.lineEnd(view.lineOf(first)) - start,
                 "begins a function of " + std::to_string(lines) + " lines");
}

void checkLongPythonFunctions(const CodeView& view, FindingList& findings) {
    const std::vector<LogicalLine> lines = view.logicalLines();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t first = lines[i].first;
        if (view.is(first, "async")) ++first;
        if (!view.is(first, "def")) continue;
        std::size_t end = i + 1;
        while (end < lines.size() && lines[end].indent > lines[i].indent) ++end;
        // The last line of the body is the one before the next statement that stands no deeper.
        const std::size_t count =
            view.lineOf(end < lines.size() ? lines[end].first - 1 : view.code.size() - 1) -
            lines[i].line + 1;
        if (count <= kMostLinesInFunction) continue;
        const std::size_t start = view.code[lines[i].first].offset;
        findings.add(kLongFunction, start, view.source.lineEnd(lines[i].line) - start,
                     "begins a function of " + std::to_string(count) + " lines");
        i = end - 1; // What is inside counts with it.
    }
}

/// The line that was asked for last, without the blanks at its ends: all braces of one line ask for
/// it, and a line can be as long as the text.
class LineText {
public:
    explicit LineText(const SourceText& source) : m_source(source) {}

    std::string_view at(std::size_t line) {
        if (line != m_line) m_text = text::trimmed(m_source.line(line));
        m_line = line;
        return m_text;
    }

private:
    const SourceText& m_source;
    std::size_t m_line = static_cast<std::size_t>(-1);
    std::string_view m_text;
};

bool opensBlock(const CodeView& view, std::size_t brace, LineText& lines) {
    if (brace == 0) return false;
    const std::size_t before = brace - 1;
    constexpr std::array<std::string_view, 7> kWords = {"else", "try",    "do",   "finally",
                                                        "loop", "unsafe", "catch"};
    if (view.is(before, ")") || view.is(before, "=>")) return true;
    if (!view.isKind(before, TokenKind::identifier)) return false;
    if (text::isOneOf(view.textOf(view.code[before]), kWords)) return true;
    if (view.language != Language::go && view.language != Language::rust) return false;
    // "for x := range xs {": the word that makes it a block stands at the start of the line.
    const std::string_view text = lines.at(view.lineOf(brace));
    return text.substr(0, 3) == "if " || text.substr(0, 4) == "for " ||
           text.substr(0, 6) == "match " || text.substr(0, 6) == "while " ||
           text.substr(0, 7) == "switch " || text.substr(0, 2) == "} ";
}

void checkPythonNesting(const CodeView& view, FindingList& findings) {
    std::vector<std::size_t> indents;
    bool reported = false;
    for (const LogicalLine& line : view.logicalLines()) {
        while (!indents.empty() && line.indent <= indents.back()) indents.pop_back();
        // Told once on the way down, and again only after at least half of it was left.
        if (indents.size() <= kDeepestNesting / 2) reported = false;
        if (indents.size() > kDeepestNesting && !reported) {
            reported = true;
            const std::size_t start = view.code[line.first].offset;
            findings.add(kNesting, start, view.source.lineEnd(line.line) - start,
                         "stands " + std::to_string(indents.size()) + " blocks deep");
        }
        constexpr std::array<std::string_view, 12> kOpeners = {
            "def",  "if",   "for",    "while", "with",    "try",
            "else", "elif", "except", "async", "finally", "match"};
        if (text::isOneOf(view.textOf(view.code[line.first]), kOpeners))
            indents.push_back(line.indent);
    }
}

constexpr std::array<std::string_view, 4> kLeavers = {"return", "throw", "raise", "panic"};

/// For each token the semicolon that ends the statement it is in, or kNoToken when where that ends
/// is not sure. What brackets hold is passed over. One pass from the back, so that no statement is
/// walked through twice.
class StatementEnds {
public:
    explicit StatementEnds(const CodeView& view)
        // One place more, so that what is behind the last token needs no special case.
        : m_stop(view.code.size() + 1, kNoToken),
          m_end(view.code.size(), kNoToken) {
        for (std::size_t i = view.code.size(); i-- > 0;) {
            const bool passedOver = view.match[i] != kNoToken && view.match[i] > i;
            const bool semicolon = view.is(i, ";");
            const bool stops = passedOver || semicolon || view.is(i, "}") || view.is(i, ")");
            m_stop[i] = stops ? i : m_stop[i + 1];
            if (semicolon) m_end[i] = i;
            // What brackets hold is passed over: the statement ends where it ends behind them.
            if (passedOver) m_end[i] = behind(view.match[i]);
        }
    }

    /// The end of a statement that goes on behind `token`.
    [[nodiscard]] std::size_t behind(std::size_t token) const {
        // Without brackets for so long it is data, or a language that ends statements otherwise.
        constexpr std::size_t kLongestStatement = 2000; // Tokens.
        const std::size_t stop = m_stop[token + 1];
        if (stop == kNoToken || stop - token >= kLongestStatement) return kNoToken;
        return m_end[stop];
    }

private:
    std::vector<std::size_t> m_stop; ///< The next mark that ends, breaks off or is passed over.
    std::vector<std::size_t> m_end;  ///< For such marks, the end that they lead to.
};

/// Whether the statement at `word` stands in its block by itself, not behind "if (x)".
bool standsAlone(const CodeView& view, std::size_t word) {
    if (word == 0) return false;
    return view.is(word - 1, ";") || view.is(word - 1, "{") || view.is(word - 1, "}");
}

/// Where the directives begin, in order.
std::vector<std::size_t> directivesOf(const CodeView& view) {
    std::vector<std::size_t> offsets;
    for (const Token& token : view.tokens) {
        if (token.kind == TokenKind::directive) offsets.push_back(token.offset);
    }
    return offsets;
}

bool anyBetween(const std::vector<std::size_t>& offsets, std::size_t begin, std::size_t end) {
    const auto first = std::lower_bound(offsets.begin(), offsets.end(), begin);
    return first != offsets.end() && *first < end;
}

void checkUnreachable(const CodeView& view, FindingList& findings) {
    // Words and marks that may stand behind a statement that leaves: the end of a block, the next
    // case, and declarations, which hold for the whole block.
    constexpr std::array<std::string_view, 11> kMayFollow = {
        "}",  "case",  "default", "function",    "break", "else",
        "]]", "class", "async",   "fallthrough", "var"};
    const StatementEnds ends(view);
    const std::vector<std::size_t> directives = directivesOf(view);
    for (std::size_t i = 1; i < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier)) continue;
        if (!view.is(i, "return") && !view.is(i, "throw")) continue;
        if (!standsAlone(view, i) || view.parent[i] == kNoToken) continue;
        const std::size_t end = ends.behind(i);
        if (end == kNoToken || end + 1 >= view.code.size()) continue;
        const std::size_t next = end + 1;
        if (text::isOneOf(view.textOf(view.code[next]), kMayFollow)) continue;
        if (view.isKind(next, TokenKind::identifier) && view.is(next + 1, ":")) continue; // Label.
        // An attribute, or an empty statement.
        if (view.is(next, "[") || view.is(next, ";") || view.is(next, "#")) continue;
        const std::size_t start = view.code[next].offset;
        // Between branches of an "#if" either may be the only one there.
        if (view.is(next, ")") || anyBetween(directives, view.code[i].offset, start)) continue;
        findings.add(kDeadCode, start, view.source.lineEnd(view.lineOf(next)) - start,
                     "is never reached, for the statement before leaves the block");
        i = end;
    }
}

/// Whether one word that says nothing of its own is all that stands on its line: "None", "False".
bool isPlainValue(const CodeView& view, std::size_t i) {
    const bool last = i + 1 >= view.code.size() || view.lineOf(i + 1) != view.lineOf(i);
    return last && (view.is(i, "None") || view.is(i, "True") || view.is(i, "False"));
}

void checkUnreachableByIndent(const CodeView& view, FindingList& findings) {
    const std::vector<LogicalLine> lines = view.logicalLines();
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        const std::size_t first = lines[i].first;
        if (!text::isOneOf(view.textOf(view.code[first]), kLeavers) || view.is(first, "panic"))
            continue;
        // An ordinary name in Python, as panic is.
        if (view.is(first, "throw")) continue;
        if (lines[i + 1].indent != lines[i].indent || lines[i].indent == 0) continue;
        const std::size_t next = lines[i + 1].first;
        // The line before may be open: "return a +" with a backslash.
        if (view.is(next - 1, "\\") || view.is(next, "yield")) continue;
        const std::size_t start = view.code[next].offset;
        // A lone way out behind another one does nothing that is missed.
        const bool nothing =
            view.is(next, "pass") || view.is(next, "break") || view.is(next, "continue") ||
            (view.is(next, "return") &&
             (view.lineOf(next) != view.lineOf(std::min(next + 1, view.code.size() - 1)) ||
              next + 1 == view.code.size() || isPlainValue(view, next + 1)));
        findings.add(nothing ? kShutOff : kDeadCode, start,
                     view.source.lineEnd(lines[i + 1].line) - start,
                     "is never reached, for the statement before leaves the block");
    }
}

void checkFalseConditions(const CodeView& view, FindingList& findings) {
    const auto isFalse = [&](std::size_t i) {
        return view.is(i, "false") || view.is(i, "0") || view.is(i, "False");
    };
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier)) continue;
        const bool loop = view.is(i, "while");
        if (!view.is(i, "if") && !view.is(i, "elif") && !loop) continue;
        const bool braces = view.is(i + 1, "(") && isFalse(i + 2) && view.is(i + 3, ")");
        // Python needs no brackets.
        const bool python =
            view.language == Language::python && isFalse(i + 1) && view.is(i + 2, ":");
        const bool bare = (view.language == Language::go || view.language == Language::rust) &&
                          view.is(i + 1, "false") && view.is(i + 2, "{");
        if (!braces && !python && !bare) continue;
        // "do { ... } while (0)" runs once.
        if (loop && i > 0 && (view.is(i - 1, "}") || view.is(i + 4, ";"))) continue;
        const std::size_t start = view.code[i].offset;
        // Python has no other way to put several lines aside, as C has its "#if 0".
        findings.add(python && !loop ? kShutOff : kDeadCode, start,
                     view.source.lineEnd(view.lineOf(i)) - start, "guards code that never runs");
    }
    for (const Token& token : view.tokens) {
        if (token.kind != TokenKind::directive) continue;
        const std::string_view text = text::trimmed(view.textOf(token));
        if (text == "#if 0" || text == "#if false") {
            findings.add(kShutOff, token.offset, token.length, "guards code that never runs");
        }
    }
}

} // namespace

void checkBrackets(const CodeView& view, FindingList& findings) {
    if (!checksBrackets(view.language)) return;
    std::size_t mismatches = 0;
    for (const BracketFault& fault : view.faults) {
        const std::size_t at = fault.closer != kNoToken ? fault.closer : fault.opener;
        const Token& token = view.code[at];
        const std::size_t line = view.source.lineAt(token.offset);
        const std::size_t stop = std::min(view.source.lineEnd(line), token.offset + 60);
        // At most 60 bytes of a line, which show where it is.
        const std::size_t length = std::max(stop - token.offset, token.length);
        switch (fault.kind) {
        case BracketFault::Kind::mismatched:
            if (++mismatches > kMostMismatches) return;
            findings.add(kMismatched, token.offset, token.length,
                         "closes the “" + std::string(view.textOf(view.code[fault.opener])) +
                             "” of " + view.source.place(view.code[fault.opener].offset));
            break;
        case BracketFault::Kind::neverClosed:
            // Where brackets close others, what is left over is their echo.
            if (mismatches > 0) break;
            findings.add(kUnclosed, token.offset, length, "opens a bracket that nothing closes");
            break;
        case BracketFault::Kind::neverOpened:
            if (mismatches > 0) break;
            findings.add(kUnclosed, token.offset, token.length,
                         "closes a bracket that nothing opens");
            break;
        }
    }
}

void checkLongFunctions(const CodeView& view, FindingList& findings) {
    if (view.language == Language::python) {
        checkLongPythonFunctions(view, findings);
        return;
    }
    if (!hasBraces(view.language)) return;
    const bool words = view.language == Language::go || view.language == Language::rust ||
                       isScript(view.language) || view.language == Language::php;
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        std::size_t brace = kNoToken;
        std::size_t first = i;
        // A function given to a call counts with what it is given to.
        const bool inCall = view.parent[i] != kNoToken && view.is(view.parent[i], "(");
        if (words && !inCall &&
            (view.is(i, "func") || view.is(i, "fn") || view.is(i, "function"))) {
            brace = bodyOf(view, i);
        } else if (view.is(i, "{") && !inCall && view.language != Language::go &&
                   view.language != Language::rust && opensFunction(view, i)) {
            brace = i;
            // Back to where its statement begins, for its return type and attributes; 60 tokens are
            // a long one.
            while (first > 0 && !view.is(first - 1, ";") && !view.is(first - 1, "}") &&
                   !view.is(first - 1, "{") && !view.is(first - 1, ":") && i - first < 60) {
                --first;
            }
        }
        if (brace == kNoToken || view.match[brace] == kNoToken) continue;
        reportLongFunction(view, first, brace, findings);
        // What is inside counts with it.
        i = view.match[brace];
    }
}

void checkNesting(const CodeView& view, FindingList& findings) {
    if (view.language == Language::python) {
        checkPythonNesting(view, findings);
        return;
    }
    if (!hasBraces(view.language)) return;
    LineText lines(view.source);
    std::vector<bool> blocks;
    std::size_t depth = 0;
    bool reported = false;
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (view.is(i, "{")) {
            const bool block = opensBlock(view, i, lines);
            blocks.push_back(block);
            if (block) ++depth;
            if (depth > kDeepestNesting && !reported) {
                reported = true;
                const std::size_t line = view.lineOf(i);
                const std::string_view text = lines.at(line);
                findings.add(
                    kNesting,
                    view.source.lineStart(line) +
                        static_cast<std::size_t>(text.data() - view.source.line(line).data()),
                    text.size(), "opens a block that is " + std::to_string(depth) + " blocks deep");
            }
        } else if (view.is(i, "}") && !blocks.empty()) {
            if (blocks.back()) --depth;
            // By the kind of the brace that opened, as initialisers close like blocks.
            blocks.pop_back();
            if (depth <= kDeepestNesting / 2) reported = false;
        }
    }
}

void checkDeadCode(const CodeView& view, FindingList& findings) {
    if (!hasStatements(view.language)) return;
    checkFalseConditions(view, findings);
    if (view.language == Language::python) {
        checkUnreachableByIndent(view, findings);
    } else if (hasBraces(view.language) && view.language != Language::go) {
        checkUnreachable(view, findings);
    }
}

void checkIndentation(const CodeView& view, FindingList& findings) {
    if (!hasStatements(view.language)) return;
    std::size_t tabs = 0;
    std::size_t blanks = 0;
    std::optional<std::size_t> firstTab;
    std::optional<std::size_t> firstBlank;
    std::optional<std::size_t> mixedLine;
    for (std::size_t i = 0; i < view.source.lineCount(); ++i) {
        const std::string_view line = view.source.line(i);
        if (view.lineInText[i] || line.empty() || text::trimmed(line).empty()) continue;
        const std::size_t indent = line.find_first_not_of(" \t");
        const std::string_view lead = line.substr(0, indent);
        if (lead.empty()) continue;
        // Python passes over the margin of a remark.
        if (view.language == Language::python && line[indent] == '#') continue;
        // A tab behind blanks looks different in every editor.
        if (lead.find(" \t") != std::string_view::npos && !mixedLine) mixedLine = i;
        if (lead[0] == '\t') {
            ++tabs;
            if (!firstTab) firstTab = i;
        } else if (lead.size() >= 8 || (lead.size() >= 2 && view.language == Language::python)) {
            // Elsewhere, up to seven blanks and then a tab for eight is a known style.
            ++blanks;
            if (!firstBlank) firstBlank = i;
        }
    }
    std::optional<std::size_t> where = mixedLine;
    // Whichever is rarer is told.
    if (!where && tabs > 0 && blanks > 0) where = tabs < blanks ? firstTab : firstBlank;
    if (!where) return;
    const GradedRule rule = view.language == Language::python ? kMixedPython : kMixedIndentation;
    findings.add(rule, view.source.lineStart(*where), view.source.line(*where).size(),
                 mixedLine ? "is indented with blanks and tabs at once"
                           : "is indented otherwise than the lines around it, which mix blanks "
                             "and tabs");
}

void checkLongLines(const CodeView& view, FindingList& findings) {
    if (!hasStatements(view.language)) return;
    for (std::size_t i = 0; i < view.source.lineCount(); ++i) {
        const std::string_view line = view.source.line(i);
        if (line.size() <= kLongestLine) continue;
        // A character has four bytes at most, so such a line is too long however it is counted, and
        // need not be.
        const std::size_t length =
            line.size() > 4 * kLongestLine ? line.size() : text::characterCount(line);
        if (length <= kLongestLine) continue;
        std::size_t unbroken = 0;
        std::size_t run = 0;
        for (const char c : line) {
            run = c == ' ' || c == '\t' ? 0 : run + 1;
            unbroken = std::max(unbroken, run);
        }
        // An address cannot be wrapped; a line of a thousand bytes is more than that.
        if (unbroken >= kLongestUnbroken && line.size() < 1000) continue;
        findings.add(kLongLine, view.source.lineStart(i), line.size(),
                     "is a line of " + std::to_string(length) + " characters");
    }
}

} // namespace trevix
