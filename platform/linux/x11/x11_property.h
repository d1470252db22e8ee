// What programs have written on their windows, read. Pure; any thread.
//
// A property is whatever some program put there, of any length and in any encoding: what is no such
// thing as is asked for is absent or empty, and never an error.

#pragma once

#include <xcb/xproto.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// The value of one window property as the server sent it.
struct X11Property {
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t format = 0; ///< 8, 16 or 32: the width of one item in bits.
    std::string bytes;

    /// The items of a 32-bit property; empty for any other format.
    [[nodiscard]] std::vector<std::uint32_t> words() const;
    /// The first item of a 32-bit property; absent for any other format and for an empty value.
    [[nodiscard]] std::optional<std::uint32_t> firstWord() const;
    /// The bytes of an 8-bit property; absent for any other format.
    [[nodiscard]] std::optional<std::string> text() const;
};

/// A name or an id, as UTF-8 and up to the first NUL; empty when there is none.
[[nodiscard]] std::string shortTextOf(const std::optional<X11Property>& property);

/// WM_CLASS: the instance and the class, as UTF-8; each empty when it is missing.
[[nodiscard]] std::pair<std::string, std::string>
classOf(const std::optional<X11Property>& property);

/// Invisible margins around a window that draws its own shadow, in pixels.
struct X11FrameExtents {
    std::uint32_t left = 0, right = 0, top = 0, bottom = 0;
};

/// The margins a property states, as far as a window of this size can have them; none otherwise.
[[nodiscard]] X11FrameExtents frameExtents(const std::optional<X11Property>& property,
                                           std::uint32_t width, std::uint32_t height);

} // namespace kelvane
