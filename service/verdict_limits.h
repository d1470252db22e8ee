// How much a verdict may say.
//
// Work of the largest size can hold more flaws than anybody reads, and names as long as itself.
// What is stored of it, and so every answer and every page, stays within some megabytes: the most
// severe findings are kept, in their order, and what was left out is told. Pure; any thread.

#pragma once

#include "service/store/run_record.h"

#include <cstddef>
#include <string>

namespace trevix {

/// Chosen: twenty rules of fifty places each. More than anybody mends before grading again.
constexpr std::size_t kMostFindings = 1000;
/// Parts that are named, engines, and gaps. Chosen: a large change has some hundred files.
constexpr std::size_t kMostNamed = 1000;
/// Bytes of one text: a name, a place, a sentence. The longest file name has 255; a sentence of the
/// critics quotes 120 characters.
constexpr std::size_t kLongestText = 2000;
/// Bytes of the intent, for 4000 characters.
constexpr std::size_t kLongestIntent = 16'000;

/// `text` with at most so many bytes: cut between two characters of UTF-8, with an ellipsis, which
/// counts. Precondition: `bytes` >= 3.
[[nodiscard]] std::string cutTo(std::string text, std::size_t bytes);

/// The verdict within the limits. Band and score stay as they were judged.
[[nodiscard]] Iteration withinLimits(Iteration verdict);

} // namespace trevix
