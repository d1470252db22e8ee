// The ports of a GNOME Shell that has the product's extension.

#pragma once

#include "platform/linux/accessibility/accessible_desktop.h"
#include "platform/linux/gnome/gnome_extension.h"
#include "platform/linux/rules/desktop_entries.h"
#include "platform/ports/clock.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/panel_place.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

struct GnomePorts {
    std::unique_ptr<Workspace> workspace;
    /// Posts no key: what is selected is PRIMARY where it was selected in that window within the
    /// last minute, else what the program tells assistive technology.
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard; ///< Holds what the keyboard's last copy read.
    std::unique_ptr<WindowList> windowList;
    std::unique_ptr<WindowPicture> windowPicture;
    std::unique_ptr<PanelPlace> panelPlace;
};

/// None is null. `accessible` may be null; `clock` must outlive what is made.
[[nodiscard]] GnomePorts makeGnomePorts(std::shared_ptr<GnomeExtension> extension,
                                        std::shared_ptr<AccessibleDesktop> accessible,
                                        InstalledEntries installed, Clock& clock);

} // namespace kelvane
