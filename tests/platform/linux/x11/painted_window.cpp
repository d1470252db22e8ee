#include "tests/platform/linux/x11/painted_window.h"

#include <xcb/shape.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

/// The 32-bit visual of a screen, and a colour map for it.
xcb_visualid_t deepVisual(const xcb_screen_t& screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        if (depth.data->depth != 32) continue;
        const auto visuals = xcb_depth_visuals_iterator(depth.data);
        if (visuals.rem > 0) return visuals.data->visual_id;
    }
    throw std::runtime_error("this server has no visual with an alpha channel");
}

/// An id that no window of this process had. The server gives a link the range of one that has
/// ended, and a window manager that is still busy with the end of a window unmaps whatever has its
/// id by then.
xcb_window_t unusedId(xcb_connection_t* xcb) {
    static std::atomic<unsigned> windows = 0;
    for (auto others = windows++; others > 0; --others) xcb_generate_id(xcb);
    return xcb_generate_id(xcb);
}

} // namespace

PaintedWindow::PaintedWindow(const std::string& display, PaintedWindowOptions options)
    : m_options(std::move(options)),
      m_link(X11Connection::open(display, std::chrono::minutes(1))) {
    if (!m_link) throw std::runtime_error("no server on " + display);
    auto& x = *m_link;
    auto* const xcb = x.xcb();
    m_window = unusedId(xcb);
    auto visual = x.screen().root_visual;
    auto colours = x.screen().default_colormap;
    if (m_options.depth == 32) {
        visual = deepVisual(x.screen());
        colours = xcb_generate_id(xcb);
        xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, colours, x.root(), visual);
    }
    std::uint32_t mask =
        XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP;
    std::vector<std::uint32_t> values;
    if (m_options.background) {
        mask |= XCB_CW_BACK_PIXEL;
        values.push_back(*m_options.background);
    }
    values.insert(values.end(),
                  {0xFF123456, m_options.managed ? 0U : 1U, XCB_EVENT_MASK_EXPOSURE, colours});
    xcb_create_window(xcb, m_options.depth, m_window, x.root(), m_options.x, m_options.y,
                      m_options.width, m_options.height, m_options.border,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual, mask, values.data());

    const auto set = [&](xcb_atom_t name, xcb_atom_t type,
                         const std::vector<std::uint32_t>& words) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, name, type, 32,
                            static_cast<std::uint32_t>(words.size()), words.data());
    };
    const auto names = m_options.instance + '\0' + m_options.wmClass + '\0';
    if (names.size() > 2) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS,
                            XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(names.size()),
                            names.data());
    }
    if (!m_options.type.empty()) {
        set(x.atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, {x.atom(m_options.type)});
    }
    if (!m_options.frameExtents.empty()) {
        set(x.atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, m_options.frameExtents);
    }
    if (m_options.answersPings) {
        set(x.atom("WM_PROTOCOLS"), XCB_ATOM_ATOM, {x.atom("_NET_WM_PING")});
    }
    // Where it is to stand is the test's business, not the window manager's: USPosition.
    set(XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
        {1, static_cast<std::uint32_t>(m_options.x), static_cast<std::uint32_t>(m_options.y),
         m_options.width, m_options.height, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    if (m_options.transientFor != XCB_WINDOW_NONE) setTransientFor(m_options.transientFor);
    if (!m_options.shape.empty()) {
        xcb_shape_rectangles(
            xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, m_window, 0,
            0, static_cast<std::uint32_t>(m_options.shape.size()), m_options.shape.data());
    }
    xcb_map_window(xcb, m_window);
    xcb_flush(xcb);
    m_thread = std::thread([this] { run(); });
}

PaintedWindow::~PaintedWindow() {
    m_ends = true;
    m_thread.join();
}

bool PaintedWindow::waitUntilDrawn() const {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!m_drawn && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(2ms);
    }
    return m_drawn;
}

void PaintedWindow::hang() {
    m_hangs = true;
    while (!m_hanging) std::this_thread::sleep_for(1ms);
}

void PaintedWindow::setTransientFor(xcb_window_t other) {
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_TRANSIENT_FOR,
                        XCB_ATOM_WINDOW, 32, 1, &other);
    xcb_flush(m_link->xcb());
}

void PaintedWindow::run() {
    auto& x = *m_link;
    while (!m_ends && x.alive()) {
        if (m_hangs) {
            m_hanging = true;
            std::this_thread::sleep_for(5ms);
            continue;
        }
        m_hanging = false;
        const auto event = x.nextEvent(std::chrono::steady_clock::now() + 10ms);
        if (!event) continue;
        const auto type = event->response_type & 0x7FU;
        if (type == XCB_EXPOSE &&
            reinterpret_cast<const xcb_expose_event_t*>(event.get())->count == 0) {
            std::this_thread::sleep_for(m_options.slowness);
            draw();
        }
        if (type == XCB_CLIENT_MESSAGE) {
            auto message = *reinterpret_cast<xcb_client_message_event_t*>(event.get());
            if (message.data.data32[0] != x.atom("_NET_WM_PING")) continue;
            message.window = x.root();
            xcb_send_event(x.xcb(), 0, x.root(),
                           XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT |
                               XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           reinterpret_cast<const char*>(&message));
            xcb_flush(x.xcb());
        }
    }
}

void PaintedWindow::draw() {
    auto* const xcb = m_link->xcb();
    const auto context = xcb_generate_id(xcb);
    xcb_create_gc(xcb, context, m_window, 0, nullptr);
    for (const auto& part : m_options.picture) {
        xcb_change_gc(xcb, context, XCB_GC_FOREGROUND, &part.pixel);
        xcb_poly_fill_rectangle(xcb, m_window, context, 1, &part.area);
    }
    xcb_free_gc(xcb, context);
    m_link->roundTrip();
    m_drawn = true;
}

} // namespace kelvane
