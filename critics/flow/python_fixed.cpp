#include "critics/flow/python_fixed.h"

#include "critics/flow/python_flow.h"
#include "critics/flow/python_names.h"
#include "text/one_of.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <unordered_map>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

using Index = SyntaxTree::Index;
constexpr Index kNone = SyntaxTree::kNone;

/// What gives back nothing but what it was given.
constexpr std::array<std::string_view, 18> kPassOn = {"str",          "repr",
                                                      "list",         "tuple",
                                                      "set",          "dict",
                                                      "sorted",       "reversed",
                                                      "enumerate",    "zip",
                                                      "iter",         "next",
                                                      "shlex.split",  "textwrap.dedent",
                                                      "os.path.join", "max",
                                                      "os.fsencode",  "io.TextIOWrapper"};
/// What gives back nothing that could run, whatever it was given.
constexpr std::array<std::string_view, 8> kHarmless = {
    "int", "float", "len", "ord", "bool", "shlex.quote", "pipes.quote", "hash"};
/// What a text, a list or a dictionary gives of itself.
constexpr std::array<std::string_view, 23> kParts = {
    "format", "join",       "split", "rsplit",    "strip", "lstrip", "rstrip",    "lower",
    "upper",  "title",      "keys",  "values",    "items", "encode", "decode",    "replace",
    "copy",   "splitlines", "get",   "partition", "ljust", "rjust",  "capitalize"};
/// What opens a file of this machine, wherever it stands.
constexpr std::array<std::string_view, 11> kOpeners = {
    "io.open",      "io.open_code",        "codecs.open",  "tokenize.open",
    "pathlib.Path", "pathlib.PurePath",    "Path",         "zipfile.ZipFile",
    "os.fdopen",    "importlib.open_code", "builtins.open"};
/// What such a file gives of itself.
constexpr std::array<std::string_view, 7> kReaders = {
    "read", "readline", "readlines", "read_text", "read_bytes", "open", "joinpath"};
/// What a parameter is called that is a command, all of it: who calls the function brings one.
constexpr std::array<std::string_view, 10> kCommandNames = {
    "cmd",          "command",   "cmdline",       "cmd_line",  "commandline",
    "command_line", "shell_cmd", "shell_command", "cmdstring", "cmd_str"};
/// What puts its arguments into a list or a dictionary.
constexpr std::array<std::string_view, 6> kFill = {"append", "extend", "insert",
                                                   "add",    "update", "setdefault"};
/// What the interpreter says of itself.
constexpr std::array<std::string_view, 8> kOfInterpreter = {
    "sys.executable", "sys.platform", "sys.version", "sys.prefix",
    "os.name",        "os.sep",       "os.linesep",  "os.devnull"};
constexpr std::array<std::string_view, 4> kEvaluators = {"eval", "exec", "builtins.eval",
                                                         "builtins.exec"};
constexpr std::array<std::string_view, 6> kShellCalls = {"os.system",
                                                         "os.popen",
                                                         "commands.getoutput",
                                                         "commands.getstatusoutput",
                                                         "subprocess.getoutput",
                                                         "subprocess.getstatusoutput"};

/// A constant by its name: no small letter.
bool isConstantName(std::string_view name) {
    return name.size() > 1 &&
           std::ranges::none_of(name, [](char c) { return c >= 'a' && c <= 'z'; });
}

/// Who is taken for an author beside that of the text: of a program that is read from a file,
/// whoever put it there, as with what is imported.
enum class Authors { own, ofFiles };

class Fixed {
public:
    Fixed(const SyntaxTree& tree, std::string_view text, Authors authors)
        : m_tree(tree),
          m_text(text),
          m_files(authors == Authors::ofFiles),
          m_names(tree, text) {
        collectScopes();
        collectPrivate();
        for (Index i = 0; i < m_tree.nodes.size(); ++i) bind(i);
        bindParameters();
        settle();
    }

    std::vector<std::size_t> runs() const {
        std::vector<std::size_t> found;
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            if (m_tree.is(i, "call") && isFixedRun(i)) {
                found.push_back(m_tree[m_tree.child(i, "arguments")].begin);
            }
        }
        return found;
    }

private:
    using Key = std::pair<Index, std::string_view>; ///< A function, 0 for none, and a name in it.
    struct Name {
        std::vector<std::pair<Index, Index>> values; ///< Each with the function that it stands in.
        std::vector<std::size_t> usedBy;             ///< Names whose values hold it.
        bool open = false;
    };
    /// A function whose name says that nobody calls it from elsewhere.
    struct Private {
        Index node = kNone;
        std::vector<Index> calls;
        bool known = true; ///< Whether these are all.
    };

    [[nodiscard]] std::string_view textOf(Index node) const { return m_tree.textOf(node, m_text); }

    template <class Each>
    void eachChild(Index node, Each each) const {
        for (Index at = node == kNone ? kNone : m_tree.firstChild(node); at != kNone;
             at = m_tree.nextSibling(at)) {
            each(at);
        }
    }

    // ---- the functions ----

    /// For each node the innermost function or lambda that it is in; what names and parameters of
    /// one say belongs to it as well.
    void collectScopes() {
        m_scope.assign(m_tree.nodes.size(), 0);
        std::vector<Index> around;
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            while (!around.empty() && i >= m_tree[around.back()].behind) around.pop_back();
            m_scope[i] = around.empty() ? 0 : around.back();
            if (m_tree.is(i, "function_definition") || m_tree.is(i, "lambda")) around.push_back(i);
        }
    }

    void collectPrivate() {
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            if (!m_tree.is(i, "function_definition")) continue;
            const std::string_view name = textOf(m_tree.child(i, "name"));
            if (!name.starts_with('_') || name.starts_with("__")) continue;
            const auto [at, added] = m_private.try_emplace(name);
            at->second.node = i;
            if (!added) at->second.known = false;
        }
        if (m_private.empty()) return;
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            if (!m_tree.is(i, "identifier")) continue;
            const auto known = m_private.find(textOf(i));
            if (known == m_private.end()) continue;
            const Index parent = m_tree[i].parent;
            if (m_tree.is(parent, "function_definition") && m_tree[i].field == "name") continue;
            // "_run(…)" and "self._run(…)"
            const bool method = m_tree.is(parent, "attribute") && m_tree[i].field == "attribute";
            const Index called = method ? parent : i;
            const Index call = m_tree[called].parent;
            if (m_tree.is(call, "call") && m_tree[called].field == "function") {
                known->second.calls.push_back(call);
            } else {
                known->second.known = false;
            }
        }
    }

    // ---- what names are given ----

    Name& nameOf(Index scope, std::string_view name) {
        const auto [at, added] = m_byKey.try_emplace(Key{scope, name}, m_all.size());
        if (added) m_all.emplace_back();
        return m_all[at->second];
    }

    void give(Index target, Index value) {
        if (m_tree.is(target, "identifier")) {
            nameOf(m_scope[target], textOf(target)).values.emplace_back(value, m_scope[value]);
            return;
        }
        // "words['a'] = text"
        if (m_tree.is(target, "subscript")) {
            const Index list = m_tree.child(target, "value");
            if (m_tree.is(list, "identifier")) give(list, value);
            return;
        }
        if (m_tree.is(target, "attribute")) return;
        // Each of several is given a part of it.
        eachChild(target, [&](Index part) {
            if (m_tree[part].named && !m_tree.is(part, "subscript")) give(part, value);
        });
    }

    /// Every name within may be anything.
    void open(Index node) {
        if (node == kNone) return;
        for (Index i = node; i < m_tree[node].behind; ++i) {
            if (m_tree.is(i, "identifier")) nameOf(m_scope[i], textOf(i)).open = true;
        }
    }

    void bind(Index node) {
        const std::string_view kind = m_tree[node].kind;
        if (kind == "assignment" || kind == "augmented_assignment" || kind == "for_statement" ||
            kind == "for_in_clause") {
            const Index right = m_tree.child(node, "right");
            if (right != kNone) give(m_tree.child(node, "left"), right);
        } else if (kind == "named_expression") {
            const Index name = m_tree.child(node, "name");
            const Index value = m_tree.child(node, "value");
            if (name != kNone && value != kNone) give(name, value);
        } else if (kind == "as_pattern") {
            const Index from = firstNamed(m_tree, node);
            if (isOpened(from)) {
                give(m_tree.child(node, "alias"), from);
            } else {
                open(m_tree.child(node, "alias"));
            }
        } else if (kind == "global_statement" || kind == "nonlocal_statement") {
            // Another function may change it at any time.
            open(node);
            for (Index i = node; i < m_tree[node].behind; ++i) {
                if (m_tree.is(i, "identifier")) nameOf(0, textOf(i)).open = true;
            }
        } else if (kind == "import_statement" || kind == "import_from_statement") {
            eachChild(node, [&](Index at) {
                if (m_tree[at].field != "name") return;
                const Index alias = m_tree.child(at, "alias");
                const std::string_view name = textOf(alias == kNone ? at : alias);
                Name& given = nameOf(m_scope[node], name);
                if (!isConstantName(name)) given.open = true;
            });
        } else if (kind == "call") {
            fill(node);
        }
    }

    /// Whether a call opens a file: also by a function of its own that says so,
    /// "_open_script(name)".
    [[nodiscard]] bool isOpened(Index call) const {
        if (!m_files || !m_tree.is(call, "call")) return false;
        const std::string whole = m_names.full(m_tree.child(call, "function"));
        const bool named = whole.find('.') == std::string::npos &&
                           (whole.starts_with("open") || whole.starts_with("_open"));
        return named || text::isOneOf(whole, kOpeners);
    }

    /// "words.append(text)"
    void fill(Index call) {
        const Index function = m_tree.child(call, "function");
        const Index object = m_tree.child(function, "object");
        if (!m_tree.is(object, "identifier") ||
            !text::isOneOf(textOf(m_tree.child(function, "attribute")), kFill)) {
            return;
        }
        eachChild(m_tree.child(call, "arguments"), [&](Index argument) {
            if (m_tree[argument].named) give(object, argument);
        });
    }

    void bindParameters() {
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            if (m_tree.is(i, "lambda")) open(m_tree.child(i, "parameters"));
            if (!m_tree.is(i, "function_definition")) continue;
            const auto known = m_private.find(textOf(m_tree.child(i, "name")));
            const bool own =
                known != m_private.end() && known->second.known && !known->second.calls.empty();
            if (own) {
                bindToCalls(i, known->second);
            } else {
                open(m_tree.child(i, "parameters"));
            }
        }
    }

    void bindToCalls(Index function, const Private& known) {
        std::vector<std::string_view> parameters;
        bool plain = true;
        eachChild(m_tree.child(function, "parameters"), [&](Index parameter) {
            if (!m_tree[parameter].named || m_tree.is(parameter, "comment")) return;
            parameters.push_back(parameterName(m_tree, m_text, parameter));
            plain = plain && !parameters.back().empty();
            const Index value = m_tree.child(parameter, "value");
            if (value == kNone || parameters.back().empty()) return;
            nameOf(function, parameters.back()).values.emplace_back(value, m_scope[function]);
        });
        for (const Index call : known.calls) plain = plain && handOver(function, parameters, call);
        if (!plain) open(m_tree.child(function, "parameters"));
        // What no call hands over is none of what a name around the function is given.
        for (const std::string_view parameter : parameters) {
            Name& name = nameOf(function, parameter);
            name.open = name.open || name.values.empty();
        }
    }

    /// Whether the first parameter is the object that the function is called of.
    [[nodiscard]] bool isMethod(Index function) const {
        Index around = m_tree[function].parent;
        if (m_tree.is(around, "decorated_definition")) around = m_tree[around].parent;
        return m_tree.is(m_tree[around].parent, "class_definition");
    }

    /// Whether it is a parameter of the function around that is called a command, and handed on as
    /// it came.
    [[nodiscard]] bool isCallersCommand(Index node) const {
        if (!m_tree.is(node, "identifier") || !text::isOneOf(textOf(node), kCommandNames)) {
            return false;
        }
        const Index function = m_scope[node];
        if (!m_tree.is(function, "function_definition")) return false;
        const auto known = m_byKey.find(Key{function, textOf(node)});
        if (known == m_byKey.end() || !m_all[known->second].values.empty()) return false;
        bool given = false;
        eachChild(m_tree.child(function, "parameters"), [&](Index parameter) {
            given = given || (m_tree[parameter].named &&
                              parameterName(m_tree, m_text, parameter) == textOf(node));
        });
        return given;
    }

    /// Whether it is known which parameter gets what.
    bool handOver(Index function, const std::vector<std::string_view>& parameters, Index call) {
        const bool method =
            m_tree.is(m_tree.child(call, "function"), "attribute") && isMethod(function);
        std::size_t place = method ? 1 : 0;
        bool told = true;
        const Index arguments = m_tree.child(call, "arguments");
        if (!m_tree.is(arguments, "argument_list")) return false;
        eachChild(arguments, [&](Index argument) {
            if (!m_tree[argument].named || m_tree.is(argument, "comment")) return;
            std::string_view name;
            Index value = argument;
            if (m_tree.is(argument, "keyword_argument")) {
                name = textOf(m_tree.child(argument, "name"));
                value = m_tree.child(argument, "value");
                told = told && std::ranges::find(parameters, name) != parameters.end();
            } else if (m_tree.is(argument, "list_splat") ||
                       m_tree.is(argument, "dictionary_splat") || place >= parameters.size()) {
                told = false;
            } else {
                name = parameters[place++];
            }
            if (told) nameOf(function, name).values.emplace_back(value, m_scope[call]);
        });
        return told;
    }

    // ---- what they come to ----

    /// What is given to a name may hold others: those that may be anything tell on.
    void settle() {
        std::vector<std::size_t> opened;
        for (std::size_t n = 0; n < m_all.size(); ++n) {
            const auto holds = [&](std::size_t other) { m_all[other].usedBy.push_back(n); };
            for (const auto& [value, scope] : m_all[n].values) {
                if (m_all[n].open) break;
                m_all[n].open = !parts(value, scope, holds, 0);
            }
            if (m_all[n].open) opened.push_back(n);
        }
        while (!opened.empty()) {
            const std::size_t n = opened.back();
            opened.pop_back();
            for (const std::size_t user : m_all[n].usedBy) {
                if (m_all[user].open) continue;
                m_all[user].open = true;
                opened.push_back(user);
            }
        }
    }

    /// Whether a text is fixed but for the names in it, which are told to `holds`.
    template <class Holds>
    bool parts(Index node, Index scope, const Holds& holds, std::size_t depth) const {
        if (node == kNone || ++depth > kMostFlowDepth) return false;
        const std::string_view kind = m_tree[node].kind;
        const auto part = [&](Index at) { return parts(at, scope, holds, depth); };
        const auto all = [&](Index around) {
            bool fixed = true;
            eachChild(around, [&](Index at) {
                if (m_tree[at].named && !m_tree.is(at, "comment")) fixed = fixed && part(at);
            });
            return fixed;
        };
        constexpr std::array<std::string_view, 9> kPlain = {
            "integer",     "float",    "true",  "false",
            "none",        "ellipsis", "slice", "comparison_operator",
            "not_operator"};
        constexpr std::array<std::string_view, 13> kWhole = {"concatenated_string",
                                                             "binary_operator",
                                                             "boolean_operator",
                                                             "tuple",
                                                             "list",
                                                             "parenthesized_expression",
                                                             "unary_operator",
                                                             "set",
                                                             "pair",
                                                             "dictionary",
                                                             "expression_list",
                                                             "list_splat",
                                                             "interpolation"};
        if (text::isOneOf(kind, kPlain)) return true;
        if (text::isOneOf(kind, kWhole)) return all(node);
        if (kind == "string") {
            bool fixed = true;
            eachChild(node, [&](Index at) {
                if (m_tree.is(at, "interpolation")) fixed = fixed && part(firstNamed(m_tree, at));
            });
            return fixed;
        }
        if (kind == "identifier") return isName(textOf(node), scope, holds);
        if (kind == "conditional_expression") return isChoice(node, part);
        if (kind == "subscript" || kind == "keyword_argument") {
            return part(m_tree.child(node, "value"));
        }
        if (kind == "list_comprehension" || kind == "generator_expression" ||
            kind == "set_comprehension") {
            return part(m_tree.child(node, "body"));
        }
        if (kind == "attribute") return text::isOneOf(m_names.full(node), kOfInterpreter);
        if (kind != "call") return false;
        const Index function = m_tree.child(node, "function");
        const std::string whole = m_names.full(function);
        if (text::isOneOf(whole, kHarmless)) return true;
        const Index arguments = m_tree.child(node, "arguments");
        if (text::isOneOf(whole, kPassOn)) return all(arguments);
        // The rest says where it is from and what it is for.
        if (whole == "compile" && arguments != kNone) return part(firstNamed(m_tree, arguments));
        if (isOpened(node)) return true;
        const std::string_view method = textOf(m_tree.child(function, "attribute"));
        return (text::isOneOf(method, kParts) || (m_files && text::isOneOf(method, kReaders))) &&
               part(m_tree.child(function, "object")) && all(arguments);
    }

    /// "a if new else b"
    template <class Part>
    bool isChoice(Index node, const Part& part) const {
        bool fixed = true;
        std::size_t place = 0;
        eachChild(node, [&](Index at) {
            if (!m_tree[at].named || m_tree.is(at, "comment")) return;
            if (place++ != 1) fixed = fixed && part(at);
        });
        return fixed;
    }

    /// The name as the function knows it, or one around that.
    template <class Holds>
    bool isName(std::string_view name, Index scope, const Holds& holds) const {
        for (std::size_t level = 0; level < kMostFlowDepth; ++level) {
            const auto known = m_byKey.find(Key{scope, name});
            if (known != m_byKey.end()) {
                holds(known->second);
                return !m_all[known->second].open;
            }
            if (scope == 0) break;
            scope = m_scope[scope];
        }
        return name.size() > 4 && name.starts_with("__") && name.ends_with("__");
    }

    [[nodiscard]] bool isFixed(Index node) const {
        bool fixed = true;
        const auto holds = [&](std::size_t name) { fixed = fixed && !m_all[name].open; };
        return parts(node, m_scope[node], holds, 0) && fixed;
    }

    // ---- what is run ----

    [[nodiscard]] bool isFixedRun(Index call) const {
        const Index arguments = m_tree.child(call, "arguments");
        if (!m_tree.is(arguments, "argument_list")) return false;
        const std::string whole = m_names.full(m_tree.child(call, "function"));
        std::vector<Index> places;
        Index command = kNone;
        bool shell = false;
        eachChild(arguments, [&](Index at) {
            if (!m_tree[at].named || m_tree.is(at, "comment")) return;
            if (!m_tree.is(at, "keyword_argument")) {
                places.push_back(at);
                return;
            }
            const std::string_view name = textOf(m_tree.child(at, "name"));
            const Index value = m_tree.child(at, "value");
            shell = shell || (name == "shell" && textOf(value) == "True");
            if (name == "args" || name == "cmd" || name == "command") command = value;
        });
        const bool evaluates = text::isOneOf(whole, kEvaluators);
        if (!evaluates && !shell && !text::isOneOf(whole, kShellCalls)) return false;
        // What a file holds may be a program; a value or a command of its own is none.
        if (m_files && whole != "exec" && whole != "builtins.exec") return false;
        // "partial(run, shell=True)": who calls it brings the command.
        const std::size_t first = whole.ends_with("partial") ? 1 : 0;
        if (places.size() > first) command = places[first];
        if (command == kNone) return shell;
        return isFixed(command) || (!evaluates && isCallersCommand(command));
    }

    const SyntaxTree& m_tree;
    std::string_view m_text;
    bool m_files;
    PythonNames m_names;
    std::vector<Index> m_scope; ///< By node.
    std::unordered_map<std::string_view, Private> m_private;
    std::map<Key, std::size_t> m_byKey;
    std::vector<Name> m_all;
};

} // namespace

std::vector<std::size_t> pythonFixedRuns(const SyntaxTree& tree, std::string_view text) {
    if (tree.nodes.empty()) return {};
    std::vector<std::size_t> runs = Fixed(tree, text, Authors::own).runs();
    if (text.find("exec(") == std::string_view::npos) return runs;
    const std::vector<std::size_t> loads = Fixed(tree, text, Authors::ofFiles).runs();
    std::vector<std::size_t> all;
    std::ranges::set_union(runs, loads, std::back_inserter(all));
    return all;
}

} // namespace trevix
