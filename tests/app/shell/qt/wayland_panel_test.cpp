// The built program's panel on sway and KWin: where it stands, and what closes it.

#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <wayland-client.h>

#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvane {
namespace {

/// The left one, as Linux numbers buttons.
constexpr std::uint32_t kLeftButton = 0x110;

// What is used of zwlr_virtual_pointer_v1 in its first version, described by hand: no package of
// Debian's holds its description.
std::array<const wl_interface*, 5> kPlain{};
const std::array<wl_message, 9> kPointerRequests{{{"motion", "uff", kPlain.data()},
                                                  {"motion_absolute", "uuuuu", kPlain.data()},
                                                  {"button", "uuu", kPlain.data()},
                                                  {"axis", "uuf", kPlain.data()},
                                                  {"frame", "", kPlain.data()},
                                                  {"axis_source", "u", kPlain.data()},
                                                  {"axis_stop", "uu", kPlain.data()},
                                                  {"axis_discrete", "uufi", kPlain.data()},
                                                  {"destroy", "", kPlain.data()}}};
const wl_interface kPointer{"zwlr_virtual_pointer_v1", 1, kPointerRequests.size(),
                            kPointerRequests.data(),   0, nullptr};
std::array<const wl_interface*, 2> kCreation{&wl_seat_interface, &kPointer};
const std::array<wl_message, 2> kManagerRequests{
    {{"create_virtual_pointer", "?on", kCreation.data()}, {"destroy", "", kPlain.data()}}};
const wl_interface kManager{"zwlr_virtual_pointer_manager_v1", 1, kManagerRequests.size(),
                            kManagerRequests.data(),           0, nullptr};
constexpr std::uint32_t kMoveTo = 1;
constexpr std::uint32_t kButton = 2;
constexpr std::uint32_t kFrame = 4;

/// A mouse that is plugged in for as long as this lives.
class Mouse {
public:
    explicit Mouse(const std::filesystem::path& socket)
        : m_display(wl_display_connect(socket.c_str())) {
        if (m_display == nullptr) throw std::runtime_error("no compositor");
        auto* const registry = wl_display_get_registry(m_display);
        static constexpr wl_registry_listener kListener{
            [](void* data, wl_registry* from, std::uint32_t name, const char* interface,
               std::uint32_t) {
                if (std::strcmp(interface, kManager.name) != 0) return;
                *static_cast<wl_proxy**>(data) =
                    static_cast<wl_proxy*>(wl_registry_bind(from, name, &kManager, 1));
            },
            [](void*, wl_registry*, std::uint32_t) {}};
        wl_proxy* manager = nullptr;
        wl_registry_add_listener(registry, &kListener, &manager);
        wl_display_roundtrip(m_display);
        if (manager == nullptr) throw std::runtime_error("no virtual pointers");
        m_mouse = wl_proxy_marshal_flags(manager, 0, &kPointer, 1, 0, nullptr, nullptr);
        wl_display_roundtrip(m_display);
    }
    ~Mouse() { wl_display_disconnect(m_display); }
    Mouse(const Mouse&) = delete;
    Mouse& operator=(const Mouse&) = delete;

    /// In parts of 1000 of the screen.
    void click(std::uint32_t x, std::uint32_t y) {
        send(kMoveTo, ++m_time, x, y, 1000U, 1000U);
        send(kFrame);
        for (const std::uint32_t state : {1U, 0U}) {
            send(kButton, ++m_time, kLeftButton, state);
            send(kFrame);
        }
        wl_display_roundtrip(m_display);
    }

private:
    template <typename... Arguments>
    void send(std::uint32_t request, Arguments... arguments) {
        wl_proxy_marshal_flags(m_mouse, request, nullptr, 1, 0, arguments...);
    }
    wl_display* m_display;
    wl_proxy* m_mouse = nullptr;
    std::uint32_t m_time = 0;
};

class PanelOnWayland : public testing::Test {
protected:
    /// A desktop for the product.
    void begin(const WaylandOptions& options) {
        desktop = std::make_unique<WaylandDesktop>(options);
        std::filesystem::create_directories(desktop->home() / ".brask");
        desktop->file(".brask/validate.py", "#\n");
    }
    /// The panel is closed then. A second start has the first one open it.
    void startProduct() {
        startProgram();
        ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
            std::error_code none;
            const auto runtime = desktop->home() / "runtime";
            for (const auto& entry : std::filesystem::recursive_directory_iterator(runtime, none)) {
                if (entry.path().extension() == ".socket") return true;
            }
            return false;
        }));
    }
    void startProgram() { desktop->start({KELVANE_PRODUCT}, variables()); }
    std::map<std::string, std::string> variables() const {
        return {{"BRASK_APP_NO_PERSIST", "1"},
                {"BRASK_APP_NO_OPEN", "1"},
                {"BRASK_API_BASE", service},
                {"BRASK_API_KEY", "a key"},
                {"KELVANE_PANEL_TRACE", trace().string()}};
    }
    std::filesystem::path trace() const { return desktop->home() / "trace.jsonl"; }
    std::size_t count(const std::string& event) const {
        std::size_t n = 0;
        std::ifstream file(trace());
        for (std::string line; std::getline(file, line);) {
            const auto parsed = nlohmann::json::parse(line, nullptr, false);
            n += !parsed.is_discarded() && parsed["event"] == event ? 1U : 0U;
        }
        return n;
    }
    void open() {
        const auto before = count("frame");
        startProgram();
        ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return count("frame") > before; }))
            << "the panel was not drawn";
    }
    bool closes() {
        return WaylandDesktop::waitUntil([&] { return count("hidden") == count("shown"); });
    }
    std::unique_ptr<WaylandDesktop> desktop;
    std::string service = "http://127.0.0.1:9";
};

class WaylandPanel : public PanelOnWayland, public testing::WithParamInterface<double> {
protected:
    void SetUp() override {
        if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
        begin({.scale = GetParam()});
        startProduct();
        mouse = std::make_unique<Mouse>(desktop->home() / "runtime" /
                                        desktop->environment().at("WAYLAND_DISPLAY"));
        desktop->start({"mousepad", "--disable-server"});
        ASSERT_TRUE(
            WaylandDesktop::waitUntil([&] { return tree().find("ousepad") != std::string::npos; }));
    }
    std::string tree() { return desktop->outputOf({"swaymsg", "-t", "get_tree"}); }
    std::unique_ptr<Mouse> mouse; ///< Gone before the desktop.
};

TEST_P(WaylandPanel, IsNoWindowThatTheCompositorPlacesAndClosesAtEscapeAndAtAClickElsewhere) {
    open();
    EXPECT_EQ(tree().find("example.trevix.kelvane"), std::string::npos) << "an ordinary window";
    if (const char* const folder = std::getenv("KELVANE_PICTURES")) {
        desktop->outputOf(
            {"grim", std::string(folder) + "/panel-" + std::to_string(GetParam()) + ".png"});
    }
    desktop->outputOf({"wtype", "-k", "Escape"});
    EXPECT_TRUE(closes()) << "Escape";
    open();
    mouse->click(200, 800);
    EXPECT_TRUE(closes()) << "a click elsewhere";
}

/// A service that takes work: the first picture it is sent becomes a file, and nothing is judged.
constexpr auto kPictureKeeper = R"py(
import base64, http.server, os, re, sys

class Keeper(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        picture = re.search(rb'"data_b64": *"([^"]+)"', body)
        if picture:
            with open("picture.part", "wb") as file:
                file.write(base64.b64decode(picture[1]))
            os.rename("picture.part", "picture.png")
        self.send_error(503)
    def log_message(self, *words):
        pass

os.chdir(sys.argv[1])
server = http.server.HTTPServer(("127.0.0.1", 0), Keeper)
with open("port.part", "w") as file:
    file.write(str(server.server_port))
os.rename("port.part", "port")
server.serve_forever()
)py";

TEST_F(PanelOnWayland, IsInNoPictureThatIsTakenWhileItIsOpen) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    begin({});
    const auto home = desktop->home();
    const auto contentOf = [&](const std::string& name) {
        std::ifstream file(home / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    desktop->start({"python3", desktop->file("keeper.py", kPictureKeeper).string(), home.string()});
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return !contentOf("port").empty(); }));
    service = "http://127.0.0.1:" + contentOf("port");
    // A window of one colour under the name of an application that is graded; as large as the
    // screen, so that the panel stands over it.
    const std::string known = "org.xfce.mousepad";
    desktop->start({KELVANE_TEXT_WINDOW, known, known, "1280", "800", "#336699"});
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        return desktop->outputOf({"swaymsg", "-t", "get_tree"}).find(known) != std::string::npos;
    }));
    desktop->outputOf({"swaymsg", "[app_id=" + known + "] fullscreen enable"});
    startProduct();
    open();
    if (const char* const folder = std::getenv("KELVANE_PICTURES")) {
        desktop->outputOf({"grim", std::string(folder) + "/panel-over-window.png"});
    }
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        desktop->outputOf({KELVANE_PRODUCT, "--grade", "--window"}, variables());
        return std::filesystem::exists(home / "picture.png");
    }));
    const auto pixels = decodePng(contentOf("picture.png"));
    ASSERT_TRUE(pixels);
    ASSERT_EQ(pixels->width, 1280U);
    ASSERT_EQ(pixels->height, 800U);
    // The right half is where the panel stands; the window's own text cursor is on the left.
    for (std::uint32_t y = 0; y < pixels->height; ++y) {
        for (std::uint32_t x = pixels->width / 2; x < pixels->width; ++x) {
            ASSERT_EQ(pixels->at(x, y), 0xFF336699U) << x << ", " << y;
        }
    }
    EXPECT_GT(count("shown"), count("hidden")) << "the panel stays to show what comes of it";
}

TEST_F(PanelOnWayland, OfKWinOpensAgainAndAgainAndClosesWhenAnotherWindowHasTheKeyboard) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    begin({.compositor = Compositor::KWin});
    startProduct();
    for (int i = 0; i < 2; ++i) {
        open();
        EXPECT_GT(count("shown"), count("hidden"));
        desktop->start({"mousepad", "--disable-server"});
        EXPECT_TRUE(closes()) << "another window came to the front";
    }
}

INSTANTIATE_TEST_SUITE_P(Scales, WaylandPanel, testing::Values(1.0, 1.5),
                         [](const testing::TestParamInfo<double>& scale) {
                             return scale.param == 1.0 ? std::string("Plain")
                                                       : std::string("OneAndAHalf");
                         });

} // namespace
} // namespace kelvane
