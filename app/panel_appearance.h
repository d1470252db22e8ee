// Does the desktop want dark windows, and how large is its text?
//
// The answer is the desktop's setting where it has one that can be read (the settings portal), else
// how dark the toolkit's palette is. Main thread only; needs a QGuiApplication.

#pragma once

#include "app/panel_bridge.h"

#include <QDBusVariant>
#include <QObject>

class QPalette;

namespace kelvane {

/// What the settings portal says under "org.freedesktop.appearance", "color-scheme".
enum class ColorScheme { noPreference, dark, light };

/// The portal's number; whatever it does not define is no preference.
[[nodiscard]] ColorScheme colorScheme(unsigned number);

/// Whether text is lighter than the window it stands on.
[[nodiscard]] bool isDark(const QPalette& palette);

/// Keeps a bridge's `dark` and `textSize` as the desktop has them, for as long as it lives.
/// Sets both from the toolkit at once; the portal answers later and tells of every change.
class PanelAppearance : public QObject {
    Q_OBJECT

public:
    explicit PanelAppearance(PanelBridge& bridge);

    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void portalSettingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void askPortal();
    void apply();

    PanelBridge& m_bridge;
    ColorScheme m_scheme = ColorScheme::noPreference;
};

} // namespace kelvane
