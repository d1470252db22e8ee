// A window of known colours, for tests that must know every pixel and every property.
//
// It lives on a link and a thread of its own, and draws itself whenever the server asks, like a
// small application would, until it is told to hang.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {

struct PaintedRectangle {
    xcb_rectangle_t area{};
    std::uint32_t pixel = 0; ///< 0xRRGGBB, or 0xAARRGGBB at depth 32.
};

struct PaintedWindowOptions {
    std::int16_t x = 100;
    std::int16_t y = 100;
    std::uint16_t width = 200;
    std::uint16_t height = 100;
    std::uint16_t border = 0;
    std::uint8_t depth = 24; ///< 24 or 32.
    /// What the server paints where something is missing; without it the server paints nothing.
    std::optional<std::uint32_t> background{};
    std::vector<PaintedRectangle> picture{};
    std::string instance = "painted";
    std::string wmClass = "Painted";
    std::string type{}; ///< Like "_NET_WM_WINDOW_TYPE_DOCK"; empty for none.
    xcb_window_t transientFor = XCB_WINDOW_NONE;
    std::vector<std::uint32_t> frameExtents{}; ///< Left, right, top, bottom; empty for none.
    bool answersPings = true;                  ///< And says so.
    std::chrono::milliseconds slowness{0};     ///< Between hearing that it is to draw, and drawing.
    std::vector<xcb_rectangle_t> shape{};      ///< Of the window; empty for all of it.
    bool managed = true;                       ///< False: the window manager leaves it alone.
};

class PaintedWindow {
public:
    PaintedWindow(const std::string& display, PaintedWindowOptions options);
    ~PaintedWindow();
    PaintedWindow(const PaintedWindow&) = delete;
    PaintedWindow& operator=(const PaintedWindow&) = delete;

    [[nodiscard]] xcb_window_t id() const { return m_window; }
    /// Waits until the picture was drawn for the first time; false when that takes too long.
    [[nodiscard]] bool waitUntilDrawn() const;
    /// Stops drawing and answering, as a program that hangs does. In force when it returns.
    void hang();
    /// Goes on from there.
    void recover() { m_hangs = false; }
    /// Sets WM_TRANSIENT_FOR afterwards.
    void setTransientFor(xcb_window_t other);

private:
    void run();
    void draw();

    PaintedWindowOptions m_options;
    std::shared_ptr<X11Connection> m_link;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    std::atomic<bool> m_hangs = false;
    std::atomic<bool> m_hanging = false;
    std::atomic<bool> m_ends = false;
    std::atomic<bool> m_drawn = false;
    std::thread m_thread;
};

} // namespace kelvane
