// Any text, as one that PostgreSQL can keep.
//
// Its texts are UTF-8 without the character NUL, and work may hold anything. What cannot be kept is
// escaped: each such byte, and the escape itself, is U+001A with two hexadecimal digits behind it.
// All other text, so nearly all there is, is kept as it is and reads as it is in psql. Pure; any
// thread.

#pragma once

#include <string>
#include <string_view>

namespace trevix {

[[nodiscard]] std::string toSqlText(std::string_view text);

/// The inverse. An escape that toSqlText() does not make is left as it stands.
[[nodiscard]] std::string fromSqlText(std::string_view text);

} // namespace trevix
