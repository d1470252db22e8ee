#include "app/shell/qt/qt_panel_renderer.h"

#include "platform/fake/fake_app_icons.h"
#include "platform/fake/fake_bundle_resources.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

class PanelRendererTest : public testing::Test {
protected:
    static std::string contents(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    FakeAppIcons icons;
    FakeBundleResources resources;
    std::unique_ptr<PanelRenderer> renderer = makeQtPanelRenderer({icons, resources});
    TemporaryFolder temporary;
    fs::path folder = temporary.path();
};

TEST_F(PanelRendererTest, MakesAFileAndWritesOverALongerOne) {
    const auto file = folder / "panel.png";
    EXPECT_EQ(renderer->write(file, "a picture of many bytes"), std::nullopt);
    EXPECT_EQ(renderer->write(file, "a picture"), std::nullopt);
    EXPECT_EQ(contents(file), "a picture");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "and nothing beside it";
}

TEST_F(PanelRendererTest, AFileKeepsItsOtherNamesAndItsMode) {
    const auto file = folder / "panel.png";
    std::ofstream(file) << "old";
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_hard_link(file, folder / "hard");
    fs::create_symlink("panel.png", folder / "soft");
    EXPECT_EQ(renderer->write(folder / "soft", "new"), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(folder / "soft"));
    EXPECT_EQ(contents(folder / "hard"), "new");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(PanelRendererTest, ALinkToNothingIsFollowed) {
    fs::create_symlink("later.png", folder / "soft");
    EXPECT_EQ(renderer->write(folder / "soft", "new"), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(folder / "soft"));
    EXPECT_EQ(contents(folder / "later.png"), "new");
}

TEST_F(PanelRendererTest, APipeStaysAPipeAndItsReaderGetsEverything) {
    const auto pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRWXU), 0);
    const std::string picture(300'000, 'p'); // More than a pipe holds.
    std::string got;
    std::thread reader([&] { got = contents(pipe); });
    EXPECT_EQ(renderer->write(pipe, picture), std::nullopt);
    reader.join();
    EXPECT_EQ(got, picture);
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(PanelRendererTest, ADeviceStaysADevice) {
    EXPECT_EQ(renderer->write("/dev/null", "a picture"), std::nullopt);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(PanelRendererTest, ANameIsBytes) {
    const fs::path file = folder / "caf\xe9\xff.png";
    EXPECT_EQ(renderer->write(file, "a picture"), std::nullopt);
    EXPECT_EQ(fs::directory_iterator(folder)->path().native(), file.native());
}

TEST_F(PanelRendererTest, WhatCannotBeWrittenIsSaidAndLeavesNothingNew) {
    EXPECT_EQ(renderer->write(folder / "missing" / "p.png", "x"), "No such file or directory");
    EXPECT_EQ(renderer->write(folder, "x"), "Is a directory");
    EXPECT_TRUE(fs::is_empty(folder));
    EXPECT_EQ(renderer->write("/dev/full", "x"), "No space left on device");
}

} // namespace
} // namespace kelvane
