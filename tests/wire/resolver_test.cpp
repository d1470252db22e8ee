// Quitting while the system's resolver hangs: a program of its own, since the lookup never ends.

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

namespace kelvane::wire {
namespace {

/// What the program printed, and its end as a shell has it (124: it never ended).
std::pair<std::string, int> quitWhileResolving(const std::string& argument) {
    const std::string command =
        "LD_PRELOAD=" HANGING_RESOLVER " timeout 20 " QUIT_WHILE_RESOLVING " " + argument;
    FILE* program = ::popen(command.c_str(), "r");
    std::string printed;
    std::array<char, 256> line{};
    while (::fgets(line.data(), line.size(), program) != nullptr) printed += line.data();
    const int status = ::pclose(program);
    return {printed, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

TEST(HangingResolver, QuittingDoesNotWaitForIt) {
    const auto [printed, status] = quitWhileResolving("");
    EXPECT_EQ(status, 0) << printed;
    EXPECT_TRUE(printed.ends_with(" ms\n")) << printed;
}

TEST(HangingResolver, ATimeOutDoesNotWaitForItEither) {
    const auto [printed, status] = quitWhileResolving("time-out");
    EXPECT_EQ(status, 0) << printed;
    EXPECT_TRUE(printed.starts_with("absent\n")) << printed;
}

} // namespace
} // namespace kelvane::wire
