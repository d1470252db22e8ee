// The blocks that stand around a place of a Python text, told by the margins of its lines, without
// a tree.
//
// Pure; any thread. What is looked at is bounded.

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

/// No more than that is looked at of the whole text, and on either side of a place, in bytes: more
/// than modules that people write have, and little enough to be read for each of many doubts.
constexpr std::size_t kMostOfPython = std::size_t{256} << 10U;
constexpr std::size_t kMostAroundPython = std::size_t{64} << 10U;

struct PythonOpener {
    std::string_view line;  ///< Without its margin, and "async".
    std::size_t offset = 0; ///< Of the line.
    std::size_t margin = 0; ///< In bytes.
};

/// The lines that open the blocks around the byte `place`, the innermost first; with them the line
/// of the place itself, which may hold a block of its own.
[[nodiscard]] std::vector<PythonOpener> pythonOpenersAround(std::string_view text,
                                                            std::size_t place);

/// Whether the place is in a test: in a file that has the name of one, in a test's function or
/// class of a file that takes in what runs tests, or in a module's own `_test()`. `name` is that of
/// the file, with or without its folders; empty where it is not known.
[[nodiscard]] bool isInPythonTest(std::string_view text, std::size_t place, std::string_view name);

} // namespace trevix
