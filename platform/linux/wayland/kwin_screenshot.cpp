#include "platform/linux/wayland/kwin_screenshot.h"

#include "platform/linux/bus/bus_link.h"

#include <fcntl.h>
#include <poll.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kPatience = 300ms;
/// A window that is minimised takes half a second.
constexpr auto kPicturePatience = 2s;
constexpr std::size_t kLargestPicture = std::size_t{1} << 30U; ///< Bytes.
constexpr const char* kService = "org.kde.KWin";
constexpr const char* kObject = "/org/kde/KWin/ScreenShot2";
constexpr const char* kInterface = "org.kde.KWin.ScreenShot2";

/// What is said of a picture beside its bytes.
struct Description {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t stride = 0;
    std::uint32_t format = 0; ///< As Qt numbers the formats of images.
    double scale = 1;
};

void readValue(sd_bus_message* message, const char* type, std::string_view key,
               Description& description) {
    const std::string_view kind(type);
    if (kind == "u") {
        std::uint32_t value = 0;
        if (sd_bus_message_read_basic(message, 'u', &value) < 0) return;
        if (key == "width") description.width = value;
        if (key == "height") description.height = value;
        if (key == "stride") description.stride = value;
        if (key == "format") description.format = value;
    } else if (kind == "d") {
        double value = 0;
        if (sd_bus_message_read_basic(message, 'd', &value) >= 0 && key == "scale") {
            description.scale = value;
        }
    } else {
        sd_bus_message_skip(message, type);
    }
}

std::optional<Description> readDescription(sd_bus_message* message) {
    Description description;
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return std::nullopt;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        char kind = 0;
        if (sd_bus_message_read_basic(message, 's', &key) < 0 ||
            sd_bus_message_peek_type(message, &kind, &type) < 0 ||
            sd_bus_message_enter_container(message, 'v', type) < 0) {
            return std::nullopt;
        }
        readValue(message, type, key, description);
        sd_bus_message_exit_container(message);
        sd_bus_message_exit_container(message);
    }
    const bool makesSense = description.width > 0 && description.height > 0 &&
                            description.stride / 4 >= description.width &&
                            description.stride <= kLargestPicture / description.height &&
                            std::isfinite(description.scale) && description.scale > 0;
    return makesSense ? std::optional(description) : std::nullopt;
}

/// Masks of Qt's formats of four bytes; false for all others.
bool setMasks(std::uint32_t format, ServerPixels& pixels) {
    switch (format) {
    case 4: // RGB32
        return true;
    case 5: // ARGB32
    case 6: // ARGB32_Premultiplied
        pixels.alpha = 0xFF000000;
        return true;
    case 17: // RGBA8888
    case 18: // RGBA8888_Premultiplied
        pixels.alpha = 0xFF000000;
        [[fallthrough]];
    case 16: // RGBX8888
        std::swap(pixels.red, pixels.blue);
        return true;
    default:
        return false;
    }
}

/// Bytes up to the end of the pipe or to `most`, whichever is first; fewer when time is over.
std::vector<std::byte> readUpTo(int pipe, std::size_t most, steady_clock::time_point end) {
    std::vector<std::byte> bytes(most);
    std::size_t have = 0;
    while (have < most) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
        pollfd waiting{pipe, POLLIN, 0};
        const int ready =
            ::poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) break;
        const auto got = ::read(pipe, bytes.data() + have, most - have);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        have += static_cast<std::size_t>(got);
    }
    bytes.resize(have);
    return bytes;
}

class Pipe {
public:
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) return;
        m_reading = ends[0];
        m_writing = ends[1];
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        if (m_reading >= 0) ::close(m_reading);
        closeWriting();
    }
    [[nodiscard]] int reading() const { return m_reading; }
    [[nodiscard]] int writing() const { return m_writing; }
    void closeWriting() {
        if (m_writing >= 0) ::close(std::exchange(m_writing, -1));
    }

private:
    int m_reading = -1;
    int m_writing = -1;
};

/// Nothing answers in time, or what there is refuses.
enum class Heard { Silent, Refused, Answered };

/// Asks for a picture of a window, with its bytes to be written into the pipe.
Heard ask(const std::string& address, const std::string& uuid, int pipe,
          std::chrono::milliseconds patience, std::optional<Description>& description) {
    const auto end = steady_clock::now() + patience;
    const auto link = BusLink::open(address);
    if (!link) return Heard::Refused;
    if (!link->ready(patience)) return link->alive() ? Heard::Silent : Heard::Refused;
    auto heard = Heard::Silent;
    link->ask(
        {kService, kObject, kInterface, "CaptureWindow"},
        [&](sd_bus_message* question) {
            return sd_bus_message_append(question, "sa{sv}h", uuid.c_str(), 3, "include-decoration",
                                         "b", 0, "include-cursor", "b", 0, "native-resolution", "b",
                                         1, pipe) >= 0;
        },
        [&](sd_bus_message* answer) {
            if (answer == nullptr) return;
            heard = Heard::Answered;
            description = readDescription(answer);
        },
        [&](std::string_view error) {
            // No such window: but the question was heard.
            heard = error.ends_with(".InvalidWindow") ? Heard::Answered : Heard::Refused;
        });
    link->wait(std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()));
    return heard;
}

} // namespace

ServerPixels withoutShadow(const ServerPixels& pixels, std::uint32_t width, std::uint32_t height) {
    if (pixels.alpha == 0 || pixels.bitsPerPixel != 32 || width == 0 || height == 0 ||
        (pixels.width <= width && pixels.height <= height)) {
        return pixels;
    }
    // A shadow is never opaque, and a window nearly always: its corners may be rounded.
    std::uint32_t left = pixels.width;
    std::uint32_t top = pixels.height;
    std::uint32_t right = 0;
    std::uint32_t bottom = 0;
    for (std::uint32_t y = 0; y < pixels.height; ++y) {
        for (std::uint32_t x = 0; x < pixels.width; ++x) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, pixels.bytes.data() + y * pixels.stride + std::size_t{x} * 4, 4);
            if ((pixel & pixels.alpha) != pixels.alpha) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    const auto near = [](std::uint32_t one, std::uint32_t other) {
        return std::max(one, other) - std::min(one, other) <= 2; // Scales are no whole numbers.
    };
    auto part = pixels;
    if (right >= left && bottom >= top && near(right - left + 1, width) &&
        near(bottom - top + 1, height)) {
        part.width = right - left + 1;
        part.height = bottom - top + 1;
    } else {
        // A window that is translucent itself stands in the middle of its shadow.
        part.width = std::min(width, pixels.width);
        part.height = std::min(height, pixels.height);
        left = (pixels.width - part.width) / 2;
        top = (pixels.height - part.height) / 2;
    }
    part.bytes = pixels.bytes.subspan(top * pixels.stride + std::size_t{left} * 4);
    return part;
}

bool KWinScreenshot::offered() {
    if (m_offered) return true;
    const Pipe pipe;
    if (pipe.writing() < 0) return false;
    std::optional<Description> none;
    // Nobody is called that: whoever may not ask hears so first.
    const auto heard =
        ask(m_bus, "{00000000-0000-0000-0000-000000000000}", pipe.writing(), kPatience, none);
    m_offered = heard == Heard::Answered;
    return heard != Heard::Refused;
}

std::optional<std::string> KWinScreenshot::png(const std::string& uuid,
                                               const DisplayRect& frame) const {
    const auto end = steady_clock::now() + kPicturePatience;
    Pipe pipe;
    if (pipe.writing() < 0) return std::nullopt;
    std::optional<Description> description;
    ask(m_bus, uuid, pipe.writing(), kPicturePatience, description);
    pipe.closeWriting();
    if (!description) return std::nullopt;
    const auto size = std::size_t{description->stride} * description->height;
    const auto bytes = readUpTo(pipe.reading(), size, end);
    if (bytes.size() < size) return std::nullopt;
    ServerPixels pixels;
    pixels.bytes = bytes;
    pixels.width = description->width;
    pixels.height = description->height;
    pixels.stride = description->stride;
    if (!setMasks(description->format, pixels)) return std::nullopt;
    const auto scaled = [&](std::int32_t length) {
        return static_cast<std::uint32_t>(std::lround(std::max(length, 0) * description->scale));
    };
    return pngFrom(withoutShadow(pixels, scaled(frame.width), scaled(frame.height)));
}

} // namespace kelvane
