// One dictionary of the system's window list, read.
//
// The system describes each window by a dictionary of loosely typed values. The adapter copies it
// into the values below as it stands; what they mean is decided here, in plain C++ that is built
// and tested on every system.

#pragma once

#include "platform/ports/window_list.h"

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace kelvane {

/// A value that is neither a number nor a dictionary of numbers: a text, a truth value, a date.
struct ForeignValue {
    bool operator==(const ForeignValue&) const = default;
};

/// A whole number keeps its own type, because a `double` would round large ones.
using WindowNumber = std::variant<ForeignValue, std::int64_t, double>;

using WindowNumbers = std::map<std::string, WindowNumber, std::less<>>;

/// Dictionaries stand at most one level deep; what lies deeper is foreign.
using WindowValue = std::variant<ForeignValue, std::int64_t, double, WindowNumbers>;

using WindowDictionary = std::map<std::string, WindowValue, std::less<>>;

// The keys, as the system spells them.
inline constexpr const char* kWindowOwnerKey = "kCGWindowOwnerPID";
inline constexpr const char* kWindowLayerKey = "kCGWindowLayer";
inline constexpr const char* kWindowBoundsKey = "kCGWindowBounds";
inline constexpr const char* kWindowNumberKey = "kCGWindowNumber";
inline constexpr const char* kBoundsWidthKey = "Width";
inline constexpr const char* kBoundsHeightKey = "Height";

/// The window that the dictionary describes. A key that is missing, or whose value is of another
/// kind than it should be, leaves its field absent: an integer may come as a floating-point number
/// only when it is whole and in range; a length is any finite number, in the system's points. The
/// bounds are there as soon as they are a dictionary, whatever that holds.
[[nodiscard]] WindowInfo windowInfo(const WindowDictionary& dictionary);

} // namespace kelvane
