#include "critics/flow/python_flow_analysis.h"

#include "critics/flow/python_sinks.h"
#include "text/one_of.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace trevix::python_flow {

namespace text = kelvane::text;

namespace {

/// The one at that place or of that name; null without it.
const Argument* argument(const std::vector<Argument>& arguments, std::size_t place,
                         std::string_view name) {
    std::size_t at = 0;
    for (const Argument& each : arguments) {
        if (each.name.empty() ? at++ == place : each.name == name) return &each;
    }
    return nullptr;
}

/// What a text can no longer do once that has been taken out of it.
Dangers replaced(std::string_view taken) {
    if (taken == "\\n" || taken == "\\r" || taken == "\\r\\n") return bit(Danger::output);
    if (taken == "<") return bit(Danger::page);
    if (taken == "'" || taken == "\\'" || taken == "\"") return bit(Danger::query);
    return 0;
}

} // namespace

// ---- calls ----

Value Analysis::call(Index node, std::size_t depth) {
    const Index function = m_tree.child(node, "function");
    const std::string whole = m_names.full(function);
    const std::string_view last = lastName(whole);
    Value receiver;
    if (m_tree.is(function, "attribute")) {
        const auto known = m_values.find(textOf(function));
        receiver = known != m_values.end() ? known->second
                                           : expression(m_tree.child(function, "object"), depth);
    } else if (function != kNone && !m_tree.is(function, "identifier")) {
        expression(function, depth);
    }
    std::vector<Argument> arguments;
    const Index list = m_tree.child(node, "arguments");
    if (m_tree.is(list, "generator_expression")) {
        arguments.push_back({{}, list, expression(list, depth)});
    } else {
        for (Index at = list == kNone ? kNone : m_tree.firstChild(list); at != kNone;
             at = m_tree.nextSibling(at)) {
            if (!m_tree[at].named || m_tree.is(at, "comment")) continue;
            const bool keyword = m_tree.is(at, "keyword_argument");
            const Index value = keyword ? m_tree.child(at, "value") : at;
            arguments.push_back({keyword ? textOf(m_tree.child(at, "name")) : std::string_view(),
                                 value, expression(value, depth)});
        }
    }
    sinks(node, whole, last, receiver, arguments);
    if (const auto own = incoming(node, whole, last, receiver, arguments)) return *own;
    if (const Value given = fromOwnFunction(whole, last, arguments); given.source != 0) {
        return given;
    }
    return outcome(node, whole, last, receiver, arguments, depth);
}

std::optional<Value> Analysis::incoming(Index node, std::string_view whole, std::string_view last,
                                        const Value& receiver,
                                        const std::vector<Argument>& arguments) {
    if (whole == "input" || whole == "raw_input" || whole == "sys.stdin.read" ||
        whole == "sys.stdin.readline") {
        return taken(node, Origin::person, kOfPerson);
    }
    if (receiver.kind == Value::Kind::request && !receiver.isOfStranger() && m_web &&
        (text::isOneOf(last, kRequestMethods) || last.starts_with("get_"))) {
        return taken(node, Origin::request);
    }
    if (m_names.imports("tornado") && text::isOneOf(last, kTornadoMethods)) {
        return taken(node, Origin::request);
    }
    if (text::isOneOf(whole, kDownloads)) return taken(node, Origin::network, kOfNetwork);
    if ((last == "recv" || last == "recvfrom") && m_names.imports("socket")) {
        return taken(node, Origin::network, kOfNetwork);
    }
    if (receiver.isOfStranger() && last == "get" && !arguments.empty()) {
        // "request.args.get('id', type=int)"
        const Argument* type = argument(arguments, 2, "type");
        if (type != nullptr && text::isOneOf(textOf(type->node), kNumbers)) return Value();
        return again(receiver, node);
    }
    return std::nullopt;
}

Value Analysis::fromOwnFunction(std::string_view whole, std::string_view last,
                                const std::vector<Argument>& arguments) {
    const bool own = whole == last || whole.starts_with("self.") || whole.starts_with("cls.");
    const auto found = own ? m_byName.find(last) : m_byName.end();
    if (found == m_byName.end()) return {};
    const Function& function = m_functions[found->second];
    const std::size_t shift = function.method && whole != last ? 1 : 0;
    const Summary& summary = function.summary;
    Value result = summary.gives;
    std::size_t place = 0;
    for (const Argument& each : arguments) {
        std::size_t number = 0;
        if (each.name.empty()) {
            number = place++ + shift;
        } else {
            const auto at = std::ranges::find(function.parameters, each.name);
            number = static_cast<std::size_t>(at - function.parameters.begin());
        }
        if (number >= summary.passes.size() || !each.value.isOfStranger()) continue;
        for (const Summary::Arrival& arrival : summary.arrivals) {
            if (arrival.parameter != number + 1) continue;
            Value value = each.value;
            value.safe = static_cast<Dangers>(value.safe | arrival.safe);
            value.leads = value.leads && !arrival.flow.partly;
            arriveAt(arrival.flow, value);
        }
        if (summary.passes[number].first) {
            Value back = each.value;
            back.safe = static_cast<Dangers>(back.safe | summary.passes[number].second);
            back.head = {};
            result = joined(result, back);
        }
    }
    return result;
}

Value Analysis::outcome(Index node, std::string_view whole, std::string_view last,
                        const Value& receiver, const std::vector<Argument>& arguments,
                        std::size_t depth) {
    Value all;
    for (const Argument& each : arguments) all = joined(all, each.value);
    all.head = {};
    const auto cleaned = [&](Value value, Dangers dangers) {
        value.safe = static_cast<Dangers>(value.safe | dangers);
        value.kind = Value::Kind::plain;
        return value;
    };
    // A test that is kept for later.
    if (const Check found = checkedByCall(node, depth); found.source != 0) {
        Value value;
        value.checks = found.source;
        value.safe = found.dangers;
        return value;
    }
    // A pattern that is kept says what it holds.
    if (whole == "re.compile" && !arguments.empty()) {
        Value value;
        value.head = arguments[0].value.head;
        return value;
    }
    // "RequestWrapper(request)"
    if (all.kind == Value::Kind::request && !all.isOfStranger() && isAboutRequest(last)) {
        return all;
    }
    if (const std::optional<unsigned> escaped = escapedBy(whole, last)) {
        return cleaned(all.isOfStranger() ? all : receiver, static_cast<Dangers>(*escaped));
    }
    if (last == "format" && m_tree.is(m_tree.child(node, "function"), "attribute") &&
        !receiver.isOfStranger()) {
        Value value = filled(receiver, all, "{");
        value.built = node;
        return value;
    }
    if (last == "join" && whole != "os.path.join" && !whole.ends_with("path.join")) {
        Value value = joined(receiver, all);
        value.head = {};
        value.leads = false;
        return value;
    }
    if (text::isOneOf(whole, kPathMakers)) {
        Value value = all;
        value.kind = value.isOfStranger() ? Value::Kind::path : Value::Kind::plain;
        return value;
    }
    if (text::isOneOf(whole, kPassesOn) || whole.ends_with("path.join")) return all;
    if (whole == "re.sub" || whole == "re.subn") {
        const Argument* pattern = argument(arguments, 0, "pattern");
        // "[^a-z]" leaves what is known to be harmless.
        const bool strict =
            pattern != nullptr && textOf(pattern->node).find("[^") != std::string_view::npos;
        return strict ? Value() : all;
    }
    if (last == "replace" && receiver.isOfStranger()) {
        return cleaned(receiver, replaced(arguments.empty() ? std::string_view()
                                                            : inner(textOf(arguments[0].node))));
    }
    if (!receiver.isOfStranger() || text::isOneOf(last, kHarmlessMethods)) return {};
    Value value = receiver;
    if (last != "resolve" && value.kind != Value::Kind::path) value.kind = Value::Kind::plain;
    if (receiver.kind == Value::Kind::file &&
        (last == "get" || last == "getlist" || last == "pop")) {
        value.kind = Value::Kind::file;
    }
    value.head = {};
    return value;
}

// ---- where it ends up ----

void Analysis::arrive(Danger danger, Index place, const Value& value) {
    Flow flow;
    flow.danger = danger;
    flow.offset = m_tree[place].begin;
    flow.length = m_tree[place].end - m_tree[place].begin;
    arriveAt(flow, value);
}

void Analysis::arriveAt(Flow flow, const Value& value) {
    if (!value.isOfStranger()) return;
    const Dangers danger = bit(flow.danger);
    const Source& from = m_sources[value.source];
    if (((value.safe | m_checked[value.source]) & danger) != 0) return;
    if ((from.dangers & danger) == 0) return;
    flow.partly = !value.leads;
    if (flow.danger == Danger::redirect && flow.partly) return;
    if (from.parameter != 0) {
        auto& arrivals = m_function->summary.arrivals;
        // So many are looked through by each caller.
        constexpr std::size_t kMostArrivals = 16;
        if (arrivals.size() < kMostArrivals && !m_final) {
            arrivals.push_back({flow, value.safe, from.parameter});
        }
        return;
    }
    if (!m_final) return;
    if (value.built != kNone) {
        flow.built = m_tree[value.built].begin;
        flow.builtLength = m_tree[value.built].end - m_tree[value.built].begin;
    }
    flow.origin = from.origin;
    flow.from = from.offset;
    constexpr std::size_t kLongestName = 40; // bytes: it is one part of a sentence
    const std::string_view name = from.name.substr(0, from.name.find('\n'));
    flow.what = name.size() <= kLongestName ? std::string(name)
                                            : std::string(name.substr(0, name.find('(')));
    if (flow.what.size() > kLongestName) flow.what.clear();
    m_flows.push_back(std::move(flow));
}

void Analysis::returned(Index node, const Value& value) {
    if (m_function == nullptr) return;
    Summary& summary = m_function->summary;
    if (value.isOfStranger() && !m_final) {
        const Source& from = m_sources[value.source];
        const Dangers safe = static_cast<Dangers>(value.safe | m_checked[value.source]);
        if (from.parameter != 0) {
            auto& [passes, left] = summary.passes[from.parameter - 1];
            left = passes ? static_cast<Dangers>(left & safe) : safe;
            passes = true;
        } else {
            Value given = value;
            given.safe = safe;
            given.head = {};
            summary.gives = joined(summary.gives, given);
        }
    }
    if (m_function->answersEvent) arrive(Danger::page, node, value);
    if (!m_function->answersPage) return;
    Index shown = node;
    Value what = value;
    // "return text, 404"
    if (m_tree.is(node, "expression_list") || m_tree.is(node, "tuple")) {
        shown = firstNamed(m_tree, node);
        what = shown == kNone ? Value() : expression(shown, 0);
    }
    if (m_tree.is(shown, "dictionary") || m_tree.is(shown, "list")) return;
    arrive(Danger::page, node, what);
}

bool Analysis::isShell(Index word) const {
    const std::string_view name = inner(textOf(word));
    return m_tree.is(word, "string") && text::isOneOf(name.substr(name.rfind('/') + 1), kShells);
}

void Analysis::fill(Index node, std::string_view last, const Value& receiver,
                    const std::vector<Argument>& arguments) {
    if (!text::isOneOf(last, kFillers)) return;
    const Index object = m_tree.child(m_tree.child(node, "function"), "object");
    if (!m_tree.is(object, "identifier") && !m_tree.is(object, "attribute")) return;
    Value value = receiver;
    bool shell = false;
    for (const Argument& each : arguments) {
        value = joined(value, each.value);
        shell = shell || isShell(each.node);
    }
    if (!value.isOfStranger() && !shell) return;
    value.kind = shell ? Value::Kind::plain : receiver.kind;
    value.head = {};
    set(textOf(object), value);
}

void Analysis::sinks(Index node, std::string_view whole, std::string_view last,
                     const Value& receiver, const std::vector<Argument>& arguments) {
    const auto given = [&](std::size_t place, std::string_view name) {
        const Argument* found = argument(arguments, place, name);
        return found == nullptr ? Value() : found->value;
    };
    const auto any = [&] {
        Value all;
        for (const Argument& each : arguments) all = joined(all, each.value);
        return all;
    };
    const auto says = [&](std::string_view name, std::string_view value) {
        return std::ranges::any_of(arguments, [&](const Argument& each) {
            return each.name == name && textOf(each.node) == value;
        });
    };
    const bool method = m_tree.is(m_tree.child(node, "function"), "attribute");
    for (const Sink& sink : kSinks) {
        if (sink.name != whole) continue;
        const bool script = (whole == "eval" || whole == "exec") && bringsNames(arguments);
        arrive(script ? Danger::script : sink.danger, node, given(sink.argument, sink.keyword));
    }
    if (text::isOneOf(whole, kRunners)) {
        const Argument* command = argument(arguments, 0, "args");
        if (command == nullptr) return;
        arrive(Danger::command, node,
               !says("shell", "True") && command->value.kind == Value::Kind::words
                   ? Value()
                   : command->value);
        return;
    }
    if (text::isOneOf(whole, kPrograms) && !arguments.empty()) {
        // A shell does what its arguments say.
        const bool mode = whole.starts_with("os.spawn");
        const Argument* program = argument(arguments, mode ? std::size_t{1} : 0, "file");
        if (program == nullptr) return;
        arrive(Danger::command, node, isShell(program->node) ? any() : program->value);
        return;
    }
    if (isPageMaker(whole) && showsMarkup(arguments)) {
        const Argument* shown =
            argument(arguments, 0, whole.ends_with("HttpResponse") ? "content" : "response");
        // Behind a comma stand the status and the headers.
        const bool several = shown != nullptr && m_tree.is(shown->node, "tuple");
        arrive(Danger::page, node,
               several ? m_memo[namedChildOr(shown->node)] : given(0, "response"));
    }
    if (whole == "yaml.load" || whole == "yaml.load_all") {
        const Argument* loader = argument(arguments, 1, "Loader");
        const bool safe =
            loader != nullptr && textOf(loader->node).find("Safe") != std::string_view::npos;
        if (!safe) arrive(Danger::load, node, given(0, "stream"));
    }
    if (!method) return;
    fill(node, last, receiver, arguments);
    if (text::isOneOf(last, kExecutors)) arrive(Danger::query, node, given(0, "sql"));
    // "loop.subprocess_exec(factory, program, …)"
    if (last == "subprocess_shell") arrive(Danger::command, node, given(1, "cmd"));
    if (last == "subprocess_exec" && arguments.size() > 1) {
        arrive(Danger::command, node, isShell(arguments[1].node) ? any() : arguments[1].value);
    }
    if (last == "attach_alternative" && m_names.imports("django")) {
        arrive(Danger::page, node, given(0, "content"));
    }
    if ((last == "runsource" || last == "runcode" || last == "push") && m_names.imports("code")) {
        arrive(Danger::code, node, given(0, "source"));
    }
    if (last == "exec_command") arrive(Danger::command, node, given(0, "command"));
    if (last == "from_string") arrive(Danger::code, node, given(0, "source"));
    if (text::isOneOf(last, kDirectorySearches) &&
        (m_names.imports("ldap") || m_names.imports("ldap3"))) {
        arrive(Danger::query, node, any());
    }
    if (text::isOneOf(last, kTreeSearches) && importsAnyOf(m_names, kTreeModules)) {
        const Value path = given(0, "path");
        // A name that is looked up by itself is no path put together.
        if (path.isOfStranger() && (last == "xpath" || last == "select" || !path.head.empty())) {
            arrive(Danger::query, node, path);
        }
    }
    if (receiver.kind == Value::Kind::file && last == "save") {
        arrive(Danger::path, node, given(0, "dst"));
    }
    if (receiver.kind == Value::Kind::path && text::isOneOf(last, kPathMethods)) {
        arrive(Danger::path, node, receiver);
    }
    if (m_web && (whole.ends_with("headers.add") || whole.ends_with("headers.set"))) {
        arrive(Danger::output, node, joined(given(0, "key"), given(1, "value")));
    }
    if (isLog(whole, last)) arrive(Danger::output, node, any());
    if (m_handler && whole == "self.wfile.write") arrive(Danger::page, node, given(0, ""));
    if (m_names.imports("tornado") && whole == "self.write") {
        arrive(Danger::page, node, given(0, "chunk"));
    }
    if (m_names.imports("tornado") && whole == "self.redirect") {
        arrive(Danger::redirect, node, given(0, "url"));
    }
}

bool Analysis::bringsNames(const std::vector<Argument>& arguments) const {
    const Argument* names = argument(arguments, 1, "globals");
    if (names == nullptr) return false;
    if (m_tree.is(names->node, "none")) return false;
    const std::string_view of = textOf(m_tree.child(names->node, "function"));
    return of != "globals" && of != "locals" && of != "vars";
}

bool Analysis::showsMarkup(const std::vector<Argument>& arguments) const {
    return std::ranges::none_of(arguments, [&](const Argument& each) {
        return text::isOneOf(each.name, kTypeArguments) &&
               textOf(each.node).find("html") == std::string_view::npos;
    });
}

} // namespace trevix::python_flow
