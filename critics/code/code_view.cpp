#include "critics/code/code_view.h"

#include "text/letters.h"

#include <algorithm>

namespace trevix {

namespace text = kelvane::text;

namespace {

// One slip throws all brackets behind it off: more faults tell nothing new.
constexpr std::size_t kMostFaults = 200;
// How far down the open brackets a partner is looked for; further off it is another's.
constexpr int kLookDown = 8;

bool opens(std::string_view text) {
    return text == "(" || text == "[" || text == "{";
}
bool closes(std::string_view text) {
    return text == ")" || text == "]" || text == "}";
}

bool fit(std::string_view opener, std::string_view closer) {
    return (opener == "(" && closer == ")") || (opener == "[" && closer == "]") ||
           (opener == "{" && closer == "}");
}

std::string_view directiveName(std::string_view directive) {
    directive = text::trimmed(directive.substr(1));
    std::size_t end = 0;
    while (end < directive.size() && text::isAsciiLetter(directive[end])) ++end;
    return directive.substr(0, end);
}

} // namespace

/// Fills `code`, `match`, `parent` and `faults`. The brackets that are open are a chain: each
/// opener has the one below it as its parent, so that remembering and going back to what was open
/// at an
/// "#if" costs nothing, however much that was.
class CodeView::BracketPairer {
public:
    explicit BracketPairer(CodeView& view) : m_view(view) {}

    void pairAll() {
        for (const Token& token : m_view.tokens) {
            if (token.kind == TokenKind::directive) {
                branch(directiveName(m_view.textOf(token)));
            } else if (token.kind != TokenKind::comment) {
                read(token);
            }
        }
        reportOpen();
    }

private:
    /// What is open: the innermost opener, and how many there are.
    struct Open {
        std::size_t top = kNoToken;
        std::size_t depth = 0;
    };

    /// Each branch of an "#if" begins with what was open in front of it.
    void branch(std::string_view name) {
        if (name == "if" || name == "ifdef" || name == "ifndef") {
            m_branches.push_back(m_open);
        } else if ((name == "else" || name == "elif") && !m_branches.empty()) {
            // So that "if (a) {" in one branch and "if (b) {" in the other open one block and not
            // two.
            m_open = m_branches.back();
        } else if (name == "endif" && !m_branches.empty()) {
            m_branches.pop_back();
        }
    }

    void read(const Token& token) {
        const std::string_view text = m_view.textOf(token);
        const std::size_t index = m_view.code.size();
        m_view.code.push_back(token);
        m_view.match.push_back(kNoToken);
        m_view.parent.push_back(m_open.top);
        const bool shell = m_view.language == Language::shell;
        if (shell && token.kind == TokenKind::identifier) {
            // The patterns of a case are closed by brackets that nothing opens.
            if (text == "case") m_cases.push_back(m_open.depth);
            if (text == "esac" && !m_cases.empty()) m_cases.pop_back();
        }
        if (token.kind != TokenKind::mark) return;
        // In a shell these are the names of a command and letters of patterns.
        if (shell && (text == "[" || text == "]")) return;
        if (opens(text)) {
            m_open = {index, m_open.depth + 1};
        } else if (closes(text)) {
            close(index, text);
        }
    }

    void close(std::size_t index, std::string_view text) {
        const Open partner = partnerOf(text);
        // As deep as where the case began, so not within brackets inside of it.
        const bool inCase = !m_cases.empty() && m_open.depth <= m_cases.back();
        const bool innermost = partner.top != kNoToken && partner.top == m_open.top;
        if (text == ")" && (inCase || (!m_cases.empty() && !innermost))) {
            return; // The pattern of a case.
        }
        if (partner.top == kNoToken) {
            if (m_open.top == kNoToken) {
                fault(BracketFault::Kind::neverOpened, kNoToken, index);
            } else {
                // Takes the innermost for the one that was meant, or every bracket behind it would
                // be off.
                fault(BracketFault::Kind::mismatched, m_open.top, index);
                m_open = below(m_open);
            }
            return;
        }
        // What lies in between was left open.
        if (!innermost) fault(BracketFault::Kind::mismatched, m_open.top, index);
        m_view.match[index] = partner.top;
        m_view.match[partner.top] = index;
        m_open = below(partner);
        // A closing bracket belongs to what the pair stands in.
        m_view.parent[index] = m_open.top;
    }

    [[nodiscard]] Open below(const Open& open) const {
        return {m_view.parent[open.top], open.depth - 1};
    }

    /// The innermost opener that fits, or none.
    [[nodiscard]] Open partnerOf(std::string_view closer) const {
        Open open = m_open;
        for (int steps = 0; steps < kLookDown && open.top != kNoToken; ++steps) {
            if (fit(m_view.textOf(m_view.code[open.top]), closer)) return open;
            open = below(open);
        }
        return {};
    }

    void fault(BracketFault::Kind kind, std::size_t opener, std::size_t closer) {
        if (m_view.faults.size() < kMostFaults) m_view.faults.push_back({kind, opener, closer});
    }

    void reportOpen() {
        // From the outermost, as they stand in the text.
        std::vector<std::size_t> openers;
        for (Open open = m_open; open.top != kNoToken; open = below(open)) {
            openers.push_back(open.top);
        }
        for (auto opener = openers.rbegin(); opener != openers.rend(); ++opener) {
            fault(BracketFault::Kind::neverClosed, *opener, kNoToken);
        }
    }

    CodeView& m_view;
    Open m_open;
    std::vector<Open> m_branches;     ///< What was open at each "#if".
    std::vector<std::size_t> m_cases; ///< Shell: how much was open at each "case".
};

CodeView::CodeView(const SourceText& text, Language ofText)
    : source(text),
      language(ofText),
      tokens(tokensOf(text.text(), ofText)) {
    markLines();
    BracketPairer(*this).pairAll();
}

bool CodeView::is(std::size_t index, std::string_view text) const {
    return index < code.size() && code[index].length == text.size() &&
           code[index].kind != TokenKind::string && textOf(code[index]) == text;
}

bool CodeView::isKind(std::size_t index, TokenKind kind) const {
    return index < code.size() && code[index].kind == kind;
}

// Both lists are in order, so one walk through each is enough.
void CodeView::markLines() {
    lineInText.assign(source.lineCount(), false);
    std::size_t line = 0;
    for (const Token& token : tokens) {
        if (token.kind != TokenKind::string && token.kind != TokenKind::comment) continue;
        while (line + 1 < source.lineCount() && source.lineStart(line + 1) <= token.offset) ++line;
        while (line + 1 < source.lineCount() && source.lineStart(line + 1) < token.end()) {
            lineInText[++line] = true;
        }
    }
}

std::vector<std::pair<std::size_t, std::size_t>> CodeView::documentation() const {
    std::vector<std::pair<std::size_t, std::size_t>> strings;
    if (language != Language::python) return strings;
    for (const LogicalLine& line : logicalLines()) {
        std::size_t first = line.first;
        // A prefix of the quotes is a token of its own.
        if (isKind(first, TokenKind::identifier) && isKind(first + 1, TokenKind::string) &&
            code[first].end() == code[first + 1].offset) {
            ++first;
        }
        if (!isKind(first, TokenKind::string)) continue;
        const std::string_view text = textOf(code[first]);
        if (text.starts_with("\"\"\"") || text.starts_with("'''")) {
            strings.emplace_back(code[first].offset, code[first].end());
        }
    }
    return strings;
}

std::vector<LogicalLine> CodeView::logicalLines() const {
    std::vector<LogicalLine> lines;
    std::size_t previous = kNoToken;
    for (std::size_t i = 0; i < code.size(); ++i) {
        const std::size_t line = lineOf(i);
        if (line == previous) continue;
        previous = line;
        // A line within brackets goes on with the one before, and one within a text has no
        // indentation of its own.
        if (parent[i] != kNoToken || lineInText[line] || closes(textOf(code[i]))) continue;
        if (i > 0 && is(i - 1, "\\")) continue; // Goes on from the line before.
        std::size_t indent = 0;
        for (const char c : source.line(line)) {
            if (c == ' ') {
                ++indent;
            } else if (c == '\t') {
                // Tabs count to the next eighth column, as Python has it.
                indent += 8 - indent % 8;
            } else {
                break;
            }
        }
        lines.push_back({i, indent, line});
    }
    return lines;
}

} // namespace trevix
