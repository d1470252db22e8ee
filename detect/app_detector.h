// The application in front, and what the catalog knows of it.
//
// The answer rests on the bundle identifier alone. For a browser it says only that it is a browser;
// the page in it is not looked at. A site in a window of its own has an identifier of its own,
// which says more (see catalog/recognition.h).

#pragma once

#include "catalog/app_catalog.h"

#include <optional>
#include <string>

namespace kelvane {

class Workspace;

struct DetectedApp {
    std::string rawBundleId;       ///< As the system reported it; empty when it reported none.
    std::string rawName;           ///< As the system reported it, or else the bundle identifier.
    std::optional<CatalogApp> app; ///< The catalog's entry; absent when unknown.

    [[nodiscard]] bool supported() const { return app.has_value(); }
    [[nodiscard]] bool isBrowser() const { return app && app->isBrowser; }

    bool operator==(const DetectedApp&) const = default;
};

namespace AppDetector {

/// Pure. An absent or empty identifier is never looked up; the identifier is passed on unchanged.
[[nodiscard]] DetectedApp resolve(const std::optional<std::string>& bundleId,
                                  const std::optional<std::string>& name,
                                  const AppCatalog& catalog);

/// Asks the workspace and resolves its answer. With no application in front everything is empty.
[[nodiscard]] DetectedApp frontmost(Workspace& workspace, const AppCatalog& catalog);

} // namespace AppDetector

} // namespace kelvane
