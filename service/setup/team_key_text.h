// The text of a team's key, and what is kept of it.
//
// Any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace trevix {

/// A new key: "trevix_team_" and 160 random bits.
[[nodiscard]] std::string newTeamKey();

/// SHA-256 in lower-case hexadecimal. With nothing to it that makes it slow: of 160 random bits
/// nobody tries them all.
[[nodiscard]] std::string keyDigest(std::string_view key);

/// The key in an Authorization header; absent where there is none.
[[nodiscard]] std::optional<std::string_view> bearerIn(std::string_view authorizationHeader);

/// Whether it may name a key or a group: 1 to 64 letters, digits, and ".", "_", "-", "@", with a
/// letter or digit first.
[[nodiscard]] bool isKeyName(std::string_view name);

} // namespace trevix
