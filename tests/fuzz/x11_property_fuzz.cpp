// Whatever programs have written on their windows: it is read as far as it is what was asked for.
//
// The first byte is how wide an item is, the next four are how large the window is, the rest is the
// property.

#include "platform/linux/x11/x11_property.h"
#include "text/unicode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace kelvane;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

void requireName(const std::string& name) {
    require(text::isValidUtf8(name));
    require(name.find('\0') == std::string::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 5) return 0;
    X11Property property;
    // What the wire can hold, and what a broken server may send beside it.
    property.format = std::array<std::uint8_t, 5>{0, 8, 16, 32, data[0]}.at(data[0] % 5U);
    const auto width = static_cast<std::uint32_t>(data[1] << 8U | data[2]);
    const auto height = static_cast<std::uint32_t>(data[3] << 8U | data[4]);
    property.bytes.assign(reinterpret_cast<const char*>(data) + 5, size - 5);

    const auto words = property.words();
    require(words.size() * 4 <= property.bytes.size());
    require(property.firstWord().has_value() == !words.empty());
    require(property.text().has_value() == (property.format == 8));
    requireName(shortTextOf(property));
    const auto [instance, name] = classOf(property);
    requireName(instance);
    requireName(name);
    const auto margins = frameExtents(property, width, height);
    // Something of every window is left, and of one that has no size nothing is taken.
    require(margins.left == 0 || margins.left + std::uint64_t{margins.right} < width);
    require(margins.right == 0 || margins.left + std::uint64_t{margins.right} < width);
    require(margins.top == 0 || margins.top + std::uint64_t{margins.bottom} < height);
    require(margins.bottom == 0 || margins.top + std::uint64_t{margins.bottom} < height);
    return 0;
}
