// Whatever the bytes are: decoding ends in a catalog or in a CatalogError, and a catalog answers
// every lookup without contradicting itself.

#include "catalog/app_catalog.h"
#include "catalog/recognition.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace kelvane;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        const CatalogFile file = decodeCatalogFile(bytes);
        const AppCatalog catalog = AppCatalog::load(bytes);
        require(catalog.apps() == file.apps && catalog.version() == file.version);
        require(catalog.modalities() == file.modalities);
        require(catalog.categories() == file.categories);
        for (const auto& app : catalog.apps()) {
            // Whatever is listed is found, if perhaps as another app that lists it too.
            for (const auto& id : app.bundleIds) {
                require(catalog.appForBundleId(id) != nullptr);
                require(recognise(catalog, id) != nullptr);
                (void)catalog.appForBundleId(id + ".1");
            }
            for (const auto& host : app.webHosts) {
                require(catalog.appForURL("https://" + host + "/") != nullptr);
                require(catalog.appForURL(std::string(5000, '/') + host) != nullptr);
            }
            (void)catalog.category(app.category);
        }
        (void)catalog.appForBundleId(bytes);
        (void)catalog.appForURL(bytes);
        (void)recognise(catalog, bytes);
    } catch (const CatalogError&) {
    }
    return 0;
}
