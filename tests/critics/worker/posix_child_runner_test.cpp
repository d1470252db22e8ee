// Are children of this machine run, fed, limited, shut in and ended as promised?
//
// Every test runs twice: shut in by bubblewrap where it works here, and without it.

#include "critics/worker/posix_child_runner.h"

#include "critics/findings/stop.h"
#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace trevix {
namespace {

using End = ChildResult::End;

/// How long a busy machine may take for what is done at once.
constexpr std::chrono::milliseconds kPatience = std::chrono::minutes(1);

class PosixChildRunnerTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        SandboxFacts facts = sandboxOfThisMachine(m_folder.path(), "/usr/bin/env");
        if (!GetParam()) {
            facts.bubblewrap.clear();
        } else if (facts.bubblewrap.empty()) {
            GTEST_SKIP() << "NOT RUN: there is no bwrap that works on this machine";
        }
        m_runner = makePosixChildRunner(m_folder.path(), facts);
    }

    static ChildRequest shell(std::string script) {
        ChildRequest request;
        request.program = "/bin/sh";
        request.arguments = {"-c", std::move(script)};
        return request;
    }
    ChildResult run(const ChildRequest& request) { return m_runner->run(request); }
    ChildResult run(std::string script) { return m_runner->run(shell(std::move(script))); }

    TemporaryFolder m_folder;
    std::unique_ptr<ChildRunner> m_runner;
};

INSTANTIATE_TEST_SUITE_P(Shut, PosixChildRunnerTest, testing::Bool(), [](const auto& shut) {
    return std::string(shut.param ? "InByBubblewrap" : "InByLimits");
});

TEST_P(PosixChildRunnerTest, TellsHowItEndedAndWhatItSaid) {
    const ChildResult result = run("echo out; echo err >&2; exit 3");
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.errors, "err\n");
}

TEST_P(PosixChildRunnerTest, FeedsAllOfStandardInput) {
    ChildRequest request = shell("wc -c");
    request.input.assign(3'000'000, 'x');
    EXPECT_EQ(run(request).output, "3000000\n");
}

TEST_P(PosixChildRunnerTest, AProgramNeedNotReadItsInput) {
    ChildRequest request = shell("exec 0<&-; echo done");
    request.input.assign(3'000'000, 'x');
    const ChildResult result = run(request);
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.output, "done\n");
}

TEST_P(PosixChildRunnerTest, ShowsOutputAsItComes) {
    std::string seen;
    std::size_t pieces = 0;
    const ChildResult result =
        m_runner->run(shell("echo a; sleep 0.2; echo b"), {}, [&](std::string_view piece) {
            seen += piece;
            ++pieces;
        });
    EXPECT_EQ(seen, "a\nb\n");
    EXPECT_EQ(result.output, seen);
    EXPECT_GE(pieces, 1U);
}

TEST_P(PosixChildRunnerTest, GivesItFilesInAFolderOfItsOwnThatGoesWithIt) {
    ChildRequest request = shell("cat a.txt sub/b.txt; echo new > c.txt; pwd; echo $HOME");
    request.files = {{"a.txt", "A\n"}, {"sub/b.txt", "B\n"}};
    const ChildResult result = run(request);
    ASSERT_EQ(result.end, End::exited) << result.errors;
    EXPECT_EQ(result.output.substr(0, 4), "A\nB\n");
    EXPECT_NE(result.output.find(m_folder.path().string()), std::string::npos) << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST_P(PosixChildRunnerTest, TakesNoFileOutsideItsFolder) {
    for (const char* name : {"../a", "/tmp/a", "", "a/../../b"}) {
        ChildRequest request = shell("true");
        request.files = {{name, "x"}};
        EXPECT_EQ(run(request).end, End::notStarted) << name;
    }
}

TEST_P(PosixChildRunnerTest, GivesItAnEnvironmentOfItsOwn) {
    ChildRequest request;
    request.program = "/usr/bin/env";
    request.environment = {{"WORD", "a b"}};
    std::string out = run(request).output;
    EXPECT_NE(out.find("WORD=a b\n"), std::string::npos) << out;
    EXPECT_NE(out.find("LC_ALL=C.UTF-8\n"), std::string::npos) << out;
    // bwrap tells its child where it is.
    EXPECT_LE(std::count(out.begin(), out.end(), '\n'), 5) << out;
}

TEST_P(PosixChildRunnerTest, PassesNoDescriptorOn) {
    EXPECT_EQ(run("ls /proc/self/fd | wc -l").output, "4\n"); // three, and the listing's own
}

/// While it lives, this process has none of the three standard descriptors.
class NoStandardDescriptors {
public:
    NoStandardDescriptors() {
        for (std::size_t i = 0; i < m_kept.size(); ++i) {
            m_kept[i] = ::fcntl(static_cast<int>(i), F_DUPFD_CLOEXEC, 3);
            ::close(static_cast<int>(i));
        }
    }
    NoStandardDescriptors(const NoStandardDescriptors&) = delete;
    NoStandardDescriptors& operator=(const NoStandardDescriptors&) = delete;
    ~NoStandardDescriptors() {
        for (std::size_t i = 0; i < m_kept.size(); ++i) {
            ::dup2(m_kept[i], static_cast<int>(i));
            ::close(m_kept[i]);
        }
    }

private:
    std::array<int, 3> m_kept{};
};

TEST_P(PosixChildRunnerTest, SaysWhenThereIsNoSuchProgram) {
    ChildRequest request;
    request.program = "/nowhere/program";
    const ChildResult result = run(request);
    EXPECT_TRUE(result.end == End::notStarted || result.status != 0);
    EXPECT_NE(result.errors.find("/nowhere/program"), std::string::npos) << result.errors;
}

/// What a run that ends at its time leaves: of a short time, or of a longer one where a busy
/// machine did not let it write anything in that.
ChildResult endedAtItsTime(ChildRequest request,
                           const std::function<ChildResult(const ChildRequest&)>& run) {
    request.limits.wall = std::chrono::milliseconds(300);
    ChildResult result = run(request);
    while (result.output.empty() && request.limits.wall < kPatience) {
        request.limits.wall *= 2;
        result = run(request);
    }
    return result;
}

TEST_P(PosixChildRunnerTest, EndsItAtItsTime) {
    const ChildRequest request = shell("echo begun; sleep 1000 & sleep 1000");
    const ChildResult result =
        endedAtItsTime(request, [&](const ChildRequest& each) { return run(each); });
    EXPECT_EQ(result.end, End::outOfTime);
    EXPECT_EQ(result.output, "begun\n");
}

TEST_P(PosixChildRunnerTest, EndsWhatItLeftBehind) {
    // The one left behind holds the pipe open: without being ended it would hold us as long.
    const ChildResult result = run("sleep 1000 & echo done");
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.output, "done\n");
}

TEST_P(PosixChildRunnerTest, EndsItWhenItSaysTooMuch) {
    ChildRequest request = shell("while :; do echo 0123456789abcdef; done");
    request.limits.output = 100'000;
    const ChildResult result = run(request);
    EXPECT_EQ(result.end, End::tooMuch);
    EXPECT_EQ(result.output.size(), 100'000U);
}

TEST_P(PosixChildRunnerTest, KeepsTheBeginningOfItsErrors) {
    const ChildResult result =
        run("i=0; while [ $i -lt 3000 ]; do echo error >&2; i=$((i+1)); done");
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.errors.size(), 4096U);
}

TEST_P(PosixChildRunnerTest, EndsItWhenAsked) {
    const auto stop = std::make_unique<StopSource>();
    std::atomic<bool> begun{false};
    std::thread asking([&] {
        begun.wait(false);
        stop->ask();
    });
    const ChildResult result =
        m_runner->run(shell("echo begun; sleep 1000"), stop->token(), [&](std::string_view) {
            begun = true;
            begun.notify_all();
        });
    asking.join();
    EXPECT_EQ(result.end, End::cancelled);
}

TEST_P(PosixChildRunnerTest, DoesNotRunWhatIsCancelledAlready) {
    const auto stop = std::make_unique<StopSource>();
    stop->ask();
    EXPECT_EQ(m_runner->run(shell("sleep 1000"), stop->token()).end, End::cancelled);
}

TEST_P(PosixChildRunnerTest, LimitsItsMemory) {
    ChildRequest request;
    request.program = "/usr/bin/python3";
    request.arguments = {"-I", "-c", "x = bytearray(300 << 20); print(len(x))"};
    request.limits.memory = std::uint64_t{600} << 20U;
    EXPECT_EQ(run(request).output, "314572800\n");
    request.limits.memory = std::uint64_t{200} << 20U;
    const ChildResult result = run(request);
    EXPECT_NE(result.errors.find("MemoryError"), std::string::npos) << result.errors;
}

TEST_P(PosixChildRunnerTest, LimitsItsTimeOfComputing) {
    ChildRequest request = shell("while :; do :; done");
    request.limits.cpu = std::chrono::seconds(1);
    const ChildResult result = run(request);
    // bwrap passes on how its child ended as a status, as shells do.
    EXPECT_TRUE(result.end == End::killed || result.status > 128)
        << static_cast<int>(result.end) << " " << result.status;
}

TEST_P(PosixChildRunnerTest, LimitsWhatItWrites) {
    ChildRequest request = shell("head -c 2000000 /dev/zero > big; stat -c %s big");
    request.limits.fileSize = 1'000'000;
    EXPECT_EQ(run(request).output, "1000000\n");
}

TEST_P(PosixChildRunnerTest, HasNoNetwork) {
    ChildRequest request;
    request.program = "/usr/bin/python3";
    request.arguments = {"-I", "-c",
                         "import socket\n"
                         "try:\n"
                         "    s = socket.socket()\n"
                         "    s.settimeout(3)\n"
                         "    s.connect(('127.0.0.1', 9))\n"
                         "except ConnectionRefusedError:\n"
                         "    print('loopback of its own')\n"
                         "except OSError as error:\n"
                         "    print('none', error.errno)\n"
                         "else:\n"
                         "    print('reached')\n"};
    const std::string out = run(request).output;
    EXPECT_TRUE(GetParam() ? out == "loopback of its own\n" || out.substr(0, 4) == "none"
                           : out == "none 13\n")
        << out;
}

TEST_P(PosixChildRunnerTest, SeesNoneOfTheUsersFilesWhereItIsShutIn) {
    if (!GetParam()) GTEST_SKIP() << "only with name spaces";
    TemporaryFolder users;
    const std::string secret = (users.path() / "secret").string();
    ChildRequest request = shell("test -e " + secret + " && echo seen || echo unseen");
    std::filesystem::create_directory(secret);
    EXPECT_EQ(run(request).output, "unseen\n");
    request.readable = {users.path().string()};
    EXPECT_EQ(run(request).output, "seen\n");
    request = shell("touch " + secret + "/x 2>/dev/null && echo written || echo refused");
    request.readable = {users.path().string()};
    EXPECT_EQ(run(request).output, "refused\n");
}

TEST_P(PosixChildRunnerTest, RunsManyAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            ChildRequest request = shell("cat; echo " + std::to_string(i));
            request.input = std::string(100'000, static_cast<char>('a' + i));
            const ChildResult result = run(request);
            if (result.output == request.input + std::to_string(i) + "\n") ++right;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 8);
}

/// Children that are begun before they are asked.
class ReadyChildTest : public PosixChildRunnerTest {
protected:
    /// The folder of the child that was begun; empty when none is within our patience.
    std::string begun() const {
        for (auto left = kPatience; left.count() > 0; --left) {
            const auto folders = std::filesystem::directory_iterator(m_folder.path());
            if (folders != end(folders)) return folders->path().filename().string();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return "";
    }
    bool becomesEmpty() const {
        for (auto left = kPatience; left.count() > 0; --left) {
            if (std::filesystem::is_empty(m_folder.path())) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
    static ChildRequest reader() {
        ChildRequest request = shell("pwd; cat");
        request.input = "the work";
        return request;
    }
};

INSTANTIATE_TEST_SUITE_P(Shut, ReadyChildTest, testing::Bool(), [](const auto& shut) {
    return std::string(shut.param ? "InByBubblewrap" : "InByLimits");
});

TEST_P(ReadyChildTest, IsTheOneThatIsAsked) {
    m_runner->expect(reader());
    const std::string folder = begun();
    ASSERT_NE(folder, "");
    const ChildResult result = run(reader());
    EXPECT_EQ(result.end, End::exited) << result.errors;
    EXPECT_NE(result.output.find(folder), std::string::npos) << result.output;
    EXPECT_TRUE(result.output.ends_with("the work")) << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
    EXPECT_TRUE(run(reader()).output.ends_with("the work")) << "each is asked once";
}

TEST_P(ReadyChildTest, HasStandardDescriptorsWhereThisProcessHasNone) {
    ChildRequest request = shell("cat; echo err >&2; ls /proc/self/fd | wc -l");
    request.input = "fed\n";
    std::string folder;
    std::vector<ChildResult> results;
    {
        const NoStandardDescriptors closed;
        m_runner->expect(request);
        folder = begun();
        // One that was begun before, and one that is begun now.
        for (int i = 0; i < 2; ++i) results.push_back(run(request));
    }
    EXPECT_NE(folder, "");
    for (const ChildResult& result : results) {
        EXPECT_EQ(result.end, End::exited);
        EXPECT_EQ(result.output, "fed\n4\n");
        EXPECT_EQ(result.errors, "err\n");
    }
}

TEST_P(ReadyChildTest, IsNotAskedForAnotherRequest) {
    m_runner->expect(reader());
    ASSERT_NE(begun(), "");
    ChildRequest other = reader();
    other.arguments.push_back("other");
    EXPECT_EQ(run(other).output.find(begun()), std::string::npos);
}

TEST_P(ReadyChildTest, IsHeldToTheTimeOfItsWork) {
    const ChildResult result = endedAtItsTime(shell("cat; sleep 1000"), [&](ChildRequest each) {
        m_runner->expect(each);
        EXPECT_NE(begun(), "");
        each.input = "work";
        return run(each);
    });
    EXPECT_EQ(result.end, End::outOfTime);
    EXPECT_EQ(result.output, "work");
}

TEST_P(ReadyChildTest, ThatEndedByItselfIsBegunAnew) {
    const ChildRequest hasty = shell("echo out; exit 3");
    m_runner->expect(hasty);
    ASSERT_NE(begun(), "");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const ChildResult result = run(hasty);
    EXPECT_EQ(result.end, End::exited);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "out\n");
}

TEST_P(ReadyChildTest, IsNotUsedWhenWhatItMayReadHasChanged) {
    const TemporaryFolder words;
    const std::filesystem::path file = words.path() / "words";
    std::ofstream(file) << "old";
    ChildRequest request = shell("cat; cat " + file.string());
    request.readable = {file.string()};
    m_runner->expect(request);
    ASSERT_NE(begun(), "");
    std::ofstream(words.path() / "next") << "new one";
    std::filesystem::rename(words.path() / "next", file);
    EXPECT_EQ(run(request).output, "new one");
}

TEST_P(ReadyChildTest, EndsUnusedAfterAWhile) {
    SandboxFacts facts = sandboxOfThisMachine(m_folder.path(), "/usr/bin/env");
    if (!GetParam()) facts.bubblewrap.clear();
    const auto runner =
        makePosixChildRunner(m_folder.path(), facts, std::chrono::milliseconds(200));
    runner->expect(reader());
    ASSERT_NE(begun(), "");
    EXPECT_TRUE(becomesEmpty());
    EXPECT_TRUE(runner->run(reader()).output.ends_with("the work"));
}

TEST_P(ReadyChildTest, EndsWithItsRunner) {
    m_runner->expect(reader());
    ASSERT_NE(begun(), "");
    m_runner.reset();
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST_P(ReadyChildTest, ThatCannotBeBegunIsToldWhenItIsAsked) {
    ChildRequest request;
    request.program = "/nowhere/at/all";
    m_runner->expect(request);
    const ChildResult result = run(request);
    // With bubblewrap it is that which ends, since it finds no such program.
    EXPECT_TRUE(result.end == End::notStarted || (GetParam() && result.status != 0));
}

} // namespace
} // namespace trevix
