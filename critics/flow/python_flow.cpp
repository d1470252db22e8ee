#include "critics/flow/python_flow.h"

#include "critics/flow/python_flow_analysis.h"
#include "critics/flow/python_sinks.h"
#include "text/one_of.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace python_flow {

Analysis::Analysis(const SyntaxTree& tree, std::string_view text)
    : m_tree(tree),
      m_text(text),
      m_names(tree, text),
      m_web(importsAnyOf(m_names, kWebFrameworks)),
      m_answersText(importsAnyOf(m_names, kFrameworksThatAnswerText)) {
    m_sources.emplace_back();
    m_checked.push_back(0);
}

std::vector<Flow> Analysis::run() {
    if (m_tree.nodes.empty()) return {};
    collectFunctions();
    // First what each does with its parameters, then with what is known of the others.
    for (int pass = 0; pass < 2; ++pass) {
        m_final = pass == 1;
        m_known.assign(m_tree.nodes.size(), false);
        m_memo.assign(m_tree.nodes.size(), Value());
        m_values.clear();
        m_log.clear();
        m_function = nullptr;
        block(0, 0);
        m_module = m_values;
        for (Function& function : m_functions) look(function);
    }
    std::ranges::sort(m_flows, {}, [](const Flow& flow) {
        return std::tuple(flow.offset, flow.danger, flow.from);
    });
    const auto twice =
        std::unique(m_flows.begin(), m_flows.end(), [](const Flow& a, const Flow& b) {
            return a.offset == b.offset && a.danger == b.danger;
        });
    m_flows.erase(twice, m_flows.end());
    return std::move(m_flows);
}

Index Analysis::namedChildOr(Index node) const {
    const Index child = firstNamed(m_tree, node);
    return child == kNone ? node : child;
}

// ---- what there is ----

void Analysis::collectFunctions() {
    for (Index i = 0; i < m_tree.nodes.size(); ++i) {
        if (!m_tree.is(i, "function_definition")) continue;
        Function function;
        function.node = i;
        function.name = textOf(m_tree.child(i, "name"));
        Index around = m_tree[i].parent;
        if (m_tree.is(around, "decorated_definition")) {
            function.answersPage = m_answersText && routeOf(around) != kNone;
            around = m_tree[around].parent;
        }
        function.method = m_tree.is(m_tree[around].parent, "class_definition");
        const Index parameters = m_tree.child(i, "parameters");
        for (Index p = parameters == kNone ? kNone : m_tree.firstChild(parameters); p != kNone;
             p = m_tree.nextSibling(p)) {
            if (m_tree[p].named) function.parameters.push_back(parameterName(m_tree, m_text, p));
        }
        m_byName.emplace(function.name, m_functions.size());
        m_functions.push_back(std::move(function));
    }
}

Index Analysis::routeOf(Index decorated) const {
    for (Index at = m_tree.firstChild(decorated); at != kNone; at = m_tree.nextSibling(at)) {
        if (!m_tree.is(at, "decorator")) continue;
        for (Index call = m_tree.firstChild(at); call != kNone; call = m_tree.nextSibling(call)) {
            if (!m_tree.is(call, "call")) continue;
            const Index attribute = m_tree.child(m_tree.child(call, "function"), "attribute");
            if (!text::isOneOf(textOf(attribute), kRouters)) continue;
            const Index arguments = m_tree.child(call, "arguments");
            for (Index a = arguments == kNone ? kNone : m_tree.firstChild(arguments); a != kNone;
                 a = m_tree.nextSibling(a)) {
                if (m_tree.is(a, "string")) {
                    return inner(textOf(a)).starts_with('/') ? a : kNone;
                }
            }
        }
    }
    return kNone;
}

bool Analysis::isInHandler(Index node) const {
    const Index body = m_tree[node].parent;
    const Index owner = m_tree.is(body, "decorated_definition") ? m_tree[m_tree[body].parent].parent
                                                                : m_tree[body].parent;
    if (!m_tree.is(owner, "class_definition")) return false;
    return textOf(m_tree.child(owner, "superclasses")).find("HTTPRequestHandler") !=
           std::string_view::npos;
}

std::uint32_t Analysis::source(const Source& found) {
    // The same words are the same thing: a check of them holds where they stand again.
    const Index function = m_function == nullptr ? kNone : m_function->node;
    const auto [known, added] =
        m_sourceByName.try_emplace(std::tuple(function, found.parameter, found.name),
                                   static_cast<std::uint32_t>(m_sources.size()));
    if (added) {
        m_sources.push_back(found);
        m_checked.push_back(0);
    }
    return known->second;
}

Value Analysis::taken(Index node, Origin origin, Dangers dangers) {
    Value value;
    value.source = source({origin, m_tree[node].begin, textOf(node), dangers, 0});
    return value;
}

void Analysis::look(Function& function) {
    m_function = &function;
    m_values.clear();
    m_log.clear();
    m_handler = isInHandler(function.node);
    if (function.summary.passes.size() != function.parameters.size()) {
        function.summary.passes.assign(function.parameters.size(), {false, kAll});
    }
    bindParameters(function);
    const Index body = m_tree.child(function.node, "body");
    if (body != kNone) block(body, 0);
    for (const std::uint32_t checked : m_touched) m_checked[checked] = 0;
    m_touched.clear();
}

void Analysis::bindParameters(Function& function) {
    const Index around = m_tree[function.node].parent;
    const Index route = m_tree.is(around, "decorated_definition") ? routeOf(around) : kNone;
    const bool django = m_names.imports("django") && !function.parameters.empty() &&
                        function.parameters.front() == "request";
    const bool event = function.parameters.size() == 2 && function.parameters[0] == "event" &&
                       function.parameters[1] == "context";
    function.answersEvent =
        event && textOf(function.node).find("text/html") != std::string_view::npos;
    const Index parameters = m_tree.child(function.node, "parameters");
    std::size_t number = 0;
    for (Index p = parameters == kNone ? kNone : m_tree.firstChild(parameters); p != kNone;
         p = m_tree.nextSibling(p)) {
        if (!m_tree[p].named) continue;
        const std::string_view name = function.parameters[number++];
        if (name.empty() || name == "self" || name == "cls") continue;
        Value value;
        if (text::isOneOf(name, kRequestNames)) {
            value.kind = Value::Kind::request;
        } else if (event && number == 1) {
            value = taken(p, Origin::request);
        } else if (route != kNone && isText(p) && !isMadeByFramework(p)) {
            value = taken(p, Origin::request);
            const std::string_view address = textOf(route);
            // No part of a path between two slashes leads out of its folder.
            if (address.find("path:" + std::string(name)) == std::string_view::npos &&
                address.find(std::string(name) + ":path") == std::string_view::npos) {
                value.safe = bits({Danger::path, Danger::redirect});
            }
            for (const std::string_view number_ : {"int:", "float:", "uuid:"}) {
                if (address.find(std::string(number_) + std::string(name)) !=
                    std::string_view::npos) {
                    value = {};
                }
            }
        } else if (django && isText(p)) {
            value = taken(p, Origin::request);
            value.safe =
                static_cast<Dangers>(~bits({Danger::query, Danger::code, Danger::command}));
        } else {
            value.source = source({Origin::request, m_tree[p].begin, name, kAll, number});
        }
        set(name, value);
    }
}

bool Analysis::isText(Index parameter) const {
    const std::string_view type = textOf(m_tree.child(parameter, "type"));
    return type.empty() || type.find("str") != std::string_view::npos ||
           type.find("bytes") != std::string_view::npos || type == "dict" || type == "Any";
}

bool Analysis::isMadeByFramework(Index parameter) const {
    const std::string_view given = textOf(m_tree.child(parameter, "value"));
    return given.starts_with("Depends") || given.starts_with("Security");
}

} // namespace python_flow

std::vector<Flow> pythonFlows(const SyntaxTree& tree, std::string_view text) {
    return python_flow::Analysis(tree, text).run();
}

} // namespace trevix
