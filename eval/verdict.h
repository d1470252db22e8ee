// The grader's decision.
//
// The band comes from the service and is never derived from the score. The two conversions at the
// end read the service's loosely typed answers: a value of the wrong type counts as missing, and
// nothing throws. Plain values; any thread.

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// One itemised finding.
struct Flaw {
    std::string severity; ///< In capitals when it came from the service.
    std::string criterion;
    std::string detail;
    // What tells this flaw from others and where it is; empty when the service does not say.
    std::string rule = {};     ///< "text.spelling"
    std::string place = {};    ///< "line 12"
    std::string evidence = {}; ///< What stands there.

    /// Whether people read the same: of severity, criterion and detail alone.
    bool operator==(const Flaw& other) const {
        return severity == other.severity && criterion == other.criterion && detail == other.detail;
    }
};

/// An engine that looked at the work.
struct CheckedBy {
    std::string engine;  ///< Never empty when it came from the service.
    std::string version; ///< Empty when the service gave none.
    std::string knows;   ///< What it judged, for people. Empty when the service gave none.

    bool operator==(const CheckedBy&) const = default;
};

/// Something about the work that nobody at the service judged.
struct NotChecked {
    std::string what; ///< Never empty when it came from the service.
    std::string why;
    std::string remedy; ///< What would change that. Empty when the service gave none.

    bool operator==(const NotChecked&) const = default;
};

enum class Band {
    ship,
    route_to_fix,
    quarantine,
    block,
    unknown,
};

[[nodiscard]] std::string_view name(Band band);

/// The band with exactly this name, or nothing. Case-sensitive.
[[nodiscard]] std::optional<Band> bandNamed(std::string_view raw);

/// The band of a text from the service, whatever its case; `unknown` for an absent text and for
/// anything that is no band.
[[nodiscard]] Band parseBand(const std::optional<std::string>& text);

/// Whether the work clears the user's bar: only `ship` does.
[[nodiscard]] bool clears(Band band);

/// The place in the order of severity, most severe first: `block` 0, `quarantine` 1,
/// `route_to_fix` 2, `ship` 3. -1 for `unknown`, which has no place in it.
[[nodiscard]] int rank(Band band);

struct Verdict {
    Band band = Band::unknown;
    std::optional<double> score;      ///< Absent when the service gave none.
    std::vector<Flaw> flaws;          ///< In the service's order.
    std::optional<std::string> runId; ///< Needed to iterate on the run.
    bool warming = false; ///< Only on a time-out: the grader had said that it was warming up.
    std::optional<std::string> error;        ///< Present only on failure, for people.
    std::vector<CheckedBy> checkedBy = {};   ///< Empty when the service does not tell.
    std::vector<NotChecked> notChecked = {}; ///< Likewise.
    std::optional<std::string> hint = {};    ///< What is known beside the error, a sentence.

    bool operator==(const Verdict&) const = default;

    [[nodiscard]] static Verdict failure(std::string message);
};

namespace EvalBridge {

/// Bytes of a flaw's rule, place and evidence that are kept: several times what a service quotes.
inline constexpr std::size_t kLongestFlawOrigin = 2'000;

/// The flaws in a JSON array of objects, all of them, in order. Empty when `value` is null or
/// anything else than an array whose every element is an object. Texts are kept as they came,
/// control characters included: whoever shows them makes them harmless. Rule, place and evidence
/// are cut at `kLongestFlawOrigin` bytes.
[[nodiscard]] std::vector<Flaw> parseFlaws(const nlohmann::json* value);

/// Entries of `checkedBy`, and of `notChecked`, that are kept, and characters of each of their
/// texts: several times what a service tells, and little enough to compare and to lay out at any
/// time.
inline constexpr std::size_t kMostCoverageEntries = 50;
inline constexpr std::size_t kLongestCoverageText = 300;

/// The verdict in a summary of the service. Absent keys leave their fields empty. Who judged and
/// what nobody judged are read like flaws, from arrays of objects; an entry without its first text
/// is passed over, and both are cut at the two bounds above.
[[nodiscard]] Verdict verdictFrom(const nlohmann::json& summary, std::optional<std::string> runId);

} // namespace EvalBridge

} // namespace kelvane
