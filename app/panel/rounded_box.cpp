#include "app/panel/rounded_box.h"

#include <QMatrix4x4>
#include <QPainter>
#include <QQuickWindow>
#include <QRegion>
#include <QSGRenderNode>
#include <QSGRendererInterface>
#include <QTransform>

#include <algorithm>

namespace kelvane {

namespace {

class RoundedBoxNode : public QSGRenderNode {
public:
    explicit RoundedBoxNode(QQuickWindow* window) : m_window(window) {}

    void set(const RoundedBox::Look& look, const QRectF& area) {
        m_look = look;
        m_area = area;
        markDirty(DirtyMaterial | DirtyGeometry);
    }

    void render(const RenderState* state) override {
        auto* painter = static_cast<QPainter*>(m_window->rendererInterface()->getResource(
            m_window, QSGRendererInterface::PainterResource));
        // Another renderer has no painter, and draws nothing of this.
        if (painter == nullptr) return;
        const QRegion* clip = state->clipRegion();
        if (clip != nullptr && !clip->isEmpty()) painter->setClipRegion(*clip, Qt::ReplaceClip);
        painter->setTransform(matrix()->toTransform());
        painter->setOpacity(inheritedOpacity());
        painter->setRenderHint(QPainter::Antialiasing);
        const bool bordered = m_look.borderWidth > 0 && m_look.borderColor.alpha() > 0;
        const double inset = bordered ? m_look.borderWidth / 2 : 0;
        // A pen is drawn half on either side of its line, so the line goes in by half of it.
        const QRectF outline = m_area.adjusted(inset, inset, -inset, -inset);
        const double radius =
            std::clamp(m_look.radius, 0.0, std::min(m_area.width(), m_area.height()) / 2) - inset;
        painter->setPen(bordered ? QPen(m_look.borderColor, m_look.borderWidth) : QPen(Qt::NoPen));
        painter->setBrush(m_look.color);
        painter->drawRoundedRect(outline, std::max(radius, 0.0), std::max(radius, 0.0));
    }

    [[nodiscard]] RenderingFlags flags() const override { return BoundedRectRendering; }
    [[nodiscard]] QRectF rect() const override { return m_area; }

private:
    QQuickWindow* m_window;
    RoundedBox::Look m_look;
    QRectF m_area;
};

} // namespace

RoundedBox::RoundedBox(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void RoundedBox::setColor(const QColor& color) {
    if (m_look.color == color) return;
    m_look.color = color;
    update();
    emit colorChanged();
}

void RoundedBox::setBorderColor(const QColor& color) {
    if (m_look.borderColor == color) return;
    m_look.borderColor = color;
    update();
    emit borderColorChanged();
}

void RoundedBox::setBorderWidth(double width) {
    if (m_look.borderWidth == width) return;
    m_look.borderWidth = width;
    update();
    emit borderWidthChanged();
}

void RoundedBox::setRadius(double radius) {
    if (m_look.radius == radius) return;
    m_look.radius = radius;
    update();
    emit radiusChanged();
}

QSGNode* RoundedBox::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    auto* box = static_cast<RoundedBoxNode*>(node);
    // The scene graph owns the node and hands it back.
    if (box == nullptr) box = new RoundedBoxNode(window());
    box->set(m_look, boundingRect());
    return box;
}

} // namespace kelvane
