// Where a stranger's text ends up in a Python program.
//
// What comes in with a request, over a socket or from the person who runs the program is followed
// through assignments, texts put together, containers and calls, within each function and, by what
// is known of functions of the same text, from a caller into them and back. It is let go where it
// is converted, escaped for its use, or has been compared with what is known. A call of a function
// that is defined elsewhere and not known here gives nothing of a stranger's: what is reported is
// rather too little than too much.
//
// Pure; any thread. Time grows linearly with the tree; nothing deeper than `kMostFlowDepth` levels
// is looked into.

#pragma once

#include "critics/flow/flow.h"
#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

/// Levels of expressions and blocks inside one another. Chosen: programs that people write have
/// some thirty.
constexpr std::size_t kMostFlowDepth = 120;

/// Sorted by place, one for each danger of a place. `tree` is that of `text` by the grammar
/// "python"; an empty one has no flows.
[[nodiscard]] std::vector<Flow> pythonFlows(const SyntaxTree& tree, std::string_view text);

} // namespace trevix
