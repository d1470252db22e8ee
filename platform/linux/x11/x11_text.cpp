#include "platform/linux/x11/x11_text.h"

#include <cstddef>

namespace kelvane {

bool isUtf8(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        std::size_t more = 0;
        char32_t point = 0;
        char32_t least = 0;
        if (lead < 0x80) {
            ++i;
            continue;
        }
        if (lead >= 0xC2 && lead < 0xE0) {
            more = 1;
            point = lead & 0x1FU;
            least = 0x80;
        } else if (lead >= 0xE0 && lead < 0xF0) {
            more = 2;
            point = lead & 0x0FU;
            least = 0x800;
        } else if (lead >= 0xF0 && lead < 0xF5) {
            more = 3;
            point = lead & 0x07U;
            least = 0x10000;
        } else {
            return false;
        }
        if (bytes.size() - i <= more) return false;
        for (std::size_t k = 1; k <= more; ++k) {
            const auto next = static_cast<unsigned char>(bytes[i + k]);
            if ((next & 0xC0U) != 0x80U) return false;
            point = (point << 6U) | (next & 0x3FU);
        }
        if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
        i += more + 1;
    }
    return true;
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text.push_back(c);
        } else {
            text.push_back(static_cast<char>(0xC0U | (byte >> 6U)));
            text.push_back(static_cast<char>(0x80U | (byte & 0x3FU)));
        }
    }
    return text;
}

std::string utf8FromOutside(std::string_view bytes) {
    return isUtf8(bytes) ? std::string(bytes) : fromLatin1(bytes);
}

std::string lowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

} // namespace kelvane
