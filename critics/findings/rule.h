// A rule of the critics as the registry declares it, and the only handle by which one is reported.
//
// Each kind of work declares its rules in one table, a specialisation of `RulesFor` in its own
// folder. A `GradedRule` can only be had from such a table and at compile time: a finding whose
// rule is not declared, or comes in a severity that its rule does not have, does not compile.
//
// The rules of other people's programs are theirs: open-ended, and known when they speak. Such a
// program has one family here, "shellcheck.*", whose severities, criterion and unit hold for each
// of its rules; a finding bears the program's own code, "shellcheck.SC2086". Values, constants; any
// thread.

#pragma once

#include "critics/findings/finding.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace trevix {

/// What a finding of a rule is one of, so that findings can be held against how much of it there
/// is.
enum class Unit {
    part, ///< The whole part: such a rule has one finding at most, or one for each fault of a file.
    word,
    sentence,
    line,
    cell,
    row,
    column,
    region, ///< A rectangle of a picture.
};

/// The severities that one rule may give. Never empty.
class Severities {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): most rules have one and simply name it.
    constexpr Severities(Severity only) : m_bits(bit(only)) {}
    constexpr Severities(std::initializer_list<Severity> several) {
        for (const Severity severity : several) m_bits |= bit(severity);
    }

    [[nodiscard]] constexpr bool has(Severity severity) const {
        return (m_bits & bit(severity)) != 0;
    }
    [[nodiscard]] constexpr bool isOne() const { return (m_bits & (m_bits - 1U)) == 0; }
    /// The gravest of them.
    [[nodiscard]] constexpr Severity worst() const {
        for (const Severity severity : {Severity::critical, Severity::high, Severity::medium}) {
            if (has(severity)) return severity;
        }
        return Severity::low;
    }

    constexpr bool operator==(const Severities&) const = default;

private:
    static constexpr std::uint32_t bit(Severity severity) {
        return 1U << static_cast<unsigned>(severity);
    }

    std::uint32_t m_bits = 0;
};

struct Rule {
    /// "text.doubled_word"; never changes, it is stored with every verdict. A family ends in ".*".
    std::string_view id;
    Severities severities;
    std::string_view criterion; ///< What is judged, in a word or two for people.
    Unit unit;
    /// Where the thresholds of the rule come from, with their units; empty where it has none. A
    /// figure that is nobody's measurement says that it was chosen.
    std::string_view provenance;
};

/// Whether `rule` is a family.
[[nodiscard]] constexpr bool isFamily(const Rule& rule) {
    return rule.id.ends_with(".*");
}

/// Who declares a rule: the critic of one kind of work, the judge of all of them (`any`), or the
/// room of other people's programs (`engine`), which is no kind of work.
enum class WorkKind { any, text, document, code, sheet, picture, engine };
inline constexpr std::size_t kWorkKinds = static_cast<std::size_t>(WorkKind::engine) + 1;

/// Specialised once for each kind, with `static constexpr std::array<Rule, N> kRules`.
template <WorkKind kind>
struct RulesFor;

/// A declared rule at one of its severities. Copies freely, points into the tables.
class GradedRule {
public:
    [[nodiscard]] constexpr const Rule& rule() const { return *m_rule; }
    [[nodiscard]] constexpr Severity severity() const { return m_severity; }

private:
    template <WorkKind kind>
    friend consteval GradedRule declared(std::string_view id);
    template <WorkKind kind>
    friend consteval GradedRule declared(std::string_view id, Severity severity);
    friend constexpr std::optional<GradedRule> graded(const Rule& family, Severity severity);
    friend constexpr GradedRule softened(GradedRule graded);

    constexpr GradedRule(const Rule& rule, Severity severity)
        : m_rule(&rule),
          m_severity(severity) {}

    const Rule* m_rule;
    Severity m_severity;
};

/// The rule of that id at `severity`. An error of compilation where the kind declares no such rule,
/// or the rule no such severity.
template <WorkKind kind>
consteval GradedRule declared(std::string_view id, Severity severity) {
    for (const Rule& rule : RulesFor<kind>::kRules) {
        if (rule.id != id) continue;
        if (!rule.severities.has(severity)) throw std::logic_error("not a severity of the rule");
        return {rule, severity};
    }
    throw std::logic_error("no such rule");
}

/// The rule of that id, which has one severity. An error of compilation where it has several.
template <WorkKind kind>
consteval GradedRule declared(std::string_view id) {
    for (const Rule& rule : RulesFor<kind>::kRules) {
        if (rule.id != id) continue;
        if (!rule.severities.isOne()) throw std::logic_error("the rule has several severities");
        return {rule, rule.severities.worst()};
    }
    throw std::logic_error("no such rule");
}

/// A rule of a declared family at a severity that is known when its program has spoken. Absent
/// where `family` is none, or has no such severity. It points to `family`, which must outlive it.
[[nodiscard]] constexpr std::optional<GradedRule> graded(const Rule& family, Severity severity) {
    if (!isFamily(family) || !family.severities.has(severity)) return std::nullopt;
    return GradedRule{family, severity};
}

/// The same rule at low severity, where it has that; else as it is.
[[nodiscard]] constexpr GradedRule softened(GradedRule graded) {
    return graded.rule().severities.has(Severity::low) ? GradedRule{graded.rule(), Severity::low}
                                                       : graded;
}

} // namespace trevix
