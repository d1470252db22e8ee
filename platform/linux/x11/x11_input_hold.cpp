#include "platform/linux/x11/x11_input_hold.h"

#include "platform/linux/x11/bounded_reply.h"
#include "platform/linux/x11/x11_connection.h"

#include <mutex>
#include <utility>
#include <xcb/xtest.h>

namespace kelvane {

namespace {

/// The grabs of one hold. They end with the link that made them, whatever becomes of this program.
class Grabs {
public:
    explicit Grabs(std::shared_ptr<X11Connection> link) : m_link(std::move(link)) {
        // Asked for now, so that it is known when every microsecond counts.
        (void)xcb_get_extension_data(m_link->xcb(), &xcb_test_id);
    }

    void takeKeyboard() {
        // What comes of it is not looked at: somebody else may hold the keyboard, who then has it
        // by right.
        (void)replyWithin<xcb_grab_keyboard_reply_t>(m_link->xcb(), askForKeyboard());
    }

    /// In one go, in which the server listens to nobody else: a key that is pressed meanwhile comes
    /// before or after, and both times the keyboard is ours.
    void post(const std::vector<KeyStroke>& strokes) {
        auto* const xcb = m_link->xcb();
        xcb_grab_server(xcb);
        // Let go within the server's grab, or the key would come to us.
        xcb_ungrab_keyboard(xcb, XCB_CURRENT_TIME);
        for (const auto& stroke : strokes) {
            xcb_test_fake_input(xcb, stroke.press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, stroke.key,
                                XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        }
        const auto taken = askForKeyboard();
        xcb_ungrab_server(xcb);
        // The keys are down and up again when this is answered.
        (void)replyWithin<xcb_grab_keyboard_reply_t>(xcb, taken);
    }

    /// A button that is down belongs to whom it was pressed on, until it is up again.
    void takePointer() {
        auto* const xcb = m_link->xcb();
        (void)replyWithin<xcb_grab_pointer_reply_t>(
            xcb, xcb_grab_pointer(xcb, 0, m_link->root(), XCB_EVENT_MASK_BUTTON_PRESS,
                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE,
                                  XCB_CURSOR_NONE, XCB_CURRENT_TIME));
    }

    /// What is pressed from now on arrives again. Closing the link alone would do so a little
    /// later.
    void letAllGo() {
        xcb_ungrab_pointer(m_link->xcb(), XCB_CURRENT_TIME);
        xcb_ungrab_keyboard(m_link->xcb(), XCB_CURRENT_TIME);
        m_link->roundTrip();
    }

    // The focus does not move with a grab, so it tells who gets the keys afterwards.
    [[nodiscard]] xcb_window_t keyboardAt() {
        m_link->dropEvents(); // What was pressed.
        const auto focus = replyWithin<xcb_get_input_focus_reply_t>(
            m_link->xcb(), xcb_get_input_focus(m_link->xcb()));
        if (!focus) return XCB_WINDOW_NONE;
        return focus->focus;
    }

private:
    [[nodiscard]] xcb_grab_keyboard_cookie_t askForKeyboard() {
        return xcb_grab_keyboard(m_link->xcb(), 0, m_link->root(), XCB_CURRENT_TIME,
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    }

    std::shared_ptr<X11Connection> m_link;
};

/// Of the hold and what posts through it, which are used on different threads.
struct Shared {
    std::mutex mutex; ///< Guards `grabs`.
    std::unique_ptr<Grabs> grabs;
};

class GrabbingHold : public InputHold {
public:
    GrabbingHold(std::string display, std::shared_ptr<Shared> shared)
        : m_display(std::move(display)),
          m_shared(std::move(shared)) {}
    GrabbingHold(const GrabbingHold&) = delete;
    GrabbingHold& operator=(const GrabbingHold&) = delete;
    ~GrabbingHold() override { stop(); }

    void start() override {
        const std::lock_guard lock(m_shared->mutex);
        // Asked twice it is held once.
        if (m_shared->grabs || m_display.empty()) return;
        auto link = X11Connection::open(m_display);
        if (!link) return;
        m_shared->grabs = std::make_unique<Grabs>(std::move(link));
        m_shared->grabs->takeKeyboard();
        m_shared->grabs->takePointer();
    }

    void stop() override {
        const std::lock_guard lock(m_shared->mutex);
        if (m_shared->grabs) m_shared->grabs->letAllGo();
        m_shared->grabs.reset();
    }

    bool keyboardIsAt(std::int64_t window) override {
        const std::lock_guard lock(m_shared->mutex);
        return !m_shared->grabs || m_shared->grabs->keyboardAt() == window;
    }

private:
    std::string m_display;
    std::shared_ptr<Shared> m_shared;
};

} // namespace

X11InputHold makeX11InputHold(std::string display) {
    const auto shared = std::make_shared<Shared>();
    return {std::make_unique<GrabbingHold>(std::move(display), shared),
            [shared](const std::vector<KeyStroke>& strokes) {
                const std::lock_guard lock(shared->mutex);
                if (!shared->grabs) return false;
                shared->grabs->takePointer(); // Its button may have been down before.
                shared->grabs->post(strokes);
                return true;
            }};
}

} // namespace kelvane
