#include "platform/linux/wayland/wayland_keys.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <fake-input-client-protocol.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>

#include <atomic>
#include <chrono>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

constexpr std::uint32_t kFakeInputWithKeys = 4;
/// A seat without a keyboard has no keymap to copy. The compositor fills in what is named.
constexpr std::string_view kUsualKeymap = "xkb_keymap {\n"
                                          "  xkb_keycodes { include \"evdev+aliases(qwerty)\" };\n"
                                          "  xkb_types { include \"complete\" };\n"
                                          "  xkb_compat { include \"complete\" };\n"
                                          "  xkb_symbols { include \"pc+us+inet(evdev)\" };\n"
                                          "};\n";

/// The modifiers that a key stands for on every keyboard that there is, by xkb's fixed order.
std::uint32_t modifierOf(std::uint32_t code) {
    switch (code) {
    case 42: // The two Shift keys.
    case 54:
        return 1U << 0U;
    case kLeftControl:
    case 97:
        return 1U << 2U;
    case 56: // Alt.
        return 1U << 3U;
    default:
        return 0;
    }
}

std::uint32_t now() {
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

class Keys : public WaylandKeys {
public:
    void attach(WaylandConnection&) override {}
    void globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                     std::uint32_t version) override;
    void globalRemoved(std::uint32_t) override {}
    void started() override;
    void detach() override;

    bool hasVirtualKeyboard() const override { return m_hasVirtual; }
    bool hasFakeInput() const override { return m_hasFake; }
    bool post(std::span<const WaylandKey> strokes) override;

    void seatHasKeyboard();
    void takeKeymap(std::uint32_t format, int file, std::uint32_t size);

private:
    void giveKeymap();

    std::atomic<bool> m_hasVirtual = false;
    std::atomic<bool> m_hasFake = false;
    // The link's thread only.
    wl_seat* m_seat = nullptr;
    wl_keyboard* m_seatKeyboard = nullptr;
    zwp_virtual_keyboard_manager_v1* m_manager = nullptr;
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
    org_kde_kwin_fake_input* m_fake = nullptr;
    bool m_hasKeymap = false;
    int m_seatKeymap = -1; ///< Until ours has it.
    std::uint32_t m_seatKeymapSize = 0;
};

Keys& of(void* data) {
    return *static_cast<Keys*>(data);
}

constexpr wl_keyboard_listener kKeyboardListener{
    .keymap = [](void* data, wl_keyboard*, std::uint32_t format, int file,
                 std::uint32_t size) { of(data).takeKeymap(format, file, size); },
    .enter = [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
    .leave = [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
    .key = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
    .modifiers = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                    std::uint32_t) {},
    .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
};

constexpr wl_seat_listener kSeatListener{
    .capabilities =
        [](void* data, wl_seat*, std::uint32_t capabilities) {
            if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0) of(data).seatHasKeyboard();
        },
    .name = [](void*, wl_seat*, const char*) {},
};

void Keys::globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                       std::uint32_t version) {
    if (interface == wl_seat_interface.name && m_seat == nullptr) {
        m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        wl_seat_add_listener(m_seat, &kSeatListener, this);
    } else if (interface == zwp_virtual_keyboard_manager_v1_interface.name) {
        m_manager = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    } else if (interface == org_kde_kwin_fake_input_interface.name &&
               version >= kFakeInputWithKeys) {
        m_fake = static_cast<org_kde_kwin_fake_input*>(wl_registry_bind(
            registry, name, &org_kde_kwin_fake_input_interface, kFakeInputWithKeys));
        org_kde_kwin_fake_input_authenticate(m_fake, "Kelvane Companion",
                                             "copies the selection that you grade");
        m_hasFake = true;
    }
}

void Keys::started() {
    if (m_manager == nullptr || m_seat == nullptr || m_hasFake) return;
    m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_manager, m_seat);
    giveKeymap();
    m_hasVirtual = m_hasKeymap;
}

void Keys::seatHasKeyboard() {
    // A keyboard that appears once ours is there may be ours.
    if (m_seatKeyboard != nullptr || m_keyboard != nullptr) return;
    m_seatKeyboard = wl_seat_get_keyboard(m_seat);
    wl_keyboard_add_listener(m_seatKeyboard, &kKeyboardListener, this);
}

void Keys::takeKeymap(std::uint32_t format, int file, std::uint32_t size) {
    const bool wanted = format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 && size > 0;
    if (!wanted || m_keyboard != nullptr || m_seatKeymap >= 0) {
        ::close(file);
        return;
    }
    m_seatKeymap = file;
    m_seatKeymapSize = size;
}

void Keys::giveKeymap() {
    int file = std::exchange(m_seatKeymap, -1);
    auto size = m_seatKeymapSize;
    if (file < 0) {
        file = ::memfd_create("keymap", MFD_CLOEXEC);
        size = static_cast<std::uint32_t>(kUsualKeymap.size() + 1); // With the NUL that ends it.
        if (file < 0) return;
        if (::write(file, kUsualKeymap.data(), size) != static_cast<ssize_t>(size)) size = 0;
    }
    m_hasKeymap = size > 0;
    if (m_hasKeymap) {
        zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file, size);
    }
    ::close(file);
}

bool Keys::post(std::span<const WaylandKey> strokes) {
    if (m_fake != nullptr) {
        for (const auto& stroke : strokes) {
            org_kde_kwin_fake_input_keyboard_key(m_fake, stroke.code, stroke.press ? 1 : 0);
        }
        return true;
    }
    if (m_keyboard == nullptr || !m_hasKeymap) return false;
    std::uint32_t held = 0;
    for (const auto& stroke : strokes) {
        zwp_virtual_keyboard_v1_key(m_keyboard, now(), stroke.code, stroke.press ? 1 : 0);
        const auto modifier = modifierOf(stroke.code);
        if (modifier == 0) continue;
        held = stroke.press ? held | modifier : held & ~modifier;
        zwp_virtual_keyboard_v1_modifiers(m_keyboard, held, 0, 0, 0);
    }
    return true;
}

void Keys::detach() {
    m_hasVirtual = m_hasFake = false;
    if (m_seatKeymap >= 0) ::close(std::exchange(m_seatKeymap, -1));
    if (m_seatKeyboard != nullptr) wl_keyboard_destroy(m_seatKeyboard);
    if (m_keyboard != nullptr) zwp_virtual_keyboard_v1_destroy(m_keyboard);
    if (m_manager != nullptr) zwp_virtual_keyboard_manager_v1_destroy(m_manager);
    if (m_fake != nullptr) wl_proxy_destroy(reinterpret_cast<wl_proxy*>(m_fake));
    if (m_seat != nullptr) wl_seat_destroy(m_seat);
    m_seatKeyboard = nullptr;
    m_keyboard = nullptr;
    m_manager = nullptr;
    m_fake = nullptr;
    m_seat = nullptr;
}

} // namespace

std::shared_ptr<WaylandKeys> makeWaylandKeys() {
    return std::make_shared<Keys>();
}

} // namespace kelvane
