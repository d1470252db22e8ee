// What the self-install really puts on disk.

#include "tests/harness/real_home.h"

#include "harness/self_install.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

class SelfInstallRunTest : public RealHome {
protected:
    void persist() {
        SelfInstall::persistToApplications({.files = *files, .bundle = *bundle}, installation);
    }

    fs::path installed = home / "Applications/Kelvane.app";
    fs::path autostart = home / ".config/autostart/org.example.kelvane.menubar.desktop";
};

TEST_F(SelfInstallRunTest, CopyIsTheBundleWithItsPermissionsAndLinks) {
    fs::create_directories(contents / "Frameworks");
    putFile(contents / "Frameworks/libpart.so.1", "library");
    fs::create_symlink("libpart.so.1", contents / "Frameworks/libpart.so");
    fs::create_symlink("nowhere", contents / "Frameworks/dangling");
    persist();
    EXPECT_EQ(filesBelow(installed), filesBelow(contents.parent_path()));
    EXPECT_TRUE(fs::is_symlink(installed / "Contents/Frameworks/libpart.so"));
    EXPECT_EQ(fs::status(installed / "Contents/MacOS/Kelvane").permissions(), fs::perms::all);
}

TEST_F(SelfInstallRunTest, IconOfTheMenuEntryStandsWhereItSays) {
    putFile(contents / "Resources/brask.png", "the mark");
    persist();
    const auto entry =
        contentsOf(home / ".local/share/applications/org.example.kelvane.menubar.desktop");
    const std::string key = "\nIcon=";
    const auto begin = entry.find(key) + key.size();
    const auto icon = entry.substr(begin, entry.find('\n', begin) - begin);
    EXPECT_EQ(contentsOf(icon), "the mark") << icon;
}

TEST_F(SelfInstallRunTest, RunsAgainFromTheInstalledPlaceWithoutTouchingIt) {
    persist();
    const auto before = filesBelow(installed);
    putFile(autostart, "changed");
    bundle = makeBundleResources(installed / "Contents/MacOS/Kelvane");
    persist();
    EXPECT_EQ(filesBelow(installed), before);
    EXPECT_EQ(contentsOf(autostart), startFiles(installation).at(0).text);
}

TEST_F(SelfInstallRunTest, ApplicationsFolderThatIsALinkDoesNotCostTheProgramItsLife) {
    fs::create_directories(folder / "big disk");
    fs::create_directory_symlink(folder / "big disk", home / "Applications");
    persist();
    const auto before = filesBelow(folder / "big disk");
    ASSERT_TRUE(before.contains("Kelvane.app/Contents/MacOS/Kelvane"));
    bundle = makeBundleResources(installed / "Contents/MacOS/Kelvane");
    ASSERT_EQ(bundle->bundle(), folder / "big disk/Kelvane.app"); // the real path
    persist();
    EXPECT_EQ(filesBelow(folder / "big disk"), before);
}

TEST_F(SelfInstallRunTest, OlderCopyIsReplacedNotMerged) {
    putHomeFile("Applications/Kelvane.app/Contents/MacOS/Kelvane", "old");
    putHomeFile("Applications/Kelvane.app/Contents/Resources/gone", "old");
    putHomeFile("Applications/Other.app/Contents/Info", "someone else's");
    persist();
    EXPECT_EQ(contentsOf(installed / "Contents/MacOS/Kelvane"), "the program");
    EXPECT_FALSE(fs::exists(installed / "Contents/Resources/gone"));
    EXPECT_EQ(contentsOf(home / "Applications/Other.app/Contents/Info"), "someone else's");
}

TEST_F(SelfInstallRunTest, FileInPlaceOfTheInstalledBundleIsReplaced) {
    putHomeFile("Applications/Kelvane.app", "a file");
    persist();
    EXPECT_EQ(contentsOf(installed / "Contents/MacOS/Kelvane"), "the program");
}

TEST_F(SelfInstallRunTest, LinkInPlaceOfTheInstalledBundleIsReplacedAndItsTargetStays) {
    fs::create_directories(folder / "precious");
    putFile(folder / "precious/f", "the user's");
    fs::create_directories(home / "Applications");
    fs::create_directory_symlink(folder / "precious", installed);
    persist();
    EXPECT_FALSE(fs::is_symlink(installed));
    EXPECT_EQ(contentsOf(installed / "Contents/MacOS/Kelvane"), "the program");
    EXPECT_EQ(contentsOf(folder / "precious/f"), "the user's");
}

TEST_F(SelfInstallRunTest, CopyThatFailsMidwayLeavesNoHalfBundleAndStillWritesTheLoginItem) {
    ASSERT_EQ(mkfifo((contents / "Resources/pipe").c_str(), 0600),
              0); // cannot be copied
    persist();
    EXPECT_TRUE(fs::is_empty(home / "Applications"));
    EXPECT_EQ(contentsOf(autostart), startFiles(installation).at(0).text);
}

TEST_F(SelfInstallRunTest, CopyThatFailsMidwayLeavesTheOlderOne) {
    persist();
    const auto before = filesBelow(home / "Applications");
    putFile(contents / "MacOS/Kelvane", "a newer program");
    ASSERT_EQ(mkfifo((contents / "Resources/pipe").c_str(), 0600), 0); // cannot be copied
    persist();
    EXPECT_EQ(filesBelow(home / "Applications"), before);
}

TEST_F(SelfInstallRunTest, FilesInPlaceOfTheFoldersStayAndNothingIsWritten) {
    putHomeFile("Applications", "a file");
    putHomeFile(".config", "a file");
    EXPECT_EQ(writtenBy([this] { persist(); }), "");
    EXPECT_EQ(contentsOf(home / "Applications"), "a file");
    EXPECT_EQ(contentsOf(home / ".config"), "a file");
}

TEST_F(SelfInstallRunTest, FolderInPlaceOfTheLoginItemStays) {
    putHomeFile(".config/autostart/org.example.kelvane.menubar.desktop/within", "x");
    persist();
    EXPECT_TRUE(fs::is_directory(autostart));
    EXPECT_TRUE(fs::exists(installed));
}

TEST_F(SelfInstallRunTest, OutsideABundleTheInstalledCopyStaysAsItIs) {
    persist();
    const auto before = filesBelow(installed);
    putFile(folder / "Kelvane", "a bare program");
    bundle = makeBundleResources(folder / "Kelvane");
    persist();
    EXPECT_EQ(filesBelow(installed), before);
    EXPECT_TRUE(fs::exists(autostart));
}

TEST_F(SelfInstallRunTest, InstalledProgramFindsItsOwnResources) {
    persist();
    const auto copy = makeBundleResources(installed / "Contents/MacOS/Kelvane");
    EXPECT_EQ(copy->resourceFolder(), installed / "Contents/Resources");
}

TEST_F(SelfInstallRunTest, LaunchAgentIsAPropertyListThatSaysWhatItShould) {
    installation.loginItem = LoginItem::LaunchAgent;
    persist();
    const auto plist = home / "Library/LaunchAgents/org.example.kelvane.menubar.plist";
    ASSERT_TRUE(fs::exists(plist));
    EXPECT_FALSE(fs::exists(autostart));
    const auto read = processes->run(
        {.program = pathOf("python3").string(),
         .arguments = {"-c",
                       "import plistlib, sys\n"
                       "agent = plistlib.load(open(sys.argv[1], 'rb'))\n"
                       "print(sorted(agent), agent['Label'], agent['ProgramArguments'], "
                       "agent['RunAtLoad'], agent['LimitLoadToSessionType'])",
                       plist.string()},
         .output = ProcessOutput::Capture});
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->output, "['Label', 'LimitLoadToSessionType', 'ProgramArguments', 'RunAtLoad'] "
                            "org.example.kelvane.menubar ['" +
                                (installed / "Contents/MacOS/Kelvane").string() + "'] True Aqua\n");
}

} // namespace
} // namespace kelvane
