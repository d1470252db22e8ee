// The download of a newer catalog with the real HTTP adapter and real files.

#include "catalog/catalog_loader.h"

#include "platform/curl/curl_http_session.h"
#include "platform/fake/fakes.h"
#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"
#include "tests/wire/fault_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace kelvane::wire {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

std::string catalogOfVersion(const std::string& version) {
    return R"({"version":")" + version + "\",\"apps\":[]}\r\n";
}

class CatalogRefreshWire : public testing::Test {
protected:
    void refresh() {
        refreshRemoteCatalog({*files, *http, machine.dispatcher},
                             server.base() + "/brask/app-catalog.json", home);
        machine.dispatcher.runAll();
    }
    std::optional<std::string> stored() { return files->read(home / "app-catalog.json"); }
    /// What the next start would run with.
    std::string versionOfTheNextStart() {
        std::ostringstream standardError;
        return loadCatalog({*files, machine.resources, home, standardError}, std::nullopt)
            .version();
    }

    TemporaryFolder folder;
    std::filesystem::path home = folder / "home" / ".brask"; ///< Made by the refresh.
    FaultServer server;
    QuitSignal quit;
    FakePlatform machine;
    std::unique_ptr<FileSystem> files = makePosixFileSystem();
    std::unique_ptr<HttpSession> http = makeCurlHttpSession(quit);
};

TEST_F(CatalogRefreshWire, WhatTheServerSentIsWhatTheNextStartReads) {
    server.script({answer(200, catalogOfVersion("1")), chunked(catalogOfVersion("2"), 5)});
    refresh();
    EXPECT_EQ(stored(), catalogOfVersion("1"));
    EXPECT_EQ(versionOfTheNextStart(), "1");
    refresh();
    EXPECT_EQ(stored(), catalogOfVersion("2"));
    EXPECT_EQ(versionOfTheNextStart(), "2");

    ASSERT_THAT(server.requests(), SizeIs(2));
    for (const SeenRequest& request : server.requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.target, "/brask/app-catalog.json");
        EXPECT_FALSE(request.headers.contains("authorization"));
        EXPECT_THAT(request.body, IsEmpty());
    }
    // Nothing of the writing is left beside the file.
    EXPECT_EQ(files->list(home), std::vector<std::string>{"app-catalog.json"});
}

TEST_F(CatalogRefreshWire, TheStatusDoesNotCountAndTheBodyDoes) {
    server.script({answer(503, catalogOfVersion("1"))});
    refresh();
    EXPECT_EQ(versionOfTheNextStart(), "1");
}

TEST_F(CatalogRefreshWire, ARedirectWithinTheOriginIsFollowed) {
    server.script({redirect(302, "/elsewhere.json"), answer(200, catalogOfVersion("1"))});
    refresh();
    EXPECT_EQ(versionOfTheNextStart(), "1");
}

TEST_F(CatalogRefreshWire, ARedirectToAnotherHostIsFollowedToo) {
    FaultServer other;
    other.script({answer(200, catalogOfVersion("1"))});
    server.script({redirect(302, "http://localhost:" + std::to_string(other.port()) + "/c.json")});
    refresh();
    EXPECT_EQ(versionOfTheNextStart(), "1");
    EXPECT_EQ(other.requests().at(0).target, "/c.json");
}

TEST_F(CatalogRefreshWire, WhateverIsNoCatalogLeavesTheStoredOneAsItWas) {
    server.script({answer(200, catalogOfVersion("old"))});
    refresh();
    for (const Step& step :
         {answer(200, "<html>"), answer(200, ""), halfBody(200, catalogOfVersion("new")),
          rawThenClose("HTTP/1.1 200 OK\r\nCont"), reset(), hangUp(),
          answer(200, catalogOfVersion("new") + '\0')}) {
        server.script({step});
        refresh();
        EXPECT_EQ(stored(), catalogOfVersion("old"));
    }
}

TEST_F(CatalogRefreshWire, WithoutAServerNothingIsMade) {
    refreshRemoteCatalog({*files, *http, machine.dispatcher},
                         "http://127.0.0.1:" + std::to_string(closedPort()) + "/c.json", home);
    machine.dispatcher.runAll();
    EXPECT_FALSE(files->exists(home));
    EXPECT_EQ(versionOfTheNextStart(), "0");
}

} // namespace
} // namespace kelvane::wire
