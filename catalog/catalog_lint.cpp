#include "catalog/catalog_lint.h"

#include "catalog/app_catalog.h"
#include "catalog/web_apps.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <utility>

namespace kelvane::lint {

namespace {

constexpr std::size_t kShortestPrefix = 6; // characters; as the look-up has it
constexpr std::size_t kShortestHost = 8;   // characters; "miro.com" is found in few other hosts
constexpr std::string_view kPlainIdLetters = "abcdefghijklmnopqrstuvwxyz0123456789_";
constexpr std::string_view kIdentifierLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+";
constexpr std::string_view kClassLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+ ";
constexpr std::string_view kHostLetters = "abcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr std::string_view kPathLetters = "abcdefghijklmnopqrstuvwxyz0123456789.-_/@~%";
constexpr std::string_view kWmClassPrefix = "wmclass:";
constexpr std::string_view kKnownFromUse = "its own address; known from use";

bool onlyOf(std::string_view text, std::string_view letters) {
    return text.find_first_not_of(letters) == std::string_view::npos;
}

std::string inQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string listed(const std::set<std::string>& words) {
    std::string all;
    for (const auto& word : words) all += (all.empty() ? "" : ", ") + word;
    return all;
}

/// Whether graded text is taken from the application, so that it must be one that holds text.
bool takesText(const CatalogApp& app) {
    return app.capture == "selection" || app.capture == "document";
}

/// A host may begin at the beginning of the address's host only ("//example.org"), or after a label
/// of it (".example.org").
std::string_view hostWithoutAnchor(std::string_view host) {
    if (host.starts_with("//")) return host.substr(2);
    if (host.starts_with('.')) return host.substr(1);
    return host;
}

/// A page that the host is found in.
std::string pageOfHost(const std::string& host) {
    if (host.starts_with("//")) return "https:" + host;
    return (host.starts_with('.') ? "https://acme" : "https://") + host;
}

/// A class is found as a whole word unless it is listed as a family.
bool isWholeClass(std::string_view identifier) {
    return identifier.starts_with(kWmClassPrefix) && !identifier.ends_with('-') &&
           !identifier.ends_with('.');
}

bool isTextual(std::string_view modality) {
    return modality == "text" || modality == "code" || modality == "document" ||
           modality == "spreadsheet" || modality == "video_transcript";
}

class Entries {
public:
    Entries(const CatalogFile& file, const std::vector<Overlap>& intended)
        : m_file(file),
          m_intended(intended),
          m_catalog(file.apps, file.version, file.modalities, file.categories) {}

    Complaints check() {
        checkTables();
        for (const auto& app : m_file.apps) {
            checkNames(app);
            checkTreatment(app);
            checkIdentifiers(app);
            checkHosts(app);
        }
        checkCategoriesAreUsed();
        checkOverlaps();
        checkCommonPages();
        return std::move(m_complaints);
    }

private:
    void complain(std::string_view where, std::string what) {
        m_complaints.push_back(std::string(where) + ": " + std::move(what));
    }

    void checkTables() {
        if (m_file.version == "0") complain("catalog", "no version: write the day of the change");
        std::set<std::string> declared;
        for (const auto& modality : m_file.modalities) {
            if (!declared.insert(modality).second) {
                complain("modalities", inQuotes(modality) + " is declared twice");
            }
            if (!knownModalities().contains(modality)) {
                complain("modalities", inQuotes(modality) +
                                           " is none the panel has a word for; use " +
                                           listed(knownModalities()));
            }
        }
        std::set<std::string> categories;
        for (const auto& category : m_file.categories) {
            if (!categories.insert(category.id).second) {
                complain("categories", inQuotes(category.id) + " is declared twice");
            }
            if (category.label.empty()) {
                complain("categories", inQuotes(category.id) + " has no label to show");
            }
        }
    }

    void checkNames(const CatalogApp& app) {
        if (app.id.empty() || !onlyOf(app.id, kPlainIdLetters)) {
            complain(app.id, "an id is made of a-z, 0-9 and _ only");
        }
        if (!m_ids.insert(app.id).second) complain(app.id, "the id is used twice; choose another");
        if (app.name.empty()) complain(app.id, "no name to show");
        const auto [owner, fresh] = m_names.emplace(app.name, app.id);
        if (!fresh) {
            complain(app.id, "has the name " + inQuotes(app.name) + " of " + owner->second +
                                 "; people could not tell them apart");
        }
    }

    void checkTreatment(const CatalogApp& app) {
        const auto& declared = m_file.modalities;
        const auto isDeclared = [&](const std::string& modality) {
            return std::find(declared.begin(), declared.end(), modality) != declared.end();
        };
        if (app.modalities.empty()) complain(app.id, "holds no kind of work; fill \"modalities\"");
        for (const auto& modality : app.modalities) {
            if (!isDeclared(modality)) {
                complain(app.id, "modality " + inQuotes(modality) + " is not declared at the top");
            }
        }
        if (std::set<std::string>(app.modalities.begin(), app.modalities.end()).size() !=
            app.modalities.size()) {
            complain(app.id, "a modality is listed twice");
        }
        if (std::find(app.modalities.begin(), app.modalities.end(), app.primaryModality) ==
            app.modalities.end()) {
            complain(app.id, "the primary modality " + inQuotes(app.primaryModality) +
                                 " is not among its modalities");
        }
        if (!knownVerticals().contains(app.vertical)) {
            complain(app.id, "vertical " + inQuotes(app.vertical) + " is unknown; use one of " +
                                 listed(knownVerticals()));
        }
        if (!knownCaptures().contains(app.capture)) {
            complain(app.id, "capture " + inQuotes(app.capture) +
                                 " would be a screenshot without a word; use one of " +
                                 listed(knownCaptures()));
        }
        if (takesText(app) && !isTextual(app.primaryModality)) {
            complain(app.id, "its text would be graded as " + inQuotes(app.primaryModality) +
                                 "; capture \"screenshot\" or \"export\" fits that modality");
        }
        if (!takesText(app) && isTextual(app.primaryModality)) {
            complain(app.id, "its text would never be read, only its picture; capture "
                             "\"selection\" takes the picture by itself when nothing is selected");
        }
        if (app.workflowNodes.empty()) {
            complain(app.id, "plays no step in a workflow; fill \"workflow_nodes\"");
        }
        for (const auto& node : app.workflowNodes) {
            if (node.empty() || !onlyOf(node, kPlainIdLetters)) {
                complain(app.id, "workflow node " + inQuotes(node) + " is no plain word");
            }
        }
        if (app.isBrowser != (app.category == "browser")) {
            complain(app.id, "\"is_browser\" and the category \"browser\" go together");
        }
        if (app.isBrowser && app.capture != "selection") {
            complain(app.id, "a browser shows any page: capture it by \"selection\"");
        }
        if (app.category == "terminal" && app.capture != "selection") {
            complain(app.id, "a terminal is captured by \"selection\"");
        }
        m_usedCategories.insert(app.category);
        const auto known = std::any_of(m_file.categories.begin(), m_file.categories.end(),
                                       [&](const auto& each) { return each.id == app.category; });
        if (!known) {
            complain(app.id, "category " + inQuotes(app.category) + " is not in \"categories\"");
        }
    }

    void checkIdentifiers(const CatalogApp& app) {
        if (app.bundleIds.empty() && app.webHosts.empty()) {
            complain(app.id, "can never be found: no identifier and no host");
        }
        for (const auto& identifier : app.bundleIds) {
            const auto [owner, fresh] = m_identifiers.emplace(identifier, app.id);
            if (!fresh) {
                complain(app.id, "identifier " + inQuotes(identifier) + " is listed by " +
                                     owner->second + " already");
                continue;
            }
            checkSpelling(app, identifier);
            const CatalogApp* const found = m_catalog.appForBundleId(identifier);
            if (found == nullptr || found->id != app.id) {
                complain(app.id, "identifier " + inQuotes(identifier) + " does not lead here");
            }
            checkWebApp(app, identifier);
        }
    }

    void checkSpelling(const CatalogApp& app, std::string_view identifier) {
        const bool byClass = identifier.starts_with(kWmClassPrefix);
        const auto letters = byClass ? identifier.substr(kWmClassPrefix.size()) : identifier;
        // A class may be several words; a blank at an end is a slip.
        const bool blankAtAnEnd = letters.starts_with(' ') || letters.ends_with(' ');
        const bool spelled =
            onlyOf(letters, byClass ? kClassLetters : kIdentifierLetters) && !blankAtAnEnd;
        if (letters.size() < 2 || !spelled) {
            complain(app.id, "identifier " + inQuotes(identifier) +
                                 " has a letter that no identifier has, or is too short");
        }
        if (byClass && std::any_of(letters.begin(), letters.end(),
                                   [](char c) { return c >= 'A' && c <= 'Z'; })) {
            complain(app.id, inQuotes(identifier) + ": a window class is listed in lower case");
        }
        const bool family = identifier.ends_with('.') || identifier.ends_with('-');
        if (family && identifier.size() < kShortestPrefix) {
            complain(app.id, inQuotes(identifier) +
                                 " is meant as a prefix but too short to be one; "
                                 "six characters are needed");
        }
    }

    /// A window of a web application's own must lead where its page leads.
    void checkWebApp(const CatalogApp& app, std::string_view identifier) {
        const auto key = WebApps::keyOf(identifier);
        if (key && identifier != WebApps::listedAs(*key)) {
            complain(app.id, "installed site " + inQuotes(identifier) + ": list it as " +
                                 inQuotes(WebApps::listedAs(*key)) +
                                 ", from which its other names follow");
        }
        if (identifier.starts_with("crx_") && !key) {
            complain(app.id, inQuotes(identifier) + ": an installed site's key has 32 letters");
        }
        const auto page = WebApps::pageOf(identifier);
        if (!page) return;
        const CatalogApp* const found = m_catalog.appForURL(*page);
        if (found == nullptr || found->id != app.id) {
            complain(app.id, "window " + inQuotes(identifier) + " shows " + *page +
                                 ", which no host of this application matches");
        }
    }

    void checkHosts(const CatalogApp& app) {
        for (const auto& host : app.webHosts) {
            const auto [owner, fresh] = m_hosts.emplace(host, app.id);
            if (!fresh) {
                complain(app.id,
                         "host " + inQuotes(host) + " is listed by " + owner->second + " already");
                continue;
            }
            if (host.find("://") != std::string::npos) {
                complain(app.id, "host " + inQuotes(host) + ": leave the scheme out");
                continue;
            }
            const auto plain = hostWithoutAnchor(host);
            const auto slash = plain.find('/');
            const auto name = plain.substr(0, slash);
            const auto path = slash == plain.npos ? std::string_view() : plain.substr(slash);
            if (!onlyOf(name, kHostLetters) || !onlyOf(path, kPathLetters)) {
                complain(app.id, "host " + inQuotes(host) +
                                     " must be lower case, without blanks, query or fragment");
            }
            if (host.ends_with('/')) {
                complain(app.id, "host " + inQuotes(host) + ": leave the last slash out");
            }
            const auto dot = name.find('.');
            if (dot == std::string_view::npos || dot == 0 || name.ends_with('.')) {
                complain(app.id, "host " + inQuotes(host) + " is no whole host name");
            } else if (host.size() < kShortestHost) {
                complain(app.id, "host " + inQuotes(host) +
                                     " would be found inside other hosts; begin it with \"//\" or "
                                     "\".\", or add a subdomain or path");
            }
            const CatalogApp* const found = m_catalog.appForURL(pageOfHost(host) + "/x");
            if (found == nullptr || found->id != app.id) {
                complain(app.id, "host " + inQuotes(host) + " leads to " +
                                     (found == nullptr ? "nothing" : found->id));
            }
        }
    }

    void checkCategoriesAreUsed() {
        for (const auto& category : m_file.categories) {
            if (!m_usedCategories.contains(category.id)) {
                complain("categories", inQuotes(category.id) + " holds no application");
            }
        }
    }

    void checkOverlaps() {
        std::set<std::pair<std::string, std::string>> meant;
        for (const auto& overlap : m_intended) {
            meant.insert({overlap.prefix, overlap.longer});
            if (overlap.reason.empty()) {
                complain("overlaps", inQuotes(overlap.prefix) + " has no reason");
            }
        }
        std::set<std::pair<std::string, std::string>> found;
        for (const auto& [prefix, owner] : m_identifiers) {
            if (prefix.size() < kShortestPrefix || isWholeClass(prefix)) continue;
            // The map is sorted: what begins with the prefix follows it directly.
            for (auto next = m_identifiers.upper_bound(prefix);
                 next != m_identifiers.end() && next->first.starts_with(prefix); ++next) {
                if (next->second == owner) continue;
                // Between windows of pages the hosts decide, and they were held to that above.
                if (WebApps::pageOf(prefix) && WebApps::pageOf(next->first)) continue;
                found.insert({prefix, next->first});
                if (!meant.contains({prefix, next->first})) {
                    complain(owner, "identifier " + inQuotes(prefix) + " begins " +
                                        inQuotes(next->first) + " of " + next->second +
                                        "; choose another, or note with its reason that it is "
                                        "meant");
                }
            }
        }
        for (const auto& overlap : meant) {
            if (!found.contains(overlap)) {
                complain("overlaps", inQuotes(overlap.first) + " no longer begins " +
                                         inQuotes(overlap.second) + "; strike the note");
            }
        }
    }

    void checkCommonPages() {
        for (const auto& page : commonPages()) {
            const CatalogApp* const found = m_catalog.appForURL(page);
            if (found == nullptr) continue;
            complain(found->id,
                     "one of its hosts is found in " + page + "; make it longer or add a path");
        }
    }

    const CatalogFile& m_file;
    const std::vector<Overlap>& m_intended;
    AppCatalog m_catalog;
    std::set<std::string> m_ids;
    std::set<std::string> m_usedCategories;
    std::map<std::string, std::string> m_names;
    std::map<std::string, std::string> m_identifiers;
    std::map<std::string, std::string> m_hosts;
    Complaints m_complaints;
};

std::string json(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string json(const std::vector<std::string>& list) {
    std::string text = "[";
    for (const auto& each : list) text += (text.size() == 1 ? "" : ", ") + json(each);
    return text + "]";
}

std::string line(const CatalogApp& app) {
    std::string text = "{\"id\": " + json(app.id) + ", \"name\": " + json(app.name) +
                       ", \"category\": " + json(app.category) +
                       ", \"vertical\": " + json(app.vertical);
    if (!app.bundleIds.empty()) text += ", \"bundle_ids\": " + json(app.bundleIds);
    if (!app.webHosts.empty()) text += ", \"web_hosts\": " + json(app.webHosts);
    text += ", \"modalities\": " + json(app.modalities) +
            ", \"primary_modality\": " + json(app.primaryModality) +
            ", \"capture\": " + json(app.capture);
    if (app.connector != "native_gui") text += ", \"connector\": " + json(app.connector);
    if (app.tier != "full") text += ", \"tier\": " + json(app.tier);
    text += ", \"workflow_nodes\": " + json(app.workflowNodes);
    if (app.isBrowser) text += ", \"is_browser\": true";
    return text + "}";
}

std::string sortName(const CatalogApp& app) {
    std::string name = app.name;
    for (char& c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return name + '\0' + app.id;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t begin = 0;;) {
        const auto end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos) return parts;
        begin = end + 1;
    }
}

struct Listed {
    std::string app;
    std::string value;
    bool isHost = false;
};

std::vector<Listed> everythingListed(const CatalogFile& file) {
    std::vector<Listed> all;
    for (const auto& app : file.apps) {
        for (const auto& identifier : app.bundleIds) all.push_back({app.id, identifier, false});
        for (const auto& host : app.webHosts) all.push_back({app.id, host, true});
    }
    return all;
}

} // namespace

Complaints checkEntries(const CatalogFile& file, const std::vector<Overlap>& intended) {
    return Entries(file, intended).check();
}

std::string canonicalText(const CatalogFile& file) {
    std::map<std::string_view, std::size_t> rank;
    for (const auto& category : file.categories) rank.emplace(category.id, rank.size());
    std::vector<const CatalogApp*> apps;
    apps.reserve(file.apps.size());
    for (const auto& app : file.apps) apps.push_back(&app);
    const auto placeOf = [&](const CatalogApp* app) {
        const auto found = rank.find(app->category);
        return std::pair(found == rank.end() ? rank.size() : found->second, sortName(*app));
    };
    std::stable_sort(apps.begin(), apps.end(),
                     [&](const auto* a, const auto* b) { return placeOf(a) < placeOf(b); });

    std::string text = "{\n  \"schema\": \"1\",\n  \"version\": " + json(file.version) +
                       ",\n  \"modalities\": " + json(file.modalities) + ",\n  \"categories\": [";
    for (const auto& category : file.categories) {
        text += (&category == file.categories.data() ? "\n" : ",\n");
        text += "    {\"id\": " + json(category.id) + ", \"label\": " + json(category.label) + "}";
    }
    text += "\n  ],\n  \"apps\": [";
    for (std::size_t i = 0; i < apps.size(); ++i)
        text += (i == 0 ? "\n    " : ",\n    ") + line(*apps[i]);
    return text + "\n  ]\n}\n";
}

Complaints checkFormat(std::string_view bytes, const CatalogFile& file) {
    const std::string wanted = canonicalText(file);
    if (bytes == wanted) return {};
    const auto have = split(bytes, '\n');
    const auto want = split(wanted, '\n');
    std::size_t at = 0;
    while (at < have.size() && at < want.size() && have[at] == want[at]) ++at;
    return {"app-catalog.json:" + std::to_string(at + 1) + ": this line should read\n" +
            std::string(at < want.size() ? want[at] : "(nothing)") + "\nnot\n" +
            std::string(at < have.size() ? have[at] : "(nothing)")};
}

Complaints checkSources(std::string_view table, const CatalogFile& file) {
    static const std::set<std::string_view> platforms{"macos", "linux", "web"};
    const auto wanted = everythingListed(file);
    Complaints complaints;
    std::size_t number = 0;
    const auto complain = [&](const std::string& what) {
        complaints.push_back("catalog-sources.tsv:" + std::to_string(number) + ": " + what);
    };

    if (!table.ends_with('\n')) {
        complain("the last line has no end");
        return complaints;
    }
    std::size_t next = 0; // The first of `wanted` without a row.
    std::set<std::string_view> platformsOfLast;
    for (const auto row : split(table.substr(0, table.size() - 1), '\n')) {
        ++number;
        if (number == 1) {
            if (row != "app\tidentifier\tplatform\tsource\tnote") complain("the header is missing");
            continue;
        }
        const auto cells = split(row, '\t');
        if (cells.size() != 5) {
            complain("has " + std::to_string(cells.size()) + " cells, not 5");
            return complaints;
        }
        const auto names = [&](const Listed& each) {
            return each.app == cells[0] && each.value == cells[1];
        };
        if (next < wanted.size() && names(wanted[next])) {
            platformsOfLast.clear();
            ++next;
        } else if (next == 0 || !names(wanted[next - 1])) {
            complain(inQuotes(cells[1]) + " of " + std::string(cells[0]) + " stands where " +
                     (next < wanted.size() ? "the row for " + inQuotes(wanted[next].value) +
                                                 " of " + wanted[next].app
                                           : std::string("nothing")) +
                     " is due; rows follow the catalog, one or more for each identifier and host");
            return complaints;
        }
        const Listed& listed = wanted[next - 1];
        if (!platforms.contains(cells[2]) || (cells[2] == "web") != listed.isHost) {
            complain("platform " + inQuotes(cells[2]) +
                     ": a host is \"web\", an identifier "
                     "\"macos\" or \"linux\"");
        }
        if (!platformsOfLast.insert(cells[2]).second) complain("a second row for one platform");
        if (!cells[3].starts_with("https://") && !cells[3].starts_with("Debian package ")) {
            complain("source " + inQuotes(cells[3]) +
                     " is no public place: an https address, or \"Debian package <name>, <file>\"");
        }
        const bool itself =
            listed.isHost && cells[3] == "https://" + std::string(hostWithoutAnchor(listed.value));
        if (itself && cells[4] != kKnownFromUse) {
            complain("host " + inQuotes(listed.value) +
                     " is its own source: name a public place that "
                     "names it, or note " +
                     inQuotes(kKnownFromUse));
        }
    }
    if (next < wanted.size()) {
        ++number;
        complain("no row for " + inQuotes(wanted[next].value) + " of " + wanted[next].app);
    }
    return complaints;
}

} // namespace kelvane::lint
