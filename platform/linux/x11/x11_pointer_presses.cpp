#include "platform/linux/x11/x11_pointer_presses.h"

#include "platform/linux/x11/x11_connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xinput.h>

#include <thread>
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
    X11PointerPresses(const X11PointerPresses&) = delete;
    X11PointerPresses& operator=(const X11PointerPresses&) = delete;
    ~X11PointerPresses() override { stop(); }

    void start(std::function<void()> pressed) override {
        stop();
        if (m_display.empty() || !pressed) return;
        auto link = X11Connection::open(m_display);
        if (!link || !selectRawPresses(*link)) return;
        m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_wake < 0) return;
        m_listener = std::thread([link = std::move(link), pressed = std::move(pressed),
                                  wake = m_wake] { listen(*link, pressed, wake); });
    }

    void stop() override {
        if (!m_listener.joinable()) return;
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof one);
        m_listener.join();
        ::close(std::exchange(m_wake, -1));
    }

private:
    static void listen(X11Connection& link, const std::function<void()>& pressed, int wake) {
        // Events first: they may have come in with an answer, and then wake nobody.
        for (;;) {
            while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(link.xcb())}) {
                if (isRawPress(*event)) pressed();
            }
            if (!link.alive()) return;
            pollfd waiting[] = {{xcb_get_file_descriptor(link.xcb()), POLLIN, 0},
                                {wake, POLLIN, 0}};
            ::poll(waiting, 2, -1);
            if (waiting[1].revents != 0) return;
        }
    }

    std::string m_display;
    std::thread m_listener;
    int m_wake = -1;
};

} // namespace

std::unique_ptr<PointerPresses> makeX11PointerPresses(std::string display) {
    return std::make_unique<X11PointerPresses>(std::move(display));
}

} // namespace kelvane
