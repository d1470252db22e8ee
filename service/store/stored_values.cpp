#include "service/store/stored_values.h"

namespace trevix {

std::int64_t storedSeverity(Severity severity) {
    return static_cast<std::int64_t>(severity);
}

Severity severityOf(std::int64_t stored) {
    switch (stored) {
    case 3:
        return Severity::critical;
    case 2:
        return Severity::high;
    case 1:
        return Severity::medium;
    default:
        return Severity::low;
    }
}

Band bandOf(const std::string& stored) {
    const auto band = bandNamed(stored);
    if (!band) throw StoreError("the run store: a verdict of an unknown band");
    return *band;
}

Iteration& versionOf(RunRecord& run, std::int64_t number) {
    if (number < 0 || static_cast<std::uint64_t>(number) >= run.iterations.size()) {
        throw StoreError("the run store: something of a version that is missing");
    }
    return run.iterations[static_cast<std::size_t>(number)];
}

} // namespace trevix
