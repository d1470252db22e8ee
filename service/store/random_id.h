// Names that nobody can guess.
//
// From the system's random source. Used for the service's key and for the ids of jobs and runs: who
// knows a run's id may read its report, so an id is drawn, not counted.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace trevix {

/// `prefix` followed by `bytes` random bytes in lower-case hexadecimal. At most 64 bytes. Ends the
/// program when the system has no randomness to give, which no caller could do better about.
[[nodiscard]] std::string randomName(std::string_view prefix, std::size_t bytes);

/// 128 bits: "job_…", "run_…". Letters, digits and "_" only, so that an id needs no escaping in a
/// URL.
[[nodiscard]] std::string newJobId();
[[nodiscard]] std::string newRunId();

} // namespace trevix
