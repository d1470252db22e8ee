// A rectangle with round corners, drawn smoothly at every scale of the display.
//
// Qt's own rounded rectangle loses its shape at fractional scales when it is drawn without
// a GPU, which is the only way the panel is drawn. This one hands its outline to the painter as it
// is. In QML: `import Kelvane.Panel`.

#pragma once

#include <QColor>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace kelvane {

class RoundedBox : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    Q_PROPERTY(QColor borderColor READ borderColor WRITE setBorderColor NOTIFY borderColorChanged)
    Q_PROPERTY(double borderWidth READ borderWidth WRITE setBorderWidth NOTIFY borderWidthChanged)
    Q_PROPERTY(double radius READ radius WRITE setRadius NOTIFY radiusChanged)

public:
    explicit RoundedBox(QQuickItem* parent = nullptr);

    [[nodiscard]] QColor color() const { return m_look.color; }
    void setColor(const QColor& color);

    /// The border lies inside the rectangle. None by default.
    [[nodiscard]] QColor borderColor() const { return m_look.borderColor; }
    void setBorderColor(const QColor& color);
    [[nodiscard]] double borderWidth() const { return m_look.borderWidth; }
    void setBorderWidth(double width);

    /// At most half the shorter side is used.
    [[nodiscard]] double radius() const { return m_look.radius; }
    void setRadius(double radius);

    struct Look {
        QColor color = Qt::transparent;
        QColor borderColor = Qt::transparent;
        double borderWidth = 0;
        double radius = 0;
    };

signals:
    void colorChanged();
    void borderColorChanged();
    void borderWidthChanged();
    void radiusChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    Look m_look;
};

} // namespace kelvane
