#include "critics/engines/merge_findings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace trevix {

namespace {

struct Subject {
    std::string_view rule;
    std::string_view about;
};

constexpr std::string_view kSyntax = "syntax";

constexpr std::array kSubjects = {
    Subject{"code.syntax", kSyntax},
    Subject{"code.unclosed_string", kSyntax},
    Subject{"code.misspelt_keyword", kSyntax},
    Subject{"code.mismatched_bracket", kSyntax},
    Subject{"code.unclosed_bracket", kSyntax},
    Subject{"code.json_syntax", kSyntax},
    Subject{"code.yaml_syntax", kSyntax},
    Subject{"bash.syntax", kSyntax},
    Subject{"gofmt.syntax", kSyntax},
    Subject{"node.syntax", kSyntax},
    Subject{"oxlint.syntax", kSyntax},
    Subject{"python.syntax", kSyntax},
    Subject{"ruff.syntax", kSyntax},
    Subject{"xmllint.syntax", kSyntax},
    Subject{"yamllint.syntax", kSyntax},
    Subject{"yamllint.key-duplicates", kSyntax},
    Subject{"shellcheck.SC1072", kSyntax},
    Subject{"shellcheck.SC1073", kSyntax},
    Subject{"code.secret", "secret"},
    Subject{"bandit.B105", "secret"},
    Subject{"bandit.B106", "secret"},
    Subject{"bandit.B107", "secret"},
    Subject{"code.runs_text", "runs text"},
    Subject{"bandit.B102", "runs text"},
    Subject{"bandit.B307", "runs text"},
    Subject{"bandit.B602", "runs text"},
    Subject{"bandit.B604", "runs text"},
    Subject{"bandit.B605", "runs text"},
    Subject{"code.query_from_text", "query"},
    Subject{"bandit.B608", "query"},
    Subject{"code.swallowed_error", "swallowed"},
    Subject{"bandit.B110", "swallowed"},
    Subject{"bandit.B112", "swallowed"},
    Subject{"code.breakpoint", "breakpoint"},
    Subject{"oxlint.no-debugger", "breakpoint"},
    Subject{"code.assignment_in_condition", "assignment"},
    Subject{"oxlint.no-cond-assign", "assignment"},
    Subject{"cppcheck.assignIfError", "assignment"},
    Subject{"code.dead_code", "dead code"},
    Subject{"oxlint.no-unreachable", "dead code"},
    Subject{"python.warning", "comparison"},
    Subject{"ruff.F632", "comparison"},
};

/// ShellCheck's first thousand, which it reports as errors of reading the script.
bool isShellSyntax(std::string_view rule) {
    constexpr std::string_view kFirst = "shellcheck.SC1";
    return rule.starts_with(kFirst) && rule.size() == kFirst.size() + 3;
}

bool isSameSlip(const Finding& a, const Finding& b) {
    const std::string_view subject = subjectOf(a.rule);
    if (subject.empty() || subject != subjectOf(b.rule)) return false;
    const auto line = lineOf(a.place);
    const auto other = lineOf(b.place);
    if (!line || !other) return false;
    if (*line == *other) return true;
    // A reader notices where it can no longer go on, which may be far behind the slip. Lesser
    // findings about brackets are of a line each.
    return subject == kSyntax && a.severity >= Severity::high && b.severity >= Severity::high;
}

} // namespace

std::string_view subjectOf(std::string_view rule) {
    const auto known = std::ranges::find(kSubjects, rule, &Subject::rule);
    if (known != kSubjects.end()) return known->about;
    return isShellSyntax(rule) ? kSyntax : std::string_view();
}

std::optional<std::size_t> lineOf(std::string_view place) {
    constexpr std::string_view kLine = "line ";
    if (!place.starts_with(kLine)) return std::nullopt;
    place.remove_prefix(kLine.size());
    std::size_t line = 0;
    const auto read = std::from_chars(place.data(), place.data() + place.size(), line);
    if (read.ec != std::errc()) return std::nullopt;
    return line;
}

void mergeFindings(std::vector<Finding>& findings, std::vector<Finding> more) {
    const std::size_t known = findings.size();
    for (Finding& finding : more) {
        const auto end = findings.begin() + static_cast<std::ptrdiff_t>(known);
        const auto same = std::find_if(
            findings.begin(), end, [&](const Finding& each) { return isSameSlip(each, finding); });
        if (same == end) {
            findings.push_back(std::move(finding));
        } else if (finding.severity > same->severity) {
            *same = std::move(finding);
        }
    }
}

} // namespace trevix
