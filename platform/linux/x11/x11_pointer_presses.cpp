#include "platform/linux/x11/x11_pointer_presses.h"

#include "platform/linux/x11/x11_connection.h"
#include "platform/linux/x11/x11_listener.h"

#include <xcb/xinput.h>

#include <utility>

namespace kelvane {

namespace {

constexpr std::uint16_t kMajor = 2;
constexpr std::uint16_t kMinor = 0;

bool selectRawPresses(X11Connection& link) {
    if (link.extension(xcb_input_id) == nullptr) return false;
    const auto version = link.reply<xcb_input_xi_query_version_reply_t>(
        xcb_input_xi_query_version(link.xcb(), kMajor, kMinor));
    if (!version || version->major_version < kMajor) return false;
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS};
    // Raw events come to whoever asks for them, wherever the pointer is and whoever holds it (XI
    // 2).
    xcb_input_xi_select_events(link.xcb(), link.root(), 1, &wanted.head);
    return link.roundTrip() && link.alive();
}

/// The server tells of the wheel as buttons 4 to 7.
bool isWheel(std::uint32_t button) {
    return button >= 4 && button <= 7;
}

bool isRawPress(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_GE_GENERIC) return false;
    const auto& press = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    return press.event_type == XCB_INPUT_RAW_BUTTON_PRESS && !isWheel(press.detail);
}

class X11PointerPresses : public PointerPresses {
public:
    explicit X11PointerPresses(std::string display) : m_display(std::move(display)) {}

    void start(std::function<void()> pressed) override {
        stop();
        if (m_display.empty() || !pressed) return;
        auto link = X11Connection::open(m_display);
        if (!link || !selectRawPresses(*link)) return;
        // Without a file for it nothing is told, as without the extension.
        static_cast<void>(m_listener.start(
            std::move(link),
            [pressed = std::move(pressed)](X11Connection&, const xcb_generic_event_t& event) {
                if (isRawPress(event)) pressed();
            }));
    }

    void stop() override { m_listener.stop(); }

private:
    std::string m_display;
    X11Listener m_listener;
};

} // namespace

std::unique_ptr<PointerPresses> makeX11PointerPresses(std::string display) {
    return std::make_unique<X11PointerPresses>(std::move(display));
}

} // namespace kelvane
