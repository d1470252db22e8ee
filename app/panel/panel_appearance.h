// The desktop's wishes for how windows look, handed to the program and to a panel: dark or light,
// high contrast, the size of text.
//
// They are what the desktop's settings say where it has such that can be read (the settings
// portal), else what Qt's palette and font were to begin with. Whoever draws a window looks at the
// program's palette and font: what is wished is in them. Main thread only; needs a QGuiApplication.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/panel_portal.h"

#include <QFont>
#include <QObject>
#include <QPalette>

#include <functional>
#include <memory>

namespace kelvane {

/// The portal's number; whatever it does not define is no preference.
[[nodiscard]] ColorScheme colorScheme(unsigned number);

/// The portal's factor; 1 for what is none.
[[nodiscard]] double textScale(double factor);

/// Whether text is lighter than the window it stands on.
[[nodiscard]] bool isDark(const QPalette& palette);

/// Whether text stands on windows as black on white does, or white on black.
[[nodiscard]] bool isHighContrast(const QPalette& palette);

/// The palette that fits a wish: `usual` unless that is of another kind.
[[nodiscard]] QPalette paletteFor(const DesktopLook& look, const QPalette& usual);

/// The font that fits a wish.
[[nodiscard]] QFont fontFor(const DesktopLook& look, const QFont& usual);

/// Whether the desktop's factor for texts has been applied before Qt says how large a font is. An X
/// server's clients have it in the density that they are told; no other desktop tells it so.
[[nodiscard]] bool scalesTexts(const QString& platformName);

/// Keeps the palette and the font of the whole program, its alerts and menus, as the desktop's
/// settings have them, for as long as it lives. They come a moment after this was made, and every
/// change later.
class ProgramLook {
public:
    ProgramLook();
    ~ProgramLook();
    ProgramLook(const ProgramLook&) = delete;
    ProgramLook& operator=(const ProgramLook&) = delete;

private:
    void apply(const DesktopLook& look);

    QPalette m_usualPalette;
    QFont m_usualFont;
    DesktopLook m_look;
    std::unique_ptr<QObject> m_portal;
};

/// How a window is drawn.
struct WindowLook {
    bool dark = false;
    bool highContrast = false;
    int textSize = 0; ///< Of ordinary text, in pixels.
};

/// Keeps a panel, or what takes that, as the program's palette and font have it, at once and for as
/// long as it lives.
class PanelAppearance : public QObject {
    Q_OBJECT

public:
    using Taker = std::function<void(const WindowLook&)>;

    explicit PanelAppearance(PanelBridge& bridge);
    explicit PanelAppearance(Taker taker);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void apply();

    Taker m_taker;
};

} // namespace kelvane
