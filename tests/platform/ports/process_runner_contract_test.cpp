// What every process runner promises, asked of the fake and of the real one. The fake is scripted
// to do what the two programs would.

#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

enum class Side { Fake, Posix };

std::optional<ProcessResult> scripted(const ProcessRequest& request) {
    if (request.program == "/bin/echo") {
        std::string line;
        for (const auto& argument : request.arguments) {
            line += (line.empty() ? "" : " ") + argument;
        }
        return ProcessResult{.status = 0, .output = line + "\n"};
    }
    if (request.program != "/bin/sh") return std::nullopt;
    const std::string& command = request.arguments.at(1);
    if (command == "exit 3") return ProcessResult{.status = 3, .output = ""};
    if (command == "kill -TERM $$") return ProcessResult{.status = 143, .output = ""};
    return ProcessResult{.status = 0, .output = ""}; // "echo unseen >&2" and ":"
}

class ProcessRunnerContract : public testing::TestWithParam<Side> {
protected:
    ProcessRunnerContract() { m_fake.processes.answer = scripted; }

    std::optional<ProcessResult> run(const std::string& program,
                                     const std::vector<std::string>& arguments,
                                     ProcessOutput output = ProcessOutput::Capture) {
        return runner().run({.program = program, .arguments = arguments, .output = output});
    }

    std::unique_ptr<RunningProcess> start(const std::string& program,
                                          const std::vector<std::string>& arguments) {
        return runner().start({.program = program, .arguments = arguments});
    }

private:
    ProcessRunner& runner() {
        if (GetParam() == Side::Fake) return m_fake.processes;
        return *m_posix;
    }

    FakePlatform m_fake;
    std::unique_ptr<ProcessRunner> m_posix = makePosixProcessRunner();
};

TEST_P(ProcessRunnerContract, OutputAndStatusOfASuccess) {
    EXPECT_EQ(run("/bin/echo", {"two", "words"}),
              (ProcessResult{.status = 0, .output = "two words\n"}));
}

TEST_P(ProcessRunnerContract, WhatWasStartedIsFinishedLater) {
    const auto first = start("/bin/echo", {"first"});
    const auto second = start("/bin/sh", {"-c", "exit 3"});
    ASSERT_TRUE(first && second);
    EXPECT_EQ(second->finish(), (ProcessResult{.status = 3, .output = ""}));
    EXPECT_EQ(first->finish(), (ProcessResult{.status = 0, .output = "first\n"}));
}

TEST_P(ProcessRunnerContract, WhatIsNotThereCannotBeStarted) {
    EXPECT_EQ(start("/nonexistent/program", {}), nullptr);
}

TEST_P(ProcessRunnerContract, WhatNobodyFinishesEndsWithItsObject) {
    EXPECT_NE(start("/bin/echo", {"unheard"}), nullptr);
}

TEST_P(ProcessRunnerContract, ArgumentsAreNotSplitOrExpanded) {
    EXPECT_EQ(run("/bin/echo", {"a  b", "$HOME", "*", "'", "\u00e9"})->output,
              "a  b $HOME * ' \u00e9\n");
}

TEST_P(ProcessRunnerContract, NonZeroStatusIsAResult) {
    EXPECT_EQ(run("/bin/sh", {"-c", "exit 3"}), (ProcessResult{.status = 3, .output = ""}));
}

TEST_P(ProcessRunnerContract, SignalIsAStatusOf128AndItsNumber) {
    EXPECT_EQ(run("/bin/sh", {"-c", "kill -TERM $$"}),
              (ProcessResult{.status = 143, .output = ""}));
}

TEST_P(ProcessRunnerContract, StandardErrorIsNotOutput) {
    EXPECT_EQ(run("/bin/sh", {"-c", "echo unseen >&2"}),
              (ProcessResult{.status = 0, .output = ""}));
}

TEST_P(ProcessRunnerContract, ProgramThatDoesNotExistIsAbsent) {
    EXPECT_EQ(run("/nonexistent/tool", {}), std::nullopt);
    EXPECT_EQ(run("", {}), std::nullopt);
}

TEST_P(ProcessRunnerContract, SearchPathIsNotConsulted) {
    EXPECT_EQ(run("echo", {"x"}), std::nullopt);
    EXPECT_EQ(run("sh", {"-c", ":"}), std::nullopt);
}

TEST_P(ProcessRunnerContract, InheritedOutputIsNotCollected) {
    EXPECT_EQ(run("/bin/sh", {"-c", ":"}, ProcessOutput::Inherit),
              (ProcessResult{.status = 0, .output = ""}));
    EXPECT_EQ(run("/bin/sh", {"-c", "exit 3"}, ProcessOutput::Inherit)->status, 3);
    EXPECT_EQ(run("/nonexistent/tool", {}, ProcessOutput::Inherit), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(All, ProcessRunnerContract, testing::Values(Side::Fake, Side::Posix),
                         [](const auto& side) {
                             return side.param == Side::Fake ? "Fake" : "Posix";
                         });

} // namespace
} // namespace kelvane
