#include "platform/linux/desktop_files.h"

#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;
using namespace std::string_view_literals;

TEST(DesktopVariables, areWhatTheEnvironmentSays) {
    FakeEnvironment environment;
    environment.variables = {{"HOME", "/home/me"},      {"XDG_DATA_HOME", "/data/me"},
                             {"XDG_DATA_DIRS", "/opt"}, {"LC_ALL", "it_IT"},
                             {"LC_MESSAGES", "fr_FR"},  {"LANG", "de_DE"}};
    const DesktopVariables variables = desktopVariables(environment);
    EXPECT_EQ(variables.home, "/home/me");
    EXPECT_EQ(variables.xdgDataHome, "/data/me");
    EXPECT_EQ(variables.xdgDataDirs, "/opt");
    EXPECT_EQ(variables.lcAll, "it_IT");
    EXPECT_EQ(variables.lcMessages, "fr_FR");
    EXPECT_EQ(variables.lang, "de_DE");
    environment.variables.clear();
    EXPECT_EQ(desktopVariables(environment).home, "");
}

class DesktopFilesTest : public testing::Test {
public:
    DesktopFilesTest() {
        std::string model = (std::filesystem::temp_directory_path() / "kelvane-entries-XXXXXX");
        m_root = ::mkdtemp(model.data());
    }
    ~DesktopFilesTest() override { std::filesystem::remove_all(m_root); }

    void write(const std::string& path, const std::string& bytes) {
        std::filesystem::create_directories((m_root / path).parent_path());
        std::ofstream(m_root / path, std::ios::binary) << bytes;
    }
    void application(const std::string& path, const std::string& name,
                     const std::string& more = "") {
        write(path, "[Desktop Entry]\nType=Application\nName=" + name + "\n" + more);
    }
    std::vector<std::string> ids() {
        std::vector<std::string> found;
        for (const auto& entry : m_files->index()->entries()) found.push_back(entry.id);
        return found;
    }
    void open(std::vector<std::filesystem::path> folders) {
        m_files = std::make_unique<DesktopFiles>(std::move(folders), "", m_clock);
    }

    Journal m_journal;
    FakeClock m_clock{m_journal};
    std::filesystem::path m_root;
    std::unique_ptr<DesktopFiles> m_files;
};

TEST_F(DesktopFilesTest, readsEveryFolderAndItsSubfolders) {
    application("a/applications/one.desktop", "One");
    application("a/applications/kde/two.desktop", "Two");
    application("b/applications/three.desktop", "Three");
    write("a/applications/mimeinfo.cache", "[MIME Cache]\n");
    open({m_root / "a", m_root / "b", m_root / "missing"});
    EXPECT_THAT(ids(), ElementsAre("kde-two", "one", "three"));
}

TEST_F(DesktopFilesTest, theEarlierFolderWins) {
    application("a/applications/one.desktop", "Mine");
    application("b/applications/one.desktop", "Theirs");
    open({m_root / "a", m_root / "b"});
    const auto index = m_files->index();
    ASSERT_NE(index->byId("one"), nullptr);
    EXPECT_EQ(index->byId("one")->name, "Mine");
    EXPECT_EQ(index->entries().size(), 1U);
}

TEST_F(DesktopFilesTest, aHiddenEntryMasksItsNamesake) {
    write("a/applications/one.desktop", "[Desktop Entry]\nHidden=true\n");
    application("b/applications/one.desktop", "Theirs");
    open({m_root / "a", m_root / "b"});
    EXPECT_EQ(m_files->index()->byId("one"), nullptr);
}

TEST_F(DesktopFilesTest, skipsWhatItCannotRead) {
    application("a/applications/good.desktop", "Good");
    write("a/applications/binary.desktop", std::string("[Desktop Entry]\nType=Application\n\0"sv));
    application("a/applications/huge.desktop", std::string(2U << 20U, 'x'));
    ASSERT_EQ(::mkfifo((m_root / "a/applications/pipe.desktop").c_str(), 0600), 0);
    std::filesystem::create_directories(m_root / "a/applications/folder.desktop");
    std::filesystem::create_symlink("nowhere", m_root / "a/applications/dangling.desktop");
    std::filesystem::create_symlink("self.desktop", m_root / "a/applications/self.desktop");
    open({m_root / "a"});
    EXPECT_THAT(ids(), ElementsAre("good"));
}

TEST_F(DesktopFilesTest, followsLinksToFilesButNotInCircles) {
    application("real/target.desktop", "Target");
    application("a/applications/deep/one.desktop", "One");
    std::filesystem::create_symlink(m_root / "real/target.desktop",
                                    m_root / "a/applications/linked.desktop");
    std::filesystem::create_directory_symlink("..", m_root / "a/applications/deep/up");
    std::filesystem::create_directory_symlink(".", m_root / "a/applications/deep/here");
    open({m_root / "a"});
    EXPECT_THAT(ids(), ElementsAre("deep-one", "linked"));
}

TEST_F(DesktopFilesTest, readsAgainOnlyWhenAFolderChangedAndNotAtEveryQuestion) {
    application("a/applications/one.desktop", "One");
    open({m_root / "a", m_root / "b"});
    const auto first = m_files->index();
    m_clock.time += 60s;
    EXPECT_EQ(m_files->index(), first) << "nothing changed, nothing is read";

    application("a/applications/two.desktop", "Two");
    m_clock.time += 60s;
    EXPECT_THAT(ids(), ElementsAre("one", "two"));
    application("a/applications/three.desktop", "Three");
    m_clock.time += 1s;
    EXPECT_THAT(ids(), ElementsAre("one", "two")) << "too early to look again";
    m_clock.time += 5s;
    EXPECT_THAT(ids(), ElementsAre("one", "three", "two"));

    application("b/applications/late.desktop", "A folder that was not there before");
    std::filesystem::remove(m_root / "a/applications/two.desktop");
    m_clock.time += 60s;
    EXPECT_THAT(ids(), ElementsAre("one", "three", "late"));
}

TEST_F(DesktopFilesTest, anIndexInUseOutlivesTheNextReading) {
    application("a/applications/one.desktop", "One");
    open({m_root / "a"});
    const auto old = m_files->index();
    const auto* const entry = old->byId("one");
    std::filesystem::remove(m_root / "a/applications/one.desktop");
    m_clock.time += 60s;
    EXPECT_THAT(ids(), IsEmpty());
    EXPECT_EQ(entry->name, "One");
}

} // namespace
} // namespace kelvane
