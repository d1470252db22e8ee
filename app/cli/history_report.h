// The verdicts of the past, for `kelvane --history`: for people and for programs. Pure; any thread.

#pragma once

#include "app/history_view.h"

#include <string>
#include <vector>

namespace kelvane {

/// Lines, each with its end, grouped as the window has them; a sentence when there are none.
[[nodiscard]] std::string historyText(const std::vector<history::VerdictEntry>& entries,
                                      const LocalTime& local);

/// One line of JSON without its end, see docs/command-line.md. The text of the work is not in it.
[[nodiscard]] std::string historyJson(const std::vector<history::VerdictEntry>& entries);

} // namespace kelvane
