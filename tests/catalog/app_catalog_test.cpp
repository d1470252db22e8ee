#include "catalog/app_catalog.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

CatalogApp appWith(std::string id, std::vector<std::string> bundleIds,
                   std::vector<std::string> webHosts = {}) {
    CatalogApp app;
    app.name = id;
    app.id = std::move(id);
    app.bundleIds = std::move(bundleIds);
    app.webHosts = std::move(webHosts);
    return app;
}

// The id of what was found, or "-".
std::string idOf(const CatalogApp* app) {
    return app == nullptr ? "-" : app->id;
}

std::string byBundle(const AppCatalog& catalog, std::string_view bundleId) {
    return idOf(catalog.appForBundleId(bundleId));
}

std::string byURL(const AppCatalog& catalog, std::string_view url) {
    return idOf(catalog.appForURL(url));
}

TEST(AppCatalog, TheEmptyCatalogKnowsNothing) {
    for (const auto& catalog : {AppCatalog(), AppCatalog(std::vector<CatalogApp>{})}) {
        EXPECT_EQ(catalog.version(), "0");
        EXPECT_TRUE(catalog.apps().empty());
        EXPECT_TRUE(catalog.modalities().empty());
        EXPECT_TRUE(catalog.categories().empty());
        for (const auto* query : {"", "com", "com.figma.Desktop", "https://figma.com/"}) {
            EXPECT_EQ(byBundle(catalog, query), "-");
            EXPECT_EQ(byURL(catalog, query), "-");
        }
    }
}

TEST(AppCatalog, LoadTakesOverEveryPartOfTheFile) {
    const auto catalog = AppCatalog::load(
        R"({"version":"7","modalities":["text"],"categories":[{"id":"c","label":"C"}],
            "apps":[{"id":"a","name":"A","bundle_ids":["org.a.App"],"web_hosts":["a.org"]}]})");
    EXPECT_EQ(catalog.version(), "7");
    EXPECT_EQ(catalog.modalities(), std::vector<std::string>{"text"});
    EXPECT_EQ(catalog.categories(), (std::vector<CatalogCategory>{{"c", "C"}}));
    ASSERT_EQ(catalog.apps().size(), 1U);
    EXPECT_EQ(catalog.appForBundleId("org.a.App"), &catalog.apps()[0]);
    EXPECT_EQ(catalog.appForURL("https://a.org"), &catalog.apps()[0]);
}

TEST(AppCatalog, LoadThrowsWhatDecodingThrows) {
    EXPECT_THROW((void)AppCatalog::load("{}"), CatalogError);
}

TEST(AppCatalog, AnExactIdentifierWinsOverALongerPrefixOfAnotherApp) {
    // Every other entry matches "com.vendor.app" as a prefix, before and after it in the file.
    const AppCatalog catalog({appWith("family", {"com.ve"}), appWith("exact", {"com.vendor.app"}),
                              appWith("longer", {"com.vendor.ap"})});
    EXPECT_EQ(byBundle(catalog, "com.vendor.app"), "exact");
    EXPECT_EQ(byBundle(catalog, "com.vendor.ap"), "longer");
    EXPECT_EQ(byBundle(catalog, "com.vendor.a"), "family");
}

TEST(AppCatalog, AVersionedIdentifierFindsTheLongestListedPrefix) {
    const AppCatalog catalog({appWith("adobe", {"com.adobe."}),
                              appWith("premiere", {"com.adobe.PremierePro"}),
                              appWith("premiere_family", {"com.adobe.Premiere"})});
    EXPECT_EQ(byBundle(catalog, "com.adobe.PremierePro.24"), "premiere");
    EXPECT_EQ(byBundle(catalog, "com.adobe.PremiereRush"), "premiere_family");
    EXPECT_EQ(byBundle(catalog, "com.adobe.xd"), "adobe");
}

TEST(AppCatalog, FiveCharactersMatchExactlyButAreNoPrefixAndSixAre) {
    const AppCatalog catalog({appWith("five", {"abcde"}), appWith("six", {"uvwxyz"})});
    EXPECT_EQ(byBundle(catalog, "abcde"), "five");
    EXPECT_EQ(byBundle(catalog, "abcdef"), "-");
    EXPECT_EQ(byBundle(catalog, "uvwxyz"), "six");
    EXPECT_EQ(byBundle(catalog, "uvwxyz1"), "six");
}

TEST(AppCatalog, TheSixAreCharactersNotBytes) {
    const AppCatalog catalog({appWith("five", {"éàüöß"}), appWith("six", {"äàüößé"})});
    EXPECT_EQ(byBundle(catalog, "éàüöß.1"), "-");
    EXPECT_EQ(byBundle(catalog, "äàüößé.1"), "six");
}

TEST(AppCatalog, AnIdentifierOfTwoAppsIsTheLatersExactlyAndTheEarliersAsPrefix) {
    const AppCatalog catalog(
        {appWith("earlier", {"org.same.App"}), appWith("later", {"org.same.App"})});
    EXPECT_EQ(byBundle(catalog, "org.same.App"), "later");
    EXPECT_EQ(byBundle(catalog, "org.same.App.beta"), "earlier");
}

TEST(AppCatalog, AnIdentifierListedTwiceByOneAppIsHarmless) {
    const AppCatalog catalog({appWith("a", {"org.same.App", "org.same.App"})});
    EXPECT_EQ(byBundle(catalog, "org.same.App"), "a");
    EXPECT_EQ(byBundle(catalog, "org.same.App2"), "a");
}

TEST(AppCatalog, AShortQueryIsNeverThePrefix) {
    const AppCatalog catalog({appWith("figma", {"com.figma.Desktop"})});
    EXPECT_EQ(byBundle(catalog, "com"), "-");
    EXPECT_EQ(byBundle(catalog, "com.example.nope"), "-");
    EXPECT_EQ(byBundle(catalog, "com.figma.Deskto"), "-");
    EXPECT_EQ(byBundle(catalog, ""), "-");
}

TEST(AppCatalog, APrefixNeedNotEndAtADot) {
    const AppCatalog catalog({appWith("teams", {"com.microsoft.teams"})});
    EXPECT_EQ(byBundle(catalog, "com.microsoft.teams2"), "teams");
    EXPECT_EQ(byBundle(catalog, "com.microsoft.teamsters"), "teams");
}

TEST(AppCatalog, BundleIdentifiersKeepTheirCase) {
    const AppCatalog catalog({appWith("figma", {"com.figma.Desktop"})});
    EXPECT_EQ(byBundle(catalog, "com.figma.desktop"), "-");
    EXPECT_EQ(byBundle(catalog, "com.figma.desktop.beta"), "-");
    EXPECT_EQ(byBundle(catalog, "com.figma.DesktopBeta"), "figma");
}

TEST(AppCatalog, IdentifiersAreNotTrimmed) {
    const AppCatalog catalog({appWith("a", {" org.a "})});
    EXPECT_EQ(byBundle(catalog, "org.a"), "-");
    EXPECT_EQ(byBundle(catalog, " org.a "), "a");
}

TEST(AppCatalog, AnEmptyIdentifierMatchesOnlyTheEmptyOne) {
    const AppCatalog catalog({appWith("empty", {""})});
    EXPECT_EQ(byBundle(catalog, ""), "empty");
    EXPECT_EQ(byBundle(catalog, "a"), "-");
}

TEST(AppCatalog, APathEntryBeatsTheBareHostWhateverTheOrderInTheFile) {
    const auto bare = appWith("design", {}, {"figma.com"});
    const auto board = appWith("board", {}, {"figma.com/board"});
    for (const auto& catalog : {AppCatalog({bare, board}), AppCatalog({board, bare})}) {
        EXPECT_EQ(byURL(catalog, "https://www.figma.com/board/x"), "board");
        EXPECT_EQ(byURL(catalog, "https://www.figma.com/file/x"), "design");
        EXPECT_EQ(byURL(catalog, "https://figma.com"), "design");
    }
}

TEST(AppCatalog, AddressesAreMatchedWithoutRegardToCase) {
    const AppCatalog catalog({appWith("docs", {}, {"Docs.Google.com/Document"})});
    EXPECT_EQ(byURL(catalog, "HTTPS://DOCS.GOOGLE.COM/document/d/1"), "docs");
    EXPECT_EQ(byURL(catalog, "https://docs.google.com/DOCUMENT/d/1"), "docs");
}

TEST(AppCatalog, HostsOutsideAsciiAreMatchedWithoutRegardToCase) {
    const AppCatalog catalog({appWith("a", {}, {"BÜCHER.example"}), appWith("b", {}, {"москва.рф"}),
                              appWith("c", {}, {"İ.example"}), appWith("d", {}, {"kelvin.org"})});
    EXPECT_EQ(byURL(catalog, "https://bücher.EXAMPLE/x"), "a");
    EXPECT_EQ(byURL(catalog, "https://Bücher.example/x"), "a");
    EXPECT_EQ(byURL(catalog, "https://МОСКВА.РФ/"), "b");
    EXPECT_EQ(byURL(catalog, "https://i\u0307.example"), "c");
    EXPECT_EQ(byURL(catalog, "https://İ.EXAMPLE"), "c");
    EXPECT_EQ(byURL(catalog, "https://\u212Aelvin.org/"), "d"); // the Kelvin sign is a "k"
}

TEST(AppCatalog, OfHostsOfEqualLengthTheOneInsertedFirstWins) {
    const AppCatalog catalog(
        {appWith("first", {}, {"bbb.org"}), appWith("second", {}, {"aaa.org", "ccc.org"})});
    EXPECT_EQ(byURL(catalog, "https://aaa.org/?from=bbb.org"), "first");
    EXPECT_EQ(byURL(catalog, "https://ccc.org/?from=aaa.org"), "second");
}

TEST(AppCatalog, ManyHostsOfEqualLengthKeepTheirOrder) {
    // Far more than the handful that any way of sorting leaves in their order.
    constexpr int kApps = 500;
    std::vector<CatalogApp> apps;
    for (int i = 0; i < kApps; ++i) {
        // Every length several times, and each host also in the address that is looked up.
        const auto length = static_cast<std::size_t>(1 + i % 5);
        apps.push_back(appWith("app" + std::to_string(i), {}, {std::string(length, 'x')}));
    }
    const AppCatalog catalog(apps);
    EXPECT_EQ(byURL(catalog, "https://xxxxx/"), "app4");
    EXPECT_EQ(byURL(catalog, "https://xxxx/"), "app3");
    EXPECT_EQ(byURL(catalog, "https://xxx/"), "app2");
    EXPECT_EQ(byURL(catalog, "https://xx/"), "app1");
    EXPECT_EQ(byURL(catalog, "https://x/"), "app0");
}

TEST(AppCatalog, LengthOfAHostIsInCharactersNotBytes) {
    // Seven characters in eleven bytes against eight characters in eight bytes.
    const AppCatalog catalog(
        {appWith("bytes", {}, {"яяяя.org"}), appWith("characters", {}, {"abcde.org"})});
    EXPECT_EQ(byURL(catalog, "https://яяяя.org/abcde.org"), "characters");
}

TEST(AppCatalog, LengthOfAHostIsThatOfItsLowerCase) {
    // "İ" grows to two code points but stays one character: both entries are five characters long.
    const AppCatalog catalog({appWith("first", {}, {"İ.org"}), appWith("second", {}, {"x.org"})});
    EXPECT_EQ(byURL(catalog, "https://x.org/İ.org"), "first");
}

TEST(AppCatalog, AHostMatchesAnywhereInTheAddress) {
    const AppCatalog catalog({appWith("a", {}, {"a.org"})});
    EXPECT_EQ(byURL(catalog, "https://other.com/?next=https://a.org/"), "a");
    EXPECT_EQ(byURL(catalog, "https://banana.org/"), "a");
    EXPECT_EQ(byURL(catalog, "a.org"), "a");
    EXPECT_EQ(byURL(catalog, "a.or"), "-");
    EXPECT_EQ(byURL(catalog, ""), "-");
}

TEST(AppCatalog, AnEmptyHostOccursInEveryAddressAfterAllOthers) {
    const AppCatalog catalog({appWith("any", {}, {""}), appWith("a", {}, {"a.org"})});
    EXPECT_EQ(byURL(catalog, "https://a.org/"), "a");
    EXPECT_EQ(byURL(catalog, "https://b.org/"), "any");
    EXPECT_EQ(byURL(catalog, ""), "any");
    EXPECT_EQ(byURL(catalog, std::string(100'000, 'x')), "any");
}

TEST(AppCatalog, AddressesOfAnyLengthAreMatchedAlike) {
    const AppCatalog catalog({appWith("bare", {}, {"a.org"}), appWith("path", {}, {"a.org/İx"}),
                              appWith("long", {}, {std::string(9000, 'L') + "/end"})});
    for (const std::size_t padding : {0U, 4085U, 4090U, 4091U, 4092U, 4096U, 5000U, 100'000U}) {
        const std::string before(padding, 'Z');
        EXPECT_EQ(byURL(catalog, before + "A.ORG"), "bare") << padding;
        EXPECT_EQ(byURL(catalog, "A.org" + before), "bare") << padding;
        EXPECT_EQ(byURL(catalog, "A.org" + before + "A.org/i\u0307X"), "path") << padding;
        EXPECT_EQ(byURL(catalog, before + "a.or"), "-") << padding;
        EXPECT_EQ(byURL(catalog, before + std::string(9000, 'l') + "/END"), "long") << padding;
        EXPECT_EQ(byURL(catalog, before + "l/END"), "-") << padding;
    }
}

TEST(AppCatalog, AddressesThatAreNotUtf8AreMatchedByTheirBytes) {
    const AppCatalog catalog({appWith("a", {}, {"a.org"})});
    EXPECT_EQ(byURL(catalog, "\xFF\xC3"
                             "A.org\x80"),
              "a");
}

TEST(AppCatalog, CategoryIsTheFirstLabelOrTheIdItself) {
    const AppCatalog catalog({}, "0", {}, {{"a", "First"}, {"a", "Second"}, {"b", ""}});
    EXPECT_EQ(catalog.category("a"), "First");
    EXPECT_EQ(catalog.category("b"), "");
    EXPECT_EQ(catalog.category("A"), "A");
    EXPECT_EQ(catalog.category("unknown"), "unknown");
    EXPECT_EQ(catalog.category(""), "");
}

TEST(AppCatalog, CopiesShareTheirContentsAndOutliveTheOriginal) {
    const CatalogApp* found = nullptr;
    AppCatalog copy;
    {
        const AppCatalog original({appWith("a", {"org.a.App"})});
        copy = original;
        found = original.appForBundleId("org.a.App");
    }
    EXPECT_EQ(copy.appForBundleId("org.a.App"), found);
    EXPECT_EQ(found->id, "a");
}

TEST(AppCatalog, ACatalogThatWasMovedFromStillAnswers) {
    AppCatalog catalog({appWith("a", {"org.a.App"})});
    // NOLINTNEXTLINE(performance-move-const-arg): that this copies is what is looked at.
    const AppCatalog other = std::move(catalog);
    EXPECT_EQ(byBundle(catalog, "org.a.App"), "a"); // NOLINT(bugprone-use-after-move): a copy
    EXPECT_EQ(byBundle(other, "org.a.App"), "a");
}

TEST(CatalogApp, EqualityLooksAtAllThirteenFields) {
    const CatalogApp base = appWith("a", {"b"}, {"c"});
    const auto differs = [&](auto change) {
        CatalogApp other = base;
        change(other);
        return other != base;
    };
    EXPECT_EQ(base, CatalogApp(base));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.id = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.name = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.category = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.vertical = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.bundleIds = {}; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.webHosts = {}; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.modalities = {"x"}; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.primaryModality = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.capture = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.connector = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.tier = "x"; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.workflowNodes = {"x"}; }));
    EXPECT_TRUE(differs([](CatalogApp& app) { app.isBrowser = true; }));
}

} // namespace
} // namespace kelvane
