// The size that the picture of an icon is drawn in.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace kelvane {

inline constexpr std::int64_t kLargestIcon = 256; ///< In pixels.

/// The side, in pixels, at which an icon is drawn that the system has in these widths: the largest
/// of them up to 256. Widths of 0 and less stand for a drawing, which has every size. Absent when
/// the system has the icon in no width at all.
[[nodiscard]] std::optional<std::int64_t> iconSide(const std::vector<std::int64_t>& widths);

} // namespace kelvane
