#include "app/shell/qt/activation_token.h"

#include "app/shell/qt/qt_wayland.h"

#include <QGuiApplication>
#include <QWindow>

#include <wayland-client.h>
#include <xdg-activation-v1-client-protocol.h>

namespace kelvane {

void bringForwardBy(const std::string& token) {
    const auto* const wayland = token.empty() ? nullptr : qtWayland();
    if (wayland == nullptr || wayland->activation == nullptr) return;
    for (auto* const window : QGuiApplication::topLevelWindows()) {
        auto* const surface = window->isVisible() ? surfaceOf(*window) : nullptr;
        if (surface == nullptr) continue;
        xdg_activation_v1_activate(wayland->activation, token.c_str(), surface);
    }
    wl_display_flush(wayland->display);
}

} // namespace kelvane
