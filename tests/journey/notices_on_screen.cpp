#include "tests/journey/notices_on_screen.h"

#include "tests/journey/program.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kelvane {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

void script(const fs::path& path, const std::string& lines) {
    std::ofstream(path) << "#!/bin/sh\n" << lines;
    fs::permissions(path, fs::perms::owner_all);
}

std::string readAll(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace

NoticesOnScreen::NoticesOnScreen(VirtualDesktop& desktop)
    : m_desktop(desktop),
      m_folder(desktop.home() / "notices") {
    fs::remove_all(m_folder);
    fs::create_directories(m_folder);
    // Started by the daemon for each message that it shows, also in the place of another.
    script(m_folder / "told", "printf '%s\\t%s\\t%s\\t%s\\n' \"$DUNST_TIMESTAMP\" "
                              "\"$DUNST_APP_NAME\" \"$DUNST_SUMMARY\" \"$DUNST_BODY\" >> " +
                                  (m_folder / "told.txt").string() + "\n");
    // Stands in for the menu: is given what can be chosen, a line each, and prints the line that
    // is.
    script(m_folder / "menu", "tee " + (m_folder / "offered.txt").string() +
                                  " | grep -F -- \"$(cat " + (m_folder / "wanted.txt").string() +
                                  ")\"\n");
    std::ofstream(m_folder / "dunstrc") << "[global]\n"
                                           "origin = bottom-left\n"
                                           "offset = 40x40\n"
                                           "width = 320\n"
                                           "notification_limit = 5\n"
                                           "mouse_left_click = do_action\n"
                                           "dmenu = "
                                        << (m_folder / "menu").string()
                                        << "\n"
                                           "[all]\n"
                                           "timeout = 0\n"
                                           "script = "
                                        << (m_folder / "told").string() << "\n";
    m_daemon = m_desktop.start({"dunst", "-conf", (m_folder / "dunstrc").string()});
    if (!VirtualDesktop::waitUntil([&] { return shown().has_value(); })) {
        throw std::runtime_error("dunst did not start");
    }
}

NoticesOnScreen::~NoticesOnScreen() {
    m_desktop.end(m_daemon);
}

std::vector<NoticesOnScreen::Notice> NoticesOnScreen::told() const {
    std::vector<Notice> all;
    std::istringstream lines(readAll(m_folder / "told.txt"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string time;
        Notice notice;
        std::getline(fields, time, '\t');
        std::getline(fields, notice.program, '\t');
        std::getline(fields, notice.title, '\t');
        std::getline(fields, notice.body, '\t');
        notice.time = std::stod(time) / 1e3;
        all.push_back(std::move(notice));
    }
    return all;
}

bool NoticesOnScreen::waitForTold(std::size_t count) const {
    return VirtualDesktop::waitUntil([&] { return told().size() >= count; });
}

std::optional<int> NoticesOnScreen::shown() {
    const std::string said = control({"count", "displayed"});
    int count = 0;
    const auto [end, error] = std::from_chars(said.data(), said.data() + said.size(), count);
    return error == std::errc() ? std::optional(count) : std::nullopt;
}

bool NoticesOnScreen::waitForShown(int count) {
    return VirtualDesktop::waitUntil([&] { return shown() == count; });
}

std::optional<NoticesOnScreen::Place> NoticesOnScreen::place() {
    auto& link = m_desktop.link();
    std::optional<Place> found;
    const auto look = [&] {
        const XcbOwned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(link.xcb(), xcb_query_tree(link.xcb(), link.root()), nullptr));
        if (!tree) return false;
        const auto* const windows = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const auto name = link.property(windows[i], XCB_ATOM_WM_CLASS);
            if (!name || name->bytes.find("Dunst") == std::string::npos) continue;
            const XcbOwned<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
                link.xcb(), xcb_get_window_attributes(link.xcb(), windows[i]), nullptr));
            const XcbOwned<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(
                link.xcb(), xcb_get_geometry(link.xcb(), windows[i]), nullptr));
            if (!state || !size || state->map_state != XCB_MAP_STATE_VIEWABLE) continue;
            found = Place{size->x, size->y, size->width, size->height};
        }
        return found.has_value();
    };
    VirtualDesktop::waitUntil(look);
    return found;
}

bool NoticesOnScreen::choose(const std::string& button) {
    std::error_code ignored;
    fs::remove(m_folder / "offered.txt", ignored);
    std::ofstream(m_folder / "wanted.txt") << button;
    (void)control({"context"});
    return VirtualDesktop::waitUntil(
        [&] { return readAll(m_folder / "offered.txt").find(button) != std::string::npos; });
}

std::string NoticesOnScreen::control(const std::vector<std::string>& words) {
    std::vector<std::string> command{"/usr/bin/env", "dunstctl"};
    command.insert(command.end(), words.begin(), words.end());
    Program program(command, m_desktop.environment());
    const auto line = program.readUntil("\n");
    (void)program.waitForEnd();
    return line.value_or("");
}

} // namespace kelvane
