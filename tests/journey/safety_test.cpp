// The user's document is safe: whatever is pressed around a grade, with a real editor and under
// several window managers, the document is what it was and the selection is what is graded.

#include "tests/journey/journey.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <ostream>
#include <signal.h>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kWork = "All of this was written in one go.\nNothing of it may be lost.\n";

struct Manager {
    std::string name;
    std::vector<std::string> command;

    friend std::ostream& operator<<(std::ostream& out, const Manager& each) {
        return out << each.name;
    }
};

/// What a person does with the panel in front, in the words of xdotool; `at the button` is where
/// the pointer stands.
struct Gesture {
    std::string name;
    std::vector<std::string> words;
    bool byPointer = false;
};

struct Case {
    Manager manager;
    Gesture gesture;

    friend std::ostream& operator<<(std::ostream& out, const Case& each) {
        return out << each.manager.name << ' ' << each.gesture.name;
    }
};

std::vector<Manager> managers() {
    return {
        {"openbox", {"openbox", "--sm-disable"}},
        {"i3", {"sh", "-c", "printf 'focus_follows_mouse no\\n' > $HOME/i3; exec i3 -c $HOME/i3"}},
        {"xfwm4", {"xfwm4", "--compositor=off"}}};
}

std::vector<Gesture> gestures() {
    std::vector<Gesture> all{
        {"return_twice_at_once", {"key", "Return", "sleep", "0.02", "key", "Return"}},
        {"return_twice_quickly", {"key", "Return", "sleep", "0.15", "key", "Return"}},
        {"return_twice", {"key", "Return", "sleep", "0.4", "key", "Return"}},
        {"space_twice", {"key", "space", "sleep", "0.15", "key", "space"}},
        {"words_typed_on", {"key", "Return", "type", "--delay", "15", "these words came too late"}},
        {"tab_meanwhile", {"key", "Return", "sleep", "0.1", "key", "Tab"}},
        {"delete_meanwhile",
         {"key", "Return", "sleep", "0.1", "key", "Delete", "key", "BackSpace"}},
    };
    for (const int gap : {10, 15, 40, 70, 120, 200}) {
        all.push_back({"double_click_" + std::to_string(gap) + "_ms",
                       {"click", "--repeat", "2", "--delay", std::to_string(gap), "1"},
                       true});
    }
    return all;
}

std::vector<Case> cases() {
    std::vector<Case> all;
    for (const auto& manager : managers()) {
        for (const auto& gesture : gestures()) all.push_back({manager, gesture});
    }
    return all;
}

/// A desktop of each test's own, under the window manager that it asks for.
class Safety : public Journey {
protected:
    static void SetUpTestSuite() {}
    static void TearDownTestSuite() {}

    void SetUp() override {}
    void TearDown() override {
        Journey::TearDown();
        m_service.reset();
        Journey::TearDownTestSuite();
    }

    void gradeWith(const std::vector<std::string>& manager) {
        makeDesktop({.manager = manager});
        Journey::SetUp();
        std::filesystem::create_directories(s_desktop->home() / ".brask");
        std::ofstream(s_desktop->home() / ".brask/validate.py") << "";
        startService();
        m_document = document(kWork, "work.txt");
        openAndSelectAll({"mousepad", "--disable-server", m_document.string()}, "Mousepad");
        m_editor = s_desktop->activeWindow();
        startProduct();
        ASSERT_TRUE(panel().open());
        ASSERT_TRUE(panelHasKeyboard());
        ASSERT_TRUE(panel().waitFor([](const auto& frame) {
            const auto* const grade = frame.button("Grade this");
            return grade != nullptr && grade->enabled;
        }));
    }

    bool panelHasKeyboard() {
        return VirtualDesktop::waitUntil([&] {
            const auto active = s_desktop->activeWindow();
            return active != 0 && active != m_editor;
        });
    }

    /// Tab until the button has the focus, as a person would.
    bool walkTo(const std::string& name) {
        for (int i = 0; i < 8; ++i) {
            const auto there = [&](const PanelOnScreen::Frame& frame) {
                const auto* const control = frame.button(name);
                return control != nullptr && control->focused;
            };
            if (panel().waitFor(there, 500ms)) return true;
            panel().press("Tab");
        }
        return false;
    }

    /// The document as its editor has it: something is added to it that must be all that is new.
    std::string saved() {
        EXPECT_TRUE(s_desktop->activate(m_editor));
        panel().xdotool({"key", "ctrl+End", "key", "X", "key", "ctrl+s"});
        EXPECT_TRUE(VirtualDesktop::waitUntil(
            [&] { return contents(m_document).find('X') != std::string::npos; }));
        return contents(m_document);
    }

    /// Whether what the service was given came as a picture of the window.
    static bool pictureWasGraded() {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(s_desktop->home() / "service")) {
            if (entry.is_regular_file() &&
                contents(entry.path()).find("window.png") != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::filesystem::path m_document;
    xcb_window_t m_editor = 0;
};

class SafetyOfGestures : public Safety, public testing::WithParamInterface<Case> {};

TEST_P(SafetyOfGestures, TheDocumentIsWhatItWasAndTheSelectionIsGraded) {
    gradeWith(GetParam().manager.command);
    if (HasFatalFailure()) return;
    auto words = GetParam().gesture.words;
    if (GetParam().gesture.byPointer) {
        const auto grade = *panel().frame().button("Grade this");
        words.insert(words.begin(), {"mousemove", std::to_string(grade.x + grade.width / 2),
                                     std::to_string(grade.y + grade.height / 2)});
    } else {
        ASSERT_TRUE(walkTo("Grade this")) << panel().frame().all();
    }
    panel().xdotool(words);
    EXPECT_TRUE(panel().waitForText("Trevix ")) << panel().frame().all();
    EXPECT_TRUE(panelHasKeyboard()) << "the panel shows and does not hear";
    EXPECT_EQ(saved(), std::string(kWork) + "X");
    EXPECT_FALSE(pictureWasGraded());
}

INSTANTIATE_TEST_SUITE_P(All, SafetyOfGestures, testing::ValuesIn(cases()), [](const auto& each) {
    return each.param.manager.name + "_" + each.param.gesture.name;
});

class SafetyUnder : public Safety, public testing::WithParamInterface<Manager> {};

TEST_P(SafetyUnder, AfterTheVerdictThePositionIsKeptAndKeysGoToThePanel) {
    gradeWith(GetParam().command);
    if (HasFatalFailure()) return;
    ASSERT_TRUE(walkTo("Grade this"));
    panel().press("Return");
    ASSERT_TRUE(panel().waitForText("Trevix "));
    EXPECT_TRUE(panel().waitFor([](const auto& frame) {
        const auto* const grade = frame.button("Grade this");
        return grade != nullptr && grade->focused;
    })) << panel().frame().all();
    panel().press("Tab");
    EXPECT_TRUE(panel().waitFor([](const auto& frame) {
        const auto* const iterate = frame.button("Iterate");
        return iterate != nullptr && iterate->focused;
    })) << panel().frame().all();
    panel().press("Escape");
    EXPECT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    EXPECT_EQ(saved(), std::string(kWork) + "X");
}

TEST_P(SafetyUnder, WhoGoesToTheEditorDuringAGradeClosesThePanelAndTypesThere) {
    gradeWith(GetParam().command);
    if (HasFatalFailure()) return;
    m_service->signal(SIGSTOP); // The grade takes as long as this test wants.
    ASSERT_TRUE(walkTo("Grade this"));
    panel().press("Return");
    ASSERT_TRUE(panel().waitForText("Grading…"));
    std::this_thread::sleep_for(1s); // The capture is over, and the keyboard is back.
    EXPECT_TRUE(panel().frame().shown);
    EXPECT_TRUE(panelHasKeyboard());
    ASSERT_TRUE(s_desktop->activate(m_editor));
    EXPECT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    EXPECT_EQ(saved(), std::string(kWork) + "X");
    m_service->signal(SIGCONT);
}

TEST_P(SafetyUnder, WhatIsTypedInAnotherWindowOfTheProgramDuringAGradeStaysThere) {
    gradeWith(GetParam().command);
    if (HasFatalFailure()) return;
    const auto window = [&]() -> std::optional<xcb_window_t> {
        for (const auto& each : s_desktop->windows()) {
            if (each.title.starts_with("Kelvane Settings")) return each.window;
        }
        return std::nullopt;
    };
    chooseFromMenu("Settings…");
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [&] { return window() && s_desktop->activeWindow() == *window(); }));
    Program grade({m_program.string(), "--grade"}, productEnvironment());
    // Until after the capture, which takes some 300 ms: by then the panel is there.
    panel().xdotool({"type", "--delay", "15", std::string(120, 'x')});
    EXPECT_EQ(grade.waitForEnd(), 0);
    EXPECT_TRUE(panel().waitForText("Trevix ")) << panel().frame().all();
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_EQ(saved(), std::string(kWork) + "X");
    EXPECT_FALSE(pictureWasGraded());
}

INSTANTIATE_TEST_SUITE_P(All, SafetyUnder, testing::ValuesIn(managers()),
                         [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
