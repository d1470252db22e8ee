// What every source of button presses promises, asked of the scripted one and of the one on a real
// X server.

#include "platform/fake/fake_pointer_presses.h"
#include "platform/linux/x11/x11_pointer_presses.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include <xcb/xtest.h>

namespace kelvane {
namespace {

/// A desktop whose mouse a test can press.
class Mouse {
public:
    virtual ~Mouse() = default;
    virtual PointerPresses& presses() = 0;
    virtual void press(std::uint8_t button) = 0;
};

class ScriptedMouse : public Mouse {
public:
    PointerPresses& presses() override { return m_presses; }
    void press(std::uint8_t button) override {
        if (button < 4 || button > 7) m_presses.press();
    }

private:
    Journal m_journal;
    FakePointerPresses m_presses{m_journal};
};

class MouseOfServer : public Mouse {
public:
    PointerPresses& presses() override { return *m_presses; }

    void press(std::uint8_t button) override {
        X11Connection& link = m_desktop.link();
        for (const std::uint8_t type :
             {std::uint8_t{XCB_BUTTON_PRESS}, std::uint8_t{XCB_BUTTON_RELEASE}}) {
            xcb_test_fake_input(link.xcb(), type, button, XCB_CURRENT_TIME, link.root(), 0, 0, 0);
        }
        link.roundTrip();
    }

private:
    VirtualDesktop m_desktop{{.windowManager = false, .sessionBus = false}};
    std::unique_ptr<PointerPresses> m_presses = makeX11PointerPresses(m_desktop.display());
};

struct System {
    std::string name;
    std::unique_ptr<Mouse> (*make)();
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const System& system, std::ostream* out) {
    *out << system.name;
}

class PointerPressesContract : public testing::TestWithParam<System> {
protected:
    /// Counts into `count`, which must outlive the listening.
    static std::function<void()> counting(std::atomic<int>& count) {
        return [&count] { ++count; };
    }
    static bool reaches(const std::atomic<int>& count, int wanted) {
        return VirtualDesktop::waitUntil([&] { return count >= wanted; });
    }

    std::atomic<int> first{0};
    std::atomic<int> second{0};
    std::unique_ptr<Mouse> mouse = GetParam().make();
    PointerPresses& presses = mouse->presses();
};

TEST_P(PointerPressesContract, TellsOfEachPressOfEveryButton) {
    presses.start(counting(first));
    for (std::uint8_t button = 1; button <= 3; ++button) mouse->press(button);
    EXPECT_TRUE(reaches(first, 3));
    presses.stop();
    EXPECT_EQ(first, 3);
}

TEST_P(PointerPressesContract, TheWheelIsNoButton) {
    presses.start(counting(first));
    for (std::uint8_t button = 4; button <= 7; ++button) mouse->press(button);
    for (const std::uint8_t sideButton : {std::uint8_t{8}, std::uint8_t{9}}) {
        mouse->press(sideButton);
    }
    mouse->press(1);
    EXPECT_TRUE(reaches(first, 3));
    presses.stop();
    EXPECT_EQ(first, 3);
}

TEST_P(PointerPressesContract, TellsNobodyBeforeAStartAndAfterAStop) {
    mouse->press(1);
    presses.start(counting(first));
    presses.stop();
    mouse->press(1);
    // Whoever listens now hears what comes now: what was before has been told by then, if at all.
    presses.start(counting(second));
    mouse->press(1);
    EXPECT_TRUE(reaches(second, 1));
    presses.stop();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_P(PointerPressesContract, AStartTakesThePlaceOfAnEarlierOne) {
    presses.start(counting(first));
    presses.start(counting(second));
    mouse->press(1);
    EXPECT_TRUE(reaches(second, 1));
    presses.stop();
    EXPECT_EQ(first, 0);
}

TEST_P(PointerPressesContract, AnEmptyFunctionIsAsGoodAsAStop) {
    presses.start(counting(first));
    presses.start({});
    mouse->press(1);
    presses.start(counting(second));
    mouse->press(1);
    EXPECT_TRUE(reaches(second, 1));
    presses.stop();
    EXPECT_EQ(first, 0);
}

TEST_P(PointerPressesContract, StoppingWithoutAStartDoesNothing) {
    presses.stop();
    presses.stop();
    presses.start(counting(first));
    mouse->press(1);
    EXPECT_TRUE(reaches(first, 1));
}

INSTANTIATE_TEST_SUITE_P(Mice, PointerPressesContract,
                         testing::Values(System{"scripted",
                                                []() -> std::unique_ptr<Mouse> {
                                                    return std::make_unique<ScriptedMouse>();
                                                }},
                                         System{"server",
                                                []() -> std::unique_ptr<Mouse> {
                                                    return std::make_unique<MouseOfServer>();
                                                }}),
                         [](const auto& each) { return each.param.name; });

TEST(X11PointerPresses, NeverTellWithoutAServer) {
    for (const auto* const display : {"", ":64321", "rubbish"}) {
        std::atomic<int> count{0};
        const auto presses = makeX11PointerPresses(display);
        presses->start([&] { ++count; });
        presses->stop();
        EXPECT_EQ(count, 0) << display;
    }
}

TEST(X11PointerPresses, AServerThatGoesAwayIsNoTrouble) {
    VirtualDesktop desktop{{.windowManager = false, .sessionBus = false}};
    const auto presses = makeX11PointerPresses(desktop.display());
    presses->start([] {});
    desktop.killServer();
    presses->stop();
    presses->start([] {});
    presses->stop();
}

TEST(X11PointerPresses, AServerThatStandsStillIsWaitedForAsLongAsByEveryQuestion) {
    VirtualDesktop desktop{{.windowManager = false, .sessionBus = false}};
    std::atomic<int> count{0};
    const auto presses = makeX11PointerPresses(desktop.display());
    desktop.stopServer();
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    presses->start([&] { ++count; });
    presses->stop();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30)) << "or it would have been for ever";
    desktop.continueServer();
    presses->start([&] { ++count; });
    presses->stop();
    EXPECT_EQ(count, 0);
}

TEST(FakePointerPresses, WritesDownWhoListened) {
    Journal journal;
    FakePointerPresses presses(journal);
    presses.stop();
    presses.start([] {});
    EXPECT_TRUE(presses.listening());
    presses.stop();
    EXPECT_FALSE(presses.listening());
    presses.systemTells = false;
    presses.start([] {});
    EXPECT_FALSE(presses.listening());
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"listen", "stop listening"}));
}

} // namespace
} // namespace kelvane
