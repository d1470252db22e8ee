#include "harness/self_install.h"

#include "harness/installation.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;

const std::string kInstalled = "/home/ada/Applications/Kelvane.app";
const std::string kBeside = "/home/ada/Applications/.Kelvane.app.new";
const std::string kPlist = "/home/ada/Library/LaunchAgents/org.example.kelvane.menubar.plist";

class SelfInstallTest : public testing::Test {
protected:
    SelfInstallTest() {
        fake.files.folders.insert("/home/ada");
        putBundle("/opt/Kelvane.app", "new");
        fake.resources.runsFrom = "/opt/Kelvane.app";
    }

    void putBundle(const std::string& place, const std::string& program) {
        fake.files.files[place + "/Contents/MacOS/Kelvane"] = program;
    }

    void persist() {
        SelfInstall::persistToApplications({.files = fake.files, .bundle = fake.resources},
                                           installation);
    }

    std::string installedProgram() {
        return fake.files.read(kInstalled + "/Contents/MacOS/Kelvane").value_or("none");
    }

    FakePlatform fake;
    Installation installation{.home = "/home/ada",
                              .braskHome = "/home/ada/.brask",
                              .bundleId = "org.example.kelvane.menubar",
                              .loginItem = LoginItem::LaunchAgent,
                              .configHome = "/home/ada/.config",
                              .dataHome = "/home/ada/.local/share"};
};

TEST_F(SelfInstallTest, TakesEveryStepInOrderAndStartsNothing) {
    persist();
    EXPECT_THAT(fake.journal.entries(),
                ElementsAre("mkdir /home/ada/Applications", "remove-tree " + kBeside,
                            "copy-tree /opt/Kelvane.app -> " + kBeside,
                            "exchange " + kBeside + " <-> " + kInstalled, "remove-tree " + kBeside,
                            "mkdir /home/ada/Library/LaunchAgents", "write " + kPlist));
    EXPECT_EQ(installedProgram(), "new");
    EXPECT_EQ(fake.files.files.at(kPlist), startFiles(installation).at(0).text);
}

TEST_F(SelfInstallTest, WithAutostartEntriesBothAreWrittenAndNoPropertyList) {
    installation.loginItem = LoginItem::AutostartEntry;
    persist();
    EXPECT_THAT(fake.journal.entries(),
                ElementsAre("mkdir /home/ada/Applications", "remove-tree " + kBeside,
                            "copy-tree /opt/Kelvane.app -> " + kBeside,
                            "exchange " + kBeside + " <-> " + kInstalled, "remove-tree " + kBeside,
                            "mkdir /home/ada/.config/autostart",
                            "write "
                            "/home/ada/.config/autostart/org.example.kelvane.menubar.desktop",
                            "mkdir /home/ada/.local/share/applications",
                            "write /home/ada/.local/share/applications/"
                            "org.example.kelvane.menubar.desktop"));
}

TEST_F(SelfInstallTest, RunningFromTheInstalledPlaceCopiesNothingButRewritesTheLoginItem) {
    for (const std::string& place :
         std::vector<std::string>{kInstalled, kInstalled + "/",
                                  std::string("/home/ada/x/../Applications/./Kelvane.app")}) {
        putBundle(kInstalled, "the one that runs");
        fake.files.files[kPlist] = "old";
        fake.resources.runsFrom = place;
        fake.journal.clear();
        persist();
        EXPECT_THAT(fake.journal.entries(),
                    ElementsAre("mkdir /home/ada/Library/LaunchAgents", "write " + kPlist))
            << place;
        EXPECT_EQ(installedProgram(), "the one that runs");
        EXPECT_EQ(fake.files.files.at(kPlist), startFiles(installation).at(0).text);
    }
}

TEST_F(SelfInstallTest, InstalledPlaceBehindALinkIsTheInstalledPlace) {
    // As where the home folder is itself a link: the system names the program by
    // its real path.
    fake.files.links["/home"] = "/data/home";
    fake.resources.runsFrom = "/data/home/ada/Applications/Kelvane.app";
    putBundle(kInstalled, "the one that runs");
    persist();
    EXPECT_EQ(fake.journal.count("exchange"), 0U);
    EXPECT_EQ(fake.journal.count("remove-tree"), 0U);
    EXPECT_EQ(installedProgram(), "the one that runs");
}

TEST_F(SelfInstallTest, OlderCopyIsReplacedNotMerged) {
    putBundle(kInstalled, "old");
    fake.files.files[kInstalled + "/Contents/Resources/gone.json"] = "only in the old one";
    persist();
    EXPECT_EQ(installedProgram(), "new");
    EXPECT_FALSE(fake.files.exists(kInstalled + "/Contents/Resources/gone.json"));
}

TEST_F(SelfInstallTest, LoginItemNamesTheInstalledProgramWhateverTheRunningBundleIsCalled) {
    putBundle("/opt/Kelvane 2.app", "new");
    fake.resources.runsFrom = "/opt/Kelvane 2.app";
    for (const auto item : {LoginItem::LaunchAgent, LoginItem::AutostartEntry}) {
        installation.loginItem = item;
        persist();
        for (const auto& file : startFiles(installation)) {
            const auto text = fake.files.files.at(file.path);
            EXPECT_NE(text.find(kInstalled + "/Contents/MacOS/Kelvane"), std::string::npos);
            EXPECT_EQ(text.find("Kelvane 2"), std::string::npos);
        }
    }
    EXPECT_EQ(installedProgram(), "new");
}

TEST_F(SelfInstallTest, CopyThatFailsMidwayLeavesTheOlderOneAndStillWritesTheLoginItem) {
    putBundle(kInstalled, "old");
    fake.files.unreadable.insert("/opt/Kelvane.app/Contents/Resources/secret");
    persist();
    EXPECT_EQ(installedProgram(), "old");
    EXPECT_FALSE(fake.files.exists(kBeside));
    EXPECT_EQ(fake.files.files.at(kPlist), startFiles(installation).at(0).text);
}

TEST_F(SelfInstallTest, OutsideABundleTheInstalledCopyStaysAsItIs) {
    fake.resources.runsFrom.reset();
    putBundle(kInstalled, "old");
    persist();
    EXPECT_EQ(installedProgram(), "old");
    EXPECT_TRUE(fake.files.exists(kPlist));
}

TEST_F(SelfInstallTest, FoldersThatCannotBeMadeArePassedOver) {
    fake.files.files["/home/ada/Applications"] = "a file";
    persist();
    EXPECT_EQ(fake.files.files.at("/home/ada/Applications"), "a file");
    EXPECT_TRUE(fake.files.exists(kPlist));
    fake.files.unwritable.insert(kPlist);
    fake.files.files[kPlist] = "old";
    persist();
    EXPECT_EQ(fake.files.files.at(kPlist), "old");
}

} // namespace
} // namespace kelvane
