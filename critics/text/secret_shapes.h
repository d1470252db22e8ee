// Keys and passwords that a text gives away.
//
// They are told by the shapes in resources/secrets.json: issuers' prefixes, key blocks, and places
// where secrets stand. The file is part of the program; the validator kit reads the same one and
// finds the same spans. Documented example keys, placeholders ("your-key-here", "xxxx") and
// look-ups in the environment are not secrets.
//
// Safe to call from several threads. A shape's pattern is compiled when a text first needs it.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct Secret {
    std::size_t offset = 0; ///< Where the thing to show begins: the name, or the secret itself.
    std::size_t length = 0; ///< Up to the end of the secret.
    std::size_t valueOffset = 0; ///< Where the secret itself begins.
    std::size_t valueLength = 0;
    std::string_view kind; ///< For people: "a private key". Lives as long as the program.
    bool byName = false;   ///< Only the name in front of it tells, and no issuer's shape.
};

/// Every secret, in reading order, none overlapping another; offsets are bytes. Empty when there is
/// none. Linear in the length of the text, whatever it holds.
[[nodiscard]] std::vector<Secret> findSecrets(std::string_view text);

/// Reads the file of shapes, which the first text does otherwise.
void warmUpSecretShapes();

/// The patterns of the file that the library does not accept, each with its words about it; empty
/// in a program that was built right. For tests: a shape with such a pattern finds nothing.
[[nodiscard]] std::vector<std::string> brokenSecretShapes();

/// Shannon entropy in bits per byte; 0 for the empty text.
[[nodiscard]] double entropy(std::string_view text);

} // namespace trevix
