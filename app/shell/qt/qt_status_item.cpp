#include "app/shell/qt/qt_status_item.h"

#include "app/shell/qt/qt_application.h"

#include <QColor>
#include <QCursor>
#include <QGuiApplication>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QRectF>
#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kelvane {

namespace {

/// Densities that screens have; a bar of another height than ours scales the nearest larger one.
constexpr double kScales[] = {1.0, 1.25, 1.5, 2.0, 3.0};

/// From when a tray can be found to when it has said so, on a machine that is busy: both are one
/// step of its start.
constexpr std::chrono::milliseconds kUntilAnnounced{250};

/// Of the dot, in parts of the icon's side: nearly eight pixels of sixteen, sixteen of them of the
/// pure colour. With fewer it is hard to tell from another; with more the mark is.
constexpr double kDot = 0.48;
/// Around the dot nothing is drawn, so that it stands apart from the mark whatever the bar's
/// colour.
constexpr double kGap = 0.06;
/// The rim of the dot, in the colour made darker: a yellow one needs it on a white bar.
constexpr double kRim = 0.05;
constexpr int kDarker = 165; // per cent

/// Bright enough for a dark bar; on a light one the rim has the contrast.
QColor dotColour(Tint tint) {
    switch (tint) {
    case Tint::green:
        return {0x2f, 0xc4, 0x55};
    case Tint::yellow:
        return {0xff, 0xcc, 0x00};
    case Tint::orange:
        return {0xff, 0x8a, 0x1f};
    case Tint::red:
        return {0xff, 0x45, 0x3a};
    default:
        return {0x8a, 0x8a, 0x90};
    }
}

void drawBadge(QPixmap& pixmap, Tint badge) {
    const double side = pixmap.width();
    const double dot = side * kDot;
    const QRectF place(side - dot, side - dot, dot, dot);
    const double gap = std::max(side * kGap, 1.0);
    const double rim = std::max(side * kRim, 1.0);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setBrush(Qt::black);
    painter.drawEllipse(place.adjusted(-gap, -gap, gap, gap));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const QColor colour = dotColour(badge);
    painter.setBrush(colour.darker(kDarker));
    painter.drawEllipse(place);
    painter.setBrush(colour);
    painter.drawEllipse(place.adjusted(rim, rim, -rim, -rim));
}

QPixmap drawn(const QImage& image, int side, double scale) {
    QPixmap pixmap(QSize(side, side) * scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    // Halving step by step first: one smooth step alone would skip pixels of a large picture.
    painter.drawImage(pixmap.rect(),
                      image.scaled(pixmap.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return pixmap;
}

class QtStatusItem : public StatusItem {
public:
    QtStatusItem() {
        QObject::connect(&m_icon, &QSystemTrayIcon::activated, &m_icon,
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             if (reason == QSystemTrayIcon::Context && m_opensMenuItself) {
                                 m_menu.popup(QCursor::pos());
                             }
                             // The second of two quick clicks is a click as well.
                             const bool click = reason == QSystemTrayIcon::Trigger ||
                                                reason == QSystemTrayIcon::DoubleClick ||
                                                reason == QSystemTrayIcon::MiddleClick;
                             if (click && !bringAlertForward() && m_action) m_action();
                         });
    }

    void setImage(std::shared_ptr<const TrayImage> image) override {
        m_icon.setIcon(dynamic_cast<const QtTrayImage&>(*image).icon);
    }

    void setToolTip(std::string_view text) override {
        m_icon.setToolTip(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }

    void setAction(std::function<void()> action) override {
        m_action = std::move(action);
        // A tray that is not there yet announces itself, and Qt makes the icon then. One that comes
        // up at this very moment is there already and announces itself a moment later: Qt would
        // make the icon, and make it anew, and lose the click on the first one.
        if (QSystemTrayIcon::isSystemTrayAvailable()) {
            QTimer::singleShot(kUntilAnnounced, &m_icon, [this] { m_icon.show(); });
        } else {
            m_icon.show();
        }
    }

    void setMenu(std::vector<MenuEntry> entries) override {
        m_menu.clear();
        for (auto& entry : entries) {
            QObject::connect(m_menu.addAction(QString::fromStdString(entry.title)),
                             &QAction::triggered, &m_menu, std::move(entry.action));
        }
        if (!m_opensMenuItself) m_icon.setContextMenu(&m_menu);
    }

    std::optional<Rect> bounds() const override {
        const QRect place = m_icon.geometry();
        if (place.isEmpty()) return std::nullopt;
        return Rect{place.x(), place.y(), place.width(), place.height()};
    }

private:
    /// In the menu bar of macOS an icon with a menu opens it at a click of any button.
    const bool m_opensMenuItself = QGuiApplication::platformName() == QLatin1String("cocoa");
    QMenu m_menu;
    QSystemTrayIcon m_icon;
    std::function<void()> m_action;
};

} // namespace

std::shared_ptr<const TrayImage> QtTrayImages::load(const std::filesystem::path& file, int side,
                                                    std::optional<Tint> badge) {
    const QImage image(QString::fromStdString(file.string()));
    if (image.isNull()) return nullptr;
    QIcon icon;
    for (const double scale : kScales) {
        QPixmap pixmap = drawn(image, side, scale);
        if (badge) drawBadge(pixmap, *badge);
        icon.addPixmap(pixmap);
    }
    icon.setIsMask(false);
    return std::make_shared<QtTrayImage>(icon);
}

std::unique_ptr<StatusItem> makeQtStatusItem() {
    return std::make_unique<QtStatusItem>();
}

} // namespace kelvane
