#include "platform/linux/wayland/wayland_screens.h"

#include "platform/linux/common/png_picture.h"
#include "platform/linux/wayland/wayland_connection.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <wlr-screencopy-unstable-v1-client-protocol.h>
#include <xdg-output-unstable-v1-client-protocol.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

/// A frame comes within a sixtieth of a second; what takes longer is a screen that is off.
constexpr auto kFrameSilence = 1s;
constexpr std::uint32_t kLargestPicture = 1U << 30U; ///< Bytes.

class Screens;

struct Output {
    std::uint32_t name = 0;
    wl_output* output = nullptr;
    zxdg_output_v1* logical = nullptr;
    DisplayRect place;
};

/// One picture on its way. Shared by the link's thread, which makes it, and by whoever waits for it
/// and may give up.
struct Frame {
    std::mutex mutex;
    std::condition_variable changed;
    bool over = false;
    std::optional<ServerPixels> pixels; ///< Of `mapping`, once it is over; absent: failed.
    bool upsideDown = false;

    // The link's thread until it is over.
    Screens* screens = nullptr;
    wl_shm* shm = nullptr;
    zwlr_screencopy_frame_v1* frame = nullptr;
    wl_buffer* buffer = nullptr;
    void* mapping = MAP_FAILED;
    std::size_t size = 0;
    ServerPixels shape;

    Frame() = default;
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    ~Frame() {
        if (mapping != MAP_FAILED) ::munmap(mapping, size);
    }

    void end(bool succeeded) {
        if (buffer != nullptr) wl_buffer_destroy(std::exchange(buffer, nullptr));
        if (frame != nullptr) zwlr_screencopy_frame_v1_destroy(std::exchange(frame, nullptr));
        const std::lock_guard lock(mutex);
        over = true;
        if (succeeded) pixels = shape;
        changed.notify_all();
    }
};

/// The masks of the formats that compositors have; false for all others.
bool setMasks(std::uint32_t format, ServerPixels& pixels) {
    switch (format) {
    case WL_SHM_FORMAT_ARGB8888:
    case WL_SHM_FORMAT_XRGB8888:
        break;
    case WL_SHM_FORMAT_ABGR8888:
    case WL_SHM_FORMAT_XBGR8888:
        std::swap(pixels.red, pixels.blue);
        break;
    case WL_SHM_FORMAT_RGB565:
        pixels.bitsPerPixel = 16;
        pixels.red = 0xF800;
        pixels.green = 0x07E0;
        pixels.blue = 0x001F;
        break;
    default:
        return false;
    }
    return true;
}

using Held = std::shared_ptr<Frame>;

/// Makes the memory that the compositor draws into.
bool prepare(Frame& frame, std::uint32_t format, std::uint32_t width, std::uint32_t height,
             std::uint32_t stride) {
    if (!setMasks(format, frame.shape) || height == 0 || stride > kLargestPicture / height) {
        return false;
    }
    frame.size = std::size_t{stride} * height;
    const int file = ::memfd_create("picture", MFD_CLOEXEC);
    if (file < 0) return false;
    if (::ftruncate(file, static_cast<off_t>(frame.size)) == 0) {
        frame.mapping = ::mmap(nullptr, frame.size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    if (frame.mapping != MAP_FAILED) {
        auto* const pool =
            wl_shm_create_pool(frame.shm, file, static_cast<std::int32_t>(frame.size));
        frame.buffer = wl_shm_pool_create_buffer(pool, 0, static_cast<std::int32_t>(width),
                                                 static_cast<std::int32_t>(height),
                                                 static_cast<std::int32_t>(stride), format);
        wl_shm_pool_destroy(pool);
    }
    ::close(file);
    frame.shape.bytes = {static_cast<const std::byte*>(frame.mapping), frame.size};
    frame.shape.width = width;
    frame.shape.height = height;
    frame.shape.stride = stride;
    return frame.buffer != nullptr;
}

class Screens : public WaylandScreens {
public:
    void attach(WaylandConnection& link) override {
        const std::lock_guard lock(m_mutex);
        m_link = &link;
    }
    void globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                     std::uint32_t version) override;
    void globalRemoved(std::uint32_t name) override;
    void detach() override;

    bool offered() const override {
        const std::lock_guard lock(m_mutex);
        return m_manager != nullptr && m_shm != nullptr && m_logical != nullptr;
    }
    std::vector<DisplayRect> screens() const override {
        const std::lock_guard lock(m_mutex);
        std::vector<DisplayRect> places;
        for (const auto& output : m_outputs) places.push_back(output->place);
        return places;
    }
    std::optional<std::string> png(const DisplayRect& part) override;

    void placed(zxdg_output_v1* output, std::int32_t x, std::int32_t y);
    void sized(zxdg_output_v1* output, std::int32_t width, std::int32_t height);
    void over(const Frame& frame, bool succeeded);

private:
    void start(const Held& frame, const DisplayRect& part);
    void askForPlace(Output& output);
    static void destroy(const Output& output) {
        if (output.logical != nullptr) zxdg_output_v1_destroy(output.logical);
        wl_output_destroy(output.output);
    }

    mutable std::mutex m_mutex; ///< Guards what others see; it all changes on the link's thread.
    WaylandConnection* m_link = nullptr;
    zwlr_screencopy_manager_v1* m_manager = nullptr;
    zxdg_output_manager_v1* m_logical = nullptr;
    wl_shm* m_shm = nullptr;
    std::vector<std::unique_ptr<Output>> m_outputs;
    std::vector<Held> m_frames; ///< The link's thread only.
};

Screens& of(void* data) {
    return *static_cast<Screens*>(data);
}

constexpr zxdg_output_v1_listener kLogicalListener{
    .logical_position = [](void* data, zxdg_output_v1* output, std::int32_t x,
                           std::int32_t y) { of(data).placed(output, x, y); },
    .logical_size = [](void* data, zxdg_output_v1* output, std::int32_t width,
                       std::int32_t height) { of(data).sized(output, width, height); },
    .done = [](void*, zxdg_output_v1*) {},
    .name = [](void*, zxdg_output_v1*, const char*) {},
    .description = [](void*, zxdg_output_v1*, const char*) {},
};

Frame& frameOf(void* data) {
    return *static_cast<Frame*>(data);
}

constexpr zwlr_screencopy_frame_v1_listener kFrameListener{
    .buffer =
        [](void* data, zwlr_screencopy_frame_v1* copying, std::uint32_t format, std::uint32_t width,
           std::uint32_t height, std::uint32_t stride) {
            auto& frame = frameOf(data);
            if (frame.buffer != nullptr) return;
            if (prepare(frame, format, width, height, stride)) {
                zwlr_screencopy_frame_v1_copy(copying, frame.buffer);
            } else {
                frame.screens->over(frame, false);
            }
        },
    .flags =
        [](void* data, zwlr_screencopy_frame_v1*, std::uint32_t flags) {
            frameOf(data).upsideDown = (flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0;
        },
    .ready = [](void* data, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t,
                std::uint32_t) { frameOf(data).screens->over(frameOf(data), true); },
    .failed = [](void* data,
                 zwlr_screencopy_frame_v1*) { frameOf(data).screens->over(frameOf(data), false); },
    .damage = [](void*, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t, std::uint32_t,
                 std::uint32_t) {},
    .linux_dmabuf = [](void*, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t,
                       std::uint32_t) {},
    .buffer_done = [](void*, zwlr_screencopy_frame_v1*) {},
};

void Screens::globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                          std::uint32_t version) {
    const std::lock_guard lock(m_mutex);
    if (interface == wl_shm_interface.name) {
        m_shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
    } else if (interface == zwlr_screencopy_manager_v1_interface.name) {
        // The first version tells one format, of memory that both share: that is all we can read.
        m_manager = static_cast<zwlr_screencopy_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_screencopy_manager_v1_interface, 1));
    } else if (interface == zxdg_output_manager_v1_interface.name && version >= 2) {
        m_logical = static_cast<zxdg_output_manager_v1*>(
            wl_registry_bind(registry, name, &zxdg_output_manager_v1_interface, 2));
        for (const auto& output : m_outputs) askForPlace(*output);
    } else if (interface == wl_output_interface.name) {
        auto output = std::make_unique<Output>();
        output->name = name;
        output->output =
            static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, 1));
        if (m_logical != nullptr) askForPlace(*output);
        m_outputs.push_back(std::move(output));
    }
}

void Screens::globalRemoved(std::uint32_t name) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_outputs, [&](const auto& output) {
        if (output->name != name) return false;
        destroy(*output);
        return true;
    });
}

void Screens::askForPlace(Output& output) {
    output.logical = zxdg_output_manager_v1_get_xdg_output(m_logical, output.output);
    zxdg_output_v1_add_listener(output.logical, &kLogicalListener, this);
}

void Screens::placed(zxdg_output_v1* logical, std::int32_t x, std::int32_t y) {
    const std::lock_guard lock(m_mutex);
    for (const auto& output : m_outputs) {
        if (output->logical != logical) continue;
        output->place.x = x;
        output->place.y = y;
    }
}

void Screens::sized(zxdg_output_v1* logical, std::int32_t width, std::int32_t height) {
    const std::lock_guard lock(m_mutex);
    for (const auto& output : m_outputs) {
        if (output->logical != logical) continue;
        output->place.width = width;
        output->place.height = height;
    }
}

void Screens::over(const Frame& frame, bool succeeded) {
    for (auto own = m_frames.begin(); own != m_frames.end(); ++own) {
        if (own->get() != &frame) continue;
        const Held ending = *own;
        m_frames.erase(own);
        ending->end(succeeded);
        return;
    }
}

void Screens::start(const Held& frame, const DisplayRect& part) {
    const Output* on = nullptr;
    for (const auto& output : m_outputs) {
        if (output->place.sharedWith(part) == part) on = output.get();
    }
    if (on == nullptr || m_manager == nullptr || m_shm == nullptr) {
        frame->end(false);
        return;
    }
    frame->screens = this;
    frame->shm = m_shm;
    frame->frame = zwlr_screencopy_manager_v1_capture_output_region(
        m_manager, 0, on->output, part.x - on->place.x, part.y - on->place.y, part.width,
        part.height);
    m_frames.push_back(frame);
    zwlr_screencopy_frame_v1_add_listener(frame->frame, &kFrameListener, frame.get());
}

std::optional<std::string> Screens::png(const DisplayRect& part) {
    WaylandConnection* link = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        link = m_link;
    }
    if (link == nullptr || part.empty()) return std::nullopt;
    const auto frame = std::make_shared<Frame>();
    link->post([this, frame, part] { start(frame, part); });
    std::unique_lock lock(frame->mutex);
    if (!frame->changed.wait_for(lock, kFrameSilence, [&] { return frame->over; }) ||
        !frame->pixels) {
        return std::nullopt;
    }
    auto& pixels = *frame->pixels;
    std::vector<std::byte> turned;
    if (frame->upsideDown) {
        turned.resize(pixels.bytes.size());
        for (std::size_t y = 0; y < pixels.height; ++y) {
            std::memcpy(turned.data() + y * pixels.stride,
                        pixels.bytes.data() + (pixels.height - 1 - y) * pixels.stride,
                        pixels.stride);
        }
        pixels.bytes = turned;
    }
    return pngFrom(pixels);
}

void Screens::detach() {
    const auto frames = std::exchange(m_frames, {});
    for (const auto& frame : frames) frame->end(false);
    const std::lock_guard lock(m_mutex);
    m_link = nullptr;
    for (const auto& output : m_outputs) destroy(*output);
    m_outputs.clear();
    if (m_manager != nullptr) zwlr_screencopy_manager_v1_destroy(m_manager);
    if (m_logical != nullptr) zxdg_output_manager_v1_destroy(m_logical);
    if (m_shm != nullptr) wl_shm_destroy(m_shm);
    m_manager = nullptr;
    m_logical = nullptr;
    m_shm = nullptr;
}

} // namespace

std::shared_ptr<WaylandScreens> makeWaylandScreens() {
    return std::make_shared<Screens>();
}

} // namespace kelvane
