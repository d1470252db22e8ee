#include "critics/code/code_critic.h"

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "critics/flow/python_fixed.h"
#include "critics/text/prose_rules.h"
#include "text/letters.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmpty = declared<WorkKind::code>("code.empty");
constexpr GradedRule kConflict = declared<WorkKind::code>("code.conflict_marker");
constexpr GradedRule kSecret = declared<WorkKind::code>("code.secret", Severity::critical);

} // namespace

Critique critiqueCode(const Part& part, Readers readers) {
    const SourceText source(part.text);
    FindingList findings(source);
    if (text::trimmed(part.text).empty()) {
        findings.addWith(kEmpty, 0, "blanks only", "is all there is");
        return {findings.take(), {}, {{ownRules("emptiness")}, {}, true}};
    }
    const CodeView view(source, languageOf(part.name, part.text));
    // What documentation calls a token is mostly one of an example.
    const auto documentation = view.documentation();
    checkSecrets(source, kSecret, findings, [&](std::size_t offset) {
        const auto behind = std::ranges::upper_bound(documentation, offset, {},
                                                     [](const auto& span) { return span.first; });
        return behind != documentation.begin() && offset < std::prev(behind)->second;
    });
    checkEncoding(source, findings);
    checkConflictMarkers(source, kConflict, findings);

    Critique critique;
    SyntaxTree tree;
    critique.extent.lines = source.writtenLines();
    critique.coverage.checked(ownRules("habits, structure and secrets in code"));
    if (view.language == Language::json) {
        critique.coverage.checked(ownRules("syntax, JSON"));
        critique.coverage.known = true;
    } else if (checkYaml(view, findings)) {
        // One slip is one finding: the grammar speaks where the more telling rule is silent.
        tree = checkSyntax(view, part.name, readers, findings, critique.coverage);
    } else {
        critique.coverage.checked(ownRules("syntax, YAML"));
        critique.coverage.known = true;
    }
    // The rules of a language read its own tree alone.
    SyntaxTree page;
    if (view.language == Language::html) std::swap(page, tree);
    if (!tree.nodes.empty()) {
        critique.coverage.checked(ownRules("where data from outside goes, Python"));
    }
    const std::vector<Flow> flows = checkFlows(view, tree, findings);
    checkMisuses(view, part.name, tree, findings);
    checkPage(view, page, findings);
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
    checkUnsafeCalls(view, flows, pythonFixedRuns(tree, part.text), findings);
    checkDownloads(view, findings);
    checkPlainAddresses(view, findings);
    checkUnverifiedPeers(view, findings);
    checkGuessableSecrets(view, findings);
    checkQueries(view, flows, findings);
    checkHomePaths(view, findings);
    checkBounds(view, findings);
    checkJson(view, findings);
    critique.findings = findings.take();
    return critique;
}

} // namespace trevix
