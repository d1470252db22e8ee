// The client of the evaluation service.
//
// `grade` submits a job, polls it to its end and returns the verdict; `iterate` sends a revised
// version against an earlier run. Both block (a grade for minutes, while the grader warms up) and
// belong on a background thread. Neither throws: every failure is a verdict with its `error` set.
// Nothing is kept between calls, and the environment is read again for every request. An answer
// that is not UTF-8 or holds a NUL byte counts as no JSON. When the program quits, a grade returns
// at its next wait, as if the service could not be reached. A grade with a ticket that is given up
// makes no further request and returns at the end of the one, or of the wait, that is under way,
// with a failure that nobody needs to see.

#pragma once

#include "eval/artifact.h"
#include "eval/verdict.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class Clock;
class Environment;
class FileSystem;
class GradeTicket;
class HttpSession;

namespace EvalBridge {

/// What a service says of a job when it takes it.
struct AcceptedJob {
    std::string id;
    bool keepsWork = false; ///< It says that it keeps the work itself.
};

struct Ports {
    Environment& environment;
    HttpSession& http;
    Clock& clock;
    GradeTicket* ticket = nullptr; ///< Of this one grade. Null: it cannot be given up.
    /// Told of a job as soon as the service has accepted it, on the thread that grades.
    std::function<void(const AcceptedJob& job)> accepted = nullptr;
    /// Whether key and work may go unencrypted to this address, "http://host:port" of another
    /// machine. Called before anything is sent there, each time; may block to ask the user. Unset:
    /// nobody could be asked, and they may not.
    std::function<bool(const std::string& address)> mayGoUnencrypted = nullptr;
};

inline constexpr double kDeadlineSec = 420;

/// The service's key: BRASK_API_KEY as it stands when it is set and not empty, else the trimmed
/// content of ".brask/key" under `home`, without a byte-order mark. Absent when neither gives one.
/// A key that holds a line break or a NUL is one all the same; a grade with it says so and sends
/// nothing.
[[nodiscard]] std::optional<std::string> apiKey(Environment& environment, FileSystem& files,
                                                const std::filesystem::path& home);

/// Whether others than this user may read or change the key that `apiKey` answers: it is in the
/// file, and the file is not private.
[[nodiscard]] bool isKeyExposed(Environment& environment, FileSystem& files,
                                const std::filesystem::path& home);

/// The service's base URL, without a slash at its end: BRASK_API_BASE when set, even to nothing,
/// else the built-in one.
[[nodiscard]] std::string base(Environment& environment);

/// What the keys begin with that a service on a user's own machine makes. Over plain http such a
/// key is sent only to a loopback address whose server proved that it holds the key.
inline constexpr std::string_view kLocalKeyPrefix = "trevix_local_";

/// Grades the parts. An absent `vertical` is not sent, an empty one is; an empty `policyId` is not
/// sent. The deadline is in seconds, checked before each status request, and must be finite; no
/// status request lasts longer than what is left of it. Nothing is sent unencrypted to another
/// machine unless `mayGoUnencrypted`.
[[nodiscard]] Verdict grade(const Ports& ports, const std::vector<ArtifactPart>& parts,
                            const std::string& modality, const std::optional<std::string>& vertical,
                            const std::optional<std::string>& policyId, const std::string& intent,
                            const std::string& key, double deadlineSec = kDeadlineSec);

/// Goes on waiting for a job that the service accepted earlier: `grade` from its first poll on,
/// with what is left of its deadline.
[[nodiscard]] Verdict resume(const Ports& ports, const std::string& jobId, const std::string& key,
                             double deadlineSec);

/// Asks the service to give a job up. One request that is not waited for longer than five seconds;
/// what comes of it is no matter, since the job is over before long in any case.
void cancelJob(const Ports& ports, const std::string& jobId, const std::string& key);

/// Grades a revised version of an earlier run's work. One request: it does not poll, does not fetch
/// flaws, and an HTTP error comes back as a verdict `unknown` without an error text.
[[nodiscard]] Verdict iterate(const Ports& ports, const std::string& runId,
                              const std::vector<ArtifactPart>& parts, const std::string& intent,
                              const std::string& key);

/// The address to open for the full report on a run: the base, "/console?run=" and the id as it
/// stands. A service of this machine is first asked, with the key, for one that opens the report
/// once, since other users see what a browser is started with; the stated address is returned when
/// it has none, does not answer within five seconds, or names one elsewhere. Of other services, and
/// without a key, nothing is asked, and this does not block.
[[nodiscard]] std::string reportAddress(const Ports& ports, const std::string& runId,
                                        const std::optional<std::string>& key);

/// Whether that may ask a service of this machine, and so block.
[[nodiscard]] bool asksForReportAddress(Environment& environment);

/// Whether the work stays on this machine: the service's address is a socket or the loopback. Only
/// such a service takes the user's last word.
[[nodiscard]] bool isThisMachine(Environment& environment);

// The user's last word, for a service of this machine. Each blocks for one request, two at most,
// and says in a sentence why it could not be done; absent when it was.

/// That a flaw is none: wherever the same words stand, or at its place alone where the service
/// cannot tell it from others otherwise.
[[nodiscard]] std::optional<std::string> dismiss(const Ports& ports, const Flaw& flaw,
                                                 const std::string& key);
/// Takes that back.
[[nodiscard]] std::optional<std::string> undoDismissal(const Ports& ports, const Flaw& flaw,
                                                       const std::string& key);
/// That a word is right, in the user's own dictionary; or that it is not in there any more.
[[nodiscard]] std::optional<std::string> addWord(const Ports& ports, const std::string& word,
                                                 const std::string& key);
[[nodiscard]] std::optional<std::string> removeWord(const Ports& ports, const std::string& word,
                                                    const std::string& key);

/// The verdict of a run as it stands now, the last word taken into account; absent when the service
/// does not tell.
[[nodiscard]] std::optional<Verdict> verdictOfRun(const Ports& ports, const std::string& runId,
                                                  const std::string& key);

} // namespace EvalBridge

} // namespace kelvane
