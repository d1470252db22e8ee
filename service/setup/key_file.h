// The service's key, and the check of the one that a client sent.
//
// The key is drawn on the first start and kept in a file that only its owner can read. It is never
// logged and never shown to a browser.

#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

namespace trevix {

struct KeyError {
    std::string text; ///< For people.
};

struct Key {
    std::string text;
};

/// The key in `file`, white space at its ends left out; the file is made with a new key of 160
/// bits, mode 0600, when there is none. An error, and nothing is changed, when the file is no
/// regular file, belongs to somebody else, may be read or written by others, or holds no usable
/// key. Of two programs that make the file at the same time one wins and both get the same key.
[[nodiscard]] std::variant<Key, KeyError> loadOrMakeKey(const std::filesystem::path& file);

/// Whether a key can be sent in a header as it stands: 8 to 512 visible ASCII characters without
/// "%".
[[nodiscard]] bool isUsableKey(std::string_view key);

/// Whether an Authorization header carries the key. How long this takes does not depend on how much
/// of a wrong key is right.
[[nodiscard]] bool authorizes(std::string_view authorizationHeader, std::string_view key);

} // namespace trevix
