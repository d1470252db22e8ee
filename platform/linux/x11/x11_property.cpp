#include "platform/linux/x11/x11_property.h"

#include "text/unicode.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace kelvane {

std::vector<std::uint32_t> X11Property::words() const {
    if (format != 32) return {};
    std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
    // Copied: the bytes of a text need not lie where words may.
    if (!items.empty()) std::memcpy(items.data(), bytes.data(), items.size() * sizeof(items[0]));
    return items;
}

std::optional<std::uint32_t> X11Property::firstWord() const {
    const auto items = words();
    if (items.empty()) return std::nullopt;
    return items.front();
}

std::optional<std::string> X11Property::text() const {
    if (format != 8) return std::nullopt;
    return bytes;
}

std::string shortTextOf(const std::optional<X11Property>& property) {
    if (!property) return {};
    // Whatever a program has written stands there, so it is made UTF-8, and ends at the first NUL.
    auto text = text::utf8FromOutside(property->text().value_or(""));
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

// Two texts, each with a NUL at its end (ICCCM 4.1.2.5).
std::pair<std::string, std::string> classOf(const std::optional<X11Property>& property) {
    const auto bytes = property ? property->text().value_or("") : std::string();
    const auto cut = std::min(bytes.find('\0'), bytes.size());
    const auto rest = std::string_view(bytes).substr(std::min(cut + 1, bytes.size()));
    return {text::utf8FromOutside(std::string_view(bytes).substr(0, cut)),
            text::utf8FromOutside(rest.substr(0, rest.find('\0')))};
}

X11FrameExtents frameExtents(const std::optional<X11Property>& property, std::uint32_t width,
                             std::uint32_t height) {
    const auto words = property ? property->words() : std::vector<std::uint32_t>{};
    // A program that draws its own shadow tells how far that reaches: left, right, top, bottom.
    if (words.size() < 4) return {};
    const X11FrameExtents extents{words[0], words[1], words[2], words[3]};
    const auto fits = [](std::uint64_t one, std::uint64_t other, std::uint32_t length) {
        return one + other < length;
    };
    // Margins that leave nothing of the window are nobody's.
    if (!fits(extents.left, extents.right, width) || !fits(extents.top, extents.bottom, height)) {
        return {};
    }
    return extents;
}

} // namespace kelvane
