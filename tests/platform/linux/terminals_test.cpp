// Real terminals: what is selected in one is captured, and whatever runs in it notices nothing.

#include "tests/platform/linux/capture_desktop_test.h"

#include <gmock/gmock.h>

#include <fstream>
#include <ostream>
#include <sstream>
#include <string>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

struct Terminal {
    std::string name;
    std::vector<std::string> command;
    bool oneArgument; ///< The program to run in it is one word to its option.
    std::string wmClass;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Terminal& terminal, std::ostream* out) {
    *out << terminal.name;
}

/// Notes every interrupt and every byte that it gets.
constexpr auto kChild = R"(import os, signal, sys, termios
log = open(sys.argv[1], 'ab', 0)
signal.signal(signal.SIGINT, lambda *_: log.write(b'<INT>'))
mode = termios.tcgetattr(0)
mode[3] &= ~(termios.ICANON | termios.ECHO)
termios.tcsetattr(0, termios.TCSANOW, mode)
sys.stdout.write('selectable selectable selectable selectable\n' * 12)
sys.stdout.flush()
log.write(b'<READY>')
while True:
    got = os.read(0, 4096)
    if not got:
        break
    log.write(got)
)";

class TerminalsTest : public ClipboardDesktopTest<TerminalsTest>,
                      public testing::WithParamInterface<Terminal> {
public:
    inline static const DesktopOptions kDesktop{};

protected:
    /// 180 ms become 3.
    static constexpr int kSpeed = 60;
    static constexpr int kCaptures = 50;

    void open() {
        const auto script = file("child.py", kChild).string();
        log = desktop().home() / "child.log";
        std::filesystem::remove(log);
        auto command = GetParam().command;
        if (GetParam().oneArgument) {
            command.push_back("python3 " + script + " " + log.string());
        } else {
            command.insert(command.end(), {"python3", script, log.string()});
        }
        start(command);
        const auto found = desktop().waitForWindow(VirtualDesktop::ofClass(GetParam().wmClass));
        ASSERT_TRUE(found);
        window = found->window;
        ASSERT_TRUE(desktop().activate(window));
        ASSERT_TRUE(VirtualDesktop::waitUntil([this] { return noted() == "<READY>"; }));
    }

    /// What the program in the terminal noted so far.
    [[nodiscard]] std::string noted() const {
        std::ostringstream text;
        text << std::ifstream(log, std::ios::binary).rdbuf();
        return text.str();
    }

    /// Selects a word, as a person does.
    void doubleClick() const {
        const auto target = std::to_string(window);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            outputOf("xdotool mousemove --window " + target +
                     " 150 100 sleep 0.05 click --repeat 2 --delay 60 1");
            return VirtualDesktop::waitUntil([] { return ownerOf("PRIMARY") != 0; }, 700ms);
        }));
    }

    std::filesystem::path log;
    xcb_window_t window = 0;
};

TEST_P(TerminalsTest, aHundredCapturesReachNothingInside) {
    ProductPorts product(desktop(), kSpeed);
    otherProgramCopies("theirs");
    const auto owner = clipboardOwner();
    ASSERT_NO_FATAL_FAILURE(open());

    for (int i = 0; i < kCaptures; ++i) ASSERT_EQ(product.captureText(), std::nullopt);
    doubleClick();
    for (int i = 0; i < kCaptures; ++i) ASSERT_EQ(product.captureText(), "selectable");
    EXPECT_EQ(noted(), "<READY>");
    EXPECT_EQ(clipboardOwner(), owner) << "the clipboard was touched";
    EXPECT_EQ(pasted(), "theirs");

    // Had anything come, it would have been noted.
    outputOf("xdotool key x");
    EXPECT_TRUE(VirtualDesktop::waitUntil([this] { return noted() == "<READY>x"; }));
    outputOf("xdotool key ctrl+c");
    EXPECT_TRUE(VirtualDesktop::waitUntil([this] { return noted() == "<READY>x<INT>"; }));
}

TEST_P(TerminalsTest, anotherProgramsSelectionIsNotTheTerminals) {
    ProductPorts product(desktop(), kSpeed);
    ASSERT_NO_FATAL_FAILURE(open());
    start({"xclip", "-quiet", "-selection", "primary", file("other", "not yours").string()});
    ASSERT_TRUE(VirtualDesktop::waitUntil([] { return ownerOf("PRIMARY") != 0; }));
    EXPECT_EQ(product.captureText(), std::nullopt);
    EXPECT_EQ(noted(), "<READY>");
}

INSTANTIATE_TEST_SUITE_P(Real, TerminalsTest,
                         testing::Values(Terminal{"xterm", {"xterm", "-e"}, false, "XTerm"},
                                         Terminal{"xfce4_terminal",
                                                  {"xfce4-terminal", "--disable-server", "-x"},
                                                  false,
                                                  "Xfce4-terminal"},
                                         Terminal{
                                             "qterminal", {"qterminal", "-e"}, true, "qterminal"}),
                         [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
