#include "critics/flow/python_flow.h"

#include "critics/flow/python_names.h"
#include "critics/flow/python_sinks.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

using Index = SyntaxTree::Index;
constexpr Index kNone = SyntaxTree::kNone;

/// One bit for each danger.
using Dangers = std::uint16_t;
constexpr Dangers kAll = 0xffff;

constexpr Dangers bit(Danger danger) {
    return static_cast<Dangers>(1U << static_cast<unsigned>(danger));
}
constexpr Dangers bits(std::initializer_list<Danger> dangers) {
    Dangers all = 0;
    for (const Danger danger : dangers) all = static_cast<Dangers>(all | bit(danger));
    return all;
}

/// A program of the command line opens what it is told to; only what runs is asked about.
constexpr Dangers kOfPerson = bits({Danger::code, Danger::command, Danger::query});
/// What is decided by the host of an address.
constexpr Dangers kWhereTo = bits({Danger::address, Danger::redirect});
constexpr Dangers kOfNetwork = bits({Danger::code, Danger::command, Danger::query, Danger::load});

/// Where something comes in. Number 0 is nobody's.
struct Source {
    Origin origin = Origin::request;
    std::size_t offset = 0;
    std::string_view name;
    Dangers dangers = 0;
    /// The parameter of the function that is looked at, counted from 1, while its callers are not
    /// known; else 0.
    std::size_t parameter = 0;
};

/// What is known of a value.
struct Value {
    enum class Kind : std::uint8_t {
        plain,
        request, ///< The object of a request itself.
        file,    ///< A file that came with a request.
        path,    ///< An object that opens the file that it names.
        words,   ///< A list that begins with a word of the program's own, and with no shell.
    };
    std::uint32_t source = 0;
    Dangers safe = 0; ///< Dangers that are no more, or that `checks` takes away.
    Kind kind = Kind::plain;
    /// Whether the stranger's text stands at its beginning, or behind so little that it decides
    /// all.
    bool leads = true;
    Index built = kNone;      ///< Where it was put together last.
    std::uint32_t checks = 0; ///< It says whether the text of that source is as it should be.
    std::string_view head;    ///< The words in quotes that it begins with.

    [[nodiscard]] bool isOfStranger() const { return source != 0; }
};

Value joined(const Value& a, const Value& b) {
    if (!a.isOfStranger()) {
        Value value = b;
        if (!b.isOfStranger()) value.head = a.head;
        if (!b.isOfStranger() && a.kind != Value::Kind::plain) value.kind = a.kind;
        return value;
    }
    if (!b.isOfStranger()) return a;
    Value value = a;
    // Of two, the one that can do more.
    if (std::popcount(a.safe) > std::popcount(b.safe)) value = b;
    value.leads = a.leads || b.leads;
    return value;
}

/// Whether an address that begins so may still lead to any host.
bool leavesHostOpen(std::string_view head) {
    if (head.empty()) return true;
    if (head == "/" || head == "http:" || head == "https:") return true;
    const std::size_t slashes = head.find("//");
    const bool address =
        slashes == 0 || head.starts_with("http://") || head.starts_with("https://");
    return address && head.find('/', slashes + 2) == std::string_view::npos;
}

/// What a call of a function of the same text does with what it is given.
struct Summary {
    struct Arrival {
        Flow flow;
        Dangers safe = 0;
        std::size_t parameter = 0;
    };
    std::vector<Arrival> arrivals;
    /// For each parameter, whether it comes back, and what it can no longer do then.
    std::vector<std::pair<bool, Dangers>> passes;
    Value gives; ///< Of a stranger, whatever the arguments are.
};

struct Function {
    Index node = kNone;
    std::string_view name;
    std::vector<std::string_view> parameters;
    bool method = false;
    bool answersPage = false;  ///< What it returns is shown by a browser.
    bool answersEvent = false; ///< It answers with a page among other things.
    Summary summary;
};

struct Argument {
    std::string_view name; ///< Empty for those by place.
    Index node = kNone;
    Value value;
};

std::string_view inner(std::string_view literal) {
    const std::size_t quote = literal.find_first_of("\"'");
    if (quote == std::string_view::npos) return {};
    literal.remove_prefix(quote);
    const std::size_t marks =
        literal.starts_with("\"\"\"") || literal.starts_with("'''") ? 3 : std::size_t{1};
    if (literal.size() < 2 * marks) return {};
    return literal.substr(marks, literal.size() - 2 * marks);
}

class Analysis {
public:
    Analysis(const SyntaxTree& tree, std::string_view text)
        : m_tree(tree),
          m_text(text),
          m_names(tree, text),
          m_web(importsAnyOf(m_names, kWebFrameworks)),
          m_answersText(importsAnyOf(m_names, kFrameworksThatAnswerText)) {
        m_sources.emplace_back();
        m_checked.push_back(0);
    }

    std::vector<Flow> run() {
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
        const auto [first, last] = std::ranges::unique(m_flows, [](const Flow& a, const Flow& b) {
            return a.offset == b.offset && a.danger == b.danger;
        });
        m_flows.erase(first, last);
        return std::move(m_flows);
    }

private:
    using Values = std::unordered_map<std::string_view, Value>;
    /// What a name, or the check of a source, was before it changed.
    struct Change {
        std::string_view name;
        std::uint32_t source = 0;
        Value before;
        Dangers checkedBefore = 0;
    };
    /// What stands at the end of one way through a statement.
    struct Way {
        std::vector<std::pair<std::string_view, Value>> values;
        std::vector<std::pair<std::uint32_t, Dangers>> checked;
    };
    struct Loop {
        std::size_t start = 0; ///< Of what has changed since.
        std::vector<Way> exits;
    };
    /// The sources whose text is as it should be where a condition holds, and where it does not.
    struct Check {
        std::uint32_t source = 0;
        Dangers dangers = kAll;
    };
    struct Checks {
        std::vector<Check> whenTrue;
        std::vector<Check> whenFalse;
    };

    [[nodiscard]] std::string_view textOf(Index node) const { return m_tree.textOf(node, m_text); }

    // ---- what there is ----

    void collectFunctions() {
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
                if (m_tree[p].named) function.parameters.push_back(parameterName(p));
            }
            m_byName.emplace(function.name, m_functions.size());
            m_functions.push_back(std::move(function));
        }
    }

    [[nodiscard]] std::string_view parameterName(Index node) const {
        if (m_tree.is(node, "identifier")) return textOf(node);
        const Index name = m_tree.child(node, "name");
        if (name != kNone) return textOf(name);
        const Index first = m_tree.firstChild(node);
        return m_tree.is(first, "identifier") ? textOf(first) : std::string_view();
    }

    /// The words of the address that a decorator binds the function to; kNone without any.
    [[nodiscard]] Index routeOf(Index decorated) const {
        for (Index at = m_tree.firstChild(decorated); at != kNone; at = m_tree.nextSibling(at)) {
            if (!m_tree.is(at, "decorator")) continue;
            for (Index call = m_tree.firstChild(at); call != kNone;
                 call = m_tree.nextSibling(call)) {
                if (!m_tree.is(call, "call")) continue;
                const Index attribute = m_tree.child(m_tree.child(call, "function"), "attribute");
                if (!text::isOneOf(textOf(attribute), kRouters)) continue;
                const Index arguments = m_tree.child(call, "arguments");
                for (Index a = arguments == kNone ? kNone : m_tree.firstChild(arguments);
                     a != kNone; a = m_tree.nextSibling(a)) {
                    if (m_tree.is(a, "string")) {
                        return inner(textOf(a)).starts_with('/') ? a : kNone;
                    }
                }
            }
        }
        return kNone;
    }

    /// Whether a class around it serves HTTP by the library's own server.
    [[nodiscard]] bool isInHandler(Index node) const {
        const Index body = m_tree[node].parent;
        const Index owner = m_tree.is(body, "decorated_definition")
                                ? m_tree[m_tree[body].parent].parent
                                : m_tree[body].parent;
        if (!m_tree.is(owner, "class_definition")) return false;
        return textOf(m_tree.child(owner, "superclasses")).find("HTTPRequestHandler") !=
               std::string_view::npos;
    }

    std::uint32_t source(const Source& found) {
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

    Value taken(Index node, Origin origin, Dangers dangers = kAll) {
        Value value;
        value.source = source({origin, m_tree[node].begin, textOf(node), dangers, 0});
        return value;
    }

    void look(Function& function) {
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

    void bindParameters(Function& function) {
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

    /// Whether a parameter may be a text by what is written of its type.
    [[nodiscard]] bool isText(Index parameter) const {
        const std::string_view type = textOf(m_tree.child(parameter, "type"));
        return type.empty() || type.find("str") != std::string_view::npos ||
               type.find("bytes") != std::string_view::npos || type == "dict" || type == "Any";
    }

    [[nodiscard]] bool isMadeByFramework(Index parameter) const {
        const std::string_view given = textOf(m_tree.child(parameter, "value"));
        return given.starts_with("Depends") || given.starts_with("Security");
    }

    // ---- what is known at a place ----

    void set(std::string_view name, const Value& value) {
        Value& kept = m_values[name];
        m_log.push_back({name, 0, kept, 0});
        kept = value;
    }

    void check(std::uint32_t source, Dangers dangers) {
        if (source == 0) return;
        m_log.push_back({{}, source, {}, m_checked[source]});
        m_checked[source] = static_cast<Dangers>(m_checked[source] | dangers);
        m_touched.push_back(source);
    }

    void check(const std::vector<Check>& checks) {
        for (const Check& each : checks) check(each.source, each.dangers);
    }

    [[nodiscard]] Value get(std::string_view name) const {
        const auto own = m_values.find(name);
        if (own != m_values.end()) return own->second;
        if (m_function == nullptr) return {};
        const auto known = m_module.find(name);
        return known == m_module.end() ? Value() : known->second;
    }

    /// What has changed since then, as it is now.
    [[nodiscard]] Way wayFrom(std::size_t start) const {
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
            const auto [first, last] =
                std::ranges::unique(list, {}, [](const auto& entry) { return entry.first; });
            list.erase(first, last);
        };
        once(way.values);
        once(way.checked);
        return way;
    }

    void undoTo(std::size_t start) {
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

    void meet(const std::vector<Way>& ways) {
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

    // ---- statements; each says whether nothing behind it is reached from it ----

    bool block(Index node, std::size_t depth) {
        if (depth > kMostFlowDepth) return false;
        bool left = false;
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named && statement(at, depth + 1)) left = true;
        }
        return left;
    }

    bool statement(Index node, std::size_t depth) {
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
            const Index value = namedChild(node);
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
            const Index condition = namedChild(node);
            expressions(node, depth);
            if (condition != kNone) check(checksOf(condition, depth).whenTrue);
            return false;
        }
        if (kind == "expression_statement") {
            expressions(node, depth);
            return isEnd(namedChild(node));
        }
        expressions(node, depth);
        return false;
    }

    /// The first named child, or the node itself without any.
    [[nodiscard]] Index namedChildOr(Index node) const {
        const Index child = namedChild(node);
        return child == kNone ? node : child;
    }

    [[nodiscard]] Index namedChild(Index node) const {
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named && !m_tree.is(at, "comment")) return at;
        }
        return kNone;
    }

    /// Whether a call never comes back.
    [[nodiscard]] bool isEnd(Index node) const {
        if (!m_tree.is(node, "call")) return false;
        return text::isOneOf(m_names.full(m_tree.child(node, "function")), kEnds);
    }

    bool conditional(Index node, std::size_t depth) {
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

    bool loop(Index node, std::size_t depth) {
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

    bool attempt(Index node, std::size_t depth) {
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

    bool with(Index node, std::size_t depth) {
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree.is(at, "with_clause")) expressions(at, depth);
        }
        const Index body = m_tree.child(node, "body");
        return body != kNone && block(body, depth);
    }

    bool matched(Index node, std::size_t depth) {
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

    // ---- conditions ----

    [[nodiscard]] Checks checksOf(Index node, std::size_t depth) {
        Checks checks;
        if (depth > kMostFlowDepth || node == kNone) return checks;
        const std::string_view kind = m_tree[node].kind;
        if (kind == "parenthesized_expression") return checksOf(namedChild(node), depth + 1);
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

    [[nodiscard]] Checks checksOfComparison(Index node, std::size_t depth) {
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
            if (left.isOfStranger() && !right.isOfStranger() && !nothing)
                found.source = left.source;
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

    /// The source whose text a call looks at, where the call says whether it is as it should be.
    [[nodiscard]] Check checkedByCall(Index node, std::size_t depth) {
        const Index function = m_tree.child(node, "function");
        const std::string whole = m_names.full(function);
        const std::string_view name = lastName(whole);
        const Index arguments = m_tree.child(node, "arguments");
        const Index first = arguments == kNone ? kNone : namedChild(arguments);
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

    // ---- expressions ----

    void expressions(Index node, std::size_t depth) {
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named) expression(at, depth);
        }
    }

    Value allOf(Index node, std::size_t depth) {
        Value value;
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named) value = joined(value, expression(at, depth));
        }
        value.head = {};
        return value;
    }

    /// Each is looked at once, when it is first asked for: a condition is read for its values and
    /// for its checks.
    Value expression(Index node, std::size_t depth) {
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

    Value evaluated(Index node, std::size_t depth) {
        const std::string_view kind = m_tree[node].kind;
        if (kind == "identifier") return named(node);
        if (kind == "string") return literal(node, depth);
        if (kind == "call") return call(node, depth);
        if (kind == "attribute") return attribute(node, depth);
        if (kind == "subscript") return subscript(node, depth);
        if (kind == "assignment") return assignment(node, depth);
        if (kind == "augmented_assignment") {
            const Index left = m_tree.child(node, "left");
            Value value =
                put(expression(left, depth), expression(m_tree.child(node, "right"), depth));
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
            return joined(expression(m_tree.child(node, "left"), depth),
                          expression(m_tree.child(node, "right"), depth));
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
            const Index first = namedChild(node);
            const bool program =
                first == kNone || (!isShell(first) && !expression(first, depth).isOfStranger());
            value.kind = program ? Value::Kind::words : Value::Kind::plain;
            return value;
        }
        if (kind == "parenthesized_expression" || kind == "await" || kind == "yield") {
            const Index only = namedChild(node);
            return only == kNone ? Value() : expression(only, depth);
        }
        if (kind == "list_comprehension" || kind == "set_comprehension" ||
            kind == "generator_expression" || kind == "dictionary_comprehension") {
            return comprehension(node, depth);
        }
        if (kind == "keyword_argument" || kind == "pair") {
            if (kind == "pair") expression(m_tree.child(node, "key"), depth);
            return expression(m_tree.child(node, "value"), depth);
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

    Value named(Index node) {
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

    /// One text behind another.
    static Value put(const Value& left, const Value& right) {
        Value value = joined(left, right);
        value.head = left.head;
        if (!left.isOfStranger() && right.isOfStranger()) {
            value.leads = !left.head.empty() && leavesHostOpen(left.head);
        } else if (left.isOfStranger()) {
            value.leads = left.leads;
        }
        value.kind = left.kind == Value::Kind::words ? left.kind : Value::Kind::plain;
        return value;
    }

    /// A text with places for values.
    static Value filled(const Value& form, const Value& values, std::string_view mark) {
        Value value = joined(form, values);
        value.head = form.head.substr(0, form.head.find(mark));
        if (values.isOfStranger() && !form.isOfStranger()) {
            value.leads = form.head.empty()
                              ? false
                              : form.head.starts_with(mark) || leavesHostOpen(value.head);
        }
        value.kind = Value::Kind::plain;
        return value;
    }

    Value literal(Index node, std::size_t depth) {
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

    [[nodiscard]] std::string_view beforeFirst(Index string, Index interpolation) const {
        const std::string_view all =
            m_text.substr(m_tree[string].begin, m_tree[interpolation].begin - m_tree[string].begin);
        std::size_t begin = all.find_first_of("\"'");
        if (begin == std::string_view::npos) return {};
        const std::string_view marks = all.substr(begin, 3);
        begin += marks == "\"\"\"" || marks == "'''" ? std::size_t{3} : 1;
        return begin <= all.size() ? all.substr(begin) : std::string_view();
    }

    Value assignment(Index node, std::size_t depth) {
        const Index right = m_tree.child(node, "right");
        const Index left = m_tree.child(node, "left");
        if (right == kNone) return {};
        const Value value = expression(right, depth);
        assign(left, right, value, depth);
        return value;
    }

    [[nodiscard]] bool isListOfTargets(Index node) const {
        return m_tree.is(node, "pattern_list") || m_tree.is(node, "tuple_pattern") ||
               m_tree.is(node, "list_pattern") || m_tree.is(node, "expression_list") ||
               m_tree.is(node, "tuple");
    }

    void assign(Index left, Index right, const Value& value, std::size_t depth) {
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

    [[nodiscard]] std::size_t namedCount(Index node) const {
        std::size_t count = 0;
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree[at].named) ++count;
        }
        return count;
    }

    /// Whether it is "name['words']" or "name[3]".
    [[nodiscard]] bool isKey(Index subscript) const {
        const Index key = m_tree.child(subscript, "subscript");
        return m_tree.is(key, "string") || m_tree.is(key, "integer");
    }

    /// "response.headers['X-Name'] = value"
    void intoHeader(Index left, const Value& value, std::size_t depth) {
        const Index object = m_tree.child(left, "value");
        if (!m_tree.is(object, "attribute")) return;
        const std::string_view last = textOf(m_tree.child(object, "attribute"));
        if (last != "headers" || !m_web) return;
        arrive(Danger::output, m_tree[left].parent, value);
        const Index key = m_tree.child(left, "subscript");
        if (key != kNone) arrive(Danger::output, m_tree[left].parent, expression(key, depth));
    }

    Value chosen(Index node, std::size_t depth) {
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
        return joined(under(parts[0], checks.whenTrue), under(parts[2], checks.whenFalse));
    }

    Value comprehension(Index node, std::size_t depth) {
        const std::size_t start = m_log.size();
        for (Index at = m_tree.firstChild(node); at != kNone; at = m_tree.nextSibling(at)) {
            if (m_tree.is(at, "for_in_clause")) {
                const Value value = expression(m_tree.child(at, "right"), depth);
                assign(m_tree.child(at, "left"), kNone, value, depth);
            } else if (m_tree.is(at, "if_clause")) {
                const Index condition = namedChild(at);
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

    Value attribute(Index node, std::size_t depth) {
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
            if (text::isOneOf(name, kCapitalParts) ||
                (m_web && text::isOneOf(name, kRequestParts))) {
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

    Value subscript(Index node, std::size_t depth) {
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

    /// The same source, by a name that says more of it.
    Value again(Value value, Index node) {
        const Source& whole = m_sources[value.source];
        if (whole.parameter != 0 || whole.offset != m_tree[node].begin) return value;
        Source part = whole;
        part.name = textOf(node);
        value.source = source(part);
        return value;
    }

    // ---- calls ----

    Value call(Index node, std::size_t depth) {
        const Index function = m_tree.child(node, "function");
        const std::string whole = m_names.full(function);
        const std::string_view last = lastName(whole);
        Value receiver;
        if (m_tree.is(function, "attribute")) {
            const auto known = m_values.find(textOf(function));
            receiver = known != m_values.end()
                           ? known->second
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
                arguments.push_back(
                    {keyword ? textOf(m_tree.child(at, "name")) : std::string_view(), value,
                     expression(value, depth)});
            }
        }
        sinks(node, whole, last, receiver, arguments);
        if (const auto own = incoming(node, whole, last, receiver, arguments)) return *own;
        if (const Value given = fromOwnFunction(whole, last, arguments); given.source != 0) {
            return given;
        }
        return outcome(node, whole, last, receiver, arguments, depth);
    }

    [[nodiscard]] static const Argument* argument(const std::vector<Argument>& arguments,
                                                  std::size_t place, std::string_view name) {
        std::size_t at = 0;
        for (const Argument& each : arguments) {
            if (each.name.empty() ? at++ == place : each.name == name) return &each;
        }
        return nullptr;
    }

    /// What a call brings in from outside; absent where it is another call.
    std::optional<Value> incoming(Index node, std::string_view whole, std::string_view last,
                                  const Value& receiver, const std::vector<Argument>& arguments) {
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

    Value fromOwnFunction(std::string_view whole, std::string_view last,
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

    /// What comes back from a call of something that is not of this text.
    Value outcome(Index node, std::string_view whole, std::string_view last, const Value& receiver,
                  const std::vector<Argument>& arguments, std::size_t depth) {
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
            return cleaned(receiver,
                           replaced(arguments.empty() ? std::string_view()
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

    /// What a text can no longer do once that has been taken out of it.
    static Dangers replaced(std::string_view taken) {
        if (taken == "\\n" || taken == "\\r" || taken == "\\r\\n") return bit(Danger::output);
        if (taken == "<") return bit(Danger::page);
        if (taken == "'" || taken == "\\'" || taken == "\"") return bit(Danger::query);
        return 0;
    }

    // ---- where it ends up ----

    void arrive(Danger danger, Index place, const Value& value) {
        Flow flow;
        flow.danger = danger;
        flow.offset = m_tree[place].begin;
        flow.length = m_tree[place].end - m_tree[place].begin;
        arriveAt(flow, value);
    }

    void arriveAt(Flow flow, const Value& value) {
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

    void returned(Index node, const Value& value) {
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
            shown = namedChild(node);
            what = shown == kNone ? Value() : expression(shown, 0);
        }
        if (m_tree.is(shown, "dictionary") || m_tree.is(shown, "list")) return;
        arrive(Danger::page, node, what);
    }

    [[nodiscard]] bool isShell(Index word) const {
        const std::string_view name = inner(textOf(word));
        return m_tree.is(word, "string") &&
               text::isOneOf(name.substr(name.rfind('/') + 1), kShells);
    }

    /// "words.append(text)": what is put into a list, a set or a dictionary.
    void fill(Index node, std::string_view last, const Value& receiver,
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

    void sinks(Index node, std::string_view whole, std::string_view last, const Value& receiver,
               const std::vector<Argument>& arguments) {
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
            arrive(sink.danger, node, given(sink.argument, sink.keyword));
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
        if (last == "exec_command") arrive(Danger::command, node, given(0, "command"));
        if (last == "from_string") arrive(Danger::code, node, given(0, "source"));
        if (text::isOneOf(last, kDirectorySearches) &&
            (m_names.imports("ldap") || m_names.imports("ldap3"))) {
            arrive(Danger::query, node, any());
        }
        if (text::isOneOf(last, kTreeSearches) && importsAnyOf(m_names, kTreeModules)) {
            const Value path = given(0, "path");
            // A name that is looked up by itself is no path put together.
            if (path.isOfStranger() &&
                (last == "xpath" || last == "select" || !path.head.empty())) {
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

    /// Whether what an answer holds is shown as a page, by the type that it is given.
    [[nodiscard]] bool showsMarkup(const std::vector<Argument>& arguments) const {
        return std::ranges::none_of(arguments, [&](const Argument& each) {
            return text::isOneOf(each.name, kTypeArguments) &&
                   textOf(each.node).find("html") == std::string_view::npos;
        });
    }

    const SyntaxTree& m_tree;
    std::string_view m_text;
    PythonNames m_names;
    bool m_web;
    bool m_answersText;
    bool m_handler = false;
    bool m_final = false;
    std::vector<Function> m_functions;
    std::unordered_map<std::string_view, std::size_t> m_byName;
    Function* m_function = nullptr;
    std::vector<Source> m_sources;
    std::map<std::tuple<Index, std::size_t, std::string_view>, std::uint32_t> m_sourceByName;
    std::vector<Dangers> m_checked; ///< By source.
    std::vector<std::uint32_t> m_touched;
    std::vector<bool> m_known; ///< By node: whether `m_memo` has its value.
    std::vector<Value> m_memo;
    Values m_values;
    Values m_module;
    std::vector<Change> m_log;
    std::vector<Loop> m_loops; ///< Those around what is looked at.
    std::vector<Flow> m_flows;
};

} // namespace

std::vector<Flow> pythonFlows(const SyntaxTree& tree, std::string_view text) {
    return Analysis(tree, text).run();
}

} // namespace trevix
