// The kinds of characters, and the words of a text, for scanners that walk over UTF-8.
//
// Code points are those that `decodeFront` gives; kNoCodePoint, a byte that is not UTF-8, is no
// letter, digit or space. All pure; any thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kelvane::text {

[[nodiscard]] bool isLetter(std::int32_t codePoint); ///< Letters and the marks that belong to them.
[[nodiscard]] bool isDigit(std::int32_t codePoint);
[[nodiscard]] bool isUpper(std::int32_t codePoint);
[[nodiscard]] bool isLower(std::int32_t codePoint);
[[nodiscard]] bool isSpace(std::int32_t codePoint); ///< White space and line breaks.

[[nodiscard]] bool isAsciiDigit(char c);
[[nodiscard]] bool isAsciiLetter(char c);
[[nodiscard]] bool isAsciiWord(char c); ///< Letter, digit or underscore.
/// Whether `text` has `word` at `offset`, without regard to ASCII case. `word` is lower case.
[[nodiscard]] bool hasAt(std::string_view text, std::size_t offset, std::string_view word);
[[nodiscard]] bool startsWithIgnoringCase(std::string_view text, std::string_view word);
/// Without ASCII white space at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// A run of letters, digits and inner apostrophes.
struct Word {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::size_t letters = 0;
    std::size_t upper = 0;
    bool digits = false;      ///< At least one digit.
    bool capitalised = false; ///< Begins with an upper-case letter.

    [[nodiscard]] std::size_t end() const { return offset + length; }
    [[nodiscard]] bool allUpper() const { return letters > 0 && upper == letters; }
};

/// Every word between the two offsets, in order.
[[nodiscard]] std::vector<Word> wordsIn(std::string_view text, std::size_t begin, std::size_t end);

/// Whether two words are the same but for case, by Unicode.
[[nodiscard]] bool sameWord(std::string_view a, std::string_view b);

} // namespace kelvane::text
