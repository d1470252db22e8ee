// The prose of a text as others than the critics get to see it.
//
// Pure; any thread.

#pragma once

#include "critics/engines/work_file.h"
#include "critics/text/secret_shapes.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace trevix {

/// What stands for a byte that others do not get to see.
constexpr char kUnseen = 'X';

/// The text with an X for each byte of what is no prose (code, addresses, quoted mail, front
/// matter) and of each secret; line breaks stay. It is as long as the text, and a byte of it that
/// is not that of the text was not seen.
[[nodiscard]] std::string proseForOthers(std::string_view text, std::span<const Secret> secrets);

/// Whether all of the `length` bytes at `offset` were seen.
[[nodiscard]] bool wasSeen(std::string_view text, std::string_view shown, std::size_t offset,
                           std::size_t length);

/// The prose of a text or document in English, for programs that know no other language.
[[nodiscard]] std::optional<WorkFile> englishFile(const Part& part);
/// A document in Markdown, whole: for programs that judge its form. Absent for other text.
[[nodiscard]] std::optional<WorkFile> markdownFile(const Part& part);
/// Text of any kind, as it is.
[[nodiscard]] std::optional<WorkFile> anyFile(const Part& part);

} // namespace trevix
