// What a person does on a report page: a form, read strictly.
//
// A form names its finding by a digest, and so cannot speak of a finding that the run does not
// have. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"

#include <optional>
#include <string>
#include <string_view>

namespace trevix {

struct PageAction {
    enum class Kind { dismiss, undo, addWord, removeWord };

    Kind kind = Kind::dismiss;
    std::string token;   ///< Of the page that the form came from.
    std::string finding; ///< See findingKey().
    std::string reason;
};

/// Bytes of a form; a reason is a sentence.
constexpr std::size_t kLargestForm = std::size_t{16} << 10U;

/// The action in an "application/x-www-form-urlencoded" body. Absent for any other body.
[[nodiscard]] std::optional<PageAction> parsePageAction(std::string_view body);

/// The value of the button that does it: "dismiss", "undo", "add-word", "remove-word".
[[nodiscard]] std::string_view name(PageAction::Kind kind);

/// Sixteen hexadecimal digits that are the same for the same rule, evidence and place.
[[nodiscard]] std::string findingKey(const Finding& finding);

} // namespace trevix
