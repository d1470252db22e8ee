#include "catalog/catalog_check.h"

#include "catalog/catalog_file.h"
#include "catalog/catalog_lint.h"
#include "platform/fake/fake_file_system.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace kelvane {
namespace {

std::string shippedBytes() {
    std::ifstream file(inSourceTree("resources/app-catalog.json"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool complains(const CatalogCheck& check, const std::string& about) {
    for (const auto& complaint : check.complaints) {
        if (complaint.find(about) != std::string::npos) return true;
    }
    return false;
}

TEST(CatalogCheck, TheShippedCatalogIsRight) {
    const auto bytes = shippedBytes();
    const auto check = checkCatalog(bytes);
    EXPECT_EQ(check.complaints, std::vector<std::string>{});
    EXPECT_EQ(check.apps, decodeCatalogFile(bytes).apps.size());
}

TEST(CatalogCheck, WhatDoesNotDecodeSaysWhereAndNothingElse) {
    const auto check = checkCatalog(R"({"apps": [{"id": "a", "name": "A", "tier": 7}]})");
    ASSERT_EQ(check.complaints.size(), 1U);
    EXPECT_EQ(check.complaints.front(),
              "does not decode: apps[0].tier: expected string, found number");
    EXPECT_EQ(check.apps, 0U);
    EXPECT_TRUE(checkCatalog("").complaints.front().starts_with("does not decode: "));
}

TEST(CatalogCheck, WhatDecodesIsHeldToTheRulesOfEntriesAndOfWriting) {
    auto file = decodeCatalogFile(shippedBytes());
    file.apps.front().id = "Not A Word";
    const auto check = checkCatalog(lint::canonicalText(file));
    EXPECT_TRUE(complains(check, "an id is made of a-z, 0-9 and _ only"));
    EXPECT_FALSE(complains(check, "this line should read"));
    EXPECT_TRUE(complains(checkCatalog(shippedBytes() + "\n"), "this line should read"));
}

TEST(CatalogCheck, ACatalogOfOnesOwnNeedsNoneOfTheOverlapsOfTheShippedOne) {
    auto file = decodeCatalogFile(shippedBytes());
    ASSERT_GT(lint::intendedOverlapsOf(file).size(), 10U);
    EXPECT_EQ(lint::intendedOverlapsOf(file).size(), lint::intendedOverlaps().size());
    std::erase_if(file.apps, [](const CatalogApp& app) { return app.id == "jetbrains"; });
    EXPECT_LT(lint::intendedOverlapsOf(file).size(), lint::intendedOverlaps().size());
    EXPECT_EQ(checkCatalog(lint::canonicalText(file)).complaints, std::vector<std::string>{});
    EXPECT_TRUE(lint::intendedOverlapsOf({}).empty());
}

TEST(CatalogCheck, AFileThatCannotBeReadIsAComplaint) {
    Journal journal;
    FakeFileSystem files(journal);
    const auto check = checkCatalogFile(files, "/nowhere.json");
    ASSERT_EQ(check.complaints.size(), 1U);
    EXPECT_TRUE(complains(check, "cannot be read"));
    files.files["/here.json"] = shippedBytes();
    EXPECT_TRUE(checkCatalogFile(files, "/here.json").complaints.empty());
    EXPECT_FALSE(checkCatalogFile(files, "").complaints.empty());
}

} // namespace
} // namespace kelvane
