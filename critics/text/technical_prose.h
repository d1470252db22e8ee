// Whether prose is about programs: a manual, a list of changes, a comment on code.
//
// Such a text is full of names that no dictionary has, drops articles, and says like things in like
// words. It is told by what only it has, options, file names, identifiers, calls, versions, and by
// the words of its trade. Linear; pure; any thread.

#pragma once

#include "text/letters.h"

#include <string_view>
#include <vector>

namespace trevix {

/// `words` are those of `masked`, in order.
[[nodiscard]] bool isTechnicalProse(std::string_view masked,
                                    const std::vector<kelvane::text::Word>& words);

} // namespace trevix
