// The built program on a real desktop: a window manager, a bar with a tray, an editor.

#include "tests/desktop/virtual_desktop.h"
#include "tests/journey/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <fstream>
#include <signal.h>
#include <sys/wait.h>
#include <thread>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr const char* kClass = "example.trevix.kelvane.menubar";

class PanelDesktopTest : public testing::Test {
protected:
    void SetUp() override {
        trace = desktop.home() / "trace.jsonl";
        std::filesystem::create_directories(desktop.home() / ".brask");
        std::ofstream(desktop.home() / ".brask" / "validate.py") << "#\n";
    }

    std::map<std::string, std::string> environment() const {
        auto variables = desktop.environment();
        variables["BRASK_APP_NO_PERSIST"] = "1";
        variables["BRASK_APP_NO_OPEN"] = "1";
        variables["BRASK_API_BASE"] = "http://127.0.0.1:9";
        variables["KELVANE_PANEL_TRACE"] = trace.string();
        return variables;
    }

    void startTray() {
        tray = desktop.start({"trayer", "--edge", "top", "--align", "right", "--widthtype",
                              "request", "--height", "28"});
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
            const auto owner = xcb_get_selection_owner_reply(
                desktop.link().xcb(),
                xcb_get_selection_owner(desktop.link().xcb(),
                                        desktop.link().atom("_NET_SYSTEM_TRAY_S0")),
                nullptr);
            return XcbOwned<xcb_get_selection_owner_reply_t>(owner)->owner != XCB_WINDOW_NONE;
        }));
    }

    DesktopWindow startEditor() {
        desktop.start({"mousepad", "--disable-server"});
        auto window = desktop.waitForWindow(VirtualDesktop::ofClass("Mousepad"));
        EXPECT_TRUE(window && desktop.activate(window->window));
        return window.value_or(DesktopWindow{});
    }

    std::vector<json> traced() const {
        std::vector<json> lines;
        std::ifstream file(trace);
        for (std::string line; std::getline(file, line);) {
            if (auto parsed = json::parse(line, nullptr, false); !parsed.is_discarded()) {
                lines.push_back(std::move(parsed));
            }
        }
        return lines;
    }

    std::size_t count(const std::string& event) const {
        std::size_t n = 0;
        for (const auto& line : traced()) n += line["event"] == event ? 1U : 0U;
        return n;
    }

    bool waitForCount(const std::string& event, std::size_t n) const {
        return VirtualDesktop::waitUntil([&] { return count(event) >= n; });
    }

    /// What the last drawn frame shows.
    std::vector<std::string> shown() const {
        std::vector<std::string> names;
        const auto lines = traced();
        for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
            if ((*line)["event"] != "frame") continue;
            for (const auto& control : (*line)["controls"]) names.push_back(control["name"]);
            break;
        }
        return names;
    }

    bool waitUntilShown(const std::string& name) const {
        return VirtualDesktop::waitUntil([&] {
            const auto names = shown();
            return std::find(names.begin(), names.end(), name) != names.end();
        });
    }

    void xdotool(std::vector<std::string> words) {
        words.insert(words.begin(), "xdotool");
        const pid_t tool = desktop.start(words);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.running(tool); }));
    }

    void clickAt(int x, int y) {
        xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", "1"});
    }

    /// The tray is one icon at the right end of the upper edge.
    void clickIcon() { clickAt(1589, 14); }

    /// Longer than one click takes.
    static void pause() { std::this_thread::sleep_for(600ms); }

    bool panelStands() {
        for (const auto& window : desktop.windows()) {
            if (window.wmClass == kClass) return true;
        }
        return false;
    }
    bool waitUntilPanel(bool stands) {
        return VirtualDesktop::waitUntil([&] { return panelStands() == stands; }, 5s);
    }

    /// Whether the tray shows our icon. A click before that would land on the bare desktop.
    bool iconStands(xcb_window_t below = XCB_WINDOW_NONE, int depth = 0) {
        auto& x = desktop.link();
        const auto root = below == XCB_WINDOW_NONE ? x.root() : below;
        const XcbOwned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(x.xcb(), xcb_query_tree(x.xcb(), root), nullptr));
        if (!tree) return false;
        const auto* const children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const auto name = x.property(children[i], XCB_ATOM_WM_CLASS);
            const XcbOwned<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
                x.xcb(), xcb_get_window_attributes(x.xcb(), children[i]), nullptr));
            const bool ours = depth > 0 && name && name->bytes.find(kClass) != std::string::npos;
            if (ours && state && state->map_state == XCB_MAP_STATE_VIEWABLE) return true;
            if (depth < 4 && iconStands(children[i], depth + 1)) return true;
        }
        return false;
    }

    /// Starts the program and opens the panel by a click on its icon; the panel has the keyboard.
    std::unique_ptr<Program> startAndOpen() {
        auto program =
            std::make_unique<Program>(std::vector<std::string>{KELVANE_PRODUCT}, environment());
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return iconStands(); }));
        clickIcon();
        const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kClass), 5s);
        EXPECT_TRUE(panel && VirtualDesktop::waitUntil(
                                 [&] { return desktop.activeWindow() == panel->window; }));
        EXPECT_TRUE(waitForCount("frame", 1));
        return program;
    }

    VirtualDesktop desktop;
    std::filesystem::path trace;
    pid_t tray = 0;
};

TEST_F(PanelDesktopTest, ClickOpensThePanelUnderTheIconAndSpeaksOfTheEditor) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    EXPECT_TRUE(waitUntilShown("You're in Mousepad")) << testing::PrintToString(shown());
    const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kClass));
    ASSERT_TRUE(panel);
    EXPECT_EQ(desktop.activeWindow(), panel->window) << "the panel has the keyboard at once";
    const auto lines = traced();
    const auto place = lines.back()["window"];
    EXPECT_GE(place[1], 26) << "below the bar";
    EXPECT_LE(place[1], 40);
    EXPECT_LE(place[0].get<int>() + place[2].get<int>(), 1600) << "inside the screen";
    // Ticks and redraws go by with the panel in front: it still speaks of the editor.
    std::this_thread::sleep_for(4500ms);
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
}

TEST_F(PanelDesktopTest, ClickOnTheIconWhileShownClosesItAndTheNextOneOpensIt) {
    startTray();
    const auto editor = startEditor();
    const auto program = startAndOpen();
    pause();
    clickIcon();
    EXPECT_TRUE(waitUntilPanel(false));
    pause();
    EXPECT_FALSE(panelStands()) << "the same click must not open it again";
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.activeWindow() == editor.window; }));
    clickIcon();
    EXPECT_TRUE(waitUntilPanel(true));
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

TEST_F(PanelDesktopTest, ClickInsideLeavesItOpen) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    clickAt(1400, 60);
    pause();
    EXPECT_TRUE(panelStands());
}

TEST_F(PanelDesktopTest, WithoutATrayItStaysAndASecondStartOpensThePanel) {
    startEditor();
    Program first({KELVANE_PRODUCT}, environment());
    std::this_thread::sleep_for(800ms);
    EXPECT_FALSE(panelStands());
    EXPECT_FALSE(first.waitForEnd(0ms).has_value());
    Program second({KELVANE_PRODUCT}, environment());
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
}

TEST_F(PanelDesktopTest, ATrayThatComesLateIsPickedUp) {
    Program program({KELVANE_PRODUCT}, environment());
    std::this_thread::sleep_for(500ms);
    startTray();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return iconStands(); }));
    clickIcon();
    EXPECT_TRUE(waitUntilPanel(true));
}

TEST_F(PanelDesktopTest, SignalsEndItCleanly) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Program program({KELVANE_PRODUCT}, environment());
        std::this_thread::sleep_for(500ms);
        program.signal(number);
        EXPECT_EQ(program.waitForEnd(), 0) << number;
    }
}

TEST_F(PanelDesktopTest, TheEndOfTheDisplayEndsItWithoutACrash) {
    Program program({KELVANE_PRODUCT}, environment());
    std::this_thread::sleep_for(700ms);
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
    xdotool({"windowactivate", "--sync", std::to_string(number), "key", "alt+F4"});
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_EQ(program.unread(), "") << "one line and no more";
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

TEST_F(PanelDesktopTest, PictureIntoAMissingFolderEndsWithThreeAndLeavesNothing) {
    const auto path = desktop.home() / "missing" / "panel.png";
    Program program({KELVANE_PRODUCT, "--render", path.string(), "--demo"}, environment());
    EXPECT_EQ(program.waitForEnd(), 3);
    EXPECT_EQ(program.unread(), "");
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
}

} // namespace
} // namespace kelvane
