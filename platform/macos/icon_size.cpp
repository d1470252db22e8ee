#include "platform/macos/icon_size.h"

#include <algorithm>

namespace kelvane {

std::optional<std::int64_t> iconSide(const std::vector<std::int64_t>& widths) {
    if (widths.empty()) return std::nullopt;
    if (std::ranges::any_of(widths, [](std::int64_t width) { return width <= 0; })) {
        return kLargestIcon;
    }
    return std::min(std::ranges::max(widths), kLargestIcon);
}

} // namespace kelvane
