#include "text/letters.h"

#include "text/unicode.h"

#include <utf8proc.h>

namespace kelvane::text {

namespace {

constexpr std::int32_t kApostrophe = 0x2019;

utf8proc_category_t category(std::int32_t codePoint) {
    return utf8proc_category(codePoint);
}

} // namespace

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
        Decoded point = decodeFront(text.substr(i));
        const bool starts = isLetter(point.codePoint) || isDigit(point.codePoint);
        if (!starts) {
            i += point.length;
            continue;
        }
        Word word;
        word.offset = i;
        word.capitalised = isUpper(point.codePoint);
        while (i < end) {
            point = decodeFront(text.substr(i));
            if (isLetter(point.codePoint)) {
                ++word.letters;
                if (isUpper(point.codePoint)) ++word.upper;
            } else if (isDigit(point.codePoint)) {
                word.digits = true;
            } else if (point.codePoint == '\'' || point.codePoint == kApostrophe) {
                const std::size_t next = i + point.length;
                if (next >= end) break;
                const Decoded after = decodeFront(text.substr(next));
                if (!isLetter(after.codePoint)) break;
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
    return lowercased(a) == lowercased(b);
}

} // namespace kelvane::text
