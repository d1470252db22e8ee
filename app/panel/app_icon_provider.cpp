#include "app/panel/app_icon_provider.h"

#include "platform/ports/app_icons.h"

#include <QByteArray>
#include <QColor>
#include <QFile>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <QUrl>

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

namespace kelvane {

namespace {

// Pixels, where the image that asks does not say: the side of the panel's glyph.
constexpr int kUsualSize = 32;

QImage pictureOf(const QIcon& icon, QSize pixels) {
    if (icon.isNull()) return {};
    // By real pixels: the image that asks knows its own scale.
    return icon.pixmap(pixels, 1.0).toImage();
}

QSize sizeOr(QSize requested, int usual) {
    return {requested.width() > 0 ? requested.width() : usual,
            requested.height() > 0 ? requested.height() : usual};
}

} // namespace

QImage appIconPicture(AppIcons& icons, const std::string& bundleId, QSize pixels) {
    const std::optional<AppIcon> icon = icons.icon(bundleId);
    if (!icon) return {};
    if (const auto* theme = std::get_if<ThemeIcon>(&*icon)) {
        return pictureOf(QIcon::fromTheme(QString::fromStdString(theme->name)), pixels);
    }
    if (const auto* file = std::get_if<IconFile>(&*icon)) {
        return pictureOf(QIcon(QFile::decodeName(file->path.c_str())), pixels);
    }
    const auto& png = std::get<IconPng>(*icon).bytes;
    // Read where it lies; the bytes live until the picture is made.
    const auto picture =
        QImage::fromData(QByteArray::fromRawData(png.data(), static_cast<qsizetype>(png.size())));
    return picture.isNull() ? picture
                            : picture.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QString appIconSource(const std::string& bundleId) {
    return QStringLiteral("image://%1/%2")
        // An id may hold anything; in an address it is escaped.
        .arg(QLatin1String(AppIconProvider::kName),
             QString::fromLatin1(QUrl::toPercentEncoding(QString::fromStdString(bundleId))));
}

AppIconProvider::AppIconProvider(AppIcons& icons) : QQuickImageProvider(Image), m_icons(icons) {}

QImage AppIconProvider::requestImage(const QString& id, QSize* size, const QSize& requested) {
    const auto bundleId = QUrl::fromPercentEncoding(id.toUtf8()).toStdString();
    auto picture = appIconPicture(m_icons, bundleId, sizeOr(requested, kUsualSize));
    if (size != nullptr) *size = picture.size();
    return picture;
}

QString previewPictureSource() {
    static int number = 0;
    return QStringLiteral("image://%1/%2")
        .arg(QLatin1String(PreviewPictureProvider::kName))
        .arg(++number);
}

PreviewPictureProvider::PreviewPictureProvider(Current current)
    : QQuickImageProvider(Image),
      m_current(std::move(current)) {}

QImage PreviewPictureProvider::requestImage(const QString&, QSize* size, const QSize& requested) {
    const auto bytes = m_current();
    if (!bytes) return {};
    auto picture = QImage::fromData(
        QByteArray::fromRawData(bytes->data(), static_cast<qsizetype>(bytes->size())));
    if (size != nullptr) *size = picture.size();
    // Drawn smaller than it is: halved here, for drawing it each time would cost more.
    if (!picture.isNull() && requested.width() > 0 && picture.width() > requested.width()) {
        picture = picture.scaledToWidth(requested.width(), Qt::SmoothTransformation);
    }
    return picture;
}

QImage symbolPicture(const QString& name, const QColor& color, int pixels) {
    QFile file(QStringLiteral(":/kelvane/symbols/%1.svg").arg(name));
    if (pixels <= 0 || !file.open(QIODevice::ReadOnly)) return {};
    // The drawings have one colour, which they call the current one.
    const auto drawing = file.readAll().replace("currentColor", color.name().toLatin1());
    QSvgRenderer renderer(drawing);
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    return picture;
}

SymbolProvider::SymbolProvider() : QQuickImageProvider(Image) {}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requested) {
    // "name/rrggbb": the colour stands behind the last slash.
    const auto slash = id.lastIndexOf(QLatin1Char('/'));
    const QColor color(QLatin1Char('#') + id.mid(slash + 1));
    const QSize wanted = sizeOr(requested, kUsualSize);
    auto picture = symbolPicture(id.left(slash), color, std::max(wanted.width(), wanted.height()));
    if (size != nullptr) *size = picture.size();
    return picture;
}

} // namespace kelvane
