#include "critics/critic.h"

#include "critics/artifact_rule_table.h"
#include "critics/code/code_critic.h"
#include "critics/document/document_critic.h"
#include "critics/findings/finding_list.h"
#include "critics/findings/part_kind.h"
#include "critics/ocr/line_reader.h"
#include "critics/office/office_critic.h"
#include "critics/pages/pdf_critic.h"
#include "critics/picture/image_critic.h"
#include "critics/sheet/sheet_critic.h"
#include "critics/text/calendar.h"
#include "critics/text/prose_rules.h"
#include "critics/text/secret_shapes.h"
#include "critics/text/text_critic.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <functional>
#include <mutex>
#include <utility>
#include <variant>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmpty = declared<WorkKind::any>("artifact.empty");
constexpr GradedRule kUnreadable = declared<WorkKind::any>("artifact.unreadable");

bool isEmpty(const Part& part) {
    return part.text.empty() && part.bytes.empty();
}

/// Files that say something by being there: an empty one is whole.
bool marksByName(const Part& part) {
    constexpr std::array<std::string_view, 6> kMarkers = {
        "__init__.py", "__init__.pyi", // A folder is a package of Python.
        "py.typed",                    // A package of Python has types (PEP 561).
        ".gitkeep",    ".keep",        // A folder stays under version control.
        ".nojekyll"};                  // A site is served as it is.
    // Names may come with folders of either system.
    const std::size_t folder = part.name.find_last_of("/\\");
    const std::string_view name =
        std::string_view(part.name).substr(folder == std::string::npos ? 0 : folder + 1);
    return std::find(kMarkers.begin(), kMarkers.end(), name) != kMarkers.end();
}

/// Whether nothing stands in the part, and nothing has to.
bool isWholeThoughEmpty(const Part& part) {
    return marksByName(part) && part.bytes.empty() && text::trimmed(part.text).empty();
}

std::string labelOf(const Part& part, std::size_t index) {
    const std::string number = "part " + std::to_string(index + 1);
    return part.name.empty() ? number : number + " (" + shortened(part.name) + ")";
}

/// The only finding of a part, or of a submission, that no critic can look into.
std::vector<Finding> onlyFinding(GradedRule rule, const std::string& place,
                                 std::string_view evidence, std::string detail) {
    FindingList findings;
    findings.addAt(rule, place, evidence, std::move(detail));
    return findings.take();
}

/// Nothing is wrong with nothing where nothing has to be.
Critique nothingToJudge() {
    Critique critique;
    critique.coverage.known = true;
    return critique;
}

/// That there is nothing needs no knowledge of what it might have been.
Critique emptyCritique(const std::string& place) {
    Critique critique;
    critique.findings =
        onlyFinding(kEmpty, place, "nothing", "There is nothing in " + place + " to judge.");
    critique.coverage.checked(ownRules("emptiness"));
    critique.coverage.known = true;
    return critique;
}

Critique unreadableCritique(const Part& part, const std::string& place) {
    const std::string type = part.mimeType.empty() ? "no type" : shortened(part.mimeType);
    Critique critique;
    critique.findings = onlyFinding(kUnreadable, place, type,
                                    "Content of " + place + " was not judged: “" + type +
                                        "” with " + std::to_string(part.bytes.size()) +
                                        " bytes is not a kind of work that can be read here.");
    critique.coverage.missed({"content of type " + type, "nothing here reads it", ""});
    return critique;
}

/// What a reader of files made of one.
Critique ofFile(std::variant<Critique, Unread> outcome, const std::string& place) {
    if (auto* critique = std::get_if<Critique>(&outcome)) return std::move(*critique);
    const Unread& unread = std::get<Unread>(outcome);
    Critique critique;
    critique.findings =
        onlyFinding(kUnreadable, place, unread.reason,
                    "Content of " + place + " was not judged: " + unread.reason + ".");
    critique.coverage.missed(unread.gap);
    return critique;
}

/// Content that is no text: a file that is read for what is in it, or one that nobody reads.
Critique critiqueFile(const Part& part, const std::string& place, const CriticTools& tools) {
    const std::string type = bareType(part.mimeType);
    const auto office = officeKindOf(type);
    if (type != "application/pdf" && !office) return unreadableCritique(part, place);
    if (tools.readers == Readers::own) {
        return ofFile(Unread{"the reader of such files ended badly on it",
                             {"content of type " + shortened(part.mimeType),
                              "a reader ended badly on this work", ""}},
                      place);
    }
    return ofFile(office ? critiqueOffice(part, *office, tools.language)
                         : critiquePdf(part, tools.language),
                  place);
}

Critique critiqueByType(const Part& part, std::string_view modality, const std::string& place,
                        const CriticTools& tools, PictureAllowance& pictures) {
    switch (kindOf(part, modality)) {
    case WorkKind::picture:
        return critiqueImage(part, modality, pictures,
                             tools.readers == Readers::own ? nullptr : tools.lines.get(),
                             tools.language);
    case WorkKind::sheet:
        return critiqueSheet(part);
    case WorkKind::code:
        return critiqueCode(part, tools.readers);
    case WorkKind::document:
        return critiqueDocument(part, tools.language);
    case WorkKind::text:
        return critiqueText(part, tools.language);
    case WorkKind::any:
    case WorkKind::engine:
        break;
    }
    return critiqueFile(part, place, tools);
}

/// Bytes of a text that are read, by its kind. A child may take 512 MB and a verdict 10 s: a byte
/// of code or of a table takes up to 100 of memory, one of prose 30 and 0.4 microseconds.
std::size_t mostRead(WorkKind kind) {
    constexpr std::size_t kMiB = std::size_t{1} << 20U;
    return (kind == WorkKind::code || kind == WorkKind::sheet ? 4 : 8) * kMiB;
}

/// Whether a finding of the rule may be owed to what was not read: what closes, is defined or
/// comes again behind the cut.
bool needsTheEnd(std::string_view rule) {
    constexpr std::array<std::string_view, 15> kRules = {"code.syntax",
                                                         "code.json_syntax",
                                                         "code.yaml_syntax",
                                                         "code.unclosed_string",
                                                         "code.mismatched_bracket",
                                                         "code.unclosed_bracket",
                                                         "document.unclosed_code",
                                                         "document.unclosed_comment",
                                                         "document.missing_definition",
                                                         "document.missing_note",
                                                         "document.missing_reference",
                                                         "document.broken_anchor",
                                                         "sheet.open_quote",
                                                         "text.unclosed_pair",
                                                         "text.unfinished_sentence"};
    return std::ranges::find(kRules, rule) != kRules.end();
}

/// Judges the beginning of a text that is too long to be read whole, up to the end of a line where
/// there is one. Nobody knows the rest, so nothing ships for it.
Critique critiqueBeginning(const Part& part, std::size_t most, std::string_view modality,
                           const std::string& place, const CriticTools& tools,
                           PictureAllowance& pictures) {
    std::size_t end = part.text.rfind('\n', most - 1) + 1; // 0 where there is none.
    if (end < most / 2) {
        end = most;
        while ((static_cast<unsigned char>(part.text[end]) & 0xC0U) == 0x80U && end + 4 > most)
            --end;
    }
    Part beginning;
    beginning.mimeType = part.mimeType;
    beginning.name = part.name;
    beginning.text = part.text.substr(0, end);
    Critique critique = critiqueByType(beginning, modality, place, tools, pictures);
    std::erase_if(critique.findings,
                  [](const Finding& finding) { return needsTheEnd(finding.rule); });
    critique.coverage.known = false;
    critique.coverage.missed(
        {"what stands behind the first " + std::to_string(most >> 20U) + " MiB",
         "a longer text is read so far", "grade it in pieces"});
    return critique;
}

} // namespace

void critiqueEach(const Submission& submission, const CriticTools& tools,
                  const std::function<void(Critique)>& each) {
    // Also here, for those who judge without a worker; after the first time it costs nothing.
    warmUp();
    if (std::all_of(submission.parts.begin(), submission.parts.end(), isEmpty)) {
        const bool whole =
            !submission.parts.empty() &&
            std::all_of(submission.parts.begin(), submission.parts.end(), isWholeThoughEmpty);
        each(whole ? nothingToJudge() : emptyCritique("the submission"));
        return;
    }

    // Lower case once, for all comparisons behind it.
    const std::string modality = text::lowerAscii(submission.modality);
    // Shared by all parts: it bounds the time of a submission, not of a picture.
    PictureAllowance pictures;
    for (std::size_t i = 0; i < submission.parts.size(); ++i) {
        const Part& part = submission.parts[i];
        if (isWholeThoughEmpty(part)) {
            each(nothingToJudge());
            continue;
        }
        const std::string label = labelOf(part, i);
        const std::size_t most = mostRead(kindOf(part, modality));
        if (part.text.size() > most) {
            each(placedIn(submission, i,
                          critiqueBeginning(part, most, modality, label, tools, pictures)));
            continue;
        }
        each(placedIn(submission, i,
                      isEmpty(part) ? emptyCritique(label)
                                    : critiqueByType(part, modality, label, tools, pictures)));
    }
}

Critique critique(const Submission& submission, const CriticTools& tools) {
    Critique whole = nothingToJudge();
    critiqueEach(submission, tools, [&](Critique part) { addPart(whole, std::move(part)); });
    return whole;
}

Critique placedIn(const Submission& submission, std::size_t index, Critique critique) {
    if (submission.parts.size() < 2) return critique;
    const std::string label = labelOf(submission.parts[index], index);
    for (Finding& finding : critique.findings) {
        // What speaks of the part as a whole names it already.
        if (finding.place == label) continue;
        finding.place = label + ", " + finding.place;
        finding.detail = "In " + label + ": " + finding.detail;
    }
    return critique;
}

void warmUp() {
    static std::once_flag once;
    std::call_once(once, [] {
        warmUpDateNames();
        warmUpWordLists();
        warmUpSecretShapes();
    });
}

} // namespace trevix
