#include "catalog/catalog_reach.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

CatalogApp app(std::string id, std::string category, std::vector<std::string> bundleIds,
               std::vector<std::string> hosts = {}) {
    CatalogApp made;
    made.id = std::move(id);
    made.category = std::move(category);
    made.bundleIds = std::move(bundleIds);
    made.webHosts = std::move(hosts);
    return made;
}

CatalogFile file() {
    CatalogFile made;
    made.categories = {{"code", "Code"}, {"mail", "Mail"}};
    made.apps = {
        app("everywhere", "code", {"com.example.editor", "editor", "chrome-edit.example.org__"},
            {"edit.example.org"}),
        app("both", "code", {"org.example.both"}),
        app("site", "mail", {"chrome-abcdefghijklmnopabcdefghijklmnop"}),
        app("pages", "mail", {}, {".desk.example/agent"}),
        app("hidden", "mail", {}, {"desk.example/agent"}),
        // The first that lists a host gets its windows.
        app("second", "mail", {}, {"desk.example/agent"}),
        app("nothing", "mail", {}),
    };
    return made;
}

const char* const kSources = "app\tidentifier\tplatform\tsource\tnote\n"
                             "everywhere\tcom.example.editor\tmacos\thttps://a.org\t\n"
                             "everywhere\teditor\tlinux\thttps://a.org\t\n"
                             "everywhere\tchrome-edit.example.org__\tlinux\thttps://a.org\t\n"
                             "everywhere\tedit.example.org\tweb\thttps://a.org\t\n"
                             "both\torg.example.both\tmacos\thttps://a.org\t\n"
                             "both\torg.example.both\tlinux\thttps://a.org\t\n"
                             "site\tchrome-abcdefghijklmnopabcdefghijklmnop\tlinux\thttps://a\t\n";

TEST(CatalogReach, CountsEachWayInWhichAnApplicationIsFound) {
    const auto reach = lint::reachOf(file(), kSources);
    ASSERT_EQ(reach.size(), 2U);
    EXPECT_EQ(reach[0], (lint::Reach{"Code", 2, 2, 2, 1, 1, 0}));
    EXPECT_EQ(reach[1], (lint::Reach{"Mail", 5, 0, 0, 3, 3, 1}));
}

TEST(CatalogReach, WithoutSourcesNoProgramIsKnownToBeAnywhere) {
    const auto reach = lint::reachOf(file(), "");
    EXPECT_EQ(reach[0], (lint::Reach{"Code", 2, 0, 0, 1, 1, 1}));
}

TEST(CatalogReach, TheTableAddsUp) {
    EXPECT_EQ(lint::reachTable({{"Code", 2, 2, 2, 1, 1, 0}, {"Mail", 4, 0, 10, 3, 2, 1}}),
              "| Category | Applications | macOS program | Linux program | Window of its own | "
              "Page address | Nothing |\n"
              "|---|---|---|---|---|---|---|\n"
              "| Code | 2 | 2 | 2 | 1 | 1 | 0 |\n"
              "| Mail | 4 | 0 | 10 | 3 | 2 | 1 |\n"
              "| All | 6 | 2 | 12 | 4 | 3 | 1 |\n");
}

} // namespace
} // namespace kelvane
