#include "platform/macos/alert_answer.h"

#include <gtest/gtest.h>

#include <limits>

namespace kelvane {
namespace {

TEST(MacosAlertAnswer, ButtonsAreCountedFromTheFirstResponse) {
    EXPECT_EQ(pressedButton(1000, 2), 0U);
    EXPECT_EQ(pressedButton(1001, 2), 1U);
    EXPECT_EQ(pressedButton(1003, 4), 3U);
}

TEST(MacosAlertAnswer, WithoutButtonsOfItsOwnTheAlertHasTheSystemsSingleOne) {
    EXPECT_EQ(pressedButton(1000, 0), 0U);
    EXPECT_EQ(pressedButton(1001, 0), std::nullopt);
}

TEST(MacosAlertAnswer, NoButtonWasPressedWhenTheAlertEndedAnyOtherWay) {
    // What a modal session returns when it is stopped, aborted or cancelled.
    for (const std::int64_t response : {-1000, -1001, 0, 1, 999}) {
        EXPECT_EQ(pressedButton(response, 2), std::nullopt) << response;
    }
}

TEST(MacosAlertAnswer, ResponseBeyondTheButtonsIsNone) {
    EXPECT_EQ(pressedButton(1002, 2), std::nullopt);
    EXPECT_EQ(pressedButton(std::numeric_limits<std::int64_t>::max(), 2), std::nullopt);
    EXPECT_EQ(pressedButton(std::numeric_limits<std::int64_t>::min(), 2), std::nullopt);
}

} // namespace
} // namespace kelvane
