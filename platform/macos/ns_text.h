// Text on its way between the system's strings and ours.

#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// The text as UTF-8, characters with the value 0 included; absent for nil. Half a surrogate pair,
/// which the system's strings may hold, becomes a replacement.
[[nodiscard]] std::optional<std::string> textOf(NSString* string);

/// The text as one of the system's strings; nil when it is not valid UTF-8.
[[nodiscard]] NSString* nsString(std::string_view text);

} // namespace kelvane
