#include "catalog/catalog_loader.h"

#include "platform/ports/bundle_resources.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/file_system.h"
#include "platform/ports/http_session.h"
#include "text/web_address.h"

#include <algorithm>
#include <new>
#include <ostream>
#include <system_error>

namespace kelvane {

const std::string_view kEmptyCatalogWarning =
    "Kelvane: WARNING \u2014 app-catalog.json failed to load; running with an empty catalog (Grade "
    "disabled).\n";

namespace {

constexpr std::string_view kResourceName = "app-catalog";
constexpr std::string_view kResourceExtension = "json";

std::filesystem::path downloadedCopy(const std::filesystem::path& braskHome) {
    return braskHome / "app-catalog.json";
}

// A path given on the command line counts from the folder the program was started in.
std::filesystem::path absolutePath(const std::string& path) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    return error ? std::filesystem::path(path) : absolute;
}

std::optional<AppCatalog> decoded(std::string_view bytes) {
    try {
        return AppCatalog::load(bytes);
    } catch (const CatalogError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

std::optional<AppCatalog> decodedFile(FileSystem& files, const std::filesystem::path& path) {
    std::optional<std::string> bytes;
    try {
        bytes = files.read(path);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    return bytes ? decoded(*bytes) : std::nullopt;
}

} // namespace

std::optional<std::string> readCatalogFile(FileSystem& files, const std::string& path) {
    if (path.empty()) return std::nullopt;
    try {
        return files.readAny(absolutePath(path), kMostCatalogBytes);
    } catch (const std::bad_alloc&) { // of any size, as somebody named it
        return std::nullopt;
    }
}

// From what somebody named to what was shipped; what cannot be decoded is as if it were not there.
AppCatalog loadCatalog(const CatalogSources& sources,
                       const std::optional<std::string>& explicitPath) {
    if (explicitPath) {
        const auto bytes = readCatalogFile(sources.files, *explicitPath);
        if (auto catalog = bytes ? decoded(*bytes) : std::nullopt) return *catalog;
    }
    if (auto catalog = decodedFile(sources.files, downloadedCopy(sources.braskHome))) {
        return *catalog;
    }
    if (const auto shipped = sources.resources.url(kResourceName, kResourceExtension)) {
        if (auto catalog = decodedFile(sources.files, *shipped)) return *catalog;
    }
    sources.standardError << kEmptyCatalogWarning << std::flush;
    return AppCatalog();
}

void refreshRemoteCatalog(const CatalogRefresh& ports, const std::string& url,
                          const std::filesystem::path& braskHome) {
    // Nothing is asked of an address that no request could go to.
    if (!text::isWebAddress(url)) return;
    ports.dispatcher.background([ports, url, braskHome] {
        HttpRequest request;
        request.method = "GET";
        request.url = url;
        request.followsToOtherHosts = true; // it carries no key
        const auto response = ports.http.send(request);
        // Decoded before it is kept: a page of an error must not take the place of a catalog.
        if (!response || !decoded(response->body)) return;
        ports.files.createDirectories(braskHome);
        ports.files.writeAtomically(downloadedCopy(braskHome), response->body);
    });
}

} // namespace kelvane
