// Membership of a text in a short list of others.

#pragma once

#include <algorithm>
#include <ranges>
#include <string_view>

namespace kelvane::text {

/// Whether `text` is exactly one of `choices`, any range of texts. Linear, allocates nothing.
template <std::ranges::input_range Choices>
[[nodiscard]] constexpr bool isOneOf(std::string_view text, const Choices& choices) {
    return std::ranges::find(choices, text) != std::ranges::end(choices);
}

} // namespace kelvane::text
