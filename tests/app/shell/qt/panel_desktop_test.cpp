// The panel and its switches on a real desktop.

#include "tests/app/shell/qt/panel_desktop.h"

#include <array>
#include <signal.h>
#include <sys/stat.h>
#include <xcb/shape.h>

namespace kelvane {
namespace {

class PanelDesktopTest : public PanelDesktop {};

TEST_F(PanelDesktopTest, ClickOpensThePanelUnderTheIconAndSpeaksOfTheEditor) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    EXPECT_TRUE(waitUntilShown("You're in Mousepad")) << testing::PrintToString(shown());
    const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kProgramClass));
    ASSERT_TRUE(panel);
    EXPECT_EQ(desktop.activeWindow(), panel->window) << "the panel has the keyboard at once";
    const auto lines = traced();
    const auto place = lines.back()["window"];
    EXPECT_GE(place[1], 26) << "below the bar";
    EXPECT_LE(place[1], 40);
    EXPECT_LE(place[0].get<int>() + place[2].get<int>(), 1600) << "inside the screen";
}

TEST_F(PanelDesktopTest, ClickOnTheIconWhileShownClosesItAndTheNextOneOpensIt) {
    startTray();
    const auto editor = startEditor();
    const auto program = startAndOpen();
    clickIcon(Spot::Left);
    EXPECT_TRUE(waitUntilPanel(false));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.activeWindow() == editor.window; }));
    clickIcon(Spot::Right);
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_EQ(count("shown"), 2U) << "the click that closed it must not open it again";
}

TEST_F(PanelDesktopTest, EscapeClosesIt) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    xdotool({"key", "Escape"});
    EXPECT_TRUE(waitUntilPanel(false));
    clickIcon();
    EXPECT_TRUE(waitUntilPanel(true)) << "Escape was no click: the next one opens it at once";
}

TEST_F(PanelDesktopTest, CornersAreCutOffOnlyWhereNothingIsSeenThroughThem) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    auto& x = desktop.link();
    const auto isCut = [&] {
        const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kProgramClass));
        if (!panel) return false;
        const XcbOwned<xcb_shape_query_extents_reply_t> shape(xcb_shape_query_extents_reply(
            x.xcb(), xcb_shape_query_extents(x.xcb(), panel->window), nullptr));
        return shape && shape->bounding_shaped != 0;
    };
    EXPECT_TRUE(isCut());
    xdotool({"key", "Escape"});
    ASSERT_TRUE(waitUntilPanel(false));
    // What a compositing manager does to be known; that it draws is not needed here.
    const auto manager = xcb_generate_id(x.xcb());
    xcb_create_window(x.xcb(), XCB_COPY_FROM_PARENT, manager, x.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(x.xcb(), manager, x.atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    x.roundTrip();
    clickIcon();
    ASSERT_TRUE(waitUntilPanel(true));
    EXPECT_FALSE(isCut());
    // It may end while the panel is hidden.
    xdotool({"key", "Escape"});
    ASSERT_TRUE(waitUntilPanel(false));
    xcb_destroy_window(x.xcb(), manager);
    x.roundTrip();
    clickIcon();
    ASSERT_TRUE(waitUntilPanel(true));
    EXPECT_TRUE(isCut());
}

TEST_F(PanelDesktopTest, ClickOnAnotherWindowClosesIt) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    clickAt(700, 500);
    EXPECT_TRUE(waitUntilPanel(false));
}

TEST_F(PanelDesktopTest, ClickOnTheBareDesktopClosesIt) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    clickAt(60, 960);
    EXPECT_TRUE(waitUntilPanel(false));
}

TEST_F(PanelDesktopTest, ClickThatGivesNobodyTheKeyboardClosesItToo) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    // Bars and docks take clicks and leave the keyboard where it is.
    auto& x = desktop.link();
    const auto bar = xcb_generate_id(x.xcb());
    // Its own presses: what nobody takes goes on to the desktop behind it.
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(x.xcb(), XCB_COPY_FROM_PARENT, bar, x.root(), 100, 800, 200, 40, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(x.xcb(), bar);
    x.roundTrip();
    clickAt(150, 820);
    EXPECT_TRUE(waitUntilPanel(false));
}

TEST_F(PanelDesktopTest, ADoubleClickOnTheIconOpensItAndLeavesItOpen) {
    startTray();
    startEditor();
    const auto program = startProgram();
    ASSERT_TRUE(waitForIcon());
    const auto box = boxOf(*icon());
    ASSERT_TRUE(box);
    xdotool({"mousemove", std::to_string(box->middle()), std::to_string(box->y + box->height / 2),
             "click", "--repeat", "2", "--delay", "120", "1"});
    EXPECT_TRUE(waitUntilPanel(true));
    // A click of its own closes it, and nothing did before.
    expectClosedOnlyBy([&] { clickIcon(Spot::Left); });
}

TEST_F(PanelDesktopTest, TheWheelOverAnotherWindowLeavesItOpen) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    for (const int button : {4, 5, 6, 7}) clickAt(700, 500, button);
    expectClosedOnlyBy([&] { clickAt(700, 500); });
}

TEST_F(PanelDesktopTest, ClickInsideLeavesItOpen) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    clickAt(1400, 60);
    expectClosedOnlyBy([&] { clickAt(700, 500); });
}

TEST_F(PanelDesktopTest, WithoutATrayItStaysAndASecondStartOpensThePanel) {
    startEditor();
    Program first({KELVANE_PRODUCT}, environment());
    ASSERT_TRUE(waitUntilRunning());
    EXPECT_FALSE(panelStands());
    EXPECT_FALSE(first.waitForEnd(0ms).has_value());
    Program second({KELVANE_PRODUCT}, environment());
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
}

TEST_F(PanelDesktopTest, ATrayThatComesLateIsPickedUp) {
    Program program({KELVANE_PRODUCT}, environment());
    ASSERT_TRUE(waitUntilRunning());
    startTray();
    EXPECT_TRUE(waitForIcon());
    clickIcon();
    EXPECT_TRUE(waitUntilPanel(true));
}

TEST_F(PanelDesktopTest, SignalsEndItCleanly) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Program program({KELVANE_PRODUCT}, environment());
        ASSERT_TRUE(waitUntilRunning());
        program.signal(number);
        EXPECT_EQ(program.waitForEnd(), 0) << number;
    }
}

TEST_F(PanelDesktopTest, TheEndOfTheDisplayEndsItWithoutACrash) {
    Program program({KELVANE_PRODUCT}, environment());
    ASSERT_TRUE(waitUntilRunning());
    desktop.killServer();
    const auto status = program.waitForEnd();
    ASSERT_TRUE(status.has_value());
    EXPECT_LT(*status, 128) << "ended by a signal";
}

TEST_F(PanelDesktopTest, DemoPrintsTheNumberOfTheWindowThatStandsAndEndsWithIt) {
    Program program({KELVANE_PRODUCT, "--demo"}, environment());
    const auto line = program.readUntil("\n");
    ASSERT_TRUE(line && line->starts_with("WINDOW_ID="));
    const auto number = static_cast<xcb_window_t>(std::stoul(line->substr(10)));
    const auto window = desktop.waitForWindow(
        [&](const DesktopWindow& candidate) { return candidate.window == number; });
    ASSERT_TRUE(window) << "no such window: " << *line;
    EXPECT_EQ(window->title, "Kelvane Companion");
    const auto geometry = XcbOwned<xcb_get_geometry_reply_t>(xcb_get_geometry_reply(
        desktop.link().xcb(), xcb_get_geometry(desktop.link().xcb(), number), nullptr));
    ASSERT_TRUE(geometry);
    EXPECT_EQ(geometry->width, 360);
    EXPECT_EQ(geometry->height, 560);
    desktop.close(number);
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_EQ(restOf(program), "") << "one line and no more";
}

TEST_F(PanelDesktopTest, PictureNeedsNoDisplayAndIsAsWideAsPromised) {
    const auto path = desktop.home() / "panel.png";
    const std::map<std::string, std::string> bare{{"HOME", desktop.home().string()},
                                                  {"PATH", desktop.environment().at("PATH")}};
    Program program({KELVANE_PRODUCT, "--render", path.string()}, bare);
    const auto line = program.readUntil("\n");
    EXPECT_EQ(program.waitForEnd(), 0);
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->starts_with("rendered -> " + path.string() + " (720x")) << *line;
    std::ifstream file(path, std::ios::binary);
    std::array<unsigned char, 24> head{};
    file.read(reinterpret_cast<char*>(head.data()), head.size());
    EXPECT_EQ(std::string(head.begin(), head.begin() + 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(head[18] << 8 | head[19], 720);
}

TEST_F(PanelDesktopTest, PictureGoesIntoAPipe) {
    const auto pipe = desktop.home() / "pipe";
    const auto copy = desktop.home() / "copy.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRWXU), 0);
    const pid_t drain =
        desktop.start({"sh", "-c", "exec cat " + pipe.string() + " > " + copy.string()});
    Program program({KELVANE_PRODUCT, "--render", pipe.string()}, environment());
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.running(drain); }));
    EXPECT_GT(std::filesystem::file_size(copy), 10'000U);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(PanelDesktopTest, PictureIntoAMissingFolderEndsWithThreeAndLeavesNothing) {
    const auto path = desktop.home() / "missing" / "panel.png";
    Program program({KELVANE_PRODUCT, "--render", path.string(), "--demo"}, environment());
    EXPECT_EQ(program.waitForEnd(), 3);
    EXPECT_EQ(restOf(program), "");
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
}

} // namespace
} // namespace kelvane
