#include "eval/eval_bridge.h"

#include "eval/grade_ticket.h"
#include "eval/plain_http.h"
#include "eval/service_address.h"
#include "eval/service_answer.h"
#include "eval/service_json.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/http_session.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <utility>

namespace kelvane::EvalBridge {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

// Characters. The service takes no longer prompt; one that is cut still says what is wanted.
constexpr std::size_t kLongestIntent = 4000;

// Far more than any answer takes: only the grading is slow, and that is polled for. What is silent
// for so long is gone.
constexpr std::chrono::milliseconds kRequestTimeout = 30s;

// For what is a courtesy to the service or to a person: long enough for a service that is well.
constexpr std::chrono::milliseconds kCourtesyTimeout = 5s;

// Between two polls. A short text is graded within the first two seconds; a critic that has to warm
// up takes minutes, and is asked less and less often, down to every six seconds.
constexpr std::chrono::nanoseconds kFirstInterval = 1500ms;
constexpr std::chrono::nanoseconds kLastGrowingInterval = 5s;
constexpr std::chrono::nanoseconds kIntervalGrowth = 1s;

// What some editors put before the first character of a file.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr const char* kCancelled = "the grade was cancelled";
constexpr const char* kUnreachable = "could not reach the eval API";
constexpr const char* kUnusableKey =
    "the service key holds a line break \u2014 check BRASK_API_KEY or ~/.brask/key";
constexpr const char* kUnreadableAnswers =
    "The service answers, but not in a way that can be read.";

bool isLocalKey(const std::string& key) {
    return key.starts_with(kLocalKeyPrefix);
}

// A header is one line: what follows a break in it would be a header of its own.
bool isUsable(const std::string& key) {
    return key.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

// The address that nothing may be sent to, as it stands now.
std::optional<std::string> refusedAddress(const Ports& ports, const std::string& key) {
    auto address = plain_http::addressToAskAbout(base(ports.environment));
    // A local key never goes there, whatever the user would say: the session refuses it.
    if (!address || isLocalKey(key)) return std::nullopt;
    if (ports.mayGoUnencrypted && ports.mayGoUnencrypted(*address)) return std::nullopt;
    return address;
}

// Why nothing can be sent at all, in words for people.
std::optional<std::string> hindrance(const Ports& ports, const std::string& key) {
    if (!isUsable(key)) return kUnusableKey;
    const auto address = refusedAddress(ports, key);
    if (!address) return std::nullopt;
    return "nothing was sent: " + *address +
           " is not encrypted and was not allowed \u2014 see ~/.brask/plain-http";
}

// What an HTTP error says of itself, in words for people.
std::string errorText(int status, const json& object) {
    const std::string suffix = " (HTTP " + std::to_string(status) + ")";
    // The two mean one thing to a person, whatever the service says of it.
    if (status == 401 || status == 403) return "not authorized — check your Trevix key" + suffix;
    if (auto detail = service_json::string(object, "detail")) return *std::move(detail);
    if (auto message = service_json::string(object, "message")) return *std::move(message);
    return "eval API error" + suffix;
}

// One exchange with the service, `path` being relative to the base URL. Absent when the service
// could not be reached or its success was not a JSON object, which `isUnreadable` tells apart where
// it is given; an HTTP error is an object with the key "error".
std::optional<json> request(const Ports& ports, const char* method, const std::string& path,
                            const std::string& key, const std::optional<json>& object,
                            std::chrono::milliseconds timeout = kRequestTimeout,
                            bool* isUnreadable = nullptr) {
    // Asked with every request, since the answer may change while a grade is under way.
    if (hindrance(ports, key)) return std::nullopt;
    HttpRequest request{.method = method,
                        .url = base(ports.environment) + path,
                        .headers = {{"Authorization", "Bearer " + key},
                                    {"Accept", "application/json"},
                                    {"User-Agent", "Kelvane-Companion"}},
                        .body = std::nullopt,
                        .timeout = timeout};
    // The session sends a key of this service only after a proof, see HttpRequest::keyToProve.
    if (isLocalKey(key)) request.keyToProve = key;
    if (object) {
        request.headers.emplace_back("Content-Type", "application/json");
        request.body = service_json::compact(*object);
    }
    const std::optional<HttpResponse> response = ports.http.send(request);
    if (!response) return std::nullopt;

    std::optional<json> answer = service_answer::read(response->body);
    // An error is read as an error even if it says nothing that can be read.
    if (isUnreadable != nullptr) *isUnreadable = !answer && response->status < 400;
    if (response->status < 400) return answer;
    if (!answer) answer = json::object();
    if (!answer->contains("error")) (*answer)["error"] = errorText(response->status, *answer);
    return answer;
}

json jsonOf(const std::vector<ArtifactPart>& parts) {
    json array = json::array();
    for (const ArtifactPart& part : parts) array.push_back(part.json());
    return array;
}

std::string cutIntent(const std::string& intent) {
    return std::string(text::firstCharacters(intent, kLongestIntent));
}

std::vector<Flaw> fetchFlaws(const Ports& ports, const std::string& runId, const std::string& key) {
    const auto answer = request(ports, "GET", "/api/v1/eval/runs/" + runId, key, std::nullopt);
    if (!answer) return {};
    const json* run = service_json::find(*answer, "run");
    const json& holder = run && run->is_object() ? *run : *answer;
    return parseFlaws(service_json::find(holder, "flaws"));
}

Verdict completed(const Ports& ports, const json& answer, const std::string& key) {
    const auto runId = service_json::string(answer, "run_id");
    Verdict verdict = verdictFrom(service_json::objectOrEmpty(answer, "result_summary"), runId);
    // A summary may leave the flaws to the run.
    if (verdict.flaws.empty() && runId) verdict.flaws = fetchFlaws(ports, *runId, key);
    return verdict;
}

Verdict timedOut(double deadlineSec, bool warming) {
    const auto seconds = static_cast<long long>(deadlineSec);
    Verdict verdict = Verdict::failure("grade timed out after " + std::to_string(seconds) + "s");
    verdict.warming = warming;
    return verdict;
}

bool saysWarming(const json& answer) {
    const json* warming =
        service_json::find(service_json::objectOrEmpty(answer, "progress"), "warming");
    return warming && warming->is_boolean() && warming->get<bool>();
}

bool saysKeepsWork(const json& answer) {
    const json* keeps = service_json::find(answer, "keeps_work");
    return keeps && keeps->is_boolean() && keeps->get<bool>();
}

// A request goes on for no longer than anybody waits for its answer.
std::chrono::milliseconds requestTimeout(std::chrono::duration<double> left) {
    // Compared first: the conversion of a very long time would overflow.
    if (left >= kRequestTimeout) return kRequestTimeout;
    return std::chrono::ceil<std::chrono::milliseconds>(left);
}

bool isCancelled(const Ports& ports) {
    return ports.ticket && ports.ticket->cancelled();
}

Verdict poll(const Ports& ports, const std::string& jobId, const std::string& key,
             double deadlineSec) {
    const Instant start = ports.clock.now();
    const auto timeLeft = [&] {
        return std::chrono::duration<double>(deadlineSec) - (ports.clock.now() - start);
    };
    std::chrono::nanoseconds interval = kFirstInterval;
    bool warming = false;
    bool unreadable = false; // the last answer that came at all

    // The deadline is looked at before each poll; a poll itself ends with it too.
    for (auto left = timeLeft(); left.count() > 0; left = timeLeft()) {
        const auto answer = request(ports, "GET", "/api/v1/eval/jobs/" + jobId, key, std::nullopt,
                                    requestTimeout(left), &unreadable);
        if (isCancelled(ports)) return Verdict::failure(kCancelled);
        if (answer) {
            const std::string status =
                text::lowercased(service_json::string(*answer, "status").value_or(""));
            if (status == "completed") return completed(ports, *answer, key);
            if (status == "failed" || status == "cancelled") {
                return Verdict::failure(
                    service_json::string(*answer, "error").value_or("grade " + status));
            }
            // Once it has said so, that is what the time went for.
            warming = warming || saysWarming(*answer);
        }
        // Nobody will see this verdict; what matters is to be gone.
        if (ports.clock.sleep(interval) == SleepEnd::Quitting) {
            return Verdict::failure(kUnreachable);
        }
        if (isCancelled(ports)) return Verdict::failure(kCancelled);
        // Past the deadline there is no next wait, so how long it would have been is no matter.
        // Only an answer tells that the work takes longer; a request that failed is tried again as
        // soon as before.
        if (answer) interval = std::min(interval, kLastGrowingInterval) + kIntervalGrowth;
    }
    Verdict verdict = timedOut(deadlineSec, warming);
    if (unreadable) verdict.hint = kUnreadableAnswers;
    return verdict;
}

// "http://127.0.0.1:8797/...": whether the address names this machine by its loopback. Only then is
// the report asked of it, and believed.
bool isLoopbackAddress(std::string_view address) {
    const auto origin = text::webOrigin(address);
    return origin && origin->scheme == "http" && text::isLoopback(origin->host);
}

// Of letters, digits, "_" and "-": no part of an address but itself.
bool isPlainId(std::string_view id) {
    return !id.empty() && std::ranges::all_of(id, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-';
    });
}

} // namespace

std::optional<std::string> apiKey(Environment& environment, FileSystem& files,
                                  const std::filesystem::path& home) {
    if (auto key = environment.get("BRASK_API_KEY"); key && !key->empty()) return key;
    // A file that is not UTF-8 is no key: a header could not hold it.
    const auto content = files.read(home / ".brask" / "key");
    if (!content || !text::isValidUtf8(*content)) return std::nullopt;
    std::string_view whole = *content;
    if (whole.starts_with(kByteOrderMark)) whole.remove_prefix(kByteOrderMark.size());
    const std::string_view key = text::trimmedWhitespaceAndNewlines(whole);
    if (key.empty()) return std::nullopt;
    return std::string(key);
}

bool isKeyExposed(Environment& environment, FileSystem& files, const std::filesystem::path& home) {
    const auto key = environment.get("BRASK_API_KEY");
    if (key && !key->empty()) return false;
    const auto guard = files.guard(home / ".brask" / "key");
    return guard && !guard->isPrivate();
}

std::string base(Environment& environment) {
    const std::string address =
        environment.get("BRASK_API_BASE").value_or(std::string(kServiceBase));
    std::string_view trimmed = text::trimmedBlanks(address);
    // Paths are added with their own "/".
    while (trimmed.ends_with('/')) trimmed.remove_suffix(1);
    return std::string(trimmed);
}

Verdict grade(const Ports& ports, const std::vector<ArtifactPart>& parts,
              const std::string& modality, const std::optional<std::string>& vertical,
              const std::optional<std::string>& policyId, const std::string& intent,
              const std::string& key, double deadlineSec) {
    assert(std::isfinite(deadlineSec));
    json submission = {{"submission", "async"},
                       {"modality", modality},
                       {"user_prompt", cutIntent(intent)},
                       {"artifact_parts", jsonOf(parts)}};
    if (vertical) submission["vertical"] = *vertical;
    if (policyId && !policyId->empty()) submission["policy_id"] = *policyId;

    // Before anything is sent: whoever has not allowed the address gets its reason, not a failure
    // of the network.
    if (auto why = hindrance(ports, key)) return Verdict::failure(*std::move(why));
    if (isCancelled(ports)) return Verdict::failure(kCancelled);
    const auto answer = request(ports, "POST", "/api/v1/eval/jobs", key, submission);
    if (!answer) return Verdict::failure(kUnreachable);
    const auto jobId = service_json::string(*answer, "job_id");
    // Cancelled while it was sent: nobody else knows the job by now, so it is given up here.
    if (jobId && ports.ticket && !ports.ticket->accept(*jobId)) {
        cancelJob(ports, *jobId, key);
        return Verdict::failure(kCancelled);
    }
    if (jobId) {
        if (ports.accepted) ports.accepted({*jobId, saysKeepsWork(*answer)});
        Verdict verdict = poll(ports, *jobId, key, deadlineSec);
        // From here on cancelling finds no job to give up.
        if (ports.ticket) ports.ticket->finish();
        return verdict;
    }
    return Verdict::failure(
        service_json::string(*answer, "error").value_or("no job_id in response"));
}

Verdict resume(const Ports& ports, const std::string& jobId, const std::string& key,
               double deadlineSec) {
    if (auto why = hindrance(ports, key)) return Verdict::failure(*std::move(why));
    if (ports.ticket && !ports.ticket->accept(jobId)) {
        cancelJob(ports, jobId, key);
        return Verdict::failure(kCancelled);
    }
    Verdict verdict = poll(ports, jobId, key, deadlineSec);
    if (ports.ticket) ports.ticket->finish();
    return verdict;
}

void cancelJob(const Ports& ports, const std::string& jobId, const std::string& key) {
    static_cast<void>(request(ports, "DELETE", "/api/v1/eval/jobs/" + jobId, key, std::nullopt,
                              kCourtesyTimeout));
}

Verdict iterate(const Ports& ports, const std::string& runId,
                const std::vector<ArtifactPart>& parts, const std::string& intent,
                const std::string& key) {
    const json revision = {{"decision", "re_prompt"},
                           {"user_prompt", cutIntent(intent)},
                           {"new_artifact_parts", jsonOf(parts)}};
    if (auto why = hindrance(ports, key)) return Verdict::failure(*std::move(why));
    if (isCancelled(ports)) return Verdict::failure(kCancelled);
    const auto answer =
        request(ports, "POST", "/api/v1/eval/runs/" + runId + "/iterate", key, revision);
    if (!answer) return Verdict::failure(kUnreachable);
    const json& iteration = service_json::objectOrEmpty(*answer, "iteration");
    return verdictFrom(service_json::objectOrEmpty(iteration, "critic_verdict"), runId);
}

bool asksForReportAddress(Environment& environment) {
    return isThisMachine(environment);
}

bool isThisMachine(Environment& environment) {
    // Schemes and hosts have no case: an address in capitals is this machine's own all the same.
    const std::string address = text::lowercased(base(environment));
    return isLoopbackAddress(address) || address.starts_with("http+unix://");
}

std::string reportAddress(const Ports& ports, const std::string& runId,
                          const std::optional<std::string>& key) {
    const std::string path = "/console?run=" + runId;
    std::string stated = base(ports.environment) + path;
    if (!key || !isPlainId(runId) || !asksForReportAddress(ports.environment)) return stated;
    const auto answer = request(ports, "POST", "/api/v1/eval/runs/" + runId + "/ticket", *key,
                                json::object(), kCourtesyTimeout);
    if (!answer) return stated;
    const std::string once = service_json::string(*answer, "report").value_or("");
    // An address of this machine alone, and of that run, is opened: the answer decides what a
    // browser shows.
    const bool here = isLoopbackAddress(once) && once.find(path + "&") != std::string::npos;
    return here ? once : stated;
}

namespace {

// What the user says goes to a service of this machine alone: no other has such a list.
std::optional<json> say(const Ports& ports, const std::string& path, const std::string& key,
                        const json& object) {
    if (!isThisMachine(ports.environment)) return std::nullopt;
    return request(ports, "POST", "/api/v1/eval/" + path, key, object);
}

std::optional<std::string> errorOf(const std::optional<json>& answer) {
    if (!answer) return kUnreachable;
    if (!answer->contains("error")) return std::nullopt;
    return service_json::string(*answer, "error").value_or("the service refused");
}

// First as it holds everywhere: the service refuses that where the words do not tell which case is
// meant, and then the place does.
std::optional<std::string> sayOfFlaw(const Ports& ports, const std::string& path, const Flaw& flaw,
                                     const std::string& key) {
    json object = {{"rule", flaw.rule}, {"evidence", flaw.evidence}};
    const auto answer = say(ports, path, key, object);
    auto error = errorOf(answer);
    if (!answer || !error || flaw.place.empty()) return error;
    object["place"] = flaw.place;
    return errorOf(say(ports, path, key, object));
}

} // namespace

std::optional<std::string> dismiss(const Ports& ports, const Flaw& flaw, const std::string& key) {
    return sayOfFlaw(ports, "dismissals", flaw, key);
}

std::optional<std::string> undoDismissal(const Ports& ports, const Flaw& flaw,
                                         const std::string& key) {
    // Which of the two was said is not known here; forgetting what is not there is no error.
    json object = {{"rule", flaw.rule}, {"evidence", flaw.evidence}};
    auto error = errorOf(say(ports, "dismissals/undo", key, object));
    if (error || flaw.place.empty()) return error;
    object["place"] = flaw.place;
    return errorOf(say(ports, "dismissals/undo", key, object));
}

std::optional<std::string> addWord(const Ports& ports, const std::string& word,
                                   const std::string& key) {
    return errorOf(say(ports, "words", key, {{"word", word}}));
}

std::optional<std::string> removeWord(const Ports& ports, const std::string& word,
                                      const std::string& key) {
    return errorOf(say(ports, "words/undo", key, {{"word", word}}));
}

std::optional<Verdict> verdictOfRun(const Ports& ports, const std::string& runId,
                                    const std::string& key) {
    const auto answer = request(ports, "GET", "/api/v1/eval/runs/" + runId, key, std::nullopt);
    if (!answer) return std::nullopt;
    const json& run = service_json::objectOrEmpty(*answer, "run");
    if (!run.contains("band")) return std::nullopt;
    return verdictFrom(run, runId);
}

} // namespace kelvane::EvalBridge
