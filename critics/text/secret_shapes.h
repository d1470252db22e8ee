// Does this text give away a key or a password?
//
// Secrets are told by their shape: the fixed prefixes and lengths that issuers use, private key
// blocks, signed tokens, passwords inside addresses, and values assigned to a name that says
// "password" or "token" and that look drawn rather than written. Documented example keys,
// placeholders ("your-key-here", "xxxx"), and look-ups in the environment are not secrets.

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace trevix {

struct Secret {
    std::size_t offset = 0; ///< Where the thing to show begins: the name, or the secret itself.
    std::size_t length = 0; ///< Up to the end of the secret.
    std::size_t valueOffset = 0; ///< Where the secret itself begins.
    std::size_t valueLength = 0;
    std::string_view kind; ///< For people: "a private key".
};

/// Every secret, in reading order, none overlapping another. Linear in the length of the text.
[[nodiscard]] std::vector<Secret> findSecrets(std::string_view text);

/// Shannon entropy in bits per byte; 0 for the empty text.
[[nodiscard]] double entropy(std::string_view text);

} // namespace trevix
