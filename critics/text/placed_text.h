// Text that was taken out of something else: pages, slides, the paragraphs of a file.
//
// Whoever takes it out says where each piece of it stood. Values; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"
#include "critics/text/prose.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

struct PlacedText {
    std::string text; ///< UTF-8.
    /// Where each place begins, ascending, and its name: "page 2".
    std::vector<std::pair<std::size_t, std::string>> places;
    /// Its paragraphs where they are known, ascending; else blank lines part them.
    std::vector<Block> blocks;

    void begin(std::string place) { places.emplace_back(text.size(), std::move(place)); }
    /// Adds a paragraph with a blank line behind it; one of blanks alone is left out.
    void add(std::string_view paragraph, BlockKind kind);
};

/// Whether sentences and brackets end where the text says so, or may be cut by pages, columns and
/// headers that are only known from how things look.
enum class Flow { known, cut };

/// What is wrong with it by the rules for prose; of text whose flow is cut, by those that no cut
/// sets off.
[[nodiscard]] Critique critiquePlacedText(const PlacedText& placed, Flow flow,
                                          const LanguageTools& tools);

} // namespace trevix
