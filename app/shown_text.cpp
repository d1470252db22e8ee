#include "app/shown_text.h"

#include "text/unicode.h"

namespace kelvane {

namespace {

constexpr std::string_view kFirstStrongIsolate = "\xE2\x81\xA8";
constexpr std::string_view kPopDirectionalIsolate = "\xE2\x81\xA9";
constexpr std::string_view kEllipsis = "…";

unsigned byteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
}

bool between(unsigned byte, unsigned first, unsigned last) {
    return byte >= first && byte <= last;
}

/// The bytes of the control character at `index`: U+0000 to U+001F, U+007F to U+009F, and the line
/// and paragraph separators. Zero when there is none.
std::size_t controlLength(std::string_view text, std::size_t index) {
    const unsigned byte = byteAt(text, index);
    if (byte < 0x20 || byte == 0x7F) return 1;
    if (byte == 0xC2 && between(byteAt(text, index + 1), 0x80, 0x9F)) return 2;
    if (byte == 0xE2 && byteAt(text, index + 1) == 0x80 &&
        between(byteAt(text, index + 2), 0xA8, 0xA9)) {
        return 3;
    }
    return 0;
}

/// U+202A to U+202E and U+2066 to U+2069: embeddings, overrides, isolates and their ends.
bool isDirectionControl(std::string_view text, std::size_t index) {
    if (byteAt(text, index) != 0xE2) return false;
    const unsigned second = byteAt(text, index + 1);
    const unsigned third = byteAt(text, index + 2);
    return (second == 0x80 && between(third, 0xAA, 0xAE)) ||
           (second == 0x81 && between(third, 0xA6, 0xA9));
}

/// Hebrew to Arabic Extended-A, the presentation forms, and the right-to-left blocks of the first
/// plane, told by their leading bytes.
bool hasRightToLeft(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned first = byteAt(text, i);
        const unsigned second = byteAt(text, i + 1);
        const unsigned third = byteAt(text, i + 2);
        const bool hebrewToNko = between(first, 0xD7, 0xDF) || (first == 0xD6 && second >= 0x90);
        const bool samaritanToArabic = first == 0xE0 && between(second, 0xA0, 0xA3);
        const bool presentationForms =
            first == 0xEF && ((second == 0xAC && third >= 0x9D) || between(second, 0xAD, 0xB7) ||
                              (second == 0xB9 && third >= 0xB0) || between(second, 0xBA, 0xBB));
        const bool firstPlane =
            first == 0xF0 && (second == 0x90 || second == 0x9E) && between(third, 0xA0, 0xBF);
        if (hebrewToNko || samaritanToArabic || presentationForms || firstPlane) return true;
    }
    return false;
}

/// As much of `text` as may be shown: so many characters and, since one character can be made of
/// any number of marks, so many bytes.
std::string_view beginning(std::string_view text) {
    auto kept = text::firstCharacters(text, kLongestShownText);
    constexpr std::size_t kMostBytes = kLongestShownText * 8;
    if (kept.size() <= kMostBytes) return kept;
    std::size_t end = kMostBytes;
    while (end > 0 && between(byteAt(kept, end), 0x80, 0xBF)) --end;
    return kept.substr(0, end);
}

std::string shown(std::string_view text, bool keepLineFeeds) {
    const auto kept = beginning(text);
    std::string result;
    result.reserve(kept.size() + kEllipsis.size());
    for (std::size_t i = 0; i < kept.size();) {
        if (keepLineFeeds && kept[i] == '\n') {
            result += kept[i++];
        } else if (const auto length = controlLength(kept, i)) {
            result += ' ';
            i += length;
        } else if (isDirectionControl(kept, i)) {
            i += 3;
        } else {
            result += kept[i++];
        }
    }
    if (kept.size() < text.size()) result += kEllipsis;
    return result;
}

} // namespace

std::string shownLine(std::string_view text) {
    return shown(text, false);
}

std::string shownParagraph(std::string_view text) {
    return shown(text, true);
}

std::string shownWithin(std::string_view text) {
    auto line = shownLine(text);
    if (!hasRightToLeft(line)) return line;
    return std::string(kFirstStrongIsolate) + line + std::string(kPopDirectionalIsolate);
}

} // namespace kelvane
