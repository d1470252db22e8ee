#include "critics/flow/python_flow_analysis.h"

#include "critics/flow/python_flow.h"
#include "critics/flow/python_sinks.h"
#include "text/letters.h"
#include "text/one_of.h"

#include <array>
#include <string>
#include <utility>

namespace trevix::python_flow {

namespace text = kelvane::text;

Checks Analysis::checksOf(Index node, std::size_t depth) {
    Checks checks;
    if (depth > kMostFlowDepth || node == kNone) return checks;
    const std::string_view kind = m_tree[node].kind;
    if (kind == "parenthesized_expression") return checksOf(firstNamed(m_tree, node), depth + 1);
    if (kind == "not_operator") {
        checks = checksOf(m_tree.child(node, "argument"), depth + 1);
        std::swap(checks.whenTrue, checks.whenFalse);
        return checks;
    }
    if (kind == "boolean_operator") {
        Checks left = checksOf(m_tree.child(node, "left"), depth + 1);
        const Checks right = checksOf(m_tree.child(node, "right"), depth + 1);
        const bool both = textOf(m_tree.child(node, "operator")) == "and";
        auto& sure = both ? left.whenTrue : left.whenFalse;
        const auto& more = both ? right.whenTrue : right.whenFalse;
        sure.insert(sure.end(), more.begin(), more.end());
        (both ? left.whenFalse : left.whenTrue).clear();
        return left;
    }
    if (kind == "named_expression") {
        return checksOf(m_tree.child(node, "value"), depth + 1);
    }
    if (kind == "comparison_operator") return checksOfComparison(node, depth);
    if (kind == "call") {
        const Check found = checkedByCall(node, depth);
        if (found.source != 0) checks.whenTrue.push_back(found);
        return checks;
    }
    if (kind == "identifier") {
        const Value value = get(textOf(node));
        if (value.checks != 0) checks.whenTrue.push_back({value.checks, value.safe});
    }
    return checks;
}

Checks Analysis::checksOfComparison(Index node, std::size_t depth) {
    Checks checks;
    std::array<Index, 2> sides{kNone, kNone};
    std::size_t count = 0;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (!m_tree[at].named) continue;
        if (count < 2) sides[count] = at;
        ++count;
    }
    if (count != 2) return checks;
    const std::string_view between = text::trimmed(
        m_text.substr(m_tree[sides[0]].end, m_tree[sides[1]].begin - m_tree[sides[0]].end));
    const Value left = expression(sides[0], depth + 1);
    const Value right = expression(sides[1], depth + 1);
    const std::string_view other = textOf(sides[1]);
    if (between == "in" || between == "not in" || between == "==" || between == "!=") {
        const bool equal = between == "in" || between == "==";
        Check found;
        bool when = equal;
        const bool nothing = other == "None" || other == "''" || other == "\"\"";
        if (left.isOfStranger() && !right.isOfStranger() && !nothing) found.source = left.source;
        if (right.isOfStranger() && !left.isOfStranger()) {
            // "'..' in path": what it must not hold is asked for. A host may stand anywhere in
            // an address.
            found = {right.source, static_cast<Dangers>(~kWhereTo)};
            if (between == "in" || between == "not in") when = !equal;
        }
        if (found.source == 0 && left.checks != 0) found = {left.checks, left.safe};
        if (found.source != 0) (when ? checks.whenTrue : checks.whenFalse).push_back(found);
    } else if ((between == "is" || between == "is not") && left.checks != 0) {
        const bool whenTrue = (between == "is not") == (other == "None") && other != "False";
        (whenTrue ? checks.whenTrue : checks.whenFalse).push_back({left.checks, left.safe});
    }
    return checks;
}

Check Analysis::checkedByCall(Index node, std::size_t depth) {
    const Index function = m_tree.child(node, "function");
    const std::string whole = m_names.full(function);
    const std::string_view name = lastName(whole);
    const Index arguments = m_tree.child(node, "arguments");
    const Index first = arguments == kNone ? kNone : firstNamed(m_tree, arguments);
    Value receiver;
    if (m_tree.is(function, "attribute") && text::isOneOf(name, kTests)) {
        receiver = expression(m_tree.child(function, "object"), depth + 1);
        // "https://example.com" is how the address of another host may begin.
        const bool open = name == "startswith" && leavesHostOpen(inner(textOf(first)));
        if (receiver.isOfStranger()) {
            return {receiver.source, open ? static_cast<Dangers>(~kWhereTo) : kAll};
        }
    }
    if (!saysWhether(name)) return {};
    bool lenient = m_tree.is(first, "string") && hasLoosePattern(textOf(first));
    if (m_tree.is(function, "attribute")) {
        receiver = expression(m_tree.child(function, "object"), depth + 1);
        lenient = lenient || hasLoosePattern(receiver.head);
    }
    for (Index at = arguments == kNone ? kNone : m_tree.firstChild(arguments); at != kNone;
         at = m_tree.nextSibling(at)) {
        if (!m_tree[at].named) continue;
        const Value value = expression(at, depth + 1);
        if (value.isOfStranger()) {
            return {value.source, lenient ? static_cast<Dangers>(~kWhereTo) : kAll};
        }
    }
    return {};
}

} // namespace trevix::python_flow
