// Text from outside, made harmless for showing it among texts of our own.
//
// Names, notes and findings come from other programs and from the service. They must not break
// lines that are one line, not turn the order of what stands around them, and not be so long that
// laying them out takes noticeable time. Pure; any thread.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvane::text {

/// More characters than any place in the panel can show.
inline constexpr std::size_t kLongestShownText = 2000;

/// `text` as one line: line breaks and control characters become blanks, the invisible characters
/// that override or isolate the direction of what follows are left out, and in a text without
/// right-to-left writing the marks of a direction too. A text longer than
/// `kLongestShownText` characters, or of unreasonably many bytes, is cut and ends in an ellipsis.
/// U+FFFD stands for bytes that are not UTF-8; everything else stays as it is.
[[nodiscard]] std::string shownLine(std::string_view text);

/// The same, but line feeds stay.
[[nodiscard]] std::string shownParagraph(std::string_view text);

/// `shownLine(text)`, to be put inside a sentence: one that holds right-to-left writing stands
/// between the marks that keep it from reordering the rest. Every other text is without marks.
[[nodiscard]] std::string shownWithin(std::string_view text);

} // namespace kelvane::text
