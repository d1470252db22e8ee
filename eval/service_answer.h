// An answer of the service, reduced to what its readers read.
//
// For the sources of this folder only. Of an answer only the keys that this client knows are built,
// wherever else it holds what, however much and however deep: one odd value, in a key of interest
// or in any other, costs no more than itself. Pure; nothing throws but for want of memory.

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane::service_answer {

/// Elements that are kept of an array, the first ones: more flaws than anybody could look at. With
/// it an answer takes no more than some five times its own size and 50 MB.
inline constexpr std::size_t kMostElements = 50'000;

/// The JSON object that `body` is, with nothing but the keys of the service in it. Absent when it
/// is anything else: another JSON value, malformed text, invalid UTF-8, a NUL byte. What is taken
/// all the same: a number that no double holds is null, and an escaped surrogate without its other
/// half (what a service makes that cuts texts in UTF-16) is U+FFFD. Of a key that stands twice the
/// last value counts.
[[nodiscard]] std::optional<nlohmann::json> read(std::string_view body);

/// The text with such numbers and surrogates mended as said above, and everything else as it is.
/// Absent when there is nothing to mend.
[[nodiscard]] std::optional<std::string> mended(std::string_view body);

} // namespace kelvane::service_answer
