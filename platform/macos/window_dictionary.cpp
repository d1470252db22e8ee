#include "platform/macos/window_dictionary.h"

#include <cmath>
#include <optional>

namespace kelvane {

namespace {

template <class Dictionary>
const typename Dictionary::mapped_type* find(const Dictionary& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

std::optional<std::int64_t> integerAt(const WindowDictionary& dictionary, const char* key) {
    const WindowValue* value = find(dictionary, key);
    if (value == nullptr) return std::nullopt;
    if (const auto* integer = std::get_if<std::int64_t>(value)) return *integer;
    const auto* real = std::get_if<double>(value);
    // Both ends are powers of two, so they are exact; the upper one is the first that is too large.
    constexpr double kLowest = -0x1p63;
    constexpr double kTooLarge = 0x1p63;
    // Not a number compares with nothing and so is not in the range.
    if (real == nullptr || !(*real >= kLowest && *real < kTooLarge)) return std::nullopt;
    if (std::trunc(*real) != *real) return std::nullopt;
    return static_cast<std::int64_t>(*real);
}

std::optional<double> lengthAt(const WindowNumbers& numbers, const char* key) {
    const WindowNumber* value = find(numbers, key);
    if (value == nullptr) return std::nullopt;
    double length = 0;
    if (const auto* integer = std::get_if<std::int64_t>(value)) {
        length = static_cast<double>(*integer);
    } else if (const auto* real = std::get_if<double>(value)) {
        length = *real;
    } else {
        return std::nullopt;
    }
    if (!std::isfinite(length)) return std::nullopt;
    return length;
}

std::optional<WindowBounds> boundsOf(const WindowDictionary& dictionary) {
    const WindowValue* value = find(dictionary, kWindowBoundsKey);
    if (value == nullptr) return std::nullopt;
    const auto* numbers = std::get_if<WindowNumbers>(value);
    if (numbers == nullptr) return std::nullopt;
    return WindowBounds{.width = lengthAt(*numbers, kBoundsWidthKey),
                        .height = lengthAt(*numbers, kBoundsHeightKey)};
}

} // namespace

WindowInfo windowInfo(const WindowDictionary& dictionary) {
    return {.ownerPid = integerAt(dictionary, kWindowOwnerKey),
            .layer = integerAt(dictionary, kWindowLayerKey),
            .bounds = boundsOf(dictionary),
            .number = integerAt(dictionary, kWindowNumberKey)};
}

} // namespace kelvane
