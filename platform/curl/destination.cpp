#include "platform/curl/destination.h"

#include "text/unicode.h"
#include "text/web_address.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <sys/un.h>

namespace kelvane {

namespace {

constexpr std::string_view kSocketScheme = "http+unix://";
// The host that servers behind a socket expect to be called by.
constexpr std::string_view kSocketOrigin = "http://localhost";

/// An address of a socket in its two parts; absent when it is none.
struct SocketAddress {
    std::string_view authority; ///< Still escaped.
    std::string_view rest;
};

std::optional<SocketAddress> socketAddress(std::string_view address) {
    if (text::lowerAscii(address.substr(0, kSocketScheme.size())) != kSocketScheme) {
        return std::nullopt;
    }
    // The path of the socket stands in the place of a host, its "/" escaped.
    address.remove_prefix(kSocketScheme.size());
    const auto authority = address.substr(0, address.find_first_of("/?#"));
    return SocketAddress{authority, address.substr(authority.size())};
}

/// A request's line is ASCII: what is not, behind the host, goes escaped.
std::string inAscii(std::string_view url) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    const auto authority = url.find("://") + 3;
    const auto path = std::min(url.find_first_of("/?#", authority), url.size());
    std::string plain(url.substr(0, path));
    for (const char c : url.substr(path)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            plain += c;
        } else {
            plain += '%';
            plain += kHex[byte >> 4U];
            plain += kHex[byte & 0xFU];
        }
    }
    return plain;
}

} // namespace

std::size_t longestSocketPath() {
    return sizeof(sockaddr_un::sun_path) - 1; // it ends in a NUL
}

std::optional<Destination> destinationOf(const std::string& address) {
    if (const auto parts = socketAddress(address)) {
        auto socket = text::unescaped(parts->authority);
        const std::string url = std::string(kSocketOrigin).append(parts->rest);
        // A relative path would depend on where the program was started.
        if (!socket || !socket->starts_with('/') || socket->find('\0') != std::string::npos ||
            socket->size() > longestSocketPath() || !text::isWebAddress(url)) {
            return std::nullopt;
        }
        // Nobody between the two ends reads along, so it counts as encrypted.
        return Destination{
            .url = inAscii(url), .socket = std::move(socket), .isPlain = false, .isLoopback = true};
    }
    const auto origin = text::webOrigin(address);
    if (!origin) return std::nullopt;
    return Destination{.url = inAscii(address),
                       .socket = std::nullopt,
                       .isPlain = origin->scheme == "http",
                       .isLoopback = text::isLoopback(origin->host)};
}

std::optional<std::string> behindSameSocket(const std::string& address, const std::string& target) {
    const auto parts = socketAddress(address);
    const auto origin = text::webOrigin(target);
    // A server behind a socket calls itself by the name it was called by.
    if (!parts || !origin || origin != text::webOrigin(kSocketOrigin)) return std::nullopt;
    const auto path = std::min(target.find_first_of("/?#", kSocketOrigin.size()), target.size());
    return std::string(kSocketScheme).append(parts->authority).append(target.substr(path));
}

} // namespace kelvane
