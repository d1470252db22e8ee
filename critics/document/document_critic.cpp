#include "critics/document/document_critic.h"

#include "critics/document/document_rules.h"

namespace trevix {

namespace {

constexpr Rule kConflict{"text.conflict_marker", Severity::critical, "unresolved merge"};
constexpr Rule kSecret{"text.secret", Severity::critical, "kept secrets"};

} // namespace

std::vector<Finding> critiqueDocument(const Part& part) {
    const SourceText source(part.text);
    FindingList findings(source);
    checkSecrets(source, kSecret, findings);
    Outline outline = outlineOf(source);
    const ProseView view(source, std::move(outline.prose));
    if (checkAmount(view, findings)) return findings.take();

    checkConflictMarkers(source, kConflict, findings);
    checkEncoding(source, findings);
    checkProse(view, findings);

    const DocumentView document{source, outline, view};
    checkHeadings(document, findings);
    checkNumberedLists(document, findings);
    checkTables(document, findings);
    checkUnclosedParts(document, findings);
    checkSpellings(document, findings);
    checkLinks(document, findings);
    checkNotes(document, findings);
    checkNumberedReferences(document, findings);
    return findings.take();
}

} // namespace trevix
