// Standard base64 (RFC 4648 section 4, padded, no line breaks) of bytes, and back.
//
// Pure; any thread may call it.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvane::text {

[[nodiscard]] std::string base64(std::string_view bytes);

/// The bytes that `encoded` stands for. Absent when it is not padded standard base64; ASCII white
/// space between the letters is passed over. Unused bits before the padding must be zero, so that
/// white space aside only one text stands for any bytes.
[[nodiscard]] std::optional<std::string> fromBase64(std::string_view encoded);

} // namespace kelvane::text
