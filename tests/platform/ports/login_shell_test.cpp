#include "platform/ports/login_shell.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

TEST(LoginShell, RunsALoginShellWithOurOwnStreams) {
    FakePlatform fake;
    fake.processes.results["/bin/sh"] = {.status = 7, .output = ""};
    EXPECT_EQ(sh(fake.processes, "exit 7"), 7);
    EXPECT_EQ(fake.processes.requests,
              (std::vector<ProcessRequest>{{.program = "/bin/sh",
                                            .arguments = {"-lc", "exit 7"},
                                            .output = ProcessOutput::Inherit}}));
}

TEST(LoginShell, ShellThatCannotStartIsMinusOne) {
    FakePlatform fake;
    EXPECT_EQ(sh(fake.processes, "true"), -1);
}

TEST(LoginShell, PythonIsThereWhenTheShellFindsIt) {
    FakePlatform fake;
    fake.processes.results["/bin/sh"] = {.status = 0, .output = ""};
    EXPECT_TRUE(hasPython3(fake.processes));
    EXPECT_EQ(fake.processes.requests.back().arguments,
              (std::vector<std::string>{"-lc", "command -v python3 >/dev/null 2>&1"}));
    fake.processes.results["/bin/sh"] = {.status = 127, .output = ""};
    EXPECT_FALSE(hasPython3(fake.processes));
    fake.processes.results.clear();
    EXPECT_FALSE(hasPython3(fake.processes));
}

} // namespace
} // namespace kelvane
