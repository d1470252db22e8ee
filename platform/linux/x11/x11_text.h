// Is this text from outside UTF-8, and if not, what did it mean?
//
// Window properties and desktop files are written by other programs: some say Latin-1 and mean
// UTF-8, some the other way round, some write rubbish. Everything that leaves this folder is UTF-8.

#pragma once

#include <string>
#include <string_view>

namespace kelvane {

/// Whether `bytes` are well-formed UTF-8 (shortest forms only, no surrogates).
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// The UTF-8 of Latin-1 text, which every byte string is.
[[nodiscard]] std::string fromLatin1(std::string_view bytes);

/// `bytes` themselves when they are UTF-8 already, otherwise read as Latin-1.
[[nodiscard]] std::string utf8FromOutside(std::string_view bytes);

/// Lower case for A-Z only: identifiers, never text that people read.
[[nodiscard]] std::string lowerAscii(std::string_view text);

} // namespace kelvane
