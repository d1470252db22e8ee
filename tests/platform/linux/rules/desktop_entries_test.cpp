#include "platform/linux/rules/desktop_entries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_view_literals;

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
        "[Desktop Entry]\nType=Application\n\0\n"sv,
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
    EXPECT_THAT(dataFolders({.home = "/home/me",
                             .xdgDataHome = "/data/me",
                             .xdgDataDirs = "/opt/share/:relative::/usr/share:/opt/share"}),
                ElementsAre("/data/me", "/opt/share", "/usr/share",
                            "/home/me/.local/share/flatpak/exports/share",
                            "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"));
}

TEST(DataFolders, haveDefaults) {
    EXPECT_THAT(dataFolders({.home = "/home/me"}),
                ElementsAre("/home/me/.local/share", "/usr/local/share", "/usr/share",
                            "/home/me/.local/share/flatpak/exports/share",
                            "/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"));
    EXPECT_THAT(dataFolders({}),
                ElementsAre("/usr/local/share", "/usr/share", "/var/lib/flatpak/exports/share",
                            "/var/lib/snapd/desktop"));
}

TEST(MessagesLocale, takesTheFirstVariableThatSaysSomething) {
    EXPECT_EQ(messagesLocale({}), "");
    EXPECT_EQ(messagesLocale({.lang = "de_DE"}), "de_DE");
    EXPECT_EQ(messagesLocale({.lcMessages = "fr_FR", .lang = "de_DE"}), "fr_FR");
    EXPECT_EQ(messagesLocale({.lcAll = "it_IT", .lcMessages = "fr_FR", .lang = "de_DE"}), "it_IT");
}

} // namespace
} // namespace kelvane
