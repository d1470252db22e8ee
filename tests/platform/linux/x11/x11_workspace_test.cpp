#include "tests/platform/linux/x11/x11_desktop_test.h"

#include "platform/linux/rules/window_identity.h"

#include <gmock/gmock.h>

#include <signal.h>

#include <algorithm>
#include <thread>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class X11WorkspaceTest : public X11DesktopTest<X11WorkspaceTest> {
protected:
    std::string frontId(X11Adapters& adapters) {
        const auto front = adapters.workspace->frontmost();
        return front ? front->bundleId.value_or("(no id)") : "(none)";
    }
    /// Waits until this application is in front and returns what is then.
    std::string frontWhenItIs(X11Adapters& adapters, const std::string& id) {
        VirtualDesktop::waitUntil([&] { return frontId(adapters) == id; });
        return frontId(adapters);
    }
    std::vector<std::string> runningIds(X11Adapters& adapters) {
        std::vector<std::string> ids;
        for (const auto& app : adapters.workspace->runningApplications()) {
            ids.push_back(app.bundleId.value_or("(no id)"));
        }
        return ids;
    }
};

TEST_F(X11WorkspaceTest, nobodyIsInFrontOfAnEmptyDesktop) {
    X11Adapters adapters(desktop());
    EXPECT_EQ(adapters.workspace->frontmost(), std::nullopt);
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_FALSE(adapters.workspace->activate(1));
}

TEST_F(X11WorkspaceTest, namesRealProgramsOfEveryToolkit) {
    X11Adapters adapters(desktop());
    const auto mousepad = open({"mousepad", "--disable-server"}, "Mousepad");
    const auto mousepadPid = lastProgram();
    EXPECT_EQ(frontWhenItIs(adapters, "org.xfce.mousepad"), "org.xfce.mousepad");
    EXPECT_EQ(adapters.workspace->frontmost(),
              (RunningApp{"org.xfce.mousepad", "Mousepad",
                          processIdOf(mousepadPid, "org.xfce.mousepad")}));
    open({"featherpad", "--standalone"}, "FeatherPad");
    EXPECT_EQ(frontWhenItIs(adapters, "featherpad"), "featherpad");
    open({"xterm", "-e", "sleep", "600"}, "XTerm");
    EXPECT_EQ(frontWhenItIs(adapters, "debian-xterm"), "debian-xterm");
    EXPECT_THAT(runningIds(adapters),
                ElementsAre("org.xfce.mousepad", "featherpad", "debian-xterm"));

    ASSERT_TRUE(desktop().activate(mousepad));
    EXPECT_EQ(frontId(adapters), "org.xfce.mousepad");
    EXPECT_THAT(runningIds(adapters),
                ElementsAre("org.xfce.mousepad", "featherpad", "debian-xterm"))
        << "the order does not follow the focus";
}

TEST_F(X11WorkspaceTest, tellsInstancesOfOneProgramApartAndListsEachOnce) {
    X11Adapters adapters(desktop());
    open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto first = lastProgram();
    open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto second = lastProgram();
    const auto one = paint({.wmClass = "Twice"});
    const auto two = paint({.x = 400, .wmClass = "Twice"});
    const auto running = adapters.workspace->runningApplications();
    ASSERT_EQ(running.size(), 3U);
    EXPECT_EQ(running[0].pid, processIdOf(first, "debian-xterm"));
    EXPECT_EQ(running[1].pid, processIdOf(second, "debian-xterm"));
    EXPECT_EQ(running[2].pid, processIdOf(::getpid(), "wmclass:twice"));
    EXPECT_EQ(runningApplications(*adapters.workspace, "debian-xterm").size(), 2U);
}

TEST_F(X11WorkspaceTest, oneProcessMayHostSeveralApplications) {
    X11Adapters adapters(desktop());
    adapters.install("suite-text", "Name=Text\nStartupWMClass=suite-text\n");
    adapters.install("suite-sheet", "Name=Sheet\nStartupWMClass=suite-sheet\n");
    const auto text = paint({.instance = "suite", .wmClass = "suite-text"});
    const auto sheet = paint({.x = 400, .instance = "suite", .wmClass = "suite-sheet"});
    const auto running = adapters.workspace->runningApplications();
    ASSERT_EQ(running.size(), 2U);
    EXPECT_EQ(running[0].name, "Text");
    EXPECT_EQ(running[1].name, "Sheet");
    EXPECT_NE(running[0].pid, running[1].pid);

    ASSERT_TRUE(adapters.workspace->activate(running[0].pid));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop().activeWindow() == text->id(); }));
    ASSERT_TRUE(adapters.workspace->activate(running[1].pid));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop().activeWindow() == sheet->id(); }));

    // Its import dialog says only that it is of the suite: the window in front of the rest speaks.
    const auto dialog = paint({.instance = "suite", .wmClass = "Suite"});
    ASSERT_TRUE(desktop().activate(dialog->id()));
    EXPECT_EQ(frontId(adapters), "suite-sheet");
}

TEST_F(X11WorkspaceTest, aDialogBelongsToTheApplicationItIsFor) {
    X11Adapters adapters(desktop());
    // Also when the dialog's own program is an application in its own right.
    adapters.install("portal", "Name=Portal\nStartupWMClass=Portal\n");
    const auto xterm = open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto program = lastProgram();
    const auto dialog = paint({.wmClass = "Portal", .transientFor = xterm});
    ASSERT_TRUE(desktop().activate(dialog->id()));
    EXPECT_EQ(adapters.workspace->frontmost()->pid, processIdOf(program, "debian-xterm"));
    EXPECT_THAT(runningIds(adapters), ElementsAre("debian-xterm"));
}

TEST_F(X11WorkspaceTest, dialogsInACircleEndSomewhere) {
    X11Adapters adapters(desktop());
    const auto one = paint({.wmClass = "Ring"});
    const auto two = paint({.x = 400, .wmClass = "Ring", .transientFor = one->id()});
    one->setTransientFor(two->id());
    const auto three = paint({.x = 700, .wmClass = "Self"});
    three->setTransientFor(three->id());
    const auto four = paint({.y = 400, .wmClass = "Orphan", .transientFor = 0x7FFFFFF});
    EXPECT_THAT(runningIds(adapters),
                ElementsAre("wmclass:ring", "wmclass:self", "wmclass:orphan"));
}

TEST_F(X11WorkspaceTest, aWindowThatSaysNothingIsStillAnApplication) {
    X11Adapters adapters(desktop());
    const auto silent = paint({.instance = "", .wmClass = ""});
    ASSERT_TRUE(desktop().activate(silent->id()));
    const auto front = adapters.workspace->frontmost();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->bundleId, std::nullopt);
    EXPECT_EQ(front->name, std::nullopt);
    EXPECT_EQ(adapters.workspace->runningApplications(), std::vector{*front});
}

TEST_F(X11WorkspaceTest, bringsAMinimisedApplicationBack) {
    X11Adapters adapters(desktop());
    const auto window = paint({.wmClass = "Icon"});
    const auto other = paint({.x = 400, .wmClass = "Other"});
    const auto pid = processIdOf(::getpid(), "wmclass:icon");
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window->id();
    message.type = desktop().link().atom("WM_CHANGE_STATE");
    message.data.data32[0] = 3;
    xcb_send_event(desktop().link().xcb(), 0, desktop().link().root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(desktop().link().xcb());
    const auto minimised = [&] {
        const auto list = adapters.windowList->onScreenWindows();
        return std::none_of(list->begin(), list->end(),
                            [&](const WindowInfo& info) { return info.number == window->id(); });
    };
    ASSERT_TRUE(VirtualDesktop::waitUntil(minimised));
    EXPECT_THAT(runningIds(adapters), ElementsAre("wmclass:icon", "wmclass:other"));
    EXPECT_EQ(adapters.windowPicture->png(window->id()), std::nullopt);

    ASSERT_TRUE(adapters.workspace->activate(pid));
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([&] { return desktop().activeWindow() == window->id(); }));
    EXPECT_FALSE(minimised());
}

TEST_F(X11WorkspaceTest, aProgramThatEndedCannotBeBroughtForward) {
    X11Adapters adapters(desktop());
    open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto program = lastProgram();
    const auto pid = processIdOf(program, "debian-xterm");
    EXPECT_TRUE(adapters.workspace->activate(pid));
    desktop().end(program);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !adapters.workspace->activate(pid); }));
}

TEST(X11WorkspaceAlone, hasNoAnswersWithoutADisplay) {
    const auto workspace = makeX11Workspace(nullptr, "");
    EXPECT_EQ(workspace->frontmost(), std::nullopt);
    EXPECT_THAT(workspace->runningApplications(), IsEmpty());
    EXPECT_FALSE(workspace->activate(1));
    EXPECT_EQ(makeX11WindowList(nullptr)->onScreenWindows(), std::nullopt);
    EXPECT_EQ(makeX11WindowPicture("")->png(1), std::nullopt);
    EXPECT_EQ(makeX11WindowPicture(":64321")->png(1), std::nullopt);
}

TEST(X11WorkspaceAlone, hasNoAnswersWithoutAWindowManager) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    X11Adapters adapters(desktop);
    PaintedWindow window(desktop.display(), {});
    ASSERT_TRUE(window.waitUntilDrawn());
    EXPECT_EQ(adapters.workspace->frontmost(), std::nullopt);
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::nullopt);
    EXPECT_TRUE(adapters.windowPicture->png(window.id())) << "a picture needs no window manager";
}

TEST(X11WorkspaceAlone, doesNotBelieveTheLastWordsOfADeadWindowManager) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    const auto manager = desktop.startWindowManager();
    X11Adapters adapters(desktop);
    PaintedWindow window(desktop.display(), {});
    ASSERT_TRUE(
        VirtualDesktop::waitUntil([&] { return adapters.workspace->frontmost().has_value(); }));
    ASSERT_EQ(::kill(manager, SIGKILL), 0);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !adapters.workspace->frontmost(); }));
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::nullopt);
}

TEST(X11WorkspaceAlone, everythingIsAbsentOnceTheServerDied) {
    VirtualDesktop desktop({.sessionBus = false});
    X11Adapters adapters(desktop);
    auto window = std::make_unique<PaintedWindow>(desktop.display(), PaintedWindowOptions{});
    const auto id = window->id();
    ASSERT_TRUE(
        VirtualDesktop::waitUntil([&] { return adapters.workspace->frontmost().has_value(); }));
    const auto pid = adapters.workspace->frontmost()->pid;

    std::atomic<bool> stop = false;
    std::atomic<int> rounds = 0;
    std::thread asking([&] {
        while (!stop) {
            (void)adapters.workspace->frontmost();
            (void)adapters.workspace->runningApplications();
            (void)adapters.windowList->onScreenWindows();
            (void)adapters.windowPicture->png(id);
            ++rounds;
        }
    });
    const auto asksOn = [&] { // all of them, with the server as it is now
        return VirtualDesktop::waitUntil(
            [&rounds, enough = rounds + 3] { return rounds >= enough; });
    };
    EXPECT_TRUE(asksOn());
    desktop.killServer();
    EXPECT_TRUE(asksOn());
    stop = true;
    asking.join();
    EXPECT_EQ(adapters.workspace->frontmost(), std::nullopt);
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_FALSE(adapters.workspace->activate(pid));
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::nullopt);
    EXPECT_EQ(adapters.windowPicture->png(id), std::nullopt);
}

TEST(X11WorkspaceAlone, windowsComingAndGoingDoNotDisturbIt) {
    VirtualDesktop desktop({.sessionBus = false});
    X11Adapters adapters(desktop);
    std::atomic<bool> stop = false;
    std::atomic<int> questions = 0;
    std::vector<std::thread> asking;
    for (int i = 0; i < 2; ++i) {
        asking.emplace_back([&] {
            while (!stop) {
                (void)adapters.workspace->frontmost();
                const auto running = adapters.workspace->runningApplications();
                if (!running.empty()) (void)adapters.workspace->activate(running.back().pid);
                const auto list = adapters.windowList->onScreenWindows();
                if (list && !list->empty()) {
                    (void)adapters.windowPicture->png(*list->back().number);
                }
                ++questions;
            }
        });
    }
    const auto link = X11Connection::open(desktop.display());
    ASSERT_TRUE(link);
    for (int i = 0; i < 200; ++i) {
        const auto id = xcb_generate_id(link->xcb());
        const std::uint32_t black = 0;
        xcb_create_window(link->xcb(), XCB_COPY_FROM_PARENT, id, link->root(), 10, 10, 120, 80, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL,
                          &black);
        xcb_change_property(link->xcb(), XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_CLASS,
                            XCB_ATOM_STRING, 8, 12, "brief\0Brief\0");
        xcb_map_window(link->xcb(), id);
        xcb_flush(link->xcb());
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
        xcb_destroy_window(link->xcb(), id);
        xcb_flush(link->xcb());
    }
    stop = true;
    for (auto& thread : asking) thread.join();
    EXPECT_GT(questions, 0);
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return adapters.workspace->runningApplications().empty(); }));
}

} // namespace
} // namespace kelvane
