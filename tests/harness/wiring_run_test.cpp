// What wiring really does to a home folder, with /bin/sh, the scripts and an
// installer that records how it was called.

#include "tests/harness/real_home.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

fs::perms permissionsOf(const fs::path& path) {
    return fs::status(path).permissions();
}

class WiringRunTest : public RealHome {
protected:
    using RealHome::RealHome;

    std::string call(const std::string& tool) const {
        return brask.string() + ": " + tool + " --global";
    }
};

TEST_F(WiringRunTest, WithoutToolsTheInstallerIsCalledForClaudeAndCodex) {
    install(true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("codex")));
}

TEST_F(WiringRunTest, WithOnlyTheCodexFolderOnlyCodexIsWired) {
    fs::create_directories(home / ".codex");
    install(true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("codex")));
}

TEST_F(WiringRunTest, CommandOnTheLoginShellsSearchPathIsATool) {
    putProgram("openclaw", "exit 0");
    putProgram("claude", "exit 0");
    install(true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("openclaw")));
}

TEST_F(WiringRunTest, EveryToolIsWiredInOrderWhateverTheInstallerAnswers) {
    for (const char* tool : {".openclaw", ".codex", ".claude"}) fs::create_directories(home / tool);
    install(true); // the recording installer ends with status 3
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("codex"), call("openclaw")));
}

TEST_F(WiringRunTest, FileThatIsNamedLikeAToolsFolderIsNoTool) {
    putHomeFile(".codex", "a file");
    putHomeFile(".claude.json", "{}");
    fs::create_directories(home / ".openclaw");
    install(true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("openclaw")));
}

TEST_F(WiringRunTest, CursorIsNeverWired) {
    fs::create_directories(home / ".cursor");
    putProgram("cursor", "exit 0");
    install(true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("codex")));
}

TEST_F(WiringRunTest, NothingIsWritten) {
    fs::create_directories(home / ".codex");
    EXPECT_EQ(writtenBy([this] { install(true); }), "");
}

TEST_F(WiringRunTest, KitIsInPlaceAndItsProgramsAreExecutable) {
    for (const char* name : {"validate.py", "brask_install.py"}) {
        fs::permissions(kit / name, fs::perms::owner_read | fs::perms::owner_write);
    }
    install(true);
    const auto kitFiles = filesBelow(brask);
    EXPECT_EQ(kitFiles.at("validate.py"), "755 # the validator\n");
    EXPECT_EQ(permissionsOf(brask / "brask_install.py"), fs::perms(0755));
    EXPECT_TRUE(kitFiles.at("standing/rules.md").ends_with(" the rules"));
    EXPECT_TRUE(kitFiles.at("standing/engine/check.py").ends_with(" # the check\n"));
    EXPECT_TRUE(kitFiles.at("app-catalog.json").ends_with(" {\"apps\": []}"));
    EXPECT_FALSE(kitFiles.contains("standing/._rules.md"));
    EXPECT_EQ(kitFiles.size(), 5U);
    EXPECT_TRUE(ToolWiring::isInstalled(*files, brask));
}

TEST_F(WiringRunTest, RunAgainItBringsTheKitToTheShippedVersionAndLeavesTheRest) {
    install(true);
    putHomeFile(".brask/validate.py", "changed");
    putHomeFile(".brask/standing/engine/old.py", "of an older version");
    putHomeFile(".brask/standing/mine.md", "the user's");
    putHomeFile(".brask/key", "the key");
    install(false);
    EXPECT_EQ(contentsOf(brask / "validate.py"), "# the validator\n");
    EXPECT_FALSE(fs::exists(brask / "standing/engine/old.py"));
    EXPECT_EQ(contentsOf(brask / "standing/mine.md"), "the user's");
    EXPECT_EQ(contentsOf(brask / "key"), "the key");
}

TEST_F(WiringRunTest, FolderInPlaceOfAFileAndFileInPlaceOfAFolderAreReplaced) {
    putHomeFile(".brask/validate.py/within", "x");
    putHomeFile(".brask/standing/engine", "a file");
    install(true);
    EXPECT_EQ(contentsOf(brask / "validate.py"), "# the validator\n");
    EXPECT_EQ(contentsOf(brask / "standing/engine/check.py"), "# the check\n");
}

TEST_F(WiringRunTest, LinksInTheDataFolderAreReplacedAndWhatTheyLeadToStays) {
    putFile(folder / "precious", "the user's");
    fs::create_directories(brask);
    fs::create_symlink(folder / "precious", brask / "validate.py");
    install(true);
    EXPECT_FALSE(fs::is_symlink(brask / "validate.py"));
    EXPECT_EQ(contentsOf(folder / "precious"), "the user's");
}

TEST_F(WiringRunTest, DataFolderThatIsAFileStaysAndEverythingElseIsSilent) {
    putHomeFile(".brask", "a file");
    EXPECT_EQ(writtenBy([this] { install(true); }), "");
    EXPECT_EQ(contentsOf(brask), "a file");
    EXPECT_FALSE(ToolWiring::isInstalled(*files, brask));
    EXPECT_THAT(installerCalls(), IsEmpty());
    EXPECT_EQ(fake.urls.opened.size(), 1U);
}

TEST_F(WiringRunTest, KitThatIsMissingIsPassedOverInSilence) {
    fs::remove_all(kit);
    EXPECT_EQ(writtenBy([this] { install(true); }), "");
    EXPECT_FALSE(ToolWiring::isInstalled(*files, brask));
    EXPECT_TRUE(fs::exists(brask / "app-catalog.json"));
}

TEST_F(WiringRunTest, WithoutPythonNothingIsDone) {
    fs::remove(bin / "python3");
    settings.noPersist = false;
    const auto before = filesBelow(home);
    install(true);
    EXPECT_EQ(filesBelow(home), before);
    EXPECT_FALSE(fs::exists(brask));
    EXPECT_FALSE(fs::exists(home / "Applications"));
    EXPECT_TRUE(fake.urls.opened.empty());
    ASSERT_EQ(fake.dialogs.shown.size(), 1U);
    EXPECT_EQ(fake.dialogs.shown[0].message, "Python 3 is required");
}

TEST_F(WiringRunTest, DialogReportsTheStateAfterTheScript) {
    for (const char* tool : {".codex", ".claude", ".openclaw"}) fs::create_directories(home / tool);
    install(false);
    EXPECT_EQ(fake.dialogs.shown.at(0).informative,
              "Validation is now active in: Claude Code, Codex.\nGet your free key at "
              "trevix.example/connect, then export BRASK_API_KEY.");
    EXPECT_TRUE(fake.urls.opened.empty());
}

/// A home folder whose name the shell would take apart, were it not quoted.
class WiringInAQuotedHomeTest : public WiringRunTest {
protected:
    WiringInAQuotedHomeTest() : WiringRunTest("it's  a *home* & (more); #1") {}
};

TEST_F(WiringInAQuotedHomeTest, NameOfTheHomeFolderDoesNotMatter) {
    fs::create_directories(home / ".codex");
    settings.noPersist = false;
    EXPECT_EQ(writtenBy([this] { install(true); }), "");
    EXPECT_THAT(installerCalls(), ElementsAre(call("codex")));
    EXPECT_EQ(permissionsOf(brask / "validate.py"), fs::perms(0755));
    fake.dialogs.answers = {0U};
    EXPECT_EQ(writtenBy([this] { uninstall(); }), "");
    EXPECT_FALSE(fs::exists(brask));
}

/// A home folder whose name would end the quotes of the chmod command, or be run by it.
class WiringInAHostileHomeTest : public WiringRunTest {
protected:
    WiringInAHostileHomeTest() : WiringRunTest("a\"b $(touch ran) `touch ran` $HOME \\") {}
};

TEST_F(WiringInAHostileHomeTest, NothingOfItsNameIsRunAndEverythingIsInstalled) {
    fs::permissions(kit / "validate.py", fs::perms::owner_read | fs::perms::owner_write);
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    install(true);
    fs::current_path(before);
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("codex")));
    EXPECT_EQ(permissionsOf(brask / "validate.py"), fs::perms(0755));
    EXPECT_FALSE(fs::exists(folder / "ran"));
}

/// Real processes, but nobody has patience with a shell that reads the profile.
class ImpatientProcesses : public ProcessRunner {
public:
    explicit ImpatientProcesses(ProcessRunner& processes) : m_processes(processes) {}

    std::unique_ptr<RunningProcess> start(const ProcessRequest& request) override {
        auto hurried = request;
        if (request.arguments.front() == "-lc") hurried.timeLimit = std::chrono::milliseconds(100);
        return m_processes.start(hurried);
    }

private:
    ProcessRunner& m_processes;
};

TEST_F(WiringRunTest, ProfileThatNeverEndsIsDoneWithout) {
    putFile(home / ".profile", "while :; do '" + pathOf("sleep").string() + "' 1000; done\n");
    const ScopedVariable path("PATH", bin.string());
    ImpatientProcesses impatient(*processes);
    auto ports = wiringPorts();
    ToolWiring::runInstall({.files = ports.files,
                            .processes = impatient,
                            .bundle = ports.bundle,
                            .dialogs = ports.dialogs,
                            .urls = ports.urls},
                           installation, settings, true);
    EXPECT_THAT(installerCalls(), ElementsAre(call("claude"), call("codex")));
    EXPECT_EQ(permissionsOf(brask / "validate.py"), fs::perms(0755));
    EXPECT_EQ(fake.dialogs.shown.size(), 0U);
}

TEST_F(WiringRunTest, HomeThatTakesNothingIsPassedOverInSilence) {
    if (!fs::exists("/proc/self"))
        GTEST_SKIP() << "NOT CHECKED: needs a folder nobody may write to";
    const ScopedVariable variable("HOME", "/proc/kelvane-home");
    installation.home = "/proc/kelvane-home";
    installation.braskHome = "/proc/kelvane-home/.brask";
    installation.configHome = "/proc/kelvane-home/.config";
    installation.dataHome = "/proc/kelvane-home/.local/share";
    settings.noPersist = false;
    EXPECT_EQ(writtenBy([this] { install(false); }), "");
    EXPECT_FALSE(ToolWiring::isInstalled(*files, installation.braskHome));
    EXPECT_EQ(fake.dialogs.shown.size(), 1U);
}

} // namespace
} // namespace kelvane
