// What every clock promises, asked of the fake and of the real one.

#include "platform/fake/fakes.h"
#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

/// One kind of clock under test, with the means to make the program quit.
class ClockUnderTest {
public:
    virtual ~ClockUnderTest() = default;
    virtual Clock& clock() = 0;
    virtual void quit() = 0;
};

class FakeClockUnderTest : public ClockUnderTest {
public:
    Clock& clock() override { return m_fake.clock; }
    void quit() override { m_fake.clock.sleepEnds.assign(8, SleepEnd::Quitting); }

private:
    FakePlatform m_fake;
};

class PosixClockUnderTest : public ClockUnderTest {
public:
    Clock& clock() override { return *m_clock; }
    void quit() override { m_quit.raise(); }

private:
    QuitSignal m_quit;
    std::unique_ptr<Clock> m_clock = makePosixClock(m_quit);
};

enum class Side { Fake, Posix };

class ClockContract : public testing::TestWithParam<Side> {
protected:
    ClockContract() {
        if (GetParam() == Side::Fake) {
            m_under = std::make_unique<FakeClockUnderTest>();
        } else {
            m_under = std::make_unique<PosixClockUnderTest>();
        }
    }

    Clock& clock() { return m_under->clock(); }
    void quit() { m_under->quit(); }

private:
    std::unique_ptr<ClockUnderTest> m_under;
};

TEST_P(ClockContract, NeverGoesBack) {
    Instant last = clock().now();
    for (int i = 0; i < 1000; ++i) {
        const Instant now = clock().now();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST_P(ClockContract, SleepThatElapsesTakesAtLeastItsTime) {
    const Instant before = clock().now();
    EXPECT_EQ(clock().sleep(2ms), SleepEnd::Elapsed);
    EXPECT_GE(clock().now() - before, 2ms);
}

TEST_P(ClockContract, SleepOfNoTimeOrLessElapsesAndDoesNotGoBack) {
    const Instant before = clock().now();
    EXPECT_EQ(clock().sleep(0ns), SleepEnd::Elapsed);
    EXPECT_EQ(clock().sleep(-1h), SleepEnd::Elapsed);
    EXPECT_GE(clock().now(), before);
}

TEST_P(ClockContract, QuittingEndsEverySleepFromThenOn) {
    quit();
    const Instant before = clock().now();
    EXPECT_EQ(clock().sleep(1h), SleepEnd::Quitting);
    EXPECT_EQ(clock().sleep(0ns), SleepEnd::Quitting);
    EXPECT_LT(clock().now() - before, 1h);
}

INSTANTIATE_TEST_SUITE_P(All, ClockContract, testing::Values(Side::Fake, Side::Posix),
                         [](const auto& side) {
                             return side.param == Side::Fake ? "Fake" : "Posix";
                         });

} // namespace
} // namespace kelvane
