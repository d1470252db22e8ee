#include "critics/findings/finding.h"

namespace trevix {

std::string_view name(Severity severity) {
    switch (severity) {
    case Severity::low:
        return "LOW";
    case Severity::medium:
        return "MEDIUM";
    case Severity::high:
        return "HIGH";
    case Severity::critical:
        return "CRITICAL";
    }
    return "LOW";
}

} // namespace trevix
