// What is kept of a piece of work so that its report can show it with its flaws marked.
//
// Texts and PNG pictures, each up to a size, and of all of them together up to another. The secrets
// that the critics know by their shape are blotted out of a text before anything of it is kept;
// lines and columns stay what they are. What is in a picture stays in it. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"
#include "service/store/run_record.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace trevix {

/// Bytes. A text of that size is a long book; a picture a large screen without compression to
/// speak of. What is larger has its flaws listed, and is not shown.
constexpr std::size_t kLargestKeptText = std::size_t{2} << 20U;
constexpr std::size_t kLargestKeptPicture = std::size_t{4} << 20U;
/// Of one version together; parts are kept in their order.
constexpr std::size_t kLargestKeptWork = std::size_t{8} << 20U;
/// Of all runs together: what a person looks at again is among the newest.
constexpr std::uint64_t kMostKept = std::uint64_t{128} << 20U;

[[nodiscard]] KeptWork keptWork(const std::vector<Part>& parts);

/// The text with everything of each secret but what findings show of it (`shownOfSecret`) replaced
/// by bullets, one for each code point. Line ends stay.
[[nodiscard]] std::string withoutSecrets(std::string_view text);

} // namespace trevix
