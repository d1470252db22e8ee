// The picture of one window.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kelvane {

class WindowPicture {
public:
    virtual ~WindowPicture() = default;

    /// PNG bytes of exactly that window, without what covers it and without its shadow. Absent when
    /// the window is gone, not drawn, or may not be read. Blocks until the picture is taken; any
    /// thread.
    [[nodiscard]] virtual std::optional<std::string> png(std::int64_t windowNumber) = 0;
};

} // namespace kelvane
