#include "service/report/html_text.h"

#include "text/unicode.h"

#include <cstdint>
#include <cstdio>

namespace trevix {

namespace {

bool misleads(std::int32_t c) {
    // Code points that show nothing or turn what follows around: controls, the soft hyphen, marks
    // of direction, joiners without width, tags. Left in, a text could look like another one; a
    // reader of its code would be shown something that no compiler reads.
    return (c >= 0x80 && c < 0xa0) || c == 0xad || c == 0x61c || c == 0x200b || c == 0x200e ||
           c == 0x200f || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) ||
           c == 0xfeff || (c >= 0xfff0 && c <= 0xfffb) || (c >= 0xe0000 && c <= 0xe0fff);
}

std::string shown(std::int32_t c, std::string_view sequence) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    case '\n':
    case '\t':
        return std::string(sequence);
    // U+2421 and the block before it are pictures of the control characters.
    case 0x7f:
        return "\u2421";
    default:
        break;
    }
    if (c < 0x20) { // U+2400 + c
        return {static_cast<char>(0xe2), static_cast<char>(0x90), static_cast<char>(0x80 + c)};
    }
    if (misleads(c)) {
        char name[24];
        std::snprintf(name, sizeof name, "⟨U+%04X⟩", static_cast<unsigned>(c));
        return name;
    }
    return std::string(sequence);
}

} // namespace

std::string htmlText(std::string_view text) {
    std::string html;
    // Escapes make few texts longer by more.
    html.reserve(text.size() + text.size() / 8);
    while (!text.empty()) {
        const auto front = kelvane::text::decodeFront(text);
        // One for each byte that is no UTF-8, so that damage is seen where it is.
        html += front.codePoint == kelvane::text::kNoCodePoint
                    ? "\ufffd"
                    : shown(front.codePoint, text.substr(0, front.length));
        text.remove_prefix(front.length);
    }
    return html;
}

} // namespace trevix
