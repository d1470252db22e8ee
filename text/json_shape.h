// The depth and the size of a JSON text, found before anything is built from it.
//
// A parser that builds values takes any depth and any number of them, and reads a NUL byte as the
// end of its input. Whoever parses JSON from outside looks here first and refuses what only an
// attack looks like. Nothing is validated: that is the parser's business.

#pragma once

#include <cstddef>
#include <string_view>

namespace kelvane::text {

/// JSON nested deeper than this is refused wherever it comes from outside.
inline constexpr std::size_t kDeepestJson = 512;

struct JsonShape {
    bool hasNul = false;    ///< A NUL byte stands somewhere, inside a string or not.
    std::size_t depth = 0;  ///< The most brackets open at once, those in strings not counted.
    std::size_t values = 0; ///< At least as many as there are values: brackets and commas, and one.

    bool operator==(const JsonShape&) const = default;
};

/// One pass without recursion or allocation. Pure.
[[nodiscard]] JsonShape jsonShape(std::string_view bytes);

} // namespace kelvane::text
