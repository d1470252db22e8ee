// Code as its rules read it: one text with its tokens, its brackets paired, its lines told apart.
//
// Built once, read by all rules, in time and memory linear in the length of the text, however deep
// its brackets are. The source must outlive it. Broken code has a view too; what does not pair is
// in `faults`.

#pragma once

#include "critics/code/code_lexer.h"
#include "critics/findings/finding_list.h"
#include "critics/findings/source_text.h"

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

constexpr std::size_t kNoToken = static_cast<std::size_t>(-1);

struct BracketFault {
    enum class Kind { mismatched, neverClosed, neverOpened };
    Kind kind = Kind::mismatched;
    std::size_t opener = kNoToken; ///< Index into `code`.
    std::size_t closer = kNoToken;
};

/// A line that begins a statement: not inside brackets, strings or comments.
struct LogicalLine {
    std::size_t first = 0; ///< Index into `code` of its first token.
    std::size_t indent = 0;
    std::size_t line = 0;
};

class CodeView {
public:
    CodeView(const SourceText& text, Language ofText);

    const SourceText& source;
    Language language;
    std::vector<Token> tokens;       ///< All of them.
    std::vector<Token> code;         ///< Without comments and directives.
    std::vector<std::size_t> match;  ///< For brackets in `code`, their partner, or kNoToken.
    std::vector<std::size_t> parent; ///< The opener of the brackets around each token of `code`.
    std::vector<BracketFault> faults;
    std::vector<bool> lineInText; ///< Lines that begin inside a string or comment.

    [[nodiscard]] std::string_view textOf(const Token& token) const {
        return source.text().substr(token.offset, token.length);
    }
    /// Whether `code[index]` exists, is no string, and reads so.
    [[nodiscard]] bool is(std::size_t index, std::string_view text) const;
    [[nodiscard]] bool isKind(std::size_t index, TokenKind kind) const;
    [[nodiscard]] std::size_t lineOf(std::size_t index) const {
        return source.lineAt(code[index].offset);
    }
    /// Begin and end of the strings that stand as statements of their own, in which Python
    /// documents what is around them; in the order of the text, empty in other languages.
    [[nodiscard]] std::vector<std::pair<std::size_t, std::size_t>> documentation() const;
    /// In languages that mean something by indentation; empty for others.
    [[nodiscard]] std::vector<LogicalLine> logicalLines() const;

private:
    class BracketPairer;

    void markLines();
};

} // namespace trevix
