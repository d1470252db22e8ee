#include "critics/code/code_critic.h"

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "critics/text/prose_rules.h"
#include "text/letters.h"

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmpty = declared<WorkKind::code>("code.empty");
constexpr GradedRule kConflict = declared<WorkKind::code>("code.conflict_marker");
constexpr GradedRule kSecret = declared<WorkKind::code>("code.secret");

} // namespace

std::vector<Finding> critiqueCode(const Part& part) {
    const SourceText source(part.text);
    FindingList findings(source);
    if (text::trimmed(part.text).empty()) {
        findings.addWith(kEmpty, 0, "blanks only", "is all there is");
        return findings.take();
    }
    checkSecrets(source, kSecret, findings);
    checkEncoding(source, findings);
    checkConflictMarkers(source, kConflict, findings);

    const CodeView view(source, languageOf(part.name, part.text));
    // One slip is one finding: the grammar speaks where the more telling rule is silent.
    if (checkYaml(view, findings)) checkSyntax(view, part.name, findings);
    checkShape(view, findings);
    checkBrackets(view, findings);
    checkLongFunctions(view, findings);
    checkNesting(view, findings);
    checkDeadCode(view, findings);
    checkIndentation(view, findings);
    checkLongLines(view, findings);
    checkDebugging(view, findings);
    checkComments(view, findings);
    checkSwallowedErrors(view, findings);
    checkComparisons(view, findings);
    checkImports(view, findings);
    checkUnsafeCalls(view, findings);
    checkQueries(view, findings);
    checkHomePaths(view, findings);
    checkJson(view, findings);
    return findings.take();
}

} // namespace trevix
