// The product's ports on real compositors with real programs: who is in front, what is selected,
// one window's picture, the clipboard afterwards.

#include "detect/capture.h"
#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/wayland/kwin_screenshot.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_keys.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/wayland/answering_ports.h"
#include "tests/platform/linux/wayland/proven_table.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {

/// By its name and not by its bytes.
static void PrintTo(Compositor compositor, std::ostream* out) {
    *out << (compositor == Compositor::Sway ? "sway" : "kwin");
}

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kKeyA = 30;

/// Time as it is: real programs take some.
class RealClock : public Clock {
public:
    Instant now() override { return std::chrono::steady_clock::now().time_since_epoch(); }
    SleepEnd sleep(std::chrono::nanoseconds duration) override {
        std::this_thread::sleep_for(duration);
        return SleepEnd::Elapsed;
    }
};

/// A compositor with the product's ports on it, and a person at the keyboard.
class Stage {
public:
    explicit Stage(const WaylandOptions& options) : desktop(options) {
        for (const auto& [name, value] : desktop.environment()) {
            fakes.environment.variables[name] = value;
        }
        ports = answeringPorts(fakes.environment, clock, fakes.ownFocus);
        // Whoever is let in by now: KWin knows this program once it answers the ports.
        socket = desktop.home() / "runtime" / desktop.environment().at("WAYLAND_DISPLAY");
        person = WaylandConnection::open(socket, {windows, keys, selections}, 10s).link;
        if (!person) throw std::runtime_error("the compositor does not answer");
    }

    void press(std::vector<std::uint32_t> codes) {
        std::vector<WaylandKey> strokes;
        for (const auto code : codes) strokes.push_back({code, true});
        for (auto code = codes.rbegin(); code != codes.rend(); ++code) {
            strokes.push_back({*code, false});
        }
        person->post([keys = keys, strokes] { keys->post(strokes); });
        ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return person->answers(); }));
    }

    /// Another program puts this on the clipboard.
    void copies(ClipboardContent content) {
        const auto shared = std::make_shared<const ClipboardContent>(std::move(content));
        person->post([this, shared] { selections->offer(shared); });
        ASSERT_TRUE(WaylandDesktop::waitUntil(
            [&] { return selections->seen(SelectionName::Clipboard).ours == shared; }));
    }

    /// What an independent program finds there.
    std::string pasted(const std::string& type = "text/plain;charset=utf-8") {
        return desktop.outputOf({"wl-paste", "--no-newline", "--type", type});
    }

    /// Whether it finds that there, once everybody has come to say so.
    bool pastes(const std::string& content, const std::string& type = "text/plain;charset=utf-8") {
        return WaylandDesktop::waitUntil([&] { return pasted(type) == content; });
    }

    std::string frontId() {
        const auto front = ports.workspace->frontmost();
        return front ? front->bundleId.value_or("(no identity)") : "(nobody)";
    }
    bool waitForFront(const std::string& id) {
        const bool came = WaylandDesktop::waitUntil([&] { return frontId() == id; });
        if (!came) ADD_FAILURE() << frontId() << " is in front, not " << id;
        return came;
    }

    std::optional<std::string> capture() {
        const auto front = ports.workspace->frontmost();
        if (!front) return std::nullopt;
        CatalogApp entry;
        entry.id = "probe";
        entry.capture = "selection";
        const DetectedApp app{front->bundleId.value_or(""), front->name.value_or(""), entry};
        const auto result = Capture::capture({*ports.workspace, *ports.keyboard, *ports.pasteboard,
                                              *ports.windowList, fakes.picture, clock},
                                             app);
        return result.parts.empty() ? std::nullopt : result.parts.front().text;
    }

    /// A compositor that draws without a GPU may be too busy to answer the first time.
    bool captures(const std::string& text) {
        std::optional<std::string> got;
        const auto isIt = [&] { return (got = capture()) == text; };
        const bool came = WaylandDesktop::waitUntil(isIt, 60s);
        if (!came) {
            const bool silent = ports.workspace->silentDisplay().has_value();
            ADD_FAILURE() << got.value_or("(nothing)") << " from " << frontId()
                          << (silent ? ", a silent compositor" : "") << "; selected is "
                          << desktop.outputOf({"wl-paste", "--no-newline", "--primary"});
        }
        return came;
    }

    WaylandDesktop desktop;
    std::filesystem::path socket;
    std::shared_ptr<WaylandWindows> windows = makeWaylandWindows();
    std::shared_ptr<WaylandKeys> keys = makeWaylandKeys();
    std::shared_ptr<WaylandSelections> selections = makeWaylandSelections(windows);
    std::shared_ptr<WaylandConnection> person;
    FakePlatform fakes;
    RealClock clock;
    LinuxDesktop ports;
};

const char* nameOf(Compositor compositor) {
    return compositor == Compositor::Sway ? "sway" : "kwin";
}

/// One desktop for each compositor, shared by all tests on it.
Stage* stageOf(Compositor compositor, bool end = false) {
    static std::map<Compositor, std::unique_ptr<Stage>> stages;
    if (end) {
        stages.clear();
        return nullptr;
    }
    auto& stage = stages[compositor];
    if (!stage) stage = std::make_unique<Stage>(WaylandOptions{.compositor = compositor});
    return stage.get();
}

class Stages : public testing::Environment {
    void TearDown() override {
        (void)stageOf({}, true);
        compareProvenTable();
    }
};
const auto* const kStages = testing::AddGlobalTestEnvironment(new Stages);

class OnCompositor : public testing::TestWithParam<Compositor> {
protected:
    void SetUp() override {
        if (const auto why = WaylandDesktop::missing(GetParam())) GTEST_SKIP() << *why;
        m_stage = stageOf(GetParam());
    }
    void TearDown() override {
        for (const auto program : m_started) m_stage->desktop.end(program);
    }
    Stage& stage() { return *m_stage; }
    pid_t start(const std::vector<std::string>& command) {
        m_started.push_back(m_stage->desktop.start(command));
        return m_started.back();
    }
    pid_t window(const std::string& id, const std::string& text, int width = 400,
                 int height = 300) {
        return start(
            {KELVANE_TEXT_WINDOW, id, id, std::to_string(width), std::to_string(height), text});
    }

private:
    Stage* m_stage = nullptr;
    std::vector<pid_t> m_started;
};

class TerminalOnCompositor : public OnCompositor {};

struct Editor {
    const char* name;
    std::vector<std::string> command;
    const char* id;
};

class EditorOnCompositor : public OnCompositor {
protected:
    void copiesFrom(const Editor& editor);
};

constexpr auto kDocument = "First line\nZweite Zeile: grüße 😀\n\tthird";

void EditorOnCompositor::copiesFrom(const Editor& editor) {
    SCOPED_TRACE(editor.name);
    auto command = editor.command;
    command.push_back(stage().desktop.file("document.txt", kDocument).string());
    const auto program = start(command);
    ASSERT_TRUE(stage().waitForFront(editor.id));
    const std::string picture = "\x89PNG\r\n\x1a\n" + std::string(100'000, '\xA5');
    stage().copies({{"image/png", "image/png", 8, picture},
                    {"text/html", "text/html", 8, "<b>mine</b>"},
                    {"UTF8_STRING", "UTF8_STRING", 8, "mine: grüße"}});
    // The window can be there before its document is, and an editor that has read its document
    // puts the cursor where it was last time, which ends a selection.
    const auto captured = [&] {
        std::optional<std::string> text;
        WaylandDesktop::waitUntil([&] {
            stage().press({kLeftControl, kKeyA});
            text = stage().capture();
            return text == kDocument;
        });
        return text.value_or("(nothing)");
    };
    EXPECT_EQ(captured(), kDocument);
    EXPECT_TRUE(stage().pastes("mine: grüße"));
    EXPECT_TRUE(stage().pastes("<b>mine</b>", "text/html"));
    EXPECT_TRUE(stage().pastes(picture, "image/png"));
    EXPECT_EQ(captured(), kDocument) << "with the clipboard ours";
    EXPECT_TRUE(stage().pastes(picture, "image/png"));
    stage().desktop.end(program);
}

TEST_P(EditorOnCompositor, ofGtk3GivesItsSelection) {
    copiesFrom({"mousepad", {"mousepad", "--disable-server"}, "org.xfce.mousepad"});
}

TEST_P(EditorOnCompositor, ofGtk4GivesItsSelection) {
    copiesFrom({"gnome-text-editor", {"gnome-text-editor", "-s"}, "org.gnome.TextEditor"});
}

TEST_P(EditorOnCompositor, ofQt5GivesItsSelection) {
    copiesFrom({"kate", {"kate", "--new", "--block"}, "org.kde.kate"});
}

TEST_P(OnCompositor, aWindowOfQt6GivesItsSelection) {
    window("kelvane.probe", "one two three");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "mine"}});
    stage().press({kLeftControl, kKeyA});
    EXPECT_TRUE(stage().captures("one two three"));
    EXPECT_TRUE(stage().captures("one two three")) << "a capture leaves what is selected";
    EXPECT_TRUE(stage().pastes("mine"));
}

TEST_P(OnCompositor, withoutASelectionTheClipboardIsNotTouched) {
    window("kelvane.probe", "one two three");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "mine"}});
    const auto before = stage().selections->seen(SelectionName::Clipboard).generation;
    EXPECT_EQ(stage().capture(), std::nullopt);
    EXPECT_EQ(stage().selections->seen(SelectionName::Clipboard).generation, before);
}

TEST_P(OnCompositor, aPasswordIsNoText) {
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "hunter2"},
                    {std::string(kPasswordHint), std::string(kPasswordHint), 8, "secret"}});
    EXPECT_EQ(stage().ports.pasteboard->string(), std::nullopt);
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "a sentence"}});
    EXPECT_EQ(stage().ports.pasteboard->string(), "a sentence");
}

TEST_P(TerminalOnCompositor, getsNoKey) {
    const auto typed = stage().desktop.home() / "typed";
    start({"foot", "sh", "-c", "stty raw -echo; cat > " + typed.string()});
    ASSERT_TRUE(stage().waitForFront("foot"));
    const auto content = [&] {
        std::ifstream file(typed, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return std::filesystem::exists(typed); }));
    EXPECT_EQ(stage().capture(), std::nullopt);
    // What is typed afterwards comes after everything that was posted before.
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        stage().press({kKeyA});
        return !content().empty();
    }));
    EXPECT_EQ(content().front(), 'a');
}

TEST_P(OnCompositor, windowsAreBroughtForward) {
    window("kelvane.one", "one");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.one"));
    window("kelvane.two", "two");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.two"));
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        const auto one = stage().ports.workspace->instancesOf("wmclass:kelvane.one");
        return one.size() == 1 && stage().ports.workspace->activate(one.front().pid);
    }));
    EXPECT_TRUE(stage().waitForFront("wmclass:kelvane.one"));
    EXPECT_FALSE(stage().ports.workspace->activate(4711));
}

TEST_P(OnCompositor, aPictureShowsTheWindowAndNothingElse) {
    if (GetParam() == Compositor::Sway) {
        stage().desktop.outputOf({"swaymsg", "for_window [app_id=\"kelvane.*\"] floating enable"});
    }
    window("kelvane.blue", "#3366aa", 400, 300);
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.blue"));
    window("kelvane.red", "#aa3333", 500, 400); // Both stand in the middle.
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.red"));
    std::vector<RunningApp> blue;
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        blue = stage().ports.workspace->instancesOf("wmclass:kelvane.blue");
        return blue.size() == 1;
    }));
    std::optional<std::string> png;
    WaylandDesktop::waitUntil([&] {
        png = Capture::frontWindowPNG(*stage().ports.windowList, *stage().ports.windowPicture,
                                      blue.front().pid);
        return png.has_value();
    });
    ASSERT_TRUE(png);
    const auto pixels = decodePng(*png);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width, 400U);
    EXPECT_EQ(pixels->height, 300U);
    for (std::uint32_t y = 20; y < 300; y += 40) {
        for (std::uint32_t x = 20; x < 400; x += 40) {
            ASSERT_EQ(pixels->at(x, y), 0xFF3366AAU) << x << ", " << y;
        }
    }
}

TEST_P(OnCompositor, aCompositorThatStandsStillHoldsUpNobody) {
    window("kelvane.probe", "one");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(WaylandDesktop::waitUntil(
        [&] { return !stage().ports.workspace->silentDisplay().has_value(); }));
    stage().desktop.stopCompositor();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(stage().ports.workspace->frontmost(), std::nullopt);
    EXPECT_TRUE(stage().ports.workspace->silentDisplay());
    EXPECT_TRUE(stage().ports.workspace->runningApplications().empty());
    EXPECT_EQ(stage().ports.windowList->onScreenWindows(), std::nullopt);
    EXPECT_EQ(stage().ports.windowPicture->png(1), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    stage().desktop.continueCompositor();
    EXPECT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
}

const auto kCompositors = testing::Values(Compositor::Sway, Compositor::KWin);
const auto kNames = [](const testing::TestParamInfo<Compositor>& compositor) {
    return std::string(nameOf(compositor.param));
};
INSTANTIATE_TEST_SUITE_P(Compositors, EditorOnCompositor, kCompositors, kNames);
INSTANTIATE_TEST_SUITE_P(Compositors, OnCompositor, kCompositors, kNames);
// Not on KWin: foot divides by the size of its screen, and a virtual one is 0 mm wide there.
INSTANTIATE_TEST_SUITE_P(Compositors, TerminalOnCompositor, testing::Values(Compositor::Sway),
                         kNames);

TEST(SwayWithX11Programs, resolvesBothKinds) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    if (!installedProgram("Xwayland")) GTEST_SKIP() << "NOT TESTED: Xwayland is not installed";
    Stage stage({.compositor = Compositor::Sway, .xwayland = true});
    stage.desktop.start({"mousepad", "--disable-server"}, {{"GDK_BACKEND", "x11"}});
    ASSERT_TRUE(stage.waitForFront("org.xfce.mousepad"));
    stage.desktop.start({KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "300", "200", "text"});
    ASSERT_TRUE(stage.waitForFront("wmclass:kelvane.probe"));
    EXPECT_EQ(stage.ports.workspace->runningApplications().size(), 2U);
}

TEST(KWinThatDoesNotKnowTheProgram, namesNobody) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    const WaylandDesktop desktop({.compositor = Compositor::KWin, .known = false});
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_EQ(ports.workspace->frontmost(), std::nullopt);
    EXPECT_FALSE(ports.keyboard->trusted());
    EXPECT_EQ(ports.windowList->onScreenWindows(), std::nullopt);
}

TEST(KWinThatDoesNotKnowTheProgram, isAskedAgainUntilItDoes) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    WaylandDesktop desktop({.compositor = Compositor::KWin, .known = false});
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    desktop.start({KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "300", "200", "text"});
    EXPECT_NE(ports.limits->now().line, "");
    EXPECT_EQ(ports.workspace->frontmost(), std::nullopt);
    desktop.introduceThisProgram();
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        const bool tells = ports.limits->now().line.empty();
        const auto front = ports.workspace->frontmost();
        return tells && front && front->bundleId == "wmclass:kelvane.probe";
    }));
    EXPECT_TRUE(ports.keyboard->trusted());
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(WaylandDesktop::waitUntil(
        [&] { return ports.windowList->onScreenWindows().has_value(); }));
}

TEST(KWinThatStandsStill, hasNotRefusedPictures) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    auto& desktop = stageOf(Compositor::KWin)->desktop;
    const KWinScreenshot screenshot(desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"));
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return screenshot.offered(); }));
    desktop.stopCompositor();
    EXPECT_TRUE(screenshot.offered()) << "what is found out once holds until the link ends";
    desktop.continueCompositor();
}

TEST(CompositorThatIsSilentAtTheStart, isAskedAgain) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    WaylandDesktop desktop;
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    desktop.stopCompositor();
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_FALSE(ports.keyboard->trusted());
    desktop.continueCompositor();
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        (void)ports.limits->now();
        return ports.keyboard->trusted();
    }));
}

TEST(CompositorThatIsSilentAtTheStart, hasThisProgramWaitRatherThanComeAnew) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    WaylandDesktop desktop;
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto socket = desktop.home() / "runtime" / desktop.environment().at("WAYLAND_DISPLAY");
    desktop.stopCompositor();
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_FALSE(ports.keyboard->trusted());
    // It answers only while nobody asks: a link that is new then gets nothing.
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        desktop.continueCompositor();
        EXPECT_TRUE(WaylandConnection::open(socket, {}, 10s).link);
        desktop.stopCompositor();
        (void)ports.limits->now();
        return ports.keyboard->trusted();
    }));
    desktop.continueCompositor();
}

TEST(WaylandThatIsGone, givesTheAbsentAnswers) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    Stage stage({.compositor = Compositor::Sway});
    EXPECT_TRUE(stage.ports.keyboard->trusted());
    stage.desktop.killCompositor();
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return !stage.ports.keyboard->trusted(); }));
    EXPECT_EQ(stage.ports.workspace->frontmost(), std::nullopt);
    EXPECT_EQ(stage.ports.workspace->silentDisplay(), std::nullopt);
    EXPECT_EQ(stage.ports.pasteboard->string(), std::nullopt);
    stage.ports.pasteboard->setString("lost");
    EXPECT_EQ(stage.ports.windowPicture->png(1), std::nullopt);
    auto again = makeLinuxDesktop(stage.fakes.environment, stage.clock, stage.fakes.ownFocus);
    EXPECT_EQ(again.workspace->frontmost(), std::nullopt);
}

} // namespace
} // namespace kelvane
