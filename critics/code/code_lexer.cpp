#include "critics/code/code_lexer.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

// Longer marks before those that they begin with, since the first that fits is taken.
constexpr std::array<std::string_view, 28> kMarks = {
    "===", "!==", "...", "<<=", ">>=", "==", "!=", "<=", ">=", "=>", "->", ":=", "+=", "-=",
    "*=",  "/=",  "%=",  "|=",  "&=",  "^=", "&&", "||", "::", "++", "--", "<<", "**", "?."};

// Behind these a value is expected, so "/" begins a regular expression and divides nothing.
constexpr std::array<std::string_view, 12> kBeforeRegex = {
    "return", "typeof", "case", "in", "of", "delete", "void", "throw", "if", "and", "or", "when"};

// One for all languages, since a selection is often too short to be sure of its language: where
// they differ is asked at the place where it matters. Nothing is an error here; whatever is not
// understood becomes a mark of one byte, so that each step gets further and every text comes to its
// end.
class Lexer {
public:
    Lexer(std::string_view text, Language language) : m_text(text), m_language(language) {}

    std::vector<Token> run() {
        startInsideComment();
        while (m_at < m_text.size()) step();
        return std::move(m_tokens);
    }

private:
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0';
    }
    [[nodiscard]] bool sees(std::string_view what) const {
        return m_text.compare(m_at, what.size(), what) == 0;
    }
    [[nodiscard]] bool is(Language language) const { return m_language == language; }

    void emit(TokenKind kind, std::size_t end) {
        end = std::min(end, m_text.size());
        m_tokens.push_back({kind, m_at, end - m_at});
        // What a "/" means depends on what stands before it, and a comment is nothing.
        if (kind != TokenKind::comment) m_last = m_tokens.size();
        m_at = end;
    }

    /// A selection may begin in the middle of a block comment.
    void startInsideComment() {
        if (!hasBraces(m_language) && !is(Language::css)) return;
        // 4000 bytes: a long comment at the head of a file.
        const std::size_t close = m_text.substr(0, 4000).find("*/");
        if (close == std::string_view::npos) return;
        const std::string_view before = m_text.substr(0, close);
        if (before.find("/*") != std::string_view::npos) return;
        // Only where the text begins as the inside of a comment does.
        if (text::trimmed(before).empty() || text::trimmed(before).front() == '*') {
            emit(TokenKind::comment, close + 2);
        }
    }

    void step() {
        const char c = peek();
        if (c == '\n') {
            ++m_at;
            m_lineHasCode = false;
            // The text of a heredoc begins with the next line, whatever else is on this one.
            skipHeredocs();
            return;
        }
        if (static_cast<unsigned char>(c) <= ' ') {
            ++m_at;
            return;
        }
        if (comment() || directive()) return;
        m_lineHasCode = true;
        if (literal()) return;
        if (text::isAsciiWord(c) || static_cast<unsigned char>(c) >= 0x80 || c == '$' || c == '@') {
            word();
            return;
        }
        // An escaped character of a shell is a word of it.
        if (c == '\\' && is(Language::shell) && peek(1) != '\n' && peek(1) != '\0') {
            emit(TokenKind::identifier, m_at + 2);
            return;
        }
        if (heredocStart()) return;
        for (const std::string_view mark : kMarks) {
            if (c == mark[0] && sees(mark)) {
                emit(TokenKind::mark, m_at + mark.size());
                return;
            }
        }
        emit(TokenKind::mark, m_at + 1);
    }

    [[nodiscard]] std::size_t lineEnd(std::size_t from) const {
        return std::min(m_text.find('\n', from), m_text.size());
    }

    [[nodiscard]] std::size_t behind(std::string_view what, std::size_t from) const {
        const std::size_t found = m_text.find(what, from);
        return found == std::string_view::npos ? m_text.size() : found + what.size();
    }

    bool comment() {
        const char c = peek();
        const bool slashes = hasBraces(m_language) || is(Language::unknown);
        if (c == '/' && peek(1) == '/' && slashes) {
            emit(TokenKind::comment, lineEnd(m_at));
            return true;
        }
        if (c == '/' && peek(1) == '*' && (slashes || is(Language::css) || is(Language::sql))) {
            emit(TokenKind::comment,
                 is(Language::rust) ? nestedCommentEnd() : behind("*/", m_at + 2));
            return true;
        }
        if (c == '#' && hashComments()) {
            // In a shell "#" begins a comment only at the beginning of a word: "$#" and "a#b" are
            // none.
            const bool start = m_at == 0 || static_cast<unsigned char>(m_text[m_at - 1]) <= ' ' ||
                               m_text[m_at - 1] == ';' || !is(Language::shell);
            if (start) {
                emit(TokenKind::comment, lineEnd(m_at));
                return true;
            }
        }
        if (c == '-' && peek(1) == '-' && is(Language::sql)) {
            emit(TokenKind::comment, lineEnd(m_at));
            return true;
        }
        if (c == '<' && sees("<!--") && is(Language::html)) {
            emit(TokenKind::comment, behind("-->", m_at + 4));
            return true;
        }
        if (is(Language::ruby) && sees("=begin") && !m_lineHasCode) {
            emit(TokenKind::comment, behind("\n=end", m_at));
            return true;
        }
        return false;
    }

    [[nodiscard]] bool hashComments() const {
        // "#[" is an attribute of PHP 8.
        return is(Language::python) || is(Language::ruby) || is(Language::shell) ||
               is(Language::yaml) || (is(Language::php) && peek(1) != '[') ||
               (is(Language::unknown) && !m_lineHasCode);
    }

    // Comments nest in Rust.
    [[nodiscard]] std::size_t nestedCommentEnd() const {
        std::size_t depth = 0;
        for (std::size_t i = m_at; i + 1 < m_text.size(); ++i) {
            if (m_text[i] == '/' && m_text[i + 1] == '*') {
                ++depth;
                ++i;
            } else if (m_text[i] == '*' && m_text[i + 1] == '/') {
                ++i;
                if (--depth == 0) return i + 1;
            }
        }
        return m_text.size();
    }

    bool directive() {
        if (peek() != '#' || m_lineHasCode) return false;
        if (!is(Language::c) && !is(Language::cpp) && !is(Language::csharp)) return false;
        std::size_t end = lineEnd(m_at);
        // A directive goes on while its lines end with a backslash.
        while (end < m_text.size()) {
            std::size_t last = end;
            while (last > m_at && (m_text[last - 1] == '\r' || m_text[last - 1] == ' ')) --last;
            if (last == m_at || m_text[last - 1] != '\\') break;
            end = lineEnd(end + 1);
        }
        emit(TokenKind::directive, end);
        return true;
    }

    bool literal() {
        const char c = peek();
        switch (c) {
        case '"':
            doubleQuoted();
            return true;
        case '\'':
            return singleQuoted();
        case '`':
            return backQuoted();
        // Told from a division by what stands before it.
        case '/':
            return regex();
        case 'R':
            return is(Language::cpp) && peek(1) == '"' && rawCpp();
        case 'r':
        case 'b':
        case 'c':
            return is(Language::rust) && rawRust();
        default:
            return false;
        }
    }

    // In other languages a quote that its line does not close is a slip, and ends there.
    [[nodiscard]] bool spansLines() const {
        return is(Language::rust) || is(Language::shell) || is(Language::ruby) ||
               is(Language::php) || is(Language::sql) || is(Language::html);
    }

    void doubleQuoted() {
        if (sees("\"\"\"") &&
            (is(Language::python) || is(Language::java) || is(Language::csharp))) {
            emit(TokenKind::string, behindEscaped("\"\"\"", m_at + 3));
        } else if (is(Language::shell)) {
            emit(TokenKind::string, nestedEnd());
        } else if (is(Language::csharp) && m_at > 0 && m_text[m_at - 1] == '@') {
            emit(TokenKind::string, verbatimEnd());
        } else {
            quoted('"');
        }
    }

    /// A C# string with doubled quotes and no escapes.
    [[nodiscard]] std::size_t verbatimEnd() const {
        std::size_t i = m_at + 1;
        while (i < m_text.size()) {
            if (m_text[i] == '"' && (i + 1 >= m_text.size() || m_text[i + 1] != '"')) return i + 1;
            if (m_text[i] == '"') ++i;
            ++i;
        }
        return m_text.size();
    }

    bool singleQuoted() {
        switch (m_language) {
        case Language::python:
            if (sees("'''")) {
                emit(TokenKind::string, behindEscaped("'''", m_at + 3));
                return true;
            }
            quoted('\'');
            return true;
        // $'...' knows escapes, '...' does not.
        case Language::shell: {
            const bool escapes = m_at > 0 && m_text[m_at - 1] == '$';
            emit(TokenKind::string, escapes ? behindEscaped("'", m_at + 1) : behind("'", m_at + 1));
            return true;
        }
        case Language::rust:
        case Language::c:
        case Language::cpp:
        case Language::java:
        case Language::csharp:
        case Language::go:
            return character();
        default:
            quoted('\'');
            return true;
        }
    }

    /// 'x' or '\n'; a lone quote is a lifetime or a slip. 14 bytes hold the longest: '\U0010FFFF'
    /// and its quotes.
    bool character() {
        std::size_t i = m_at + 1;
        const std::size_t limit = std::min(m_text.size(), m_at + 14);
        if (i < limit && m_text[i] == '\\') {
            i += 2;
        } else if (i < limit) {
            i += text::decodeFront(m_text.substr(i)).length;
        }
        // In Rust 'a may be a lifetime, so only one character or an escape is taken for a literal.
        const bool longer = !is(Language::rust);
        while (i < limit && m_text[i] != '\'' && m_text[i] != '\n' &&
               (longer || m_text[m_at + 1] == '\\')) {
            ++i;
        }
        const bool closed = i < limit && m_text[i] == '\'';
        emit(closed ? TokenKind::string : TokenKind::mark, closed ? i + 1 : m_at + 1);
        return true;
    }

    /// To the closing quote. A quote that its line does not close ends with the line, or is an
    /// apostrophe when a letter stands before it.
    void quoted(char quote) {
        for (std::size_t i = m_at + 1; i < m_text.size(); ++i) {
            const char c = m_text[i];
            if (c == quote) {
                emit(TokenKind::string, i + 1);
                return;
            }
            // SQL doubles its quotes; a backslash is a character like any other. A backslash before
            // CR LF escapes both.
            if (c == '\\' && !is(Language::sql)) {
                if (i + 2 < m_text.size() && m_text[i + 1] == '\r') ++i;
                ++i;
            } else if (c == '\n' && !spansLines()) {
                const bool apostrophe = m_at > 0 && text::isAsciiLetter(m_text[m_at - 1]);
                emit(apostrophe ? TokenKind::mark : TokenKind::string, apostrophe ? m_at + 1 : i);
                return;
            }
        }
        // As at the end of a line.
        const bool apostrophe = m_at > 0 && text::isAsciiLetter(m_text[m_at - 1]);
        emit(apostrophe ? TokenKind::mark : TokenKind::string,
             apostrophe ? m_at + 1 : m_text.size());
    }

    [[nodiscard]] std::size_t behindEscaped(std::string_view what, std::size_t from) const {
        for (std::size_t i = from; i < m_text.size(); ++i) {
            if (m_text[i] == '\\') {
                ++i;
            } else if (m_text[i] == what[0] && m_text.compare(i, what.size(), what) == 0) {
                return i + what.size();
            }
        }
        return m_text.size();
    }

    bool backQuoted() {
        if (is(Language::go)) {
            emit(TokenKind::string, behind("`", m_at + 1));
            return true;
        }
        if (isScript(m_language)) {
            emit(TokenKind::string, nestedEnd());
            return true;
        }
        if (is(Language::shell) || is(Language::ruby) || is(Language::php)) {
            emit(TokenKind::string, behindEscaped("`", m_at + 1));
            return true;
        }
        return false;
    }

    /// The quote that closes the one at `at`, or `at` itself when there is none.
    [[nodiscard]] std::size_t closingQuote(std::size_t at, bool acrossLines) const {
        for (std::size_t i = at + 1; i < m_text.size(); ++i) {
            if (m_text[i] == m_text[at]) return i;
            if (m_text[i] == '\n' && !acrossLines) break;
        }
        return at;
    }

    /// The end of a text that may hold code which holds texts again: `a ${b(`c`)}` and "a $(b
    /// "c")".
    [[nodiscard]] std::size_t nestedEnd() const {
        // A stack of what is open, as one character each; texts nest as deep as they like without
        // recursion.
        std::string open(1, m_text[m_at]); // Quotes, and the brackets that code inside has open.
        for (std::size_t i = m_at + 1; i < m_text.size(); ++i) {
            const char c = m_text[i];
            const char inside = open.back();
            if (c == '\\') {
                ++i;
            } else if (inside == '`' || inside == '"') {
                const char codeBracket = inside == '`' ? '{' : '(';
                if (c == inside) {
                    open.pop_back();
                    if (open.empty()) return i + 1;
                } else if (c == '$' && i + 1 < m_text.size() && m_text[i + 1] == codeBracket) {
                    open += codeBracket;
                    ++i;
                }
            } else if (c == '\'') {
                // Which does not close at all is passed over as one character.
                i = closingQuote(i, is(Language::shell));
            } else if (c == '`' || c == '"') {
                if (c == '"' && isScript(m_language)) {
                    i = closingQuote(i, false);
                } else {
                    open += c;
                }
            } else if (c == inside) {
                open += c;
            } else if ((inside == '{' && c == '}') || (inside == '(' && c == ')')) {
                open.pop_back();
            }
        }
        return m_text.size();
    }

    bool regex() {
        if (!isScript(m_language) && !is(Language::ruby)) return false;
        if (m_last > 0) {
            const Token& last = m_tokens[m_last - 1];
            const std::string_view text = m_text.substr(last.offset, last.length);
            if (last.kind == TokenKind::number || last.kind == TokenKind::string) return false;
            // A name or a value before it, and it divides; a closing bracket too.
            if (last.kind == TokenKind::identifier &&
                std::find(kBeforeRegex.begin(), kBeforeRegex.end(), text) == kBeforeRegex.end()) {
                return false;
            }
            if (text == ")" || text == "]" || text == "}" || text == "++" || text == "<") {
                return false;
            }
        }
        bool set = false;
        // A "/" within "[...]" closes nothing. A line that does not close it has none.
        for (std::size_t i = m_at + 1; i < m_text.size() && m_text[i] != '\n'; ++i) {
            const char c = m_text[i];
            // 2000 bytes: no expression that is written by hand is as long.
            if (i - m_at > 2000) return false;
            if (c == '\\') {
                ++i;
            } else if (c == '[') {
                set = true;
            } else if (c == ']') {
                set = false;
            } else if (c == '/' && !set) {
                emit(TokenKind::string, i + 1);
                return true;
            }
        }
        return false;
    }

    bool rawCpp() {
        // A delimiter has at most 16 characters.
        const std::size_t open = m_text.substr(m_at, 20).find('(');
        if (open == std::string_view::npos) return false;
        const std::string close = ")" + std::string(m_text.substr(m_at + 2, open - 2)) + "\"";
        emit(TokenKind::string, behind(close, m_at + open + 1));
        return true;
    }

    bool rawRust() {
        std::size_t i = m_at;
        // "for" and "expr" end in letters that are prefixes elsewhere.
        if (m_at > 0 && text::isAsciiWord(m_text[m_at - 1])) return false;
        while (i < m_text.size() && i - m_at < 2 &&
               (m_text[i] == 'b' || m_text[i] == 'r' || m_text[i] == 'c'))
            ++i;
        if (m_text[i - 1] != 'r') return false;
        std::size_t hashes = 0;
        while (i + hashes < m_text.size() && m_text[i + hashes] == '#') ++hashes;
        if (i + hashes >= m_text.size() || m_text[i + hashes] != '"') return false;
        emit(TokenKind::string, behind("\"" + std::string(hashes, '#'), i + hashes + 1));
        return true;
    }

    void word() {
        std::size_t i = m_at;
        const bool number = text::isAsciiDigit(peek());
        const bool separators = is(Language::cpp) || is(Language::c);
        while (i < m_text.size()) {
            const char c = m_text[i];
            const bool inside = text::isAsciiWord(c) || static_cast<unsigned char>(c) >= 0x80 ||
                                c == '$' || c == '@' ||
                                (number && c == '.' && i + 1 < m_text.size() &&
                                 text::isAsciiDigit(m_text[i + 1])) ||
                                (number && c == '\'' && separators && i + 1 < m_text.size() &&
                                 text::isAsciiWord(m_text[i + 1]));
            if (!inside) break;
            // "$(" and "${" are marks; a name may only hold the sign.
            if ((c == '$' || c == '@') && i > m_at) break;
            ++i;
        }
        emit(number ? TokenKind::number : TokenKind::identifier, i);
    }

    /// "<<EOF", "<<-'EOF'", "<<~SQL": the text begins in the next line.
    bool heredocStart() {
        if ((!is(Language::shell) && !is(Language::ruby)) || !sees("<<")) return false;
        std::size_t i = m_at + 2;
        if (i < m_text.size() && m_text[i] == '<') { // "<<<" gives a word, not lines.
            emit(TokenKind::mark, m_at + 3);
            return true;
        }
        const bool indented = i < m_text.size() && (m_text[i] == '-' || m_text[i] == '~');
        if (indented) ++i;
        if (is(Language::ruby) && !indented) return false; // "list << ITEM"
        while (is(Language::shell) && i < m_text.size() && m_text[i] == ' ') ++i;
        const char quote = i < m_text.size() ? m_text[i] : '\0';
        const bool quotes = quote == '\'' || quote == '"';
        if (quotes) ++i;
        const std::size_t start = i;
        while (i < m_text.size() && text::isAsciiWord(m_text[i])) ++i;
        if (i == start || text::isAsciiDigit(m_text[start])) return false;
        m_heredocs.emplace_back(m_text.substr(start, i - start));
        if (quotes && i < m_text.size() && m_text[i] == quote) ++i;
        emit(TokenKind::mark, i);
        return true;
    }

    void skipHeredocs() {
        // Several may have been announced in one line; their texts follow in that order.
        for (const std::string_view end : m_heredocs) {
            std::size_t at = m_at;
            while (at < m_text.size()) {
                const std::size_t stop = lineEnd(at);
                const std::string_view line = text::trimmed(m_text.substr(at, stop - at));
                // A heredoc that does not end takes the rest of the text.
                at = std::min(stop + 1, m_text.size());
                if (line == end) break;
            }
            if (at > m_at) emit(TokenKind::string, at);
        }
        m_heredocs.clear();
    }

    std::string_view m_text;
    Language m_language;
    std::size_t m_at = 0;
    std::size_t m_last = 0; ///< One more than the index of the last token that is no comment.
    bool m_lineHasCode = false;
    std::vector<std::string_view> m_heredocs;
    std::vector<Token> m_tokens;
};

} // namespace

std::vector<Token> tokensOf(std::string_view text, Language language) {
    return Lexer(text, language).run();
}

} // namespace trevix
