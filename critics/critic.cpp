#include "critics/critic.h"

#include "critics/artifact_rule_table.h"
#include "critics/code/code_critic.h"
#include "critics/document/document_critic.h"
#include "critics/findings/finding_list.h"
#include "critics/ocr/line_reader.h"
#include "critics/office/office_critic.h"
#include "critics/pages/pdf_critic.h"
#include "critics/picture/image_critic.h"
#include "critics/sheet/sheet_critic.h"
#include "critics/text/calendar.h"
#include "critics/text/prose_rules.h"
#include "critics/text/text_critic.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <variant>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmpty = declared<WorkKind::any>("artifact.empty");
constexpr GradedRule kUnreadable = declared<WorkKind::any>("artifact.unreadable");

/// "text/csv; charset=utf-8" is "text/csv".
std::string bareType(std::string_view mimeType) {
    std::string type = text::lowerAscii(mimeType.substr(0, mimeType.find(';')));
    while (!type.empty() && type.back() == ' ') type.pop_back();
    return type;
}

/// Readers of the words in pictures, kept from one piece of work to the next.
LineReaders& lineReaders() {
    static LineReaders readers([] {
        const char* prefix = std::getenv("TESSDATA_PREFIX");
        return languageFolders(prefix == nullptr ? "" : prefix);
    }());
    return readers;
}

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

Critique critiqueByType(const Part& part, std::string_view modality, const std::string& place,
                        const LanguageTools& tools, PictureAllowance& pictures) {
    const std::string type = bareType(part.mimeType);
    if (!part.isText || (part.text.empty() && !part.bytes.empty())) {
        if (type == "image/png") {
            return critiqueImage(part, modality, pictures, &lineReaders(), tools);
        }
        if (type == "application/pdf") return ofFile(critiquePdf(part, tools), place);
        if (const auto kind = officeKindOf(type))
            return ofFile(critiqueOffice(part, *kind, tools), place);
        return unreadableCritique(part, place);
    }
    // The type says what this part is; the modality speaks only for parts that are plain text.
    if (type == "text/tab-separated-values" || type == "text/csv") return critiqueSheet(part);
    if (type == "text/x-code") return critiqueCode(part);
    if (type == "text/markdown") return critiqueDocument(part, tools);
    if (modality == "spreadsheet") return critiqueSheet(part);
    if (modality == "code") return critiqueCode(part);
    if (modality == "document") return critiqueDocument(part, tools);
    return critiqueText(part, tools);
}

} // namespace

Critique critique(const Submission& submission) {
    return critique(submission, LanguageTools());
}

Critique critique(const Submission& submission, const LanguageTools& tools) {
    warmUp();
    Critique whole;
    whole.coverage.known = true;
    if (std::all_of(submission.parts.begin(), submission.parts.end(), isEmpty)) {
        const bool marks =
            !submission.parts.empty() &&
            std::all_of(submission.parts.begin(), submission.parts.end(), isWholeThoughEmpty);
        return marks ? whole : emptyCritique("the submission");
    }

    const std::string modality = text::lowerAscii(submission.modality);
    const bool several = submission.parts.size() > 1;
    PictureAllowance pictures;
    for (std::size_t i = 0; i < submission.parts.size(); ++i) {
        const Part& part = submission.parts[i];
        if (isWholeThoughEmpty(part)) continue;
        const std::string label = labelOf(part, i);
        Critique ofPart = isEmpty(part) ? emptyCritique(label)
                                        : critiqueByType(part, modality, label, tools, pictures);
        for (Finding& finding : ofPart.findings) {
            if (!several || finding.place == label) continue;
            finding.place = label + ", " + finding.place;
            finding.detail = "In " + label + ": " + finding.detail;
        }
        addPart(whole, std::move(ofPart));
    }
    return whole;
}

void warmUp() {
    static std::once_flag once;
    std::call_once(once, [] {
        warmUpDateNames();
        warmUpWordLists();
    });
}

} // namespace trevix
