#include "app/shell/qt/layer_surface.h"

#include "app/shell/qt/layer_shell_protocol.h"
#include "app/shell/qt/qt_wayland.h"

#include <QPainter>
#include <QRasterWindow>
#include <QWindow>

#include <wayland-client.h>

#include <utility>

namespace kelvane {

namespace {

struct LayerPlace {
    std::uint32_t layer;
    std::uint32_t anchor;
    std::int32_t exclusiveZone = 0;
    bool takesKeyboard = false;
    int gap = 0;
};

/// One window as a layer.
class Layer {
public:
    Layer(const QtWayland& wayland, QWindow& window) : m_wayland(wayland), m_window(window) {}
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;
    ~Layer() { close(); }

    bool open(const LayerPlace& place, QSize size) {
        close();
        m_window.destroy();
        m_window.setFlags(m_window.flags() | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        m_window.create();
        m_surface = surfaceOf(m_window);
        if (m_surface == nullptr) return isNoLayer();
        m_layer = zwlr_layer_shell_v1_get_layer_surface(m_wayland.layers, m_surface, nullptr,
                                                        place.layer, "kelvane-panel");
        static constexpr zwlr_layer_surface_v1_listener kListener{
            .configure =
                [](void* data, zwlr_layer_surface_v1* layer, std::uint32_t serial,
                   std::uint32_t width, std::uint32_t height) {
                    auto& own = *static_cast<Layer*>(data);
                    zwlr_layer_surface_v1_ack_configure(layer, serial);
                    own.m_given = QSize(static_cast<int>(width), static_cast<int>(height));
                    own.m_configured = true;
                },
            .closed =
                [](void* data, zwlr_layer_surface_v1*) {
                    static_cast<Layer*>(data)->m_configured = false;
                },
        };
        zwlr_layer_surface_v1_add_listener(m_layer, &kListener, this);
        setSize(size);
        zwlr_layer_surface_v1_set_anchor(m_layer, place.anchor);
        zwlr_layer_surface_v1_set_exclusive_zone(m_layer, place.exclusiveZone);
        zwlr_layer_surface_v1_set_margin(m_layer, place.gap, place.gap, place.gap, place.gap);
        zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, place.takesKeyboard ? 1 : 0);
        wl_surface_commit(m_surface);
        m_configured = false;
        const auto configured = [](void* data) { return static_cast<Layer*>(data)->m_configured; };
        if (dispatchUntil(m_wayland.display, configured, this)) return true;
        close();
        return isNoLayer();
    }

    void resize(QSize size) {
        if (m_layer == nullptr) return;
        setSize(size);
        commit();
    }

    void lend(std::uint32_t layer, bool takesKeyboard) {
        if (m_layer == nullptr) return;
        zwlr_layer_surface_v1_set_layer(m_layer, layer);
        zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer, takesKeyboard ? 1 : 0);
        commit();
    }

    void close() {
        if (m_layer != nullptr) zwlr_layer_surface_v1_destroy(std::exchange(m_layer, nullptr));
        m_surface = nullptr;
    }

    [[nodiscard]] QSize given() const { return m_given; }

private:
    /// Then it is to be a window like all others. Always false.
    bool isNoLayer() {
        m_window.destroy();
        m_window.setFlag(Qt::BypassWindowManagerHint, false);
        return false;
    }
    void setSize(QSize size) {
        zwlr_layer_surface_v1_set_size(m_layer, static_cast<std::uint32_t>(size.width()),
                                       static_cast<std::uint32_t>(size.height()));
    }
    void commit() {
        wl_surface_commit(m_surface);
        wl_display_flush(m_wayland.display);
    }

    const QtWayland& m_wayland;
    QWindow& m_window;
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layer = nullptr;
    QSize m_given;
    bool m_configured = false;
};

/// Everything that is not the panel.
class Elsewhere : public QRasterWindow {
public:
    explicit Elsewhere(std::function<void()> pressed) : m_pressed(std::move(pressed)) {
        auto format = requestedFormat();
        format.setAlphaBufferSize(8);
        setFormat(format);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(QRect(QPoint(0, 0), size()), Qt::transparent);
    }
    void mousePressEvent(QMouseEvent*) override {
        // Not from here: whoever hears of it closes this very window.
        QMetaObject::invokeMethod(this, m_pressed, Qt::QueuedConnection);
    }

private:
    std::function<void()> m_pressed;
};

class PanelLayer : public LayerSurface {
public:
    PanelLayer(const QtWayland& wayland, QWindow& window, std::function<void()> pressedElsewhere)
        : m_wayland(wayland),
          m_elsewhere(std::move(pressedElsewhere)),
          m_catcher(wayland, m_elsewhere),
          m_panel(wayland, window) {}

    bool open(QSize size, int gap) override {
        constexpr std::uint32_t kAll =
            ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
            ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
        const std::uint32_t edge = m_wayland.hasBarBelow ? ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM
                                                         : ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP;
        // Over bars, too: a press on one is a press elsewhere.
        if (m_catcher.open(
                {.layer = ZWLR_LAYER_SHELL_V1_LAYER_TOP, .anchor = kAll, .exclusiveZone = -1},
                QSize(0, 0))) {
            m_elsewhere.resize(m_catcher.given());
            m_elsewhere.show();
        }
        if (m_panel.open({.layer = ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY,
                          .anchor = edge | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT,
                          .takesKeyboard = true,
                          .gap = gap},
                         size)) {
            return true;
        }
        closeCatcher();
        return false;
    }

    void resize(QSize size) override { m_panel.resize(size); }

    void lend(bool lent) override {
        m_panel.lend(
            lent ? ZWLR_LAYER_SHELL_V1_LAYER_BACKGROUND : ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, !lent);
    }

    void close() override {
        m_panel.close();
        closeCatcher();
    }

private:
    void closeCatcher() {
        m_catcher.close();
        m_elsewhere.hide();
    }

    const QtWayland& m_wayland;
    Elsewhere m_elsewhere;
    Layer m_catcher;
    Layer m_panel;
};

} // namespace

void prepareLayerSurfaces() {
    // Without it Qt gives every window the role of an ordinary one.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
}

std::unique_ptr<LayerSurface> makeLayerSurface(QWindow& window,
                                               std::function<void()> pressedElsewhere) {
    const auto* const wayland = qtWayland();
    if (wayland == nullptr || wayland->layers == nullptr) return nullptr;
    return std::make_unique<PanelLayer>(*wayland, window, std::move(pressedElsewhere));
}

} // namespace kelvane
