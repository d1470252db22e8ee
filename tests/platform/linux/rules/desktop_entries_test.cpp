#include "platform/linux/rules/desktop_entries.h"

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

std::optional<DesktopEntry> parse(std::string_view bytes, std::string_view locale = "") {
    const auto keys = localeKeys(locale);
    return parseDesktopEntry(bytes, keys);
}

TEST(DesktopEntryParser, readsWhatIsAskedOfIt) {
    const auto entry = parse("#!/usr/bin/env xdg-open\n"
                             "\n"
                             "[Desktop Entry]\n"
                             "# a comment\n"
                             "Type=Application\n"
                             "Name = Text Editor \n"
                             "Exec=editor --new %U\n"
                             "Categories=GNOME;GTK;\n"
                             "StartupWMClass=Editor\n"
                             "NoDisplay=true\n"
                             "X-Flatpak=org.example.Editor\n"
                             "X-SnapInstanceName=editor\n"
                             "[Desktop Action new]\n"
                             "Name=New window\n"
                             "StartupWMClass=Other\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Text Editor");
    EXPECT_EQ(entry->exec, "editor --new %U");
    EXPECT_EQ(entry->startupWmClass, "Editor");
    EXPECT_EQ(entry->flatpakId, "org.example.Editor");
    EXPECT_EQ(entry->snapInstance, "editor");
    EXPECT_THAT(entry->categories, ElementsAre("GNOME", "GTK"));
    EXPECT_TRUE(entry->hasCategory("GTK"));
    EXPECT_FALSE(entry->hasCategory("Qt"));
    EXPECT_TRUE(entry->noDisplay);
    EXPECT_FALSE(entry->hidden);
}

TEST(DesktopEntryParser, choosesTheNameByLocale) {
    constexpr std::string_view kFile = "[Desktop Entry]\nType=Application\n"
                                       "Name[de]=Rechner\nName=Calculator\nName[de_AT]=Rechna\n"
                                       "Name[sr@latin]=Racunar\nName[sr]=Рачунар\n";
    const struct {
        std::string_view locale, name;
    } cases[] = {
        {"", "Calculator"},         {"C.UTF-8", "Calculator"},
        {"POSIX", "Calculator"},    {"fr_FR.UTF-8", "Calculator"},
        {"de_DE.UTF-8", "Rechner"}, {"de_AT.UTF-8", "Rechna"},
        {"de", "Rechner"},          {"sr_RS@latin", "Racunar"},
        {"sr_RS.UTF-8", "Рачунар"},
    };
    for (const auto& one : cases) {
        const auto entry = parse(kFile, one.locale);
        ASSERT_TRUE(entry) << one.locale;
        EXPECT_EQ(entry->name, one.name) << one.locale;
    }
}

TEST(DesktopEntryParser, localeKeysGoFromTheMostToTheLeastParticular) {
    EXPECT_THAT(localeKeys("de_AT.UTF-8@euro"),
                ElementsAre("de_AT@euro", "de_AT", "de@euro", "de"));
    EXPECT_THAT(localeKeys("de.UTF-8"), ElementsAre("de"));
    EXPECT_THAT(localeKeys("C"), IsEmpty());
}

TEST(DesktopEntryParser, toleratesWhatEditorsDoToFiles) {
    const auto windows = parse("\xEF\xBB\xBF[Desktop Entry]\r\nType=Application\r\nName=A\r\n");
    ASSERT_TRUE(windows);
    EXPECT_EQ(windows->name, "A");
    const auto unfinished = parse("[Desktop Entry]\nType=Application\nName=No newline");
    ASSERT_TRUE(unfinished);
    EXPECT_EQ(unfinished->name, "No newline");
    const auto noName = parse("[Desktop Entry]\nType=Application\n=x\n[\nName");
    ASSERT_TRUE(noName);
    EXPECT_EQ(noName->name, "");
}

TEST(DesktopEntryParser, undoesEscapes) {
    const auto entry = parse("[Desktop Entry]\nType=Application\nName=A\\sB\\\\C\\\n"
                             "Categories=One\\;Half;;Two");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "A B\\C\\");
    EXPECT_THAT(entry->categories, ElementsAre("One;Half", "Two"));
}

TEST(DesktopEntryParser, dropsTextThatIsNotUtf8) {
    const auto entry =
        parse("[Desktop Entry]\nType=Application\nName[de]=B\xFCro\nName=Office\n", "de");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, "Office");
}

TEST(DesktopEntryParser, refusesWhatIsNoApplication) {
    const std::string_view cases[] = {
        "",
        "no group at all",
        "[Desktop Entry]\nType=Link\nName=Site\n",
        "[Desktop Entry]\nType=Directory\nName=Folder\n",
        "[Desktop Entry]\nName=No type\n",
        "[Other]\nType=Application\nName=Other group\n",
        std::string_view("[Desktop Entry]\nType=Application\n\0\n", 36),
    };
    for (const auto bytes : cases) EXPECT_FALSE(parse(bytes)) << bytes;
}

TEST(DesktopEntryParser, anEntryMaySayNothingButThatItIsHidden) {
    const auto entry = parse("[Desktop Entry]\nHidden=true\n");
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->hidden);
}

TEST(DesktopId, isThePathBelowApplications) {
    EXPECT_EQ(desktopId("org.gnome.gedit.desktop"), "org.gnome.gedit");
    EXPECT_EQ(desktopId("kde/sub/kate.desktop"), "kde-sub-kate");
    EXPECT_EQ(desktopId("mimeinfo.cache"), std::nullopt);
    EXPECT_EQ(desktopId(".desktop"), std::nullopt);
    EXPECT_EQ(desktopId("kde/.desktop"), std::nullopt);
}

TEST(DataFolders, comeFromTheEnvironmentMostImportantFirst) {
    FakeEnvironment environment;
    environment.variables = {{"HOME", "/home/me"},
                             {"XDG_DATA_HOME", "/data/me"},
                             {"XDG_DATA_DIRS", "/opt/share/:relative::/usr/share:/opt/share"}};
    EXPECT_THAT(dataFolders(environment),
                ElementsAre("/data/me", "/opt/share", "/usr/share",
                            "/home/me/.local/share/flatpak/exports/share",
                            "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"));
}

TEST(DataFolders, haveDefaults) {
    FakeEnvironment environment;
    environment.variables = {{"HOME", "/home/me"}, {"XDG_DATA_HOME", ""}, {"XDG_DATA_DIRS", ""}};
    EXPECT_THAT(dataFolders(environment),
                ElementsAre("/home/me/.local/share", "/usr/local/share", "/usr/share",
                            "/home/me/.local/share/flatpak/exports/share",
                            "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"));
    FakeEnvironment nothing;
    EXPECT_THAT(dataFolders(nothing),
                ElementsAre("/usr/local/share", "/usr/share", "/var/lib/flatpak/exports/share",
                            "/var/lib/snapd/desktop"));
}

TEST(MessagesLocale, takesTheFirstVariableThatSaysSomething) {
    FakeEnvironment environment;
    EXPECT_EQ(messagesLocale(environment), "");
    environment.variables = {{"LC_ALL", ""}, {"LC_MESSAGES", "fr_FR"}, {"LANG", "de_DE"}};
    EXPECT_EQ(messagesLocale(environment), "fr_FR");
    environment.variables["LC_ALL"] = "it_IT";
    EXPECT_EQ(messagesLocale(environment), "it_IT");
}

class DesktopEntriesTest : public testing::Test {
protected:
    DesktopEntriesTest() {
        std::string model = (std::filesystem::temp_directory_path() / "kelvane-entries-XXXXXX");
        m_root = ::mkdtemp(model.data());
    }
    ~DesktopEntriesTest() override { std::filesystem::remove_all(m_root); }

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
        for (const auto& entry : m_entries->index()->entries()) found.push_back(entry.id);
        return found;
    }
    void open(std::vector<std::filesystem::path> folders) {
        m_entries = std::make_unique<DesktopEntries>(std::move(folders), "", m_clock);
    }

    Journal m_journal;
    FakeClock m_clock{m_journal};
    std::filesystem::path m_root;
    std::unique_ptr<DesktopEntries> m_entries;
};

TEST_F(DesktopEntriesTest, readsEveryFolderAndItsSubfolders) {
    application("a/applications/one.desktop", "One");
    application("a/applications/kde/two.desktop", "Two");
    application("b/applications/three.desktop", "Three");
    write("a/applications/mimeinfo.cache", "[MIME Cache]\n");
    open({m_root / "a", m_root / "b", m_root / "missing"});
    EXPECT_THAT(ids(), ElementsAre("kde-two", "one", "three"));
}

TEST_F(DesktopEntriesTest, theEarlierFolderWins) {
    application("a/applications/one.desktop", "Mine");
    application("b/applications/one.desktop", "Theirs");
    open({m_root / "a", m_root / "b"});
    const auto index = m_entries->index();
    ASSERT_NE(index->byId("one"), nullptr);
    EXPECT_EQ(index->byId("one")->name, "Mine");
    EXPECT_EQ(index->entries().size(), 1U);
}

TEST_F(DesktopEntriesTest, aHiddenEntryMasksItsNamesake) {
    write("a/applications/one.desktop", "[Desktop Entry]\nHidden=true\n");
    application("b/applications/one.desktop", "Theirs");
    open({m_root / "a", m_root / "b"});
    EXPECT_EQ(m_entries->index()->byId("one"), nullptr);
}

TEST_F(DesktopEntriesTest, skipsWhatItCannotRead) {
    application("a/applications/good.desktop", "Good");
    write("a/applications/binary.desktop",
          std::string("[Desktop Entry]\nType=Application\n\0", 35));
    application("a/applications/huge.desktop", std::string(2U << 20U, 'x'));
    ASSERT_EQ(::mkfifo((m_root / "a/applications/pipe.desktop").c_str(), 0600), 0);
    std::filesystem::create_directories(m_root / "a/applications/folder.desktop");
    std::filesystem::create_symlink("nowhere", m_root / "a/applications/dangling.desktop");
    std::filesystem::create_symlink("self.desktop", m_root / "a/applications/self.desktop");
    open({m_root / "a"});
    EXPECT_THAT(ids(), ElementsAre("good"));
}

TEST_F(DesktopEntriesTest, followsLinksToFilesButNotInCircles) {
    application("real/target.desktop", "Target");
    application("a/applications/deep/one.desktop", "One");
    std::filesystem::create_symlink(m_root / "real/target.desktop",
                                    m_root / "a/applications/linked.desktop");
    std::filesystem::create_directory_symlink("..", m_root / "a/applications/deep/up");
    std::filesystem::create_directory_symlink(".", m_root / "a/applications/deep/here");
    open({m_root / "a"});
    EXPECT_THAT(ids(), ElementsAre("deep-one", "linked"));
}

TEST_F(DesktopEntriesTest, readsAgainOnlyWhenAFolderChangedAndNotAtEveryQuestion) {
    application("a/applications/one.desktop", "One");
    open({m_root / "a", m_root / "b"});
    const auto first = m_entries->index();
    m_clock.time += 60s;
    EXPECT_EQ(m_entries->index(), first) << "nothing changed, nothing is read";

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

TEST_F(DesktopEntriesTest, anIndexInUseOutlivesTheNextReading) {
    application("a/applications/one.desktop", "One");
    open({m_root / "a"});
    const auto old = m_entries->index();
    const auto* const entry = old->byId("one");
    std::filesystem::remove(m_root / "a/applications/one.desktop");
    m_clock.time += 60s;
    EXPECT_THAT(ids(), IsEmpty());
    EXPECT_EQ(entry->name, "One");
}

} // namespace
} // namespace kelvane
