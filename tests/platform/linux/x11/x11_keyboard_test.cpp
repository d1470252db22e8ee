#include "platform/linux/common/copy_keyboard.h"
#include "tests/platform/linux/x11/clipboard_desktop_test.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// Of the keyboard that the server starts with.
constexpr std::uint8_t kControl = 37, kShift = 50, kAlt = 64, kCapsLock = 66, kNumLock = 77;
constexpr std::uint8_t kInsert = 118;

/// A window that has the focus and writes down the keys it gets.
class KeyListener {
public:
    explicit KeyListener(const std::string& display)
        : m_link(X11Connection::open(display, std::chrono::minutes(1))) {
        auto* const xcb = m_link->xcb();
        m_window = xcb_generate_id(xcb);
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
        xcb_create_window(xcb, XCB_COPY_FROM_PARENT, m_window, m_link->root(), 0, 0, 50, 50, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(xcb, m_window);
        xcb_set_input_focus(xcb, XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
        answered();
    }

    [[nodiscard]] xcb_window_t window() const { return m_window; }

    /// The keys that arrived since the last question, like "+118/4": pressed, with Control held.
    std::vector<std::string> keys() {
        answered();
        std::vector<std::string> found;
        while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(m_link->xcb())}) {
            const auto kind = event->response_type & 0x7F;
            if (kind != XCB_KEY_PRESS && kind != XCB_KEY_RELEASE) continue;
            const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
            found.push_back((kind == XCB_KEY_PRESS ? "+" : "-") + std::to_string(key.detail) + "/" +
                            std::to_string(key.state));
        }
        return found;
    }

    [[nodiscard]] bool isDown(std::uint8_t key) {
        const XcbOwned<xcb_query_keymap_reply_t> reply(
            xcb_query_keymap_reply(m_link->xcb(), xcb_query_keymap(m_link->xcb()), nullptr));
        return reply && ((reply->keys[key / 8] >> (key % 8)) & 1) != 0;
    }

private:
    void answered() {
        std::free(
            xcb_get_input_focus_reply(m_link->xcb(), xcb_get_input_focus(m_link->xcb()), nullptr));
    }

    std::shared_ptr<X11Connection> m_link;
    xcb_window_t m_window;
};

class X11KeyboardTest : public ClipboardDesktopTest<X11KeyboardTest> {
public:
    inline static const DesktopOptions kDesktop{.windowManager = false, .sessionBus = false};

protected:
    ClipboardPorts ports{desktop().display()};
    KeyListener listener{desktop().display()};

    std::vector<std::string> keysOfACopy() {
        ports.target = CopyTarget{::getpid(), listener.window(), true};
        (void)listener.keys();
        ports.keyboard->postCopy(1);
        return listener.keys();
    }

    static void xdotool(const std::string& arguments) { outputOf("xdotool " + arguments); }
};

TEST_F(X11KeyboardTest, isTrustedWhereKeysCanBePosted) {
    EXPECT_TRUE(ports.keyboard->trusted());
}

TEST_F(X11KeyboardTest, postsControlInsertAndNothingElse) {
    EXPECT_THAT(keysOfACopy(), ElementsAre("+37/0", "+118/4", "-118/4", "-37/4"));
}

TEST_F(X11KeyboardTest, postsNothingWhenTheTargetIsNotInFront) {
    ports.target = std::nullopt;
    ports.keyboard->postCopy(1);
    EXPECT_THAT(listener.keys(), IsEmpty());
}

TEST_F(X11KeyboardTest, postsNothingToATerminal) {
    ports.target = CopyTarget{::getpid(), listener.window(), false};
    ports.keyboard->postCopy(1);
    EXPECT_THAT(listener.keys(), IsEmpty());
}

TEST_F(X11KeyboardTest, postsNothingWhenTheClipboardCouldNotBePutBack) {
    ScriptedOwner stuck(desktop().display(), {.silent = true});
    stuck.own();
    (void)ports.pasteboard->remember();
    EXPECT_THAT(keysOfACopy(), IsEmpty());
}

TEST_F(X11KeyboardTest, heldModifiersAreLetGoAndHeldAgain) {
    xdotool("keydown shift");
    ASSERT_TRUE(listener.isDown(kShift));
    EXPECT_THAT(keysOfACopy(), ElementsAre("-50/1", "+37/0", "+118/4", "-118/4", "-37/4", "+50/0"));
    EXPECT_TRUE(listener.isDown(kShift));
    xdotool("keydown alt");
    ASSERT_TRUE(listener.isDown(kAlt));
    EXPECT_THAT(keysOfACopy(), ElementsAre("-50/9", "+37/8", "-64/12", "+118/4", "-118/4", "+64/4",
                                           "-37/12", "+50/8"));
    EXPECT_TRUE(listener.isDown(kShift));
    EXPECT_TRUE(listener.isDown(kAlt));
    xdotool("keyup alt keyup shift");
    EXPECT_FALSE(listener.isDown(kShift));
    EXPECT_THAT(keysOfACopy(), ElementsAre("+37/0", "+118/4", "-118/4", "-37/4"));
}

TEST_F(X11KeyboardTest, aHeldControlKeyServes) {
    xdotool("keydown ctrl");
    EXPECT_THAT(keysOfACopy(), ElementsAre("+118/4", "-118/4"));
    EXPECT_TRUE(listener.isDown(kControl));
    xdotool("keyup ctrl");
}

TEST_F(X11KeyboardTest, locksAreLeftAsTheyAre) {
    xdotool("key Caps_Lock key Num_Lock");
    EXPECT_THAT(keysOfACopy(), ElementsAre("+37/18", "+118/22", "-118/22", "-37/22"));
    EXPECT_FALSE(listener.isDown(kCapsLock));
    EXPECT_FALSE(listener.isDown(kNumLock));
    xdotool("key Caps_Lock key Num_Lock");
    EXPECT_THAT(keysOfACopy(), ElementsAre("+37/0", "+118/4", "-118/4", "-37/4"));
}

TEST_F(X11KeyboardTest, everyLayoutHasTheKeys) {
    for (const std::string layout : {"us,ru", "ru", "de", "fr", "us"}) {
        outputOf("setxkbmap -layout " + layout);
        EXPECT_THAT(keysOfACopy(), ElementsAre("+37/0", "+118/4", "-118/4", "-37/4")) << layout;
    }
}

TEST_F(X11KeyboardTest, aKeyboardWithoutInsertIsLeftAlone) {
    outputOf("xmodmap -e 'keycode 118 = Home'");
    EXPECT_THAT(keysOfACopy(), IsEmpty());
    outputOf("setxkbmap -layout us");
    ASSERT_THAT(keysOfACopy(), testing::Contains("+" + std::to_string(kInsert) + "/4"));
}

} // namespace
} // namespace kelvane
