#include "detect/app_detector.h"

#include "catalog/recognition.h"
#include "platform/ports/workspace.h"

namespace kelvane::AppDetector {

DetectedApp resolve(const std::optional<std::string>& bundleId,
                    const std::optional<std::string>& name, const AppCatalog& catalog) {
    DetectedApp detected;
    detected.rawBundleId = bundleId.value_or("");
    detected.rawName = name.value_or(detected.rawBundleId);
    if (!detected.rawBundleId.empty()) {
        if (const CatalogApp* app = recognise(catalog, detected.rawBundleId)) {
            detected.app = *app;
        }
    }
    return detected;
}

DetectedApp frontmost(Workspace& workspace, const AppCatalog& catalog) {
    const auto front = workspace.frontmost();
    if (!front) return {};
    return resolve(front->bundleId, front->name, catalog);
}

} // namespace kelvane::AppDetector
