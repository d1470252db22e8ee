#include "critics/flow/python_flow_analysis.h"

#include "critics/flow/python_flow.h"
#include "critics/flow/python_sinks.h"
#include "text/one_of.h"

#include <algorithm>
#include <utility>

namespace trevix::python_flow {

namespace text = kelvane::text;

// ---- what is known at a place ----

void Analysis::set(std::string_view name, const Value& value) {
    Value& kept = m_values[name];
    m_log.push_back({name, 0, kept, 0});
    kept = value;
}

void Analysis::check(std::uint32_t source, Dangers dangers) {
    if (source == 0) return;
    m_log.push_back({{}, source, {}, m_checked[source]});
    m_checked[source] = static_cast<Dangers>(m_checked[source] | dangers);
    m_touched.push_back(source);
}

void Analysis::check(const std::vector<Check>& checks) {
    for (const Check& each : checks) check(each.source, each.dangers);
}

Value Analysis::get(std::string_view name) const {
    const auto own = m_values.find(name);
    if (own != m_values.end()) return own->second;
    if (m_function == nullptr) return {};
    const auto known = m_module.find(name);
    return known == m_module.end() ? Value() : known->second;
}

Analysis::Way Analysis::wayFrom(std::size_t start) const {
    Way way;
    for (std::size_t i = start; i < m_log.size(); ++i) {
        const Change& change = m_log[i];
        if (change.source != 0) {
            way.checked.emplace_back(change.source, m_checked[change.source]);
        } else {
            way.values.emplace_back(change.name, m_values.at(change.name));
        }
    }
    const auto once = [](auto& list) {
        std::ranges::sort(list, {}, [](const auto& entry) { return entry.first; });
        const auto twice = std::unique(list.begin(), list.end(), [](const auto& a, const auto& b) {
            return a.first == b.first;
        });
        list.erase(twice, list.end());
    };
    once(way.values);
    once(way.checked);
    return way;
}

void Analysis::undoTo(std::size_t start) {
    while (m_log.size() > start) {
        const Change& change = m_log.back();
        if (change.source != 0) {
            m_checked[change.source] = change.checkedBefore;
        } else {
            m_values[change.name] = change.before;
        }
        m_log.pop_back();
    }
}

void Analysis::meet(const std::vector<Way>& ways) {
    if (ways.size() == 1) {
        for (const auto& [name, value] : ways[0].values) set(name, value);
        for (const auto& [source, dangers] : ways[0].checked) check(source, dangers);
        return;
    }
    // A name that one way leaves alone has its old value there.
    struct Met {
        Value value;
        std::size_t ways = 0;
    };
    std::unordered_map<std::string_view, Met> values;
    std::unordered_map<std::uint32_t, std::pair<Dangers, std::size_t>> checked;
    for (const Way& way : ways) {
        for (const auto& [name, value] : way.values) {
            Met& met = values[name];
            met.value = met.ways == 0 ? value : joined(met.value, value);
            ++met.ways;
        }
        for (const auto& [source, dangers] : way.checked) {
            auto& [met, count] = checked[source];
            met = count == 0 ? dangers : static_cast<Dangers>(met & dangers);
            ++count;
        }
    }
    for (const auto& [name, met] : values) {
        set(name, met.ways == ways.size() ? met.value : joined(met.value, get(name)));
    }
    for (const auto& [source, met] : checked) {
        if (met.second == ways.size()) check(source, met.first);
    }
}

// ---- statements ----

bool Analysis::block(Index node, std::size_t depth) {
    if (depth > kMostFlowDepth) return false;
    bool left = false;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree[at].named && statement(at, depth + 1)) left = true;
    }
    return left;
}

bool Analysis::statement(Index node, std::size_t depth) {
    const std::string_view kind = m_tree[node].kind;
    if (kind == "function_definition" || kind == "decorated_definition" ||
        kind == "import_statement" || kind == "import_from_statement" || kind == "comment") {
        // Functions are looked at by themselves; a class in decorators is one of values.
        const Index definition = m_tree.child(node, "definition");
        if (m_tree.is(definition, "class_definition")) statement(definition, depth);
        return false;
    }
    if (kind == "class_definition") {
        const Index body = m_tree.child(node, "body");
        if (body != kNone) block(body, depth);
        return false;
    }
    if (kind == "if_statement") return conditional(node, depth);
    if (kind == "while_statement" || kind == "for_statement") return loop(node, depth);
    if (kind == "try_statement") return attempt(node, depth);
    if (kind == "with_statement") return with(node, depth);
    if (kind == "match_statement") return matched(node, depth);
    if (kind == "block" || kind == "module") return block(node, depth);
    if (kind == "return_statement") {
        const Index value = firstNamed(m_tree, node);
        if (value != kNone) returned(value, expression(value, depth));
        return true;
    }
    if (kind == "break_statement" || kind == "continue_statement") {
        // What is known here is known behind the loop. So many are told apart.
        constexpr std::size_t kMostExits = 16;
        if (!m_loops.empty() && m_loops.back().exits.size() < kMostExits) {
            m_loops.back().exits.push_back(wayFrom(m_loops.back().start));
        }
        return true;
    }
    if (kind == "raise_statement") {
        expressions(node, depth);
        return true;
    }
    if (kind == "assert_statement") {
        const Index condition = firstNamed(m_tree, node);
        expressions(node, depth);
        if (condition != kNone) check(checksOf(condition, depth).whenTrue);
        return false;
    }
    if (kind == "expression_statement") {
        expressions(node, depth);
        return isEnd(firstNamed(m_tree, node));
    }
    expressions(node, depth);
    return false;
}

bool Analysis::isEnd(Index node) const {
    if (!m_tree.is(node, "call")) return false;
    return text::isOneOf(m_names.full(m_tree.child(node, "function")), kEnds);
}

bool Analysis::conditional(Index node, std::size_t depth) {
    const std::size_t start = m_log.size();
    std::vector<Way> ways;
    const auto tryWay = [&](Index body, const std::vector<Check>& checks) {
        const std::size_t here = m_log.size();
        check(checks);
        const bool left = body != kNone && block(body, depth);
        if (!left) ways.push_back(wayFrom(ways.empty() ? start : here));
        undoTo(here);
    };
    const Index condition = m_tree.child(node, "condition");
    if (condition != kNone) expression(condition, depth);
    Checks checks = condition == kNone ? Checks() : checksOf(condition, depth);
    tryWay(m_tree.child(node, "consequence"), checks.whenTrue);
    check(checks.whenFalse);
    bool otherwise = false;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "elif_clause")) {
            const Index asked = m_tree.child(at, "condition");
            if (asked != kNone) expression(asked, depth);
            checks = asked == kNone ? Checks() : checksOf(asked, depth);
            tryWay(m_tree.child(at, "consequence"), checks.whenTrue);
            check(checks.whenFalse);
        } else if (m_tree.is(at, "else_clause")) {
            otherwise = true;
            tryWay(m_tree.child(at, "body"), {});
        }
    }
    if (!otherwise) ways.push_back(wayFrom(start));
    undoTo(start);
    if (ways.empty()) return true;
    meet(ways);
    return false;
}

bool Analysis::loop(Index node, std::size_t depth) {
    const std::size_t start = m_log.size();
    if (m_tree.is(node, "for_statement")) {
        const Index right = m_tree.child(node, "right");
        const Value value = right == kNone ? Value() : expression(right, depth);
        assign(m_tree.child(node, "left"), kNone, value, depth);
    } else if (const Index condition = m_tree.child(node, "condition"); condition != kNone) {
        expression(condition, depth);
        check(checksOf(condition, depth).whenTrue);
    }
    const Index body = m_tree.child(node, "body");
    m_loops.push_back({start, {}});
    const bool left = body != kNone && block(body, depth);
    std::vector<Way> ways = std::move(m_loops.back().exits);
    m_loops.pop_back();
    if (!left) ways.push_back(wayFrom(start));
    undoTo(start);
    ways.emplace_back();
    meet(ways);
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "else_clause")) block(m_tree.child(at, "body"), depth);
    }
    return false;
}

bool Analysis::attempt(Index node, std::size_t depth) {
    const std::size_t start = m_log.size();
    std::vector<Way> ways;
    const Index body = m_tree.child(node, "body");
    bool left = body != kNone && block(body, depth);
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "else_clause") && block(m_tree.child(at, "body"), depth)) left = true;
    }
    if (!left) ways.push_back(wayFrom(start));
    undoTo(start);
    bool finallyLeft = false;
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (!m_tree.is(at, "except_clause") && !m_tree.is(at, "except_group_clause")) continue;
        bool over = false;
        for (Index in = m_tree.firstChild(at); in != kNone; in = m_tree.nextSibling(in)) {
            if (m_tree.is(in, "block")) {
                over = block(in, depth);
            } else if (m_tree[in].named) {
                expression(in, depth);
            }
        }
        if (!over) ways.push_back(wayFrom(start));
        undoTo(start);
    }
    const bool nowhere = ways.empty();
    if (!nowhere) meet(ways);
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (!m_tree.is(at, "finally_clause")) continue;
        for (Index in = m_tree.firstChild(at); in != kNone; in = m_tree.nextSibling(in)) {
            if (m_tree.is(in, "block")) finallyLeft = block(in, depth) || finallyLeft;
        }
    }
    return nowhere || finallyLeft;
}

bool Analysis::with(Index node, std::size_t depth) {
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "with_clause")) expressions(at, depth);
    }
    const Index body = m_tree.child(node, "body");
    return body != kNone && block(body, depth);
}

bool Analysis::matched(Index node, std::size_t depth) {
    expressions(node, depth);
    const std::size_t start = m_log.size();
    std::vector<Way> ways;
    const auto tryCase = [&](Index each) {
        const Index body = m_tree.child(each, "consequence");
        if (body == kNone) return;
        if (!block(body, depth)) ways.push_back(wayFrom(start));
        undoTo(start);
    };
    for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
        if (m_tree.is(at, "case_clause")) tryCase(at);
        if (!m_tree.is(at, "block")) continue;
        for (Index in = m_tree.firstChild(at); in != kNone; in = m_tree.nextSibling(in)) {
            if (m_tree.is(in, "case_clause")) tryCase(in);
        }
    }
    ways.emplace_back();
    meet(ways);
    return false;
}

} // namespace trevix::python_flow
