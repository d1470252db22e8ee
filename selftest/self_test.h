// Do the catalog and the rules of this build keep their promises?
//
// Looks up known identifiers and addresses in a given catalog, and runs the agent and workflow
// rules over fixed inputs, so that the result does not depend on what is running on the machine.
// The report is the same for the same catalog and can be compared between versions of it.

#pragma once

#include <cstdint>
#include <iosfwd>

namespace kelvane {

class AppCatalog;

namespace SelfTest {

/// Runs every check, a failed one included, and writes one line for each, then a blank line and the
/// summary. 0 when every check passed, 1 otherwise. Throws nothing of its own.
[[nodiscard]] std::int32_t run(const AppCatalog& catalog, std::ostream& report);

} // namespace SelfTest

} // namespace kelvane
