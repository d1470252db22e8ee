// The product's mark as a picture, drawn from its vector source.

#pragma once

#include <QImage>
#include <QString>

namespace kelvane {

/// `side` by `side` pixels. Null when the source cannot be read and when `side` is not positive.
[[nodiscard]] QImage markPicture(const QString& source, int side);

} // namespace kelvane
