// The grammars that this build was made with.

#pragma once

#include <iterator>
#include <span>
#include <string_view>
#include <tree_sitter/api.h>

namespace trevix {

struct Grammar {
    std::string_view name;    ///< As its package says: "python", "c_sharp".
    std::string_view package; ///< "tree-sitter-python@0.20.4".
    const TSLanguage* (*language)() = nullptr;
};

/// In the order of their names; empty when the build found none.
[[nodiscard]] std::span<const Grammar> grammars();

} // namespace trevix
