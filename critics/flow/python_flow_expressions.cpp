#include "critics/flow/python_flow_analysis.h"

#include "critics/flow/python_flow.h"
#include "critics/flow/python_sinks.h"
#include "text/one_of.h"

#include <array>
#include <string>

namespace trevix::python_flow {

namespace text = kelvane::text;

void Analysis::expressions(Index node, std::size_t depth) {
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].named) expression(at, depth);
    }
}

Value Analysis::allOf(Index node, std::size_t depth) {
    Value value;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].named) value = joined(value, expression(at, depth));
    }
    value.head = {};
    return value;
}

Value Analysis::expression(Index node, std::size_t depth) {
    if (node == kNone || ++depth > kMostFlowDepth) return {};
    if (!m_known[node]) {
        m_known[node] = true;
        m_memo[node] = evaluated(node, depth);
        const std::string_view kind = m_tree[node].kind;
        if (kind == "string" || kind == "binary_operator" || kind == "concatenated_string") {
            m_memo[node].built = node;
        }
    }
    return m_memo[node];
}

Value Analysis::evaluated(Index node, std::size_t depth) {
    const std::string_view kind = m_tree[node].kind;
    if (kind == "identifier") return named(node);
    if (kind == "string") return literal(node, depth);
    if (kind == "call") return call(node, depth);
    if (kind == "attribute") return attribute(node, depth);
    if (kind == "subscript") return subscript(node, depth);
    if (kind == "assignment") return assignment(node, depth);
    if (kind == "augmented_assignment") {
        const Index left = m_tree.child(node, "left");
        // One after the other here and below: what is read leaves traces.
        const Value before = expression(left, depth);
        Value value = put(before, expression(m_tree.child(node, "right"), depth));
        assign(left, kNone, value, depth);
        return value;
    }
    if (kind == "binary_operator") {
        const std::string_view sign = textOf(m_tree.child(node, "operator"));
        const Value left = expression(m_tree.child(node, "left"), depth);
        const Value right = expression(m_tree.child(node, "right"), depth);
        if (sign == "%") return filled(left, right, "%");
        if (sign == "+") return put(left, right);
        if (sign == "/" || sign == "*") {
            Value value = joined(left, right);
            value.leads = false;
            return value;
        }
        return {};
    }
    if (kind == "boolean_operator") {
        const Value left = expression(m_tree.child(node, "left"), depth);
        return joined(left, expression(m_tree.child(node, "right"), depth));
    }
    if (kind == "conditional_expression") return chosen(node, depth);
    if (kind == "comparison_operator") {
        expressions(node, depth);
        Value value;
        const Checks checks = checksOfComparison(node, depth);
        if (!checks.whenTrue.empty()) {
            value.checks = checks.whenTrue.front().source;
            value.safe = checks.whenTrue.front().dangers;
        }
        return value;
    }
    if (kind == "not_operator") {
        expressions(node, depth);
        return {};
    }
    if (kind == "named_expression") {
        const Value value = expression(m_tree.child(node, "value"), depth);
        assign(m_tree.child(node, "name"), kNone, value, depth);
        return value;
    }
    if (kind == "list" || kind == "tuple") {
        Value value = allOf(node, depth);
        const Index first = firstNamed(m_tree, node);
        const bool program =
            first == kNone || (!isShell(first) && !expression(first, depth).isOfStranger());
        value.kind = program ? Value::Kind::words : Value::Kind::plain;
        return value;
    }
    if (kind == "parenthesized_expression" || kind == "await" || kind == "yield") {
        const Index only = firstNamed(m_tree, node);
        return only == kNone ? Value() : expression(only, depth);
    }
    if (kind == "list_comprehension" || kind == "set_comprehension" ||
        kind == "generator_expression" || kind == "dictionary_comprehension") {
        return comprehension(node, depth);
    }
    if (kind == "keyword_argument" || kind == "pair") {
        const Value value = expression(m_tree.child(node, "value"), depth);
        if (kind == "pair") {
            const Index key = m_tree.child(node, "key");
            expression(key, depth);
            // A database runs what stands there.
            if (inner(textOf(key)) == "$where") arrive(Danger::query, node, value);
        }
        return value;
    }
    if (kind == "concatenated_string") {
        Value value;
        bool first = true;
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named) continue;
            const Value piece = expression(at, depth);
            value = first ? piece : put(value, piece);
            first = false;
        }
        return value;
    }
    if (kind == "as_pattern") {
        const Index from = m_tree.firstChild(node);
        const Value value = from == kNone ? Value() : expression(from, depth);
        const Index alias = m_tree.child(node, "alias");
        if (alias != kNone) assign(m_tree.firstChild(alias), kNone, value, depth);
        return value;
    }
    if (kind == "lambda" || kind == "function_definition" || kind == "class_definition" ||
        kind == "block") {
        return {};
    }
    return allOf(node, depth);
}

Value Analysis::named(Index node) {
    const std::string_view name = textOf(node);
    const auto own = m_values.find(name);
    if (own != m_values.end()) return own->second;
    Value value = get(name);
    if (value.isOfStranger()) return value;
    // In a part of a program the import may be missing.
    const std::string whole = m_names.full(node);
    if (text::isOneOf(whole, kRequests) || (m_web && whole == "request")) {
        value.kind = Value::Kind::request;
    }
    return value;
}

Value Analysis::literal(Index node, std::size_t depth) {
    Value value;
    bool first = true;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (!m_tree.is(at, "interpolation")) continue;
        Value inside;
        for (Index in = m_tree.firstChild(at); in != kNone; in = m_tree.nextSibling(in)) {
            if (!m_tree[in].named || m_tree.is(in, "type_conversion")) continue;
            inside = joined(inside, expression(in, depth));
        }
        const std::string_view before = beforeFirst(node, at);
        if (first) value.head = before;
        if (first && inside.isOfStranger()) inside.leads = leavesHostOpen(before);
        if (!first && inside.isOfStranger() && !value.isOfStranger()) {
            inside.leads = false;
        }
        if (first && !inside.isOfStranger() && before.empty()) {
            // What it begins with is not known, but it is the program's own.
            value.head = inside.head;
        }
        const std::string_view head = value.head;
        const bool led = value.isOfStranger() ? value.leads : inside.leads;
        value = joined(value, inside);
        value.head = head;
        value.leads = led;
        first = false;
    }
    if (first) value.head = inner(textOf(node));
    value.kind = Value::Kind::plain;
    return value;
}

std::string_view Analysis::beforeFirst(Index string, Index interpolation) const {
    const std::string_view all =
        m_text.substr(m_tree[string].begin, m_tree[interpolation].begin - m_tree[string].begin);
    std::size_t begin = all.find_first_of("\"'");
    if (begin == std::string_view::npos) return {};
    const std::string_view marks = all.substr(begin, 3);
    begin += marks == "\"\"\"" || marks == "'''" ? std::size_t{3} : 1;
    return begin <= all.size() ? all.substr(begin) : std::string_view();
}

Value Analysis::assignment(Index node, std::size_t depth) {
    const Index right = m_tree.child(node, "right");
    const Index left = m_tree.child(node, "left");
    if (right == kNone) return {};
    const Value value = expression(right, depth);
    assign(left, right, value, depth);
    return value;
}

bool Analysis::isListOfTargets(Index node) const {
    return m_tree.is(node, "pattern_list") || m_tree.is(node, "tuple_pattern") ||
           m_tree.is(node, "list_pattern") || m_tree.is(node, "expression_list") ||
           m_tree.is(node, "tuple");
}

void Analysis::assign(Index left, Index right, const Value& value, std::size_t depth) {
    if (left == kNone || ++depth > kMostFlowDepth) return;
    if (m_tree.is(left, "identifier")) {
        set(textOf(left), value);
        return;
    }
    if (isListOfTargets(left)) {
        const bool pairwise = isListOfTargets(right) && namedCount(left) == namedCount(right);
        Index from = pairwise ? m_tree.firstChild(right) : kNone;
        for (Index at = m_tree.firstChild(left); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named) continue;
            while (from != kNone && !m_tree[from].named) from = m_tree.nextSibling(from);
            assign(at, kNone, pairwise ? expression(from, depth) : value, depth);
            if (from != kNone) from = m_tree.nextSibling(from);
        }
        return;
    }
    if (m_tree.is(left, "attribute")) {
        set(textOf(left), value);
        return;
    }
    if (!m_tree.is(left, "subscript")) return;
    intoHeader(left, value, depth);
    const Index object = m_tree.child(left, "value");
    if (isKey(left)) set(textOf(left), value);
    if (m_tree.is(object, "identifier") || m_tree.is(object, "attribute")) {
        if (value.isOfStranger()) set(textOf(object), joined(get(textOf(object)), value));
    }
}

std::size_t Analysis::namedCount(Index node) const {
    std::size_t count = 0;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].named) ++count;
    }
    return count;
}

bool Analysis::isKey(Index subscript) const {
    const Index key = m_tree.child(subscript, "subscript");
    return m_tree.is(key, "string") || m_tree.is(key, "integer");
}

void Analysis::intoHeader(Index left, const Value& value, std::size_t depth) {
    const Index object = m_tree.child(left, "value");
    if (!m_tree.is(object, "attribute")) return;
    const std::string_view last = textOf(m_tree.child(object, "attribute"));
    if (last != "headers" || !m_web) return;
    arrive(Danger::output, m_tree[left].parent, value);
    const Index key = m_tree.child(left, "subscript");
    if (key != kNone) arrive(Danger::output, m_tree[left].parent, expression(key, depth));
}

Value Analysis::chosen(Index node, std::size_t depth) {
    std::array<Index, 3> parts{kNone, kNone, kNone};
    std::size_t count = 0;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].named && count < 3) parts[count++] = at;
    }
    if (count != 3) return allOf(node, depth);
    expression(parts[1], depth);
    const Checks checks = checksOf(parts[1], depth);
    const auto under = [&](Index part, const std::vector<Check>& sure) {
        const std::size_t start = m_log.size();
        check(sure);
        Value value = expression(part, depth);
        if (value.isOfStranger()) {
            value.safe = static_cast<Dangers>(value.safe | m_checked[value.source]);
        }
        undoTo(start);
        return value;
    };
    const Value whenTrue = under(parts[0], checks.whenTrue);
    return joined(whenTrue, under(parts[2], checks.whenFalse));
}

Value Analysis::comprehension(Index node, std::size_t depth) {
    const std::size_t start = m_log.size();
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "for_in_clause")) {
            const Value value = expression(m_tree.child(at, "right"), depth);
            assign(m_tree.child(at, "left"), kNone, value, depth);
        } else if (m_tree.is(at, "if_clause")) {
            const Index condition = firstNamed(m_tree, at);
            if (condition == kNone) continue;
            expression(condition, depth);
            check(checksOf(condition, depth).whenTrue);
        }
    }
    Value value = expression(m_tree.child(node, "body"), depth);
    if (value.isOfStranger()) {
        value.safe = static_cast<Dangers>(value.safe | m_checked[value.source]);
    }
    undoTo(start);
    value.head = {};
    return value;
}

Value Analysis::attribute(Index node, std::size_t depth) {
    const auto known = m_values.find(textOf(node));
    if (known != m_values.end()) return known->second;
    const std::string_view name = textOf(m_tree.child(node, "attribute"));
    const Index object = m_tree.child(node, "object");
    if (name == "request" && textOf(object) == "self") {
        Value value;
        value.kind = Value::Kind::request;
        return value;
    }
    if (m_handler && textOf(object) == "self" && text::isOneOf(name, kHandlerParts)) {
        return taken(node, Origin::request);
    }
    const std::string whole = m_names.full(node);
    if (whole == "sys.argv") return taken(node, Origin::person, kOfPerson);
    if (text::isOneOf(whole, kRequests)) {
        Value value;
        value.kind = Value::Kind::request;
        return value;
    }
    Value base = expression(object, depth);
    if (base.kind == Value::Kind::request && !base.isOfStranger()) {
        if (text::isOneOf(name, kCapitalParts) || (m_web && text::isOneOf(name, kRequestParts))) {
            Value value = taken(node, Origin::request);
            if (name == "files" || name == "FILES") value.kind = Value::Kind::file;
            return value;
        }
        return {};
    }
    if (!base.isOfStranger()) return {};
    if (text::isOneOf(name, kHarmlessParts)) return {};
    if (base.kind == Value::Kind::file) base.kind = Value::Kind::plain;
    if (base.kind == Value::Kind::path && name == "name") {
        base.safe = static_cast<Dangers>(base.safe | bit(Danger::path));
    }
    base.head = {};
    return base;
}

Value Analysis::subscript(Index node, std::size_t depth) {
    const auto known = m_values.find(textOf(node));
    if (known != m_values.end()) return known->second;
    const Index object = m_tree.child(node, "value");
    Value value = expression(object, depth);
    const Index key = m_tree.child(node, "subscript");
    if (key != kNone && !m_tree.is(key, "string") && !m_tree.is(key, "integer")) {
        expression(key, depth);
    }
    if (value.kind == Value::Kind::request && !value.isOfStranger()) return {};
    if (text::isOneOf(inner(textOf(key)), kServerKeys)) return {};
    if (value.isOfStranger() && m_tree.is(object, "attribute")) {
        // "request.args['id']" is told from "request.args['name']".
        value = again(value, node);
    }
    value.head = {};
    return value;
}

Value Analysis::again(Value value, Index node) {
    const Source& whole = m_sources[value.source];
    if (whole.parameter != 0 || whole.offset != m_tree[node].begin) return value;
    Source part = whole;
    part.name = textOf(node);
    value.source = source(part);
    return value;
}

} // namespace trevix::python_flow
