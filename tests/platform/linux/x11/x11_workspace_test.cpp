#include "tests/platform/linux/x11/x11_desktop_test.h"

#include "platform/linux/rules/window_identity.h"
#include "tests/platform/linux/x11/scripted_manager.h"

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
    EXPECT_EQ(running[0].pid, processIdOf(second, "debian-xterm"));
    EXPECT_EQ(running[1].pid, processIdOf(first, "debian-xterm"));
    EXPECT_EQ(running[2].pid, processIdOf(::getpid(), "wmclass:twice"));
    EXPECT_EQ(adapters.workspace->instancesOf("debian-xterm").size(), 2U);
}

TEST_F(X11WorkspaceTest, ofTwoInstancesTheOneInFrontComesFirst) {
    X11Adapters adapters(desktop());
    const auto one = open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto first = lastProgram();
    const auto between = paint({.wmClass = "Between"});
    const auto two = open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto second = lastProgram();
    const auto firstOf = [&] {
        return adapters.workspace->instancesOf("debian-xterm").front().pid;
    };
    ASSERT_TRUE(desktop().activate(one));
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([&] { return firstOf() == processIdOf(first, "debian-xterm"); }));
    ASSERT_TRUE(desktop().activate(two));
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return firstOf() == processIdOf(second, "debian-xterm"); }));
    // Another application in front of both changes nothing between them.
    ASSERT_TRUE(desktop().activate(between->id()));
    EXPECT_EQ(firstOf(), processIdOf(second, "debian-xterm"));
    EXPECT_THAT(runningIds(adapters),
                ElementsAre("debian-xterm", "wmclass:between", "debian-xterm"));
}

TEST_F(X11WorkspaceTest, aWindowWithoutAClassIsTheSameToEveryQuestion) {
    X11Adapters adapters(desktop());
    adapters.install("family", "Name=Family\nStartupWMClass=Family\n");
    const auto main = paint({.wmClass = "Family"});
    const auto nameless = paint({.x = 400, .instance = "", .wmClass = ""});
    ASSERT_TRUE(desktop().activate(nameless->id()));
    const auto front = adapters.workspace->frontmost();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->bundleId, "family");
    EXPECT_EQ(adapters.workspace->runningApplications(), std::vector{*front});
}

TEST_F(X11WorkspaceTest, oneWindowOfAProgramCanBeAskedFor) {
    X11Adapters adapters(desktop());
    adapters.install("family", "Name=Family\nStartupWMClass=Family\n");
    const auto main = paint({.wmClass = "Family"});
    const auto panel =
        paint({.x = 400, .wmClass = "Family", .type = "_NET_WM_WINDOW_TYPE_UTILITY"});
    const auto stranger = open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto family = adapters.workspace->instancesOf("family");
    ASSERT_EQ(family.size(), 1U);
    const auto comesForward = [&](const PaintedWindow& window) {
        return VirtualDesktop::waitUntil([&] { return desktop().activeWindow() == window.id(); });
    };
    for (const auto* const window : {panel.get(), main.get(), panel.get()}) {
        EXPECT_TRUE(adapters.workspace->activateWindow(family.front().pid, window->id()));
        EXPECT_TRUE(comesForward(*window));
    }
    EXPECT_TRUE(adapters.workspace->activate(family.front().pid));
    EXPECT_TRUE(comesForward(*main)) << "the ordinary one stands for the program";

    EXPECT_FALSE(adapters.workspace->activateWindow(family.front().pid, stranger));
    EXPECT_FALSE(adapters.workspace->activateWindow(family.front().pid, 0));
    EXPECT_FALSE(adapters.workspace->activateWindow(family.front().pid, -1));
    EXPECT_FALSE(adapters.workspace->activateWindow(1, panel->id()));
    EXPECT_TRUE(comesForward(*main));
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
    // The window manager says so of the window after it has said which one is active.
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !minimised(); }));
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
    PaintedWindow window(desktop.display(), {.background = 0xFFFFFF});
    ASSERT_TRUE(window.waitUntilDrawn());
    EXPECT_EQ(adapters.workspace->frontmost(), std::nullopt);
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::nullopt);
    EXPECT_TRUE(adapters.windowPicture->png(window.id())) << "a picture needs no window manager";
}

TEST(X11WorkspaceAlone, aManagerThatListsNoStackingIsAskedForTheRest) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    X11Adapters adapters(desktop);
    ScriptedManager manager(desktop.display());
    manager.introduceItself();
    PaintedWindow one(desktop.display(), {.wmClass = "One", .managed = false});
    PaintedWindow two(desktop.display(), {.x = 120, .wmClass = "Two", .managed = false});
    PaintedWindow three(desktop.display(), {.x = 140, .wmClass = "Three", .managed = false});
    for (const auto* window : {&one, &two, &three}) ASSERT_TRUE(window->waitUntilDrawn());
    manager.tell("_NET_CLIENT_LIST", {one.id(), two.id(), three.id()});
    manager.tell("_NET_ACTIVE_WINDOW", {two.id()});
    const auto frame = manager.frame(one.id());
    manager.raise(three.id());
    manager.raise(two.id());
    manager.raise(frame);
    const auto order = [&] {
        std::vector<std::int64_t> numbers;
        const auto list = adapters.windowList->onScreenWindows();
        for (const auto& window : list.value_or(std::vector<WindowInfo>{})) {
            numbers.push_back(window.number.value_or(0));
        }
        return numbers;
    };
    EXPECT_THAT(order(), ElementsAre(one.id(), two.id(), three.id()));
    manager.raise(three.id());
    EXPECT_THAT(order(), ElementsAre(three.id(), one.id(), two.id()));
    ASSERT_TRUE(adapters.workspace->frontmost());
    EXPECT_EQ(adapters.workspace->frontmost()->bundleId, "wmclass:two");
    EXPECT_TRUE(adapters.workspace->activate(processIdOf(::getpid(), "wmclass:one")));
}

TEST(X11WorkspaceAlone, aManagerOfTheOldConventionsIsUnderstood) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    X11Adapters adapters(desktop);
    PaintedWindow one(desktop.display(), {.wmClass = "One", .managed = false});
    PaintedWindow two(desktop.display(), {.x = 120, .wmClass = "Two", .managed = false});
    PaintedWindow menu(desktop.display(), {.x = 140, .wmClass = "Menu", .managed = false});
    for (const auto* window : {&one, &two, &menu}) ASSERT_TRUE(window->waitUntilDrawn());
    {
        ScriptedManager manager(desktop.display());
        manager.manage(one.id());
        manager.manage(two.id());
        const auto frame = manager.frame(one.id());
        manager.focus(manager.inside(one.id()));
        ASSERT_TRUE(adapters.workspace->frontmost());
        EXPECT_EQ(adapters.workspace->frontmost()->bundleId, "wmclass:one");
        manager.focus(two.id());
        EXPECT_EQ(adapters.workspace->frontmost()->bundleId, "wmclass:two");
        EXPECT_EQ(adapters.workspace->runningApplications().size(), 2U) << "a menu is none";
        manager.raise(two.id());
        manager.raise(frame);
        const auto windows = adapters.windowList->onScreenWindows();
        ASSERT_TRUE(windows);
        ASSERT_EQ(windows->size(), 2U);
        EXPECT_EQ(windows->front().number, one.id());
    }
    // Without anybody who keeps them the marks on the windows are worth nothing.
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !adapters.workspace->frontmost(); }));
    EXPECT_THAT(adapters.workspace->runningApplications(), IsEmpty());
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::nullopt);
}

TEST(X11WorkspaceAlone, everyOutputOfATilingManagerShowsItsDesktop) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    for (const std::vector<std::string>& monitor :
         {std::vector<std::string>{"LEFT", "800/200x1000/250+0+0", "screen"},
          std::vector<std::string>{"RIGHT", "800/200x1000/250+800+0", "none"}}) {
        const auto program =
            desktop.start({"xrandr", "--setmonitor", monitor[0], monitor[1], monitor[2]});
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.running(program); }));
    }
    std::ofstream(desktop.home() / "i3") << "font pango:monospace 8\nfocus_follows_mouse no\n";
    desktop.start({"i3", "-c", (desktop.home() / "i3").string()},
                  {{"I3SOCK", (desktop.home() / "socket").string()}});
    X11Adapters adapters(desktop);
    const auto tell = [&](const std::string& command) {
        const auto program =
            desktop.start({"i3-msg", "-s", (desktop.home() / "socket").string(), command});
        return VirtualDesktop::waitUntil([&] { return !desktop.running(program); });
    };
    desktop.start({"xterm", "-class", "OnTheLeft", "-e", "sleep", "600"});
    const auto left = desktop.waitForWindow(VirtualDesktop::ofClass("OnTheLeft"));
    ASSERT_TRUE(left);
    const auto current = [&] {
        auto& x = desktop.link();
        const auto property = x.property(x.root(), x.atom("_NET_CURRENT_DESKTOP"));
        return property ? property->firstWord().value_or(99) : 99;
    };
    ASSERT_EQ(current(), 0U);
    ASSERT_TRUE(tell("focus output right"));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return current() == 1; })) << "two desktops";
    desktop.start({"xterm", "-class", "OnTheRight", "-e", "sleep", "600"});
    const auto right = desktop.waitForWindow(VirtualDesktop::ofClass("OnTheRight"));
    ASSERT_TRUE(right);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.activeWindow() == right->window; }));

    const auto shows = [&](xcb_window_t window) {
        const auto list = adapters.windowList->onScreenWindows();
        return list && std::ranges::any_of(*list, [&](const WindowInfo& info) {
                   return info.number == std::int64_t{window};
               });
    };
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return shows(right->window); }));
    EXPECT_TRUE(shows(left->window)) << "on the other output";
    EXPECT_TRUE(adapters.windowPicture->png(left->window));
    // What no output shows is not on screen.
    ASSERT_TRUE(tell("workspace 7"));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !shows(right->window); }));
    EXPECT_TRUE(shows(left->window));
}

TEST(X11WorkspaceAlone, aServerThatStandsStillHoldsNobodyUp) {
    VirtualDesktop desktop({.sessionBus = false});
    auto files = std::make_shared<const DesktopEntryIndex>(std::vector<DesktopEntry>{});
    const auto applications = std::make_shared<X11Applications>(
        X11Connection::open(desktop.display()), [files] { return files; });
    const auto workspace = makeX11Workspace(applications, desktop.display());
    const auto windowList = makeX11WindowList(applications);
    const auto windowPicture = makeX11WindowPicture(desktop.display());
    PaintedWindow window(desktop.display(), {});
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return workspace->frontmost().has_value(); }));
    const auto pid = workspace->frontmost()->pid;
    EXPECT_EQ(workspace->silentDisplay(), std::nullopt);

    desktop.stopServer();
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    EXPECT_EQ(workspace->frontmost(), std::nullopt);
    const auto first = Clock::now() - begin;
    EXPECT_GE(first, kServerPatience) << "it was not waited for at all";
    EXPECT_EQ(workspace->silentDisplay(), desktop.display());
    // Many questions, as a program that runs for days asks them: what has to be waited for was
    // waited for once, and nothing piles up until a question cannot be sent any more.
    for (int i = 0; i < 20'000; ++i) {
        EXPECT_EQ(workspace->frontmost(), std::nullopt);
        EXPECT_TRUE(workspace->runningApplications().empty());
        EXPECT_EQ(windowList->onScreenWindows(), std::nullopt);
    }
    EXPECT_FALSE(workspace->activate(pid));
    EXPECT_EQ(windowPicture->png(window.id()), std::nullopt);
    const auto opening = X11Connection::tryOpen(desktop.display());
    EXPECT_EQ(opening.link, nullptr);
    EXPECT_TRUE(opening.silent);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30)) << "or it would have been for ever";

    desktop.continueServer();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return workspace->frontmost().has_value(); }));
    EXPECT_EQ(workspace->silentDisplay(), std::nullopt);
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
    const auto link = X11Connection::open(desktop.display(), kTestPatience);
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
