// The syntax of addresses, decided from their text alone.
//
// What opens or fetches an address of its own accord mends some invalid ones silently and refuses
// others, differently on each system and in each version; decided here, all of them refuse the
// same. Pure; any thread.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane::text {

/// Whether the text is an absolute address by the generic syntax (RFC 3986): a scheme, a colon and
/// something after it, all in the characters that addresses are written in, every percent sign
/// followed by two hexadecimal digits, a number or nothing as the port, and brackets only around a
/// host. With http and https a host is required.
[[nodiscard]] bool isAddress(std::string_view text);

/// Whether the text is such an address with the scheme http or https, in whatever case. Letters
/// beyond ASCII may stand in it unescaped, as people write them; blanks, control characters and
/// bytes that are not UTF-8 may not.
[[nodiscard]] bool isWebAddress(std::string_view text);

/// Who an address of the web speaks to, and how.
struct WebOrigin {
    std::string scheme; ///< "http" or "https".
    std::string host;   ///< In lower case, without brackets.
    std::uint16_t port = 0;

    bool operator==(const WebOrigin&) const = default;
};

/// Absent when the text is no such address, and when its port is none (0, or past 65535). Without a
/// port it is the scheme's own.
[[nodiscard]] std::optional<WebOrigin> webOrigin(std::string_view text);

/// "http://host:port", the port also where it is the scheme's own.
[[nodiscard]] std::string written(const WebOrigin& origin);

/// Whether a host, as in `WebOrigin`, is this machine itself by its name alone: localhost and the
/// names below it, 127.x.y.z, ::1. Other spellings of these are not taken for it.
[[nodiscard]] bool isLoopback(std::string_view host);

/// The text with every %XX replaced by its byte; absent when a percent sign is followed by anything
/// else.
[[nodiscard]] std::optional<std::string> unescaped(std::string_view text);

/// "http+unix://%2Frun%2F...": the address of a service that listens on the Unix socket of that
/// path.
[[nodiscard]] std::string socketAddress(std::string_view path);

} // namespace kelvane::text
