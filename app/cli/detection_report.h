// What is in front and which agents are here, as one line of JSON for scripts.

#pragma once

#include "detect/agent_scan.h"
#include "detect/app_detector.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kelvane {

/// The report without a line break at its end: one JSON object of fixed shape, no blanks between
/// tokens. Only agents that are present are listed, in the order given. Absent texts are empty; an
/// agent that cannot be wired has "wired":null.
///
/// Texts are written between double quotes exactly as they are, without escapes: the line is for
/// scripts that know the values and look for them byte by byte. Control characters are left out, so
/// that it is one line.
[[nodiscard]] std::string detectionReport(const DetectedApp& front, std::size_t catalogApps,
                                          const std::vector<DetectedAgent>& agents);

} // namespace kelvane
