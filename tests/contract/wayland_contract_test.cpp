// The promises of workspaces, window lists, keyboards and pasteboards, asked of the product's ports
// on real Wayland compositors.

#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "tests/contract/keyboard_contract.h"
#include "tests/contract/keys_of_desktop.h"
#include "tests/contract/pasteboard_contract.h"
#include "tests/contract/workspace_contract.h"
#include "tests/platform/linux/wayland/answering_ports.h"
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

/// One desktop of each compositor for all the promises.
class Desktops : public testing::Environment {
public:
    static WaylandDesktop& of(Compositor compositor) {
        auto& desktop = s_desktops[compositor];
        if (!desktop) {
            // Windows are as large as what they show, and in the middle. KWin would count a title
            // bar in, and sway would tile them.
            desktop = std::make_unique<WaylandDesktop>(
                WaylandOptions{.compositor = compositor, .titles = false});
            desktop->outputOf({"swaymsg", "for_window [app_id=\".*\"] floating enable"});
        }
        return *desktop;
    }
    void TearDown() override { s_desktops.clear(); }

private:
    inline static std::map<Compositor, std::unique_ptr<WaylandDesktop>> s_desktops;
};
const auto* const kDesktops = testing::AddGlobalTestEnvironment(new Desktops);

/// The product's ports there.
struct PortsThere {
    explicit PortsThere(Compositor compositor) {
        for (const auto& [name, value] : Desktops::of(compositor).environment()) {
            fakes.environment.variables[name] = value;
        }
        ports = answeringPorts(fakes.environment, fakes.clock, fakes.ownFocus);
    }
    FakePlatform fakes;
    LinuxDesktop ports;
};

class DesktopOfCompositor : public Furnished {
public:
    explicit DesktopOfCompositor(Compositor compositor)
        : m_desktop(Desktops::of(compositor)),
          m_ports(compositor) {}
    ~DesktopOfCompositor() override {
        for (const auto& [name, program] : m_programs) m_desktop.end(program.process);
        // It is the next test's desktop.
        TestPrograms::waitUntil([&] { return listed().empty(); });
    }
    DesktopOfCompositor(const DesktopOfCompositor&) = delete;
    DesktopOfCompositor& operator=(const DesktopOfCompositor&) = delete;

    Workspace& workspace() override { return *atLeisure().workspace; }
    WindowList& windowList() override { return *atLeisure().windowList; }
    WindowPicture& windowPicture() override { return *atLeisure().windowPicture; }

    void open(const std::string& name, std::uint16_t width, std::uint16_t height) override {
        auto& program = m_programs[name];
        if (program.windows++ == 0) {
            const auto pipe = m_desktop.home() / name;
            std::filesystem::remove(pipe);
            ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
            program.process =
                m_desktop.start({KELVANE_TEXT_WINDOW, name, name, std::to_string(width),
                                 std::to_string(height), "#336699", pipe.string()});
        } else {
            std::ofstream(m_desktop.home() / name) << width << ' ' << height << '\n';
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
        m_desktop.end(m_programs.at(name).process);
        m_programs.erase(name);
        ASSERT_TRUE(TestPrograms::waitUntil([&] { return listed().size() == windows(); }));
    }

private:
    struct OpenProgram {
        pid_t process = 0;
        std::size_t windows = 0;
    };

    /// The ports, once the compositor answers them: a busy one has nothing to tell.
    LinuxDesktop& atLeisure() {
        TestPrograms::waitUntil([&] { return !m_ports.ports.workspace->silentDisplay(); });
        return m_ports.ports;
    }
    std::vector<WindowInfo> listed() {
        return windowList().onScreenWindows().value_or(std::vector<WindowInfo>{});
    }
    [[nodiscard]] std::size_t windows() const {
        std::size_t all = 0;
        for (const auto& [name, program] : m_programs) all += program.windows;
        return all;
    }

    WaylandDesktop& m_desktop;
    PortsThere m_ports;
    std::map<std::string, OpenProgram> m_programs;
};

class KeysOfCompositor : private PortsThere, public KeysOfDesktop<WaylandDesktop> {
public:
    explicit KeysOfCompositor(Compositor compositor)
        : PortsThere(compositor),
          KeysOfDesktop(Desktops::of(compositor), PortsThere::ports) {}
};

class PasteboardOfCompositor : public PasteboardOfSystem {
public:
    explicit PasteboardOfCompositor(Compositor compositor) : m_ports(compositor) {
        const auto& desktop = Desktops::of(compositor);
        m_other = WaylandConnection::open(desktop.home() / "runtime" /
                                              desktop.environment().at("WAYLAND_DISPLAY"),
                                          {m_windows, m_selections}, 10s)
                      .link;
        if (!m_other) throw std::runtime_error("the compositor does not answer");
        pasteboard().clearContents(); // Of what the test before left there.
    }
    Pasteboard& pasteboard() override { return *m_ports.ports.pasteboard; }
    void anotherApplicationCopies(const std::string& text) override {
        const auto content = std::make_shared<const ClipboardContent>(
            ClipboardContent{{std::string(kUtf8String), std::string(kUtf8String), 8, text}});
        m_other->post([this, content] { m_selections->offer(content); });
        ASSERT_TRUE(TestPrograms::waitUntil(
            [&] { return m_selections->seen(SelectionName::Clipboard).ours == content; }));
    }

private:
    PortsThere m_ports;
    std::shared_ptr<WaylandWindows> m_windows = makeWaylandWindows();
    std::shared_ptr<WaylandSelections> m_selections = makeWaylandSelections(m_windows);
    std::shared_ptr<WaylandConnection> m_other;
};

template <typename Made, typename Whole, Compositor compositor>
std::unique_ptr<Whole> on() {
    return std::make_unique<Made>(compositor);
}
template <Compositor compositor>
constexpr auto kDesktopOn = on<DesktopOfCompositor, Furnished, compositor>;
template <Compositor compositor>
constexpr auto kKeysOn = on<KeysOfCompositor, KeysOfSystem, compositor>;
template <Compositor compositor>
constexpr auto kPasteboardOn = on<PasteboardOfCompositor, PasteboardOfSystem, compositor>;

/// Those whose compositor is here; the tests of the ports beside these tell of one that is not.
template <typename Kind>
std::vector<Kind> here(const std::vector<std::pair<Compositor, Kind>>& kinds) {
    std::vector<Kind> found;
    for (const auto& [compositor, kind] : kinds) {
        if (!WaylandDesktop::missing(compositor)) found.push_back(kind);
    }
    return found;
}

INSTANTIATE_TEST_SUITE_P(Wayland, DesktopContract,
                         testing::ValuesIn(here<DesktopKind>(
                             {{Compositor::Sway, {"sway", kDesktopOn<Compositor::Sway>}},
                              {Compositor::KWin, {"kwin", kDesktopOn<Compositor::KWin>}}})),
                         [](const auto& each) { return std::string(each.param.name); });

INSTANTIATE_TEST_SUITE_P(Wayland, KeyboardContract,
                         testing::ValuesIn(here<KeyboardKind>(
                             {{Compositor::Sway, {"sway", kKeysOn<Compositor::Sway>}},
                              {Compositor::KWin, {"kwin", kKeysOn<Compositor::KWin>}}})),
                         [](const auto& each) { return std::string(each.param.name); });

INSTANTIATE_TEST_SUITE_P(Wayland, PasteboardContract,
                         testing::ValuesIn(here<PasteboardKind>(
                             {{Compositor::Sway, {"sway", kPasteboardOn<Compositor::Sway>}},
                              {Compositor::KWin, {"kwin", kPasteboardOn<Compositor::KWin>}}})),
                         [](const auto& each) { return each.param.name; });

} // namespace
} // namespace kelvane
