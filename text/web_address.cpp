#include "text/web_address.h"

#include "text/unicode.h"

#include <utf8proc.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace kelvane::text {

namespace {

// What a code point beyond ASCII counts as: whoever opens the address escapes it.
constexpr char kEscaped = 'x';

bool isInvisible(std::int32_t codePoint) {
    switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return true;
    default:
        return false;
    }
}

bool isPlainLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isPlainDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isPlainDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isWeb(std::string_view scheme) {
    const std::string lower = lowerAscii(scheme);
    return lower == "http" || lower == "https";
}

bool isScheme(std::string_view text) {
    return !text.empty() && isPlainLetter(text.front()) && std::ranges::all_of(text, [](char c) {
        return isPlainLetter(c) || isPlainDigit(c) || c == '+' || c == '-' || c == '.';
    });
}

bool isWritten(std::string_view text) {
    constexpr std::string_view kMarks = "-._~:/?#@!$&'()*+,;=%";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isPlainLetter(text[i]) && !isPlainDigit(text[i]) &&
            kMarks.find(text[i]) == std::string_view::npos)
            return false;
        if (text[i] != '%') continue;
        if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) {
            return false;
        }
    }
    return true;
}

/// "user@host:port", of which only the host has to be there.
bool isAuthority(std::string_view text) {
    const auto at = text.rfind('@');
    if (at != std::string_view::npos) {
        if (!isWritten(text.substr(0, at)) || text.substr(0, at).find('@') != text.npos) {
            return false;
        }
        text.remove_prefix(at + 1);
    }
    std::string_view host = text;
    std::string_view port;
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string_view::npos) return false;
        host = text.substr(1, end - 1);
        port = text.substr(end + 1);
        if (!std::ranges::all_of(host,
                                 [](char c) { return isHexDigit(c) || c == ':' || c == '.'; })) {
            return false;
        }
    } else if (const auto colon = text.find(':'); colon != std::string_view::npos) {
        host = text.substr(0, colon);
        port = text.substr(colon);
    }
    if (host.empty() || !isWritten(host)) return false;
    if (port.empty()) return true;
    return port.front() == ':' && std::ranges::all_of(port.substr(1), isPlainDigit);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = lowerAscii(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

bool isAddress(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || !isScheme(text.substr(0, colon))) return false;
    const std::string_view scheme = text.substr(0, colon);
    std::string_view rest = text.substr(colon + 1);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
        // "file:///path" has none, and means this machine.
        if (!isAuthority(authority) && (!authority.empty() || isWeb(scheme))) return false;
        rest.remove_prefix(authority.size());
        if (authority.empty() && rest.empty()) return false;
    } else if (isWeb(scheme) || rest.empty()) {
        return false;
    }
    return isWritten(rest) && std::ranges::count(rest, '#') <= 1;
}

bool isWebAddress(std::string_view text) {
    if (!isWeb(text.substr(0, text.find(':')))) return false;
    std::string plain;
    for (auto rest = text; !rest.empty();) {
        const Decoded front = decodeFront(rest);
        if (front.codePoint == kNoCodePoint || isInvisible(front.codePoint)) return false;
        plain += front.codePoint < 0x80 ? rest.front() : kEscaped;
        rest.remove_prefix(front.length);
    }
    return isAddress(plain);
}

std::optional<WebOrigin> webOrigin(std::string_view text) {
    if (!isWebAddress(text)) return std::nullopt;
    const auto colon = text.find(':');
    WebOrigin origin;
    origin.scheme = lowerAscii(text.substr(0, colon));
    text.remove_prefix(colon + 3); // "://", as every such address has
    std::string_view authority = text.substr(0, text.find_first_of("/?#"));
    if (const auto at = authority.rfind('@'); at != authority.npos) authority.remove_prefix(at + 1);
    std::string_view port;
    if (authority.starts_with('[')) {
        const auto end = authority.find(']');
        origin.host = lowerAscii(authority.substr(1, end - 1));
        port = authority.substr(end + 1);
    } else {
        const auto end = std::min(authority.find(':'), authority.size());
        origin.host = lowerAscii(authority.substr(0, end));
        port = authority.substr(end);
    }
    if (port.size() <= 1) { // nothing, or a colon with nothing behind it
        origin.port = origin.scheme == "https" ? 443 : 80;
        return origin;
    }
    port.remove_prefix(1);
    const auto read = std::from_chars(port.data(), port.data() + port.size(), origin.port);
    if (read.ec != std::errc{} || origin.port == 0) return std::nullopt;
    return origin;
}

std::string written(const WebOrigin& origin) {
    const bool isNumeric = origin.host.find(':') != std::string::npos;
    return origin.scheme + "://" + (isNumeric ? "[" + origin.host + "]" : origin.host) + ":" +
           std::to_string(origin.port);
}

bool isLoopback(std::string_view host) {
    if (host == "localhost" || host.ends_with(".localhost") || host == "::1") return true;
    int numbers = 0;
    for (std::size_t at = 0; at <= host.size(); ++numbers) {
        const auto part = host.substr(at, host.find('.', at) - at);
        int value = -1;
        const auto read = std::from_chars(part.data(), part.data() + part.size(), value);
        const bool isByte = read.ec == std::errc{} && read.ptr == part.data() + part.size() &&
                            value >= 0 && value <= 255 && part.front() != '-' &&
                            (part.size() == 1 || part.front() != '0');
        if (!isByte || (numbers == 0 && value != 127)) return false;
        at += part.size() + 1;
    }
    return numbers == 4;
}

std::optional<std::string> unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            plain += text[at];
            continue;
        }
        if (at + 2 >= text.size()) return std::nullopt;
        const int high = hexDigit(text[at + 1]);
        const int low = hexDigit(text[at + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        plain += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return plain;
}

std::string socketAddress(std::string_view path) {
    static constexpr std::string_view kPlain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
        "0123456789-._~";
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string address = "http+unix://";
    for (const char c : path) {
        if (kPlain.find(c) != std::string_view::npos) {
            address += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            address += '%';
            address += kDigits[byte >> 4U];
            address += kDigits[byte & 15U];
        }
    }
    return address;
}

} // namespace kelvane::text
