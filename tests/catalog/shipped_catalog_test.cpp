// Holds the catalog that ships with the program to what the rest of the program builds on.

#include "catalog/app_catalog.h"
#include "catalog/catalog_lint.h"
#include "catalog/catalog_reach.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {
namespace {

std::string bytesOf(const std::string& path) {
    std::ifstream file(inSourceTree(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string shippedBytes() {
    return bytesOf("resources/app-catalog.json");
}

const AppCatalog& shipped() {
    static const AppCatalog catalog = AppCatalog::load(shippedBytes());
    return catalog;
}

std::string idOf(const CatalogApp* app) {
    return app == nullptr ? "-" : app->id;
}

std::string byBundle(std::string_view bundleId) {
    return idOf(shipped().appForBundleId(bundleId));
}

std::string byURL(std::string_view url) {
    return idOf(shipped().appForURL(url));
}

const CatalogApp* byId(std::string_view id) {
    const auto& apps = shipped().apps();
    const auto found =
        std::find_if(apps.begin(), apps.end(), [&](const CatalogApp& app) { return app.id == id; });
    return found == apps.end() ? nullptr : &*found;
}

std::string all(const lint::Complaints& complaints) {
    std::string text = "resources/app-catalog.json and resources/catalog-sources.tsv:";
    for (const auto& complaint : complaints) text += "\n  " + complaint;
    return text;
}

TEST(ShippedCatalog, BreaksNoRule) {
    const auto complaints =
        lint::checkEntries(decodeCatalogFile(shippedBytes()), lint::intendedOverlaps());
    EXPECT_TRUE(complaints.empty()) << all(complaints);
}

TEST(ShippedCatalog, IsWrittenInTheOneWay) {
    const std::string bytes = shippedBytes();
    const auto complaints = lint::checkFormat(bytes, decodeCatalogFile(bytes));
    EXPECT_TRUE(complaints.empty()) << all(complaints);
}

TEST(ShippedCatalog, EveryIdentifierAndHostHasItsSource) {
    const auto complaints = lint::checkSources(bytesOf("resources/catalog-sources.tsv"),
                                               decodeCatalogFile(shippedBytes()));
    EXPECT_TRUE(complaints.empty()) << all(complaints);
}

/// What stands between two lines of docs/catalog.md, without them.
std::string inTheDocs(std::string_view after, std::string_view before) {
    const std::string docs = bytesOf("docs/catalog.md");
    const auto begin = docs.find(after);
    if (begin == docs.npos) return {};
    const auto from = begin + after.size();
    return docs.substr(from, docs.find(before, from) - from);
}

TEST(ShippedCatalog, TheDocsSayHowManyAreRecognisedWhere) {
    const auto reach =
        lint::reachOf(decodeCatalogFile(shippedBytes()), bytesOf("resources/catalog-sources.tsv"));
    const std::string table = lint::reachTable(reach);
    const auto heading = table.substr(0, table.find('\n') + 1);
    EXPECT_EQ(heading + inTheDocs(heading, "\n\n") + "\n", table)
        << "docs/catalog.md: the table should read\n"
        << table;
}

TEST(ShippedCatalog, EveryApplicationIsFoundBySomething) {
    for (const auto& each : lint::reachOf(decodeCatalogFile(shippedBytes()),
                                          bytesOf("resources/catalog-sources.tsv"))) {
        EXPECT_EQ(each.none, 0U) << each.category;
        EXPECT_GT(each.apps, 0U) << each.category;
    }
    // A page that nobody can open in a window of its own would be found by nothing at all: the
    // program does not read addresses.
    for (const auto& app : shipped().apps()) {
        CatalogFile alone;
        alone.categories = {{app.category, app.category}};
        alone.apps = {app};
        std::string sources;
        for (const auto& identifier : app.bundleIds) {
            sources += app.id + "\t" + identifier + "\tmacos\t\t\n";
        }
        const auto reach = lint::reachOf(alone, sources).front();
        EXPECT_GT(reach.onMacos + reach.window, 0U) << app.id << " is found by no identifier";
    }
}

TEST(ShippedCatalog, TheExampleOfTheDocsPassesItsOwnChecks) {
    CatalogFile file = decodeCatalogFile("{\"version\": \"2026-01-01\", \"apps\": [" +
                                         inTheDocs("```json\n", "```") + "]}");
    file.modalities = {"document", "text"};
    file.categories = {{"writing", "Writing"}};
    EXPECT_EQ(lint::checkEntries(file, {}), lint::Complaints{});
    EXPECT_EQ(lint::checkSources("app\tidentifier\tplatform\tsource\tnote\n" +
                                     inTheDocs("```text\n", "```"),
                                 file),
              lint::Complaints{});
}

TEST(ShippedCatalog, HasAVersionAndEnoughApps) {
    const auto& apps = shipped().apps();
    EXPECT_NE(shipped().version(), "0");
    EXPECT_GE(apps.size(), 900U);
    EXPECT_GE(shipped().categories().size(), 14U);
    EXPECT_GE(std::count_if(apps.begin(), apps.end(),
                            [](const auto& app) { return !app.webHosts.empty(); }),
              400);
}

TEST(ShippedCatalog, TheNamedIdentifiersAreListedExactly) {
    const std::pair<const char*, const char*> expected[] = {{"com.figma.Desktop", "figma"},
                                                            {"com.microsoft.VSCode", "vscode"},
                                                            {"notion.id", "notion"}};
    for (const auto& [bundleId, id] : expected) {
        const CatalogApp* app = byId(id);
        ASSERT_NE(app, nullptr) << id;
        EXPECT_NE(std::find(app->bundleIds.begin(), app->bundleIds.end(), bundleId),
                  app->bundleIds.end())
            << bundleId;
        EXPECT_EQ(byBundle(bundleId), id);
    }
}

TEST(ShippedCatalog, VersionedIdentifiersAreFoundByAProperPrefix) {
    const std::pair<std::string, const char*> expected[] = {
        {"com.adobe.PremierePro.24", "premiere"}, {"com.jetbrains.intellij", "jetbrains"}};
    for (const auto& [bundleId, id] : expected) {
        EXPECT_EQ(byBundle(bundleId), id);
        for (const auto& app : shipped().apps()) {
            EXPECT_EQ(std::find(app.bundleIds.begin(), app.bundleIds.end(), bundleId),
                      app.bundleIds.end())
                << bundleId << " is listed by " << app.id;
        }
        const CatalogApp* app = byId(id);
        ASSERT_NE(app, nullptr) << id;
        const bool byPrefix =
            std::any_of(app->bundleIds.begin(), app->bundleIds.end(),
                        [&wanted = bundleId](const std::string& prefix) {
                            return prefix.size() >= 6 && wanted.starts_with(prefix);
                        });
        EXPECT_TRUE(byPrefix) << id;
    }
}

TEST(ShippedCatalog, UnknownAndShortIdentifiersFindNothing) {
    EXPECT_EQ(byBundle("com.example.nope"), "-");
    EXPECT_EQ(byBundle("com"), "-");
    EXPECT_EQ(byBundle(""), "-");
}

TEST(ShippedCatalog, PagesOfOneHostFindTheirApps) {
    const std::pair<const char*, const char*> expected[] = {
        {"https://www.figma.com/board/x", "figjam"},
        {"https://figma.com/board/x", "figjam"},
        {"https://www.figma.com/design/x", "figma"},
        {"https://www.figma.com/slides/x", "figma_slides"},
        {"https://docs.google.com/document/d/1/edit", "google_docs"},
        {"https://docs.google.com/spreadsheets/d/1", "google_sheets"},
        {"https://docs.google.com/presentation/d/1", "google_slides"},
        {"https://DOCS.google.com/Document/d/1/edit", "google_docs"},
        {"https://example.org/", "-"},
        {"https://dropbox.com/x", "-"},
    };
    for (const auto& [url, id] : expected) EXPECT_EQ(byURL(url), id) << url;
}

TEST(ShippedCatalog, TheMainStepsAreThoseOfTheTrade) {
    ASSERT_NE(byId("vscode"), nullptr);
    ASSERT_NE(byId("figma"), nullptr);
    EXPECT_EQ(byId("vscode")->workflowNodes.front(), "build");
    EXPECT_EQ(byId("figma")->workflowNodes.front(), "design");
}

} // namespace
} // namespace kelvane
