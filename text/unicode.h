// UTF-8 text: decoding, repairing, measuring, cutting and changing case.
//
// A "character" is what a reader perceives as one: an extended grapheme cluster, which may be many
// code points and more bytes. All text is UTF-8. Bytes that are not UTF-8 never make a call fail:
// each such byte counts as one character and is left as it is by case changes. A sequence that is
// cut short, overlong, a surrogate or past U+10FFFF is such bytes, every one of them.
//
// Everything here is pure; any thread may call it.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace kelvane::text {

/// Whether the bytes are well-formed UTF-8 (no overlong forms, no surrogates, nothing past
/// U+10FFFF).
[[nodiscard]] bool isValidUtf8(std::string_view text);

inline constexpr std::int32_t kNoCodePoint = -1;

/// What stands at the front of a text.
struct Decoded {
    std::int32_t codePoint = kNoCodePoint; ///< That for a byte that is no part of UTF-8.
    std::size_t length = 0;                ///< In bytes; 1 for such a byte.

    bool operator==(const Decoded&) const = default;
};

/// Precondition: the text is not empty.
[[nodiscard]] Decoded decodeFront(std::string_view text);

/// The UTF-8 of Latin-1 text, which every byte string is.
[[nodiscard]] std::string fromLatin1(std::string_view bytes);

/// One byte for each code point up to U+00FF, a question mark for every other one and for each byte
/// that is not UTF-8.
[[nodiscard]] std::string toLatin1(std::string_view text);

/// Text of another program that may mean either: `bytes` themselves when they are UTF-8, otherwise
/// read as Latin-1.
[[nodiscard]] std::string utf8FromOutside(std::string_view bytes);

/// Well-formed UTF-8 made of these bytes: U+FFFD stands for each byte that is not UTF-8, and one
/// for all of a sequence that breaks off.
[[nodiscard]] std::string repairedUtf8(std::string_view bytes);

/// Lower case for A-Z only: identifiers and protocols, never text that people read.
[[nodiscard]] constexpr char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
[[nodiscard]] std::string lowerAscii(std::string_view text);

/// The number of characters.
[[nodiscard]] std::size_t characterCount(std::string_view text);

/// The first `count` characters, or the whole text when it is not longer. A view into `text`; stops
/// reading as soon as the cut is found.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Lower case by the full Unicode mapping, independent of locale and of the letters around ("Σ" is
/// "σ" also at the end of a word).
[[nodiscard]] std::string lowercased(std::string_view text);

/// Upper case by the full Unicode mapping, independent of locale ("ß" becomes "SS").
[[nodiscard]] std::string uppercased(std::string_view text);

/// Without Unicode white space and line breaks at both ends.
[[nodiscard]] std::string_view trimmedWhitespaceAndNewlines(std::string_view text);

/// Without blanks and tabs at both ends; line breaks stay.
[[nodiscard]] std::string_view trimmedBlanks(std::string_view text);

/// The bytes of `lowercased(text)` one after the other, for a search that may not allocate. Looks
/// into `text`, which must outlive it and its iterators.
class LowercaseBytes {
public:
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = char;

        Iterator() = default;

        [[nodiscard]] char operator*() const { return m_bytes[m_index]; }
        Iterator& operator++() {
            if (++m_index == m_length) readNext();
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator& other) const {
            return m_rest.size() == other.m_rest.size() && m_length == other.m_length &&
                   m_index == other.m_index;
        }

    private:
        friend class LowercaseBytes;
        explicit Iterator(std::string_view rest) : m_rest(rest) { readNext(); }
        void readNext();

        std::string_view m_rest;       // what follows the code point whose bytes stand in m_bytes
        std::array<char, 4> m_bytes{}; // one code point in lower case
        std::uint8_t m_length = 0;     // zero at the end
        std::uint8_t m_index = 0;
    };

    explicit LowercaseBytes(std::string_view text) : m_text(text) {}

    [[nodiscard]] Iterator begin() const { return Iterator(m_text); }
    [[nodiscard]] Iterator end() const { return Iterator(m_text.substr(m_text.size())); }

private:
    std::string_view m_text;
};

} // namespace kelvane::text
