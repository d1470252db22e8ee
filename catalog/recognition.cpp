#include "catalog/recognition.h"

#include "catalog/app_catalog.h"
#include "catalog/web_apps.h"
#include "text/unicode.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace kelvane {

namespace {

bool lists(const CatalogApp* app, std::string_view identifier) {
    return app != nullptr && std::ranges::find(app->bundleIds, identifier) != app->bundleIds.end();
}

bool listsFamilyOf(const CatalogApp& app, std::string_view identifier) {
    return std::ranges::any_of(app.bundleIds, [&](std::string_view listed) {
        return (listed.ends_with('-') || listed.ends_with('.')) && identifier.starts_with(listed);
    });
}

constexpr std::string_view kWmClass = "wmclass:";

/// The application that lists exactly this, or null.
const CatalogApp* exactly(const AppCatalog& catalog, const std::string& identifier) {
    const CatalogApp* const app = catalog.appForBundleId(identifier);
    return lists(app, identifier) ? app : nullptr;
}

const CatalogApp* inAppImage(const AppCatalog& catalog, std::string_view name) {
    if (const auto* const app = exactly(catalog, std::string(name))) return app;
    std::string word = text::lowerAscii(name);
    if (const auto* const app = exactly(catalog, word)) return app;
    // Blanks of the name became underscores.
    std::ranges::replace(word, '_', ' ');
    if (const auto* const app = exactly(catalog, std::string(kWmClass) + word)) return app;
    std::ranges::replace(word, ' ', '-');
    return exactly(catalog, word);
}

} // namespace

std::optional<std::string_view> nameOfAppImage(std::string_view identifier) {
    constexpr std::string_view kMark = "appimagekit_";
    constexpr std::size_t kHash = 32; // hexadecimal digits, of the place where it lies
    if (!identifier.starts_with(kMark)) return std::nullopt;
    const auto rest = identifier.substr(kMark.size());
    if (rest.size() <= kHash + 1 || rest[kHash] != '-') return std::nullopt;
    if (rest.substr(0, kHash).find_first_not_of("0123456789abcdef") != rest.npos) {
        return std::nullopt;
    }
    return rest.substr(kHash + 1);
}

const CatalogApp* recognise(const AppCatalog& catalog, std::string_view identifier) {
    const CatalogApp* const listed = catalog.appForBundleId(identifier);
    if (lists(listed, identifier)) return listed;
    if (const auto key = WebApps::keyOf(identifier)) {
        if (const auto* const site = exactly(catalog, WebApps::listedAs(*key))) return site;
    }
    if (listed != nullptr && identifier.starts_with(kWmClass)) {
        return listsFamilyOf(*listed, identifier) ? listed : nullptr;
    }
    if (listed != nullptr && !listed->isBrowser) return listed;
    if (const auto name = nameOfAppImage(identifier)) return inAppImage(catalog, *name);
    if (const auto page = WebApps::pageOf(identifier)) {
        if (const CatalogApp* const shown = catalog.appForURL(*page)) return shown;
    }
    return listed;
}

} // namespace kelvane
