// The tokens of code: which parts are code, which are text, and which are comments.
//
// One pass that knows the comments, strings and other literals of the languages, so that no rule
// mistakes a bracket in a string for a bracket. It is no compiler: every input has tokens, broken
// or not, and a literal that never ends simply ends with its line or with the text. Linear, pure.

#pragma once

#include "critics/code/code_language.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

enum class TokenKind {
    identifier, ///< Names and keywords.
    number,
    string,    ///< Any literal text, with its quotes.
    comment,   ///< With its marks.
    directive, ///< A line for the preprocessor, with its continuation lines.
    mark,      ///< Operators and brackets, the usual ones of several characters as one.
};

struct Token {
    TokenKind kind = TokenKind::mark;
    std::size_t offset = 0;
    std::size_t length = 0;

    [[nodiscard]] std::size_t end() const { return offset + length; }
};

[[nodiscard]] std::vector<Token> tokensOf(std::string_view text, Language language);

} // namespace trevix
