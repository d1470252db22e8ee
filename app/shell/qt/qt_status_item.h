// The item in the menu bar, as Qt's tray icon.

#pragma once

#include "app/shell/shell_ports.h"

#include <QIcon>

namespace kelvane {

class QtTrayImages : public TrayImages {
public:
    std::shared_ptr<const TrayImage> load(const std::filesystem::path& file, int side,
                                          std::optional<Tint> badge) override;
};

/// What `QtTrayImages` makes.
struct QtTrayImage : TrayImage {
    explicit QtTrayImage(QIcon given) : icon(std::move(given)) {}
    QIcon icon;
};

/// On a desktop whose tray comes up later, or never, the item waits for it. Needs an application
/// object with widgets.
[[nodiscard]] std::unique_ptr<StatusItem> makeQtStatusItem();

} // namespace kelvane
