#include "service/wire.h"

#include "critics/findings/finding_diff.h"
#include "text/base64.h"
#include "text/json_shape.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <utility>

namespace trevix {

using nlohmann::json;
using namespace kelvane;

namespace {

constexpr std::size_t kLongestIntent = 4000; // Characters, as docs/local-service.md says.
// One text for all of it: what a parser says names its own states.
constexpr const char* kNoJson = "the body is not valid JSON";

// Thrown and caught in this file only.
struct Unusable {
    std::string text;
};

// Looked at before anything is built, since building is what deep or crowded bodies make expensive.
void checkShape(std::string_view body) {
    const text::JsonShape shape = text::jsonShape(body);
    // The parser would take it for the end and not look at what follows.
    if (shape.hasNul) throw Unusable{kNoJson};
    if (shape.depth > text::kDeepestJson) {
        throw Unusable{"the body is nested more than " + std::to_string(text::kDeepestJson) +
                       " levels deep"};
    }
    if (shape.values > kMostValues) {
        throw Unusable{"the body holds more than " + std::to_string(kMostValues) + " values"};
    }
}

json parseBody(std::string_view body) {
    // Strings go into answers and pages as they came, where anything else would break them.
    if (!text::isValidUtf8(body)) throw Unusable{"the body is not valid UTF-8"};
    checkShape(body);
    // Without exceptions: bad bodies are an everyday answer.
    json value = json::parse(body.begin(), body.end(), nullptr, false);
    if (value.is_discarded()) throw Unusable{kNoJson};
    if (!value.is_object()) throw Unusable{"the body must be a JSON object"};
    return value;
}

// The string under `key`, moved out of `object`. `where` is the object's own name in messages.
std::optional<std::string> optionalString(json& object, const char* key,
                                          const std::string& where = {}) {
    const auto found = object.find(key);
    if (found == object.end()) return std::nullopt;
    if (!found->is_string()) throw Unusable{where + key + " must be a string"};
    // Moved, because a part's text may have tens of megabytes.
    return std::move(found->get_ref<std::string&>());
}

std::string requiredString(json& object, const char* key, const std::string& where = {}) {
    if (!object.contains(key)) throw Unusable{where + key + " is missing; it must be a string"};
    return *optionalString(object, key, where);
}

std::string intentOf(json& body) {
    const std::string intent = requiredString(body, "user_prompt");
    // Cut, not refused: it is what was asked of some model, shown for orientation only.
    return std::string(text::firstCharacters(intent, kLongestIntent));
}

void addPart(std::vector<Part>& parts, json& object, const std::string& where) {
    if (!object.is_object()) throw Unusable{where + " must be an object"};
    const std::string prefix = where + ".";
    Part part;
    part.mimeType = requiredString(object, "mime_type", prefix);
    part.name = requiredString(object, "logical_name", prefix);
    std::optional<std::string> content = optionalString(object, "text", prefix);
    std::string bytes;
    if (const auto encoded = optionalString(object, "data_b64", prefix)) {
        auto decoded = text::fromBase64(*encoded);
        if (!decoded) throw Unusable{prefix + "data_b64 is not base64"};
        bytes = std::move(*decoded);
    }

    // Text that came as base64 is text all the same.
    if (!content && part.mimeType.rfind("text/", 0) == 0 && text::isValidUtf8(bytes)) {
        content = std::exchange(bytes, {});
    }
    // A part that has both is judged as both.
    const bool both = content && !content->empty() && !bytes.empty();
    if (both) {
        Part picture = part;
        picture.isText = false;
        picture.bytes = std::exchange(bytes, {});
        // The order counts: findings name parts by it, the text first.
        part.text = std::move(*content);
        parts.push_back(std::move(part));
        parts.push_back(std::move(picture));
        return;
    }
    // Neither text nor bytes is an empty text.
    part.isText = bytes.empty();
    part.text = content ? std::move(*content) : std::string();
    part.bytes = std::move(bytes);
    parts.push_back(std::move(part));
}

std::vector<Part> partsOf(json& body, const char* key) {
    const auto found = body.find(key);
    if (found == body.end()) throw Unusable{std::string(key) + " is missing; it must be an array"};
    if (!found->is_array()) throw Unusable{std::string(key) + " must be an array"};
    std::vector<Part> parts;
    for (std::size_t i = 0; i < found->size(); ++i) {
        addPart(parts, (*found)[i], std::string(key) + "[" + std::to_string(i) + "]");
    }
    return parts;
}

void requireWord(json& body, const char* key, std::string_view word) {
    if (requiredString(body, key) != word) {
        throw Unusable{std::string(key) + " must be \"" + std::string(word) + "\""};
    }
}

std::string dump(const json& value) {
    // What cannot be written as UTF-8 is written as U+FFFD: an answer must never fail for its text.
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

json flawJson(const Finding& finding) {
    return {{"severity", std::string(name(finding.severity))},
            {"criterion", finding.criterion},
            {"detail", finding.detail},
            {"rule", finding.rule},
            {"place", finding.place},
            {"evidence", finding.evidence}};
}

json flawsJson(const std::vector<Finding>& findings) {
    json flaws = json::array();
    for (const Finding& finding : findings) flaws.push_back(flawJson(finding));
    return flaws;
}

json dismissedJson(const std::vector<DismissedFinding>& dismissed) {
    json flaws = json::array();
    for (const DismissedFinding& one : dismissed) {
        json flaw = flawJson(one.finding);
        flaw["reason"] = one.byDictionary ? "the word is in the dictionary" : one.reason;
        flaw["dismissed_at"] = one.when;
        flaws.push_back(std::move(flaw));
    }
    return flaws;
}

json coverageJson(const Coverage& coverage) {
    json checked = json::array();
    for (const CheckedBy& by : coverage.checkedBy) {
        checked.push_back({{"engine", by.engine}, {"version", by.version}, {"knows", by.knows}});
    }
    json missed = json::array();
    for (const NotChecked& gap : coverage.notChecked) {
        missed.push_back({{"what", gap.what}, {"why", gap.why}, {"remedy", gap.remedy}});
    }
    return {{"checked_by", std::move(checked)}, {"not_checked", std::move(missed)}};
}

json verdictJson(const Iteration& iteration) {
    // "band" and "decision" say the same: clients look for one or the other.
    json verdict = {{"band", name(iteration.band)},
                    {"decision", name(iteration.band)},
                    {"score", iteration.score},
                    {"findings", iteration.findings.size()},
                    {"flaws", flawsJson(iteration.findings)},
                    {"dismissed", dismissedJson(iteration.dismissed)}};
    verdict.update(coverageJson(iteration.coverage));
    return verdict;
}

json revisionJson(const RunRecord& run, std::size_t number) {
    const Iteration& now = run.iterations[number];
    // Against the version right before it, since that is what was revised.
    const FindingDiff diff = compareFindings(run.iterations[number - 1].findings, now.findings);
    return {{"number", now.number},
            {"created", isoTime(now.createdMs)},
            {"critic_verdict", verdictJson(now)},
            {"fixed", flawsJson(diff.fixed)},
            {"remaining", flawsJson(diff.remaining)},
            {"new", flawsJson(diff.fresh)}};
}

const char* name(JobState state) {
    switch (state) {
    case JobState::queued:
        return "queued";
    case JobState::running:
        return "running";
    case JobState::completed:
        return "completed";
    case JobState::failed:
        break;
    }
    return "failed";
}

} // namespace

std::variant<SubmitRequest, WireError> parseSubmit(std::string_view body) {
    try {
        json object = parseBody(body);
        SubmitRequest request;
        requireWord(object, "submission", "async");
        request.submission.modality = requiredString(object, "modality");
        request.submission.intent = intentOf(object);
        request.submission.vertical = optionalString(object, "vertical").value_or("");
        request.policyId = optionalString(object, "policy_id").value_or("");
        request.submission.parts = partsOf(object, "artifact_parts");
        return request;
    } catch (const Unusable& unusable) {
        return WireError{unusable.text};
    }
}

std::variant<IterateRequest, WireError> parseIterate(std::string_view body) {
    try {
        json object = parseBody(body);
        IterateRequest request;
        requireWord(object, "decision", "re_prompt");
        request.submission.intent = intentOf(object);
        request.submission.parts = partsOf(object, "new_artifact_parts");
        return request;
    } catch (const Unusable& unusable) {
        return WireError{unusable.text};
    }
}

std::variant<Dismissal, WireError> parseDismissal(std::string_view body) {
    try {
        json object = parseBody(body);
        Dismissal dismissal;
        dismissal.rule = requiredString(object, "rule");
        if (dismissal.rule.empty()) throw Unusable{"rule must not be empty"};
        // In the form that findings are compared in, so that a dismissal still fits when a line is
        // added above its flaw.
        dismissal.evidence = withoutPlaces(optionalString(object, "evidence").value_or(""));
        dismissal.place = optionalString(object, "place").value_or("");
        dismissal.reason = optionalString(object, "reason").value_or("");
        return dismissal;
    } catch (const Unusable& unusable) {
        return WireError{unusable.text};
    }
}

std::variant<std::string, WireError> parseWord(std::string_view body) {
    try {
        json object = parseBody(body);
        return requiredString(object, "word");
    } catch (const Unusable& unusable) {
        return WireError{unusable.text};
    }
}

std::string dismissalsJson(const std::vector<Dismissal>& dismissals) {
    json list = json::array();
    for (const Dismissal& one : dismissals) {
        list.push_back({{"rule", one.rule},
                        {"evidence", one.evidence},
                        {"place", one.place},
                        {"reason", one.reason},
                        {"dismissed_at", one.when}});
    }
    return dump({{"dismissals", std::move(list)}});
}

std::vector<PartSummary> summarize(const std::vector<Part>& parts) {
    std::vector<PartSummary> summaries;
    for (const Part& part : parts) {
        // One of the two is empty: addPart() makes two parts of one that has both.
        summaries.push_back({part.name, part.mimeType, part.text.size() + part.bytes.size()});
    }
    return summaries;
}

std::string ticketJson(std::string_view address, std::chrono::seconds lasts) {
    return dump({{"report", std::string(address)}, {"expires_in", lasts.count()}});
}

std::string proofJson(std::string_view proof) {
    return dump({{"proof", std::string(proof)}});
}

std::string errorJson(std::string_view text) {
    return dump({{"error", std::string(text)}});
}

std::string acceptedJson(std::string_view jobId, bool keepsWork) {
    return dump({{"job_id", std::string(jobId)}, {"status", "queued"}, {"keeps_work", keepsWork}});
}

std::string cancelledJson(std::string_view jobId) {
    // "failed" is a state that every client knows an end by; "cancelled" would be a new one.
    return dump(
        {{"job_id", std::string(jobId)}, {"status", "failed"}, {"error", "the job was cancelled"}});
}

std::string statusJson(const JobStatus& status) {
    json progress = {{"warming", status.warming}, {"position", status.position}};
    // Zero is before the critics have counted the parts.
    if (status.state == JobState::running && status.progress.of > 0) {
        progress["done"] = status.progress.done;
        progress["of"] = status.progress.of;
        progress["running"] = status.progress.running;
    }
    json answer = {{"status", name(status.state)}, {"progress", std::move(progress)}};
    if (status.result) {
        answer["run_id"] = status.runId;
        answer["result_summary"] = verdictJson(*status.result);
    }
    if (status.state == JobState::failed) answer["error"] = status.error;
    return dump(answer);
}

std::string runJson(const RunRecord& run) {
    json answer = verdictJson(run.latest());
    answer["id"] = run.id;
    answer["created"] = isoTime(run.iterations.front().createdMs);
    answer["modality"] = run.modality;
    answer["original"] = verdictJson(run.iterations.front());
    json revisions = json::array();
    for (std::size_t i = 1; i < run.iterations.size(); ++i) {
        revisions.push_back(revisionJson(run, i));
    }
    answer["iterations"] = std::move(revisions);
    return dump({{"run", std::move(answer)}});
}

std::string iterationJson(const RunRecord& run, int number) {
    return dump({{"iteration", revisionJson(run, static_cast<std::size_t>(number))}});
}

std::string isoTime(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr) return {};
    char text[32];
    // RFC 3339 in UTC, without a locale.
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

} // namespace trevix
