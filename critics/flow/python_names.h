// The names of a Python program: what a name stands for, by the imports of its text.
//
// Pure; any thread. The text and the tree must outlive it.

#pragma once

#include "critics/syntax/syntax_tree.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace trevix {

class PythonNames {
public:
    PythonNames(const SyntaxTree& tree, std::string_view text);

    /// What an expression of names and dots stands for: "os.system" for `system` after "from os
    /// import system". A call within ends in "()", anything else is "?"; of more than eight names
    /// the last eight. Empty for kNone.
    [[nodiscard]] std::string full(SyntaxTree::Index node) const;

    /// Whether a module of that name, or one within it, is imported anywhere.
    [[nodiscard]] bool imports(std::string_view module) const;

private:
    void readImport(SyntaxTree::Index node);
    void readImportFrom(SyntaxTree::Index node);

    const SyntaxTree& m_tree;
    std::string_view m_text;
    std::unordered_map<std::string_view, std::string> m_names;
    std::unordered_map<std::string, bool> m_modules; ///< Each with those around it.
};

/// The first named node right inside that is no comment; kNone without any.
[[nodiscard]] SyntaxTree::Index firstNamed(const SyntaxTree& tree, SyntaxTree::Index node);

/// The name of a parameter, a child of "parameters"; empty for what has none, as the bare star.
[[nodiscard]] std::string_view parameterName(const SyntaxTree& tree, std::string_view text,
                                             SyntaxTree::Index parameter);

} // namespace trevix
