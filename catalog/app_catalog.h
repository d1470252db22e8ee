// The known applications, looked up by bundle identifier or by page address.
//
// Exact identifiers come before prefixes, and among prefixes the longest wins. For addresses the
// longest host entry wins. Those rules are what makes a versioned identifier find its product and a
// board page find the board app instead of the design app on the same host.
//
// A catalog does not change once built. Any number of threads may read one without locking, and it
// copies cheaply: copies share the same immutable contents. There is no moving, only that cheap
// copy, so no catalog is ever left without contents. Lookups allocate no memory.

#pragma once

#include "catalog/catalog_file.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class AppCatalog {
public:
    /// The empty catalog: it knows no application. Version "0".
    AppCatalog();

    explicit AppCatalog(std::vector<CatalogApp> apps, std::string version = "0",
                        std::vector<std::string> modalities = {},
                        std::vector<CatalogCategory> categories = {});

    AppCatalog(const AppCatalog&) = default;
    AppCatalog& operator=(const AppCatalog&) = default;
    ~AppCatalog() = default;

    /// Decodes a catalog file; throws `CatalogError` as `decodeCatalogFile` does.
    [[nodiscard]] static AppCatalog load(std::string_view bytes);

    /// The application with this bundle identifier, or null. An identifier that is listed exactly
    /// belongs to the last app in the file that lists it. Otherwise the longest listed identifier
    /// of at least six characters with which `bundleId` begins decides, the earliest among equally
    /// long ones. Case-sensitive; a prefix need not end at a dot. Lengths are in characters,
    /// comparison is byte by byte. The pointer is good for as long as any copy of this catalog
    /// lives.
    [[nodiscard]] const CatalogApp* appForBundleId(std::string_view bundleId) const;

    /// The application whose host entry occurs anywhere in the address, or null. The longest entry
    /// wins, the earliest in the file among equally long ones. Without regard to case. The address
    /// is not parsed. An empty entry occurs in every address, after all others have failed.
    /// Lifetime as above.
    [[nodiscard]] const CatalogApp* appForURL(std::string_view url) const;

    /// The label of a category, or `id` itself when no category has that id.
    [[nodiscard]] std::string category(std::string_view id) const;

    [[nodiscard]] const std::vector<CatalogApp>& apps() const;
    [[nodiscard]] const std::vector<std::string>& modalities() const;
    [[nodiscard]] const std::vector<CatalogCategory>& categories() const;
    [[nodiscard]] const std::string& version() const;

private:
    struct Contents;
    std::shared_ptr<const Contents> m_contents;
};

} // namespace kelvane
