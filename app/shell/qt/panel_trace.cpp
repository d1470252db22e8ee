#include "app/shell/qt/panel_trace.h"

#include <QAccessible>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

#include <fstream>
#include <utility>

namespace kelvane {

namespace {

/// Points of the desktop as pixels: who moves a pointer counts those. Qt scales a screen from its
/// top left corner.
QJsonArray inPixels(const QQuickWindow& window, const QRectF& points) {
    const QPointF origin =
        window.screen() ? QPointF(window.screen()->geometry().topLeft()) : QPointF();
    const double scale = window.devicePixelRatio();
    const QPointF corner = origin + (points.topLeft() - origin) * scale;
    return {qRound(corner.x()), qRound(corner.y()), qRound(points.width() * scale),
            qRound(points.height() * scale)};
}

QJsonArray rectangle(const QQuickItem& item) {
    return inPixels(*item.window(), QRectF(item.mapToGlobal(QPointF(0, 0)), item.size()));
}

/// Whether it can be used: a control says so to assistive technology.
bool isUsable(const QQuickItem& item, QAccessibleInterface& accessible) {
    return item.isEnabled() && !accessible.state().disabled;
}

QString roleName(QAccessible::Role role) {
    switch (role) {
    case QAccessible::Button:
    case QAccessible::Link:
    case QAccessible::ButtonMenu:
        return QStringLiteral("button");
    case QAccessible::MenuItem:
        return QStringLiteral("menuitem");
    case QAccessible::StaticText:
    case QAccessible::Heading:
        return QStringLiteral("text");
    default:
        return QStringLiteral("other");
    }
}

void collect(QQuickItem& item, QJsonArray& controls) {
    if (!item.isVisible()) return;
    if (QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&item)) {
        const QString name = accessible->text(QAccessible::Name);
        if (!name.isEmpty() && item.width() > 0 && item.height() > 0) {
            controls.append(QJsonObject{{"name", name},
                                        {"role", roleName(accessible->role())},
                                        {"enabled", isUsable(item, *accessible)},
                                        {"focused", item.hasActiveFocus()},
                                        {"rect", rectangle(item)}});
        }
    }
    for (QQuickItem* const child : item.childItems()) collect(*child, controls);
}

} // namespace

PanelTrace::PanelTrace(QQuickWindow& window, std::filesystem::path file)
    : m_window(window),
      m_file(std::move(file)) {
    // Drawn on this thread, and on the screen when it is told.
    connect(&window, &QQuickWindow::frameSwapped, this, [this] { write("frame", true); });
    connect(&window, &QWindow::visibleChanged, this,
            [this](bool visible) { write(visible ? "shown" : "hidden", false); });
}

void PanelTrace::note(std::string_view event) {
    write(event, false);
}

void PanelTrace::write(std::string_view event, bool withControls) {
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(steady_clock::now().time_since_epoch());
    QJsonObject line{
        {"time", static_cast<double>(now.count()) / 1e6},
        {"event", QString::fromUtf8(event.data(), static_cast<qsizetype>(event.size()))}};
    if (withControls) {
        line["window"] = inPixels(m_window, m_window.geometry());
        QJsonArray controls;
        collect(*m_window.contentItem(), controls);
        line["controls"] = controls;
    }
    std::ofstream(m_file, std::ios::app)
        << QJsonDocument(line).toJson(QJsonDocument::Compact).toStdString() << '\n';
}

} // namespace kelvane
