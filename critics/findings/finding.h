// The values that every critic works on: a submission in, findings out.
//
// Plain records. A finding names the rule that was broken, the place, and the evidence at that
// place, so that fixing the work, and only that, changes the verdict.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace trevix {

enum class Severity { low, medium, high, critical };

/// "LOW", "MEDIUM", "HIGH" or "CRITICAL".
[[nodiscard]] std::string_view name(Severity severity);

/// One broken rule at one place.
struct Finding {
    Severity severity = Severity::low;
    std::string rule;      ///< Stable identifier, e.g. "text.placeholder".
    std::string criterion; ///< What is judged, in a word or two for people: "unfinished text".
    std::string place;     ///< "line 12", "cell C4", "page 2", "x 10, y 40, 120 x 30 px".
    std::string evidence;  ///< What stands there, quoted and shortened to at most 120 characters.
    std::string detail;    ///< One sentence for people that names place and evidence.

    bool operator==(const Finding&) const = default;
};

/// Whether a model said so: advice, for which no band is worse.
[[nodiscard]] inline bool isAdvice(const Finding& finding) {
    return finding.rule.starts_with("model.");
}

/// One part of a submission, decoded.
struct Part {
    std::string mimeType;
    std::string name;
    std::string text;  ///< The content of a text part; empty otherwise.
    std::string bytes; ///< The content of a binary part; empty otherwise.
    bool isText = true;
};

struct Submission {
    std::string modality;
    std::string vertical;
    std::string intent;
    std::vector<Part> parts;
};

} // namespace trevix
