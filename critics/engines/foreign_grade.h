// How the rules of other people's programs weigh here.
//
// A program grades for people who chose it and tuned it; here its word goes into a verdict about
// work whose author never saw it. So what is a fault in whatever surroundings keeps its weight,
// what is a matter of habit or of surroundings that the program does not see weighs little, and
// advice about style is dropped. Each departure from the program's own grade stands in one table
// with its reason. Pure; any thread.

#pragma once

#include "critics/engines/foreign_fault.h"
#include "critics/findings/finding.h"

#include <optional>
#include <span>
#include <string_view>

namespace trevix {

struct ForeignGrade {
    std::string_view engine;
    std::string_view code;            ///< Of one rule, or of all that begin so when it ends in "*".
    std::optional<Severity> severity; ///< Absent: not reported.
    std::string_view reason;
};

/// The departures, in the order of being looked at: the first that fits holds.
[[nodiscard]] std::span<const ForeignGrade> foreignGrades();

/// The severity of what `engine` found; absent where it is not reported. `whole` says that the part
/// is a whole file, so that a name that nothing in it declares is declared nowhere.
[[nodiscard]] std::optional<Severity> gradeOf(std::string_view engine, const ForeignFault& fault,
                                              bool whole);

/// Whether the fault says that the engine gave up reading, for want of what the part does not hold:
/// then it has not looked.
[[nodiscard]] bool gaveUp(std::string_view engine, const ForeignFault& fault);

/// Whether the fault says that the file does not parse.
[[nodiscard]] bool isSyntax(std::string_view engine, const ForeignFault& fault);

} // namespace trevix
