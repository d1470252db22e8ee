#include "app/shell/qt/panel_trace.h"

#include <QAccessible>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickItem>
#include <QQuickWindow>

#include <fstream>
#include <utility>

namespace kelvane {

namespace {

QJsonArray rectangle(const QQuickItem& item) {
    const QPointF corner = item.mapToGlobal(QPointF(0, 0));
    const QPointF opposite = item.mapToGlobal(QPointF(item.width(), item.height()));
    return {qRound(corner.x()), qRound(corner.y()), qRound(opposite.x() - corner.x()),
            qRound(opposite.y() - corner.y())};
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
                                        {"enabled", item.isEnabled()},
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
        line["window"] =
            QJsonArray{m_window.x(), m_window.y(), m_window.width(), m_window.height()};
        QJsonArray controls;
        collect(*m_window.contentItem(), controls);
        line["controls"] = controls;
    }
    std::ofstream(m_file, std::ios::app)
        << QJsonDocument(line).toJson(QJsonDocument::Compact).toStdString() << '\n';
}

} // namespace kelvane
