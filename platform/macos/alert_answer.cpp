#include "platform/macos/alert_answer.h"

#include <algorithm>

namespace kelvane {

std::optional<std::size_t> pressedButton(std::int64_t response, std::size_t buttons) {
    if (response < kFirstButtonResponse) return std::nullopt;
    const auto index = static_cast<std::size_t>(response - kFirstButtonResponse);
    if (index >= std::max<std::size_t>(buttons, 1)) return std::nullopt;
    return index;
}

} // namespace kelvane
