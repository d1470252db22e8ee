#include "critics/servers/server_address.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::size_t kLongestAddress = 1024;
/// What the systems hold in the address of a socket, its end included, is 104 bytes and more.
constexpr std::size_t kLongestSocket = 103;

std::optional<unsigned> hexDigit(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10U;
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10U;
    return std::nullopt;
}

std::optional<std::string> percentDecoded(std::string_view coded) {
    std::string out;
    for (std::size_t i = 0; i < coded.size(); ++i) {
        if (coded[i] != '%') {
            out += coded[i];
            continue;
        }
        if (coded.size() - i < 3) return std::nullopt;
        const auto high = hexDigit(coded[i + 1]);
        const auto low = hexDigit(coded[i + 2]);
        if (!high || !low) return std::nullopt;
        out += static_cast<char>(*high << 4U | *low);
        i += 2;
    }
    return out;
}

/// Four numbers from 0 to 255, the first of them 127.
bool isLoopbackNumber(std::string_view host) {
    int count = 0;
    bool first = true;
    while (true) {
        const std::string_view number = host.substr(0, host.find('.'));
        unsigned value = 256;
        const char* end = number.data() + number.size();
        const auto read = std::from_chars(number.data(), end, value);
        // A leading zero makes some readers take it for an octal number, and for another host.
        if (number.empty() || read.ptr != end || value > 255 ||
            (number.size() > 1 && number[0] == '0') || (first && value != 127)) {
            return false;
        }
        first = false;
        ++count;
        if (number.size() == host.size()) return count == 4;
        host.remove_prefix(number.size() + 1);
    }
}

bool isLoopback(std::string_view host) {
    return host == "localhost" || host == "[::1]" || isLoopbackNumber(host);
}

bool isHostName(std::string_view host) {
    if (host.starts_with('[')) {
        return host.ends_with(']') && host.size() > 3 &&
               std::ranges::all_of(host.substr(1, host.size() - 2),
                                   [](char c) { return hexDigit(c) || c == ':' || c == '.'; });
    }
    return !host.empty() && std::ranges::all_of(host, [](char c) {
        return text::isAsciiWord(c) || c == '-' || c == '.';
    });
}

std::string withoutLastSlashes(std::string_view path) {
    while (path.ends_with('/')) path.remove_suffix(1);
    return std::string(path);
}

std::variant<ServerAddress, AddressError> ofSocket(std::string_view rest) {
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const auto path = percentDecoded(rest.substr(0, slash));
    if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos ||
        path->size() > kLongestSocket) {
        return AddressError{"a socket is written as http+unix://%2Fpath%2Fof%2Fthe%2Fsocket, of at "
                            "most 103 characters"};
    }
    return ServerAddress{"http://localhost" + withoutLastSlashes(rest.substr(slash)), *path, *path,
                         true};
}

} // namespace

std::variant<ServerAddress, AddressError> serverAddress(std::string_view url, bool elsewhere) {
    if (url.size() > kLongestAddress) return AddressError{"the address is too long"};
    if (!std::ranges::all_of(url, [](char c) { return c > ' ' && c < '\x7F' && c != '\\'; })) {
        return AddressError{"an address holds no blanks and only ASCII characters"};
    }
    if (url.find_first_of("?#@") != std::string_view::npos) {
        return AddressError{"an address holds no user, query or fragment"};
    }
    const std::size_t colon = url.find("://");
    if (colon == std::string_view::npos) {
        return AddressError{"an address begins with http://, https:// or http+unix://"};
    }
    const std::string scheme = text::lowerAscii(url.substr(0, colon));
    const std::string_view rest = url.substr(colon + 3);
    if (scheme == "http+unix") return ofSocket(rest);
    if (scheme != "http" && scheme != "https") {
        return AddressError{"an address begins with http://, https:// or http+unix://"};
    }
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string authority = text::lowerAscii(rest.substr(0, slash));
    std::string_view host = authority;
    std::string_view port;
    const std::size_t point = authority.rfind(':');
    if (point != std::string::npos && authority.find(']', point) == std::string::npos) {
        host = std::string_view(authority).substr(0, point);
        port = std::string_view(authority).substr(point + 1);
        std::uint16_t number = 0;
        const char* end = port.data() + port.size();
        const auto read = std::from_chars(port.data(), end, number);
        if (read.ec != std::errc() || read.ptr != end || number == 0) {
            return AddressError{"the port of an address is a number from 1 to 65535"};
        }
    }
    if (!isHostName(host)) return AddressError{"the address names no host"};
    const bool here = isLoopback(host);
    if (!here && !elsewhere) {
        return AddressError{"work stays on this machine: the host is none of it (127.0.0.1, [::1], "
                            "localhost)"};
    }
    if (!here && scheme != "https") {
        return AddressError{"work leaves this machine encrypted only: the address has to begin "
                            "with https://"};
    }
    return ServerAddress{scheme + "://" + authority + withoutLastSlashes(rest.substr(slash)), "",
                         authority, here};
}

} // namespace trevix
