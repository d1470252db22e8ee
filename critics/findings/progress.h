// How far the grading of one work is.
//
// A plain value; any thread.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace trevix {

struct GradingProgress {
    std::size_t done = 0;             ///< Of those who judge.
    std::size_t of = 0;               ///< All of them; zero before it is known.
    std::vector<std::string> running; ///< Names of those at work.

    bool operator==(const GradingProgress&) const = default;
};

} // namespace trevix
