#include "platform/cli.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace kelvane {
namespace {

TEST(CliPortsTest, everyPortIsThere) {
    const CliPorts ports = makeCliPorts();
    ASSERT_TRUE(ports.quit && ports.environment && ports.files && ports.resources &&
                ports.processes && ports.clock);
    EXPECT_EQ(ports.environment->get(""), std::nullopt);
    EXPECT_TRUE(ports.files->exists("/"));
    EXPECT_EQ(ports.resources->bundle(), std::nullopt); // A test program stands in no bundle.
}

TEST(CliPortsTest, aWaitEndsWhenTheProgramDoes) {
    const CliPorts ports = makeCliPorts();
    ports.quit->raise();
    EXPECT_EQ(ports.clock->sleep(std::chrono::hours(1)), SleepEnd::Quitting);
}

} // namespace
} // namespace kelvane
