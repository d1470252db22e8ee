// Bounds on how processor time grows with the work, for tests.
//
// Only ratios within one run are compared, of the least of several runs, and of the time that this
// thread was given, so that neither a slow nor a busy machine makes a difference.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace trevix {

/// The processor time that this thread has had, in seconds.
inline double cpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The processor time that `run` takes, in seconds.
template <typename Run>
double cpuTimeOf(const Run& run) {
    const double start = cpuSeconds();
    run();
    return cpuSeconds() - start;
}

/// How many times as long the larger work may take, and the time in seconds up to which it may take
/// that in any case, since below it clock and caches are what is measured.
struct GrowthBound {
    double times;
    double alwaysAllowed;
};

/// Runs until the bound is kept, at most so often: a disturbed run proves nothing. Of five runs
/// none was undisturbed once, with twenty programs at two processors, whose caches they share.
constexpr int kMostGrowthRuns = 20;

/// The least processor time of the smaller and of the larger work, in seconds.
struct Growth {
    double before;
    double after;

    [[nodiscard]] bool keeps(const GrowthBound& bound) const {
        return after <= std::max(bound.alwaysAllowed, bound.times * before);
    }
};

/// `growth`, measured again with these until it keeps the bound or has been given every chance.
template <typename Less, typename More>
Growth repeated(Growth growth, const GrowthBound& bound, const Less& less, const More& more) {
    for (int run = 1; run < kMostGrowthRuns && !growth.keeps(bound); ++run) {
        growth.before = std::min(growth.before, cpuTimeOf(less));
        growth.after = std::min(growth.after, cpuTimeOf(more));
    }
    return growth;
}

/// `works` grow by a factor of four each; `run` takes one of them. Sixteen times the work may take
/// 64 times as long, where quadratic behaviour would take 256: two steps at a time, since one step
/// may meet the size from which on the allocator hands memory back to the system and has it anew.
template <typename Work, typename Run>
void expectModestGrowth(const std::vector<Work>& works, const Run& run) {
    constexpr GrowthBound kBound{64, 0.64};
    std::vector<double> times;
    for (const Work& work : works) times.push_back(cpuTimeOf([&] { run(work); }));
    for (std::size_t i = 2; i < works.size(); ++i) {
        const Growth growth = repeated(
            {times[i - 2], times[i]}, kBound, [&] { run(works[i - 2]); }, [&] { run(works[i]); });
        EXPECT_TRUE(growth.keeps(kBound))
            << growth.before << " s, then " << growth.after << " s for sixteen times as much";
        times[i] = growth.after;
    }
}

} // namespace trevix
