#include "catalog/catalog_loader.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {
namespace {

const std::filesystem::path kHome = "/home/u/.brask";
const std::filesystem::path kDownloaded = "/home/u/.brask/app-catalog.json";
const std::filesystem::path kShipped = "/opt/Kelvane.app/Contents/Resources/app-catalog.json";
const std::string kUrl = "https://trevix.example/brask/app-catalog.json";

std::string catalogOfVersion(std::string_view version) {
    return R"({"version":")" + std::string(version) + R"(","apps":[{"id":"a","name":"A"}]})";
}

class LoadCatalog : public testing::Test {
protected:
    FakePlatform fake;
    std::ostringstream standardError;

    void downloaded(std::string bytes) { fake.files.files[kDownloaded] = std::move(bytes); }
    void shipped(std::string bytes) {
        fake.resources.resources["app-catalog.json"] = kShipped;
        fake.files.files[kShipped] = std::move(bytes);
    }
    AppCatalog load(const std::optional<std::string>& explicitPath = std::nullopt) {
        return loadCatalog({fake.files, fake.resources, kHome, standardError}, explicitPath);
    }
};

TEST_F(LoadCatalog, WarnsOnceInTheStatedWordsWhenThereIsNoCatalogAnywhere) {
    const auto catalog = load("/nowhere.json");
    EXPECT_EQ(catalog.apps().size(), 0U);
    EXPECT_EQ(catalog.version(), "0");
    EXPECT_TRUE(catalog.modalities().empty());
    EXPECT_TRUE(catalog.categories().empty());
    EXPECT_EQ(standardError.str(),
              "Kelvane: WARNING \xE2\x80\x94 app-catalog.json failed to load; running "
              "with an empty catalog (Grade disabled).\n");
    EXPECT_EQ(standardError.str(), kEmptyCatalogWarning);
}

TEST_F(LoadCatalog, TheExplicitPathWinsOverTheDownloadedAndTheShippedCopy) {
    fake.files.files["/etc/mine.json"] = catalogOfVersion("explicit");
    downloaded(catalogOfVersion("downloaded"));
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load("/etc/mine.json").version(), "explicit");
    EXPECT_EQ(fake.journal.entries(), std::vector<std::string>{"read /etc/mine.json"});
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, TheDownloadedCopyWinsOverTheShippedOne) {
    downloaded(catalogOfVersion("downloaded"));
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load().version(), "downloaded");
    EXPECT_EQ(fake.journal.entries(), std::vector<std::string>{"read " + kDownloaded.string()});
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, TheShippedCopyIsTheLastSource) {
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load().version(), "shipped");
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, AnExplicitPathThatIsMissingUnreadableOrInvalidFallsThroughSilently) {
    downloaded(catalogOfVersion("downloaded"));
    fake.files.files["/etc/broken.json"] = R"({"apps":[{"id":"a"}]})";
    fake.files.files["/etc/locked.json"] = catalogOfVersion("locked");
    fake.files.unreadable.insert("/etc/locked.json");
    for (const auto* path : {"/etc/missing.json", "/etc/broken.json", "/etc/locked.json", ""}) {
        EXPECT_EQ(load(path).version(), "downloaded") << path;
    }
    fake.files.files.erase(kDownloaded);
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load("/etc/broken.json").version(), "shipped");
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, AnEmptyExplicitPathIsNotLookedAt) {
    downloaded(catalogOfVersion("downloaded"));
    EXPECT_EQ(load("").version(), "downloaded");
    EXPECT_EQ(fake.journal.entries(), std::vector<std::string>{"read " + kDownloaded.string()});
}

TEST_F(LoadCatalog, ADownloadedCopyThatIsInvalidJsonFallsThroughToTheShippedOneSilently) {
    downloaded("<html>");
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load().version(), "shipped");
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, ADownloadedCopyThatCannotBeReadFallsThroughSilently) {
    downloaded(catalogOfVersion("downloaded"));
    fake.files.unreadable.insert(kDownloaded);
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load().version(), "shipped");
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, AShippedCopyThatIsUnreadableOrInvalidEndsInTheWarning) {
    shipped("[]");
    EXPECT_EQ(load().apps().size(), 0U);
    EXPECT_EQ(standardError.str(), kEmptyCatalogWarning);
    standardError.str("");
    shipped(catalogOfVersion("shipped"));
    fake.files.unreadable.insert(kShipped);
    EXPECT_EQ(load().version(), "0");
    EXPECT_EQ(standardError.str(), kEmptyCatalogWarning);
}

TEST_F(LoadCatalog, AFileThatDecodesWinsEvenWithoutApps) {
    fake.files.files["/etc/empty.json"] = R"({"version":"9","apps":[]})";
    shipped(catalogOfVersion("shipped"));
    EXPECT_EQ(load("/etc/empty.json").version(), "9");
    EXPECT_EQ(standardError.str(), "");
}

TEST_F(LoadCatalog, ARelativeExplicitPathCountsFromTheWorkingFolder) {
    const auto here = std::filesystem::current_path();
    fake.files.files[here / "mine.json"] = catalogOfVersion("relative");
    EXPECT_EQ(load("mine.json").version(), "relative");
}

class RefreshRemoteCatalog : public testing::Test {
protected:
    FakePlatform fake;

    void answers(int status, const std::string& body) {
        fake.http.answer = [=](const HttpRequest&) { return HttpResponse{status, body}; };
    }
    void refresh(const std::string& url = kUrl) {
        refreshRemoteCatalog({fake.files, fake.http, fake.dispatcher}, url, kHome);
    }
    [[nodiscard]] std::size_t writes() const { return fake.journal.count("write"); }
};

TEST_F(RefreshRemoteCatalog, ReturnsAtOnceAndWorksInTheBackground) {
    answers(200, catalogOfVersion("new"));
    refresh();
    EXPECT_TRUE(fake.journal.entries().empty());
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 1U);
    EXPECT_EQ(fake.dispatcher.waitingOnMain(), 0U);
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.dispatcher.waitingOnMain(), 0U);
    EXPECT_EQ(fake.journal.entries(),
              (std::vector<std::string>{"GET " + kUrl, "mkdir " + kHome.string(),
                                        "write " + kDownloaded.string()}));
}

TEST_F(RefreshRemoteCatalog, AsksOnceWithNothingAdded) {
    answers(200, catalogOfVersion("new"));
    refresh();
    fake.dispatcher.runAll();
    HttpRequest plain;
    plain.method = "GET";
    plain.url = kUrl;
    plain.followsToOtherHosts = true;
    EXPECT_EQ(fake.http.requests, std::vector<HttpRequest>{plain});
    EXPECT_EQ(plain.timeout, std::chrono::seconds(60));
}

TEST_F(RefreshRemoteCatalog, StoresExactlyTheReceivedBytes) {
    const std::string body = " \r\n" + catalogOfVersion("new\\u00e9") + "\n\n";
    answers(200, body);
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.files.files.at(kDownloaded), body);
}

TEST_F(RefreshRemoteCatalog, ReplacesAnOlderCopyAndTheNextLoadFindsIt) {
    fake.files.files[kDownloaded] = catalogOfVersion("old");
    answers(200, catalogOfVersion("new"));
    std::ostringstream standardError;
    const CatalogSources sources{fake.files, fake.resources, kHome, standardError};
    const AppCatalog running = loadCatalog(sources, std::nullopt);
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(running.version(), "old");
    EXPECT_EQ(loadCatalog(sources, std::nullopt).version(), "new");
}

TEST_F(RefreshRemoteCatalog, TheStatusIsNotLookedAt) {
    for (const int status : {200, 204, 404, 500}) {
        fake.files.files.clear();
        answers(status, catalogOfVersion("new"));
        refresh();
        fake.dispatcher.runAll();
        EXPECT_EQ(fake.files.files.at(kDownloaded), catalogOfVersion("new")) << status;
    }
}

TEST_F(RefreshRemoteCatalog, ABodyThatIsNoCatalogTouchesNothing) {
    fake.files.files[kDownloaded] = catalogOfVersion("old");
    const std::string whole = catalogOfVersion("new");
    for (const auto& body : {std::string("<!doctype html><html></html>"), std::string(),
                             std::string("{}"), whole.substr(0, whole.size() - 1)}) {
        answers(200, body);
        refresh();
        fake.dispatcher.runAll();
    }
    EXPECT_EQ(fake.http.requests.size(), 4U);
    EXPECT_EQ(writes(), 0U);
    EXPECT_EQ(fake.journal.count("mkdir"), 0U);
    EXPECT_EQ(fake.files.files.at(kDownloaded), catalogOfVersion("old"));
}

TEST_F(RefreshRemoteCatalog, ANetworkErrorTouchesNothing) {
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.journal.entries(), std::vector<std::string>{"GET " + kUrl});
}

TEST_F(RefreshRemoteCatalog, ThereIsNoRetry) {
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.http.requests.size(), 1U);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(RefreshRemoteCatalog, AFolderThatCannotBeMadeIsIgnored) {
    // It is there already: making it fails and writing into it works.
    fake.files.folders.insert(kHome);
    fake.files.unwritable.insert(kHome);
    answers(200, catalogOfVersion("new"));
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.files.files.at(kDownloaded), catalogOfVersion("new"));
}

TEST_F(RefreshRemoteCatalog, AFileThatCannotBeWrittenIsIgnored) {
    fake.files.files[kDownloaded] = catalogOfVersion("old");
    fake.files.unwritable.insert(kDownloaded);
    answers(200, catalogOfVersion("new"));
    refresh();
    fake.dispatcher.runAll();
    EXPECT_EQ(writes(), 1U);
    EXPECT_EQ(fake.files.files.at(kDownloaded), catalogOfVersion("old"));
}

TEST_F(RefreshRemoteCatalog, AStringThatFormsNoAddressDoesNothing) {
    for (const auto* url : {"", "nonsense", "https://", "https:///path", "https://exa mple/x",
                            "file:///etc/passwd", "https://example/\n", "https://ex<a>.org/",
                            "https://?query", "https://#fragment", "https://:443/"}) {
        refresh(url);
        EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U) << url;
    }
    refresh("http://127.0.0.1:8080/brask/app-catalog.json?x=1#y");
    refresh("https://[::1]/c.json");
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 2U);
    // What no host may begin with, at the end.
    for (const auto* url : {"https://h/", "https://h/?", "https://h/#", "https://h:"}) refresh(url);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 6U);
}

} // namespace
} // namespace kelvane
