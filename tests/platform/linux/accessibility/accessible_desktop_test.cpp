// What real programs tell assistive technology, and what they must not be made to do.

#include "platform/linux/accessibility/accessible_desktop.h"

#include "platform/fake/fake_clock.h"
#include "platform/linux/accessibility/accessibility_switch.h"
#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/desktop_files.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

class Focus : public OwnFocus {
public:
    bool held = false;
    bool isHeld() override { return held; }
};

class AccessibleDesktopTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_desktop = std::make_unique<VirtualDesktop>(); }
    static void TearDownTestSuite() { s_desktop.reset(); }
    [[nodiscard]] static VirtualDesktop& desktop() { return *s_desktop; }

    void TearDown() override {
        for (const auto program : programs) {
            ::kill(program, SIGCONT);
            desktop().end(program);
        }
        VirtualDesktop::waitUntil([] { return s_desktop->windows().empty(); });
    }

    /// Starts a program that shows itself to assistive technology and waits for its window, which
    /// has the focus then.
    pid_t open(const std::vector<std::string>& command, const VirtualDesktop::Predicate& wanted) {
        programs.push_back(desktop().start(command, {{"NO_AT_BRIDGE", "0"},
                                                     {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"},
                                                     {"GTK_A11Y", "atspi"},
                                                     {"SAL_USE_VCLPLUGIN", "gtk3"}}));
        const auto window = desktop().waitForWindow(wanted);
        EXPECT_TRUE(window) << "no window of " << command.front();
        if (window) {
            EXPECT_TRUE(desktop().activate(window->window));
            last = window->window;
        }
        return programs.back();
    }

    static std::string file(const std::string& name, const std::string& content) {
        const auto path = desktop().home() / name;
        std::ofstream(path) << content;
        return path.string();
    }

    static void key(const std::string& keys) {
        const auto command = "DISPLAY=" + desktop().display() + " timeout 10 xdotool key " + keys;
        EXPECT_EQ(std::system(command.c_str()), 0);
        EXPECT_TRUE(desktop().hasDealtWithEverything(desktop().activeWindow()));
    }

    /// A busy machine may have let a healthy program pass a round: ask again as if later.
    bool waitUntil(const std::function<bool()>& holds) {
        return VirtualDesktop::waitUntil(
            [&] {
                clock.time += accessible::kForgotten;
                return holds();
            },
            60s);
    }
    bool waitForFront(const std::string& id) {
        return waitUntil([&] {
            const auto front = seen->front();
            told = front ? front->app.bundleId.value_or("") : "nobody";
            return told == id;
        });
    }
    /// Selects everything and waits until that is told.
    std::optional<std::string> selection(const std::string& wanted) {
        std::optional<std::string> text;
        waitUntil([&] {
            key("ctrl+a");
            const auto front = seen->front();
            text = front ? seen->selectedText(front->app.pid) : std::nullopt;
            return text == wanted;
        });
        return text;
    }

    Journal journal;
    FakeClock clock{journal};
    Focus focus;
    std::shared_ptr<DesktopFiles> files =
        std::make_shared<DesktopFiles>(std::vector<std::filesystem::path>{"/usr/share"}, "", clock);
    std::shared_ptr<AccessibleDesktop> seen = openAccessibleDesktop(
        {.session = desktop().environment().at("DBUS_SESSION_BUS_ADDRESS"), .accessibility = {}},
        [files = files] { return files->index(); }, clock, focus);
    std::vector<pid_t> programs;
    xcb_window_t last = 0;
    std::string told;

private:
    inline static std::unique_ptr<VirtualDesktop> s_desktop;
};

constexpr auto kDocument = "First line\nZweite Zeile: grüße 😀";

TEST_F(AccessibleDesktopTest, TellsWhoIsInFrontAndWhatIsSelectedInGtk3) {
    const auto program = open({"mousepad", "--disable-server", file("three.txt", kDocument)},
                              VirtualDesktop::ofClass("Mousepad"));
    ASSERT_TRUE(waitForFront("org.xfce.mousepad")) << told;
    EXPECT_EQ(seen->front()->process, program);
    EXPECT_EQ(selection(kDocument), kDocument);
    EXPECT_EQ(seen->selectedText(seen->front()->app.pid + 1), std::nullopt) << "of another one";
}

TEST_F(AccessibleDesktopTest, TellsWhatIsSelectedInGtk4) {
    open({"gnome-text-editor", "--standalone", file("four.txt", kDocument)},
         [](const DesktopWindow& window) {
             return window.title.find("four.txt") != std::string::npos;
         });
    ASSERT_TRUE(waitForFront("org.gnome.TextEditor")) << told;
    EXPECT_EQ(selection(kDocument), kDocument);
}

TEST_F(AccessibleDesktopTest, TellsWhatIsSelectedInQt) {
    open({"featherpad", "--standalone", file("qt.txt", kDocument)},
         [](const DesktopWindow& window) {
             return window.title.find("qt.txt") != std::string::npos;
         });
    ASSERT_TRUE(waitForFront("featherpad")) << told;
    EXPECT_EQ(selection(kDocument), kDocument);
}

TEST_F(AccessibleDesktopTest, ThePasswordInAGtk4EntryIsNoSelection) {
    const auto script = file("entry.js", R"(imports.gi.versions.Gtk = '4.0';
const { Gtk, GLib } = imports.gi;
Gtk.init();
const secret = ARGV[0] === 'password';
const entry = secret ? new Gtk.PasswordEntry() : new Gtk.Entry();
entry.set_text('hunter2secret');
const window = new Gtk.Window({ title: 'entry ' + ARGV[0], child: entry });
window.present();
entry.grab_focus();
entry.select_region(0, -1);
new GLib.MainLoop(null, false).run();
)");
    const auto entry = [&](const std::string& kind) {
        open({"gjs", script, kind},
             [&](const DesktopWindow& window) { return window.title == "entry " + kind; });
    };
    const auto read = [&](const std::string& kind) {
        EXPECT_TRUE(waitUntil([&] {
            const auto front = seen->front();
            return front && front->process == programs.back();
        })) << kind;
        clock.time += accessible::kForgotten;
        const auto front = seen->front();
        return front ? seen->selectedText(front->app.pid) : std::nullopt;
    };
    entry("plain");
    // The same entry without the secret is read: that it is not is the password's doing.
    EXPECT_TRUE(waitUntil([&] { return read("plain") == "hunter2secret"; }))
        << read("plain").value_or("nothing");
    entry("password");
    for (int i = 0; i < 5; ++i) EXPECT_EQ(read("password"), std::nullopt);
}

TEST_F(AccessibleDesktopTest, AProgramThatStandsStillIsWaitedForOnceAndThenLeftAlone) {
    const auto still = open({"mousepad", "--disable-server"}, VirtualDesktop::ofClass("Mousepad"));
    ASSERT_TRUE(waitForFront("org.xfce.mousepad"));
    open({"featherpad", "--standalone"}, VirtualDesktop::ofClass("FeatherPad"));
    ASSERT_TRUE(waitForFront("featherpad"));
    const auto all = seen->windows().size();
    ASSERT_GE(all, 2U);

    ::kill(still, SIGSTOP);
    const auto timeOf = [&] {
        const auto begin = std::chrono::steady_clock::now();
        (void)seen->windows();
        return std::chrono::steady_clock::now() - begin;
    };
    clock.time += accessible::kForgotten;
    // Waiting for it is not what takes the time, whatever the machine is busy with: the round does.
    EXPECT_GE(timeOf(), accessible::kRound);
    const auto quickest = std::min({timeOf(), timeOf(), timeOf(), timeOf(), timeOf()});
    EXPECT_LT(quickest, accessible::kRound) << "it was asked again";
    EXPECT_EQ(seen->windows().size(), all - 1);

    ::kill(still, SIGCONT);
    EXPECT_TRUE(waitUntil([&] { return seen->windows().size() == all; }));
}

TEST_F(AccessibleDesktopTest, ASpreadsheetIsNamedByItsTitleAndNotLookedInto) {
    const auto home = desktop().home() / "office";
    open({"soffice", "-env:UserInstallation=file://" + home.string(), "--norestore", "--nologo",
          "--calc"},
         [](const DesktopWindow& window) {
             return window.title.find("LibreOffice Calc") != std::string::npos;
         });
    ASSERT_TRUE(waitForFront("libreoffice-calc")) << told;
    key("ctrl+a");
    EXPECT_EQ(seen->selectedText(seen->front()->app.pid), std::nullopt);
    // Asked for its cells it would be busy for most of a minute: it still answers.
    EXPECT_TRUE(desktop().hasDealtWithEverything(last));
    EXPECT_TRUE(waitForFront("libreoffice-calc"));
}

TEST_F(AccessibleDesktopTest, FirefoxTellsOnceTheSettingIsOnAndItsPiecesAreJoined) {
    const auto setting =
        makeAccessibilitySwitch(desktop().environment().at("DBUS_SESSION_BUS_ADDRESS"));
    // Somebody has to be there to ask: any program of GTK's brings the bus up.
    open({"mousepad", "--disable-server"}, VirtualDesktop::ofClass("Mousepad"));
    ASSERT_TRUE(waitForFront("org.xfce.mousepad")) << told;
    EXPECT_EQ(setting->isOn(), false);
    ASSERT_TRUE(setting->set(true));
    EXPECT_EQ(setting->isOn(), true);

    const auto profile = desktop().home() / "profile";
    std::filesystem::create_directories(profile);
    const auto page = file("page.html", "<title>A page of ours</title><p>The first one.</p>"
                                        "<p>See <a href='#'>the second</a> too.</p>");
    open({"firefox-esr", "--no-remote", "--profile", profile.string(), "file://" + page},
         [](const DesktopWindow& window) {
             return window.title.find("A page of ours") != std::string::npos;
         });
    ASSERT_TRUE(waitForFront("firefox-esr")) << told;
    EXPECT_EQ(selection("The first one.\nSee the second too."),
              "The first one.\nSee the second too.");
    EXPECT_TRUE(setting->set(false));
    EXPECT_EQ(setting->isOn(), false);
}

TEST_F(AccessibleDesktopTest, BehindTheProgramsOwnWindowIsTheOneThatWasInFront) {
    open({"mousepad", "--disable-server"}, VirtualDesktop::ofClass("Mousepad"));
    ASSERT_TRUE(waitForFront("org.xfce.mousepad"));
    // A terminal tells assistive technology nothing: to it nobody is in front.
    programs.push_back(desktop().start({"xterm"}));
    const auto other = desktop().waitForWindow(VirtualDesktop::ofClass("XTerm"));
    ASSERT_TRUE(other);
    ASSERT_TRUE(desktop().activate(other->window));
    focus.held = true;
    ASSERT_TRUE(waitForFront("org.xfce.mousepad")) << "ours has the keyboard, says the toolkit";
    focus.held = false;
    EXPECT_TRUE(waitForFront("nobody"));
    focus.held = true;
    EXPECT_TRUE(waitForFront("nobody")) << "it was not the last one any more";
}

TEST(AccessibleDesktop, WithoutABusEverythingIsAbsent) {
    Journal journal;
    FakeClock clock{journal};
    NoOwnFocus focus;
    auto index = std::make_shared<const DesktopEntryIndex>(std::vector<DesktopEntry>{});
    for (const std::string address : {"", "unix:path=/nowhere/bus"}) {
        const auto seen = openAccessibleDesktop(
            {.session = address, .accessibility = {}}, [index] { return index; }, clock, focus);
        EXPECT_FALSE(seen->isThere());
        EXPECT_FALSE(seen->front());
        EXPECT_TRUE(seen->windows().empty());
        EXPECT_FALSE(seen->selectedText(1));
        const auto ports = makeAccessiblePorts(seen);
        EXPECT_FALSE(ports.keyboard->trusted());
        EXPECT_FALSE(ports.workspace->frontmost());
        EXPECT_FALSE(ports.workspace->activate(1));
    }
}

} // namespace
} // namespace kelvane
