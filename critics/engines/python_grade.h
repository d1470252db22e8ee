// How the rules of Bandit and Ruff weigh here, where one table row does not say.
//
// Both look at a line; what stands around it tells whether it is a fault: a name that another line
// makes, a file that this program wrote, an evaluation with names of its own. Pure; any thread. The
// time for one word of theirs is bounded, however long the file is.

#pragma once

#include "critics/engines/foreign_fault.h"
#include "critics/engines/foreign_grade.h"
#include "critics/findings/finding.h"

#include <optional>

namespace trevix {

/// Absent where it is not reported.
[[nodiscard]] std::optional<Severity> gradeOfBandit(const ForeignFault& fault,
                                                    const ForeignSubject& subject);

/// It has no levels of its own. Those of what is unsafe are Bandit's, whose rules they are.
[[nodiscard]] std::optional<Severity> gradeOfRuff(const ForeignFault& fault,
                                                  const ForeignSubject& subject);

} // namespace trevix
