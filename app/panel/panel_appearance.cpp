#include "app/panel/panel_appearance.h"

#include <QColor>
#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kelvane {

namespace {

// What Qt makes a whole palette of.
constexpr QColor kDarkButton(0x35, 0x35, 0x38);
constexpr QColor kLightButton(0xef, 0xef, 0xef);

// Of 21, which black and white have. The usual palettes, soft on purpose, stay below 19.
constexpr double kHighContrast = 20;

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

/// As WCAG 2.1 has it, for two colours that nothing shines through.
double luminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    // Of a list it gives values; of two it would give references to what is gone by the next line.
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QPalette highContrastPalette(bool dark) {
    const QColor ground = dark ? Qt::black : Qt::white;
    const QColor ink = dark ? Qt::white : Qt::black;
    // A button is told from the ground, and black or white on it still stands out.
    const QColor button = dark ? QColor(0x38, 0x38, 0x38) : QColor(0xd6, 0xd6, 0xd6);
    QPalette palette(ink, button, ink, ink, ink, ink, ink, ground, ground);
    palette.setColor(QPalette::Highlight,
                     dark ? QColor(0x9c, 0xc9, 0xff) : QColor(0x06, 0x3c, 0x8a));
    palette.setColor(QPalette::HighlightedText, ground);
    palette.setColor(QPalette::ToolTipBase, ground);
    palette.setColor(QPalette::ToolTipText, ink);
    palette.setColor(QPalette::PlaceholderText, ink);
    palette.setColor(QPalette::Link, dark ? QColor(0x9c, 0xc9, 0xff) : QColor(0x06, 0x3c, 0x8a));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role,
                         dark ? QColor(0xb8, 0xb8, 0xb8) : QColor(0x48, 0x48, 0x48));
    }
    return palette;
}

} // namespace

// As the portal of the desktop has it: 1 is dark, 2 is light, anything else is no preference.
ColorScheme colorScheme(unsigned number) {
    if (number == 1) return ColorScheme::dark;
    if (number == 2) return ColorScheme::light;
    return ColorScheme::noPreference;
}

double textScale(double factor) {
    // Desktops offer 0.5 to 3; what is drawn has bounds of its own.
    return std::isfinite(factor) && factor > 0 ? std::clamp(factor, 0.5, 3.0) : 1;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

bool isHighContrast(const QPalette& palette) {
    return contrast(palette.color(QPalette::WindowText), palette.color(QPalette::Window)) >=
           kHighContrast;
}

QPalette paletteFor(const DesktopLook& look, const QPalette& usual) {
    const bool dark =
        look.scheme == ColorScheme::noPreference ? isDark(usual) : look.scheme == ColorScheme::dark;
    // A palette that is right already is the desktop's own, and better than one made here.
    if (isDark(usual) == dark && (!look.highContrast || isHighContrast(usual))) return usual;
    if (look.highContrast) return highContrastPalette(dark);
    return QPalette(dark ? kDarkButton : kLightButton);
}

QFont fontFor(const DesktopLook& look, const QFont& usual) {
    if (look.textScale == 1) return usual;
    QFont font = usual;
    // A font has its size in points or in pixels.
    if (usual.pointSizeF() > 0) {
        font.setPointSizeF(usual.pointSizeF() * look.textScale);
    } else {
        font.setPixelSize(static_cast<int>(std::lround(usual.pixelSize() * look.textScale)));
    }
    return font;
}

bool scalesTexts(const QString& platformName) {
    return !platformName.startsWith(QLatin1String("wayland"));
}

ProgramLook::ProgramLook()
    : m_usualPalette(QGuiApplication::palette()),
      m_usualFont(QGuiApplication::font()),
      m_portal(watchPortal([this](const DesktopLook& look) { apply(look); })) {}

ProgramLook::~ProgramLook() = default;

void ProgramLook::apply(const DesktopLook& look) {
    const DesktopLook before = std::exchange(m_look, look);
    // What is not wished for is left alone: what the desktop changes by itself goes on to be seen.
    if (look.scheme != before.scheme || look.highContrast != before.highContrast) {
        QGuiApplication::setPalette(paletteFor(look, m_usualPalette));
    }
    if (look.textScale != before.textScale && !scalesTexts(QGuiApplication::platformName())) {
        QGuiApplication::setFont(fontFor(look, m_usualFont));
    }
}

PanelAppearance::PanelAppearance(PanelBridge& bridge)
    : PanelAppearance([&bridge](const WindowLook& look) {
          bridge.setDark(look.dark);
          bridge.setHighContrast(look.highContrast);
          bridge.setTextSize(look.textSize);
      }) {}

PanelAppearance::PanelAppearance(Taker taker) : m_taker(std::move(taker)) {
    // The program's palette and font change by events of its own.
    QCoreApplication::instance()->installEventFilter(this);
    apply();
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
    const QPalette palette = QGuiApplication::palette();
    m_taker({.dark = isDark(palette),
             .highContrast = isHighContrast(palette),
             .textSize = QFontInfo(QGuiApplication::font()).pixelSize()});
}

} // namespace kelvane
