// Pictures of single windows, by KWin's own service on the session bus.
//
// KWin draws the window anew: right when it is covered, and when it is minimised. It does so for
// programs whose desktop file names org.kde.KWin.ScreenShot2, by the file of the program.

#pragma once

#include "platform/linux/common/display_rect.h"
#include "platform/linux/common/png_picture.h"

#include <atomic>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {

class KWinScreenshot {
public:
    /// `bus` as DBUS_SESSION_BUS_ADDRESS has it; empty for none.
    explicit KWinScreenshot(std::string bus) : m_bus(std::move(bus)) {}

    /// Whether KWin lets this program do so. One question, answered within 300 ms, until KWin has
    /// said yes; from then on that holds. What is silent has not refused. Any thread.
    [[nodiscard]] bool offered();
    /// Whether KWin has said yes. Any thread.
    [[nodiscard]] bool wasOffered() const { return m_offered; }

    /// PNG bytes of the window with KWin's own name `uuid`, which has this frame on the desktop,
    /// without its shadow. Absent when it is gone or may not be had, and after two seconds. Any
    /// thread.
    [[nodiscard]] std::optional<std::string> png(const std::string& uuid,
                                                 const DisplayRect& frame) const;

private:
    const std::string m_bus;
    std::atomic<bool> m_offered = false;
};

/// The part of a picture that is the window itself: `width` and `height` of the opaque pixels that
/// a shadow lies around, in whole pixels. All of it when it is no larger than that.
[[nodiscard]] ServerPixels withoutShadow(const ServerPixels& pixels, std::uint32_t width,
                                         std::uint32_t height);

} // namespace kelvane
