#include "critics/findings/shown_secret.h"

#include "text/unicode.h"

#include <cstddef>

namespace trevix {

namespace text = kelvane::text;

std::string_view shownOfSecret(std::string_view secret) {
    constexpr std::size_t kMostShown = 4;
    // No more than decides it is read: a block of keys may be as long as the work.
    const std::string_view begin = text::firstCharacters(secret, 3 * kMostShown);
    return text::firstCharacters(begin, text::characterCount(begin) / 3);
}

std::string shownSecret(std::string_view secret) {
    return std::string(shownOfSecret(secret)) + "…";
}

} // namespace trevix
