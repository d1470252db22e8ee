// A stranger's text as it may stand on a page without becoming part of it.
//
// Pure; any thread.

#pragma once

#include <string>
#include <string_view>

namespace trevix {

/// `text` for use between tags and inside quoted attributes: the five marks of HTML are escaped.
/// What cannot be seen is made visible, since it may be what is wrong or may be there to mislead:
/// control characters become their pictures ("␀"), marks that turn the direction of writing and
/// other invisible ones become "⟨U+202E⟩", bytes that are not UTF-8 become U+FFFD. Line feeds and
/// tabs are kept.
[[nodiscard]] std::string htmlText(std::string_view text);

} // namespace trevix
