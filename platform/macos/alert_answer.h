// The button of an alert that was pressed.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace kelvane {

/// What the system returns for the first button; the next ones follow one by one.
inline constexpr std::int64_t kFirstButtonResponse = 1000;

/// The button behind `response`, counted from 0, of an alert that was given `buttons` of them (with
/// none it has the system's own single one). Absent for every other way in which it can end.
[[nodiscard]] std::optional<std::size_t> pressedButton(std::int64_t response, std::size_t buttons);

} // namespace kelvane
