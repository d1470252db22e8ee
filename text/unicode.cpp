#include "text/unicode.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstring>

namespace kelvane::text {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::int32_t kDottedCapitalI = 0x0130;

constexpr bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

std::size_t encode(std::int32_t codePoint, char* out) {
    return static_cast<std::size_t>(
        utf8proc_encode_char(codePoint, reinterpret_cast<utf8proc_uint8_t*>(out)));
}

void append(std::string& out, std::int32_t codePoint) {
    std::array<char, 4> bytes{};
    out.append(bytes.data(), encode(codePoint, bytes.data()));
}

// The code points that become several in upper case are those that become several when case is
// folded in full, but for capitals ("İ", "ẞ"), which are upper case already. What they are folded
// to is in lower case; each of those letters has a capital of its own.
void appendUppercase(std::string& out, std::int32_t codePoint) {
    constexpr std::size_t kLongestFolding = 3; // By the Unicode standard; "ΐ" is one.
    std::array<utf8proc_int32_t, kLongestFolding> folded{};
    const auto count = utf8proc_category(codePoint) == UTF8PROC_CATEGORY_LU
                           ? 1
                           : utf8proc_decompose_char(codePoint, folded.data(), kLongestFolding,
                                                     UTF8PROC_CASEFOLD, nullptr);
    if (count < 2) return append(out, utf8proc_toupper(codePoint));
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        append(out, utf8proc_toupper(folded[i]));
    }
}

constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

// How many bytes at the front of a text, which is no code point, are the beginning of one that
// breaks off: as many as some other bytes could complete, at least one.
std::size_t brokenPieceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t whole = lead >= 0xF0 && lead <= 0xF4   ? 4
                              : lead >= 0xE0 && lead <= 0xEF ? 3
                              : lead >= 0xC2 && lead <= 0xDF ? 2
                                                             : 1;
    std::size_t length = 1;
    for (; length < whole && length < text.size(); ++length) {
        // Only the second byte is ever restricted, and it is there already: any continuation does.
        std::array<char, 4> trial{};
        trial.fill('\x80');
        text.copy(trial.data(), length + 1);
        if (decodeFront({trial.data(), whole}).codePoint == kNoCodePoint) break;
    }
    return length;
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

Decoded decodeFront(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) return {lead, 1};
    constexpr std::size_t kLongestSequence = 4;
    utf8proc_int32_t codePoint = kNoCodePoint;
    const auto length = utf8proc_iterate(
        reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
        static_cast<utf8proc_ssize_t>(std::min(text.size(), kLongestSequence)), &codePoint);
    if (length < 1) return {kNoCodePoint, 1};
    return {codePoint, static_cast<std::size_t>(length)};
}

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

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) append(text, static_cast<unsigned char>(c));
    return text;
}

std::string toLatin1(std::string_view text) {
    constexpr std::int32_t kLast = 0xFF;
    std::string bytes;
    bytes.reserve(text.size());
    while (!text.empty()) {
        const Decoded front = decodeFront(text);
        const bool has = front.codePoint != kNoCodePoint && front.codePoint <= kLast;
        bytes.push_back(has ? static_cast<char>(front.codePoint) : '?');
        text.remove_prefix(front.length);
    }
    return bytes;
}

std::string utf8FromOutside(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : fromLatin1(bytes);
}

std::string repairedUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Decoded front = decodeFront(bytes);
        const bool broken = front.codePoint == kNoCodePoint;
        const std::size_t length = broken ? brokenPieceLength(bytes) : front.length;
        text += broken ? kReplacement : bytes.substr(0, length);
        bytes.remove_prefix(length);
    }
    return text;
}

std::string lowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = lowerAscii(c);
    return lower;
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
        m_bytes[0] = lowerAscii(m_rest.front());
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
            appendUppercase(out, front.codePoint);
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
