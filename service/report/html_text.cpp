#include "service/report/html_text.h"

#include "text/unicode.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace trevix {

namespace {

std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xe0) return 2;
    return lead < 0xf0 ? 3 : 4;
}

std::uint32_t codePointOf(std::string_view sequence) {
    if (sequence.size() == 1) return static_cast<unsigned char>(sequence[0]);
    std::uint32_t value = static_cast<unsigned char>(sequence[0]) & (0x7fU >> sequence.size());
    for (const char c : sequence.substr(1)) {
        value = (value << 6U) | (static_cast<unsigned char>(c) & 0x3fU);
    }
    return value;
}

bool misleads(std::uint32_t c) {
    return (c >= 0x80 && c < 0xa0) || c == 0xad || c == 0x61c || c == 0x200b || c == 0x200e ||
           c == 0x200f || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) ||
           c == 0xfeff || (c >= 0xfff0 && c <= 0xfffb) || (c >= 0xe0000 && c <= 0xe0fff);
}

std::string shown(std::uint32_t c, std::string_view sequence) {
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
    html.reserve(text.size() + text.size() / 8);
    while (!text.empty()) {
        const std::string_view sequence =
            text.substr(0, sequenceLength(static_cast<unsigned char>(text.front())));
        if (kelvane::text::isValidUtf8(sequence)) {
            html += shown(codePointOf(sequence), sequence);
            text.remove_prefix(sequence.size());
        } else {
            html += "\ufffd";
            text.remove_prefix(1);
        }
    }
    return html;
}

} // namespace trevix
