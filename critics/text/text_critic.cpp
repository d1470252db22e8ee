#include "critics/text/text_critic.h"

#include "critics/text/prose_rules.h"
#include "critics/text/text_rule_table.h"

namespace trevix {

namespace {

constexpr GradedRule kConflict = declared<WorkKind::text>("text.conflict_marker");
constexpr GradedRule kSecret = declared<WorkKind::text>("text.secret");

} // namespace

Critique critiqueText(const Part& part) {
    return critiqueText(part, LanguageTools());
}

Critique critiqueText(const Part& part, const LanguageTools& tools) {
    const SourceText source(part.text);
    FindingList findings(source);
    checkSecrets(source, kSecret, findings);
    const ProseView view(source, plainProse(source));
    Critique critique = proseCritique(view);
    if (!checkAmount(view, findings)) {
        checkConflictMarkers(source, kConflict, findings);
        checkEncoding(source, findings);
        checkProse(view, findings);
        checkLanguage(view, tools, findings, critique.coverage);
    }
    critique.findings = findings.take();
    return critique;
}

} // namespace trevix
