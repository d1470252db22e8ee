// Is this text a valid address?
//
// Newer systems mend an invalid address silently and older ones refuse it; deciding it here makes
// all of them refuse.

#pragma once

#include <string_view>

namespace kelvane {

/// Whether the text is an absolute address by the generic syntax: a scheme, a colon and something
/// after it, all in the characters that addresses are written in, every percent sign followed by
/// two hexadecimal digits, a number or nothing as the port, and brackets only around a host. With
/// http and https a host is required.
[[nodiscard]] bool isAddress(std::string_view text);

} // namespace kelvane
