// Texts in the messages of a bus.

#pragma once

#include <string>
#include <vector>

struct sd_bus_message;

namespace kelvane {

/// Adds a text to the arguments of a question. False when it cannot be one.
[[nodiscard]] bool appendText(sd_bus_message* message, const std::string& text);

/// The texts of an answer that is a list of such; none for any other.
[[nodiscard]] std::vector<std::string> textsIn(sd_bus_message* answer);

} // namespace kelvane
