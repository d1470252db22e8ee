// What answers about a Wayland desktop whose compositor answers nobody: the product's extension of
// GNOME Shell, and the programs themselves.

#pragma once

#include "platform/linux/accessibility/accessible_desktop.h"
#include "platform/linux/beside_x11.h"
#include "platform/linux/gnome/gnome_extension.h"
#include "platform/linux/gnome/gnome_ports.h"
#include "platform/linux/rules/desktop_sources.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/own_focus.h"

#include <memory>
#include <string>

namespace kelvane {

struct UnseenSources {
    std::string sessionBus; ///< Its address; empty where nobody says.
    /// Null where nobody has to be asked.
    std::shared_ptr<GnomeExtension> extension;
    std::shared_ptr<AccessibleDesktop> accessible;

    /// What of it answers now, with the rest of `offer` as it is.
    [[nodiscard]] DesktopOffer addTo(DesktopOffer offer) const;
};

/// For a session of Wayland. The environment is read now; `clock` and `ownFocus` must outlive the
/// answer. Nothing is started.
[[nodiscard]] UnseenSources openUnseenSources(Environment& environment, InstalledEntries installed,
                                              Clock& clock, OwnFocus& ownFocus);

} // namespace kelvane
