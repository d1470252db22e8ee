// Is the folder of the children empty after it was taken over, and whom does it know by it?

#include "critics/worker/work_folder.h"

#include "critics/worker/child_process.h"
#include "critics/worker/sandbox.h"
#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace trevix {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

Words sandboxOf(const std::string& folder) {
    ChildRequest request;
    request.program = "/opt/judge";
    request.arguments = {"--worker"};
    SandboxFacts facts;
    facts.bubblewrap = "/usr/bin/bwrap";
    return shutIn(request, folder, facts);
}

TEST(WorkFolder, KnowsASandboxByTheFolderOfItsChild) {
    EXPECT_TRUE(isSandboxBelow("/data/work", sandboxOf("/data/work/work.a1B2c3")));
    EXPECT_TRUE(isSandboxBelow("/data/x/../work", sandboxOf("/data/work/work.a1B2c3")));
    EXPECT_FALSE(isSandboxBelow("/data", sandboxOf("/data/work/work.a1B2c3")));
    EXPECT_FALSE(isSandboxBelow("/data/work", sandboxOf("/data/work2/work.a1B2c3")));
    EXPECT_FALSE(isSandboxBelow("/data/work", sandboxOf("/data/work/other")));
    EXPECT_FALSE(isSandboxBelow("/data/work", sandboxOf("/data/work/work.")));
    EXPECT_FALSE(isSandboxBelow("/data/work", sandboxOf("/data/work")));
}

TEST(WorkFolder, LeavesAnybodyElseAloneWhoNamesTheFolder) {
    const std::string folder = "/data/work/work.a1B2c3";
    EXPECT_FALSE(isSandboxBelow("/data/work", {}));
    EXPECT_FALSE(isSandboxBelow("/data/work", {"bwrap"}));
    EXPECT_FALSE(isSandboxBelow("/data/work", {"/usr/bin/less", folder}));
    EXPECT_FALSE(isSandboxBelow("/data/work", {"/usr/bin/less", "--bind", folder, folder}));
    // Somebody's own, over one of the files or to another place.
    EXPECT_FALSE(isSandboxBelow("/data/work", {"bwrap", "--bind", folder}));
    EXPECT_FALSE(isSandboxBelow("/data/work", {"bwrap", "--bind", folder, "/mnt"}));
    EXPECT_FALSE(isSandboxBelow("/data/work", {"bwrap", "--ro-bind", folder, folder}));
    EXPECT_FALSE(
        isSandboxBelow("/data/work", {"bwrap", "--bind", folder + "/words", folder + "/words"}));
}

TEST(WorkFolder, IsMadeOrEmptiedAndItsOwnersAlone) {
    const TemporaryFolder base;
    const fs::path folder = base.path() / "data" / "work";
    for (int round = 0; round < 2; ++round) {
        takeOverWorkFolder(folder);
        EXPECT_TRUE(fs::is_empty(folder));
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
        fs::create_directories(folder / "work.left" / "sub");
        std::ofstream(folder / "work.left" / "sub" / "words") << "private";
        fs::permissions(folder, fs::perms::all);
    }
    EXPECT_THROW(takeOverWorkFolder("/proc/none"), fs::filesystem_error);
}

} // namespace
} // namespace trevix
