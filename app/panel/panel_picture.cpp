#include "app/panel/panel_picture.h"

#include <QColor>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>

#include <cmath>
#include <memory>

namespace kelvane {

namespace {

/// Of 255, white level 0.11: the ground of a dark window, on which the pictures are shown.
constexpr int kGround = 28;

QQuickRenderTarget targetOf(QImage& picture) {
    auto target = QQuickRenderTarget::fromPaintDevice(&picture);
    target.setDevicePixelRatio(picture.devicePixelRatio());
    return target;
}

} // namespace

QImage renderPanel(PanelBridge& bridge, const QColor& ground, int width, double scale) {
    if (width <= 0 || !(scale > 0)) return {};
    useSoftwareRendering();
    QQmlEngine engine;
    QQuickRenderControl control;
    QQuickWindow window(&control);
    window.setColor(ground);

    // The scale must be known before the panel loads its pictures; the height is known after.
    QImage first(width, width, QImage::Format_ARGB32_Premultiplied);
    first.setDevicePixelRatio(scale);
    window.setRenderTarget(targetOf(first));

    const auto panel = makePanelItem(engine, bridge, window.contentItem());
    if (panel == nullptr) return {};
    panel->setWidth(width);
    layOutPanel(*panel);
    // Rounded up, so that nothing of the last row is cut off.
    const double height = std::ceil(panel->implicitHeight());
    panel->setHeight(height);
    window.contentItem()->setSize(QSizeF(width, height));
    window.setGeometry(0, 0, width, static_cast<int>(height));

    QImage picture(QSize(static_cast<int>(std::ceil(width * scale)),
                         static_cast<int>(std::ceil(height * scale))),
                   QImage::Format_ARGB32_Premultiplied);
    if (picture.isNull()) return {};
    picture.setDevicePixelRatio(scale);
    picture.fill(ground);
    window.setRenderTarget(targetOf(picture));
    // One frame by hand: without a window on a screen nobody asks for one.
    control.polishItems();
    control.beginFrame();
    control.sync();
    control.render();
    control.endFrame();
    // Its size in pixels is meant from here on.
    picture.setDevicePixelRatio(1);
    return picture.convertToFormat(QImage::Format_RGB32);
}

QImage renderPanel(CompanionModel& model, PanelImages images, int width, double scale) {
    PanelBridge bridge(model, images);
    bridge.setDark(true);
    return renderPanel(bridge, QColor(kGround, kGround, kGround), width, scale);
}

} // namespace kelvane
