// The program beside others: a grade under way, a second start, an instance that hangs, the trace.

#include "tests/app/shell/qt/panel_desktop.h"
#include "tests/source_tree.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane {
namespace {

/// A service that takes every connection and never answers.
class SilentService {
public:
    SilentService() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool ready =
            ::bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
            ::listen(m_socket, 16) == 0 &&
            ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        EXPECT_TRUE(ready);
        m_port = ntohs(address.sin_port);
    }
    ~SilentService() {
        for (const Arrived& arrived : m_arrived) ::close(arrived.connection);
        ::close(m_socket);
    }
    SilentService(const SilentService&) = delete;
    SilentService& operator=(const SilentService&) = delete;

    [[nodiscard]] std::string address() const {
        return "http://127.0.0.1:" + std::to_string(m_port);
    }

    /// Takes what arrives until work has been submitted, and answers nothing.
    bool waitForWork() {
        return VirtualDesktop::waitUntil([&] {
            pollfd listening{m_socket, POLLIN, 0};
            while (::poll(&listening, 1, 0) == 1) {
                const int connection = ::accept(m_socket, nullptr, nullptr);
                if (connection < 0) break;
                m_arrived.push_back({connection, {}});
            }
            for (Arrived& arrived : m_arrived) {
                char bytes[4096];
                const auto length = ::recv(arrived.connection, bytes, sizeof bytes, MSG_DONTWAIT);
                if (length > 0) arrived.bytes.append(bytes, static_cast<std::size_t>(length));
                if (arrived.bytes.starts_with("POST /api/v1/eval/jobs ")) return true;
            }
            return false;
        });
    }

private:
    struct Arrived {
        int connection;
        std::string bytes;
    };

    int m_socket;
    int m_port = 0;
    std::vector<Arrived> m_arrived;
};

class ProgramLifeTest : public PanelDesktop {
protected:
    DesktopWindow startEditorWith(const std::string& text) {
        const auto page = desktop.home() / "page.txt";
        std::ofstream(page) << text;
        desktop.start({"mousepad", "--disable-server", page.string()});
        const auto window = desktop.waitForWindow(VirtualDesktop::ofClass("Mousepad"));
        EXPECT_TRUE(window && desktop.activate(window->window));
        // The window is there before its text is, and only text can be selected.
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            xdotool({"key", "ctrl+a"});
            return somethingIsSelected();
        }));
        return window.value_or(DesktopWindow{});
    }

    bool somethingIsSelected() {
        auto& x = desktop.link();
        const XcbOwned<xcb_get_selection_owner_reply_t> answer(xcb_get_selection_owner_reply(
            x.xcb(), xcb_get_selection_owner(x.xcb(), XCB_ATOM_PRIMARY), nullptr));
        return answer && answer->owner != XCB_WINDOW_NONE;
    }

    std::map<std::string, std::string> withService(const SilentService& service) {
        return {{"BRASK_API_BASE", service.address()}, {"BRASK_API_KEY", "a-key"}};
    }
};

constexpr const char* kGrading = "Grading… the critic may be warming up";

TEST_F(ProgramLifeTest, PanelStaysWhileAGradeIsUnderWayAndQuitIsImmediate) {
    SilentService service;
    startTray();
    startEditorWith("All is well.\n");
    const auto program = startAndOpen(withService(service));
    ASSERT_TRUE(waitUntilShown("You're in Mousepad"));
    clickControl("Grade this");
    ASSERT_TRUE(waitUntilShown(kGrading));
    // The capture has brought the editor to the front and is done with it.
    ASSERT_TRUE(service.waitForWork());
    EXPECT_TRUE(panelStands()) << "to show what comes of it";
    const auto names = shown();
    EXPECT_NE(std::find(names.begin(), names.end(), kGrading), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), "You're in Mousepad"), names.end());
    program->signal(SIGTERM);
    EXPECT_EQ(program->waitForEnd(5s), 0) << "a grade holds nobody up";
}

TEST_F(ProgramLifeTest, LeavesNoCoreOfWhatItHolds) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_CORE, &before), 0);
    const rlimit wanted{before.rlim_max, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &wanted), 0);
    if (before.rlim_max == 0) GTEST_SKIP() << "nobody leaves one here";
    const auto program = startProgram();
    EXPECT_EQ(setrlimit(RLIMIT_CORE, &before), 0);
    const auto limits = "/proc/" + std::to_string(program->pid()) + "/limits";
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        std::ifstream file(limits);
        std::string line;
        while (std::getline(file, line) && !line.starts_with("Max core file size")) {
        }
        std::istringstream words(line.substr(std::min(line.size(), std::size_t{18})));
        std::string soft;
        return words >> soft && soft == "0";
    }));
}

TEST_F(ProgramLifeTest, AClickElsewhereClosesThePanelAlsoWhileGrading) {
    SilentService service;
    startTray();
    startEditorWith("All is well.\n");
    const auto program = startAndOpen(withService(service));
    ASSERT_TRUE(waitUntilShown("You're in Mousepad"));
    clickControl("Grade this");
    ASSERT_TRUE(waitUntilShown(kGrading));
    ASSERT_TRUE(service.waitForWork());
    ASSERT_TRUE(waitForCount("keyboard back", 1)) << "until then every click is held";
    clickAt(60, 960);
    EXPECT_TRUE(waitUntilPanel(false));
}

TEST_F(ProgramLifeTest, WithThePanelOpenItGoesOnDescribingTheApplicationOverManyTicks) {
    startTray();
    const auto editor = startEditor();
    const auto program = startAndOpen();
    ASSERT_TRUE(waitUntilShown("You're in Mousepad"));
    const auto panel = desktop.activeWindow();
    EXPECT_NE(panel, editor.window);
    // A tick is what finds a key, and what misses it.
    const auto key = desktop.home() / ".brask" / "key";
    const std::string invitation = "Get a free key to start grading →";
    const auto says = [&](const std::string& name) {
        const auto names = shown();
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    ASSERT_TRUE(waitUntilShown(invitation));
    for (const bool hasKey : {true, false}) {
        if (hasKey) {
            std::ofstream(key) << "a-key\n";
            ASSERT_EQ(::chmod(key.c_str(), 0600), 0);
        } else {
            std::filesystem::remove(key);
        }
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return says(invitation) != hasKey; }));
        EXPECT_TRUE(says("You're in Mousepad"));
        EXPECT_EQ(desktop.activeWindow(), panel);
    }
    // The workflow has not taken the program itself for a step.
    for (const auto& name : shown()) {
        EXPECT_EQ(name.find("Kelvane  →"), std::string::npos) << name;
        EXPECT_EQ(name.find("→  Kelvane"), std::string::npos) << name;
    }
}

/// The entry in the menu as the installation writes it for a program.
std::string menuEntryFor(const std::filesystem::path& program) {
    std::ifstream file(inSourceTree("resources/linux/menu.desktop.in"));
    std::string entry(std::istreambuf_iterator<char>(file), {});
    const auto fill = [&](const std::string& blank, const std::string& with) {
        for (auto at = entry.find(blank); at != std::string::npos; at = entry.find(blank)) {
            entry.replace(at, blank.size(), with);
        }
    };
    fill("@program@", program.string());
    fill("@KELVANE_BUNDLE_ID@", kProgramClass);
    return entry;
}

TEST_F(ProgramLifeTest, TheDesktopEntryOpensThePanelOfTheOneThatRuns) {
    startEditor();
    const auto programs = desktop.home() / "bin";
    std::filesystem::create_directories(programs);
    // As a package has it: a link.
    std::filesystem::create_symlink(KELVANE_PRODUCT, programs / "kelvane");
    const auto variables = environment();
    Program first({KELVANE_PRODUCT}, variables);
    ASSERT_TRUE(waitUntilRunning());
    ASSERT_FALSE(panelStands());
    const auto entry = desktop.home() / (std::string(kProgramClass) + ".desktop");
    std::ofstream(entry) << menuEntryFor(programs / "kelvane");
    Program launcher({"/usr/bin/env", "gio", "launch", entry.string()}, variables);
    EXPECT_EQ(launcher.waitForEnd(), 0);
    EXPECT_TRUE(waitUntilPanel(true));
    EXPECT_TRUE(waitUntilShown("You're in Mousepad"));
    EXPECT_FALSE(first.waitForEnd(0ms).has_value());
}

TEST_F(ProgramLifeTest, WhileAQuestionWaitsALaterStartBringsThatForward) {
    const auto editor = startEditor();
    Program first({KELVANE_PRODUCT, "--service"}, environment());
    const auto question = desktop.waitForWindow(VirtualDesktop::ofClass(kProgramClass));
    ASSERT_TRUE(question);
    ASSERT_TRUE(waitUntilRunning());
    ASSERT_TRUE(desktop.activate(editor.window));
    Program second({KELVANE_PRODUCT}, environment());
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([&] { return desktop.activeWindow() == question->window; }));
    xdotool({"key", "Escape"});
    ASSERT_TRUE(waitUntilPanel(false));
    Program third({KELVANE_PRODUCT}, environment());
    EXPECT_TRUE(waitForCount("shown", 1));
    EXPECT_EQ(count("shown"), 1U) << "a panel that takes no click stood beside the question";
}

TEST_F(ProgramLifeTest, ALaterStartDoesNotWaitForeverForOneThatHangs) {
    Program first({KELVANE_PRODUCT}, environment());
    ASSERT_TRUE(waitUntilRunning());
    first.signal(SIGSTOP);
    Program second({"/bin/sh", "-c", "exec \"$0\" 2>&1", KELVANE_PRODUCT}, environment());
    EXPECT_EQ(second.waitForEnd(10s), 1);
    EXPECT_EQ(restOf(second), "kelvane: another instance runs but does not answer\n");
    first.signal(SIGCONT);
    EXPECT_FALSE(first.waitForEnd(0ms).has_value());
    first.signal(SIGTERM);
    EXPECT_EQ(first.waitForEnd(), 0);
}

TEST_F(ProgramLifeTest, TheTraceTellsWhatWasDrawnWhenAndWhere) {
    startTray();
    startEditor();
    {
        const auto program = startAndOpen();
        ASSERT_TRUE(waitUntilShown("You're in Mousepad"));
        xdotool({"key", "Tab"});
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
            const auto last = traced().back();
            return last["event"] == "frame" &&
                   std::any_of(last["controls"].begin(), last["controls"].end(),
                               [](const auto& control) { return control["focused"] == true; });
        }));
        xdotool({"key", "Escape"});
        ASSERT_TRUE(waitForCount("hidden", 1));
    }
    const auto lines = traced();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines.front()["event"], "shown");
    EXPECT_EQ(count("shown"), 1U);
    EXPECT_EQ(count("hidden"), 1U);
    double before = 0;
    for (const auto& line : lines) {
        EXPECT_GE(line["time"].get<double>(), before);
        before = line["time"].get<double>();
        if (line["event"] != "frame") {
            EXPECT_FALSE(line.contains("controls"));
            continue;
        }
        const auto window = line["window"].get<std::vector<int>>();
        ASSERT_EQ(window.size(), 4U);
        EXPECT_EQ(window[2], 360);
        for (const auto& control : line["controls"]) {
            const auto rect = control["rect"].get<std::vector<int>>();
            ASSERT_EQ(rect.size(), 4U);
            EXPECT_GE(rect[0], window[0]) << control;
            EXPECT_GE(rect[1], window[1]) << control;
            EXPECT_LE(rect[0] + rect[2], window[0] + window[2]) << control;
            EXPECT_LE(rect[1] + rect[3], window[1] + window[3]) << control;
            EXPECT_FALSE(control["name"].get<std::string>().empty());
        }
    }
}

TEST_F(ProgramLifeTest, TheFirstFrameIsAsHighAsTheLast) {
    startTray();
    startEditor();
    const auto program = startAndOpen();
    ASSERT_TRUE(waitUntilShown("You're in Mousepad"));
    std::vector<int> heights;
    for (const auto& line : traced()) {
        if (line["event"] == "frame") heights.push_back(line["window"][3].get<int>());
    }
    ASSERT_FALSE(heights.empty());
    EXPECT_EQ(heights.front(), heights.back());
}

TEST_F(ProgramLifeTest, PictureIsDrawnInAnEmptyEnvironmentWithoutAWordTooMany) {
    const auto path = desktop.home() / "panel.png";
    Program program(
        {"/bin/sh", "-c", "exec \"$0\" --render \"$1\" 2>&1", KELVANE_PRODUCT, path.string()}, {});
    const auto line = program.readUntil("\n");
    EXPECT_EQ(program.waitForEnd(), 0);
    ASSERT_TRUE(line);
    EXPECT_TRUE(line->starts_with("rendered -> " + path.string() + " (720x")) << *line;
    EXPECT_EQ(restOf(program), "");
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ProgramLifeTest, PictureThatCannotBeWrittenLeavesTheOldOneAndNothingBeside) {
    // A folder where the file should be: everything is drawn, and then it cannot be put there.
    const auto folder = desktop.home() / "pictures";
    std::filesystem::create_directories(folder / "panel.png" / "within");
    Program program({"/bin/sh", "-c", "exec \"$0\" --render \"$1\" 2>&1", KELVANE_PRODUCT,
                     (folder / "panel.png").string()},
                    {});
    EXPECT_EQ(program.waitForEnd(), 3);
    EXPECT_TRUE(restOf(program).starts_with("render: ")) << restOf(program);
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) {
        ++entries;
    }
    EXPECT_EQ(entries, 1U);
    EXPECT_TRUE(std::filesystem::exists(folder / "panel.png" / "within"));
}

} // namespace
} // namespace kelvane
