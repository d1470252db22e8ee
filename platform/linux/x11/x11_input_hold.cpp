#include "platform/linux/x11/x11_input_hold.h"

#include "platform/linux/x11/x11_connection.h"

#include <functional>
#include <mutex>
#include <utility>

namespace kelvane {

namespace {

/// The grabs of one hold. They end with the link that made them, whatever becomes of this program.
class Grabs {
public:
    explicit Grabs(std::shared_ptr<X11Connection> link) : m_link(std::move(link)) {}

    void takeKeyboard() {
        const XcbOwned<xcb_grab_keyboard_reply_t> ignored(xcb_grab_keyboard_reply(
            m_link->xcb(),
            xcb_grab_keyboard(m_link->xcb(), 0, m_link->root(), XCB_CURRENT_TIME,
                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr));
    }

    void letKeyboardGo() {
        xcb_ungrab_keyboard(m_link->xcb(), XCB_CURRENT_TIME);
        m_link->roundTrip();
    }

    /// A button that is down belongs to whom it was pressed on, until it is up again.
    void takePointer() {
        const XcbOwned<xcb_grab_pointer_reply_t> ignored(xcb_grab_pointer_reply(
            m_link->xcb(),
            xcb_grab_pointer(m_link->xcb(), 0, m_link->root(), XCB_EVENT_MASK_BUTTON_PRESS,
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE,
                             XCB_CURSOR_NONE, XCB_CURRENT_TIME),
            nullptr));
    }

    /// What is pressed from now on arrives again. Closing the link alone would do so a little
    /// later.
    void letAllGo() {
        xcb_ungrab_pointer(m_link->xcb(), XCB_CURRENT_TIME);
        letKeyboardGo();
    }

    [[nodiscard]] xcb_window_t keyboardAt() {
        m_link->dropEvents(); // What was pressed.
        const XcbOwned<xcb_get_input_focus_reply_t> focus(
            xcb_get_input_focus_reply(m_link->xcb(), xcb_get_input_focus(m_link->xcb()), nullptr));
        if (!focus) return XCB_WINDOW_NONE;
        return focus->focus;
    }

private:
    std::shared_ptr<X11Connection> m_link;
};

/// Of the hold and the keyboard, which are used on different threads.
struct Shared {
    std::mutex mutex; ///< Guards `grabs`.
    std::unique_ptr<Grabs> grabs;
};

class X11InputHold : public InputHold {
public:
    X11InputHold(std::string display, std::shared_ptr<Shared> shared)
        : m_display(std::move(display)),
          m_shared(std::move(shared)) {}
    X11InputHold(const X11InputHold&) = delete;
    X11InputHold& operator=(const X11InputHold&) = delete;
    ~X11InputHold() override { stop(); }

    void start() override {
        const std::lock_guard lock(m_shared->mutex);
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

class HeldKeyboard : public Keyboard {
public:
    HeldKeyboard(std::unique_ptr<Keyboard> keyboard, std::shared_ptr<Shared> shared)
        : m_keyboard(std::move(keyboard)),
          m_shared(std::move(shared)) {}

    bool trusted() override { return m_keyboard->trusted(); }

    void postCopy(ProcessId target) override {
        const std::lock_guard lock(m_shared->mutex);
        // Posted keys go where pressed ones go. They are down and up again when this returns, so
        // the gap is of the few milliseconds that they take.
        if (m_shared->grabs) {
            m_shared->grabs->takePointer(); // Its button may have been down before.
            m_shared->grabs->letKeyboardGo();
        }
        m_keyboard->postCopy(target);
        if (m_shared->grabs) m_shared->grabs->takeKeyboard();
    }

private:
    std::unique_ptr<Keyboard> m_keyboard;
    std::shared_ptr<Shared> m_shared;
};

} // namespace

X11HeldKeyboard makeX11InputHold(std::string display, std::unique_ptr<Keyboard> keyboard) {
    const auto shared = std::make_shared<Shared>();
    return {std::make_unique<X11InputHold>(std::move(display), shared),
            std::make_unique<HeldKeyboard>(std::move(keyboard), shared)};
}

} // namespace kelvane
