// Whatever the bytes are: a picture is decoded or refused with a reason, its size is what the
// header said, and reading it row by row hands out as many pixels.

#include "critics/picture/pixels.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>
#include <variant>

using namespace trevix;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto stated = sizeOfPng(bytes);
    const auto* extent = std::get_if<PictureSize>(&stated);
    // Larger ones take long to fill and have nothing else to find.
    constexpr std::size_t kMostPixels = 1U << 18U;
    if (extent != nullptr && extent->pixels() > kMostPixels) return 0;

    const auto decoded = decodePng(bytes);
    std::size_t seen = 0;
    const auto failure =
        visitPixels(bytes, [&](std::span<Colour> pixels) { seen += pixels.size(); });
    if (const auto* picture = std::get_if<Picture>(&decoded)) {
        require(extent != nullptr && picture->width == extent->width &&
                picture->height == extent->height);
        require(picture->pixels.size() == extent->pixels());
        require(!failure && seen == extent->pixels());
    } else {
        require(!std::get<DecodeFailure>(decoded).reason.empty());
        require(failure.has_value() && !failure->reason.empty());
    }
    return 0;
}
