#include "app/panel/panel_appearance.h"

#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>

namespace kelvane {

ColorScheme colorScheme(unsigned number) {
    if (number == 1) return ColorScheme::dark;
    if (number == 2) return ColorScheme::light;
    return ColorScheme::noPreference;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

PanelAppearance::PanelAppearance(PanelBridge& bridge) : m_bridge(bridge) {
    QCoreApplication::instance()->installEventFilter(this);
    apply();
    m_portal = watchPortal([this](ColorScheme scheme) {
        m_scheme = scheme;
        apply();
    });
}

bool PanelAppearance::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (watched == QCoreApplication::instance() &&
        (type == QEvent::ApplicationPaletteChange || type == QEvent::ApplicationFontChange)) {
        apply();
    }
    return false;
}

void PanelAppearance::apply() {
    m_bridge.setDark(m_scheme == ColorScheme::noPreference ? isDark(QGuiApplication::palette())
                                                           : m_scheme == ColorScheme::dark);
    m_bridge.setTextSize(QFontInfo(QGuiApplication::font()).pixelSize());
}

} // namespace kelvane
