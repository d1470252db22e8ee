// What goes on in the running instance, for people and for programs.
//
// `kelvane --status` asks the instance and tells what it says; where none runs it tells what can be
// seen from outside. Keys are never in it. Pure; any thread.

#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// What is told. The JSON of it: see docs/command-line.md.
struct StatusReport {
    struct Verdict {
        std::string band;
        std::optional<double> score;
        int flaws = 0;
        std::optional<std::string> runId;
        std::optional<std::string> error;
    };

    bool isRunning = false;
    std::string version;
    std::string frontName; ///< Empty: nothing, or nobody knows.
    std::string frontBundle;
    bool isSupported = false; ///< The catalog knows what is in front.
    bool hasKey = false;
    bool isGrading = false;
    std::optional<std::string> note;
    std::optional<std::string> refused; ///< Why nothing may be captured now.
    std::optional<Verdict> verdict;
    std::vector<std::pair<std::string, bool>> wiring; ///< Tool and whether it is wired.
    std::string place;                                ///< "this machine", "account", "later", "".
    std::string base;                                 ///< The service's address.
    std::optional<bool> answers; ///< Whether the service does; nothing: nobody asked.
    std::string problem;         ///< With the choice of a service; empty: none.
};

/// One line of JSON without its end.
[[nodiscard]] std::string statusJson(const StatusReport& report);

/// What statusJson() wrote; nothing when it is something else. Of a field that is missing or of
/// another type the value is that of an empty report.
[[nodiscard]] std::optional<StatusReport> statusFromJson(const std::string& json);

/// Lines for people, each with its end.
[[nodiscard]] std::string statusText(const StatusReport& report);

/// The address without a user's name and password, which some carry.
[[nodiscard]] std::string withoutUser(std::string address);

} // namespace kelvane
