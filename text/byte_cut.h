// UTF-8 text, cut at a number of bytes without splitting a code point.
//
// For limits that are about room; `firstCharacters` cuts by what a reader sees. Bytes that are not
// UTF-8 never make a call fail: each counts as a code point of its own, as in text/unicode.h. Takes
// the same time whatever the text. Pure; any thread.

#pragma once

#include <cstddef>
#include <string_view>

namespace kelvane::text {

/// Where the code point begins that the byte at `offset` belongs to: `offset` itself or up to three
/// bytes before it. The size of the text for every offset behind its end.
[[nodiscard]] std::size_t codePointStart(std::string_view text, std::size_t offset);

/// The beginning of `text` that has `most` bytes, or up to three less so that it ends between two
/// code points; the whole text when it is not longer. A view into `text`.
[[nodiscard]] std::string_view firstBytes(std::string_view text, std::size_t most);

} // namespace kelvane::text
