// The JSON of the service's API: requests read strictly, answers written.
//
// Pure functions over values; any thread. Nothing here throws on what a client sent: a body that
// cannot be used comes back as the sentence that tells the client why, naming the field.

#pragma once

#include "critics/findings/dismissal.h"
#include "critics/findings/finding.h"
#include "service/store/job_status.h"
#include "service/store/run_record.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

/// Values in one request, whatever they are: keeps a small body from becoming a huge document.
/// How deep a body may nest is `text::kDeepestJson`.
constexpr std::size_t kMostValues = 100'000;

/// Why a body cannot be used, for the client's developer: "artifact_parts[1].mime_type must be a
/// string".
struct WireError {
    std::string text;

    bool operator==(const WireError&) const = default;
};

/// A new piece of work. Unknown fields are passed over.
struct SubmitRequest {
    Submission submission; ///< `intent` is cut to 4000 characters.
    std::string policyId;  ///< Empty when none was given.
};

/// A revision of work that was graded before.
struct IterateRequest {
    Submission submission; ///< As above. Modality and vertical are the run's, and empty here.
};

/// What a job was asked for.
using JobRequest = std::variant<SubmitRequest, IterateRequest>;

[[nodiscard]] std::variant<SubmitRequest, WireError> parseSubmit(std::string_view body);
[[nodiscard]] std::variant<IterateRequest, WireError> parseIterate(std::string_view body);

/// {"rule", "evidence", "place", "reason"}: the rule is required. The evidence is as a finding has
/// it or as a dismissal has it; what only tells its place is taken out.
[[nodiscard]] std::variant<Dismissal, WireError> parseDismissal(std::string_view body);
/// {"word"}
[[nodiscard]] std::variant<std::string, WireError> parseWord(std::string_view body);
/// {"dismissals": [{"rule", "evidence", "place", "reason", "dismissed_at"}]}
[[nodiscard]] std::string dismissalsJson(const std::vector<Dismissal>& dismissals);

/// Names, types and decoded sizes.
[[nodiscard]] std::vector<PartSummary> summarize(const std::vector<Part>& parts);

/// {"report", "expires_in"}: an address to open within that time.
[[nodiscard]] std::string ticketJson(std::string_view address, std::chrono::seconds lasts);
/// {"proof"}
[[nodiscard]] std::string proofJson(std::string_view proof);
/// {"error": text}
[[nodiscard]] std::string errorJson(std::string_view text);
/// {"job_id", "status": "failed", "error"}: what became of a job that was cancelled.
[[nodiscard]] std::string cancelledJson(std::string_view jobId);
/// {"job_id", "status": "queued", "keeps_work"}: whether reports will show the work.
[[nodiscard]] std::string acceptedJson(std::string_view jobId, bool keepsWork);
/// {"status", "progress": {"warming", "position"}}, while it is judged also how many of those who
/// judge are "done", "of" how many, and who is "running"; when the job is over "run_id" and
/// "result_summary", or "error". A verdict names who judged ("checked_by") and what nobody here
/// could judge ("not_checked"), and lists as "dismissed" what the person said is no flaw.
[[nodiscard]] std::string statusJson(const JobStatus& status);
/// {"run": …}: the verdict as it stands, that of the first version, and each revision with what it
/// fixed, what remains and what is new.
[[nodiscard]] std::string runJson(const RunRecord& run);
/// {"iteration": …} for the revision with this number, which the run must have and which is not 0.
[[nodiscard]] std::string iterationJson(const RunRecord& run, int number);

/// "2026-03-03T14:05:09Z"
[[nodiscard]] std::string isoTime(std::int64_t ms);

} // namespace trevix
