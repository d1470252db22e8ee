#include "text/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace kelvane::text {

namespace {

constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What a byte of encoded text is; values below 64 are a letter's six bits.
constexpr std::uint8_t kPadding = 64;
constexpr std::uint8_t kSpace = 65;
constexpr std::uint8_t kForeign = 66;

constexpr std::array<std::uint8_t, 256> kKinds = [] {
    std::array<std::uint8_t, 256> kinds{};
    kinds.fill(kForeign);
    for (std::size_t i = 0; i < kLetters.size(); ++i) {
        kinds[static_cast<unsigned char>(kLetters[i])] = static_cast<std::uint8_t>(i);
    }
    kinds['='] = kPadding;
    for (const char space : {' ', '\t', '\n', '\v', '\f', '\r'}) {
        kinds[static_cast<unsigned char>(space)] = kSpace;
    }
    return kinds;
}();

std::uint8_t kindOf(char c) {
    return kKinds[static_cast<unsigned char>(c)];
}

} // namespace

std::string base64(std::string_view bytes) {
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
    };
    std::string out((bytes.size() + 2) / 3 * 4, '=');
    std::size_t in = 0;
    std::size_t at = 0;
    for (; in + 3 <= bytes.size(); in += 3) {
        const std::uint32_t group = byte(in) << 16 | byte(in + 1) << 8 | byte(in + 2);
        out[at++] = kLetters[group >> 18];
        out[at++] = kLetters[group >> 12 & 63U];
        out[at++] = kLetters[group >> 6 & 63U];
        out[at++] = kLetters[group & 63U];
    }
    const std::size_t left = bytes.size() - in;
    if (left > 0) {
        const std::uint32_t group = byte(in) << 16 | (left == 2 ? byte(in + 1) << 8 : 0U);
        out[at++] = kLetters[group >> 18];
        out[at++] = kLetters[group >> 12 & 63U];
        if (left == 2) out[at] = kLetters[group >> 6 & 63U];
    }
    return out;
}

std::optional<std::string> fromBase64(std::string_view encoded) {
    std::string out((encoded.size() + 3) / 4 * 3, '\0');
    std::size_t at = 0;
    const auto put = [&](std::uint32_t value) { out[at++] = static_cast<char>(value & 0xFFU); };

    std::uint32_t group = 0;
    unsigned letters = 0; // of the group so far
    unsigned padding = 0; // of the group so far
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (letters == 0 && padding == 0) {
            for (; i + 4 <= encoded.size(); i += 4) {
                const std::uint32_t a = kindOf(encoded[i]);
                const std::uint32_t b = kindOf(encoded[i + 1]);
                const std::uint32_t c = kindOf(encoded[i + 2]);
                const std::uint32_t d = kindOf(encoded[i + 3]);
                if ((a | b | c | d) > 63) break;
                const std::uint32_t whole = a << 18 | b << 12 | c << 6 | d;
                put(whole >> 16);
                put(whole >> 8);
                put(whole);
            }
            if (i >= encoded.size()) break;
        }
        const std::uint8_t kind = kindOf(encoded[i]);
        if (kind == kSpace) continue;
        if (kind == kForeign) return std::nullopt;
        if (kind == kPadding) {
            if (letters < 2 || letters + padding == 4) return std::nullopt;
            ++padding;
            continue;
        }
        if (padding > 0) return std::nullopt;
        group = group << 6 | kind;
        if (++letters < 4) continue;
        put(group >> 16);
        put(group >> 8);
        put(group);
        group = 0;
        letters = 0;
    }
    if (letters > 0) {
        if (letters + padding != 4) return std::nullopt;
        if (letters == 2) {
            if ((group & 0xFU) != 0) return std::nullopt;
            put(group >> 4);
        } else {
            if ((group & 0x3U) != 0) return std::nullopt;
            put(group >> 10);
            put(group >> 2);
        }
    }
    out.resize(at);
    return out;
}

} // namespace kelvane::text
