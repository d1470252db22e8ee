#include "critics/document/document_critic.h"

#include "critics/document/document_rules.h"
#include "critics/document/markdown_tree.h"
#include "critics/text/text_rule_table.h"

namespace trevix {

namespace {

constexpr GradedRule kConflict = declared<WorkKind::text>("text.conflict_marker");
constexpr GradedRule kSecret = declared<WorkKind::text>("text.secret");

} // namespace

Critique critiqueDocument(const Part& part) {
    return critiqueDocument(part, LanguageTools());
}

Critique critiqueDocument(const Part& part, const LanguageTools& tools) {
    const SourceText source(part.text);
    FindingList findings(source);
    checkSecrets(source, kSecret, findings);
    Outline outline = outlineOf(source);
    const ProseView view(source, std::move(outline.prose));
    Critique critique = proseCritique(view);
    critique.coverage.checked(
        {"cmark-gfm", std::string(markdownVersion()), "structure of Markdown"});
    if (outline.unread) {
        critique.coverage.missed({"structure of Markdown behind " + source.place(*outline.unread),
                                  "no more than the first mebibyte of a text is read as Markdown",
                                  "grade it in parts"});
    }
    // Without a word there is nothing that the rules below could read.
    if (checkAmount(view, findings)) {
        critique.findings = findings.take();
        return critique;
    }

    checkConflictMarkers(source, kConflict, findings);
    checkEncoding(source, findings);
    checkProse(view, findings);
    checkLanguage(view, tools, findings, critique.coverage);

    const DocumentView document{source, outline, view};
    checkHeadings(document, findings);
    checkNumberedLists(document, findings);
    checkTables(document, findings);
    checkUnclosedParts(document, findings);
    checkSpellings(document, findings);
    checkLinks(document, findings);
    checkNotes(document, findings);
    checkNumberedReferences(document, findings);
    critique.findings = findings.take();
    return critique;
}

} // namespace trevix
