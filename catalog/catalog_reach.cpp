#include "catalog/catalog_reach.h"

#include "catalog/app_catalog.h"
#include "catalog/recognition.h"
#include "catalog/web_apps.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace kelvane::lint {

namespace {

using Systems = std::set<std::string_view>;

/// Identifier -> the systems it is listed for.
std::map<std::string_view, Systems> systemsOf(std::string_view sources) {
    std::map<std::string_view, Systems> systems;
    while (!sources.empty()) {
        const auto end = std::min(sources.find('\n'), sources.size());
        const auto row = sources.substr(0, end);
        sources.remove_prefix(std::min(end + 1, sources.size()));
        // Application, identifier, platform, and what is of no use here.
        const auto first = row.find('\t');
        const auto second = row.find('\t', first + 1);
        const auto third = row.find('\t', second + 1);
        if (first == row.npos || second == row.npos || third == row.npos) continue;
        systems[row.substr(first + 1, second - first - 1)].insert(
            row.substr(second + 1, third - second - 1));
    }
    return systems;
}

/// How a browser built from Chromium calls the window that it opens this host in; but for the
/// slashes of the path, which it writes as "_" and which are read the same.
std::string windowOf(std::string_view host) {
    std::string name = "chrome-";
    if (host.starts_with("//")) host.remove_prefix(2);
    if (host.starts_with('.')) name += "acme"; // some customer's
    const auto slash = std::min(host.find('/'), host.size());
    const auto path = host.substr(std::min(slash + 1, host.size()));
    return name.append(host.substr(0, slash)).append("__").append(path).append("-Default");
}

bool isWindow(std::string_view identifier) {
    return WebApps::keyOf(identifier) || WebApps::pageOf(identifier);
}

void count(Reach& reach, const CatalogApp& app, const AppCatalog& catalog,
           const std::map<std::string_view, Systems>& systems) {
    const auto onSystem = [&](std::string_view system) {
        return std::ranges::any_of(app.bundleIds, [&](const std::string& identifier) {
            const auto known = systems.find(identifier);
            return !isWindow(identifier) && known != systems.end() &&
                   known->second.contains(system);
        });
    };
    const auto leadsHere = [&](const std::string& identifier) {
        const CatalogApp* const found = recognise(catalog, identifier);
        return found != nullptr && found->id == app.id;
    };
    const bool onMacos = onSystem("macos");
    const bool onLinux = onSystem("linux");
    const bool window =
        std::ranges::any_of(app.bundleIds,
                            [&](const auto& identifier) {
                                return isWindow(identifier) && leadsHere(identifier);
                            }) ||
        std::ranges::any_of(app.webHosts,
                            [&](const auto& host) { return leadsHere(windowOf(host)); });
    const bool page = !app.webHosts.empty();
    reach.apps += 1;
    reach.onMacos += onMacos ? 1 : 0;
    reach.onLinux += onLinux ? 1 : 0;
    reach.window += window ? 1 : 0;
    reach.page += page ? 1 : 0;
    reach.none += onMacos || onLinux || window || page ? 0 : 1;
}

std::string line(const Reach& reach) {
    std::string text = "| " + reach.category;
    for (const auto number :
         {reach.apps, reach.onMacos, reach.onLinux, reach.window, reach.page, reach.none}) {
        text += " | " + std::to_string(number);
    }
    return text + " |\n";
}

} // namespace

std::vector<Reach> reachOf(const CatalogFile& file, std::string_view sources) {
    const AppCatalog catalog(file.apps, file.version, file.modalities, file.categories);
    const auto systems = systemsOf(sources);
    std::vector<Reach> all;
    for (const auto& category : file.categories) {
        Reach reach;
        reach.category = category.label;
        for (const auto& app : file.apps) {
            if (app.category == category.id) count(reach, app, catalog, systems);
        }
        all.push_back(std::move(reach));
    }
    return all;
}

std::string reachTable(const std::vector<Reach>& reach) {
    std::string table = "| Category | Applications | macOS program | Linux program | "
                        "Window of its own | Page address | Nothing |\n"
                        "|---|---|---|---|---|---|---|\n";
    Reach total;
    total.category = "All";
    for (const auto& each : reach) {
        table += line(each);
        total.apps += each.apps;
        total.onMacos += each.onMacos;
        total.onLinux += each.onLinux;
        total.window += each.window;
        total.page += each.page;
        total.none += each.none;
    }
    return table + line(total);
}

} // namespace kelvane::lint
