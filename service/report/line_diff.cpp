#include "service/report/line_diff.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace {

using Lines = std::vector<std::string_view>;

/// One step of the way: a line taken out (`removes`) or put in, at these places.
struct Step {
    std::size_t before = 0;
    std::size_t after = 0;
    bool removes = false;
};

/// The steps from `a` to `b`, last first; false when there are more than kMostChanges.
bool stepsBetween(const Lines& a, const Lines& b, std::vector<Step>& steps) {
    // Myers' greedy algorithm. On a grid of the lines of either side a step right takes one out, a
    // step down puts one in, and a diagonal, free of charge, keeps one that is the same. For each
    // number of changes d it knows how far each diagonal k = x - y can be reached; the first d that
    // gets to the far corner is the fewest changes there can be. Time and memory grow with d
    // squared, apart from reading the lines once, which kMostChanges bounds.
    const auto n = static_cast<long>(a.size());
    const auto m = static_cast<long>(b.size());
    const long most = std::min(n + m, static_cast<long>(kMostChanges));
    // The furthest place in `a` on each diagonal, for each number of changes so far.
    std::vector<std::vector<long>> trace;
    std::vector<long> furthest(static_cast<std::size_t>(2 * most + 3), 0);
    const auto at = [&](std::vector<long>& v, long k) -> long& {
        return v[static_cast<std::size_t>(k + most + 1)];
    };
    for (long d = 0; d <= most; ++d) {
        // Only the diagonals that this round reads are kept.
        trace.emplace_back(furthest.begin() + (most + 1 - d - 1),
                           furthest.begin() + (most + 1 + d + 2));
        for (long k = -d; k <= d; k += 2) {
            // Down from the diagonal above, or right from the one below: from whichever got
            // further.
            const bool down = k == -d || (k != d && at(furthest, k - 1) < at(furthest, k + 1));
            long x = down ? at(furthest, k + 1) : at(furthest, k - 1) + 1;
            long y = x - k;
            while (x < n && y < m &&
                   a[static_cast<std::size_t>(x)] == b[static_cast<std::size_t>(y)]) {
                ++x;
                ++y;
            }
            at(furthest, k) = x;
            if (x < n || y < m) continue;
            // Backwards over what was kept of each round, taking the same decisions again.
            for (long back = d; back > 0; --back) {
                const auto& v = trace[static_cast<std::size_t>(back)];
                const auto seen = [&](long diagonal) {
                    return v[static_cast<std::size_t>(diagonal + back + 1)];
                };
                const long diagonal = x - y;
                const bool came = diagonal == -back ||
                                  (diagonal != back && seen(diagonal - 1) < seen(diagonal + 1));
                const long from = came ? diagonal + 1 : diagonal - 1;
                x = seen(from);
                y = x - from;
                steps.push_back({static_cast<std::size_t>(x), static_cast<std::size_t>(y), !came});
            }
            return true;
        }
    }
    return false;
}

} // namespace

// What is the same at both ends is taken off first: nearly all of it in most revisions.
std::vector<LineChange> changedLines(const Lines& before, const Lines& after) {
    std::size_t head = 0;
    while (head < before.size() && head < after.size() && before[head] == after[head]) ++head;
    std::size_t tail = 0;
    while (tail < before.size() - head && tail < after.size() - head &&
           before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
        ++tail;
    }
    const Lines a(before.begin() + static_cast<long>(head), before.end() - static_cast<long>(tail));
    const Lines b(after.begin() + static_cast<long>(head), after.end() - static_cast<long>(tail));
    if (a.empty() && b.empty()) return {};
    std::vector<Step> steps;
    // Too different to compare: all of it was replaced.
    if (!stepsBetween(a, b, steps)) return {{head, a.size(), head, b.size()}};
    std::vector<LineChange> changes;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        const std::size_t x = head + step->before;
        const std::size_t y = head + step->after;
        // A step that goes on from the last one belongs to the same change.
        if (changes.empty() || changes.back().before + changes.back().removed != x ||
            changes.back().after + changes.back().added != y) {
            changes.push_back({x, 0, y, 0});
        }
        ++(step->removes ? changes.back().removed : changes.back().added);
    }
    return changes;
}

} // namespace trevix
