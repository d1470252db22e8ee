// The walk through a Python program that follows what strangers write: one text, one time.
//
// Statements are walked in their order, with what is known of each name and of each source at that
// place. What changes is written down in a log: a branch is taken back once it has been walked, and
// where branches meet again, what was known at the end of each is joined. Each expression has one
// value, found when it is first asked for. Functions are walked by themselves, twice: first with
// nothing known of their callers, for a summary of what they do with each parameter, then with the
// summaries of the others, and it is then that flows are kept.
//
// One thread at a time. The tree and its text must outlive it.

#pragma once

#include "critics/flow/flow.h"
#include "critics/flow/python_flow_values.h"
#include "critics/flow/python_names.h"
#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace trevix::python_flow {

class Analysis {
public:
    /// `tree` is that of `text` by the grammar "python".
    Analysis(const SyntaxTree& tree, std::string_view text);

    /// Sorted by place, one for each danger of a place; none of an empty tree. To be called once.
    [[nodiscard]] std::vector<Flow> run();

private:
    using Values = std::unordered_map<std::string_view, Value>;
    /// What a name, or the check of a source, was before it changed.
    struct Change {
        std::string_view name;
        std::uint32_t source = 0; ///< 0 for a name.
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

    // The tree and what there is in it: python_flow.cpp

    [[nodiscard]] std::string_view textOf(Index node) const { return m_tree.textOf(node, m_text); }
    /// The first named child, or the node itself without any.
    [[nodiscard]] Index namedChildOr(Index node) const;
    void collectFunctions();
    /// The words of the address that a decorator binds the function to; kNone without any.
    [[nodiscard]] Index routeOf(Index decorated) const;
    /// Whether a class around it serves HTTP by the library's own server.
    [[nodiscard]] bool isInHandler(Index node) const;
    /// The number of a source, a new one where it is not known yet.
    std::uint32_t source(const Source& found);
    /// What comes in at that node.
    Value taken(Index node, Origin origin, Dangers dangers = kAll);
    /// Walks a function and notes in its summary what it does.
    void look(Function& function);
    void bindParameters(Function& function);
    /// Whether a parameter may be a text by what is written of its type.
    [[nodiscard]] bool isText(Index parameter) const;
    [[nodiscard]] bool isMadeByFramework(Index parameter) const;

    // What is known at a place: python_flow_statements.cpp

    void set(std::string_view name, const Value& value);
    /// The text of that source is as it should be from here on. Nothing for source 0.
    void check(std::uint32_t source, Dangers dangers);
    void check(const std::vector<Check>& checks);
    [[nodiscard]] Value get(std::string_view name) const;
    /// What has changed since then, as it is now. `start` is a length of the log, as in `undoTo`.
    [[nodiscard]] Way wayFrom(std::size_t start) const;
    void undoTo(std::size_t start);
    /// Goes on behind all of these ways, the log being where they began.
    void meet(const std::vector<Way>& ways);

    // Statements; each says whether nothing behind it is reached from it: the same

    bool block(Index node, std::size_t depth);
    bool statement(Index node, std::size_t depth);
    /// Whether a call never comes back.
    [[nodiscard]] bool isEnd(Index node) const;
    bool conditional(Index node, std::size_t depth);
    bool loop(Index node, std::size_t depth);
    bool attempt(Index node, std::size_t depth);
    bool with(Index node, std::size_t depth);
    bool matched(Index node, std::size_t depth);

    // Conditions: python_flow_conditions.cpp

    [[nodiscard]] Checks checksOf(Index node, std::size_t depth);
    [[nodiscard]] Checks checksOfComparison(Index node, std::size_t depth);
    /// The source whose text a call looks at, where the call says whether it is as it should be.
    [[nodiscard]] Check checkedByCall(Index node, std::size_t depth);

    // Expressions: python_flow_expressions.cpp

    /// Looks at each that stands right inside.
    void expressions(Index node, std::size_t depth);
    /// Those right inside, joined.
    Value allOf(Index node, std::size_t depth);
    /// Each is looked at once, when it is first asked for: a condition is read for its values and
    /// for its checks. Nobody's for kNone.
    Value expression(Index node, std::size_t depth);
    Value evaluated(Index node, std::size_t depth);
    Value named(Index node);
    Value literal(Index node, std::size_t depth);
    /// The words of a literal before its first value.
    [[nodiscard]] std::string_view beforeFirst(Index string, Index interpolation) const;
    Value assignment(Index node, std::size_t depth);
    [[nodiscard]] bool isListOfTargets(Index node) const;
    /// `right` is kNone where `value` is all that is known.
    void assign(Index left, Index right, const Value& value, std::size_t depth);
    [[nodiscard]] std::size_t namedCount(Index node) const;
    /// Whether it is "name['words']" or "name[3]".
    [[nodiscard]] bool isKey(Index subscript) const;
    /// "response.headers['X-Name'] = value"
    void intoHeader(Index left, const Value& value, std::size_t depth);
    Value chosen(Index node, std::size_t depth);
    Value comprehension(Index node, std::size_t depth);
    Value attribute(Index node, std::size_t depth);
    Value subscript(Index node, std::size_t depth);
    /// The same source, by a name that says more of it.
    Value again(Value value, Index node);

    // Calls: python_flow_calls.cpp. `whole` is what the called name stands for, `last` what is
    // behind its last dot, `receiver` what stands before that.

    Value call(Index node, std::size_t depth);
    /// What a call brings in from outside; absent where it is another call.
    std::optional<Value> incoming(Index node, std::string_view whole, std::string_view last,
                                  const Value& receiver, const std::vector<Argument>& arguments);
    /// What comes back from a function of this text, by its summary; nobody's for another.
    Value fromOwnFunction(std::string_view whole, std::string_view last,
                          const std::vector<Argument>& arguments);
    /// What comes back from a call of something that is not of this text.
    Value outcome(Index node, std::string_view whole, std::string_view last, const Value& receiver,
                  const std::vector<Argument>& arguments, std::size_t depth);

    // Where it ends up: the same

    void arrive(Danger danger, Index place, const Value& value);
    void arriveAt(Flow flow, const Value& value);
    void returned(Index node, const Value& value);
    [[nodiscard]] bool isShell(Index word) const;
    /// "words.append(text)": what is put into a list, a set or a dictionary.
    void fill(Index node, std::string_view last, const Value& receiver,
              const std::vector<Argument>& arguments);
    void sinks(Index node, std::string_view whole, std::string_view last, const Value& receiver,
               const std::vector<Argument>& arguments);
    /// Whether "eval(text, names)" has names of its own, and not those of the program around it.
    [[nodiscard]] bool bringsNames(const std::vector<Argument>& arguments) const;
    /// Whether what an answer holds is shown as a page, by the type that it is given.
    [[nodiscard]] bool showsMarkup(const std::vector<Argument>& arguments) const;

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

} // namespace trevix::python_flow
