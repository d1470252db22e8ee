#include "catalog/catalog_check.h"

#include "catalog/catalog_file.h"
#include "catalog/catalog_lint.h"
#include "catalog/catalog_loader.h"

#include <iterator>
#include <new>
#include <utility>

namespace kelvane {

CatalogCheck checkCatalog(std::string_view bytes) {
    CatalogCheck check;
    try {
        const CatalogFile file = decodeCatalogFile(bytes);
        check.apps = file.apps.size();
        // Complaints about entries and about the form of the file are told together, so that one
        // look is enough.
        check.complaints = lint::checkEntries(file, lint::intendedOverlapsOf(file));
        auto format = lint::checkFormat(bytes, file);
        check.complaints.insert(check.complaints.end(), std::make_move_iterator(format.begin()),
                                std::make_move_iterator(format.end()));
    } catch (const CatalogError& error) {
        check.complaints = {std::string("does not decode: ") + error.what()};
    } catch (const std::bad_alloc&) {
        check = {0, {"does not decode: not enough memory"}};
    }
    return check;
}

CatalogCheck checkCatalogFile(FileSystem& files, const std::string& path) {
    const auto bytes = readCatalogFile(files, path);
    if (!bytes) {
        return {
            0,
            {"cannot be read, or is larger than " + std::to_string(kMostCatalogBytes) + " bytes"}};
    }
    return checkCatalog(*bytes);
}

} // namespace kelvane
