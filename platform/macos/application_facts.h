// What the system tells about running applications, and what the ports make of it.
//
// Plain C++ over plain values, so it is built and tested on every system.

#pragma once

#include "platform/ports/running_app.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

/// One entry of the system's list of running applications, as it was read.
struct ApplicationFacts {
    std::optional<std::string> bundleId;
    std::optional<std::string> name;
    std::int64_t processId = -1;      ///< -1: there is no process any more.
    std::optional<double> launchedAt; ///< Seconds since a fixed moment; many have none.

    bool operator==(const ApplicationFacts&) const = default;
};

/// The application that the facts describe; absent when no process stands behind it. An empty
/// bundle identifier is one that the system did not tell; an empty name is a name.
[[nodiscard]] std::optional<RunningApp> runningApp(ApplicationFacts facts);

/// Every described application once, the oldest first. Whatever has no time of its launch (or one
/// that is no number) was started by the system itself and comes before the others; among equals
/// the given order stays.
[[nodiscard]] std::vector<RunningApp> runningApps(std::vector<ApplicationFacts> facts);

/// The number as the system's own process id, 32 bits wide; absent when no process can have it.
[[nodiscard]] std::optional<std::int32_t> systemProcessId(ProcessId pid);

} // namespace kelvane
