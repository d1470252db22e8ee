// The rules for code, grouped by what they look at.
//
// Each reads the view once and adds what it finds, nothing where all is well; docs/critics.md lists
// the rules with examples. A rule that depends on the language stays silent when the language is
// not known. Linear; any thread.

#pragma once

#include "critics/code/code_view.h"
#include "critics/findings/critique.h"
#include "critics/flow/flow.h"
#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

// Shape: code_structure_rules.cpp
void checkBrackets(const CodeView& view, FindingList& findings);
void checkLongFunctions(const CodeView& view, FindingList& findings);
void checkNesting(const CodeView& view, FindingList& findings);
void checkDeadCode(const CodeView& view, FindingList& findings);
void checkIndentation(const CodeView& view, FindingList& findings);
void checkLongLines(const CodeView& view, FindingList& findings);

// Habits: code_habit_rules.cpp
void checkDebugging(const CodeView& view, FindingList& findings);
void checkComments(const CodeView& view, FindingList& findings);
void checkSwallowedErrors(const CodeView& view, FindingList& findings);
void checkComparisons(const CodeView& view, FindingList& findings);
void checkImports(const CodeView& view, FindingList& findings);

// What a stranger can do, by the tree: code_flow_rules.cpp
/// Gives what was found, for the rules that tell the same by the tokens alone. `tree` is that of
/// the view's text; an empty one has nothing to find.
std::vector<Flow> checkFlows(const CodeView& view, const SyntaxTree& tree, FindingList& findings);
void checkMisuses(const CodeView& view, std::string_view name, const SyntaxTree& tree,
                  FindingList& findings);

// Security: code_security_rules.cpp
/// Passes over what `flows` tell of already. `fixed` are the offsets of the brackets of calls that
/// run what stands in the program itself, ascending.
void checkUnsafeCalls(const CodeView& view, const std::vector<Flow>& flows,
                      const std::vector<std::size_t>& fixed, FindingList& findings);
void checkDownloads(const CodeView& view, FindingList& findings);
/// Whether an address is that of another machine and opened without encryption. Names without a dot
/// and those of this machine or its own network are no strangers.
[[nodiscard]] bool isPlainAddress(std::string_view address);
void checkPlainAddresses(const CodeView& view, FindingList& findings);
void checkUnverifiedPeers(const CodeView& view, FindingList& findings);
void checkGuessableSecrets(const CodeView& view, FindingList& findings);
/// Passes over what `flows` tell of already.
void checkQueries(const CodeView& view, const std::vector<Flow>& flows, FindingList& findings);
void checkHomePaths(const CodeView& view, FindingList& findings);

// C and C++: code_bounds_rules.cpp
void checkBounds(const CodeView& view, FindingList& findings);

// Pages in HTML, by the tree: code_page_rules.cpp
/// `tree` is that of the view's text; an empty one has nothing to find.
void checkPage(const CodeView& view, const SyntaxTree& tree, FindingList& findings);

// Grammar: code_syntax_rules.cpp
/// Also tells whether there is a grammar, and whether the text was read by it. Gives the tree of a
/// text in a language that is looked into by it.
SyntaxTree checkSyntax(const CodeView& view, std::string_view name, Readers readers,
                       FindingList& findings, Coverage& coverage);

// Grammar where there is no grammar: code_shape_rules.cpp
void checkShape(const CodeView& view, FindingList& findings);

// Data: code_data_rules.cpp
void checkJson(const CodeView& view, FindingList& findings);
/// Whether nothing was found.
bool checkYaml(const CodeView& view, FindingList& findings);

} // namespace trevix
