#include "service/judge_job.h"

#include "critics/findings/verdict_rule.h"
#include "service/kept_work.h"
#include "service/store/random_id.h"
#include "service/verdict_limits.h"

#include <exception>
#include <utility>
#include <variant>

namespace trevix {

namespace {

Iteration judged(const Submission& submission, Critique critique, std::int64_t nowMs) {
    // Before the findings are moved away, on which the judgement rests.
    const Judgement judgement = judge(critique);
    Iteration iteration;
    iteration.createdMs = nowMs;
    iteration.intent = submission.intent;
    iteration.band = judgement.band;
    iteration.score = judgement.score;
    iteration.parts = summarize(submission.parts);
    iteration.findings = std::move(critique.findings);
    iteration.extent = critique.extent;
    iteration.coverage = std::move(critique.coverage);
    return withinLimits(std::move(iteration));
}

/// A body from the store, read as what it was when it came in.
std::variant<JobRequest, WireError> readAgain(JobKind kind, std::string_view body) {
    const auto widened = [](auto parsed) -> std::variant<JobRequest, WireError> {
        if (auto* error = std::get_if<WireError>(&parsed)) return std::move(*error);
        return JobRequest(std::move(std::get<0>(parsed)));
    };
    return kind == JobKind::grade ? widened(parseSubmit(body)) : widened(parseIterate(body));
}

KeptWork toKeep(const QueueOptions& options, const Submission& work) {
    return options.keepsWork() ? keptWork(work.parts) : KeptWork();
}

/// What every step of one job needs.
struct Job {
    RunStore& store;
    const QueueOptions& options;
    const PendingJob& job;
    const StopToken& cancel;
    const std::function<void(const GradingProgress&)>& progress;

    /// Absent when the critics gave up.
    [[nodiscard]] std::optional<Iteration> verdict(const Submission& work) const {
        auto critique = options.critic(work, cancel, progress);
        if (!critique) return std::nullopt;
        return judged(work, std::move(*critique), options.nowMs());
    }

    void fail(const std::string& why) const { store.failJob(job.id, why, options.nowMs()); }

    [[nodiscard]] bool judgeWork(const SubmitRequest& request) const {
        const Submission& submission = request.submission;
        auto first = verdict(submission);
        if (!first) return false;
        store.finishGrade(job.id,
                          // The run gets its id with its verdict: a job that fails or is cancelled
                          // leaves no run behind.
                          {newRunId(),
                           cutTo(submission.modality, kLongestText),
                           cutTo(submission.vertical, kLongestText),
                           cutTo(request.policyId, kLongestText),
                           {std::move(*first)}},
                          toKeep(options, submission));
        return true;
    }

    [[nodiscard]] bool judgeRevision(IterateRequest& request) const {
        const auto run = store.run(job.runId);
        if (!run) {
            fail("the run is gone");
            return true;
        }
        // A revision is judged as what its run is, not as what it says it is.
        Submission& submission = request.submission;
        submission.modality = run->modality;
        submission.vertical = run->vertical;
        const auto revision = verdict(submission);
        if (!revision) return false;
        store.finishIterate(job.id, job.runId, *revision, toKeep(options, submission));
        return true;
    }
};

bool judgeRead(const Job& job, std::optional<JobRequest>& request) {
    if (!request) {
        // The bytes were accepted once, but maybe by another version of this program with other
        // rules.
        auto read = readAgain(job.job.kind, job.store.payload(job.job.id).value_or(""));
        if (const auto* error = std::get_if<WireError>(&read)) {
            job.fail(error->text);
            return true;
        }
        request = std::move(std::get<JobRequest>(read));
    }
    if (const auto* work = std::get_if<SubmitRequest>(&*request)) return job.judgeWork(*work);
    return job.judgeRevision(std::get<IterateRequest>(*request));
}

} // namespace

std::string endedTooOften() {
    return "the service ended " + std::to_string(kMostAttempts) +
           " times while it judged this work";
}

bool judgeJob(RunStore& store, const QueueOptions& options, const PendingJob& job,
              std::optional<JobRequest>& request, const StopToken& cancel,
              const std::function<void(const GradingProgress&)>& progress) {
    const Job whole{store, options, job, cancel, progress};
    try {
        return judgeRead(whole, request);
    } catch (const StoreError&) {
        throw;
    } catch (const std::exception& error) {
        whole.fail(std::string("the critics could not judge this work: ") + error.what());
    } catch (...) {
        whole.fail("the critics could not judge this work");
    }
    return true;
}

} // namespace trevix
