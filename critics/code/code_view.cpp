#include "critics/code/code_view.h"

#include "critics/findings/letters.h"

#include <algorithm>

namespace trevix {

namespace {

// Past this the text is no program that somebody wrote, and copies of the stack would cost.
constexpr std::size_t kDeepestForBranches = 4096;
constexpr std::size_t kMostFaults = 200;
constexpr std::ptrdiff_t kLookDown = 8;

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
    directive = trimmed(directive.substr(1));
    std::size_t end = 0;
    while (end < directive.size() && isAsciiLetter(directive[end])) ++end;
    return directive.substr(0, end);
}

} // namespace

CodeView::CodeView(const SourceText& text, Language ofText)
    : source(text),
      language(ofText),
      tokens(tokensOf(text.text(), ofText)) {
    markLines();
    pairBrackets();
}

bool CodeView::is(std::size_t index, std::string_view text) const {
    return index < code.size() && code[index].length == text.size() &&
           code[index].kind != TokenKind::string && textOf(code[index]) == text;
}

bool CodeView::isKind(std::size_t index, TokenKind kind) const {
    return index < code.size() && code[index].kind == kind;
}

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

void CodeView::pairBrackets() {
    std::vector<std::size_t> open;
    std::vector<std::vector<std::size_t>> branches; // What was open at each "#if".
    std::vector<std::size_t> cases;                 // Shell: how much was open at each "case".
    const auto fault = [&](BracketFault::Kind kind, std::size_t opener, std::size_t closer) {
        if (faults.size() < kMostFaults) faults.push_back({kind, opener, closer});
    };
    for (const Token& token : tokens) {
        if (token.kind == TokenKind::comment) continue;
        const std::string_view text = textOf(token);
        if (token.kind == TokenKind::directive) {
            const std::string_view name = directiveName(text);
            if (name == "if" || name == "ifdef" || name == "ifndef") {
                branches.push_back(open.size() <= kDeepestForBranches ? open
                                                                      : std::vector<std::size_t>());
            } else if ((name == "else" || name == "elif") && !branches.empty()) {
                if (open.size() <= kDeepestForBranches) open = branches.back();
            } else if (name == "endif" && !branches.empty()) {
                branches.pop_back();
            }
            continue;
        }
        const std::size_t index = code.size();
        code.push_back(token);
        match.push_back(kNoToken);
        parent.push_back(open.empty() ? kNoToken : open.back());
        if (language == Language::shell && token.kind == TokenKind::identifier) {
            if (text == "case") cases.push_back(open.size());
            if (text == "esac" && !cases.empty()) cases.pop_back();
        }
        if (token.kind != TokenKind::mark) continue;
        // In a shell these are the names of a command and letters of patterns.
        if (language == Language::shell && (text == "[" || text == "]")) continue;
        if (opens(text)) {
            open.push_back(index);
            continue;
        }
        if (!closes(text)) continue;
        const auto limit = open.rbegin() + std::min(open.rend() - open.rbegin(), kLookDown);
        const auto partner = std::find_if(open.rbegin(), limit, [&](std::size_t opener) {
            return fit(textOf(code[opener]), text);
        });
        const bool inCase = !cases.empty() && open.size() <= cases.back();
        if (text == ")" && (inCase || (!cases.empty() && partner != open.rbegin()))) {
            continue; // The pattern of a case.
        }
        if (partner == limit) {
            if (open.empty()) {
                fault(BracketFault::Kind::neverOpened, kNoToken, index);
            } else {
                fault(BracketFault::Kind::mismatched, open.back(), index);
                open.pop_back();
            }
            continue;
        }
        if (partner != open.rbegin()) fault(BracketFault::Kind::mismatched, open.back(), index);
        match[index] = *partner;
        match[*partner] = index;
        open.erase(partner.base() - 1, open.end());
        parent[index] = open.empty() ? kNoToken : open.back();
    }
    for (const std::size_t opener : open) {
        fault(BracketFault::Kind::neverClosed, opener, kNoToken);
    }
}

std::vector<LogicalLine> CodeView::logicalLines() const {
    std::vector<LogicalLine> lines;
    std::size_t previous = kNoToken;
    for (std::size_t i = 0; i < code.size(); ++i) {
        const std::size_t line = lineOf(i);
        if (line == previous) continue;
        previous = line;
        if (parent[i] != kNoToken || lineInText[line] || closes(textOf(code[i]))) continue;
        if (i > 0 && is(i - 1, "\\")) continue; // Goes on from the line before.
        std::size_t indent = 0;
        for (const char c : source.line(line)) {
            if (c == ' ') {
                ++indent;
            } else if (c == '\t') {
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
