#include "platform/desktop.h"

#include "platform/fake/fake_compositing.h"
#include "platform/fake/fake_input_hold.h"
#include "platform/fake/fake_pointer_presses.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using Names = std::vector<std::string>;

/// A fake that writes down when it is destroyed.
template <typename Fake>
class Noted : public Fake {
public:
    template <typename... Arguments>
    Noted(Names& ended, std::string name, Arguments&... arguments)
        : Fake(arguments...),
          m_ended(ended),
          m_name(std::move(name)) {}
    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;
    ~Noted() override { m_ended.push_back(m_name); }

private:
    Names& m_ended;
    std::string m_name;
};

class DesktopPortsTest : public ::testing::Test {
protected:
    template <typename Fake, typename Port, typename... Arguments>
    void fill(std::unique_ptr<Port>& port, const std::string& name, Arguments&... arguments) {
        port = std::make_unique<Noted<Fake>>(ended, name, arguments...);
    }

    DesktopPorts filled() {
        DesktopPorts ports;
        ports.quit = std::make_unique<QuitSignal>();
        fill<FakeEnvironment>(ports.environment, "environment");
        fill<FakeFileSystem>(ports.files, "files", journal);
        fill<FakeBundleResources>(ports.resources, "resources");
        fill<FakeProcessRunner>(ports.processes, "processes", journal);
        fill<FakeClock>(ports.clock, "clock", journal);
        fill<FakeWorkspace>(ports.workspace, "workspace", journal);
        fill<FakeKeyboard>(ports.keyboard, "keyboard", journal);
        fill<FakePasteboard>(ports.pasteboard, "pasteboard", journal);
        fill<FakeWindowList>(ports.windows, "windows", journal);
        fill<FakeWindowPicture>(ports.picture, "picture", journal);
        fill<FakeAppIcons>(ports.icons, "icons");
        fill<FakePointerPresses>(ports.presses, "presses", journal);
        fill<FakeInputHold>(ports.hold, "hold", journal);
        fill<FakeCompositing>(ports.compositing, "compositing");
        fill<FakeDialogs>(ports.dialogs, "dialogs", journal);
        fill<FakeUrlOpener>(ports.urls, "urls", journal);
        fill<FakeHttpSession>(ports.http, "http", journal);
        fill<FakeDispatcher>(ports.dispatcher, "dispatcher");
        return ports;
    }

    [[nodiscard]] bool before(const std::string& first, const std::string& second) const {
        return std::ranges::find(ended, first) < std::ranges::find(ended, second);
    }

    Journal journal;
    Names ended;
};

TEST_F(DesktopPortsTest, backgroundJobsEndBeforeEveryPortThatTheyUse) {
    { const DesktopPorts ports = filled(); }
    ASSERT_THAT(ended, ::testing::SizeIs(18));
    EXPECT_EQ(ended.front(), "dispatcher");
}

TEST_F(DesktopPortsTest, aPortEndsBeforeThoseThatItUses) {
    { const DesktopPorts ports = filled(); }
    for (const auto* const user : {"workspace", "keyboard", "pasteboard", "windows", "picture"}) {
        EXPECT_TRUE(before(user, "clock")) << user;
        EXPECT_TRUE(before(user, "processes")) << user;
        EXPECT_TRUE(before(user, "files")) << user;
        EXPECT_TRUE(before(user, "environment")) << user;
    }
}

} // namespace
} // namespace kelvane
