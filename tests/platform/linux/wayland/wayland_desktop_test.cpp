// The desktop that the Wayland suites stand on.

#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace kelvane {
namespace {

struct Kind {
    const char* name;
    Compositor compositor;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class WaylandDesktopTest : public testing::TestWithParam<Kind> {};

TEST_P(WaylandDesktopTest, programsStartOnItAndEndWithIt) {
    if (const auto why = WaylandDesktop::missing(GetParam().compositor)) GTEST_SKIP() << *why;
    std::filesystem::path home;
    {
        WaylandDesktop desktop({.compositor = GetParam().compositor});
        home = desktop.home();
        const auto editor = desktop.start({"mousepad", "--disable-server"});
        EXPECT_FALSE(desktop.environment().at("WAYLAND_DISPLAY").empty());
        EXPECT_TRUE(desktop.running(editor));
        EXPECT_NE(desktop.outputOf({"/usr/bin/id", "-u"}), "0\n");
    }
    EXPECT_FALSE(std::filesystem::exists(home));
}

INSTANTIATE_TEST_SUITE_P(Compositors, WaylandDesktopTest,
                         testing::Values(Kind{"sway", Compositor::Sway},
                                         Kind{"kwin", Compositor::KWin},
                                         Kind{"gnomeShell", Compositor::GnomeShell}),
                         [](const testing::TestParamInfo<Kind>& kind) {
                             return std::string(kind.param.name);
                         });

} // namespace
} // namespace kelvane
