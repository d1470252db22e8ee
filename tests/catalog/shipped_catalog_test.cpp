// Holds the catalog that ships with the program to what the rest of the program builds on.

#include "catalog/app_catalog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace kelvane {
namespace {

std::string shippedBytes() {
    std::ifstream file(KELVANE_SOURCE_DIR "/resources/app-catalog.json", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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

TEST(ShippedCatalog, HasAVersionAndEnoughApps) {
    EXPECT_NE(shipped().version(), "0");
    EXPECT_GE(shipped().apps().size(), 60U);
}

TEST(ShippedCatalog, IdsAreUniqueAndPlain) {
    std::set<std::string> ids;
    for (const auto& app : shipped().apps()) {
        EXPECT_TRUE(ids.insert(app.id).second) << app.id;
        EXPECT_FALSE(app.id.empty());
        EXPECT_EQ(app.id.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_"),
                  std::string::npos)
            << app.id;
        EXPECT_FALSE(app.name.empty()) << app.id;
    }
}

TEST(ShippedCatalog, CategoriesAreDeclaredOnceAndAllAreUsed) {
    std::set<std::string> declared;
    for (const auto& category : shipped().categories()) {
        EXPECT_TRUE(declared.insert(category.id).second) << category.id;
        EXPECT_FALSE(category.label.empty()) << category.id;
    }
    std::set<std::string> used;
    for (const auto& app : shipped().apps()) {
        EXPECT_TRUE(declared.contains(app.category)) << app.id;
        used.insert(app.category);
    }
    EXPECT_EQ(used, declared);
}

TEST(ShippedCatalog, ModalitiesAreDeclared) {
    const std::set<std::string> declared(shipped().modalities().begin(),
                                         shipped().modalities().end());
    EXPECT_EQ(declared.size(), shipped().modalities().size());
    EXPECT_FALSE(declared.empty());
    for (const auto& app : shipped().apps()) {
        EXPECT_TRUE(declared.contains(app.primaryModality)) << app.id;
        EXPECT_FALSE(app.modalities.empty()) << app.id;
        for (const auto& modality : app.modalities) {
            EXPECT_TRUE(declared.contains(modality)) << app.id << ": " << modality;
        }
        EXPECT_NE(std::find(app.modalities.begin(), app.modalities.end(), app.primaryModality),
                  app.modalities.end())
            << app.id;
    }
}

TEST(ShippedCatalog, CaptureMethodsAreKnownAndEveryAppHasAWorkflowNode) {
    const std::set<std::string> methods{"selection", "document", "export", "screenshot"};
    for (const auto& app : shipped().apps()) {
        EXPECT_TRUE(methods.contains(app.capture)) << app.id;
        EXPECT_FALSE(app.workflowNodes.empty()) << app.id;
        EXPECT_FALSE(app.vertical.empty()) << app.id;
    }
}

TEST(ShippedCatalog, EveryAppCanBeFound) {
    for (const auto& app : shipped().apps()) {
        EXPECT_FALSE(app.bundleIds.empty() && app.webHosts.empty()) << app.id;
        for (const auto& id : app.bundleIds) EXPECT_EQ(byBundle(id), app.id) << id;
        for (const auto& host : app.webHosts) {
            EXPECT_EQ(byURL("https://" + host + "/x"), app.id) << host;
        }
    }
}

TEST(ShippedCatalog, NoIdentifierIsListedTwice) {
    std::map<std::string, std::string> owners;
    for (const auto& app : shipped().apps()) {
        for (const auto& id : app.bundleIds) {
            const auto [owner, fresh] = owners.emplace(id, app.id);
            EXPECT_TRUE(fresh) << id << " of " << app.id << " and " << owner->second;
        }
    }
}

TEST(ShippedCatalog, HostsAreLowerCaseWithoutSchemeAndLongEnoughToMeanOneSite) {
    std::set<std::string> hosts;
    for (const auto& app : shipped().apps()) {
        for (const auto& host : app.webHosts) {
            EXPECT_TRUE(hosts.insert(host).second) << host;
            EXPECT_EQ(host.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ \t"), std::string::npos)
                << host;
            EXPECT_EQ(host.find("://"), std::string::npos) << host;
            EXPECT_NE(host.back(), '/') << host;
            EXPECT_NE(host.find('.'), std::string::npos) << host;
            // Entries match anywhere: "x.com" would be found in every host that ends so.
            EXPECT_GE(host.size(), 8U) << host;
        }
    }
}

// Where an identifier of one app begins one of another. Each is meant: the longer one is listed, so
// it wins. One that goes is to be struck from this list too.
TEST(ShippedCatalog, PrefixesReachIntoOtherAppsOnlyWhereMeant) {
    using Collision = std::tuple<std::string, std::string, std::string>;
    const std::set<Collision> meant{
        {"com.visualstudio.code", "com.visualstudio.code.oss", "vscodium"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.calc", "libreoffice_calc"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.impress",
         "libreoffice_impress"},
        {"com.linear", "com.linearity.vn", "linearity_curve"},
    };
    std::set<Collision> found;
    for (const auto& app : shipped().apps()) {
        for (const auto& prefix : app.bundleIds) {
            if (prefix.size() < 6) continue;
            for (const auto& other : shipped().apps()) {
                if (other.id == app.id) continue;
                for (const auto& id : other.bundleIds) {
                    if (id.starts_with(prefix)) found.insert({prefix, id, other.id});
                }
            }
        }
    }
    EXPECT_EQ(found, meant);
    for (const auto& [prefix, id, owner] : meant) EXPECT_EQ(byBundle(id), owner);
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

TEST(ShippedCatalog, KnowsTheUsualLinuxDesktopByItsDesktopFileNames) {
    const std::pair<const char*, const char*> expected[] = {
        {"org.xfce.mousepad", "mousepad"},
        {"org.gnome.gedit", "gedit"},
        {"org.gnome.TextEditor", "gnome_text_editor"},
        {"org.kde.kate", "kate"},
        {"featherpad", "featherpad"},
        {"libreoffice-writer", "libreoffice"},
        {"libreoffice-calc", "libreoffice_calc"},
        {"libreoffice-impress", "libreoffice_impress"},
        {"debian-xterm", "xterm"},
        {"org.kde.konsole", "konsole"},
        {"xfce4-terminal", "xfce_terminal"},
        {"qterminal", "qterminal"},
        {"org.gnome.Terminal", "gnome_terminal"},
        {"emacs", "emacs"},
        {"gimp", "gimp"},
        {"org.gimp.GIMP", "gimp"},
        {"org.inkscape.Inkscape", "inkscape"},
        {"org.kde.krita", "krita"},
        {"blender", "blender"},
        {"firefox-esr", "firefox"},
        {"org.mozilla.firefox", "firefox"},
        {"chromium", "chromium"},
        {"google-chrome", "chrome"},
        {"code", "vscode"},
        {"org.gnome.Evince", "evince"},
        {"org.kde.okular", "okular"},
        {"audacity", "audacity"},
        {"org.kde.kdenlive", "kdenlive"},
        {"com.obsproject.Studio", "obs_studio"},
        {"thunderbird", "thunderbird"},
        {"jetbrains-idea-ce", "jetbrains"},
    };
    for (const auto& [bundleId, id] : expected) EXPECT_EQ(byBundle(bundleId), id) << bundleId;
}

TEST(ShippedCatalog, BrowsersAreMarkedAndCapturedAsTheyLook) {
    for (const auto& app : shipped().apps()) {
        EXPECT_EQ(app.isBrowser, app.category == "browser") << app.id;
        if (app.isBrowser) {
            EXPECT_EQ(app.capture, "screenshot") << app.id;
        }
        if (app.category == "terminal") {
            EXPECT_EQ(app.capture, "selection") << app.id;
        }
    }
}

TEST(ShippedCatalog, TheMainStepsAreThoseOfTheTrade) {
    ASSERT_NE(byId("vscode"), nullptr);
    ASSERT_NE(byId("figma"), nullptr);
    EXPECT_EQ(byId("vscode")->workflowNodes.front(), "build");
    EXPECT_EQ(byId("figma")->workflowNodes.front(), "design");
}

} // namespace
} // namespace kelvane
