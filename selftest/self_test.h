// The self-test: whether the catalog and the rules of this build keep their promises.
//
// Looks up known identifiers and addresses in a given catalog, and runs the agent and workflow
// rules over fixed inputs, so that the result does not depend on what is running on the machine.
// The report is the same for the same catalog and can be compared between versions of it. Pure; any
// thread.

#pragma once

#include "detect/agent_scan.h"
#include "detect/workflow_infer.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace kelvane {

class AppCatalog;

namespace SelfTest {

/// What the rules make of the fixed inputs.
struct Observed {
    std::vector<DetectedAgent> agents;
    std::vector<WorkflowEvent> history;
    WorkflowState workflow;
};

/// Runs the rules; the catalog supplies the current application of the workflow.
[[nodiscard]] Observed observe(const AppCatalog& catalog);

/// Makes every check, a failed one included, and writes one line for each, then a blank line and
/// the summary. 0 when every check passed, 1 otherwise. Throws nothing of its own.
[[nodiscard]] std::int32_t report(const AppCatalog& catalog, const Observed& observed,
                                  std::ostream& out);

/// The whole self-test: the report on what is observed.
[[nodiscard]] std::int32_t run(const AppCatalog& catalog, std::ostream& out);

} // namespace SelfTest

} // namespace kelvane
