#include "catalog/web_apps.h"

#include <algorithm>
#include <cstddef>

namespace kelvane::WebApps {

namespace {

constexpr std::string_view kBrowserPrefixes[] = {"chrome-", "chromium-", "msedge-",
                                                 "brave-",  "vivaldi-",  "opera-"};
constexpr std::size_t kKeyLength = 32;
// The key is a hash whose digits are written as these letters.
constexpr std::string_view kKeyLetters = "abcdefghijklmnop";
constexpr std::string_view kHostLetters = "abcdefghijklmnopqrstuvwxyz0123456789.-";

/// What follows the browser's word, when one begins the name.
std::optional<std::string_view> afterBrowser(std::string_view name) {
    for (const auto prefix : kBrowserPrefixes) {
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    }
    return std::nullopt;
}

/// The key at the beginning of `text`, when it ends there or a profile follows.
std::optional<std::string> leadingKey(std::string_view text) {
    // Some browsers write an underscore more.
    if (text.starts_with('_')) text.remove_prefix(1);
    if (text.size() < kKeyLength) return std::nullopt;
    const auto key = text.substr(0, kKeyLength);
    const auto rest = text.substr(kKeyLength);
    if (key.find_first_not_of(kKeyLetters) != key.npos) return std::nullopt;
    if (!rest.empty() && rest.front() != '-') return std::nullopt;
    return std::string(key);
}

} // namespace

std::optional<std::string> keyOf(std::string_view identifier) {
    // macOS: the browser's own identifier, then this word, then the key.
    constexpr std::string_view kShim = ".app.";
    if (const auto shim = identifier.rfind(kShim); shim != identifier.npos) {
        return leadingKey(identifier.substr(shim + kShim.size()));
    }
    // Flatpak exports what a browser installs under the browser's identifier.
    constexpr std::string_view kExport = ".flextop.";
    auto name = identifier;
    if (const auto at = name.rfind(kExport); at != name.npos) {
        name.remove_prefix(at + kExport.size());
    }
    for (const std::string_view prefix : {"crx_", "_crx_"}) {
        if (name.starts_with(prefix)) return leadingKey(name.substr(prefix.size()));
    }
    const auto rest = afterBrowser(name);
    return rest ? leadingKey(*rest) : std::nullopt;
}

std::string listedAs(std::string_view key) {
    return "chrome-" + std::string(key);
}

std::optional<std::string> pageOf(std::string_view identifier) {
    const auto rest = afterBrowser(identifier);
    if (!rest) return std::nullopt;
    const auto gap = rest->find("__");
    if (gap == rest->npos) return std::nullopt;
    const auto host = rest->substr(0, gap);
    if (host.find('.') == host.npos || host.find_first_not_of(kHostLetters) != host.npos) {
        return std::nullopt;
    }
    std::string path(rest->substr(gap + 2));
    std::ranges::replace(path, '_', '/');
    return "https://" + std::string(host) + "/" + path;
}

} // namespace kelvane::WebApps
