// The facts that the doctor speaks of, asked of this machine.

#pragma once

#include "app/cli/doctor.h"
#include "app/cli/status_report.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kelvane {

struct CliPorts;

/// Asks for everything. Each thing that may hang is given a few seconds: about twenty together when
/// all of them do. Main thread.
[[nodiscard]] DoctorFacts doctorFacts(CliPorts& ports);

/// The running instance's own word, with what is seen from outside (whether its service answers);
/// without an instance that which can be seen at all. Bounded likewise.
[[nodiscard]] StatusReport statusFacts(CliPorts& ports);

/// The line that the running instance of this user and display replies; absent when none does
/// within two seconds.
[[nodiscard]] std::optional<std::string> askInstance(std::string_view line);

} // namespace kelvane
