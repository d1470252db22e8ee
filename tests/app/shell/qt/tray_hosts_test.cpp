// Trays of both kinds, bars at other edges, other screens: where the icon is and what it offers.

#include "tests/app/shell/qt/panel_desktop.h"

namespace kelvane {
namespace {

class TrayHostsTest : public PanelDesktop {
protected:
    /// What a program on this desktop prints, however it ends.
    std::string printed(std::vector<std::string> words) {
        words.insert(words.begin(), "/usr/bin/env");
        Program program(words, desktop.environment());
        return restOf(program);
    }

    /// A bar that speaks StatusNotifierItem, with nothing in it but its tray.
    void startXfcePanel() {
        const auto folder = desktop.home() / ".config/xfce4/xfconf/xfce-perchannel-xml";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "xfce4-panel.xml") << R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=2;x=0;y=0"/>
      <property name="length" type="uint" value="1"/>
      <property name="length-adjust" type="bool" value="true"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";
        desktop.start({"xfce4-panel", "--disable-wm-check"});
        ASSERT_TRUE(desktop.waitForWindow(VirtualDesktop::ofClass("Xfce4-panel")));
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
            return call({"org.freedesktop.DBus", "--object-path", "/", "--method",
                         "org.freedesktop.DBus.NameHasOwner", "org.kde.StatusNotifierWatcher"})
                       .find("true") != std::string::npos;
        }));
    }

    std::string call(std::vector<std::string> words) {
        words.insert(words.begin(), {"gdbus", "call", "--session", "--timeout", "5", "--dest"});
        return printed(std::move(words));
    }

    /// Waits until the bar has taken an item: the program's, the only one here.
    bool waitForNotifier() {
        return VirtualDesktop::waitUntil([&] {
            // Like "(<[':1.9/StatusNotifierItem']>,)".
            const auto items =
                call({"org.kde.StatusNotifierWatcher", "--object-path", "/StatusNotifierWatcher",
                      "--method", "org.freedesktop.DBus.Properties.Get",
                      "org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems"});
            const auto begin = items.find(':');
            const auto end = items.find("/StatusNotifierItem");
            if (begin == std::string::npos || end == std::string::npos) return false;
            notifier = items.substr(begin, end - begin);
            return true;
        });
    }

    std::string property(const std::string& name) {
        return call({notifier, "--object-path", "/StatusNotifierItem", "--method",
                     "org.freedesktop.DBus.Properties.Get", "org.kde.StatusNotifierItem", name});
    }

    Box barBox() {
        const auto bar = desktop.waitForWindow(VirtualDesktop::ofClass("Xfce4-panel"));
        EXPECT_TRUE(bar);
        return bar ? boxOf(bar->window).value_or(Box{}) : Box{};
    }

    std::string notifier; ///< The item's name on the bus.
};

TEST_F(TrayHostsTest, NotifierBarShowsTheItemAndAClickOpensThePanelAtThePointer) {
    startXfcePanel();
    startEditor();
    const auto program = startProgram();
    ASSERT_TRUE(waitForNotifier());
    EXPECT_NE(property("ToolTip").find("Kelvane — grade your work in any app"), std::string::npos);
    EXPECT_NE(property("Id").find(kProgramClass), std::string::npos);
    // The bar grows around the icon, which may take it more than one step.
    Box bar;
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        bar = barBox();
        if (bar.width < 24) return false;
        clickAt(bar.middle(), bar.y + bar.height / 2);
        return VirtualDesktop::waitUntil([&] { return panelStands(); }, 2s);
    }));
    EXPECT_TRUE(waitUntilShown("You're in Mousepad")) << testing::PrintToString(shown());
    const auto panel = panelBox();
    EXPECT_GE(panel.y, bar.bottom()) << "below the bar";
    EXPECT_LE(panel.y, bar.bottom() + 20);
    EXPECT_LE(panel.right(), 1600);
    const auto before = count("shown");
    clickAt(bar.middle() - 9, bar.y + bar.height / 2);
    EXPECT_TRUE(waitUntilPanel(false));
    clickAt(bar.middle() + 9, bar.y + bar.height / 2);
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_EQ(count("shown"), before + 1) << "the click that closed it must not open it again";
}

TEST_F(TrayHostsTest, NotifierBarThatComesLateShowsTheIcon) {
    const auto program = startProgram();
    ASSERT_TRUE(waitUntilRunning());
    startXfcePanel();
    // The bar takes icons of the embedding kind as well, and gets one of those now.
    EXPECT_TRUE(waitForIcon());
    // It stands in its place once the bar has grown around it.
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        const auto window = icon();
        const auto box = window ? boxOf(*window) : std::nullopt;
        if (!box) return false;
        clickAt(box->middle(), box->y + box->height / 2);
        return VirtualDesktop::waitUntil([&] { return panelStands(); }, 2s);
    }));
}

TEST_F(TrayHostsTest, NotifierBarIsGivenPicturesForEveryDensityAndTheMenu) {
    startXfcePanel();
    const auto program = startProgram();
    ASSERT_TRUE(waitForNotifier());
    const auto pictures = property("IconPixmap");
    for (const std::string size : {"(18, 18, ", "(36, 36, "}) {
        EXPECT_NE(pictures.find(size), std::string::npos) << pictures.substr(0, 200);
    }
    const auto menu = call({notifier, "--object-path", "/MenuBar", "--method",
                            "com.canonical.dbusmenu.GetLayout", "--", "0", "-1", "[]"});
    const auto open = menu.find("'Open'");
    const auto quit = menu.find("'Quit'");
    ASSERT_NE(open, std::string::npos) << menu;
    ASSERT_NE(quit, std::string::npos) << menu;
    EXPECT_LT(open, quit);
}

TEST_F(TrayHostsTest, BarAtTheLowerEdgeHasThePanelAboveIt) {
    const auto file = desktop.home() / "tint2rc";
    std::ofstream(file) << "panel_items = S\npanel_size = 200 30\npanel_position = bottom right\n"
                           "systray_icon_size = 22\n";
    desktop.start({"tint2", "-c", file.string()});
    waitForTray();
    startEditor();
    const auto program = startAndOpen();
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
    const auto panel = panelBox();
    EXPECT_LE(panel.bottom(), 972) << "above the bar";
    EXPECT_GE(panel.bottom(), 950);
    EXPECT_LE(panel.right(), 1600);
}

TEST_F(TrayHostsTest, PanelGrowsAwayFromABarAtTheLowerEdge) {
    startTray("bottom");
    startEditor();
    const auto program = startAndOpen();
    const auto panel = panelBox();
    EXPECT_LE(panel.bottom(), 1000 - 26);
    EXPECT_GE(panel.bottom(), 1000 - 45);
}

TEST_F(TrayHostsTest, OtherMouseButtonOpensAMenuThatOpensThePanel) {
    startTray();
    startEditor();
    const auto program = startProgram();
    ASSERT_TRUE(waitForIcon());
    clickIcon(Spot::Middle, 3);
    ASSERT_TRUE(waitForMenu());
    xdotool({"key", "Down", "Return"});
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_EQ(count("shown"), 1U) << "the menu and nothing else";
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
}

TEST_F(TrayHostsTest, OtherMouseButtonOpensAMenuThatQuits) {
    startTray();
    const auto program = startProgram();
    ASSERT_TRUE(waitForIcon());
    clickIcon(Spot::Middle, 3);
    ASSERT_TRUE(waitForMenu());
    xdotool({"key", "Up", "Return"});
    EXPECT_EQ(program->waitForEnd(), 0);
    EXPECT_FALSE(icon());
}

TEST_F(TrayHostsTest, PointerThatRestsOnTheIconBringsTheToolTip) {
    startTray();
    const auto program = startProgram();
    ASSERT_TRUE(waitForIcon());
    auto& x = desktop.link();
    const auto tips = [&] {
        const auto popups = ownPopups();
        return std::ranges::count_if(popups, [&](xcb_window_t popup) {
            const auto kind = x.property(popup, x.atom("_NET_WM_WINDOW_TYPE"));
            const auto words = kind ? kind->words() : std::vector<std::uint32_t>{};
            return std::ranges::find(words, x.atom("_NET_WM_WINDOW_TYPE_TOOLTIP")) != words.end();
        });
    };
    EXPECT_EQ(tips(), 0);
    const auto box = boxOf(*icon());
    ASSERT_TRUE(box);
    xdotool({"mousemove", std::to_string(box->middle() - 3), std::to_string(box->y + 10)});
    xdotool({"mousemove", std::to_string(box->middle()), std::to_string(box->y + 12)});
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return tips() == 1; }));
}

TEST_F(TrayHostsTest, OnTwoMonitorsThePanelStaysOnTheOneWithTheIcon) {
    // One screen of the server, told to be two monitors: the left one holds the bar.
    for (const std::string& monitor :
         {std::string("left 700/185x1000/265+0+0"), std::string("right 900/238x1000/265+700+0")}) {
        const auto cut = monitor.find(' ');
        (void)printed({"xrandr", "--setmonitor", monitor.substr(0, cut), monitor.substr(cut + 1),
                       cut == 4 ? "screen" : "none"});
    }
    desktop.start({"trayer", "--edge", "top", "--align", "left", "--widthtype", "request",
                   "--height", "28", "--margin", "670", "--distance", "0"});
    waitForTray();
    const auto program = startAndOpen();
    const auto box = boxOf(*icon());
    ASSERT_TRUE(box);
    ASSERT_LT(box->right(), 700) << "on the left monitor, at its right edge";
    const auto panel = panelBox();
    EXPECT_LE(panel.right(), 700) << "not across the edge between the two";
    EXPECT_GE(panel.right(), 680);
}

TEST_F(TrayHostsTest, AtTwiceTheDensityThePanelIsTwiceAsLargeAndWhereItBelongs) {
    startTray();
    startEditor();
    const auto program = startAndOpen({{"QT_SCALE_FACTOR", "2"}});
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
    const auto panel = panelBox();
    EXPECT_EQ(panel.width, 720);
    EXPECT_GT(panel.height, 500);
    EXPECT_GE(panel.y, 26) << "below the bar";
    EXPECT_LE(panel.y, 50);
    EXPECT_LE(panel.right(), 1600);
    clickAt(60, 960);
    EXPECT_TRUE(waitUntilPanel(false));
    // Where the trace says that a control is, the pointer finds it: in pixels, not in points.
    const auto frames = count("frame");
    clickIcon();
    ASSERT_TRUE(waitForCount("frame", frames + 1));
    clickControl("Settings");
    ASSERT_TRUE(waitUntilShown("Quit"));
    clickControl("Quit");
    EXPECT_EQ(program->waitForEnd(), 0);
}

} // namespace
} // namespace kelvane
