#include "platform/ports/login_shell.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

ProcessRequest request(const std::string& option, const std::string& command,
                       std::chrono::seconds timeLimit) {
    return {.program = "/bin/sh",
            .arguments = {option, command},
            .output = ProcessOutput::Inherit,
            .timeLimit = timeLimit};
}

const std::string kCheckPython = "command -v python3 >/dev/null 2>&1";

TEST(LoginShell, RunsALoginShellWithOurOwnStreams) {
    FakePlatform fake;
    fake.processes.results["/bin/sh"] = {.status = 7, .output = ""};
    EXPECT_EQ(LoginShell(fake.processes).sh("exit 7"), 7);
    EXPECT_EQ(fake.processes.requests,
              (std::vector<ProcessRequest>{request("-lc", "exit 7", kCommandPatience)}));
}

TEST(LoginShell, ShellThatCannotStartIsMinusOne) {
    FakePlatform fake;
    EXPECT_EQ(LoginShell(fake.processes).sh("true"), -1);
}

TEST(LoginShell, PythonIsThereWhenTheShellFindsIt) {
    FakePlatform fake;
    fake.processes.results["/bin/sh"] = {.status = 0, .output = ""};
    EXPECT_TRUE(LoginShell(fake.processes).hasPython3());
    EXPECT_EQ(fake.processes.requests.back(), request("-lc", kCheckPython, kProfilePatience));
    fake.processes.results["/bin/sh"] = {.status = 127, .output = ""};
    EXPECT_FALSE(LoginShell(fake.processes).hasPython3());
    fake.processes.results.clear();
    EXPECT_FALSE(LoginShell(fake.processes).hasPython3());
}

TEST(LoginShell, ProfileThatDoesNotEndIsDoneWithoutFromThenOn) {
    FakePlatform fake;
    fake.processes.answer = [](const ProcessRequest& asked) {
        if (asked.arguments.front() == "-lc") {
            return ProcessResult{.status = 143, .output = "", .timedOut = true};
        }
        return ProcessResult{.status = asked.arguments.back() == "exit 3" ? 3 : 0, .output = ""};
    };
    LoginShell shell(fake.processes);
    EXPECT_TRUE(shell.hasPython3());
    EXPECT_EQ(shell.sh("exit 3"), 3);
    EXPECT_EQ(fake.processes.requests,
              (std::vector<ProcessRequest>{request("-lc", kCheckPython, kProfilePatience),
                                           request("-c", kCheckPython, kProfilePatience),
                                           request("-c", "exit 3", kCommandPatience)}));
}

TEST(LoginShell, CommandThatNeverEndsIsGivenUp) {
    FakePlatform fake;
    fake.processes.results["/bin/sh"] = {.status = 143, .output = "", .timedOut = true};
    EXPECT_EQ(LoginShell(fake.processes).sh("sleep inf"), 143);
    EXPECT_EQ(fake.processes.requests.size(), 2U);
}

} // namespace
} // namespace kelvane
