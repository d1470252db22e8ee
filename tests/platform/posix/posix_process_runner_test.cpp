// What the real process runner does beyond the contract: descriptors, signals, bulk, concurrency.

#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

class PosixProcessRunnerTest : public testing::Test {
protected:
    std::optional<ProcessResult> run(const std::string& program,
                                     const std::vector<std::string>& arguments = {},
                                     ProcessOutput output = ProcessOutput::Capture) {
        return runner->run({.program = program, .arguments = arguments, .output = output});
    }

    std::optional<ProcessResult> shell(const std::string& command,
                                       ProcessOutput output = ProcessOutput::Capture) {
        return run("/bin/sh", {"-c", command}, output);
    }

    /// A program of ours on disk.
    fs::path script(const std::string& text, mode_t mode) {
        fs::path path = folder / "program";
        putFile(path, text);
        chmod(path.c_str(), mode);
        return path;
    }

    TemporaryFolder folder;
    std::unique_ptr<ProcessRunner> runner = makePosixProcessRunner();
};

std::size_t openDescriptors() {
    const auto entries = fs::directory_iterator("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// --- starting ------------------------------------------------------------------------------------

TEST_F(PosixProcessRunnerTest, WhatCannotBeStartedIsAbsent) {
    EXPECT_EQ(run(script("#!/bin/sh\necho ran\n", 0644).string()), std::nullopt)
        << "no execute bit";
    EXPECT_EQ(run(folder.path().string()), std::nullopt) << "a folder";
    EXPECT_EQ(run((folder / "program/below").string()), std::nullopt) << "below a file";
    EXPECT_EQ(run("/bin/sh/"), std::nullopt);
}

TEST_F(PosixProcessRunnerTest, CurrentFolderIsNotConsulted) {
    script("#!/bin/sh\necho ran\n", 0755);
    const auto before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(run("program"), std::nullopt);
    EXPECT_EQ(run("./program"), std::nullopt);
    fs::current_path(before);
}

TEST_F(PosixProcessRunnerTest, ScriptNeedsItsInterpreter) {
    EXPECT_EQ(run(script("#!/nonexistent/interpreter\n", 0755).string()), std::nullopt);
    EXPECT_EQ(run(script("echo no interpreter named\n", 0755).string()), std::nullopt)
        << "a file that is no program is not handed to a shell";
    EXPECT_EQ(run(script("#!/bin/sh\necho ran\n", 0755).string())->output, "ran\n");
}

TEST_F(PosixProcessRunnerTest, TextWithANulIsNotCutShort) {
    EXPECT_EQ(run("/bin/echo", {std::string("a\0b", 3)}), std::nullopt);
    EXPECT_EQ(run(std::string("/bin/echo\0x", 11), {"a"}), std::nullopt);
}

TEST_F(PosixProcessRunnerTest, CommandThatTheShellCannotFindIsTheShellsStatus) {
    EXPECT_EQ(shell("nonexistent-tool-of-kelvane")->status, 127);
    EXPECT_EQ(shell("exit 255")->status, 255);
}

TEST_F(PosixProcessRunnerTest, ManyAndLongArgumentsArriveWhole) {
    std::vector<std::string> arguments{"-c", "echo $# ${#1000}", "name"};
    arguments.resize(1003, std::string(50, 'x'));
    EXPECT_EQ(run("/bin/sh", arguments)->output, "1000 50\n");
}

TEST_F(PosixProcessRunnerTest, ArgumentsBeyondTheSystemsLimitAreAbsent) {
    EXPECT_EQ(run("/bin/echo", std::vector<std::string>(400, std::string(100'000, 'x'))),
              std::nullopt);
}

// --- output --------------------------------------------------------------------------------------

TEST_F(PosixProcessRunnerTest, CollectsFiveMegabytes) {
    const auto result = shell("head -c 5242880 /dev/zero | tr '\\0' 'x'");
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->status, 0);
    EXPECT_EQ(result->output.size(), 5'242'880U);
    EXPECT_EQ(result->output.find_first_not_of('x'), std::string::npos);
}

TEST_F(PosixProcessRunnerTest, OutputIsRawBytes) {
    EXPECT_EQ(shell("printf 'a\\000b\\377\\r\\n'")->output, std::string("a\0b\xff\r\n", 6));
}

TEST_F(PosixProcessRunnerTest, OutputOfAFailureIsKept) {
    EXPECT_EQ(shell("echo partly; kill -KILL $$"),
              (ProcessResult{.status = 137, .output = "partly\n"}));
}

TEST_F(PosixProcessRunnerTest, LateOutputIsWaitedFor) {
    EXPECT_EQ(shell("sleep 0.01; echo late")->output, "late\n");
}

TEST_F(PosixProcessRunnerTest, ClosedOutputDoesNotEndTheWait) {
    EXPECT_EQ(shell("exec >&-; sleep 0.01; exit 4")->status, 4);
}

TEST_F(PosixProcessRunnerTest, StandardInputIsEmpty) {
    EXPECT_EQ(run("/bin/cat"), (ProcessResult{.status = 0, .output = ""}));
}

TEST_F(PosixProcessRunnerTest, LoudStandardErrorBlocksNobody) {
    EXPECT_EQ(shell("head -c 1000000 /dev/zero >&2; echo done")->output, "done\n");
}

// --- descriptors ---------------------------------------------------------------------------------

class PosixProcessRunnerDescriptors : public PosixProcessRunnerTest {
protected:
    void SetUp() override {
        if (!fs::exists("/proc/self/fd")) GTEST_SKIP() << "this system has no /proc";
    }
};

TEST_F(PosixProcessRunnerDescriptors, OnlyTheStandardOnesAreDevNullAndThePipe) {
    const auto output = shell("for n in 0 1 2; do readlink /proc/$$/fd/$n; done")->output;
    EXPECT_TRUE(output.starts_with("/dev/null\npipe:[")) << output;
    EXPECT_TRUE(output.ends_with("]\n/dev/null\n")) << output;
}

TEST_F(PosixProcessRunnerDescriptors, NoneOfOursIsPassedOn) {
    // One that was never marked, as a library might leave it, far from the others.
    const int leaky = fcntl(STDIN_FILENO, F_DUPFD, 200);
    ASSERT_GE(leaky, 200);
    const std::string list = "ls /proc/$$/fd; true"; // the shell itself stays, and is $$
    EXPECT_EQ(shell(list)->output, "0\n1\n2\n");
    const auto listing = folder / "listing";
    EXPECT_EQ(shell("{ " + list + "; } > " + listing.string(), ProcessOutput::Inherit)->status, 0);
    close(leaky);
    // The redirection may cost the shell descriptors of its own (from 10 on), but not 200.
    EXPECT_EQ(contentsOf(listing).find("200"), std::string::npos) << contentsOf(listing);
    EXPECT_TRUE(contentsOf(listing).starts_with("0\n1\n"));
}

TEST_F(PosixProcessRunnerDescriptors, InheritSharesOurs) {
    const auto where = folder / "where";
    ASSERT_EQ(shell("readlink /proc/$$/fd/2 > " + where.string() + "; true", ProcessOutput::Inherit)
                  ->status,
              0);
    EXPECT_EQ(contentsOf(where), fs::read_symlink("/proc/self/fd/2").string() + "\n");
}

TEST_F(PosixProcessRunnerDescriptors, OnesInUseStayOutOfChildrenThatOthersStart) {
    // Whoever else starts programs from this process relies on every descriptor being marked.
    const auto marked = [](int fd) {
        const int flags = fcntl(fd, F_GETFD);
        return flags < 0 || (flags & FD_CLOEXEC) != 0;
    };
    const auto started = folder / "started";
    const auto stop = folder / "stop";
    std::vector<int> before;
    for (int fd = 0; fd < 100; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) before.push_back(fd);
    }
    std::thread other([&] {
        (void)shell(": > " + started.string() + "; while [ ! -e " + stop.string() +
                    " ]; do sleep 0.002; done");
    });
    while (!fs::exists(started)) std::this_thread::yield();
    int inUse = 0;
    for (int fd = 0; fd < 100; ++fd) {
        if (std::find(before.begin(), before.end(), fd) != before.end()) continue;
        if (fcntl(fd, F_GETFD) >= 0) ++inUse;
        EXPECT_TRUE(marked(fd)) << fd;
    }
    EXPECT_GE(inUse, 1);
    putFile(stop, "");
    other.join();
}

TEST_F(PosixProcessRunnerDescriptors, NoneIsLeftOpenHere) {
    (void)shell(":");
    const auto before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        (void)shell("echo x");
        (void)shell("exec >&-");
        (void)shell(":", ProcessOutput::Inherit);
        (void)run("/nonexistent/tool");
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PosixProcessRunnerTest, WorksWithoutDescriptorsOfItsOwn) {
    const auto outcome = [this] {
        for (const int fd : {0, 1, 2}) close(fd);
        const bool captures = shell("echo x; echo y >&2; cat")->output == "x\n";
        const bool inherits = shell("exit 3", ProcessOutput::Inherit)->status == 3;
        _exit(captures && inherits ? 0 : 1);
    };
    EXPECT_EXIT(outcome(), testing::ExitedWithCode(0), "");
}

TEST_F(PosixProcessRunnerTest, NoDescriptorsLeftIsAbsent) {
    const auto outcome = [this] {
        // A sanitizer, too, looks at an object the first time with a descriptor of its own.
        const bool before = shell("echo x") != std::nullopt;
        while (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0) {
        }
        _exit(before && shell("echo x") == std::nullopt ? 0 : 1);
    };
    EXPECT_EXIT(outcome(), testing::ExitedWithCode(0), "");
}

// --- signals and environment ---------------------------------------------------------------------

TEST_F(PosixProcessRunnerTest, BrokenPipeEndsTheChildEvenWhenWeIgnoreIt) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(shell("kill -PIPE $$; echo survived"),
              (ProcessResult{.status = 128 + SIGPIPE, .output = ""}));
    std::signal(SIGPIPE, before);
}

TEST_F(PosixProcessRunnerTest, OurBlockedSignalsAreNotBlockedInTheChild) {
    sigset_t block;
    sigset_t before;
    sigemptyset(&block);
    sigaddset(&block, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &block, &before), 0);
    EXPECT_EQ(shell("kill -TERM $$; echo survived")->status, 128 + SIGTERM);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(PosixProcessRunnerTest, InterruptedWaitsGoOn) {
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {}; // without SA_RESTART: every call in progress is interrupted
    ASSERT_EQ(sigaction(SIGALRM, &interrupt, &before), 0);
    const itimerval often{.it_interval = {.tv_sec = 0, .tv_usec = 500},
                          .it_value = {.tv_sec = 0, .tv_usec = 500}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto result = shell("sleep 0.01; echo a; exec >&-; sleep 0.01; exit 5");
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(result, (ProcessResult{.status = 5, .output = "a\n"}));
}

TEST_F(PosixProcessRunnerTest, StatusThatNobodyKeepsIs255) {
    const auto before = std::signal(SIGCHLD, SIG_IGN); // the system then throws it away
    const auto result = run("/bin/echo", {"x"});
    std::signal(SIGCHLD, before);
    EXPECT_EQ(result, (ProcessResult{.status = 255, .output = "x\n"}));
}

TEST_F(PosixProcessRunnerTest, ChildHasOurEnvironmentAsItIsNow) {
    setenv("KELVANE_TEST_VARIABLE", "one two", 1);
    EXPECT_EQ(shell("printf %s \"$KELVANE_TEST_VARIABLE\"")->output, "one two");
    unsetenv("KELVANE_TEST_VARIABLE");
    EXPECT_EQ(shell("printf %s \"${KELVANE_TEST_VARIABLE-unset}\"")->output, "unset");
}

// --- concurrency ---------------------------------------------------------------------------------

TEST_F(PosixProcessRunnerTest, RunsFromEightThreadsAtOnce) {
    constexpr int kThreads = 8;
    constexpr int kRuns = 10;
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRuns; ++i) {
                const std::string mine = std::to_string(t) + ":" + std::to_string(i);
                const auto result = shell("echo " + mine + "; exit " + std::to_string(t));
                if (result == ProcessResult{.status = t, .output = mine + "\n"}) ++right;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(right, kThreads * kRuns);
}

TEST_F(PosixProcessRunnerTest, ShortRunEndsWhileALongOneGoesOn) {
    // A copy of the short one's pipe in the long one would keep its output from ending.
    std::atomic<bool> longOver = false;
    std::thread other([&] {
        (void)shell("while [ ! -e " + (folder / "stop").string() + " ]; do sleep 0.002; done");
        longOver = true;
    });
    for (int i = 0; i < 5; ++i) EXPECT_EQ(shell("echo x")->output, "x\n");
    EXPECT_FALSE(longOver);
    putFile(folder / "stop", "");
    other.join();
}

TEST_F(PosixProcessRunnerTest, AProgramThatWritesWithoutEndEndsWithItsObject) {
    const auto process =
        makePosixProcessRunner()->start({.program = "/bin/sh", .arguments = {"-c", "exec yes"}});
    EXPECT_NE(process, nullptr);
}

TEST_F(PosixProcessRunnerTest, MoreThanAPipeHoldsIsReadWhenItIsFinished) {
    const auto process = makePosixProcessRunner()->start(
        {.program = "/bin/sh", .arguments = {"-c", "head -c 300000 /dev/zero"}});
    ASSERT_NE(process, nullptr);
    const auto result = process->finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output.size(), 300'000U);
}

TEST_F(PosixProcessRunnerTest, WhatDoesNotEndInItsTimeIsEndedWithAllItStarted) {
    const fs::path child = folder / "child";
    const auto result =
        runner->run({.program = "/bin/sh",
                     .arguments = {"-c", "trap '' TERM; sleep 1000 & echo $! > " + child.string() +
                                             "; echo partly; wait; sleep 1000"},
                     .output = ProcessOutput::Capture,
                     .timeLimit = std::chrono::milliseconds(300)});
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(result->timedOut);
    EXPECT_EQ(result->status, 128 + SIGKILL); // it would not listen
    // The other end of the pipe is closed by now, and whoever inherits it waits for it for us.
    const pid_t sleeper = std::stoi(contentsOf(child));
    const auto isGone = [&] {
        std::string stat = contentsOf("/proc/" + std::to_string(sleeper) + "/stat");
        return kill(sleeper, 0) != 0 || stat.find(") Z ") != std::string::npos;
    };
    for (int i = 0; i < 1000 && !isGone(); ++i) usleep(10'000);
    EXPECT_TRUE(isGone());
}

TEST_F(PosixProcessRunnerTest, WhatEndsInItsTimeIsAsWithoutOne) {
    const auto result = runner->run({.program = "/bin/sh",
                                     .arguments = {"-c", "echo out; exit 4"},
                                     .output = ProcessOutput::Capture,
                                     .timeLimit = std::chrono::hours(1)});
    EXPECT_EQ(result, (ProcessResult{.status = 4, .output = "out\n"}));
}

TEST_F(PosixProcessRunnerTest, AQuitEndsWhatIsToEndThenAndNothingElse) {
    // On the heap: GCC 12 takes what a stack holds for uninitialized here.
    const auto quit = std::make_unique<QuitSignal>();
    const auto quitting = makePosixProcessRunner(quit.get());
    const fs::path started = folder / "started";
    const fs::path gate = folder / "gate";
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    const ProcessRequest question{
        .program = "/bin/sh",
        .arguments = {"-c", "echo x > " + started.string() + "; exec sleep 1000"},
        .output = ProcessOutput::Capture,
        .endsAtQuit = true};
    const auto other =
        quitting->start({.program = "/bin/sh",
                         .arguments = {"-c", "read line < " + gate.string() + " && exit 4"},
                         .output = ProcessOutput::Capture});
    ASSERT_NE(other, nullptr);
    std::optional<ProcessResult> ended;
    std::thread asks([&] { ended = quitting->run(question); });
    for (int i = 0; i < 1000 && contentsOf(started).empty(); ++i) usleep(10'000);
    quit->raise();
    asks.join();
    const auto late = quitting->run(question);
    // The other one is still there, and is waited for.
    std::ofstream(gate) << "go\n";
    EXPECT_EQ(other->finish(), (ProcessResult{.status = 4, .output = ""}));
    ASSERT_TRUE(ended && late);
    EXPECT_TRUE(ended->timedOut);
    EXPECT_EQ(ended->status, 128 + SIGTERM);
    EXPECT_TRUE(late->timedOut) << "after the quit it ends as soon as it is there";
}

class PosixKeptProgramsTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::unique_ptr<KeptPrograms> programs = makePosixKeptPrograms();

    /// What a file says once it says something.
    std::string awaited(const std::string& name) {
        for (int i = 0; i < 3000; ++i) {
            auto text = makePosixFileSystem()->read(folder / name).value_or("");
            if (!text.empty()) return text;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return {};
    }
};

TEST_F(PosixKeptProgramsTest, AProgramIsToldItsEndByTheEndOfItsInput) {
    auto program =
        programs->start("/bin/sh", {"-c", "cat; echo over > \"$0\"", (folder / "end").string()});
    ASSERT_NE(program, nullptr);
    EXPECT_TRUE(program->isRunning());
    program.reset();
    EXPECT_EQ(awaited("end"), "over\n");
}

TEST_F(PosixKeptProgramsTest, AProgramThatEndedNoLongerRuns) {
    auto program = programs->start("/bin/true", {});
    ASSERT_NE(program, nullptr);
    for (int i = 0; i < 3000 && program->isRunning(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(program->isRunning());
    EXPECT_FALSE(program->isRunning());
}

TEST_F(PosixKeptProgramsTest, WhatCannotBeStartedIsNull) {
    EXPECT_EQ(programs->start(folder / "none", {}), nullptr);
    EXPECT_EQ(programs->start("sh", {}), nullptr);
    EXPECT_EQ(programs->start("/bin/sh", {std::string("a\0b", 3)}), nullptr);
}

TEST_F(PosixKeptProgramsTest, ASocketIsServedWhileSomebodyListens) {
    const std::filesystem::path path = folder / "s";
    EXPECT_FALSE(programs->isServed(path));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(programs->isServed(path)) << "nobody listens yet";
    ASSERT_EQ(::listen(fd, 1), 0);
    EXPECT_TRUE(programs->isServed(path));
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(programs->isServed(path)) << "a full queue is one, too";
    ::close(fd);
    EXPECT_FALSE(programs->isServed(path)) << "the name alone is left";
    EXPECT_FALSE(programs->isServed("/" + std::string(200, 'x')));
}

} // namespace
} // namespace kelvane
