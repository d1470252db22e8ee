// What a process of a team's service counts, in the text format of Prometheus.
//
// Counts and times alone: no name, no key, no work and no address stands in them. Of what may be a
// label there is a bounded set: what clients choose is never one. Any thread.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/progress.h"
#include "service/job_desk.h"
#include "service/store/shared_store.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

/// Upper ends of the buckets of times, in seconds: from a page of prose, some 50 ms, to the minute
/// that a work may take at most.
constexpr std::array<double, 10> kBuckets{0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60};

/// A value.
struct Histogram {
    std::array<std::uint64_t, kBuckets.size() + 1> counts{}; ///< Not added up; the last is beyond.
    double sum = 0;                                          ///< Seconds.

    void add(double seconds);

    bool operator==(const Histogram&) const = default;
};

/// Tells from how far a work is who has judged it for how long. A value; one thread at a time.
class EngineTimes {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// Those who have ended since the last time, and after what time each.
    [[nodiscard]] std::vector<std::pair<std::string, Instant::duration>>
    ended(const GradingProgress& progress, Instant now);

private:
    std::map<std::string, std::vector<Instant>> m_begun; // one name may be at work several times
};

/// What the parts of a work are, for a label: "text", "picture", ..., or "several".
[[nodiscard]] std::string_view kindLabel(const Submission& submission);

class ServiceMetrics {
public:
    void countRequest(int status);
    enum class Judged { verdict, givenUp, failed };
    void countJudged(std::string_view kind, Judged how, std::chrono::duration<double> took);
    void countEngine(const std::string& engine, std::chrono::duration<double> took);

    /// What is told. `figures` are absent where the store did not answer.
    [[nodiscard]] std::string text(const std::optional<StoreFigures>& figures,
                                   const StoreCounts& counts, std::string_view version) const;

private:
    mutable std::mutex m_mutex;
    std::map<int, std::uint64_t> m_requests;
    std::map<std::string, Histogram, std::less<>> m_judging;
    std::map<std::string, Histogram> m_engines;
    std::array<std::uint64_t, 3> m_judged{}; // by Judged
};

/// The critic, counted. `metrics` must outlive it; `now` is any clock that does not go back.
[[nodiscard]] WorkCritic counted(WorkCritic critic, ServiceMetrics& metrics,
                                 std::function<EngineTimes::Instant()> now);

} // namespace trevix
