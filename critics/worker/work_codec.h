// A submission and a critique as bytes, for the pipe between the service and the child that judges.
//
// Both ends are the same build; still, what a child says is not believed: bytes that are not a
// whole critique, with every field of its type and within its bounds, are none. Pure; any thread.

#pragma once

#include "critics/findings/critique.h"

#include <optional>
#include <string>
#include <string_view>

namespace trevix {

[[nodiscard]] std::string encode(const Submission& submission);
[[nodiscard]] std::string encode(const Critique& critique);

/// Absent for bytes that are no submission.
[[nodiscard]] std::optional<Submission> decodeSubmission(std::string_view bytes);

/// Absent for bytes that are no critique.
[[nodiscard]] std::optional<Critique> decodeCritique(std::string_view bytes);

} // namespace trevix
