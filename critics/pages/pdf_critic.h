// The critic of PDF files: the rules for prose over the text of their pages.
//
// Deterministic but for the limit on time, which the coverage tells of; bad input is a stated
// outcome, never an exception; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"

#include <variant>

namespace trevix {

/// What is wrong with the file, with places like "page 2". `part.bytes` is the file.
[[nodiscard]] std::variant<Critique, Unread> critiquePdf(const Part& part,
                                                         const LanguageTools& tools);

} // namespace trevix
