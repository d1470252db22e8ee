#include "platform/linux/x11/x11_window_picture.h"

#include "platform/linux/common/png_picture.h"
#include "platform/linux/common/process_facts.h"
#include "platform/linux/x11/rectangles.h"
#include "platform/linux/x11/x11_connection.h"
#include "platform/linux/x11/x11_processes.h"
#include "platform/linux/x11/x11_windows.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/shape.h>
#include <xcb/shm.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <span>
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
/// An application that has not drawn all of its window by now hangs.
constexpr auto kPatience = 600ms;
/// For the pixels to come: a large picture of a display on another machine takes seconds.
constexpr auto kTransfer = 3s;
/// A window that changes its size meanwhile is drawn for us anew, once.
constexpr int kSittings = 2;
/// Windows inside a window: programs that give each control one have some hundreds.
constexpr std::size_t kMostParts = 4096;
/// Rectangles to a request, which holds some 32,000 at most.
constexpr std::size_t kClipAtOnce = 4096;

/// Memory that this process and the server both see.
class SharedMemory {
public:
    SharedMemory(X11Connection& x, std::size_t size) : m_x(x), m_size(size) {
        // A file without a name, so that nobody else can open it; unlike a System V segment it goes
        // with its last user.
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
        m_attached = x.succeeded(xcb_shm_attach_fd_checked(x.xcb(), m_segment, file, 0));
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

// By the socket, not by the name of the display: "localhost:10" may lead through a tunnel.
bool isLocal(X11Connection& x) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    return ::getsockname(xcb_get_file_descriptor(x.xcb()), reinterpret_cast<sockaddr*>(&address),
                         &length) == 0 &&
           address.ss_family == AF_UNIX;
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

/// What of `area` lies inside `bounds`.
Rectangle common(const Rectangle& area, const Rectangle& bounds) {
    const auto left = std::max(area.x, bounds.x);
    const auto top = std::max(area.y, bounds.y);
    return {left, top, std::min(area.x + area.width, bounds.x + bounds.width) - left,
            std::min(area.y + area.height, bounds.y + bounds.height) - top};
}

/// One picture of one window over one link.
class Sitting {
public:
    Sitting(X11Connection& x, xcb_window_t window) : m_x(x), m_xcb(x.xcb()), m_window(window) {}

    std::optional<std::string> png() {
        // In this order: whatever is wrong is found before the application is asked to draw.
        if (!look() || !serverKeepsCopies() || !demandAll() || !waitUntilDrawn()) {
            return std::nullopt;
        }
        return encode();
    }

    /// Whether there was no picture because the window changed its size meanwhile.
    [[nodiscard]] bool wasResized() const { return m_resized; }

private:
    bool look() {
        const auto geometryCookie = xcb_get_geometry_unchecked(m_xcb, m_window);
        const auto attributesCookie = xcb_get_window_attributes_unchecked(m_xcb, m_window);
        // One question for all names, and its answer is there when the properties below are asked
        // for.
        m_x.internAtoms(
            std::vector<std::string_view>{"_GTK_FRAME_EXTENTS", "WM_PROTOCOLS", "_NET_WM_PING"});
        const auto protocolsCookie = m_x.askProperty(m_window, m_x.atom("WM_PROTOCOLS"));
        const auto geometry = m_x.reply<xcb_get_geometry_reply_t>(geometryCookie);
        const auto attributes = m_x.reply<xcb_get_window_attributes_reply_t>(attributesCookie);
        const auto protocols = m_x.takeProperty(protocolsCookie);
        if (!geometry || !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            return false;
        }
        m_depth = geometry->depth;
        m_visual = findVisual(m_x.screen(), attributes->visual);
        if (protocols) {
            const auto words = protocols->words();
            m_answersPings =
                std::find(words.begin(), words.end(), m_x.atom("_NET_WM_PING")) != words.end();
        }
        // Only in these the masks of a visual say where the colours are.
        return m_visual != nullptr && (m_visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR ||
                                       m_visual->_class == XCB_VISUAL_CLASS_DIRECT_COLOR);
    }

    bool serverKeepsCopies() {
        const auto* const damageExtension = m_x.extension(xcb_damage_id);
        if (m_x.extension(xcb_composite_id) == nullptr || damageExtension == nullptr) return false;
        m_damageEvent = damageExtension->first_event;
        const auto compositeCookie = xcb_composite_query_version_unchecked(m_xcb, 0, 4);
        const auto damageCookie = xcb_damage_query_version_unchecked(m_xcb, 1, 1);
        const auto composite = m_x.reply<xcb_composite_query_version_reply_t>(compositeCookie);
        const auto damage = m_x.reply<xcb_damage_query_version_reply_t>(damageCookie);
        // Copies can be named from version 0.2 of Composite on.
        return composite && damage &&
               (composite->major_version > 0 || composite->minor_version >= 2);
    }

    /// Has the server keep all of the window, and the application told to draw all of it.
    bool demandAll() {
        // A window that changes its size is drawn anew, and what was drawn of the old size counts
        // no more.
        // Pixels do not say who drew them: where the application has not drawn yet, a picture would
        // show what was on the screen before, such as the text of a window that has just been
        // closed. So all of it is drawn for us, and only what was drawn since counts.
        const std::uint32_t resizing = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_xcb, m_window, XCB_CW_EVENT_MASK, &resizing);
        if (m_answersPings) {
            // The server's own time tells our ping from others that may be under way.
            m_pingTime = m_x.serverTime();
            const std::uint32_t rootEvents = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
            xcb_change_window_attributes(m_xcb, m_x.root(), XCB_CW_EVENT_MASK, &rootEvents);
        }
        // While the server is ours, whatever is drawn is drawn by the server itself: backgrounds.
        xcb_grab_server(m_xcb);
        const auto reports = xcb_generate_id(m_xcb);
        // Raw rectangles: each stroke is reported, also where something was reported before.
        xcb_damage_create(m_xcb, reports, m_window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        const auto parts = measure();
        // Automatic: the screen goes on looking as it did, and a copy is kept beside it.
        const bool kept = m_x.succeeded(xcb_composite_redirect_window_checked(
            m_xcb, m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC));
        // Each window is told that all of it is to be drawn, as after it was covered.
        for (const auto part : parts) xcb_clear_area(m_xcb, 1, part, 0, 0, 0, 0);
        // Reports of what the server has done itself are in before it is let go, so that they are
        // not taken for the application's.
        const bool asked = m_x.roundTrip();
        noteEverything();
        m_byApplication = false;
        xcb_ungrab_server(m_xcb);
        if (m_answersPings) ping();
        xcb_flush(m_xcb);
        return kept && asked && !parts.empty();
    }

    /// Size and shape as they are now, with the server in our hands. The window and the windows
    /// inside it, each of which is drawn by itself; none when it is gone.
    std::vector<xcb_window_t> measure() {
        const auto geometryCookie = xcb_get_geometry_unchecked(m_xcb, m_window);
        const bool hasShapes = m_x.extension(xcb_shape_id) != nullptr;
        const auto geometry = m_x.reply<xcb_get_geometry_reply_t>(geometryCookie);
        if (!geometry) return {};
        m_width = geometry->width;
        m_height = geometry->height;
        m_border = geometry->border_width;
        const Rectangle all{0, 0, m_width, m_height};
        m_shape = {all};
        if (hasShapes) {
            const auto shape = m_x.reply<xcb_shape_get_rectangles_reply_t>(
                xcb_shape_get_rectangles_unchecked(m_xcb, m_window, XCB_SHAPE_SK_BOUNDING));
            if (!shape) return {};
            m_shape.clear();
            const std::span rectangles(
                xcb_shape_get_rectangles_rectangles(shape.get()),
                static_cast<std::size_t>(xcb_shape_get_rectangles_rectangles_length(shape.get())));
            for (const auto& each : rectangles) {
                const auto inside = common(asRectangle(each), all);
                if (!inside.empty()) m_shape.push_back(inside);
            }
        }
        // A first report comes with the asking, of what can be seen; it says nothing about who
        // drew.
        noteEverything();
        m_missing = m_shape;
        m_resized = false;

        std::vector<xcb_window_t> parts{m_window};
        // From the outside in, without recursion; a window that went meanwhile is passed over.
        for (std::size_t next = 0; next < parts.size() && parts.size() < kMostParts; ++next) {
            const auto tree =
                m_x.reply<xcb_query_tree_reply_t>(xcb_query_tree_unchecked(m_xcb, parts[next]));
            if (!tree) continue;
            const auto* const children = xcb_query_tree_children(tree.get());
            parts.insert(parts.end(), children,
                         children + xcb_query_tree_children_length(tree.get()));
        }
        return parts;
    }

    void noteEverything() {
        while (const auto event = m_x.nextEvent(SteadyClock::now())) note(*event);
    }

    void note(const xcb_generic_event_t& event) {
        // The highest bit marks events that other clients have sent.
        const auto type = event.response_type & 0x7FU;
        if (type == m_damageEvent) {
            const auto& stroke = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
            m_missing = without(m_missing, asRectangle(stroke.area));
            m_byApplication = true;
            m_lastStroke = SteadyClock::now();
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto& change = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
            m_resized = m_resized || (change.window == m_window &&
                                      (change.width != m_width || change.height != m_height));
        } else if (type == XCB_CLIENT_MESSAGE) {
            const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
            // By type, word, time and window: an answer to somebody else's ping is none to ours.
            if (message.type == m_x.atom("WM_PROTOCOLS") &&
                message.data.data32[0] == m_x.atom("_NET_WM_PING") &&
                message.data.data32[1] == m_pingTime && message.data.data32[2] == m_window) {
                ++m_pongs;
            }
        }
    }

    /// The question comes after the news that the window is to be drawn, so an answer means that
    /// the application knows.
    void ping() {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = m_window;
        message.type = m_x.atom("WM_PROTOCOLS");
        message.data.data32[0] = m_x.atom("_NET_WM_PING");
        message.data.data32[1] = m_pingTime;
        message.data.data32[2] = m_window;
        xcb_send_event(m_xcb, 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        ++m_pings;
    }

    /// The server has filled everything with the window's background and the application has left
    /// it at that. It may be content with it, or it may hang. (Not every application that promises
    /// to answer pings answers in a way that others see, but those that do not draw.) One that
    /// answers may still be about to draw, in its next turn: it is busy with that until it answers
    /// once more.
    bool hadNothingToDraw() {
        if (m_answersPings) {
            if (m_pings == 1 && m_pongs == 1) ping();
            return m_pongs >= 2;
        }
        // Without pings only a process that is stopped is known to draw nothing. Where processes
        // are not told of, nothing speaks against it.
        return !serverTellsProcesses(m_x) ||
               !isStopped(takeProcess(m_x, askProcess(m_x, m_window)));
    }

    bool waitUntilDrawn() {
        const auto begin = SteadyClock::now();
        std::optional<SteadyClock::time_point> drawnSince;
        for (;;) {
            const auto now = SteadyClock::now();
            const bool drawn =
                m_missing.empty() &&
                (m_byApplication || (now - begin >= kFirstStroke && hadNothingToDraw()));
            if (drawn && !drawnSince) drawnSince = now;
            if (drawn && (now - std::max(m_lastStroke, *drawnSince) >= kQuiet ||
                          now - *drawnSince >= kRestless)) {
                return true;
            }
            if (now - begin >= kPatience || m_resized || !m_x.alive()) return false;
            // A frame at a time: what is drawn comes as events, and what is not has to be looked
            // for.
            const auto wait = std::min({begin + kPatience, now + kQuiet});
            if (const auto event = m_x.nextEvent(wait)) note(*event);
        }
    }

    /// The picture of the window as the server has kept it, which has the border around it.
    std::optional<std::string> encode() {
        // The name refers to the copy as it is now, even if the window gets another.
        const auto kept = xcb_generate_id(m_xcb);
        xcb_composite_name_window_pixmap(m_xcb, m_window, kept);
        const auto geometryCookie = xcb_get_geometry_unchecked(m_xcb, kept);
        const auto marginsCookie = m_x.askProperty(m_window, m_x.atom("_GTK_FRAME_EXTENTS"));
        const auto geometry = m_x.reply<xcb_get_geometry_reply_t>(geometryCookie);
        const auto margins = m_x.takeProperty(marginsCookie);
        // A window of another size has been given a new copy, whose pixels are anybody's.
        noteEverything();
        if (!geometry || m_resized || geometry->width != m_width + 2 * m_border ||
            geometry->height != m_height + 2 * m_border) {
            return std::nullopt;
        }
        const auto* const format = findFormat(m_x, m_depth);
        if (format == nullptr) return std::nullopt;
        const auto shaped = insideShape(kept);
        const auto source = shaped.value_or(kept);
        const std::int32_t border = shaped ? 0 : m_border;
        // Shadows that the program draws around its window are no part of what it shows.
        const auto extents = frameExtents(margins, m_width, m_height);
        const Rectangle part{border + static_cast<std::int32_t>(extents.left),
                             border + static_cast<std::int32_t>(extents.top),
                             static_cast<std::int32_t>(m_width - extents.left - extents.right),
                             static_cast<std::int32_t>(m_height - extents.top - extents.bottom)};
        ServerPixels pixels;
        pixels.width = static_cast<std::uint32_t>(part.width);
        pixels.height = static_cast<std::uint32_t>(part.height);
        pixels.bitsPerPixel = format->bits_per_pixel;
        const std::size_t pad = format->scanline_pad;
        // Rows begin at multiples of the pad, which is in bits.
        pixels.stride = (pixels.width * std::size_t{pixels.bitsPerPixel} + pad - 1) / pad * pad / 8;
        pixels.bigEndian = xcb_get_setup(m_xcb)->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
        pixels.red = m_visual->red_mask;
        pixels.green = m_visual->green_mask;
        pixels.blue = m_visual->blue_mask;
        // What no colour takes of 32 bits is alpha, where it means anything; see alphaIsMeant().
        if (m_depth == 32) pixels.alpha = ~(pixels.red | pixels.green | pixels.blue);
        return fetchAndEncode(source, part, pixels);
    }

    /// What the server kept, without what lies outside the window's shape: nobody draws that, so
    /// it holds whatever was on the screen. Absent for a window that is all of its rectangle.
    std::optional<xcb_pixmap_t> insideShape(xcb_pixmap_t kept) {
        const Rectangle all{0, 0, m_width, m_height};
        if (m_shape.size() == 1 && m_shape.front() == all) return std::nullopt;
        const auto copy = xcb_generate_id(m_xcb);
        xcb_create_pixmap(m_xcb, m_depth, copy, m_window, m_width, m_height);
        const auto context = xcb_generate_id(m_xcb);
        const std::uint32_t values[] = {0, 0}; // nothing, and black where that is a colour
        xcb_create_gc(m_xcb, context, copy, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, values);
        // What is outside the shape is made empty first, since a new pixmap holds whatever was
        // there.
        const xcb_rectangle_t everything{0, 0, m_width, m_height};
        xcb_poly_fill_rectangle(m_xcb, copy, context, 1, &everything);
        std::vector<xcb_rectangle_t> clip;
        for (std::size_t from = 0; from < m_shape.size(); from += kClipAtOnce) {
            clip.clear();
            const auto end = std::min(m_shape.size(), from + kClipAtOnce);
            for (std::size_t i = from; i < end; ++i) {
                clip.push_back({static_cast<std::int16_t>(m_shape[i].x),
                                static_cast<std::int16_t>(m_shape[i].y),
                                static_cast<std::uint16_t>(m_shape[i].width),
                                static_cast<std::uint16_t>(m_shape[i].height)});
            }
            // Several requests: each draws what lies within its own rectangles.
            xcb_set_clip_rectangles(m_xcb, XCB_CLIP_ORDERING_UNSORTED, context, 0, 0,
                                    static_cast<std::uint32_t>(clip.size()), clip.data());
            const auto border = static_cast<std::int16_t>(m_border);
            xcb_copy_area(m_xcb, kept, copy, context, border, border, 0, 0, m_width, m_height);
        }
        xcb_free_gc(m_xcb, context);
        return copy;
    }

    std::optional<std::string> fetchAndEncode(xcb_drawable_t drawable, const Rectangle& part,
                                              ServerPixels& pixels) {
        const auto x = static_cast<std::int16_t>(part.x);
        const auto y = static_cast<std::int16_t>(part.y);
        const auto width = static_cast<std::uint16_t>(part.width);
        const auto height = static_cast<std::uint16_t>(part.height);
        constexpr auto kEveryPlane = std::numeric_limits<std::uint32_t>::max();
        const auto size = pixels.stride * pixels.height;
        // Without shared memory the pixels travel over the connection, which takes longer.
        if (canShareMemory()) {
            const SharedMemory memory(m_x, size);
            if (memory.usable()) {
                const auto image = m_x.reply<xcb_shm_get_image_reply_t>(
                    xcb_shm_get_image_unchecked(m_xcb, drawable, x, y, width, height, kEveryPlane,
                                                XCB_IMAGE_FORMAT_Z_PIXMAP, memory.segment(), 0),
                    kTransfer);
                if (!image) return std::nullopt;
                pixels.bytes = memory.bytes();
                return pngFrom(pixels);
            }
        }
        const auto image = m_x.reply<xcb_get_image_reply_t>(
            xcb_get_image_unchecked(m_xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, x, y, width, height,
                                    kEveryPlane),
            kTransfer);
        if (!image) return std::nullopt;
        pixels.bytes = std::as_bytes(std::span(
            xcb_get_image_data(image.get()),
            static_cast<std::size_t>(std::max(xcb_get_image_data_length(image.get()), 0))));
        return pngFrom(pixels);
    }

    bool canShareMemory() {
        // A descriptor cannot travel over a network connection, and the attempt would end it.
        if (!isLocal(m_x) || m_x.extension(xcb_shm_id) == nullptr) return false;
        const auto version =
            m_x.reply<xcb_shm_query_version_reply_t>(xcb_shm_query_version_unchecked(m_xcb));
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
    xcb_timestamp_t m_pingTime = 0;
    int m_pings = 0;
    int m_pongs = 0;
    std::uint8_t m_damageEvent = 0;
    std::vector<Rectangle> m_shape;   ///< What belongs to the window.
    std::vector<Rectangle> m_missing; ///< What of it was not drawn since we asked.
    bool m_byApplication = false;     ///< Something was drawn after the server was free again.
    bool m_resized = false;
    SteadyClock::time_point m_lastStroke = SteadyClock::now();
};

class X11WindowPicture : public WindowPicture {
public:
    explicit X11WindowPicture(std::string display) : m_display(std::move(display)) {}

    std::optional<std::string> png(std::int64_t windowNumber) override {
        if (m_display.empty() || windowNumber <= 0 ||
            windowNumber > std::numeric_limits<xcb_window_t>::max()) {
            return std::nullopt;
        }
        // A link of its own for each sitting: what a link has redirected ends with it, whatever
        // happened.
        for (int i = 0; i < kSittings; ++i) {
            const auto link = X11Connection::open(m_display);
            if (!link) return std::nullopt;
            Sitting sitting(*link, static_cast<xcb_window_t>(windowNumber));
            if (auto png = sitting.png()) return png;
            if (!sitting.wasResized()) break;
        }
        return std::nullopt;
    }

private:
    std::string m_display;
};

} // namespace

std::unique_ptr<WindowPicture> makeX11WindowPicture(std::string display) {
    return std::make_unique<X11WindowPicture>(std::move(display));
}

} // namespace kelvane
