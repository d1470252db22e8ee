#include "platform/macos/application_facts.h"

#include <gtest/gtest.h>

#include <limits>

namespace kelvane {
namespace {

ApplicationFacts started(std::int64_t pid, std::optional<double> at) {
    return {.bundleId = "id." + std::to_string(pid),
            .name = std::nullopt,
            .processId = pid,
            .launchedAt = at};
}

std::vector<ProcessId> pids(const std::vector<RunningApp>& apps) {
    std::vector<ProcessId> found;
    for (const RunningApp& app : apps) found.push_back(app.pid);
    return found;
}

TEST(MacosApplicationFacts, EveryFactIsPassedOn) {
    EXPECT_EQ(runningApp({"com.example.Editor", "Editor", 501, 12.5}),
              (RunningApp{"com.example.Editor", "Editor", 501}));
}

TEST(MacosApplicationFacts, AbsentBundleIdentifierStaysAbsent) {
    EXPECT_EQ(runningApp({std::nullopt, "tool", 501, std::nullopt}),
              (RunningApp{std::nullopt, "tool", 501}));
}

TEST(MacosApplicationFacts, AbsentNameStaysAbsent) {
    EXPECT_EQ(runningApp({"com.example.Editor", std::nullopt, 501, std::nullopt}),
              (RunningApp{"com.example.Editor", std::nullopt, 501}));
}

TEST(MacosApplicationFacts, AnEmptyIdentifierWasNotToldAndAnEmptyNameIsOne) {
    EXPECT_EQ(runningApp({"", "", 501, std::nullopt}), (RunningApp{std::nullopt, "", 501}));
}

TEST(MacosApplicationFacts, BundleIdentifierIsNeitherTrimmedNorFolded) {
    EXPECT_EQ(runningApp({" Com.Example ", "é ", 7, std::nullopt}),
              (RunningApp{" Com.Example ", "é ", 7}));
}

TEST(MacosApplicationFacts, WithoutAProcessThereIsNoApplication) {
    for (const std::int64_t pid : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{-501},
                                   std::int64_t{1} << 31, std::int64_t{1} << 40}) {
        EXPECT_EQ(runningApp({"id", "name", pid, std::nullopt}), std::nullopt) << pid;
    }
}

TEST(MacosApplicationFacts, ApplicationThatEndedIsNotListed) {
    EXPECT_EQ(pids(runningApps({started(5, 1), started(-1, 2), started(6, 3)})),
              (std::vector<ProcessId>{5, 6}));
}

TEST(MacosApplicationFacts, OldestComesFirst) {
    EXPECT_EQ(pids(runningApps({started(1, 30), started(2, 10), started(3, 20)})),
              (std::vector<ProcessId>{2, 3, 1}));
}

TEST(MacosApplicationFacts, ThoseWithoutALaunchTimeComeBeforeAllOthersInTheirOwnOrder) {
    EXPECT_EQ(pids(runningApps({started(1, 30), started(2, std::nullopt), started(3, -5),
                                started(4, std::nullopt)})),
              (std::vector<ProcessId>{2, 4, 3, 1}));
}

TEST(MacosApplicationFacts, LaunchTimeThatIsNoNumberIsNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(pids(runningApps({started(1, 30), started(2, nan), started(3, 20), started(4, nan)})),
              (std::vector<ProcessId>{2, 4, 3, 1}));
}

TEST(MacosApplicationFacts, SameLaunchTimeKeepsTheGivenOrder) {
    EXPECT_EQ(pids(runningApps({started(9, 1), started(3, 1), started(5, 1)})),
              (std::vector<ProcessId>{9, 3, 5}));
}

TEST(MacosApplicationFacts, EachInstanceIsListedOnce) {
    EXPECT_EQ(pids(runningApps({started(9, 2), started(3, 1), started(9, 2)})),
              (std::vector<ProcessId>{3, 9}));
}

TEST(MacosApplicationFacts, TwoInstancesOfOneApplicationAreTwo) {
    auto first = started(9, 2);
    auto second = started(3, 1);
    first.bundleId = second.bundleId = "com.example.Editor";
    EXPECT_EQ(pids(runningApps({first, second})), (std::vector<ProcessId>{3, 9}));
}

TEST(MacosApplicationFacts, NothingRunningIsAnEmptyList) {
    EXPECT_TRUE(runningApps({}).empty());
}

TEST(MacosApplicationFacts, ProcessIdHasToFitTheSystemsOwn) {
    EXPECT_EQ(systemProcessId(1), 1);
    EXPECT_EQ(systemProcessId(2147483647), 2147483647);
    EXPECT_EQ(systemProcessId(2147483648), std::nullopt);
    EXPECT_EQ(systemProcessId((std::int64_t{1} << 32) + 7), std::nullopt);
    EXPECT_EQ(systemProcessId(0), std::nullopt);
    EXPECT_EQ(systemProcessId(-1), std::nullopt);
}

} // namespace
} // namespace kelvane
