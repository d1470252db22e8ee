#include "app/shell/qt/qt_status_item.h"

#include "app/shell/qt/qt_application.h"

#include <QCursor>
#include <QGuiApplication>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QString>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <utility>

namespace kelvane {

namespace {

/// Densities that screens have; a bar of another height than ours scales the nearest larger one.
constexpr double kScales[] = {1.0, 1.25, 1.5, 2.0, 3.0};

/// From when a tray can be found to when it has said so, on a machine that is busy: both are one
/// step of its start.
constexpr std::chrono::milliseconds kUntilAnnounced{250};

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

std::shared_ptr<const TrayImage> QtTrayImages::load(const std::filesystem::path& file, int side) {
    const QImage image(QString::fromStdString(file.string()));
    if (image.isNull()) return nullptr;
    QIcon icon;
    for (const double scale : kScales) {
        QPixmap pixmap = drawn(image, side, scale);
        icon.addPixmap(pixmap);
    }
    icon.setIsMask(false);
    return std::make_shared<QtTrayImage>(icon);
}

std::unique_ptr<StatusItem> makeQtStatusItem() {
    return std::make_unique<QtStatusItem>();
}

} // namespace kelvane
