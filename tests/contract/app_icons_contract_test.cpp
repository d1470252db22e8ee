// What every collection of application icons promises: the scripted one, and the desktop files of a
// machine.

#include "platform/fake/fake_app_icons.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/journal.h"
#include "platform/linux/desktop_icons.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace kelvane {
namespace {

class IconsOfSystem {
public:
    virtual ~IconsOfSystem() = default;
    virtual AppIcons& icons() = 0;
    /// Installs an application whose packager gave it this icon, or none.
    virtual void install(const std::string& bundleId, const std::optional<AppIcon>& icon) = 0;
};

class ScriptedIcons : public IconsOfSystem {
public:
    AppIcons& icons() override { return m_icons; }
    void install(const std::string& bundleId, const std::optional<AppIcon>& icon) override {
        if (icon) m_icons.icons[bundleId] = *icon;
    }

private:
    FakeAppIcons m_icons;
};

class IconsOfDesktopFiles : public IconsOfSystem {
public:
    IconsOfDesktopFiles() { std::filesystem::create_directories(m_data / "applications"); }

    AppIcons& icons() override { return *m_icons; }

    void install(const std::string& bundleId, const std::optional<AppIcon>& icon) override {
        std::string line;
        if (icon) {
            const auto* theme = std::get_if<ThemeIcon>(&*icon);
            line = "Icon=" + (theme ? theme->name : std::get<IconFile>(*icon).path.string()) + "\n";
        }
        installWith(bundleId, line);
    }

    void installWith(const std::string& bundleId, const std::string& lines) {
        std::ofstream(m_data / "applications" / (bundleId + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=Some\nExec=some\n"
            << lines;
    }

private:
    TemporaryFolder m_folder;
    std::filesystem::path m_data = m_folder / "share";
    Journal m_journal;
    FakeClock m_clock{m_journal};
    std::unique_ptr<AppIcons> m_icons = makeDesktopIcons(
        std::make_shared<DesktopFiles>(std::vector<std::filesystem::path>{m_data}, "", m_clock));
};

struct System {
    std::string name;
    std::unique_ptr<IconsOfSystem> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const System& system, std::ostream* out) {
    *out << system.name;
}

class AppIconsContract : public testing::TestWithParam<System> {
protected:
    std::filesystem::path picture() {
        auto file = folder / "my icon.png";
        std::ofstream(file) << "picture";
        return file;
    }

    TemporaryFolder folder;
    std::unique_ptr<IconsOfSystem> system = GetParam().make();
    AppIcons& icons = system->icons();
};

TEST_P(AppIconsContract, aNameOfTheTheme) {
    const AppIcon icon = ThemeIcon{"org.example.Editor"};
    system->install("org.example.Editor", icon);
    EXPECT_EQ(icons.icon("org.example.Editor"), icon);
}

TEST_P(AppIconsContract, aFile) {
    const AppIcon icon = IconFile{picture()};
    system->install("editor", icon);
    EXPECT_EQ(icons.icon("editor"), icon);
}

TEST_P(AppIconsContract, nothingForAnApplicationThatIsNotInstalled) {
    system->install("editor", ThemeIcon{"editor"});
    EXPECT_EQ(icons.icon("another"), std::nullopt);
    EXPECT_EQ(icons.icon(""), std::nullopt);
    EXPECT_EQ(icons.icon("EDITOR"), std::nullopt);
}

TEST_P(AppIconsContract, nothingForAnApplicationWithoutOne) {
    system->install("editor", std::nullopt);
    EXPECT_EQ(icons.icon("editor"), std::nullopt);
}

TEST_P(AppIconsContract, eachApplicationHasItsOwn) {
    system->install("editor", ThemeIcon{"pencil"});
    system->install("viewer", ThemeIcon{"eye"});
    EXPECT_EQ(icons.icon("viewer"), AppIcon(ThemeIcon{"eye"}));
    EXPECT_EQ(icons.icon("editor"), AppIcon(ThemeIcon{"pencil"}));
}

INSTANTIATE_TEST_SUITE_P(Icons, AppIconsContract,
                         testing::Values(System{"scripted",
                                                []() -> std::unique_ptr<IconsOfSystem> {
                                                    return std::make_unique<ScriptedIcons>();
                                                }},
                                         System{"desktop_files",
                                                []() -> std::unique_ptr<IconsOfSystem> {
                                                    return std::make_unique<IconsOfDesktopFiles>();
                                                }}),
                         [](const auto& each) { return each.param.name; });

TEST(DesktopIcons, AFileThatHasGoneIsNone) {
    IconsOfDesktopFiles files;
    TemporaryFolder folder;
    const auto file = folder / "icon.png";
    std::ofstream(file) << "picture";
    files.install("editor", IconFile{file});
    ASSERT_EQ(files.icons().icon("editor"), AppIcon(IconFile{file}));
    std::filesystem::remove(file);
    EXPECT_EQ(files.icons().icon("editor"), std::nullopt);
}

TEST(DesktopIcons, AFolderIsNone) {
    IconsOfDesktopFiles files;
    TemporaryFolder folder;
    files.install("editor", IconFile{folder.path()});
    EXPECT_EQ(files.icons().icon("editor"), std::nullopt);
}

TEST(DesktopIcons, ANameWithAnEndingIsStillOneOfTheTheme) {
    IconsOfDesktopFiles files;
    files.installWith("editor", "Icon=editor.png\n");
    EXPECT_EQ(files.icons().icon("editor"), AppIcon(ThemeIcon{"editor.png"}));
}

TEST(DesktopIcons, AnEntryThatIsAsGoodAsDeletedHasNone) {
    IconsOfDesktopFiles files;
    files.installWith("editor", "Icon=editor\nHidden=true\n");
    EXPECT_EQ(files.icons().icon("editor"), std::nullopt);
}

} // namespace
} // namespace kelvane
