// The catalog that a run starts with, and the download of a newer one.
//
// Starting never fails: the places are tried in a fixed order and the first file that decodes is
// taken, without a word about the ones before it. Refreshing never disturbs: what was downloaded is
// kept only when it decodes, and takes effect at the next start. A file for which there is not
// enough memory is one that does not decode.

#pragma once

#include "catalog/app_catalog.h"

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class BundleResources;
class Dispatcher;
class FileSystem;
class HttpSession;

/// What `loadCatalog` says, and all that it says, when no catalog could be had.
extern const std::string_view kEmptyCatalogWarning;

struct CatalogSources {
    FileSystem& files;
    BundleResources& resources;
    std::filesystem::path braskHome; ///< The data folder; the downloaded copy lies in it.
    std::ostream& standardError;
};

/// The first catalog that decodes, of: the file or pipe at `explicitPath` (when given), the
/// downloaded copy "app-catalog.json" in the data folder, the copy shipped in the bundle. When none
/// does: the warning on standard error and the empty catalog.
[[nodiscard]] AppCatalog loadCatalog(const CatalogSources& sources,
                                     const std::optional<std::string>& explicitPath);

/// The bytes of a catalog that somebody named on the command line: of a file of any kind, a pipe
/// included. A relative path counts from the folder the program was started in. Nothing when it
/// cannot be read, or is too large to be a catalog.
[[nodiscard]] std::optional<std::string> readCatalogFile(FileSystem& files,
                                                         const std::string& path);

struct CatalogRefresh {
    FileSystem& files;
    HttpSession& http;
    Dispatcher& dispatcher;
};

/// Starts one download of `url` in the background and returns at once. A body that decodes as a
/// catalog is stored, byte for byte and atomically, as "app-catalog.json" in `braskHome`, which is
/// made when missing; the HTTP status is not looked at. Anything else leaves the stored copy as it
/// was, silently. The ports must outlive the job.
void refreshRemoteCatalog(const CatalogRefresh& ports, const std::string& url,
                          const std::filesystem::path& braskHome);

} // namespace kelvane
