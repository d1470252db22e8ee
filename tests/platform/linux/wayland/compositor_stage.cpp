#include "tests/platform/linux/wayland/compositor_stage.h"

#include "detect/capture.h"
#include "platform/linux/common/copy_clipboard.h"
#include "tests/platform/linux/wayland/answering_ports.h"

#include <ostream>
#include <stdexcept>
#include <utility>

namespace kelvane {

using namespace std::chrono_literals;

const char* nameOf(Compositor compositor) {
    return compositor == Compositor::Sway ? "sway" : "kwin";
}

void PrintTo(Compositor compositor, std::ostream* out) {
    *out << nameOf(compositor);
}

Stage::Stage(const WaylandOptions& options) : desktop(options) {
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    ports = answeringPorts(fakes.environment, clock, fakes.ownFocus);
    // Whoever is let in by now: KWin knows this program once it answers the ports.
    socket = desktop.home() / "runtime" / desktop.environment().at("WAYLAND_DISPLAY");
    person = WaylandConnection::open(socket, {windows, keys, selections}, 10s).link;
    if (!person) throw std::runtime_error("the compositor does not answer");
}

void Stage::press(const std::vector<std::uint32_t>& codes) {
    std::vector<WaylandKey> strokes;
    for (const auto code : codes) strokes.push_back({code, true});
    for (auto code = codes.rbegin(); code != codes.rend(); ++code) {
        strokes.push_back({*code, false});
    }
    person->post([keys = keys, strokes] { keys->post(strokes); });
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return person->answers(); }));
}

void Stage::copies(ClipboardContent content) {
    const auto shared = std::make_shared<const ClipboardContent>(std::move(content));
    // A program that copies late takes it away again.
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        person->post([this, shared] { selections->offer(shared); });
        return WaylandDesktop::waitUntil(
            [&] { return selections->seen(SelectionName::Clipboard).ours == shared; }, 1s);
    }));
}

std::string Stage::pasted(const std::string& type) {
    return desktop.outputOf({"wl-paste", "--no-newline", "--type", type});
}

std::string Stage::held(SelectionName which, const std::string& type) {
    const auto now = selections->seen(which);
    const auto end = std::chrono::steady_clock::now() + 5s;
    return selections->read(which, now.generation, type, {kLargestText, 1s, end}).bytes;
}

bool Stage::pastes(const std::string& content, const std::string& type) {
    return WaylandDesktop::waitUntil([&] { return pasted(type) == content; });
}

std::string Stage::frontId() {
    const auto front = ports.workspace->frontmost();
    return front ? front->bundleId.value_or("(no identity)") : "(nobody)";
}

bool Stage::waitForFront(const std::string& id, std::chrono::milliseconds timeout) {
    const bool came = WaylandDesktop::waitUntil([&] { return frontId() == id; }, timeout);
    if (!came) ADD_FAILURE() << frontId() << " is in front, not " << id;
    return came;
}

std::optional<std::string> Stage::capture() {
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

bool Stage::captures(const std::string& text) {
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

std::optional<PngPixels> Stage::picture() {
    const auto front = ports.workspace->frontmost();
    if (!front) return std::nullopt;
    const auto png = Capture::frontWindowPNG(*ports.windowList, *ports.windowPicture, front->pid);
    return png ? decodePng(*png) : std::nullopt;
}

namespace {

using Stages = std::map<std::pair<Compositor, bool>, std::unique_ptr<Stage>>;

Stages& stages() {
    static Stages all;
    return all;
}

} // namespace

Stage& stageOf(Compositor compositor, bool xwayland) {
    auto& stage = stages()[{compositor, xwayland}];
    if (!stage) {
        stage =
            std::make_unique<Stage>(WaylandOptions{.compositor = compositor, .xwayland = xwayland});
    }
    return *stage;
}

void endStages() {
    stages().clear();
}

void OnCompositor::SetUp() {
    if (const auto why = WaylandDesktop::missing(GetParam())) GTEST_SKIP() << *why;
    if (xwayland() && !installedProgram("Xwayland")) {
        GTEST_SKIP() << "NOT TESTED: Xwayland is not installed (scripts/bootstrap test)";
    }
    m_stage = &stageOf(GetParam(), xwayland());
}

void OnCompositor::TearDown() {
    for (const auto program : m_started) m_stage->desktop.end(program);
}

pid_t OnCompositor::start(const std::vector<std::string>& command,
                          const std::map<std::string, std::string>& more) {
    m_started.push_back(m_stage->desktop.start(command, more));
    return m_started.back();
}

} // namespace kelvane
