#include "tests/journey/journey.h"

#include <fstream>
#include <sstream>
#include <thread>

namespace kelvane {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {
/// Selects with the keyboard without owning PRIMARY. It has its document when it has its title.
constexpr auto kAnnouncesNoKeyboardSelection = "FeatherPad";
} // namespace

std::string contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void Journey::makeDesktop(DesktopOptions options) {
    s_desktop = std::make_unique<VirtualDesktop>(std::move(options));
    // Stands in for the browser: keeps the addresses that it was asked to show.
    const auto programs = s_desktop->home() / "programs";
    fs::create_directory(programs);
    s_opened = s_desktop->home() / "opened.txt";
    s_relayed = s_desktop->home() / "relayed.txt";
    std::ofstream(programs / "xdg-open") << "#!/bin/sh\necho \"$1\" >> " << s_opened << "\n";
    fs::permissions(programs / "xdg-open", fs::perms::owner_all);
}

void Journey::TearDownTestSuite() {
    s_desktop.reset();
}

void Journey::SetUp() {
    fs::remove(s_opened);
    fs::remove(s_relayed);
    m_home = s_desktop->home();
    m_program = KELVANE_PRODUCT;
    m_panel = std::make_unique<PanelOnScreen>(*s_desktop);
}

void Journey::TearDown() {
    m_product.reset();
    for (const pid_t program : m_started) s_desktop->end(program);
    m_panel.reset();
}

void Journey::startService(const std::vector<std::string>& more) {
    std::vector<std::string> command{KELVANE_SERVICE, "--port", std::to_string(m_port), "--data",
                                     (s_desktop->home() / "service").string()};
    command.insert(command.end(), more.begin(), more.end());
    m_service = std::make_unique<Program>(command, s_desktop->environment());
    const auto line = m_service->readUntil("\n", 20s);
    ASSERT_TRUE(line);
    const std::string expected = "trevix-local listening on http://127.0.0.1:";
    ASSERT_EQ(line->substr(0, expected.size()), expected);
    m_port = std::stoi(line->substr(expected.size()));
}

std::string Journey::serviceAddress() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}

std::string Journey::startRelay(const std::vector<std::string>& options) {
    std::vector<std::string> command{KELVANE_PYTHON, KELVANE_RELAY};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {std::to_string(m_port), s_relayed.string()});
    m_relay = std::make_unique<Program>(command, s_desktop->environment());
    const auto line = m_relay->readUntil("\n");
    EXPECT_TRUE(line);
    return "http://127.0.0.1:" + line.value_or("\n").substr(0, line.value_or("\n").find('\n'));
}

std::string Journey::serviceKey() {
    auto key = contents(s_desktop->home() / "service" / "key");
    while (key.ends_with('\n')) key.pop_back();
    return key;
}

void Journey::open(const std::vector<std::string>& command, const std::string& wmClass) {
    m_started.push_back(s_desktop->start(command));
    // The window is there before its document is, and has its name once it is.
    const fs::path last = command.back();
    const auto name = last.is_absolute() ? last.filename().string() : std::string();
    const auto window = s_desktop->waitForWindow([&](const DesktopWindow& candidate) {
        return candidate.wmClass == wmClass && candidate.title.find(name) != std::string::npos;
    });
    ASSERT_TRUE(window) << wmClass << " with " << name;
    ASSERT_TRUE(s_desktop->activate(window->window));
    m_front = window->window;
}

bool Journey::waitForOwner(const std::string& selection, std::chrono::milliseconds timeout) {
    auto& x = s_desktop->link();
    return VirtualDesktop::waitUntil(
        [&] {
            const XcbOwned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
                x.xcb(), xcb_get_selection_owner(x.xcb(), x.atom(selection)), nullptr));
            return reply && reply->owner != XCB_WINDOW_NONE;
        },
        timeout);
}

std::string Journey::selected() {
    const auto out = s_desktop->home() / "selected.txt";
    fs::remove(out);
    const auto program = s_desktop->start(
        {"sh", "-c",
         "exec timeout 10 xclip -selection primary -t UTF8_STRING -out >'" + out.string() + "'"});
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !s_desktop->running(program); }));
    return contents(out);
}

void Journey::openAndSelectAll(const std::vector<std::string>& command,
                               const std::string& wmClass) {
    open(command, wmClass);
    // The editor has its window before it has read the file, and a selection of what there is of
    // it then is gone when the rest comes. Not each gives the last end of line.
    const auto all = contents(command.back());
    const auto lines = all.substr(0, all.find_last_not_of('\n') + 1);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        panel().press("ctrl+a");
        if (!s_desktop->hasDealtWithEverything(m_front)) return false;
        return wmClass == kAnnouncesNoKeyboardSelection ||
               (waitForOwner("PRIMARY", 1s) && selected().starts_with(lines));
    }));
}

fs::path Journey::document(const std::string& text, const std::string& name) {
    auto path = s_desktop->home() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::map<std::string, std::string> Journey::productEnvironment() const {
    auto environment = s_desktop->environment();
    environment["HOME"] = m_home.string();
    environment["PATH"] = (s_desktop->home() / "programs").string() + ":" + environment["PATH"];
    environment["BRASK_API_BASE"] = serviceAddress();
    environment["BRASK_API_KEY"] = serviceKey();
    environment["KELVANE_PANEL_TRACE"] = m_panel->trace().string();
    return environment;
}

void Journey::startProduct(const std::map<std::string, std::string>& more,
                           std::vector<std::string> arguments) {
    auto environment = productEnvironment();
    for (const auto& [name, value] : more) environment[name] = value;
    arguments.insert(arguments.begin(), m_program.string());
    fs::remove(panel().trace()); // what an earlier one drew is gone from the screen
    m_product = std::make_unique<Program>(arguments, environment);
    ASSERT_TRUE(panel().waitForIcon());
}

PanelOnScreen::Frame Journey::pressAndWait(const std::string& button, const std::string& text) {
    EXPECT_TRUE(panel().click(button)) << button << " is not there:\n" << panel().frame().all();
    const auto frame = panel().waitForText(text);
    EXPECT_TRUE(frame) << text << " was never said:\n" << panel().frame().all();
    return frame.value_or(PanelOnScreen::Frame{});
}

void Journey::chooseFromMenu(const std::string& item) {
    if (!panel().frame().shown) {
        ASSERT_TRUE(panel().open());
    }
    ASSERT_TRUE(panel().click("Settings"));
    ASSERT_TRUE(panel().click(item)) << item << " is not there:\n" << panel().frame().all();
}

void Journey::quitThroughTheMenu() {
    chooseFromMenu("Quit");
    EXPECT_EQ(m_product->waitForEnd(), 0);
}

} // namespace kelvane
