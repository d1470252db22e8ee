#include "critics/engines/merge_findings.h"

#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

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
    Subject{"biome.syntax", kSyntax},
    Subject{"oxlint.syntax", kSyntax},
    Subject{"python.syntax", kSyntax},
    Subject{"ruff.syntax", kSyntax},
    Subject{"xmllint.syntax", kSyntax},
    Subject{"yamllint.syntax", kSyntax},
    Subject{"yamllint.key-duplicates", kSyntax},
    Subject{"shellcheck.SC1072", kSyntax},
    Subject{"shellcheck.SC1073", kSyntax},
    Subject{"code.secret", "secret"},
    Subject{"text.secret", "secret"},
    Subject{"code.runs_text", "runs text"},
    Subject{"code.guessable_secret", "guessable"},
    Subject{"code.query_from_text", "query"},
    Subject{"code.objects_from_outside", "objects"},
    Subject{"code.unsafe_parser", "objects"},
    Subject{"code.page_from_outside", "page"},
    Subject{"code.unescaped_page", "page"},
    Subject{"code.address_from_outside", "address"},
    Subject{"code.weak_crypto", "weak hash"},
    Subject{"code.known_password", "secret"},
    Subject{"code.unverified_peer", "peer"},
    Subject{"code.swallowed_error", "swallowed"},
    Subject{"code.breakpoint", "breakpoint"},
    Subject{"oxlint.no-debugger", "breakpoint"},
    Subject{"biome.noDebugger", "breakpoint"},
    Subject{"code.assignment_in_condition", "assignment"},
    Subject{"oxlint.no-cond-assign", "assignment"},
    Subject{"cppcheck.assignIfError", "assignment"},
    Subject{"code.dead_code", "dead code"},
    Subject{"oxlint.no-unreachable", "dead code"},
    Subject{"biome.noUnreachable", "dead code"},
    Subject{"oxlint.no-dupe-keys", "key twice"},
    Subject{"biome.noDuplicateObjectKeys", "key twice"},
    Subject{"oxlint.use-isnan", "comparison with NaN"},
    Subject{"biome.useIsNan", "comparison with NaN"},
    Subject{"oxlint.for-direction", "direction of a loop"},
    Subject{"biome.useValidForDirection", "direction of a loop"},
    Subject{"oxlint.no-const-assign", "constant"},
    Subject{"biome.noConstAssign", "constant"},
    Subject{"oxlint.no-duplicate-case", "case twice"},
    Subject{"biome.noDuplicateCase", "case twice"},
    Subject{"oxlint.no-self-assign", "assignment to itself"},
    Subject{"biome.noSelfAssign", "assignment to itself"},
    Subject{"oxlint.no-sparse-arrays", "hole"},
    Subject{"biome.noSparseArray", "hole"},
    Subject{"oxlint.no-unsafe-finally", "finally"},
    Subject{"biome.noUnsafeFinally", "finally"},
    Subject{"oxlint.valid-typeof", "typeof"},
    Subject{"biome.useValidTypeof", "typeof"},
    Subject{"document.heading_order", "heading order"},
    Subject{"markdownlint.MD001", "heading order"},
    Subject{"document.reversed_link", "reversed link"},
    Subject{"markdownlint.MD011", "reversed link"},
    Subject{"document.glued_heading", "glued heading"},
    Subject{"markdownlint.MD018", "glued heading"},
    Subject{"document.duplicate_heading", "heading twice"},
    Subject{"markdownlint.MD024", "heading twice"},
    Subject{"document.second_title", "second title"},
    Subject{"markdownlint.MD025", "second title"},
    Subject{"document.empty_link", "empty link"},
    Subject{"markdownlint.MD042", "empty link"},
    Subject{"document.image_text", "picture's words"},
    Subject{"markdownlint.MD045", "picture's words"},
    Subject{"document.broken_anchor", "anchor"},
    Subject{"markdownlint.MD051", "anchor"},
    Subject{"document.missing_definition", "definition"},
    Subject{"markdownlint.MD052", "definition"},
    Subject{"document.table_columns", "columns"},
    Subject{"markdownlint.MD056", "columns"},
    Subject{"python.warning", "comparison"},
    Subject{"ruff.F632", "comparison"},
};

/// The column behind the line; absent without one.
std::optional<std::size_t> columnOf(std::string_view place) {
    constexpr std::string_view kColumn = ", column ";
    const std::size_t at = place.rfind(kColumn);
    if (at == std::string_view::npos) return std::nullopt;
    place.remove_prefix(at + kColumn.size());
    std::size_t column = 0;
    const auto read = std::from_chars(place.data(), place.data() + place.size(), column);
    return read.ec == std::errc() ? std::optional(column) : std::nullopt;
}

/// What is unsafe, by the numbers that Bandit gave it and Ruff took over.
constexpr std::array kUnsafe = {
    Subject{"105", "secret"},    Subject{"106", "secret"},    Subject{"107", "secret"},
    Subject{"102", "runs text"}, Subject{"307", "runs text"}, Subject{"602", "runs text"},
    Subject{"604", "runs text"}, Subject{"605", "runs text"}, Subject{"608", "query"},
    Subject{"110", "swallowed"}, Subject{"112", "swallowed"}, Subject{"303", "weak hash"},
    Subject{"324", "weak hash"}, Subject{"311", "guessable"}, Subject{"304", "weak hash"},
    Subject{"305", "weak hash"}, Subject{"301", "objects"},   Subject{"302", "objects"},
    Subject{"506", "objects"},   Subject{"308", "page"},      Subject{"703", "page"},
    Subject{"701", "page"},      Subject{"310", "address"},   Subject{"501", "peer"},
    Subject{"504", "peer"},
};

/// "602" for "bandit.B602" and "ruff.S602"; empty for others.
std::string_view unsafeNumber(std::string_view rule) {
    for (const std::string_view front : {"bandit.B", "ruff.S"}) {
        if (!rule.starts_with(front) || rule.size() != front.size() + 3) continue;
        return rule.substr(front.size());
    }
    return {};
}

/// ShellCheck's first thousand, which it reports as errors of reading the script.
bool isShellSyntax(std::string_view rule) {
    constexpr std::string_view kFirst = "shellcheck.SC1";
    return rule.starts_with(kFirst) && rule.size() == kFirst.size() + 3;
}

/// Who reads prose for others: what two of them say of the same words is one slip.
bool isOfProse(std::string_view rule) {
    constexpr std::array<std::string_view, 9> kOwn = {
        "text.spelling",      "text.agreement", "text.verb_form",
        "text.number",        "text.article",   "text.comparison",
        "text.confused_word", "text.usage",     "text.doubled_word"};
    return std::ranges::find(kOwn, rule) != kOwn.end() || rule.starts_with("harper.") ||
           rule.starts_with("languagetool.");
}

/// Whether the words that the two quote have some in common.
bool quoteTheSameWords(const Finding& a, const Finding& b) {
    const auto first = columnOf(a.place);
    const auto second = columnOf(b.place);
    return first && second && lineOf(a.place) == lineOf(b.place) &&
           *first < *second + text::characterCount(b.evidence) &&
           *second < *first + text::characterCount(a.evidence);
}

bool isSameSlip(const Finding& a, const Finding& b) {
    if (isOfProse(a.rule) && isOfProse(b.rule)) return quoteTheSameWords(a, b);
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

/// Whether the finding says that what is run was followed to the author's own words, or has names
/// of its own: then who saw the call alone knows less of it.
bool hasLooked(const Finding& finding) {
    return finding.rule == "code.runs_text" && finding.severity == Severity::low;
}

} // namespace

std::string_view subjectOf(std::string_view rule) {
    const auto known = std::ranges::find(kSubjects, rule, &Subject::rule);
    if (known != kSubjects.end()) return known->about;
    if (isShellSyntax(rule)) return kSyntax;
    if (rule.starts_with("gitleaks.")) return "secret";
    const std::string_view number = unsafeNumber(rule);
    const auto unsafe = std::ranges::find(kUnsafe, number, &Subject::rule);
    return unsafe != kUnsafe.end() ? unsafe->about : number;
}

std::optional<std::size_t> lineOf(std::string_view place) {
    constexpr std::string_view kLine = "line ";
    constexpr std::string_view kInPart = ", line ";
    // A part's name may hold anything, so the last one counts.
    const std::size_t behind = place.rfind(kInPart);
    if (behind != std::string_view::npos) {
        place.remove_prefix(behind + kInPart.size());
    } else if (place.starts_with(kLine)) {
        place.remove_prefix(kLine.size());
    } else {
        return std::nullopt;
    }
    std::size_t line = 0;
    const auto read = std::from_chars(place.data(), place.data() + place.size(), line);
    if (read.ec != std::errc()) return std::nullopt;
    return line;
}

void mergeCritique(Critique& critique, Critique other) {
    std::vector<Finding> findings = std::move(other.findings);
    other.findings.clear();
    addSecondOpinion(critique, std::move(other));
    mergeFindings(critique.findings, std::move(findings));
}

void mergeFindings(std::vector<Finding>& findings, std::vector<Finding> more) {
    const std::size_t known = findings.size();
    for (Finding& finding : more) {
        const auto end = findings.begin() + static_cast<std::ptrdiff_t>(known);
        const auto same = std::find_if(
            findings.begin(), end, [&](const Finding& each) { return isSameSlip(each, finding); });
        if (same == end) {
            findings.push_back(std::move(finding));
        } else if (!hasLooked(*same) && (finding.severity > same->severity || hasLooked(finding))) {
            *same = std::move(finding);
        }
    }
}

} // namespace trevix
