#include "panel/mark_picture.h"

#include <QPainter>
#include <QSvgRenderer>

namespace kelvane {

QImage markPicture(const QString& source) {
    QSvgRenderer renderer(source);
    if (!renderer.isValid()) return {};
    QImage picture(256, 256, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    return picture;
}

} // namespace kelvane
