// The desktop's wish for dark windows and its size of text, handed to the program and to a panel.
//
// Dark is what the desktop's setting says where it has one that can be read (the settings portal),
// else how dark Qt's palette was to begin with. Main thread only; needs a QGuiApplication.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/panel_portal.h"

#include <QObject>
#include <QPalette>

#include <functional>
#include <memory>

namespace kelvane {

/// The portal's number; whatever it does not define is no preference.
[[nodiscard]] ColorScheme colorScheme(unsigned number);

/// Whether text is lighter than the window it stands on.
[[nodiscard]] bool isDark(const QPalette& palette);

/// The palette that fits a wish: `usual` unless that is of the other kind.
[[nodiscard]] QPalette paletteFor(ColorScheme scheme, const QPalette& usual);

/// Keeps the palette of the whole program, its alerts and menus, as the desktop's setting has it,
/// for as long as it lives. The setting comes a moment after this was made, and every change later.
class ProgramPalette {
public:
    ProgramPalette();
    ~ProgramPalette();
    ProgramPalette(const ProgramPalette&) = delete;
    ProgramPalette& operator=(const ProgramPalette&) = delete;

private:
    QPalette m_usual;
    std::unique_ptr<QObject> m_portal;
};

/// Keeps a bridge's `dark` and `textSize`, or what takes the two, as the program's palette and font
/// have them, at once and for as long as it lives.
class PanelAppearance : public QObject {
    Q_OBJECT

public:
    /// The size of ordinary text in pixels.
    using Taker = std::function<void(bool dark, int textSize)>;

    explicit PanelAppearance(PanelBridge& bridge);
    explicit PanelAppearance(Taker taker);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void apply();

    Taker m_taker;
};

} // namespace kelvane
