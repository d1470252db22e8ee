// A text as the tree that the grammar of its language makes of it: a value, without the parser.
//
// Node 0 is the whole text. Nodes stand in the order of the text, each before what it holds, so
// that what is inside node `i` are the nodes behind it up to `nodes[i].behind`. The names are the
// grammar's own ("call", "identifier") and constants of the program; the text is not part of it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

namespace trevix {

struct SyntaxNode {
    std::string_view kind;
    std::string_view field;   ///< What it is to its parent: "left"; empty where that says nothing.
    std::uint32_t begin = 0;  ///< Offset in bytes.
    std::uint32_t end = 0;    ///< Behind its last byte.
    std::uint32_t behind = 0; ///< Index of the first node that is not inside it.
    std::uint32_t parent = 0; ///< The root's is itself.
    bool named = false;       ///< Not so for marks and keywords.
};

class SyntaxTree {
public:
    using Index = std::uint32_t;
    static constexpr Index kNone = std::numeric_limits<Index>::max();

    std::vector<SyntaxNode> nodes; ///< Empty for a text that was not read.

    [[nodiscard]] const SyntaxNode& operator[](Index index) const { return nodes[index]; }

    /// The first node right inside `index`; kNone without any.
    [[nodiscard]] Index firstChild(Index index) const {
        return index + 1 < nodes[index].behind ? index + 1 : kNone;
    }
    /// The next one with the same parent; kNone for the last.
    [[nodiscard]] Index nextSibling(Index index) const {
        const Index next = nodes[index].behind;
        return index != 0 && next < nodes[nodes[index].parent].behind ? next : kNone;
    }
    /// The first child that is that to its parent; kNone without one, and for kNone.
    [[nodiscard]] Index child(Index index, std::string_view field) const {
        if (index == kNone) return kNone;
        for (Index at = firstChild(index); at != kNone; at = nextSibling(at)) {
            if (nodes[at].field == field) return at;
        }
        return kNone;
    }
    /// Whether it is there and of that kind.
    [[nodiscard]] bool is(Index index, std::string_view kind) const {
        return index != kNone && nodes[index].kind == kind;
    }
    /// Its piece of the text that the tree was made of; empty for kNone.
    [[nodiscard]] std::string_view textOf(Index index, std::string_view text) const {
        if (index == kNone) return {};
        return text.substr(nodes[index].begin, nodes[index].end - nodes[index].begin);
    }
};

} // namespace trevix
