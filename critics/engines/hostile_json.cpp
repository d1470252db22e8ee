#include "critics/engines/hostile_json.h"

#include "text/json_shape.h"

#include <cstddef>
#include <utility>

namespace trevix {

namespace {

/// More than anybody says of a file of the size that they are given. Building a value takes some
/// hundred bytes.
constexpr std::size_t kMostValues = 400'000;

} // namespace

std::optional<nlohmann::json> hostileJson(std::string_view text) {
    const auto shape = kelvane::text::jsonShape(text);
    if (shape.hasNul || shape.depth > kelvane::text::kDeepestJson || shape.values > kMostValues) {
        return std::nullopt;
    }
    nlohmann::json value = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

std::optional<nlohmann::json> hostileObject(std::string_view text) {
    auto value = hostileJson(text);
    if (!value || !value->is_object()) return std::nullopt;
    return value;
}

} // namespace trevix
