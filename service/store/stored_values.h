// How the values of a verdict are written down, in a database of either kind.
//
// Part of the formats: no number and no name may change its meaning. Pure; any thread.

#pragma once

#include "service/store/run_store.h"

#include <cstdint>
#include <string>

namespace trevix {

/// Work is kept of so many versions of a run: of the latest, and of the one before, which it is
/// compared with.
constexpr int kVersionsWithWork = 2;

/// Severities are numbers, so that a reader of the database can sort by them. A number of a later
/// program is told as the mildest, since nothing else is known of it.
[[nodiscard]] std::int64_t storedSeverity(Severity severity);
[[nodiscard]] Severity severityOf(std::int64_t stored);

/// Bands go by their names. Throws StoreError for a name that no band has.
[[nodiscard]] Band bandOf(const std::string& stored);

/// The version of that number: an index, for versions have no holes. Throws StoreError for one that
/// the run does not have.
[[nodiscard]] Iteration& versionOf(RunRecord& run, std::int64_t number);

} // namespace trevix
