#include "catalog/app_catalog.h"

#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <unordered_map>
#include <utility>

namespace kelvane {

namespace {

// Characters. Enough that "com." or "org.x" in a catalog is no catch-all for every identifier that
// begins so; the shortest identifiers of real applications that have versions are longer.
constexpr std::size_t kShortestPrefix = 6;

// Bytes of an address that are put in lower case once, on the stack. Addresses of pages stay well
// below it; it decides the speed alone, never the answer.
constexpr std::size_t kUsualAddress = 4096;

struct PrefixEntry {
    std::string_view prefix;
    std::size_t characters;
    const CatalogApp* app;
};

struct HostEntry {
    std::string host; // in lower case
    std::size_t characters;
    const CatalogApp* app;
};

} // namespace

// The indexes look into `apps`, whose elements stay where they are: contents are built in place and
// never change, copied or move.
struct AppCatalog::Contents {
    Contents(std::vector<CatalogApp> theApps, std::string theVersion,
             std::vector<std::string> theModalities, std::vector<CatalogCategory> theCategories);
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    std::vector<CatalogApp> apps;
    std::string version;
    std::vector<std::string> modalities;
    std::vector<CatalogCategory> categories;

    std::unordered_map<std::string_view, const CatalogApp*> byExactBundle;
    std::vector<PrefixEntry> bundlePrefixes; // in file order, without those too short to count
    std::vector<HostEntry> hostEntries;      // longest first, else in file order
};

AppCatalog::Contents::Contents(std::vector<CatalogApp> theApps, std::string theVersion,
                               std::vector<std::string> theModalities,
                               std::vector<CatalogCategory> theCategories)
    : apps(std::move(theApps)),
      version(std::move(theVersion)),
      modalities(std::move(theModalities)),
      categories(std::move(theCategories)) {
    // Counted first, so that nothing is moved while it is filled.
    std::size_t bundleIds = 0;
    std::size_t webHosts = 0;
    for (const auto& app : apps) {
        bundleIds += app.bundleIds.size();
        webHosts += app.webHosts.size();
    }
    byExactBundle.reserve(bundleIds);
    bundlePrefixes.reserve(bundleIds);
    hostEntries.reserve(webHosts);

    for (const auto& app : apps) {
        for (const auto& id : app.bundleIds) {
            // A later entry of the same identifier wins; prefixes below keep the first.
            byExactBundle.insert_or_assign(id, &app);
            const std::size_t characters = text::characterCount(id);
            if (characters >= kShortestPrefix) bundlePrefixes.push_back({id, characters, &app});
        }
        for (const auto& host : app.webHosts) {
            std::string lower = text::lowercased(host);
            const std::size_t characters = text::characterCount(lower);
            hostEntries.push_back({std::move(lower), characters, &app});
        }
    }
    // The first host that occurs is then the longest that does. Stable, so that equal lengths go by
    // the file.
    std::stable_sort(
        hostEntries.begin(), hostEntries.end(),
        [](const HostEntry& a, const HostEntry& b) { return a.characters > b.characters; });
}

AppCatalog::AppCatalog() : AppCatalog(std::vector<CatalogApp>{}) {}

AppCatalog::AppCatalog(std::vector<CatalogApp> apps, std::string version,
                       std::vector<std::string> modalities, std::vector<CatalogCategory> categories)
    : m_contents(std::make_shared<const Contents>(std::move(apps), std::move(version),
                                                  std::move(modalities), std::move(categories))) {}

AppCatalog AppCatalog::load(std::string_view bytes) {
    CatalogFile file = decodeCatalogFile(bytes);
    return AppCatalog(std::move(file.apps), std::move(file.version), std::move(file.modalities),
                      std::move(file.categories));
}

const CatalogApp* AppCatalog::appForBundleId(std::string_view bundleId) const {
    const auto exact = m_contents->byExactBundle.find(bundleId);
    if (exact != m_contents->byExactBundle.end()) return exact->second;

    const PrefixEntry* best = nullptr;
    // Every prefix is looked at: applications change seconds apart.
    for (const auto& entry : m_contents->bundlePrefixes) {
        // Of equal lengths the first in the file.
        if (best != nullptr && entry.characters <= best->characters) continue;
        if (bundleId.starts_with(entry.prefix)) best = &entry;
    }
    return best == nullptr ? nullptr : best->app;
}

const CatalogApp* AppCatalog::appForURL(std::string_view url) const {
    const auto first = [&](auto occurs) -> const CatalogApp* {
        const auto found =
            std::find_if(m_contents->hostEntries.begin(), m_contents->hostEntries.end(), occurs);
        return found == m_contents->hostEntries.end() ? nullptr : found->app;
    };

    // The address in lower case stands on the stack when it fits, as all but the odd data address
    // do; any other is put in lower case anew for each entry. Neither way allocates.
    std::array<char, kUsualAddress> buffer;
    const text::LowercaseBytes lower(url);
    char* end = buffer.data();
    auto next = lower.begin();
    for (; next != lower.end() && end != buffer.data() + kUsualAddress; ++next) *end++ = *next;
    if (next == lower.end()) {
        const std::string_view address(buffer.data(), end);
        return first([&](const HostEntry& entry) {
            return address.find(entry.host) != std::string_view::npos;
        });
    }
    return first([&](const HostEntry& entry) {
        return std::search(lower.begin(), lower.end(), entry.host.begin(), entry.host.end()) !=
               lower.end();
    });
}

std::string AppCatalog::category(std::string_view id) const {
    for (const auto& category : m_contents->categories) {
        if (category.id == id) return category.label;
    }
    return std::string(id);
}

const std::vector<CatalogApp>& AppCatalog::apps() const {
    return m_contents->apps;
}

const std::vector<std::string>& AppCatalog::modalities() const {
    return m_contents->modalities;
}

const std::vector<CatalogCategory>& AppCatalog::categories() const {
    return m_contents->categories;
}

const std::string& AppCatalog::version() const {
    return m_contents->version;
}

} // namespace kelvane
