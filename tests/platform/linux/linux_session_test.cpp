#include "platform/linux/linux_session.h"

#include "platform/fake/fake_environment.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

using Kind = LinuxSession::Kind;

TEST(LinuxSession, isDecidedFromTheEnvironment) {
    const struct {
        std::map<std::string, std::string, std::less<>> variables;
        LinuxSession session;
    } cases[] = {
        {{}, {Kind::None, "", ""}},
        {{{"DISPLAY", ""}}, {Kind::None, "", ""}},
        {{{"DISPLAY", ":0"}}, {Kind::X11, ":0", ""}},
        {{{"DISPLAY", ":0"}, {"XDG_SESSION_TYPE", "x11"}}, {Kind::X11, ":0", ""}},
        {{{"DISPLAY", ":1.1"}, {"WAYLAND_DISPLAY", ""}}, {Kind::X11, ":1.1", ""}},
        {{{"XDG_SESSION_TYPE", "wayland"}}, {Kind::None, "", ""}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}}, {Kind::Wayland, "", ""}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_RUNTIME_DIR", "/run/user/7"}},
         {Kind::Wayland, "", "/run/user/7/wayland-0"}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_RUNTIME_DIR", "here"}}, {Kind::Wayland, "", ""}},
        {{{"WAYLAND_DISPLAY", "/tmp/one"}, {"DISPLAY", ":0"}}, {Kind::Wayland, ":0", "/tmp/one"}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", ":0"}}, {Kind::Wayland, ":0", ""}},
        {{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}}, {Kind::Wayland, ":0", ""}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", "far:0"}}, {Kind::X11, "far:0", ""}},
        {{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", "localhost:10.0"}},
         {Kind::X11, "localhost:10.0", ""}},
        {{{"XDG_SESSION_TYPE", "tty"}}, {Kind::None, "", ""}},
    };
    for (const auto& one : cases) {
        FakeEnvironment environment;
        for (const auto& [name, value] : one.variables) environment.variables[name] = value;
        EXPECT_EQ(linuxSession(environment), one.session) << one.session.display;
    }
}

} // namespace
} // namespace kelvane
