#include "text/shown_text.h"

#include "text/unicode.h"

#include <cstdint>

namespace kelvane::text {

namespace {

constexpr std::string_view kFirstStrongIsolate = "\xE2\x81\xA8";
constexpr std::string_view kPopDirectionalIsolate = "\xE2\x81\xA9";
constexpr std::string_view kEllipsis = "…";

bool between(std::int32_t codePoint, std::int32_t first, std::int32_t last) {
    return codePoint >= first && codePoint <= last;
}

/// The control characters of both sets, and the line and paragraph separators.
bool isControl(std::int32_t codePoint) {
    return between(codePoint, 0x00, 0x1F) || between(codePoint, 0x7F, 0x9F) ||
           between(codePoint, 0x2028, 0x2029);
}

/// Embeddings, overrides, isolates and their ends.
bool isDirectionControl(std::int32_t codePoint) {
    return between(codePoint, 0x202A, 0x202E) || between(codePoint, 0x2066, 0x2069);
}

/// Invisible letters of one direction or the other. Among writing from right to left they put its
/// punctuation in place; alone they turn a line that is not such writing.
bool isDirectionMark(std::int32_t codePoint) {
    return between(codePoint, 0x200E, 0x200F) || codePoint == 0x061C;
}

/// The blocks that Unicode keeps for writing from right to left: Hebrew to Arabic Extended-A, the
/// presentation forms, and those of the first supplementary plane.
bool isRightToLeft(std::int32_t codePoint) {
    if (isDirectionMark(codePoint)) return false;
    return between(codePoint, 0x0590, 0x08FF) || between(codePoint, 0xFB1D, 0xFDFF) ||
           between(codePoint, 0xFE70, 0xFEFF) || between(codePoint, 0x10800, 0x10FFF) ||
           between(codePoint, 0x1E800, 0x1EFFF);
}

bool hasRightToLeft(std::string_view text) {
    while (!text.empty()) {
        const Decoded front = decodeFront(text);
        if (isRightToLeft(front.codePoint)) return true;
        text.remove_prefix(front.length);
    }
    return false;
}

/// As much of `text` as may be shown: so many characters and, since one character can be made of
/// any number of marks, so many bytes.
std::string_view beginning(std::string_view text) {
    const auto kept = firstCharacters(text, kLongestShownText);
    constexpr std::size_t kMostBytes = kLongestShownText * 8;
    if (kept.size() <= kMostBytes) return kept;
    const auto isContinuation = [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
    };
    std::size_t end = kMostBytes;
    while (end > 0 && isContinuation(kept[end])) --end;
    return kept.substr(0, end);
}

std::string shown(std::string_view text, bool keepLineFeeds) {
    const auto cut = beginning(text);
    // Malformed bytes around one that is left out could be one of its kind together.
    const std::string kept = repairedUtf8(cut);
    const bool marksMatter = hasRightToLeft(kept);
    std::string result;
    result.reserve(kept.size() + kEllipsis.size());
    for (std::size_t i = 0; i < kept.size();) {
        const Decoded front = decodeFront(std::string_view(kept).substr(i));
        if (isControl(front.codePoint) && !(keepLineFeeds && front.codePoint == '\n')) {
            result += ' ';
        } else if (!isDirectionControl(front.codePoint) &&
                   (marksMatter || !isDirectionMark(front.codePoint))) {
            result.append(kept, i, front.length);
        }
        i += front.length;
    }
    if (cut.size() < text.size()) result += kEllipsis;
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

} // namespace kelvane::text
