#include "service/http/request_target.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace trevix {

namespace {

std::string unescaped(std::string_view text, bool plusIsBlank) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        // A "%" without two digits behind it stands for itself, as browsers have it.
        if (text[i] == '%' && text.size() - i > 2) {
            unsigned char value = 0;
            const char* digits = text.data() + i + 1;
            const auto parsed = std::from_chars(digits, digits + 2, value, 16);
            if (parsed.ec == std::errc() && parsed.ptr == digits + 2) {
                plain += static_cast<char>(value);
                i += 2;
                continue;
            }
        }
        // RFC 3986 knows no "+" for a blank; forms do, and they write queries only.
        plain += plusIsBlank && text[i] == '+' ? ' ' : text[i];
    }
    return plain;
}

} // namespace

std::optional<RequestTarget> requestTarget(std::string_view target) {
    // The absolute form is for proxies and "*" for OPTIONS; neither names anything here.
    if (!target.starts_with('/')) return std::nullopt;
    // A fragment is the client's own affair and should not have been sent.
    target = target.substr(0, target.find('#'));
    const std::size_t question = target.find('?');
    RequestTarget taken{unescaped(target.substr(0, question), false), {}};
    std::string_view rest =
        question == std::string_view::npos ? std::string_view() : target.substr(question + 1);
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        if (pair.empty()) continue;
        const std::size_t equals = pair.find('=');
        // The first of equal names counts.
        taken.query.emplace(
            unescaped(pair.substr(0, equals), true),
            equals == std::string_view::npos ? "" : unescaped(pair.substr(equals + 1), true));
    }
    return taken;
}

} // namespace trevix
