// The critic of office files: the rules for prose over documents and slides, those for tables over
// workbooks.
//
// Deterministic; bad input is a stated outcome, never an exception; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"
#include "critics/office/office_reader.h"

#include <optional>
#include <string_view>
#include <variant>

namespace trevix {

/// The kind of office file that a MIME type in lower case names, if it does.
[[nodiscard]] std::optional<OfficeKind> officeKindOf(std::string_view mimeType);

/// What is wrong with the file, with places like "paragraph 12", "slide 3" and "sheet Sales, cell
/// C4". `part.bytes` is the file.
[[nodiscard]] std::variant<Critique, Unread> critiqueOffice(const Part& part, OfficeKind kind,
                                                            const LanguageTools& tools);

} // namespace trevix
