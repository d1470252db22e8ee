#include "critics/findings/shown_secret.h"

#include "text/unicode.h"

#include <algorithm>
#include <cstddef>

namespace trevix {

namespace text = kelvane::text;

std::string_view shownOfSecret(std::string_view secret) {
    constexpr std::size_t kMostShown = 4;
    return text::firstCharacters(secret, std::min(kMostShown, text::characterCount(secret) / 3));
}

std::string shownSecret(std::string_view secret) {
    return std::string(shownOfSecret(secret)) + "…";
}

} // namespace trevix
