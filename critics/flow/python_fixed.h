// Which of the texts that a Python program runs stand in the program itself.
//
// A text is fixed where nobody but the author decides what it says: words in quotes, names that are
// given nothing else, a choice among such, what is put together of them, and what was quoted for a
// shell. A parameter of a function that is private by its name is what the calls of this text hand
// over; of another function it may be anything. But a command that a function is given by that name
// and hands on as it came is its caller's, and a program that `exec` loads from a file is the
// file's.
//
// Pure; any thread. Linear in the tree; nothing deeper than `kMostFlowDepth` levels is looked into.

#pragma once

#include "critics/syntax/syntax_tree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

/// The calls that run a text as code or have a shell run it, where that text is fixed or where they
/// hand over none: the offset of the bracket of each, in their order. `tree` is that of `text` by
/// the grammar "python"; an empty one has no calls.
[[nodiscard]] std::vector<std::size_t> pythonFixedRuns(const SyntaxTree& tree,
                                                       std::string_view text);

} // namespace trevix
