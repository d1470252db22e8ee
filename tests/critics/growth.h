// A bound on how processor time grows with the work, for tests.
//
// Only ratios within one run are compared, of the least of several runs, so that neither a slow nor
// a busy machine makes a difference: sixteen times the work may take 64 times as long, where
// quadratic behaviour would take 256.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <vector>

namespace trevix {

/// For two steps of four times the work, since one step may meet the size from which on the
/// allocator hands memory back to the system and has it anew.
constexpr double kMostGrowth = 64;
/// Runs until the bound is kept, at most so often: a disturbed run proves nothing.
constexpr int kMostGrowthRuns = 5;
/// Seconds. Times below this are those of caches and of the first touch of memory.
constexpr double kLeastTime = 0.01;

/// The processor time that this thread spends on it, in seconds.
template <typename Run>
double cpuTimeOf(const Run& run) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    run();
    return std::max(kLeastTime, now() - start);
}

/// `works` grow by a factor of four each; `run` takes one of them.
template <typename Work, typename Run>
void expectModestGrowth(const std::vector<Work>& works, const Run& run) {
    std::vector<double> times;
    for (const Work& work : works) times.push_back(cpuTimeOf([&] { run(work); }));
    for (std::size_t i = 2; i < works.size(); ++i) {
        double& before = times[i - 2];
        double& after = times[i];
        const auto kept = [&] { return after <= kMostGrowth * before; };
        for (int again = 1; again < kMostGrowthRuns && !kept(); ++again) {
            before = std::min(before, cpuTimeOf([&] { run(works[i - 2]); }));
            after = std::min(after, cpuTimeOf([&] { run(works[i]); }));
        }
        EXPECT_TRUE(kept()) << before << " s, then " << after << " s for sixteen times as much";
    }
}

} // namespace trevix
