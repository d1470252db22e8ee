#include "app/panel/panel_appearance.h"

#include <QColor>
#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>

namespace kelvane {

namespace {

// What Qt makes a whole palette of.
constexpr QColor kDarkButton(0x35, 0x35, 0x38);
constexpr QColor kLightButton(0xef, 0xef, 0xef);

} // namespace

// As the portal of the desktop has it: 1 is dark, 2 is light, anything else is no preference.
ColorScheme colorScheme(unsigned number) {
    if (number == 1) return ColorScheme::dark;
    if (number == 2) return ColorScheme::light;
    return ColorScheme::noPreference;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

QPalette paletteFor(ColorScheme scheme, const QPalette& usual) {
    if (scheme == ColorScheme::noPreference) return usual;
    // A palette that is right already is the desktop's own, and better than one made here.
    if (isDark(usual) == (scheme == ColorScheme::dark)) return usual;
    return scheme == ColorScheme::dark ? QPalette(kDarkButton) : QPalette(kLightButton);
}

ProgramPalette::ProgramPalette()
    : m_usual(QGuiApplication::palette()),
      m_portal(watchPortal([this](ColorScheme scheme) {
          QGuiApplication::setPalette(paletteFor(scheme, m_usual));
      })) {}

ProgramPalette::~ProgramPalette() = default;

PanelAppearance::PanelAppearance(PanelBridge& bridge)
    : PanelAppearance([&bridge](bool dark, int textSize) {
          bridge.setDark(dark);
          bridge.setTextSize(textSize);
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
    m_taker(isDark(QGuiApplication::palette()), QFontInfo(QGuiApplication::font()).pixelSize());
}

} // namespace kelvane
