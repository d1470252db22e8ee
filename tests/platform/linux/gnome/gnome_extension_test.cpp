// The extension in a real GNOME Shell: what it tells, and whom.

#include "platform/linux/gnome/gnome_extension.h"

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_environment.h"
#include "platform/fake/fake_own_focus.h"
#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/desktop_files.h"
#include "platform/linux/gnome/gnome_ports.h"
#include "platform/linux/linux_platform.h"
#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* kUuid = "kelvane-companion@trevix.example";

/// A window of one colour, named after it.
constexpr const char* kColouredWindow = R"(imports.gi.versions.Gtk = '4.0';
const { Gdk, Gtk, GLib } = imports.gi;
Gtk.init();
const css = new Gtk.CssProvider();
css.load_from_data(`window { background: ${ARGV[0]}; }`, -1);
Gtk.StyleContext.add_provider_for_display(Gdk.Display.get_default(), css, 800);
const window = new Gtk.Window({ title: ARGV[0], decorated: false });
window.set_default_size(300, 200);
window.present();
new GLib.MainLoop(null, false).run();
)";

/// A window that asks to be put where panels stand, and says in its title what came of it.
constexpr const char* kPanelWindow = R"(imports.gi.versions.Gtk = '4.0';
const { Gio, Gtk, GLib } = imports.gi;
Gtk.init();
const window = new Gtk.Window({ title: 'panel', decorated: false });
window.set_default_size(360, 400);
window.present();
GLib.timeout_add(GLib.PRIORITY_DEFAULT, 100, () => {
    const name = 'example.trevix.kelvane.GnomeShell';
    const answer = Gio.DBus.session.call_sync(name, '/example/trevix/kelvane/GnomeShell', name,
        'PlacePanel', null, null, Gio.DBusCallFlags.NONE, -1, null);
    if (!answer.deepUnpack()[0]) return GLib.SOURCE_CONTINUE;
    window.title = 'placed';
    return GLib.SOURCE_REMOVE;
});
new GLib.MainLoop(null, false).run();
)";

/// In place of GNOME Shell 45: its two modules that the extension takes something from.
constexpr const char* kShellModules = R"(<gresources><gresource prefix="/org/gnome/shell">
<file>ui/main.js</file><file>extensions/extension.js</file>
</gresource></gresources>
)";
constexpr const char* kMainModule = R"(export function activateWindow(window) {
    print(`activated ${window.get_id()}`);
}
)";
constexpr const char* kExtensionModule = R"(export class Extension {
    constructor(metadata) { this.path = metadata.path; }
}
)";
/// Loads the extension in ARGV[0] as a module, enables it, asks it for a window before and after
/// this program stands among those it answers, and disables it again.
constexpr const char* kShellOfModules = R"(import Gio from 'gi://Gio';
import GLib from 'gi://GLib';

Gio.Resource.load('shell.gresource')._register();
const window = {
    get_id: () => 7, is_override_redirect: () => false, get_window_type: () => 0,
};
let listeners = 0;
globalThis.global = {
    display: {
        focus_window: window,
        get_selection: () => ({ connect: () => ++listeners, disconnect: () => --listeners }),
    },
    get_window_actors: () => [{ meta_window: window }],
};
const { default: Companion } = await import(`file://${ARGV[0]}/extension.js`);
const extension = new Companion({ path: ARGV[0] });
extension.enable();
print(`listeners ${listeners}`);

const name = 'example.trevix.kelvane.GnomeShell';
const loop = new GLib.MainLoop(null, false);
function ask(then) {
    Gio.DBus.session.call(name, '/example/trevix/kelvane/GnomeShell', name, 'Activate',
        new GLib.Variant('(t)', [7]), null, Gio.DBusCallFlags.NONE, -1, null, (bus, result) => {
            try {
                print(`answered ${bus.call_finish(result).deepUnpack()[0]}`);
            } catch (error) {
                print(Gio.DBusError.get_remote_error(error));
            }
            then();
        });
}
ask(() => {
    const self = GLib.file_read_link('/proc/self/exe');
    GLib.file_set_contents(`${ARGV[0]}/programs`, `${self}\n`);
    ask(() => loop.quit());
});
loop.run();
extension.disable();
print(`listeners ${listeners}`);
)";

class GnomeExtensionTest : public testing::Test {
protected:
    void SetUp() override {
        if (const auto why = WaylandDesktop::missing(Compositor::GnomeShell)) {
            GTEST_SKIP() << *why;
        }
        if (!s_desktop) startDesktop();
        extension = openGnomeExtension(desktop().environment().at("DBUS_SESSION_BUS_ADDRESS"));
    }
    void TearDown() override {
        for (const auto program : programs) desktop().end(program);
    }
    static void TearDownTestSuite() {
        s_desktop.reset();
        std::error_code ignored;
        std::filesystem::remove_all(s_data, ignored);
    }

    [[nodiscard]] static WaylandDesktop& desktop() { return *s_desktop; }

    /// The shell finds the extension when it starts; it is turned on later, as a user would.
    static void startDesktop() {
        s_data = std::filesystem::temp_directory_path() /
                 ("kelvane-gnome-" + std::to_string(::getpid()));
        const auto folder = s_data / "gnome-shell/extensions" / kUuid;
        std::filesystem::create_directories(folder);
        const std::filesystem::path made(KELVANE_GNOME_EXTENSION);
        for (const auto* const name : {"extension.js", "metadata.json"}) {
            std::filesystem::copy_file(made / "43" / name, folder / name);
        }
        s_desktop = std::make_unique<WaylandDesktop>(
            WaylandOptions{.compositor = Compositor::GnomeShell,
                           .variables = {{"XDG_DATA_HOME", s_data.string()}, {"NO_AT_BRIDGE", "0"}},
                           .more = {"--unsafe-mode"}});
        // The test's own hands: a keyboard, and an end to the overview that the shell begins with.
        const bool ready = WaylandDesktop::waitUntil([] {
            return eval("Main.layoutManager._startingUp ? 'starting' :"
                        "(imports.gi.St.Settings.get().inhibit_animations(), Main.overview.hide(),"
                        "Main.overview.visible ? 'shown' : 'ready')")
                       .find("ready") != std::string::npos;
        });
        if (!ready) throw std::runtime_error("GNOME Shell does not get ready");
        eval("globalThis.hands = imports.gi.Clutter.get_default_backend().get_default_seat()"
             ".create_virtual_device(imports.gi.Clutter.InputDeviceType.KEYBOARD_DEVICE); 0");
    }

    static std::string call(const std::string& name, const std::string& path,
                            const std::string& method, std::vector<std::string> arguments = {}) {
        std::vector<std::string> command{"gdbus",         "call", "--session", "--dest", name,
                                         "--object-path", path,   "--method",  method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return desktop().outputOf(command);
    }
    static std::string eval(const std::string& script) {
        return call("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Eval", {script});
    }
    static void selectAll() {
        eval("{ const C = imports.gi.Clutter; let t = imports.gi.GLib.get_monotonic_time();"
             "for (const [key, state] of [[C.KEY_Control_L, 1], [C.KEY_a, 1], [C.KEY_a, 0],"
             "[C.KEY_Control_L, 0]]) hands.notify_keyval(t++, key, state); }");
    }

    /// Lets the test program ask, and turns the extension on.
    void turnOn(const std::vector<std::filesystem::path>& more = {}) {
        std::ofstream allowed(s_data / "gnome-shell/extensions" / kUuid / "programs");
        allowed << std::filesystem::read_symlink("/proc/self/exe").string() << "\n";
        for (const auto& path : more) allowed << path.string() << "\n";
        allowed.close();
        call("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Extensions.EnableExtension",
             {kUuid});
        EXPECT_TRUE(WaylandDesktop::waitUntil([&] { return extension->windows().has_value(); }))
            << desktop().outputOf({"cat", (desktop().home() / "compositor.log").string()});
    }

    std::optional<GnomeWindow> waitForWindow(const std::string& title, bool focused = true) {
        std::optional<GnomeWindow> found;
        WaylandDesktop::waitUntil([&] {
            for (const auto& window : extension->windows().value_or(std::vector<GnomeWindow>{})) {
                if (window.title.find(title) == std::string::npos) continue;
                if (!focused || window.focused) found = window;
            }
            return found.has_value();
        });
        EXPECT_TRUE(found) << "no window " << title;
        return found;
    }
    /// The ports as the product makes them on this desktop.
    LinuxDesktop product() {
        for (const auto& [name, value] : desktop().environment()) {
            environment.variables[name] = value;
        }
        return makeLinuxDesktop(environment, clock, focus);
    }
    pid_t start(const std::vector<std::string>& command) {
        programs.push_back(desktop().start(command));
        return programs.back();
    }
    std::optional<GnomeWindow> openColoured(const std::string& colour) {
        start({"gjs", desktop().file("window.js", kColouredWindow).string(), colour});
        return waitForWindow(colour);
    }
    std::optional<GnomeWindow> openEditor(const std::string& name, const std::string& content) {
        start({"mousepad", "--disable-server", desktop().file(name, content).string()});
        return waitForWindow(name);
    }

    std::shared_ptr<GnomeExtension> extension;
    std::vector<pid_t> programs;
    Journal journal;
    FakeClock clock{journal};
    FakeOwnFocus focus;
    FakeEnvironment environment;
    std::shared_ptr<DesktopFiles> files =
        std::make_shared<DesktopFiles>(std::vector<std::filesystem::path>{"/usr/share"}, "", clock);
    InstalledEntries installed = [files = files] { return files->index(); };

private:
    inline static std::unique_ptr<WaylandDesktop> s_desktop;
    inline static std::filesystem::path s_data;
};

TEST_F(GnomeExtensionTest, IsOffUntilItIsTurnedOnAndThenAnswersTheCompanionAlone) {
    EXPECT_FALSE(extension->windows());
    EXPECT_FALSE(extension->primary(1));
    EXPECT_FALSE(extension->picture(1));
    EXPECT_FALSE(extension->activate(1));
    EXPECT_FALSE(extension->placePanel());
    EXPECT_TRUE(isGnomeShell(desktop().environment().at("DBUS_SESSION_BUS_ADDRESS")));

    const auto running = product();
    EXPECT_THAT(running.limits->now().line, HasSubstr("turn on its Shell extension"));

    turnOn();
    const auto editor = openEditor("early.txt", "opened before");
    ASSERT_TRUE(editor);
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        const auto limits = running.limits->now();
        return limits.line.empty() && !limits.hidesFront &&
               running.windowPicture->png(static_cast<std::int64_t>(editor->number));
    })) << "a product that runs when it is turned on";
    for (const auto* const method : {"Windows", "PlacePanel"}) {
        const auto answer = desktop().outputOf(
            {"sh", "-c",
             std::string("gdbus call --session --dest example.trevix.kelvane.GnomeShell "
                         "--object-path /example/trevix/kelvane/GnomeShell --method "
                         "example.trevix.kelvane.GnomeShell.") +
                 method + " 2>&1"});
        EXPECT_THAT(answer, HasSubstr("AccessDenied")) << method;
    }
}

TEST_F(GnomeExtensionTest, TellsWhoIsInFrontAndWhatIsSelectedThere) {
    turnOn();
    const auto ports = makeGnomePorts(extension, nullptr, installed, clock);
    const auto first = openEditor("first.txt", "the first text");
    ASSERT_TRUE(first);
    const auto front = ports.workspace->frontmost();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->bundleId, "org.xfce.mousepad");
    EXPECT_EQ(first->process, programs.back());
    const auto chosen = product();
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        (void)chosen.limits->now(); // A shell that was too busy to answer is asked again.
        return chosen.workspace->frontmost() == front;
    })) << "the product chooses this source";

    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        selectAll();
        const auto primary = extension->primary(first->number);
        return primary && primary->text == "the first text";
    }));
    const auto memory = ports.pasteboard->remember();
    ports.keyboard->postCopy(front->pid);
    EXPECT_NE(ports.pasteboard->changeCount(), memory.changeCount);
    EXPECT_EQ(ports.pasteboard->string(), "the first text");
    ports.pasteboard->putBack(memory);
    EXPECT_FALSE(ports.pasteboard->string());

    const auto second = openEditor("second.txt", "the second text");
    ASSERT_TRUE(second);
    EXPECT_FALSE(extension->primary(second->number)) << "that was selected in the other window";
    EXPECT_TRUE(ports.workspace->activate(front->pid));
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] { return ports.workspace->frontmost() == front; }));
}

TEST_F(GnomeExtensionTest, APictureHoldsTheWindowAndNothingThatCoversIt) {
    turnOn();
    const auto below = openColoured("#ff0000");
    const auto above = openColoured("#0000ff");
    ASSERT_TRUE(below && above);
    eval("for (const actor of global.get_window_actors()) {"
         "if (actor.meta_window.title.startsWith('#')) actor.meta_window.move_frame(true, 50, 50); "
         "}");
    std::optional<PngPixels> pixels;
    WaylandDesktop::waitUntil([&] {
        pixels = decodePng(extension->picture(below->number).value_or(""));
        // The program draws when it likes; whatever it has drawn, the other one is not in it.
        EXPECT_EQ(pixels ? pixels->count(0xFF0000FF) : 0U, 0U);
        return pixels && pixels->count(0xFFFF0000) > pixels->rgba.size() / 4 * 9 / 10;
    });
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width, static_cast<std::uint32_t>(below->width));
    EXPECT_EQ(pixels->height, static_cast<std::uint32_t>(below->height));
    EXPECT_GT(pixels->count(0xFFFF0000), pixels->rgba.size() / 4 * 9 / 10);

    const auto ports = makeGnomePorts(extension, nullptr, installed, clock);
    const auto list = ports.windowList->onScreenWindows();
    ASSERT_TRUE(list);
    EXPECT_TRUE(std::ranges::any_of(*list, [&](const WindowInfo& window) {
        return window.number == static_cast<std::int64_t>(above->number);
    }));
    EXPECT_FALSE(ports.windowPicture->png(1 << 20)) << "there is no such window";
}

TEST_F(GnomeExtensionTest, PutsThePanelIntoItsCorner) {
    // A program of its own asks: the place is for windows of the caller alone.
    turnOn({std::filesystem::canonical("/usr/bin/gjs")});
    start({"gjs", desktop().file("panel.js", kPanelWindow).string()});
    std::optional<GnomeWindow> panel;
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        panel = waitForWindow("placed", false);
        return panel && panel->x + panel->width == 1280 - 8;
    })) << (panel ? panel->x : -1);
    ASSERT_TRUE(panel);
    EXPECT_GT(panel->y, 8) << "below the bar";
    EXPECT_LT(panel->y, 100);
    EXPECT_FALSE(extension->placePanel()) << "this program has no window";
}

TEST_F(GnomeExtensionTest, WithoutItAccessibilityTellsTheTextOfGtkPrograms) {
    const auto seen = openAccessibleDesktop(
        {.session = desktop().environment().at("DBUS_SESSION_BUS_ADDRESS"), .accessibility = {}},
        installed, clock, focus);
    const auto ports = makeAccessiblePorts(seen);
    start({"mousepad", "--disable-server", desktop().file("plain.txt", "read it").string()});
    std::optional<RunningApp> front;
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        clock.time += accessible::kForgotten;
        front = ports.workspace->frontmost();
        return front && front->bundleId == "org.xfce.mousepad";
    }));
    ASSERT_TRUE(front);
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        selectAll();
        clock.time += accessible::kForgotten;
        ports.keyboard->postCopy(front->pid);
        return ports.pasteboard->string() == "read it";
    })) << ports.pasteboard->string().value_or("nothing");
}

TEST_F(GnomeExtensionTest, WithoutATrayTheDoctorSaysSoAndASecondStartOpensThePanel) {
    turnOn(); // It tells of windows.
    std::filesystem::create_directories(desktop().home() / ".brask");
    desktop().file(".brask/validate.py", "#\n"); // As after an earlier start.
    const std::map<std::string, std::string> variables{{"BRASK_APP_NO_PERSIST", "1"},
                                                       {"BRASK_APP_NO_OPEN", "1"},
                                                       {"BRASK_API_BASE", "http://127.0.0.1:9"},
                                                       {"BRASK_API_KEY", "a key"}};
    programs.push_back(desktop().start({KELVANE_PRODUCT}, variables));
    const auto answers = [&] {
        const auto status = desktop().outputOf({KELVANE_PRODUCT, "--status", "--json"}, variables);
        return status.find("\"running\":true") != std::string::npos;
    };
    ASSERT_TRUE(WaylandDesktop::waitUntil(answers));
    const auto said = desktop().outputOf({KELVANE_PRODUCT, "--doctor", "--json"}, variables);
    EXPECT_THAT(said, HasSubstr("No tray of the usual kind (StatusNotifier) is here."));
    EXPECT_THAT(said, HasSubstr("start kelvane again to open its panel. GNOME needs the "
                                "AppIndicator extension."));
    desktop().outputOf({KELVANE_PRODUCT}, variables);
    EXPECT_TRUE(waitForWindow("Kelvane Companion", false));
}

/// The form for GNOME 45 and later, which this machine has none of: as a module, with stand-ins for
/// what it takes from the shell.
TEST(GnomeExtensionAsAModule, LoadsAnswersTheCompanionAloneAndLeavesNothing) {
    for (const auto* const tool : {"gjs", "glib-compile-resources", "dbus-run-session"}) {
        if (!installedProgram(tool)) GTEST_SKIP() << "NOT TESTED: " << tool << " is not installed";
    }
    const auto folder = std::filesystem::temp_directory_path() /
                        ("kelvane-gnome-module-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder / "ui");
    std::filesystem::create_directories(folder / "extensions");
    std::filesystem::copy(std::filesystem::path(KELVANE_GNOME_EXTENSION) / "45", folder / "45");
    const auto write = [&](const char* name, const char* content) {
        std::ofstream(folder / name) << content;
    };
    write("shell.gresource.xml", kShellModules);
    write("ui/main.js", kMainModule);
    write("extensions/extension.js", kExtensionModule);
    write("host.js", kShellOfModules);
    // The libraries of the shell that is here have the parts that it uses under the same names.
    const std::string libraries =
        "/usr/lib/gnome-shell:$(dirname $(ls -d /usr/lib/*/mutter-*/Meta-*.typelib | tail -n 1))";
    const std::string command =
        "cd " + folder.string() +
        " && glib-compile-resources shell.gresource.xml && l=" + libraries +
        " && HOME=" + folder.string() +
        " GI_TYPELIB_PATH=$l LD_LIBRARY_PATH=$l timeout 60 dbus-run-session -- gjs -m host.js " +
        (folder / "45").string() + " 2>errors";
    std::string said;
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) said += static_cast<char>(c);
    EXPECT_EQ(::pclose(pipe), 0);
    std::ifstream errors(folder / "errors");
    EXPECT_EQ(said, "listeners 1\norg.freedesktop.DBus.Error.AccessDenied\nactivated 7\n"
                    "answered true\nlisteners 0\n")
        << std::string(std::istreambuf_iterator<char>(errors), {});
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace kelvane
