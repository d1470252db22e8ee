// The promises of workspaces, window lists and pasteboards, asked of the product's ports on a real
// Wayland compositor.

#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "tests/contract/pasteboard_contract.h"
#include "tests/contract/workspace_contract.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

/// One sway for all the promises.
class Sway : public testing::Environment {
public:
    static WaylandDesktop& desktop() {
        if (!s_desktop) {
            s_desktop = std::make_unique<WaylandDesktop>();
            // In the middle and of their own size, rather than tiled.
            s_desktop->outputOf({"swaymsg", "for_window [app_id=\".*\"] floating enable"});
        }
        return *s_desktop;
    }
    void TearDown() override { s_desktop.reset(); }

private:
    inline static std::unique_ptr<WaylandDesktop> s_desktop;
};
const auto* const kSway = testing::AddGlobalTestEnvironment(new Sway);

/// The product's ports there.
struct SwayPorts {
    SwayPorts() {
        for (const auto& [name, value] : Sway::desktop().environment()) {
            fakes.environment.variables[name] = value;
        }
        ports = makeLinuxDesktop(fakes.environment, fakes.clock, fakes.ownFocus);
    }
    FakePlatform fakes;
    LinuxDesktop ports;
};

class SwayDesktop : public Furnished {
public:
    ~SwayDesktop() override {
        for (const auto& [name, program] : m_programs) Sway::desktop().end(program.process);
        // It is the next test's desktop.
        TestPrograms::waitUntil([&] { return listed().empty(); });
    }
    SwayDesktop() = default;
    SwayDesktop(const SwayDesktop&) = delete;
    SwayDesktop& operator=(const SwayDesktop&) = delete;

    Workspace& workspace() override { return *m_ports.ports.workspace; }
    WindowList& windowList() override { return *m_ports.ports.windowList; }
    WindowPicture& windowPicture() override { return *m_ports.ports.windowPicture; }

    void open(const std::string& name, std::uint16_t width, std::uint16_t height) override {
        auto& program = m_programs[name];
        if (program.windows++ == 0) {
            const auto pipe = Sway::desktop().home() / name;
            std::filesystem::remove(pipe);
            ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
            program.process =
                Sway::desktop().start({KELVANE_TEXT_WINDOW, name, name, std::to_string(width),
                                       std::to_string(height), "#336699", pipe.string()});
        } else {
            std::ofstream(Sway::desktop().home() / name) << width << ' ' << height << '\n';
        }
        const WindowBounds bounds{static_cast<double>(width), static_cast<double>(height)};
        ASSERT_TRUE(TestPrograms::waitUntil([&] {
            const auto list = listed();
            const auto front = workspace().frontmost();
            return list.size() == windows() && list.front().bounds == bounds && front &&
                   front->name == name;
        }));
    }

    void close(const std::string& name) override {
        Sway::desktop().end(m_programs.at(name).process);
        m_programs.erase(name);
        ASSERT_TRUE(TestPrograms::waitUntil([&] { return listed().size() == windows(); }));
    }

private:
    struct OpenProgram {
        pid_t process = 0;
        std::size_t windows = 0;
    };

    std::vector<WindowInfo> listed() {
        return windowList().onScreenWindows().value_or(std::vector<WindowInfo>{});
    }
    [[nodiscard]] std::size_t windows() const {
        std::size_t all = 0;
        for (const auto& [name, program] : m_programs) all += program.windows;
        return all;
    }

    SwayPorts m_ports;
    std::map<std::string, OpenProgram> m_programs;
};

class PasteboardOfSway : public PasteboardOfSystem {
public:
    PasteboardOfSway() {
        const auto& environment = Sway::desktop().environment();
        m_other = WaylandConnection::open(Sway::desktop().home() / "runtime" /
                                              environment.at("WAYLAND_DISPLAY"),
                                          {m_windows, m_selections}, 10s)
                      .link;
        if (!m_other) throw std::runtime_error("the compositor does not answer");
        pasteboard().clearContents(); // Of what the test before left there.
    }
    Pasteboard& pasteboard() override { return *m_ports.ports.pasteboard; }
    void anotherApplicationCopies(const std::string& text) override {
        const auto content = std::make_shared<const ClipboardContent>(
            ClipboardContent{{std::string(kUtf8String), std::string(kUtf8String), 8, text}});
        ASSERT_TRUE(m_other->run([this, content] { m_selections->offer(content); }));
        ASSERT_TRUE(TestPrograms::waitUntil(
            [&] { return m_selections->seen(SelectionName::Clipboard).ours == content; }));
    }

private:
    SwayPorts m_ports;
    std::shared_ptr<WaylandWindows> m_windows = makeWaylandWindows();
    std::shared_ptr<WaylandSelections> m_selections = makeWaylandSelections(m_windows);
    std::shared_ptr<WaylandConnection> m_other;
};

/// None where there is no sway; the tests of the ports beside these tell that.
template <typename Kind>
std::vector<Kind> onSway(Kind kind) {
    if (WaylandDesktop::missing(Compositor::Sway)) return {};
    return {std::move(kind)};
}

INSTANTIATE_TEST_SUITE_P(Wayland, DesktopContract,
                         testing::ValuesIn(onSway(DesktopKind{
                             "sway", [] { return std::make_unique<SwayDesktop>(); }})),
                         [](const auto& each) { return std::string(each.param.name); });

INSTANTIATE_TEST_SUITE_P(Wayland, PasteboardContract,
                         testing::ValuesIn(onSway(PasteboardKind{
                             "sway",
                             []() -> std::unique_ptr<PasteboardOfSystem> {
                                 return std::make_unique<PasteboardOfSway>();
                             }})),
                         [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
