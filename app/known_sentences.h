// Sentences that are kept in English, and shown in the language of whoever reads them.
//
// Notes, failures and refusals are values of the model: programs read them (`--status --json`), the
// history keeps them, and the language may change while one stands in the panel. So they are
// English until they are shown. Any thread.

#pragma once

#include <string>
#include <vector>

namespace kelvane {

/// `english` translated, with what stands in its holes kept, or translated where that is a sentence
/// known in turn. One that is not of the product's own, such as a service's, stays as it is.
[[nodiscard]] std::string translatedSentence(const std::string& english);

/// Every sentence that is known, with its holes as "%1" and so on; of a count the one for many.
[[nodiscard]] std::vector<std::string> knownSentences();

} // namespace kelvane
