#include "critics/syntax/syntax_reader.h"

#include "critics/syntax/grammar_table.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace trevix {

namespace {

struct ParserDeleter {
    void operator()(TSParser* parser) const { ts_parser_delete(parser); }
};
struct TreeDeleter {
    void operator()(TSTree* tree) const { ts_tree_delete(tree); }
};

/// A walk over the nodes of a tree, without recursion: hostile text nests as deep as it is long.
class Walk {
public:
    explicit Walk(TSNode root) : m_cursor(ts_tree_cursor_new(root)) {}
    ~Walk() { ts_tree_cursor_delete(&m_cursor); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    [[nodiscard]] TSNode node() const { return ts_tree_cursor_current_node(&m_cursor); }
    [[nodiscard]] bool intoChildren() { return ts_tree_cursor_goto_first_child(&m_cursor); }
    /// To what follows the node and everything in it; false at the end of the tree.
    [[nodiscard]] bool past() {
        while (!ts_tree_cursor_goto_next_sibling(&m_cursor)) {
            if (!ts_tree_cursor_goto_parent(&m_cursor)) return false;
        }
        return true;
    }
    [[nodiscard]] bool toSibling() { return ts_tree_cursor_goto_next_sibling(&m_cursor); }
    [[nodiscard]] bool toParent() { return ts_tree_cursor_goto_parent(&m_cursor); }
    /// What the node is to its parent; empty where the grammar gives that no name.
    [[nodiscard]] std::string_view field() const {
        const char* name = ts_tree_cursor_current_field_name(&m_cursor);
        return name == nullptr ? std::string_view() : std::string_view(name);
    }

private:
    TSTreeCursor m_cursor;
};

SyntaxFault faultAt(TSNode node) {
    SyntaxFault fault;
    // A missing node takes no room: it stands where something should have been.
    fault.offset = ts_node_start_byte(node);
    if (ts_node_is_missing(node)) {
        fault.kind = SyntaxFault::Kind::missing;
        fault.missing = ts_node_type(node);
    } else {
        fault.length = ts_node_end_byte(node) - fault.offset;
    }
    return fault;
}

std::vector<SyntaxFault> faultsIn(TSNode root) {
    constexpr TSSymbol kError = std::numeric_limits<TSSymbol>::max(); // the same in every grammar
    std::vector<SyntaxFault> faults;
    Walk walk(root);
    // Asked of the root first: text without faults is walked not at all.
    bool more = ts_node_has_error(root);
    while (more && faults.size() < kMostFaults) {
        const TSNode node = walk.node();
        if (ts_node_is_missing(node) || ts_node_symbol(node) == kError) {
            faults.push_back(faultAt(node));
            // What is within an error follows from it, and is passed over.
            more = walk.past();
        } else {
            // Only branches that hold errors are entered.
            more = (ts_node_has_error(node) && walk.intoChildren()) || walk.past();
        }
    }
    return faults;
}

SyntaxTree treeOf(TSNode root) {
    SyntaxTree tree;
    Walk walk(root);
    SyntaxTree::Index parent = 0;
    while (true) {
        const TSNode node = walk.node();
        const auto index = static_cast<SyntaxTree::Index>(tree.nodes.size());
        tree.nodes.push_back({ts_node_type(node), walk.field(), ts_node_start_byte(node),
                              ts_node_end_byte(node), index + 1, parent, ts_node_is_named(node)});
        if (walk.intoChildren()) {
            parent = index;
            continue;
        }
        while (!walk.toSibling()) {
            // All that is inside `parent` is known by now.
            if (!walk.toParent()) return tree;
            tree.nodes[parent].behind = static_cast<SyntaxTree::Index>(tree.nodes.size());
            parent = tree.nodes[parent].parent;
        }
    }
}

} // namespace

SyntaxReading readSyntax(std::string_view grammar, std::string_view text,
                         std::chrono::microseconds limit, Wanted wanted) {
    const auto known = grammars();
    const auto found = std::ranges::find(known, grammar, &Grammar::name);
    if (found == known.end()) return {};
    // See kLongestText for what the library does beyond it.
    if (text.size() > kLongestText) return {SyntaxReading::Outcome::tooLong, {}, {}};

    const std::unique_ptr<TSParser, ParserDeleter> parser(ts_parser_new());
    // A grammar made for another library than this one is as good as none.
    if (!ts_parser_set_language(parser.get(), found->language())) return {};
    ts_parser_set_timeout_micros(parser.get(), static_cast<std::uint64_t>(limit.count()));
    const std::unique_ptr<TSTree, TreeDeleter> tree(ts_parser_parse_string(
        parser.get(), nullptr, text.data(), static_cast<std::uint32_t>(text.size())));
    // It gives a null tree for no other reason here than the time.
    if (!tree) return {SyntaxReading::Outcome::outOfTime, {}, {}};
    const TSNode root = ts_tree_root_node(tree.get());
    return {SyntaxReading::Outcome::read, faultsIn(root),
            wanted == Wanted::tree ? treeOf(root) : SyntaxTree()};
}

std::vector<GrammarInfo> knownGrammars() {
    std::vector<GrammarInfo> known;
    for (const Grammar& grammar : grammars()) known.push_back({grammar.name, grammar.package});
    return known;
}

} // namespace trevix
