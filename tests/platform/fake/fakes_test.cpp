// Fakes that forget or invent would make every test above them worthless. The port contracts are
// checked in the *_contract_test.cpp suites; here is what only a fake has: scripts and the journal.

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using Journalled = std::vector<std::string>;

TEST(Journal, KeepsEntriesInOrderAndCountsThem) {
    Journal journal;
    journal.add("read /a");
    journal.add("remove /a");
    journal.add("read /b");
    EXPECT_EQ(journal.entries(), (Journalled{"read /a", "remove /a", "read /b"}));
    EXPECT_EQ(journal.count("read "), 2U);
    EXPECT_EQ(journal.count("re"), 3U);
    EXPECT_EQ(journal.count(""), 3U);
    EXPECT_EQ(journal.count("ead"), 0U);
    journal.clear();
    EXPECT_TRUE(journal.entries().empty());
}

TEST(Journal, TakesEntriesFromSeveralThreads) {
    Journal journal;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) journal.add("entry");
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(journal.count("entry"), 400U);
}

TEST(FakeClock, SleepsAreScriptedJournalledAndRemembered) {
    FakePlatform fake;
    std::vector<Instant> seen;
    fake.clock.onSleep = [&](Instant now) { seen.push_back(now); };
    fake.clock.sleepEnds = {SleepEnd::Cancelled, SleepEnd::Quitting};
    EXPECT_EQ(fake.clock.sleep(5ms), SleepEnd::Cancelled);
    EXPECT_EQ(fake.clock.sleep(6ms), SleepEnd::Quitting);
    EXPECT_EQ(fake.clock.sleep(7ms), SleepEnd::Elapsed);
    EXPECT_EQ(seen, (std::vector<Instant>{0ns, 0ns, 7ms}));
    EXPECT_EQ(fake.clock.sleeps, (std::vector<std::chrono::nanoseconds>{5ms, 6ms, 7ms}));
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"sleep 5000000ns", "sleep 6000000ns", "sleep 7000000ns"}));
}

TEST(FakeDispatcher, RunsNothingByItself) {
    FakeDispatcher dispatcher;
    int calls = 0;
    dispatcher.background([&] { ++calls; });
    dispatcher.main([&] { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(dispatcher.waitingInBackground(), 1U);
    EXPECT_EQ(dispatcher.waitingOnMain(), 1U);
}

TEST(FakeDispatcher, RunsEachLaneInOrderMainFirst) {
    FakeDispatcher dispatcher;
    Journalled calls;
    dispatcher.background([&] {
        calls.emplace_back("b1");
        dispatcher.main([&] { calls.emplace_back("m3"); });
    });
    dispatcher.background([&] { calls.emplace_back("b2"); });
    dispatcher.main([&] { calls.emplace_back("m1"); });
    dispatcher.main([&] { calls.emplace_back("m2"); });
    dispatcher.runAll();
    EXPECT_EQ(calls, (Journalled{"m1", "m2", "b1", "m3", "b2"}));
    EXPECT_FALSE(dispatcher.runOneInBackground());
    EXPECT_FALSE(dispatcher.runOneOnMain());
}

TEST(FakeFileSystem, WritesDownWhatWasAskedOfIt) {
    FakePlatform fake;
    (void)fake.files.read("/f");
    (void)fake.files.createDirectories("/d");
    (void)fake.files.writeAtomically("/d/f", "x");
    (void)fake.files.remove("/d/f");
    (void)fake.files.exists("/d");
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"read /f", "mkdir /d", "write /d/f", "remove /d/f"}));
}

TEST(FakeFileSystem, UnreadableFilesExist) {
    FakePlatform fake;
    fake.files.unreadable = {"/d/locked"};
    EXPECT_TRUE(fake.files.exists("/d/locked"));
    EXPECT_TRUE(fake.files.exists("/d"));
    EXPECT_EQ(fake.files.read("/d/locked"), std::nullopt);
    EXPECT_FALSE(fake.files.createDirectories("/d/locked/below"));
}

TEST(FakeFileSystem, UnwritablePathsStayAsTheyAre) {
    FakePlatform fake;
    fake.files.files["/d/f"] = "old";
    fake.files.unwritable = {"/d/f", "/no"};
    EXPECT_FALSE(fake.files.writeAtomically("/d/f", "new"));
    EXPECT_FALSE(fake.files.remove("/d/f"));
    EXPECT_FALSE(fake.files.createDirectories("/no"));
    EXPECT_FALSE(fake.files.createDirectories("/no/below"));
    EXPECT_EQ(fake.files.read("/d/f"), "old");
    EXPECT_FALSE(fake.files.exists("/no"));
}

TEST(FakeBundleResources, AnswersByFileName) {
    FakeBundleResources resources;
    resources.resources = {{"app-catalog.json", "/r/app-catalog.json"}, {"kit", "/r/kit"}};
    EXPECT_EQ(resources.url("app-catalog", "json"), "/r/app-catalog.json");
    EXPECT_EQ(resources.url("kit", ""), "/r/kit");
    EXPECT_EQ(resources.url("app-catalog", "txt"), std::nullopt);
}

TEST(FakeHttpSession, UnscriptedServerIsUnreachable) {
    FakePlatform fake;
    EXPECT_EQ(fake.http.send({.method = "GET", .url = "https://a/", .headers = {}, .body = {}}),
              std::nullopt);
    EXPECT_EQ(fake.journal.entries(), Journalled{"GET https://a/"});
    EXPECT_EQ(fake.http.requests.size(), 1U);
}

TEST(FakeHttpSession, OnlyWebAddressesReachTheScript) {
    FakePlatform fake;
    fake.http.answer = [](const HttpRequest&) { return HttpResponse{.status = 204, .body = {}}; };
    const auto status = [&](const std::string& url) -> std::optional<int> {
        const auto response =
            fake.http.send({.method = "POST", .url = url, .headers = {}, .body = "x"});
        if (!response) return std::nullopt;
        return response->status;
    };
    EXPECT_EQ(status("http://a"), 204);
    EXPECT_EQ(status("https://a"), 204);
    EXPECT_EQ(status("file:///etc/passwd"), std::nullopt);
    EXPECT_EQ(status(""), std::nullopt);
}

TEST(FakeKeyboard, AnswersAreUsedUpOneByOne) {
    FakePlatform fake;
    fake.keyboard.trustedAnswers = {false, true};
    fake.keyboard.isTrusted = false;
    EXPECT_FALSE(fake.keyboard.trusted());
    EXPECT_TRUE(fake.keyboard.trusted());
    EXPECT_FALSE(fake.keyboard.trusted());
}

TEST(FakeKeyboard, CopyKeyReachesTheApplicationOnlyWhenTrusted) {
    FakePlatform fake;
    std::vector<ProcessId> reached;
    fake.keyboard.onCopy = [&](ProcessId pid) { reached.push_back(pid); };
    fake.keyboard.postCopy(4);
    fake.keyboard.isTrusted = false;
    fake.keyboard.postCopy(5);
    EXPECT_EQ(reached, std::vector<ProcessId>{4});
    EXPECT_EQ(fake.journal.entries(), (Journalled{"copy 4", "copy 5"}));
}

TEST(FakePasteboard, CountGrowsWithEveryCopyAndClear) {
    FakePlatform fake;
    const auto before = fake.pasteboard.changeCount();
    fake.pasteboard.copyText("a");
    const auto copied = fake.pasteboard.changeCount();
    fake.pasteboard.copyText("a");
    const auto again = fake.pasteboard.changeCount();
    fake.pasteboard.clearContents();
    EXPECT_NE(before, copied);
    EXPECT_NE(copied, again) << "the same text copied again is a change";
    EXPECT_NE(again, fake.pasteboard.changeCount());
    EXPECT_EQ(fake.pasteboard.string(), std::nullopt);
    EXPECT_EQ(fake.pasteboard.timesRead, 5U);
}

TEST(FakeProcessRunner, AnswersByProgramOrByTheWholeCommand) {
    FakePlatform fake;
    Journalled effects;
    fake.processes.results["/bin/tool"] = {.status = 3, .output = "out"};
    fake.processes.onRun = [&](const ProcessRequest& request) {
        effects.push_back(request.program);
    };
    const ProcessRequest tool{.program = "/bin/tool", .arguments = {"-a", "b c"}};
    EXPECT_EQ(fake.processes.run(tool), (ProcessResult{.status = 3, .output = "out"}));
    fake.processes.answer = [](const ProcessRequest& request) -> std::optional<ProcessResult> {
        if (request.arguments.empty()) return std::nullopt;
        return ProcessResult{.status = 0, .output = request.arguments.back()};
    };
    EXPECT_EQ(fake.processes.run(tool), (ProcessResult{.status = 0, .output = "b c"}));
    EXPECT_EQ(fake.processes.run({.program = "/bin/tool", .arguments = {}}), std::nullopt);
    EXPECT_EQ(fake.journal.entries(),
              (Journalled{"/bin/tool -a b c", "/bin/tool -a b c", "/bin/tool"}));
    EXPECT_EQ(effects, (Journalled{"/bin/tool", "/bin/tool"})) << "what did not start has none";
    EXPECT_EQ(fake.processes.requests.size(), 3U);
}

TEST(FakeWorkspace, ActivationReachesOnlyWhatRuns) {
    FakePlatform fake;
    fake.workspace.running = {{.bundleId = "a", .name = "a", .pid = 1},
                              {.bundleId = "b", .name = "b", .pid = 2}};
    EXPECT_EQ(fake.workspace.frontmost(), std::nullopt);
    EXPECT_TRUE(fake.workspace.activate(2));
    EXPECT_EQ(fake.workspace.frontmost()->bundleId, "b");
    EXPECT_FALSE(fake.workspace.activate(3));
    EXPECT_EQ(fake.workspace.frontmost()->pid, 2);
    fake.workspace.onActivate = [](ProcessId) {};
    EXPECT_TRUE(fake.workspace.activate(1));
    EXPECT_EQ(fake.workspace.frontmost()->pid, 2) << "the script decides what an activation does";
    EXPECT_EQ(fake.journal.entries(), (Journalled{"activate 2", "activate 3", "activate 1"}));
}

TEST(FakeWorkspace, FrontmostThatHasQuitIsNone) {
    FakePlatform fake;
    fake.workspace.front = 5;
    EXPECT_EQ(fake.workspace.frontmost(), std::nullopt);
}

TEST(FakeWindows, AnswerAndJournal) {
    FakePlatform fake;
    EXPECT_TRUE(fake.windows.onScreenWindows()->empty());
    fake.windows.windows = std::nullopt;
    EXPECT_EQ(fake.windows.onScreenWindows(), std::nullopt);
    fake.picture.pictures[3] = "png";
    EXPECT_EQ(fake.picture.png(3), "png");
    EXPECT_EQ(fake.picture.png(4), std::nullopt);
    EXPECT_EQ(fake.journal.entries(), (Journalled{"windows", "windows", "picture 3", "picture 4"}));
}

} // namespace
} // namespace kelvane
