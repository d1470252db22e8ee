// What changed between two texts, line by line.
//
// The shortest way from one to the other (Myers), up to a number of changes: beyond it whatever
// lies between the common beginning and the common end is one change, which is right and only less
// fine. Time grows with the lines times the changes. Pure; any thread.

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

/// A run of lines that are the same, or that were taken out and put in.
struct LineChange {
    std::size_t before = 0; ///< Index of the first line in the earlier text, and how many.
    std::size_t removed = 0;
    std::size_t after = 0; ///< Likewise in the later one.
    std::size_t added = 0;

    bool operator==(const LineChange&) const = default;
};

/// Lines taken out and put in beyond which the middle is one change.
constexpr std::size_t kMostChanges = 1500;

/// The changes in order; none for texts that are the same.
[[nodiscard]] std::vector<LineChange> changedLines(const std::vector<std::string_view>& before,
                                                   const std::vector<std::string_view>& after);

} // namespace trevix
