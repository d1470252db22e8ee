#include "resources/mark_picture.h"

#include <QPainter>
#include <QSvgRenderer>

namespace kelvane {

QImage markPicture(const QString& source, int side) {
    QSvgRenderer renderer(source);
    if (!renderer.isValid() || side <= 0) return {};
    QImage picture(side, side, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    return picture;
}

} // namespace kelvane
