// JSON that somebody else wrote: read only where it is no attack.
//
// Pure; any thread.

#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string_view>

namespace trevix {

/// The value; absent where the text is none, or is deeper or has more values than an answer about a
/// file can have.
[[nodiscard]] std::optional<nlohmann::json> hostileJson(std::string_view text);

/// The same, and absent where it is no object.
[[nodiscard]] std::optional<nlohmann::json> hostileObject(std::string_view text);

} // namespace trevix
