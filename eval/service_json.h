// Typed lookups in a loosely typed answer of the service, as `service_answer` has read it.
//
// For the sources of this folder only. Each lookup succeeds when the key is there and its value has
// the wanted type, and is absent otherwise: a wrong type counts as a missing key. Nothing throws.

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace kelvane::service_json {

/// The value's compact text. Absent when a string in it is not UTF-8.
[[nodiscard]] std::optional<std::string> compact(const nlohmann::json& value);

/// The value under `key`, whatever its type; null when `object` has no such key or is no object.
/// Points into `object`.
[[nodiscard]] const nlohmann::json* find(const nlohmann::json& object, const char* key);

[[nodiscard]] std::optional<std::string> string(const nlohmann::json& object, const char* key);
[[nodiscard]] std::optional<double> number(const nlohmann::json& object, const char* key);

/// The object under `key`; an empty one, of static duration, when there is none.
[[nodiscard]] const nlohmann::json& objectOrEmpty(const nlohmann::json& object, const char* key);

} // namespace kelvane::service_json
