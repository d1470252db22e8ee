#include "platform/linux/x11/x11_shortcut.h"

#include "platform/linux/x11/x11_connection.h"
#include "platform/linux/x11/x11_listener.h"
#include "text/unicode.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

// Symbols of X11/keysymdef.h; those of letters and digits are their characters.
constexpr std::array<std::pair<std::string_view, xcb_keysym_t>, 12> kNamedKeys{
    {{"Space", 0x0020},
     {"Return", 0xff0d},
     {"Tab", 0xff09},
     {"Escape", 0xff1b},
     {"Insert", 0xff63},
     {"Delete", 0xffff},
     {"Home", 0xff50},
     {"End", 0xff57},
     {"PageUp", 0xff55},
     {"PageDown", 0xff56},
     {"Pause", 0xff13},
     {"Print", 0xff61}}};
constexpr xcb_keysym_t kF1 = 0xffbe;

/// Caps Lock, Num Lock as keyboards of X have it, and both: a shortcut works all the same.
constexpr std::array<std::uint16_t, 4> kLocks{0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                              XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

/// The highest bit of an event's kind says that a program has sent it.
constexpr std::uint8_t kKind = 0x7f;

xcb_keysym_t symbolOf(const std::string& key) {
    if (key.size() == 1) return static_cast<unsigned char>(text::lowerAscii(key.front()));
    for (const auto& [name, symbol] : kNamedKeys) {
        if (name == key) return symbol;
    }
    unsigned number = 0;
    std::from_chars(key.data() + 1, key.data() + key.size(), number);
    return kF1 + number - 1;
}

std::uint16_t modifiersOf(const Shortcut& shortcut) {
    unsigned mask = 0;
    if (shortcut.ctrl) mask |= XCB_MOD_MASK_CONTROL;
    if (shortcut.alt) mask |= XCB_MOD_MASK_1;
    if (shortcut.shift) mask |= XCB_MOD_MASK_SHIFT;
    if (shortcut.super) mask |= XCB_MOD_MASK_4;
    return static_cast<std::uint16_t>(mask);
}

/// The keys that make this symbol without a modifier.
std::vector<xcb_keycode_t> keysOf(X11Connection& link, xcb_keysym_t symbol) {
    const auto* const setup = xcb_get_setup(link.xcb());
    const int count = setup->max_keycode - setup->min_keycode + 1;
    const auto mapping = link.reply<xcb_get_keyboard_mapping_reply_t>(
        xcb_get_keyboard_mapping(link.xcb(), setup->min_keycode, static_cast<std::uint8_t>(count)));
    std::vector<xcb_keycode_t> keys;
    if (!mapping || mapping->keysyms_per_keycode == 0) return keys;
    const auto* const symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (int i = 0; i < count; ++i) {
        if (symbols[static_cast<std::ptrdiff_t>(i) * mapping->keysyms_per_keycode] == symbol) {
            keys.push_back(static_cast<xcb_keycode_t>(setup->min_keycode + i));
        }
    }
    return keys;
}

/// Empty when all of it is ours now, else why not.
std::string grab(X11Connection& link, const Shortcut& shortcut) {
    const auto keys = keysOf(link, symbolOf(shortcut.key));
    if (keys.empty()) return "This keyboard has no key “" + shortcut.key + "”.";
    for (const auto key : keys) {
        for (const auto locks : kLocks) {
            xcb_grab_key(link.xcb(), 1, link.root(),
                         static_cast<std::uint16_t>(modifiersOf(shortcut) | locks), key,
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        }
    }
    if (!link.roundTrip()) return "The display does not answer.";
    // What could not be had has come in before the answer to that.
    while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(link.xcb())}) {
        if (event->response_type == 0) {
            return "Another program has these keys already, or the desktop itself.";
        }
    }
    return {};
}

/// Of a key that is held the server tells again and again that it was let go and pressed.
bool isHeld(X11Connection& link, xcb_keycode_t key) {
    const auto map = link.reply<xcb_query_keymap_reply_t>(xcb_query_keymap(link.xcb()));
    return map && (map->keys[key / 8] & (1U << (key % 8U))) != 0;
}

/// Tells when our key is let go. Other keys are heard of as well while it is down.
class Release {
public:
    explicit Release(std::function<void()> pressed) : m_pressed(std::move(pressed)) {}

    void operator()(X11Connection& link, const xcb_generic_event_t& event) {
        // As long as the key is down the server keeps all keys from the application in front, those
        // of a capture too.
        const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
        const int kind = event.response_type & kKind;
        if (kind == XCB_KEY_PRESS && m_down == 0) m_down = key.detail;
        if (kind != XCB_KEY_RELEASE || key.detail != m_down || isHeld(link, m_down)) return;
        m_down = 0;
        m_pressed();
    }

private:
    std::function<void()> m_pressed;
    xcb_keycode_t m_down = 0; ///< Ours; 0: none.
};

class X11Shortcut : public GlobalShortcut {
public:
    explicit X11Shortcut(std::string display) : m_display(std::move(display)) {}

    void use(const Shortcut& shortcut, std::function<void()> pressed,
             std::function<void(const std::string&)> refused) override {
        stop();
        auto link = X11Connection::open(m_display);
        const std::string why = link ? grab(*link, shortcut) : "The display does not answer.";
        if (!why.empty()) return refused(why);
        if (!m_listener.start(std::move(link), Release(std::move(pressed)))) {
            refused("The system gives no more files.");
        }
    }

    void stop() override { m_listener.stop(); }

private:
    std::string m_display;
    X11Listener m_listener;
};

} // namespace

std::unique_ptr<GlobalShortcut> makeX11Shortcut(std::string display) {
    if (display.empty()) return std::make_unique<NoGlobalShortcut>();
    return std::make_unique<X11Shortcut>(std::move(display));
}

} // namespace kelvane
