#include "text/unicode.h"

#include "text/special_casing.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstring>

namespace kelvane::text {

namespace {

constexpr std::int32_t kNoCodePoint = -1; // a byte that is not part of well-formed UTF-8
constexpr std::int32_t kDottedCapitalI = 0x0130;

struct Decoded {
    std::int32_t codePoint;
    std::size_t length; // in bytes; 1 for a byte that is not UTF-8
};

constexpr bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

// The code point that begins at the front of a text that is not empty.
Decoded decodeFront(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return {static_cast<std::int32_t>(lead), 1};

    // The second byte's range is what excludes overlong forms, surrogates and everything past
    // U+10FFFF; the later bytes are plain continuations.
    std::size_t length = 0;
    unsigned lowest = 0x80;
    unsigned highest = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) lowest = 0xA0;
        if (lead == 0xED) highest = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) lowest = 0x90;
        if (lead == 0xF4) highest = 0x8F;
    }
    if (length == 0 || text.size() < length) return {kNoCodePoint, 1};
    if (byte(1) < lowest || byte(1) > highest) return {kNoCodePoint, 1};

    unsigned value = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return {kNoCodePoint, 1};
        value = (value << 6) | (byte(i) & 0x3FU);
    }
    return {static_cast<std::int32_t>(value), length};
}

std::size_t encode(std::int32_t codePoint, char* out) {
    return static_cast<std::size_t>(
        utf8proc_encode_char(codePoint, reinterpret_cast<utf8proc_uint8_t*>(out)));
}

void append(std::string& out, std::int32_t codePoint) {
    std::array<char, 4> bytes{};
    out.append(bytes.data(), encode(codePoint, bytes.data()));
}

constexpr char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

// The length in bytes of the character at the front of a text that is not empty.
std::size_t frontCharacterLength(std::string_view text) {
    Decoded current = decodeFront(text);
    std::size_t length = current.length;
    if (current.codePoint == kNoCodePoint) return length;
    utf8proc_int32_t state = 0;
    while (length < text.size()) {
        const Decoded next = decodeFront(text.substr(length));
        if (next.codePoint == kNoCodePoint) break;
        if (utf8proc_grapheme_break_stateful(current.codePoint, next.codePoint, &state)) break;
        length += next.length;
        current = next;
    }
    return length;
}

struct Cut {
    std::size_t characters;
    std::size_t bytes;
};

// Walks over at most `limit` characters.
Cut walk(std::string_view text, std::size_t limit) {
    Cut cut{0, 0};
    while (cut.characters < limit && cut.bytes < text.size()) {
        // Between two ASCII characters there is always a boundary, but for CR LF; so most text
        // needs no look at the tables. What follows the last of a run may still belong to it.
        while (cut.characters < limit && cut.bytes + 1 < text.size() && isAscii(text[cut.bytes]) &&
               isAscii(text[cut.bytes + 1]) && text[cut.bytes] != '\r') {
            ++cut.bytes;
            ++cut.characters;
        }
        if (cut.characters == limit) break;
        cut.bytes += frontCharacterLength(text.substr(cut.bytes));
        ++cut.characters;
    }
    return cut;
}

bool isBlank(std::int32_t codePoint) {
    return codePoint == ' ' || codePoint == '\t';
}

bool isWhitespaceOrNewline(std::int32_t codePoint) {
    if (codePoint < 0x80) return codePoint == ' ' || (codePoint >= 0x09 && codePoint <= 0x0D);
    if (codePoint == 0x85) return true;
    const auto category = utf8proc_category(codePoint);
    return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP;
}

// The code point that ends at the back of a text that is not empty.
Decoded decodeBack(std::string_view text) {
    for (std::size_t length = std::min<std::size_t>(4, text.size()); length > 1; --length) {
        const Decoded candidate = decodeFront(text.substr(text.size() - length));
        if (candidate.codePoint != kNoCodePoint && candidate.length == length) return candidate;
    }
    const Decoded single = decodeFront(text.substr(text.size() - 1));
    return {single.codePoint, 1};
}

template <typename Predicate>
std::string_view trimmed(std::string_view text, Predicate strip) {
    while (!text.empty()) {
        const Decoded front = decodeFront(text);
        if (!strip(front.codePoint)) break;
        text.remove_prefix(front.length);
    }
    while (!text.empty()) {
        const Decoded back = decodeBack(text);
        if (!strip(back.codePoint)) break;
        text.remove_suffix(back.length);
    }
    return text;
}

} // namespace

bool isValidUtf8(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    while (!text.empty()) {
        while (text.size() >= sizeof(std::uint64_t)) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, text.data(), sizeof eight);
            if ((eight & kHighBits) != 0) break;
            text.remove_prefix(sizeof eight);
        }
        if (text.empty()) break;
        const Decoded front = decodeFront(text);
        if (front.codePoint == kNoCodePoint) return false;
        text.remove_prefix(front.length);
    }
    return true;
}

std::size_t characterCount(std::string_view text) {
    return walk(text, text.size()).characters;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    // No character is shorter than a byte.
    if (count >= text.size()) return text;
    return text.substr(0, walk(text, count).bytes);
}

void LowercaseBytes::Iterator::readNext() {
    m_index = 0;
    m_length = 0;
    if (m_rest.empty()) return;
    if (isAscii(m_rest.front())) {
        m_bytes[0] = asciiLower(m_rest.front());
        m_length = 1;
        m_rest.remove_prefix(1);
        return;
    }
    const Decoded front = decodeFront(m_rest);
    std::size_t length = 1;
    if (front.codePoint == kNoCodePoint) {
        m_bytes[0] = m_rest.front();
    } else if (front.codePoint == kDottedCapitalI) {
        length = encode('i', m_bytes.data());
        length += encode(0x0307, m_bytes.data() + length);
    } else {
        length = encode(utf8proc_tolower(front.codePoint), m_bytes.data());
    }
    m_length = static_cast<std::uint8_t>(length);
    m_rest.remove_prefix(front.length);
}

std::string lowercased(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : LowercaseBytes(text)) out.push_back(c);
    return out;
}

std::string uppercased(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        if (isAscii(text.front())) {
            out.push_back(asciiUpper(text.front()));
            text.remove_prefix(1);
            continue;
        }
        const Decoded front = decodeFront(text);
        if (front.codePoint == kNoCodePoint) {
            out.push_back(text.front());
        } else {
            const auto special =
                std::lower_bound(kSpecialUppercase.begin(), kSpecialUppercase.end(),
                                 front.codePoint, [](const SpecialUppercase& entry, auto wanted) {
                                     return entry.codePoint < wanted;
                                 });
            if (special != kSpecialUppercase.end() && special->codePoint == front.codePoint) {
                for (const auto codePoint : special->mapping) {
                    if (codePoint != 0) append(out, codePoint);
                }
            } else {
                append(out, utf8proc_toupper(front.codePoint));
            }
        }
        text.remove_prefix(front.length);
    }
    return out;
}

std::string_view trimmedWhitespaceAndNewlines(std::string_view text) {
    return trimmed(text, isWhitespaceOrNewline);
}

std::string_view trimmedBlanks(std::string_view text) {
    return trimmed(text, isBlank);
}

} // namespace kelvane::text
