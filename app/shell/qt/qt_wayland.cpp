#include "app/shell/qt/qt_wayland.h"

#include "app/shell/qt/layer_shell_protocol.h"

#include <QGuiApplication>
#include <QWindow>

#include <poll.h>
#include <qpa/qplatformnativeinterface.h>
#include <wayland-client.h>
#include <xdg-activation-v1-client-protocol.h>

#include <algorithm>
#include <string_view>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

/// From which a layer can change.
constexpr std::uint32_t kLeastLayers = 2;
constexpr std::uint32_t kNewestLayers = 3;
/// The shell that comes with this has its bar below, all others above.
constexpr std::string_view kShellWithBarBelow = "org_kde_plasma_shell";

constexpr wl_registry_listener kRegistryListener{
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t version) {
            auto& known = *static_cast<QtWayland*>(data);
            const std::string_view what(interface);
            if (what == zwlr_layer_shell_v1_interface.name && version >= kLeastLayers) {
                known.layers = static_cast<zwlr_layer_shell_v1*>(
                    wl_registry_bind(registry, name, &zwlr_layer_shell_v1_interface,
                                     std::min(version, kNewestLayers)));
            }
            if (what == xdg_activation_v1_interface.name) {
                known.activation = static_cast<xdg_activation_v1*>(
                    wl_registry_bind(registry, name, &xdg_activation_v1_interface, 1));
            }
            if (what == kShellWithBarBelow) known.hasBarBelow = true;
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

void askOnce(QtWayland& known) {
    // They live as long as the program, like what they tell of.
    auto* const registry = wl_display_get_registry(known.display);
    wl_registry_add_listener(registry, &kRegistryListener, &known);
    static bool told = false;
    static constexpr wl_callback_listener kTold{
        [](void* data, wl_callback* callback, std::uint32_t) {
            *static_cast<bool*>(data) = true;
            wl_callback_destroy(callback);
        }};
    wl_callback_add_listener(wl_display_sync(known.display), &kTold, &told);
    dispatchUntil(
        known.display, [](void* data) { return *static_cast<bool*>(data); }, &told);
}

} // namespace

const QtWayland* qtWayland() {
    static QtWayland known;
    if (known.display != nullptr) return &known;
    auto* const native = QGuiApplication::platformNativeInterface();
    if (native == nullptr ||
        !QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        return nullptr;
    }
    known.display = static_cast<wl_display*>(native->nativeResourceForIntegration("wl_display"));
    if (known.display == nullptr) return nullptr;
    askOnce(known);
    return &known;
}

wl_surface* surfaceOf(QWindow& window) {
    if (window.handle() == nullptr) return nullptr;
    return static_cast<wl_surface*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

bool dispatchUntil(wl_display* display, bool (*done)(void*), void* data) {
    const auto end = steady_clock::now() + kQtCompositorSilence;
    while (!done(data)) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
        if (left.count() <= 0) return false;
        wl_display_flush(display);
        // Qt reads the same connection on a thread of its own, so both say that they are about to.
        if (wl_display_prepare_read(display) != 0) {
            if (wl_display_dispatch_pending(display) < 0) return false;
            continue;
        }
        pollfd waiting{wl_display_get_fd(display), POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(left.count())) > 0) {
            if (wl_display_read_events(display) < 0) return false;
        } else {
            wl_display_cancel_read(display);
        }
        if (wl_display_dispatch_pending(display) < 0) return false;
    }
    return true;
}

} // namespace kelvane
