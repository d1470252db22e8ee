// How what ShellCheck says of a variable weighs, by what the script does with it.
//
// Its grade of such a rule is the same for a value that the script counts itself and for the name
// of a file that somebody else chose. Here the script is read for the difference. Pure; any thread.

#pragma once

#include "critics/engines/foreign_grade.h"

#include <optional>

namespace trevix {

/// The severity of a fault that no departure names; absent where it is not reported.
[[nodiscard]] std::optional<Severity> shellcheckGrade(const ForeignFault& fault,
                                                      const ForeignSubject& subject);

} // namespace trevix
