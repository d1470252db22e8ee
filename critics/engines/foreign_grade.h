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

#include <algorithm>
#include <cstddef>
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

/// What a fault is about.
struct ForeignSubject {
    bool whole = false; ///< A whole file: a name that nothing in it declares is declared nowhere.
    std::string_view text;      ///< The file; empty where it is not known.
    std::size_t offset = 0;     ///< The byte of it at which the fault stands.
    std::string_view name = {}; ///< The name of the file; empty where it is not known.

    /// The byte within the text; its size for one behind it.
    [[nodiscard]] std::size_t place() const { return std::min(offset, text.size()); }
    /// What stands from that byte on.
    [[nodiscard]] std::string_view rest() const { return text.substr(place()); }
    /// The whole line around it.
    [[nodiscard]] std::string_view line() const;
};

/// The severity of what `engine` found; absent where it is not reported.
[[nodiscard]] std::optional<Severity> gradeOf(std::string_view engine, const ForeignFault& fault,
                                              const ForeignSubject& subject);

/// The severity by the program's own word alone: "error" is high, "warning" medium, "info" low, and
/// anything else is not reported.
[[nodiscard]] std::optional<Severity> gradeOfLevel(const ForeignFault& fault);

/// Whether the fault says that the engine gave up reading, for want of what the part does not hold:
/// then it has not looked.
[[nodiscard]] bool gaveUp(std::string_view engine, const ForeignFault& fault);

/// Whether the fault says that the file does not parse.
[[nodiscard]] bool isSyntax(std::string_view engine, const ForeignFault& fault);

} // namespace trevix
