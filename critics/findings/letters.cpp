#include "critics/findings/letters.h"

#include "text/unicode.h"

#include <utf8proc.h>

#include <algorithm>

namespace trevix {

namespace {

constexpr std::int32_t kApostrophe = 0x2019;

utf8proc_category_t category(std::int32_t codePoint) {
    return utf8proc_category(codePoint);
}

} // namespace

CodePoint codePointAt(std::string_view text, std::size_t offset) {
    const auto first = static_cast<unsigned char>(text[offset]);
    if (first < 0x80) return {first, 1, true};
    utf8proc_int32_t value = 0;
    const std::size_t left = std::min<std::size_t>(text.size() - offset, 4);
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + offset),
                         static_cast<utf8proc_ssize_t>(left), &value);
    if (length <= 0) return {first, 1, false};
    return {value, static_cast<std::size_t>(length), true};
}

CodePoint codePointBefore(std::string_view text, std::size_t offset) {
    const std::size_t earliest = offset >= 4 ? offset - 4 : 0;
    for (std::size_t start = offset; start-- > earliest;) {
        if ((static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U) continue;
        const CodePoint point = codePointAt(text, start);
        if (start + point.length == offset) return point;
        break;
    }
    return {static_cast<unsigned char>(text[offset - 1]), 1,
            static_cast<unsigned char>(text[offset - 1]) < 0x80};
}

bool isLetter(std::int32_t codePoint) {
    if (codePoint < 0x80) return isAsciiLetter(static_cast<char>(codePoint));
    switch (category(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
        return true;
    default:
        return false;
    }
}

bool isDigit(std::int32_t codePoint) {
    if (codePoint < 0x80) return isAsciiDigit(static_cast<char>(codePoint));
    return category(codePoint) == UTF8PROC_CATEGORY_ND;
}

bool isUpper(std::int32_t codePoint) {
    if (codePoint < 0x80) return codePoint >= 'A' && codePoint <= 'Z';
    return category(codePoint) == UTF8PROC_CATEGORY_LU;
}

bool isLower(std::int32_t codePoint) {
    if (codePoint < 0x80) return codePoint >= 'a' && codePoint <= 'z';
    return category(codePoint) == UTF8PROC_CATEGORY_LL;
}

bool isSpace(std::int32_t codePoint) {
    if (codePoint < 0x80) return codePoint == ' ' || (codePoint >= '\t' && codePoint <= '\r');
    if (codePoint == 0x85) return true;
    switch (category(codePoint)) {
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return true;
    default:
        return false;
    }
}

bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isAsciiWord(char c) {
    return isAsciiLetter(c) || isAsciiDigit(c) || c == '_';
}

char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = lowerAscii(c);
    return lower;
}

bool hasAt(std::string_view text, std::size_t offset, std::string_view word) {
    if (offset > text.size() || text.size() - offset < word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (lowerAscii(text[offset + i]) != word[i]) return false;
    }
    return true;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view word) {
    return hasAt(text, 0, word);
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r\n\f\v";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return text.substr(0, 0);
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::vector<Word> wordsIn(std::string_view text, std::size_t begin, std::size_t end) {
    std::vector<Word> words;
    text = text.substr(0, end);
    for (std::size_t i = begin; i < end;) {
        CodePoint point = codePointAt(text, i);
        const bool starts = point.valid && (isLetter(point.value) || isDigit(point.value));
        if (!starts) {
            i += point.length;
            continue;
        }
        Word word;
        word.offset = i;
        word.capitalised = isUpper(point.value);
        while (i < end) {
            point = codePointAt(text, i);
            if (!point.valid) break;
            if (isLetter(point.value)) {
                ++word.letters;
                if (isUpper(point.value)) ++word.upper;
            } else if (isDigit(point.value)) {
                word.digits = true;
            } else if (point.value == '\'' || point.value == kApostrophe) {
                const std::size_t next = i + point.length;
                if (next >= end) break;
                const CodePoint after = codePointAt(text, next);
                if (!after.valid || !isLetter(after.value)) break;
            } else {
                break;
            }
            i += point.length;
        }
        word.length = i - word.offset;
        words.push_back(word);
    }
    return words;
}

bool sameWord(std::string_view a, std::string_view b) {
    if (a == b) return true;
    bool ascii = true;
    for (const char c : a) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) return a.size() == b.size() && lowerAscii(a) == lowerAscii(b);
    return kelvane::text::lowercased(a) == kelvane::text::lowercased(b);
}

} // namespace trevix
