// What is wrong with this piece of work, and how can one tell?
//
// A critic reads one submission and returns findings. It is deterministic: the same bytes give the
// same findings in the same order, so that fixing the work, and only that, changes the verdict.
// Every finding names the rule that was broken, the place, and the evidence at that place. Critics
// keep no state between calls, never throw on bad input (what cannot be read is a finding), and may
// run on any thread.

#pragma once

#include <cstddef>
#include <memory>
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

/// The findings of the critic that is right for each part, by its type and the declared modality,
/// in the order of the parts. A submission without parts, or whose every part is empty, has one
/// finding that says so.
[[nodiscard]] std::vector<Finding> critique(const Submission& submission);

/// Builds the rule tables that the critics share. The first `critique` does so by itself; a service
/// calls this beforehand and tells its clients that it is warming up meanwhile. Thread-safe,
/// once only.
void warmUp();

// The single critics. `critique` chooses among them.

[[nodiscard]] std::vector<Finding> critiqueText(const Part& part); ///< Plain text and mail.
[[nodiscard]] std::vector<Finding>
critiqueDocument(const Part& part); ///< Text with headings, links.
[[nodiscard]] std::vector<Finding> critiqueCode(const Part& part);
[[nodiscard]] std::vector<Finding> critiqueSheet(const Part& part); ///< Comma- or tab-separated.
/// A PNG picture, judged as what `modality` says it shows: "ui_ux", "deck" or anything else.
[[nodiscard]] std::vector<Finding> critiqueImage(const Part& part, std::string_view modality);

} // namespace trevix
