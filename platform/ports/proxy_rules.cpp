#include "platform/ports/proxy_rules.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

// Of HTTP the library reads the one in small letters alone: in capitals a web server's scripts have
// what a client sent as a header of that name.
constexpr std::array<std::string_view, 5> kVariables{"http_proxy", "https_proxy", "HTTPS_PROXY",
                                                     "all_proxy", "ALL_PROXY"};

// How desktops begin the name of a proxy, and how the library does. Names are looked up by a SOCKS
// proxy itself where it can: what cannot reach out seldom can look up either.
constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kSchemes{{
    {"http://", "http://"},
    {"https://", "https://"},
    {"socks://", "socks5h://"},
    {"socks5://", "socks5h://"},
    {"socks4a://", "socks4a://"},
    {"socks4://", "socks4://"},
}};

/// A desktop writes the scheme in whatever case.
bool startsWith(std::string_view text, std::string_view scheme) {
    return text.size() >= scheme.size() &&
           std::equal(scheme.begin(), scheme.end(), text.begin(), [](char wanted, char found) {
               return wanted == (found >= 'A' && found <= 'Z' ? found - 'A' + 'a' : found);
           });
}

/// Whether it can be a host and what may stand around it. Of anything else the library would make
/// something of its own.
bool isPlace(std::string_view rest) {
    constexpr std::string_view kNoBeginning = "/:?#";
    return !rest.empty() && kNoBeginning.find(rest.front()) == std::string_view::npos &&
           std::ranges::all_of(rest, [](unsigned char c) { return c > ' ' && c != 0x7F; });
}

} // namespace

bool namesProxies(Environment& environment) {
    return std::ranges::any_of(kVariables, [&](std::string_view name) {
        return !environment.get(name).value_or("").empty();
    });
}

std::optional<std::string> usableProxy(const std::vector<std::string>& told) {
    for (const std::string& proxy : told) {
        if (startsWith(proxy, "direct:")) return "";
        for (const auto& [theirs, ours] : kSchemes) {
            if (!startsWith(proxy, theirs)) continue;
            const auto rest = std::string_view(proxy).substr(theirs.size());
            if (isPlace(rest)) return std::string(ours).append(rest);
        }
    }
    return std::nullopt;
}

} // namespace kelvane
