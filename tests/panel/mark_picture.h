// The product's mark as a picture, drawn from its vector source.

#pragma once

#include <QImage>
#include <QString>

namespace kelvane {

/// 256 by 256 pixels. Null when the source cannot be read.
[[nodiscard]] QImage markPicture(const QString& source);

} // namespace kelvane
