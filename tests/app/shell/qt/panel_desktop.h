// The built program on a real desktop: a window manager, a bar with a tray, an editor; what it
// shows is read from the trace that it writes, and it is driven by the pointer and the keyboard.

#pragma once

#include "tests/journey/program.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

using namespace std::chrono_literals;

/// The class of all windows of the program, and its name on the desktop.
inline constexpr const char* kProgramClass = "example.trevix.kelvane.menubar";

class PanelDesktop : public testing::Test {
protected:
    explicit PanelDesktop(DesktopOptions options = {}) : desktop(std::move(options)) {}

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

    /// Whether the program has come so far that a later start finds it, which is the last that it
    /// does before its event loop runs.
    bool waitUntilRunning() const {
        const std::filesystem::path runtime = environment().at("XDG_RUNTIME_DIR");
        return VirtualDesktop::waitUntil([&] {
            std::error_code none;
            for (const auto& entry : std::filesystem::recursive_directory_iterator(runtime, none)) {
                if (entry.path().extension() == ".socket") return true;
            }
            return false;
        });
    }

    /// A tray of one icon at the right end of an edge.
    void startTray(const std::string& edge = "top") {
        desktop.start({"trayer", "--edge", edge, "--align", "right", "--widthtype", "request",
                       "--height", "28"});
        waitForTray();
    }

    void waitForTray() {
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

    std::vector<nlohmann::json> traced() const {
        std::vector<nlohmann::json> lines;
        std::ifstream file(trace);
        for (std::string line; std::getline(file, line);) {
            if (auto parsed = nlohmann::json::parse(line, nullptr, false); !parsed.is_discarded()) {
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

    /// When that was written for the last time, by the clock of `monotonicNow()`; 0 for never.
    double lastTimeOf(const std::string& event) const {
        double time = 0;
        for (const auto& line : traced()) {
            if (line["event"] == event) time = line["time"].get<double>();
        }
        return time;
    }
    static double monotonicNow() {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
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

    void clickAt(int x, int y, int button = 1) {
        xdotool(
            {"mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
    }

    struct Box {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;

        [[nodiscard]] int middle() const { return x + width / 2; }
        [[nodiscard]] int right() const { return x + width; }
        [[nodiscard]] int bottom() const { return y + height; }
        bool operator==(const Box&) const = default;
    };

    /// Where a window stands, in pixels.
    std::optional<Box> boxOf(xcb_window_t window) {
        auto& x = desktop.link();
        const XcbOwned<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(x.xcb(), xcb_get_geometry(x.xcb(), window), nullptr));
        const XcbOwned<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
            x.xcb(), xcb_translate_coordinates(x.xcb(), window, x.root(), 0, 0), nullptr));
        if (!size || !corner) return std::nullopt;
        return Box{corner->dst_x, corner->dst_y, size->width, size->height};
    }

    /// Where the panel stands, once it does.
    Box panelBox() {
        const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kProgramClass));
        EXPECT_TRUE(panel);
        return panel ? boxOf(panel->window).value_or(Box{}) : Box{};
    }

    /// Where on the icon: so far from one another that two presses are no double click, however
    /// soon they follow one another.
    enum class Spot { Middle = 0, Left = -10, Right = 10 };

    /// Clicks the icon once it stays: a bar that has just taken it in may still make room. The
    /// pointer goes there first, and then the icon has to be where it was.
    void clickIcon(Spot spot = Spot::Middle, int button = 1) {
        std::optional<Box> box;
        const auto stays = [&] {
            const auto window = icon();
            const auto before = window ? boxOf(*window) : std::nullopt;
            if (!before) return false;
            xdotool({"mousemove", std::to_string(before->middle() + static_cast<int>(spot)),
                     std::to_string(before->y + before->height / 2)});
            box = boxOf(*window);
            return box == before;
        };
        ASSERT_TRUE(VirtualDesktop::waitUntil(stays)) << "no icon that stays where it is";
        ASSERT_GE(box->width, 22) << "too small for three spots";
        clickAt(box->middle() + static_cast<int>(spot), box->y + box->height / 2, button);
    }

    /// Clicks what the last frame shows under this name.
    void clickControl(const std::string& name) {
        const auto lines = traced();
        for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
            if ((*line)["event"] != "frame") continue;
            for (const auto& control : (*line)["controls"]) {
                if (control["name"] != name) continue;
                const auto& rect = control["rect"];
                clickAt(rect[0].get<int>() + rect[2].get<int>() / 2,
                        rect[1].get<int>() + rect[3].get<int>() / 2);
                return;
            }
            break;
        }
        FAIL() << name << " is not there";
    }

    /// All that the program prints until it ends, after what was read before.
    static std::string restOf(Program& program) {
        (void)program.readUntil(std::string(1, '\0'), 20s);
        return program.unread();
    }

    /// Does what closes the panel: it must not have been closed by anything before that.
    template <typename Action>
    void expectClosedOnlyBy(Action close) {
        const double before = monotonicNow();
        close();
        EXPECT_TRUE(waitUntilPanel(false));
        EXPECT_TRUE(waitForCount("hidden", 1));
        EXPECT_EQ(count("hidden"), 1U);
        EXPECT_GE(lastTimeOf("hidden"), before);
    }

    /// Windows of ours that no window manager has a say in: menus, tool tips.
    std::vector<xcb_window_t> ownPopups() {
        auto& x = desktop.link();
        const XcbOwned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(x.xcb(), xcb_query_tree(x.xcb(), x.root()), nullptr));
        std::vector<xcb_window_t> found;
        const auto* const children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const XcbOwned<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
                x.xcb(), xcb_get_window_attributes(x.xcb(), children[i]), nullptr));
            if (state && state->override_redirect != 0 && seenAsOurs(children[i])) {
                found.push_back(children[i]);
            }
        }
        return found;
    }
    bool waitForMenu() {
        return VirtualDesktop::waitUntil([&] { return ownPopups().size() == 1; });
    }

    bool panelStands() {
        for (const auto& window : desktop.windows()) {
            if (window.wmClass == kProgramClass) return true;
        }
        return false;
    }
    bool waitUntilPanel(bool stands) {
        return VirtualDesktop::waitUntil([&] { return panelStands() == stands; });
    }

    /// The window of ours that can be seen, below another one: in a tray of the embedding kind,
    /// its icon. A click before that would land on the bare desktop.
    std::optional<xcb_window_t> icon(xcb_window_t below = XCB_WINDOW_NONE, int depth = 0) {
        auto& x = desktop.link();
        const auto root = below == XCB_WINDOW_NONE ? x.root() : below;
        const XcbOwned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(x.xcb(), xcb_query_tree(x.xcb(), root), nullptr));
        if (!tree) return std::nullopt;
        const auto* const children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const auto box = boxOf(children[i]);
            const bool small = box && box->width <= 64 && box->height <= 64;
            if (depth > 0 && small && seenAsOurs(children[i])) return children[i];
            if (depth == 8) continue;
            if (const auto found = icon(children[i], depth + 1)) return found;
        }
        return std::nullopt;
    }

    bool seenAsOurs(xcb_window_t window) {
        auto& x = desktop.link();
        const auto name = x.property(window, XCB_ATOM_WM_CLASS);
        if (!name || name->bytes.find(kProgramClass) == std::string::npos) return false;
        const XcbOwned<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
            x.xcb(), xcb_get_window_attributes(x.xcb(), window), nullptr));
        return state && state->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    bool waitForIcon() {
        return VirtualDesktop::waitUntil([&] { return icon().has_value(); });
    }

    std::unique_ptr<Program> startProgram(const std::map<std::string, std::string>& more = {}) {
        auto variables = environment();
        for (const auto& [name, value] : more) variables[name] = value;
        return std::make_unique<Program>(std::vector<std::string>{KELVANE_PRODUCT}, variables);
    }

    /// Starts the program and opens the panel by a click on its icon; the panel has the keyboard.
    std::unique_ptr<Program> startAndOpen(const std::map<std::string, std::string>& more = {}) {
        auto program = startProgram(more);
        EXPECT_TRUE(waitForIcon());
        clickIcon();
        const auto panel = desktop.waitForWindow(VirtualDesktop::ofClass(kProgramClass));
        EXPECT_TRUE(panel && VirtualDesktop::waitUntil(
                                 [&] { return desktop.activeWindow() == panel->window; }));
        EXPECT_TRUE(waitForCount("frame", 1));
        return program;
    }

    VirtualDesktop desktop;
    std::filesystem::path trace;
};

} // namespace kelvane
