// The desktop's wish for dark windows and its size of text, handed to a panel.
//
// Dark is what the desktop's setting says where it has one that can be read (the settings portal),
// else how dark Qt's palette is. Main thread only; needs a QGuiApplication.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/panel_portal.h"

#include <QObject>

#include <memory>

class QPalette;

namespace kelvane {

/// The portal's number; whatever it does not define is no preference.
[[nodiscard]] ColorScheme colorScheme(unsigned number);

/// Whether text is lighter than the window it stands on.
[[nodiscard]] bool isDark(const QPalette& palette);

/// Keeps a bridge's `dark` and `textSize` as the desktop has them, for as long as it lives.
/// Sets both from Qt at once; the portal answers later and tells of every change.
class PanelAppearance : public QObject {
    Q_OBJECT

public:
    explicit PanelAppearance(PanelBridge& bridge);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void apply();

    PanelBridge& m_bridge;
    ColorScheme m_scheme = ColorScheme::noPreference;
    std::unique_ptr<QObject> m_portal;
};

} // namespace kelvane
