// What a process counts about itself, and how it is told.

#include "service/service_metrics.h"

#include "tests/service/gated_critic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace trevix {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

constexpr EngineTimes::Instant kStart{};

TEST(EngineTimes, TellWhoHasEndedAndAfterWhatTime) {
    EngineTimes times;
    EXPECT_THAT(times.ended({0, 3, {}}, kStart), ElementsAre());
    EXPECT_THAT(times.ended({0, 3, {"own"}}, kStart), ElementsAre());
    EXPECT_THAT(times.ended({0, 3, {"own", "bandit"}}, kStart + 10ms), ElementsAre());
    EXPECT_THAT(times.ended({1, 3, {"bandit"}}, kStart + 30ms), ElementsAre(Pair("own", 30ms)));
    EXPECT_THAT(times.ended({1, 3, {"bandit", "bandit"}}, kStart + 40ms), ElementsAre());
    EXPECT_THAT(times.ended({2, 3, {"bandit"}}, kStart + 50ms), ElementsAre(Pair("bandit", 40ms)));
    EXPECT_THAT(times.ended({3, 3, {}}, kStart + 90ms), ElementsAre(Pair("bandit", 50ms)));
}

Submission workOf(std::vector<Part> parts) {
    Submission work;
    work.parts = std::move(parts);
    return work;
}

Part part(const std::string& type) {
    Part made;
    made.mimeType = type;
    made.text = "text";
    return made;
}

TEST(KindLabel, IsOneOfAFewWhateverTheClientSays) {
    EXPECT_EQ(kindLabel(workOf({})), "none");
    EXPECT_EQ(kindLabel(workOf({part("text/markdown")})), "document");
    EXPECT_EQ(kindLabel(workOf({part("text/x-code")})), "code");
    EXPECT_EQ(kindLabel(workOf({part("text/x-code"), part("text/csv")})), "several");
    Submission odd = workOf({part("application/x-\"}\n")});
    odd.modality = "the private words";
    EXPECT_EQ(kindLabel(odd), "text");
    odd.parts.front().isText = false;
    EXPECT_EQ(kindLabel(odd), "other");
}

TEST(Histogram, PutsATimeWhereItBelongs) {
    Histogram histogram;
    for (const double seconds : {0.01, 0.05, 0.051, 61.0}) histogram.add(seconds);
    EXPECT_EQ(histogram.counts.front(), 2U) << "an end belongs to its bucket";
    EXPECT_EQ(histogram.counts.at(1), 1U);
    EXPECT_EQ(histogram.counts.back(), 1U);
    EXPECT_NEAR(histogram.sum, 61.111, 1e-9);
}

TEST(ServiceMetrics, TellInTheTextFormat) {
    ServiceMetrics metrics;
    metrics.countRequest(202);
    metrics.countRequest(202);
    metrics.countRequest(404);
    metrics.countJudged("text", ServiceMetrics::Judged::verdict, 70ms);
    metrics.countJudged("text", ServiceMetrics::Judged::verdict, 40s);
    metrics.countJudged("code", ServiceMetrics::Judged::givenUp, 1s);
    metrics.countEngine("odd \"one\"\\", 200ms);
    const std::string text = metrics.text(StoreFigures{3, 2, 1500ms, 4, 1}, {7, 1, 5}, "1.2.3");
    for (const char* line : {"trevix_build_info{version=\"1.2.3\"} 1\n",
                             "\ntrevix_database_up 1\n",
                             "\ntrevix_database_errors_total 5\n",
                             "\ntrevix_jobs{state=\"queued\"} 3\n",
                             "\ntrevix_jobs{state=\"running\"} 2\n",
                             "\ntrevix_oldest_queued_seconds 1.5\n",
                             "\ntrevix_workers{state=\"ready\"} 4\n",
                             "\ntrevix_workers{state=\"warming\"} 1\n",
                             "\ntrevix_jobs_over_total{state=\"completed\"} 7\n",
                             "\ntrevix_jobs_over_total{state=\"failed\"} 1\n",
                             "\ntrevix_requests_total{code=\"202\"} 2\n",
                             "\ntrevix_requests_total{code=\"404\"} 1\n",
                             "\ntrevix_judged_total{outcome=\"given_up\"} 1\n",
                             "\n# TYPE trevix_judging_seconds histogram\n",
                             "\ntrevix_judging_seconds_bucket{kind=\"text\",le=\"0.05\"} 0\n",
                             "\ntrevix_judging_seconds_bucket{kind=\"text\",le=\"0.1\"} 1\n",
                             "\ntrevix_judging_seconds_bucket{kind=\"text\",le=\"30\"} 1\n",
                             "\ntrevix_judging_seconds_bucket{kind=\"text\",le=\"60\"} 2\n",
                             "\ntrevix_judging_seconds_bucket{kind=\"text\",le=\"+Inf\"} 2\n",
                             "\ntrevix_judging_seconds_sum{kind=\"text\"} 40.07\n",
                             "\ntrevix_judging_seconds_count{kind=\"text\"} 2\n",
                             "\ntrevix_engine_seconds_count{engine=\"odd \\\"one\\\"\\\\\"} 1\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    EXPECT_THAT(text, Not(HasSubstr("kind=\"code\""))) << "what was given up took no time to judge";
}

TEST(ServiceMetrics, WithoutTheStoreTellWhatTheProcessKnows) {
    const std::string text = ServiceMetrics().text(std::nullopt, {0, 0, 3}, "1");
    EXPECT_THAT(text, HasSubstr("\ntrevix_database_up 0\n"));
    EXPECT_THAT(text, HasSubstr("\ntrevix_database_errors_total 3\n"));
    EXPECT_THAT(text, Not(HasSubstr("trevix_jobs{")));
    EXPECT_THAT(text, Not(HasSubstr("trevix_workers")));
}

TEST(Counted, TellsWhatTheCriticDidAndPassesItOn) {
    GatedCritic gate;
    ServiceMetrics metrics;
    auto now = kStart;
    const WorkCritic critic = counted([&](const auto&... asked) { return gate(asked...); }, metrics,
                                      [&] {
                                          now += 100ms;
                                          return now;
                                      });
    std::vector<GradingProgress> told;
    const auto listen = [&](const GradingProgress& progress) { told.push_back(progress); };
    EXPECT_TRUE(critic(workOf({part("text/plain")}), {}, listen).has_value());
    EXPECT_THAT(told, Not(ElementsAre()));
    EXPECT_TRUE(critic(workOf({part("text/plain")}), {}, {}).has_value()) << "nobody listens";
    Part bad = part("text/plain");
    bad.text = "throw";
    EXPECT_ANY_THROW((void)critic(workOf({bad}), {}, listen));
    const std::string text = metrics.text(std::nullopt, {}, "1");
    EXPECT_THAT(text, HasSubstr("\ntrevix_judged_total{outcome=\"verdict\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("\ntrevix_judged_total{outcome=\"failed\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\ntrevix_judging_seconds_count{kind=\"text\"} 2\n"));
}

} // namespace
} // namespace trevix
