#include "service/setup/public_url.h"

#include "text/unicode.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace trevix {

namespace {

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/// Whether it is a number without leading zeros, and how large at most.
bool isNumber(std::string_view text, unsigned least, unsigned most) {
    unsigned value = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end && value >= least && value <= most &&
           (text.size() == 1 || text.front() != '0');
}

} // namespace

std::string PublicUrl::origin() const {
    return (isHttps ? "https://" : "http://") + authority;
}

std::optional<PublicUrl> parsePublicUrl(std::string_view url) {
    const std::string lower = kelvane::text::lowerAscii(url);
    std::string_view rest = lower;
    PublicUrl parsed;
    if (rest.starts_with("https://")) {
        parsed.isHttps = true;
        rest.remove_prefix(8);
    } else if (rest.starts_with("http://")) {
        rest.remove_prefix(7);
    } else {
        return std::nullopt;
    }
    if (rest.ends_with('/')) rest.remove_suffix(1);
    const std::size_t colon = rest.find(':');
    const std::string_view name = rest.substr(0, colon);
    if (name.empty() || name.size() > 253 ||
        !std::all_of(name.begin(), name.end(), isNameCharacter)) {
        return std::nullopt;
    }
    if (colon != std::string_view::npos && !isNumber(rest.substr(colon + 1), 1, 65535)) {
        return std::nullopt;
    }
    parsed.authority = rest;
    return parsed;
}

bool isIpv4(std::string_view address) {
    for (int i = 0; i < 4; ++i) {
        const std::size_t dot = i < 3 ? address.find('.') : address.size();
        if (dot == std::string_view::npos || !isNumber(address.substr(0, dot), 0, 255)) {
            return false;
        }
        address.remove_prefix(i < 3 ? dot + 1 : dot);
    }
    return true;
}

} // namespace trevix
