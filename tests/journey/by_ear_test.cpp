// The panel and its windows as somebody has them who does not see them: read over the accessibility
// bus in the order of a screen reader, walked by keyboard, and what comes by itself announced.

#include "tests/journey/accessible_tree.h"
#include "tests/journey/journey.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;
using State = AccessibleObject::State;
using Lines = std::vector<std::string>;

constexpr const char* kPanel = "Kelvane Companion";
constexpr const char* kHistory = "History of verdicts";

/// As a screen reader says it.
std::string said(const AccessibleObject& object) {
    std::string line = object.role + ": " + object.name;
    if (!object.description.empty()) line += " (" + object.description + ")";
    if (object.is(State::Checked)) line += " [checked]";
    if (!object.is(State::Enabled)) line += " [unavailable]";
    return line;
}

bool isControl(const AccessibleObject& object) {
    static const std::set<std::string> kControls{
        "push button", "button menu", "check box", "radio button", "text", "entry", "menu item"};
    return kControls.contains(object.role);
}

bool isVerdict(const std::string& line) {
    return line.starts_with("list item: Mousepad, ");
}

class ByEar : public Journey {
protected:
    static void SetUpTestSuite() {
        Journey::SetUpTestSuite();
        std::filesystem::create_directories(s_desktop->home() / ".brask");
        std::ofstream(s_desktop->home() / ".brask/validate.py") << "";
    }
    void SetUp() override {
        Journey::SetUp();
        // Those of the tests before this one.
        std::filesystem::remove_all(m_home / ".brask/history");
        std::filesystem::remove(m_home / ".brask/settings.json");
        m_tree = std::make_unique<AccessibleTree>(*s_desktop);
        m_tree->listen();
    }

    void openPanel() {
        startService();
        openAndSelectAll({"mousepad", "--disable-server",
                          document(contents(inSourceTree("docs/samples/launch-note.md"))).string()},
                         "Mousepad");
        const auto variable = AccessibleTree::accessibilityVariable();
        startProduct({{variable.first, variable.second}});
        ASSERT_TRUE(panel().open());
        ASSERT_TRUE(waitFor(kPanel));
    }

    bool waitFor(const std::string& window) {
        return VirtualDesktop::waitUntil([&] { return m_tree->window(window).has_value(); });
    }

    /// All that a window says, line by line. What this machine's coding tools are is left out.
    Lines read(const std::string& name) {
        const auto window = m_tree->window(name);
        if (!window) return {"no window " + name};
        Lines lines;
        bool isOfAgents = false;
        for (const auto& object : m_tree->read(*window)) {
            // Nobody presses what he is not told of.
            EXPECT_FALSE(isControl(object) && object.name.empty()) << said(object);
            EXPECT_FALSE(object.role.empty() || object.role == "unknown" ||
                         object.role == "invalid")
                << said(object);
            if (object.role == "heading") isOfAgents = object.name == "AGENTS";
            if (isOfAgents && object.role != "heading") continue;
            lines.push_back(said(object));
        }
        return lines;
    }

    /// Each begins a line, after the one that begins with what stands before it.
    static void expectInOrder(const Lines& lines, const Lines& beginnings) {
        auto at = lines.begin();
        for (const auto& beginning : beginnings) {
            const auto found = std::find_if(
                at, lines.end(), [&](const auto& line) { return line.starts_with(beginning); });
            if (found == lines.end()) {
                FAIL() << beginning << " is not read there in " << testing::PrintToString(lines);
            }
            at = found + 1;
        }
    }

    std::string focused(const std::string& name) {
        const auto window = m_tree->window(name);
        const auto object = window ? m_tree->focused(*window) : std::nullopt;
        return object ? object->name : "";
    }
    bool waitForFocus(const std::string& window, const std::string& name) {
        return VirtualDesktop::waitUntil([&] { return focused(window) == name; });
    }

    /// What Tab goes through, until it comes round; after each step something must have the
    /// keyboard.
    Lines walk(const std::string& name) {
        Lines names;
        std::string first;
        std::string before;
        for (int i = 0; i < 60; ++i) {
            panel().press("Tab");
            std::optional<AccessibleObject> now;
            const bool moved = VirtualDesktop::waitUntil([&] {
                const auto window = m_tree->window(name);
                now = window ? m_tree->focused(*window) : std::nullopt;
                return now && now->path != before;
            });
            EXPECT_TRUE(moved) << "after " << (names.empty() ? "nothing" : names.back());
            if (!moved || now->path == first) break;
            if (first.empty()) first = now->path;
            before = now->path;
            names.push_back(now->name);
        }
        return names;
    }

    /// The controls that can be used, in the order in which they are read.
    Lines usable(const std::string& name) {
        Lines names;
        const auto window = m_tree->window(name);
        for (const auto& object :
             window ? m_tree->read(*window) : std::vector<AccessibleObject>()) {
            const bool stops = isControl(object) || object.role == "list";
            if (stops && object.is(State::Focusable) && object.is(State::Enabled)) {
                names.push_back(object.name);
            }
        }
        return names;
    }

    /// Tab until that has the keyboard.
    bool walkTo(const std::string& window, const std::string& name) {
        for (int i = 0; i < 60; ++i) {
            const std::string before = focused(window);
            if (before == name) return true;
            panel().press("Tab");
            if (!VirtualDesktop::waitUntil([&] { return focused(window) != before; })) break;
        }
        return false;
    }

    /// How many verdicts the history has.
    [[nodiscard]] std::size_t kept() const {
        std::error_code none;
        const std::filesystem::directory_iterator files(m_home / ".brask/history", none);
        return none ? 0 : static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    bool waitForAnnouncement(const std::string& beginning) {
        return VirtualDesktop::waitUntil([&] {
            const auto& all = m_tree->announced();
            return std::ranges::any_of(
                all, [&](const auto& each) { return each.starts_with(beginning); });
        });
    }

    std::unique_ptr<AccessibleTree> m_tree;
};

TEST_F(ByEar, ThePanelIsReadWalkedAndSpeaksOfTheVerdict) {
    openPanel();
    EXPECT_THAT(read(kPanel),
                ElementsAre("panel: Kelvane", "panel: Ready to grade (You're in Mousepad)",
                            "label: Kelvane", "label: Companion", "graphic: Ready to grade",
                            "heading: NOW", "label: You're in Mousepad",
                            "label: Documents, notes & reading · grades as text",
                            "push button: Grade this", "heading: AGENTS", "heading: WORKFLOW",
                            "label: Mousepad", "push button: Wire my tools",
                            "button menu: Settings"));
    EXPECT_EQ(focused(kPanel), "Ready to grade");
    EXPECT_THAT(walk(kPanel), ElementsAre("Grade this", "Wire my tools", "Settings"));

    ASSERT_TRUE(walkTo(kPanel, "Grade this"));
    panel().press("Return");
    ASSERT_TRUE(waitForAnnouncement("Verdict: "));
    EXPECT_THAT(m_tree->announced(),
                ElementsAre("Grading… the critic may be warming up", StartsWith("Verdict: ")));
    EXPECT_TRUE(waitForFocus(kPanel, "Grade this")) << "the place is kept over a grade";
    expectInOrder(read(kPanel),
                  {"label: Documents, notes", "label: ", "label: Trevix ",
                   "push button: Full report", "label: HIGH", "push button: Show all flaws",
                   "push button: Grade this", "push button: Iterate", "heading: AGENTS"});
    EXPECT_THAT(walk(kPanel), UnorderedElementsAreArray(usable(kPanel)));

    ASSERT_TRUE(walkTo(kPanel, "Show all flaws"));
    panel().press("Return");
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [&] { return focused(kPanel).find(", line ") != std::string::npos; }));
    const auto listed = read(kPanel);
    expectInOrder(listed,
                  {"label: Trevix ", "push button: History…", "push button: Copy all flaws as text",
                   "push button: Show the first flaws only", "push button: HIGH: "});
    EXPECT_THAT(listed, Not(Contains("label: HIGH"))) << "the flaw has said so itself";
    panel().press("Escape");
    EXPECT_TRUE(waitForFocus(kPanel, "Ready to grade")) << "nothing is lost";
    quitThroughTheMenu();
}

TEST_F(ByEar, TheSettingsAreReadAndWalked) {
    openPanel();
    chooseFromMenu("Settings…");
    ASSERT_TRUE(waitFor("Kelvane Settings"));
    ASSERT_TRUE(waitForFocus("Kelvane Settings", "Settings"));
    expectInOrder(
        read("Kelvane Settings"),
        {"panel: Settings", "heading: WHERE TO GRADE", "push button: Choose where to grade…",
         "heading: SHOW WORK BEFORE IT IS SENT", "radio button: ", "heading: NEVER CAPTURE",
         "check box: Password managers [checked]", "text: Identifier of an application",
         "push button: Pause", "heading: KEYS THAT GRADE", "text: Keys that grade what is in front",
         "heading: NOTIFICATIONS", "check box: Verdicts", "heading: LANGUAGE",
         "radio button: ", "push button: Wire my tools"});
    EXPECT_THAT(walk("Kelvane Settings"), ElementsAreArray(usable("Kelvane Settings")));
    // What belongs to it is in sight, and so read, once the keyboard is there.
    ASSERT_TRUE(walkTo("Kelvane Settings", "Wire my tools"));
    expectInOrder(read("Kelvane Settings"),
                  {"radio button: As the desktop", "heading: CODING TOOLS",
                   "label: ", "push button: Wire my tools"});
    panel().press("Escape");
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !m_tree->window("Kelvane Settings"); }));
    quitThroughTheMenu();
}

TEST_F(ByEar, APreviewIsAnnouncedReadAndAnswered) {
    std::ofstream(m_home / ".brask/settings.json") << R"({"preview": "always"})";
    openPanel();
    ASSERT_TRUE(walkTo(kPanel, "Grade this"));
    panel().press("Return");
    EXPECT_TRUE(waitForAnnouncement("This stays on this machine. The text selected in Mousepad, "));
    EXPECT_TRUE(waitForFocus(kPanel, "This stays on this machine"));
    expectInOrder(read(kPanel),
                  {"panel: This stays on this machine", "heading: PREVIEW",
                   "label: This stays on this machine", "label: The text selected in Mousepad, ",
                   "list: The text that is sent", "label: # Northwind Planner",
                   "label: Nothing of the document but this text is sent.", "label: Sent with it",
                   "check box: Don't ask again for Mousepad", "push button: Send",
                   "push button: Cancel"});
    EXPECT_THAT(walk(kPanel), ElementsAre("# Northwind Planner 4.0: launch note",
                                          "Don't ask again for Mousepad", "Send", "Cancel"))
        << "the text by its lines";
    ASSERT_TRUE(walkTo(kPanel, "Cancel"));
    panel().press("space");
    EXPECT_TRUE(waitForAnnouncement("Nothing was sent."));
    EXPECT_TRUE(waitForFocus(kPanel, "Ready to grade"));
    quitThroughTheMenu();
}

TEST_F(ByEar, TheHistoryIsReadWalkedSearchedComparedAndDeleted) {
    openPanel();
    ASSERT_TRUE(walkTo(kPanel, "Grade this"));
    panel().press("Return");
    ASSERT_TRUE(waitForAnnouncement("Verdict: "));
    ASSERT_TRUE(walkTo(kPanel, "Iterate"));
    panel().press("Return");
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return kept() == 2; }));
    ASSERT_TRUE(waitForFocus(kPanel, "Iterate"));
    // What is pressed before the panel has the keyboard again goes nowhere: a person presses again.
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        panel().press("ctrl+h");
        return VirtualDesktop::waitUntil([&] { return m_tree->window(kHistory).has_value(); }, 3s);
    }));
    ASSERT_TRUE(waitForFocus(kHistory, "Search verdicts"));
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [&] { return std::ranges::count_if(read(kHistory), isVerdict) == 2; }));
    expectInOrder(read(kHistory),
                  {"panel: History of verdicts", "text: Search verdicts", "list: Verdicts",
                   "heading: Mousepad", "heading: 20", "list item: Mousepad, 20",
                   "list item: Mousepad, 20", "push button: Delete all…",
                   "label: Choose a verdict to see its flaws."});

    panel().press("Down");
    ASSERT_TRUE(
        VirtualDesktop::waitUntil([&] { return focused(kHistory).starts_with("Mousepad, 20"); }));
    expectInOrder(read(kHistory),
                  {"push button: Delete all…", "heading: Mousepad, 20", "push button: Full report",
                   "push button: Compare with the version before", "push button: Mark to compare",
                   "push button: Copy all of this as text", "push button: Delete this verdict",
                   "list: Flaws", "heading: Flaws (", "list item: HIGH: "});
    const auto walked = walk(kHistory);
    EXPECT_THAT(walked, SizeIs(9)) << testing::PrintToString(walked);
    EXPECT_THAT(walked, IsSupersetOf({"Search verdicts", "Delete all…", "Full report",
                                      "Compare with the version before", "Mark to compare",
                                      "Copy all of this as text", "Delete this verdict"}));
    EXPECT_THAT(walked, Contains(StartsWith("Mousepad, 20")));
    EXPECT_THAT(walked, Contains(StartsWith("Flaws (")));

    ASSERT_TRUE(walkTo(kHistory, "Compare with the version before"));
    panel().press("Return");
    EXPECT_TRUE(waitForAnnouncement("Mousepad, 20"));
    EXPECT_TRUE(waitForFocus(kHistory, "Fixed (0)")) << focused(kHistory);
    panel().press("Down");
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([&] { return focused(kHistory).starts_with("Remaining ("); }));
    panel().press("Down");
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return focused(kHistory).starts_with("HIGH: "); }))
        << focused(kHistory);
    panel().press("Escape");
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([&] { return focused(kHistory).starts_with("Flaws ("); }));

    ASSERT_TRUE(walkTo(kHistory, "Search verdicts"));
    panel().xdotool({"type", "nothing of the kind"});
    EXPECT_TRUE(waitForAnnouncement("No verdict has these words."));
    panel().press("Escape");

    ASSERT_TRUE(walkTo(kHistory, "Delete this verdict"));
    panel().press("Return");
    EXPECT_TRUE(waitForAnnouncement("The verdict is deleted."));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return kept() == 1; }));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        return focused(kHistory).starts_with("Mousepad, 20");
    })) << "the one that is left";

    ASSERT_TRUE(walkTo(kHistory, "Delete all…"));
    panel().press("Return");
    ASSERT_TRUE(waitForFocus(kHistory, "Keep"));
    expectInOrder(read(kHistory), {"dialog: Delete all verdicts? This cannot be undone.",
                                   "push button: Keep", "push button: Delete all"});
    panel().press("Escape");
    EXPECT_TRUE(waitForFocus(kHistory, "Delete all…"));
    EXPECT_EQ(kept(), 1U);
    panel().press("Escape");
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !m_tree->window(kHistory); }));
    quitThroughTheMenu();
}

} // namespace
} // namespace kelvane
