#include "service/postgres/sql_text.h"

#include "text/unicode.h"

#include <cstddef>

namespace trevix {

namespace {

constexpr char kEscape = '\x1a';
constexpr std::string_view kDigits = "0123456789abcdef";

int digit(char c) {
    const std::size_t at = kDigits.find(c);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

} // namespace

std::string toSqlText(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    while (!text.empty()) {
        const kelvane::text::Decoded front = kelvane::text::decodeFront(text);
        if (front.codePoint == kelvane::text::kNoCodePoint || front.codePoint == 0 ||
            front.codePoint == kEscape) {
            // All three are one byte long.
            const auto byte = static_cast<unsigned char>(text.front());
            kept += kEscape;
            kept += kDigits[byte >> 4U];
            kept += kDigits[byte & 0xfU];
            text.remove_prefix(1);
            continue;
        }
        kept += text.substr(0, front.length);
        text.remove_prefix(front.length);
    }
    return kept;
}

std::string fromSqlText(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == kEscape && i + 2 < text.size()) {
            const int high = digit(text[i + 1]);
            const int low = digit(text[i + 2]);
            if (high >= 0 && low >= 0) {
                plain += static_cast<char>(high * 16 + low);
                i += 2;
                continue;
            }
        }
        plain += text[i];
    }
    return plain;
}

} // namespace trevix
