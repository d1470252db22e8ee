#include "tests/journey/panel_on_screen.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <thread>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenClicks = 700ms;
constexpr const char* kProductClass = "example.trevix.kelvane.menubar";
constexpr int kLargestIcon = 64;  // Pixels.
constexpr int kDeepestWindow = 7; // An icon: in the frame of a bar, in the bar, in its socket.

PanelOnScreen::Frame frameOf(const nlohmann::json& line) {
    PanelOnScreen::Frame frame;
    frame.time = line.at("time").get<double>();
    frame.shown = true;
    const auto& window = line.at("window");
    frame.x = window.at(0).get<int>();
    frame.y = window.at(1).get<int>();
    frame.width = window.at(2).get<int>();
    frame.height = window.at(3).get<int>();
    for (const auto& control : line.at("controls")) {
        const auto& place = control.at("rect");
        frame.controls.push_back({.name = control.at("name").get<std::string>(),
                                  .role = control.at("role").get<std::string>(),
                                  .enabled = control.at("enabled").get<bool>(),
                                  .focused = control.at("focused").get<bool>(),
                                  .x = place.at(0).get<int>(),
                                  .y = place.at(1).get<int>(),
                                  .width = place.at(2).get<int>(),
                                  .height = place.at(3).get<int>()});
    }
    return frame;
}

} // namespace

const PanelOnScreen::Control* PanelOnScreen::Frame::button(const std::string& name) const {
    const auto found = std::ranges::find_if(controls, [&](const Control& control) {
        // A check box is "other"; what it says beside it is a text of the same name.
        return control.name == name && control.role != "text";
    });
    return found == controls.end() ? nullptr : &*found;
}

bool PanelOnScreen::Frame::says(const std::string& text) const {
    return std::ranges::any_of(controls, [&](const Control& control) {
        return control.name.find(text) != std::string::npos;
    });
}

std::string PanelOnScreen::Frame::all() const {
    std::string text = shown ? "" : "(not shown)\n";
    for (const auto& control : controls) text += control.role + ": " + control.name + "\n";
    return text;
}

PanelOnScreen::PanelOnScreen(VirtualDesktop& desktop)
    : m_desktop(desktop),
      m_trace(desktop.home() / "panel-trace.jsonl") {
    m_tray = m_desktop.start({"trayer", "--edge", "top", "--align", "right", "--widthtype",
                              "request", "--height", "28", "--monitor", "primary"});
}

PanelOnScreen::~PanelOnScreen() {
    m_desktop.end(m_tray);
    std::error_code ignored;
    std::filesystem::remove(m_trace, ignored);
}

PanelOnScreen::Frame PanelOnScreen::frame() const {
    std::ifstream file(m_trace);
    const std::string trace{std::istreambuf_iterator<char>(file), {}};
    // From its end: it is looked at every few milliseconds, and a panel that moves has drawn
    // hundreds.
    for (std::size_t end = trace.size(); end > 0;) {
        const std::size_t before = end < 2 ? std::string::npos : trace.rfind('\n', end - 2);
        const std::size_t begin = before == std::string::npos ? 0 : before + 1;
        const auto line =
            nlohmann::json::parse(trace.begin() + static_cast<std::ptrdiff_t>(begin),
                                  trace.begin() + static_cast<std::ptrdiff_t>(end), nullptr, false);
        end = begin;
        if (line.is_discarded()) continue; // being written
        const auto event = line.at("event").get<std::string>();
        if (event == "frame") return frameOf(line);
        if (event == "hidden") return {};
    }
    return {};
}

std::optional<PanelOnScreen::Frame>
PanelOnScreen::waitFor(const std::function<bool(const Frame&)>& wanted,
                       std::chrono::milliseconds timeout) const {
    Frame last;
    const bool came = VirtualDesktop::waitUntil(
        [&] {
            last = frame();
            return wanted(last);
        },
        timeout);
    return came ? std::optional(last) : std::nullopt;
}

std::optional<PanelOnScreen::Frame>
PanelOnScreen::waitForText(const std::string& text, std::chrono::milliseconds timeout) const {
    return waitFor([&](const Frame& frame) { return frame.says(text); }, timeout);
}

std::optional<PanelOnScreen::Box> PanelOnScreen::windowOfOurs(const Wanted& wanted) const {
    return windowBelow(m_desktop.link().root(), wanted, 0);
}

// Not every window manager lists a dock among the windows or leaves it its width: windows are
// looked for on the screen itself.
std::optional<PanelOnScreen::Box>
PanelOnScreen::windowBelow(xcb_window_t window, const Wanted& wanted, int depth) const {
    auto& link = m_desktop.link();
    const XcbOwned<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(link.xcb(), xcb_query_tree(link.xcb(), window), nullptr));
    if (!tree) return std::nullopt;
    const auto* const children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        if (isOurs(children[i])) {
            const auto box = boxOf(children[i]);
            if (box && wanted(*box, depth)) return box;
        }
        if (depth == kDeepestWindow) continue;
        if (const auto found = windowBelow(children[i], wanted, depth + 1)) return found;
    }
    return std::nullopt;
}

std::optional<PanelOnScreen::Box> PanelOnScreen::icon() const {
    return windowOfOurs(
        [](const Box& box, int depth) { return depth > 0 && box.width <= kLargestIcon; });
}

bool PanelOnScreen::isWithinReach(const Frame& frame, const Control& control) const {
    const Box drawn{frame.x, frame.y, frame.width, frame.height};
    return windowOfOurs([&](const Box& box, int) { return box == drawn; }) &&
           isOursAt(control.middleX(), control.middleY());
}

bool PanelOnScreen::isOursAt(int x, int y) const {
    auto& link = m_desktop.link();
    for (xcb_window_t window = link.root(); window != 0;) {
        if (isOurs(window)) return true;
        const XcbOwned<xcb_translate_coordinates_reply_t> below(xcb_translate_coordinates_reply(
            link.xcb(),
            xcb_translate_coordinates(link.xcb(), link.root(), window, static_cast<int16_t>(x),
                                      static_cast<int16_t>(y)),
            nullptr));
        window = below ? below->child : xcb_window_t{0};
    }
    return false;
}

bool PanelOnScreen::isOurs(xcb_window_t window) const {
    auto& link = m_desktop.link();
    const auto name = link.property(window, XCB_ATOM_WM_CLASS);
    if (!name || name->bytes.find(kProductClass) == std::string::npos) return false;
    const XcbOwned<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
        link.xcb(), xcb_get_window_attributes(link.xcb(), window), nullptr));
    return state && state->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::optional<PanelOnScreen::Box> PanelOnScreen::boxOf(xcb_window_t window) const {
    auto& link = m_desktop.link();
    const XcbOwned<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(link.xcb(), xcb_get_geometry(link.xcb(), window), nullptr));
    const XcbOwned<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
        link.xcb(), xcb_translate_coordinates(link.xcb(), window, link.root(), 0, 0), nullptr));
    if (!size || !corner) return std::nullopt;
    return Box{corner->dst_x, corner->dst_y, size->width, size->height};
}

bool PanelOnScreen::waitForIcon() const {
    return VirtualDesktop::waitUntil([&] { return icon().has_value(); }, 20s);
}

void PanelOnScreen::clickIcon() {
    std::this_thread::sleep_until(m_nextClick);
    if (const auto box = icon()) clickAt(box->x + box->width / 2, box->y + box->height / 2);
    m_nextClick = std::chrono::steady_clock::now() + kBetweenClicks;
}

bool PanelOnScreen::open() {
    if (!waitForIcon()) return false;
    // A tray host makes room for an icon before the icon can hear of clicks; a person whose click
    // did nothing clicks again.
    for (int attempt = 0; attempt < 3; ++attempt) {
        clickIcon();
        if (waitFor([](const Frame& frame) { return frame.shown; }, 6s)) return true;
    }
    return false;
}

bool PanelOnScreen::click(const std::string& name) {
    const auto there = waitFor([&](const Frame& frame) {
        const Control* const control = frame.button(name);
        return control != nullptr && control->enabled && isWithinReach(frame, *control);
    });
    if (!there) return false;
    const Control& control = *there->button(name);
    clickAt(control.middleX(), control.middleY());
    return true;
}

void PanelOnScreen::clickAt(int x, int y) {
    run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
}

void PanelOnScreen::press(const std::string& key) {
    run({"xdotool", "key", "--clearmodifiers", key});
    m_nextClick = {}; // with a key in between, a click is one by itself
}

void PanelOnScreen::xdotool(std::vector<std::string> words) {
    words.insert(words.begin(), "xdotool");
    run(words);
}

void PanelOnScreen::run(const std::vector<std::string>& command) {
    const pid_t program = m_desktop.start(command);
    VirtualDesktop::waitUntil([&] { return !m_desktop.running(program); });
}

} // namespace kelvane
