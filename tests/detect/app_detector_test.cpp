#include "detect/app_detector.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

CatalogApp catalogApp(const std::string& id, std::vector<std::string> bundleIds) {
    CatalogApp app;
    app.id = id;
    app.name = "The " + id;
    app.bundleIds = std::move(bundleIds);
    app.modalities = {"text"};
    return app;
}

AppCatalog testCatalog() {
    CatalogApp browser = catalogApp("browser", {"org.example.browser"});
    browser.isBrowser = true;
    browser.webHosts = {"docs.example.org"};
    // An app that lists the empty identifier must still not answer to it.
    return AppCatalog({catalogApp("editor", {"org.example.editor", ""}), browser});
}

TEST(AppDetectorResolve, KnownIdentifierCarriesTheWholeEntry) {
    const auto app = AppDetector::resolve("org.example.editor", "Editor", testCatalog());
    EXPECT_EQ(app.rawBundleId, "org.example.editor");
    EXPECT_EQ(app.rawName, "Editor");
    ASSERT_TRUE(app.supported());
    EXPECT_EQ(*app.app, catalogApp("editor", {"org.example.editor", ""}));
    EXPECT_FALSE(app.isBrowser());
}

TEST(AppDetectorResolve, IdentifierWithoutNameIsShownByItsIdentifier) {
    const auto app = AppDetector::resolve("org.example.editor", std::nullopt, testCatalog());
    EXPECT_EQ(app.rawName, "org.example.editor");
    EXPECT_TRUE(app.supported());
}

TEST(AppDetectorResolve, EmptyNameIsANameAndStays) {
    EXPECT_EQ(AppDetector::resolve("org.example.editor", "", testCatalog()).rawName, "");
}

TEST(AppDetectorResolve, EmptyIdentifierIsNeverLookedUp) {
    const auto app = AppDetector::resolve("", "Ghost", testCatalog());
    EXPECT_EQ(app.rawBundleId, "");
    EXPECT_EQ(app.rawName, "Ghost");
    EXPECT_FALSE(app.supported());
}

TEST(AppDetectorResolve, AbsentIdentifierIsEmptyAndNeverLookedUp) {
    const auto app = AppDetector::resolve(std::nullopt, "Ghost", testCatalog());
    EXPECT_EQ(app.rawBundleId, "");
    EXPECT_EQ(app.rawName, "Ghost");
    EXPECT_FALSE(app.supported());
}

TEST(AppDetectorResolve, UnknownIdentifierKeepsTheNameForDisplay) {
    const auto app = AppDetector::resolve("com.nobody.knows", "Novelty", testCatalog());
    EXPECT_FALSE(app.supported());
    EXPECT_FALSE(app.isBrowser());
    EXPECT_EQ(app.rawBundleId, "com.nobody.knows");
    EXPECT_EQ(app.rawName, "Novelty");
}

TEST(AppDetectorResolve, IdentifierIsPassedOnUnchanged) {
    for (const std::string id :
         {"ORG.EXAMPLE.EDITOR", " org.example.editor", "Org.example.browser"}) {
        const auto app = AppDetector::resolve(id, std::nullopt, testCatalog());
        EXPECT_FALSE(app.supported()) << id;
        EXPECT_EQ(app.rawBundleId, id);
    }
}

TEST(AppDetectorResolve, BrowserIsABrowserWhateverItShows) {
    const auto app =
        AppDetector::resolve("org.example.browser", "docs.example.org - Browser", testCatalog());
    EXPECT_TRUE(app.supported());
    EXPECT_TRUE(app.isBrowser());
    EXPECT_EQ(app.app->id, "browser");
}

TEST(AppDetectorResolve, SameAppAgainstSameCatalogComparesEqual) {
    const auto catalog = testCatalog();
    EXPECT_EQ(AppDetector::resolve("org.example.editor", "Editor", catalog),
              AppDetector::resolve("org.example.editor", "Editor", catalog));
    EXPECT_EQ(AppDetector::resolve("com.nobody.knows", "N", catalog),
              AppDetector::resolve("com.nobody.knows", "N", testCatalog()));
}

TEST(AppDetectorResolve, AnyChangeOfTheEntryComparesUnequal) {
    const CatalogApp base = catalogApp("editor", {"org.example.editor"});
    const auto resolved = [](CatalogApp entry) {
        return AppDetector::resolve("org.example.editor", "Editor", AppCatalog({std::move(entry)}));
    };
    std::vector<CatalogApp> changed(12, base);
    changed[0].id = "editor2";
    changed[1].name = "Other";
    changed[2].category = "other";
    changed[3].vertical = "other";
    changed[4].bundleIds.emplace_back("org.example.editor.beta");
    changed[5].webHosts = {"example.org"};
    changed[6].modalities = {"code"};
    changed[7].primaryModality = "code";
    changed[8].capture = "selection";
    changed[9].connector = "web";
    changed[10].tier = "basic";
    changed[11].workflowNodes = {"draft"};
    changed.push_back(base);
    changed.back().isBrowser = true;
    ASSERT_EQ(resolved(base), resolved(base));
    for (std::size_t i = 0; i < changed.size(); ++i) {
        EXPECT_NE(resolved(base), resolved(changed[i])) << "field " << i;
    }
}

TEST(AppDetectorResolve, NameAndIdentifierTakePartInEquality) {
    const auto catalog = testCatalog();
    const auto app = AppDetector::resolve("com.nobody.knows", "N", catalog);
    EXPECT_NE(app, AppDetector::resolve("com.nobody.knows", "M", catalog));
    EXPECT_NE(app, AppDetector::resolve("com.nobody.known", "N", catalog));
}

TEST(AppDetectorFrontmost, NoFrontmostApplicationIsWhollyEmpty) {
    FakePlatform fake;
    const auto app = AppDetector::frontmost(fake.workspace, testCatalog());
    EXPECT_EQ(app, DetectedApp());
    EXPECT_FALSE(app.supported());
    EXPECT_FALSE(app.isBrowser());
}

TEST(AppDetectorFrontmost, HandsIdentifierAndNameOn) {
    FakePlatform fake;
    fake.workspace.running = {
        {.bundleId = "org.example.editor", .name = "Editor", .pid = 1},
        {.bundleId = "org.example.browser", .name = std::nullopt, .pid = 2},
        {.bundleId = std::nullopt, .name = "Script", .pid = 3},
        {.bundleId = std::nullopt, .name = std::nullopt, .pid = 4},
    };
    const auto catalog = testCatalog();
    const auto inFront = [&](ProcessId pid) {
        fake.workspace.front = pid;
        return AppDetector::frontmost(fake.workspace, catalog);
    };
    EXPECT_EQ(inFront(1), AppDetector::resolve("org.example.editor", "Editor", catalog));
    EXPECT_EQ(inFront(2), AppDetector::resolve("org.example.browser", std::nullopt, catalog));
    EXPECT_EQ(inFront(3), AppDetector::resolve(std::nullopt, "Script", catalog));
    EXPECT_EQ(inFront(4), DetectedApp());
}

} // namespace
} // namespace kelvane
