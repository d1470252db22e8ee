// The pictures that the panel asks for by name: icons of applications and the panel's own symbols.
//
// Both are drawn at the size in pixels that is asked for, so that they are sharp at every scale of
// the display. Main thread only: the panel loads its pictures there.

#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>
#include <string>

namespace kelvane {

class AppIcons;

/// The icon of an installed application, no larger than `pixels` in either direction. Null when
/// there is none or it turns out not to be a picture.
[[nodiscard]] QImage appIconPicture(AppIcons& icons, const std::string& bundleId, QSize pixels);

/// Where the panel finds the icon of an application.
[[nodiscard]] QString appIconSource(const std::string& bundleId);

/// Answers `appIconSource`. `icons` must outlive it.
class AppIconProvider : public QQuickImageProvider {
public:
    static constexpr const char* kName = "app-icon";

    explicit AppIconProvider(AppIcons& icons);

    QImage requestImage(const QString& id, QSize* size, const QSize& requested) override;

private:
    AppIcons& m_icons;
};

/// Where the panel finds the picture that is going to be sent; another address with every call, so
/// that an earlier picture is not taken for it.
[[nodiscard]] QString previewPictureSource();

/// Answers `previewPictureSource` with the picture that `current` has then: the bytes of a file, or
/// null.
class PreviewPictureProvider : public QQuickImageProvider {
public:
    static constexpr const char* kName = "preview";
    using Current = std::function<std::shared_ptr<const std::string>()>;

    explicit PreviewPictureProvider(Current current);

    QImage requestImage(const QString& id, QSize* size, const QSize& requested) override;

private:
    Current m_current;
};

/// A symbol in one colour, as a square of `pixels` width and height. Null when there is no such
/// symbol.
[[nodiscard]] QImage symbolPicture(const QString& name, const QColor& color, int pixels);

/// Answers "image://symbol/<name>/<colour as rrggbb>".
class SymbolProvider : public QQuickImageProvider {
public:
    static constexpr const char* kName = "symbol";

    SymbolProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requested) override;
};

} // namespace kelvane
