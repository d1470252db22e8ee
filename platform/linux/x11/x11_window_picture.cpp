#include "platform/linux/x11/x11_window_picture.h"

#include "platform/linux/x11/png_picture.h"
#include "platform/linux/x11/rectangles.h"
#include "platform/linux/x11/x11_connection.h"
#include "platform/linux/x11/x11_processes.h"
#include "platform/linux/x11/x11_windows.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/shm.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

/// An application that draws nothing after this long has nothing to draw...
constexpr auto kFirstStroke = 60ms;
/// ...and is done when it has drawn nothing for this long: a little more than one frame...
constexpr auto kQuiet = 20ms;
/// ...or at least once it has had this long, if it never rests.
constexpr auto kRestless = 100ms;
/// An application that has not shown what was missing by now hangs.
constexpr auto kPatience = 600ms;

/// Memory that this process and the server both see.
class SharedMemory {
public:
    SharedMemory(X11Connection& x, std::size_t size) : m_x(x), m_size(size) {
        const int file = ::memfd_create("window picture", MFD_CLOEXEC);
        if (file < 0) return;
        if (::ftruncate(file, static_cast<off_t>(size)) == 0) {
            void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
            if (memory != MAP_FAILED) m_memory = static_cast<std::byte*>(memory);
        }
        if (m_memory == nullptr) {
            ::close(file);
            return;
        }
        m_segment = xcb_generate_id(x.xcb());
        // Takes the descriptor along, whatever comes of it.
        const XcbOwned<xcb_generic_error_t> error(
            xcb_request_check(x.xcb(), xcb_shm_attach_fd_checked(x.xcb(), m_segment, file, 0)));
        m_attached = !error && x.alive();
    }
    ~SharedMemory() {
        if (m_attached) xcb_shm_detach(m_x.xcb(), m_segment);
        if (m_memory != nullptr) ::munmap(m_memory, m_size);
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    [[nodiscard]] bool usable() const { return m_attached; }
    [[nodiscard]] xcb_shm_seg_t segment() const { return m_segment; }
    [[nodiscard]] std::span<const std::byte> bytes() const { return {m_memory, m_size}; }

private:
    X11Connection& m_x;
    std::size_t m_size;
    std::byte* m_memory = nullptr;
    xcb_shm_seg_t m_segment = 0;
    bool m_attached = false;
};

bool isLocal(X11Connection& x) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return ::getsockname(xcb_get_file_descriptor(x.xcb()), reinterpret_cast<sockaddr*>(&address),
                         &length) == 0 &&
           address.ss_family == AF_UNIX;
}

bool has(X11Connection& x, xcb_extension_t& extension) {
    const auto* const data = xcb_get_extension_data(x.xcb(), &extension);
    return data != nullptr && data->present != 0;
}

const xcb_visualtype_t* findVisual(const xcb_screen_t& screen, xcb_visualid_t id) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == id) return visual.data;
        }
    }
    return nullptr;
}

const xcb_format_t* findFormat(X11Connection& x, std::uint8_t depth) {
    for (auto format = xcb_setup_pixmap_formats_iterator(xcb_get_setup(x.xcb())); format.rem > 0;
         xcb_format_next(&format)) {
        if (format.data->depth == depth) return format.data;
    }
    return nullptr;
}

Rectangle asRectangle(const xcb_rectangle_t& area) {
    return {area.x, area.y, area.width, area.height};
}

/// One picture of one window over one link.
class Sitting {
public:
    Sitting(X11Connection& x, xcb_window_t window) : m_x(x), m_xcb(x.xcb()), m_window(window) {}

    std::optional<std::string> png() {
        if (!look()) return std::nullopt;
        const auto copy = xcb_generate_id(m_xcb);
        xcb_create_pixmap(m_xcb, m_depth, copy, m_window, m_width, m_height);
        auto missing = copyVisible(copy);
        if (!missing) return std::nullopt;
        if (missing->empty()) return encode(copy, 0);
        xcb_free_pixmap(m_xcb, copy);
        if (!haveWholeCopyKept(*std::move(missing))) return std::nullopt;
        const auto kept = xcb_generate_id(m_xcb);
        xcb_composite_name_window_pixmap(m_xcb, m_window, kept);
        return encode(kept, m_border);
    }

private:
    bool look() {
        const auto geometryCookie = xcb_get_geometry_unchecked(m_xcb, m_window);
        const auto attributesCookie = xcb_get_window_attributes_unchecked(m_xcb, m_window);
        m_x.internAtoms(
            std::vector<std::string_view>{"_GTK_FRAME_EXTENTS", "WM_PROTOCOLS", "_NET_WM_PING"});
        const auto protocolsCookie = m_x.askProperty(m_window, m_x.atom("WM_PROTOCOLS"));
        const XcbOwned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_xcb, geometryCookie, nullptr));
        const XcbOwned<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(m_xcb, attributesCookie, nullptr));
        const auto protocols = m_x.takeProperty(protocolsCookie);
        if (!geometry || !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            return false;
        }
        m_depth = geometry->depth;
        m_width = geometry->width;
        m_height = geometry->height;
        m_border = geometry->border_width;
        m_visual = findVisual(m_x.screen(), attributes->visual);
        if (protocols) {
            const auto words = protocols->words();
            m_answersPings =
                std::find(words.begin(), words.end(), m_x.atom("_NET_WM_PING")) != words.end();
        }
        return m_visual != nullptr && (m_visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR ||
                                       m_visual->_class == XCB_VISUAL_CLASS_DIRECT_COLOR);
    }

    /// Copies what can be seen of the window and tells what cannot: the server reports every part
    /// of a copy that it had no source for. Absent when it did not copy at all.
    std::optional<std::vector<Rectangle>> copyVisible(xcb_pixmap_t copy) {
        const auto context = xcb_generate_id(m_xcb);
        const std::uint32_t values[] = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 1};
        xcb_create_gc(m_xcb, context, copy, XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES,
                      values);
        xcb_copy_area(m_xcb, m_window, copy, context, 0, 0, 0, 0, m_width, m_height);
        xcb_free_gc(m_xcb, context);
        m_x.roundTrip();
        std::vector<Rectangle> missing;
        bool copied = false;
        while (const auto event = m_x.nextEvent(SteadyClock::now())) {
            const auto type = event->response_type & 0x7FU;
            if (type == 0) return std::nullopt;
            if (type == XCB_NO_EXPOSURE) copied = true;
            if (type != XCB_GRAPHICS_EXPOSURE) continue;
            const auto& part = *reinterpret_cast<const xcb_graphics_exposure_event_t*>(event.get());
            missing.push_back({part.x, part.y, part.width, part.height});
            copied = true;
        }
        if (!copied || !m_x.alive()) return std::nullopt;
        return missing;
    }

    /// Has the server keep all of the window and waits until the application has drawn what was
    /// missing. False when it does not.
    bool haveWholeCopyKept(std::vector<Rectangle> missing) {
        if (!has(m_x, xcb_composite_id) || !has(m_x, xcb_damage_id)) return false;
        const auto compositeCookie = xcb_composite_query_version_unchecked(m_xcb, 0, 4);
        const auto damageCookie = xcb_damage_query_version_unchecked(m_xcb, 1, 1);
        const XcbOwned<xcb_composite_query_version_reply_t> composite(
            xcb_composite_query_version_reply(m_xcb, compositeCookie, nullptr));
        const XcbOwned<xcb_damage_query_version_reply_t> damage(
            xcb_damage_query_version_reply(m_xcb, damageCookie, nullptr));
        if (!composite || !damage) return false;
        if (composite->major_version == 0 && composite->minor_version < 2) return false;

        const xcb_timestamp_t time = m_answersPings ? m_x.serverTime() : 0;
        const std::uint32_t rootEvents = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        if (m_answersPings) {
            xcb_change_window_attributes(m_xcb, m_x.root(), XCB_CW_EVENT_MASK, &rootEvents);
        }
        // While the server is ours, whatever is drawn is drawn by the server itself: backgrounds.
        xcb_grab_server(m_xcb);
        const auto reports = xcb_generate_id(m_xcb);
        xcb_damage_create(m_xcb, reports, m_window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        const XcbOwned<xcb_generic_error_t> refused(
            xcb_request_check(m_xcb, xcb_composite_redirect_window_checked(
                                         m_xcb, m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC)));
        m_x.roundTrip();
        Watch watch{std::move(missing), m_x.atom("_NET_WM_PING"), time};
        while (const auto event = m_x.nextEvent(SteadyClock::now())) note(*event, watch);
        watch.byApplication = false;
        xcb_ungrab_server(m_xcb);
        if (m_answersPings) ping(time);
        xcb_flush(m_xcb);
        return !refused && waitUntilDrawn(watch);
    }

    struct Watch {
        std::vector<Rectangle> missing; ///< Not drawn since.
        xcb_atom_t pingAtom = XCB_ATOM_NONE;
        xcb_timestamp_t pingTime = 0;
        bool byApplication = false; ///< Something was drawn after the server was free again.
        bool pong = false;          ///< The application has seen all that was sent before the ping.
        SteadyClock::time_point lastStroke = SteadyClock::now();
    };

    void note(const xcb_generic_event_t& event, Watch& watch) {
        const auto type = event.response_type & 0x7FU;
        if (type == xcb_get_extension_data(m_xcb, &xcb_damage_id)->first_event) {
            const auto& stroke = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
            watch.missing = without(watch.missing, asRectangle(stroke.area));
            watch.byApplication = true;
            watch.lastStroke = SteadyClock::now();
        } else if (type == XCB_CLIENT_MESSAGE) {
            const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
            watch.pong = watch.pong || (message.type == m_x.atom("WM_PROTOCOLS") &&
                                        message.data.data32[0] == watch.pingAtom &&
                                        message.data.data32[1] == watch.pingTime &&
                                        message.data.data32[2] == m_window);
        }
    }

    /// The question comes after the news that parts of the window are to be drawn, so an answer
    /// means that the application knows.
    void ping(xcb_timestamp_t time) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = m_window;
        message.type = m_x.atom("WM_PROTOCOLS");
        message.data.data32[0] = m_x.atom("_NET_WM_PING");
        message.data.data32[1] = time;
        message.data.data32[2] = m_window;
        xcb_send_event(m_xcb, 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
    }

    /// The server has filled everything with the window's background and the application has left
    /// it at that. It may be content with it, or it may hang. (Not every application that promises
    /// to answer pings answers in a way that others see, but those that do not draw.)
    bool hadNothingToDraw(const Watch& watch) {
        if (m_answersPings) return watch.pong;
        return !serverTellsProcesses(m_x) ||
               !isStopped(takeProcess(m_x, askProcess(m_x, m_window)));
    }

    bool waitUntilDrawn(Watch& watch) {
        const auto begin = SteadyClock::now();
        std::optional<SteadyClock::time_point> drawnSince;
        for (;;) {
            const auto now = SteadyClock::now();
            const bool drawn =
                watch.missing.empty() &&
                (watch.byApplication || (now - begin >= kFirstStroke && hadNothingToDraw(watch)));
            if (drawn && !drawnSince) drawnSince = now;
            if (drawn && (now - std::max(watch.lastStroke, *drawnSince) >= kQuiet ||
                          now - *drawnSince >= kRestless)) {
                return true;
            }
            if (now - begin >= kPatience || !m_x.alive()) return false;
            const auto wait = std::min({begin + kPatience, now + kQuiet});
            if (const auto event = m_x.nextEvent(wait)) note(*event, watch);
        }
    }

    /// The picture of the window in `drawable`, which has a border of this width around it.
    std::optional<std::string> encode(xcb_drawable_t drawable, std::uint16_t border) {
        const auto geometryCookie = xcb_get_geometry_unchecked(m_xcb, drawable);
        const auto marginsCookie = m_x.askProperty(m_window, m_x.atom("_GTK_FRAME_EXTENTS"));
        const XcbOwned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_xcb, geometryCookie, nullptr));
        const auto margins = m_x.takeProperty(marginsCookie);
        const auto* const format = findFormat(m_x, m_depth);
        if (!geometry || format == nullptr || geometry->width <= 2 * border ||
            geometry->height <= 2 * border) {
            return std::nullopt;
        }
        const std::uint32_t width = geometry->width - 2U * border;
        const std::uint32_t height = geometry->height - 2U * border;
        const auto extents = frameExtents(margins, width, height);
        const Rectangle part{static_cast<std::int32_t>(border + extents.left),
                             static_cast<std::int32_t>(border + extents.top),
                             static_cast<std::int32_t>(width - extents.left - extents.right),
                             static_cast<std::int32_t>(height - extents.top - extents.bottom)};
        ServerPixels pixels;
        pixels.width = static_cast<std::uint32_t>(part.width);
        pixels.height = static_cast<std::uint32_t>(part.height);
        pixels.bitsPerPixel = format->bits_per_pixel;
        const std::size_t pad = format->scanline_pad;
        pixels.stride = (pixels.width * std::size_t{pixels.bitsPerPixel} + pad - 1) / pad * pad / 8;
        pixels.bigEndian = xcb_get_setup(m_xcb)->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
        pixels.red = m_visual->red_mask;
        pixels.green = m_visual->green_mask;
        pixels.blue = m_visual->blue_mask;
        if (m_depth == 32) pixels.alpha = ~(pixels.red | pixels.green | pixels.blue);
        return fetchAndEncode(drawable, part, pixels);
    }

    std::optional<std::string> fetchAndEncode(xcb_drawable_t drawable, const Rectangle& part,
                                              ServerPixels& pixels) {
        const auto x = static_cast<std::int16_t>(part.x);
        const auto y = static_cast<std::int16_t>(part.y);
        const auto width = static_cast<std::uint16_t>(part.width);
        const auto height = static_cast<std::uint16_t>(part.height);
        constexpr auto kEveryPlane = std::numeric_limits<std::uint32_t>::max();
        const auto size = pixels.stride * pixels.height;
        if (canShareMemory()) {
            const SharedMemory memory(m_x, size);
            if (memory.usable()) {
                const XcbOwned<xcb_shm_get_image_reply_t> image(xcb_shm_get_image_reply(
                    m_xcb,
                    xcb_shm_get_image_unchecked(m_xcb, drawable, x, y, width, height, kEveryPlane,
                                                XCB_IMAGE_FORMAT_Z_PIXMAP, memory.segment(), 0),
                    nullptr));
                if (!image) return std::nullopt;
                pixels.bytes = memory.bytes();
                return pngFrom(pixels);
            }
        }
        const XcbOwned<xcb_get_image_reply_t> image(
            xcb_get_image_reply(m_xcb,
                                xcb_get_image_unchecked(m_xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                                                        x, y, width, height, kEveryPlane),
                                nullptr));
        if (!image) return std::nullopt;
        pixels.bytes = std::as_bytes(std::span(
            xcb_get_image_data(image.get()),
            static_cast<std::size_t>(std::max(xcb_get_image_data_length(image.get()), 0))));
        return pngFrom(pixels);
    }

    bool canShareMemory() {
        // A descriptor cannot travel over a network connection, and the attempt would end it.
        if (!isLocal(m_x) || !has(m_x, xcb_shm_id)) return false;
        const XcbOwned<xcb_shm_query_version_reply_t> version(
            xcb_shm_query_version_reply(m_xcb, xcb_shm_query_version_unchecked(m_xcb), nullptr));
        return version && (version->major_version > 1 ||
                           (version->major_version == 1 && version->minor_version >= 2));
    }

    X11Connection& m_x;
    xcb_connection_t* m_xcb;
    xcb_window_t m_window;
    std::uint8_t m_depth = 0;
    std::uint16_t m_width = 0;
    std::uint16_t m_height = 0;
    std::uint16_t m_border = 0;
    const xcb_visualtype_t* m_visual = nullptr;
    bool m_answersPings = false;
};

class X11WindowPicture : public WindowPicture {
public:
    explicit X11WindowPicture(std::string display) : m_display(std::move(display)) {}

    std::optional<std::string> png(std::int64_t windowNumber) override {
        if (m_display.empty() || windowNumber <= 0 ||
            windowNumber > std::numeric_limits<xcb_window_t>::max()) {
            return std::nullopt;
        }
        const auto link = X11Connection::open(m_display);
        if (!link) return std::nullopt;
        return Sitting(*link, static_cast<xcb_window_t>(windowNumber)).png();
    }

private:
    std::string m_display;
};

} // namespace

std::unique_ptr<WindowPicture> makeX11WindowPicture(std::string display) {
    return std::make_unique<X11WindowPicture>(std::move(display));
}

} // namespace kelvane
