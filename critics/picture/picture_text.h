// The words of a picture as one text that the rules for prose can read.
//
// Words of one line stand on one line; lines that go on below each other are one paragraph;
// whatever stands apart, as labels and cells do, is a paragraph of its own. What was not read
// surely, and what is no word of a language (paths, code, names with figures in them), is there to
// be quoted but masked for the rules. All pure; linear in the words, and in the lines times those
// beside them.

#pragma once

#include "critics/findings/finding_list.h"
#include "critics/picture/picture_words.h"
#include "critics/text/prose.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace trevix {

struct PictureText {
    /// Which bytes of the text are a word.
    struct Span {
        std::size_t offset = 0;
        std::size_t length = 0;
        Rect box; ///< In the picture.
    };

    std::string text;
    std::vector<Span> spans; ///< In reading order.
    /// Offsets and lengths of what the rules must not judge.
    std::vector<std::pair<std::size_t, std::size_t>> masked;
    std::size_t sureWords = 0; ///< Words that they may judge.

    /// The box around the words that the bytes touch, as findings name a place; around all of them
    /// when they touch none. `spans` must not be empty.
    [[nodiscard]] std::string placeOf(std::size_t offset, std::size_t length) const;
};

[[nodiscard]] PictureText textOf(const std::vector<PictureWord>& words,
                                 const std::vector<TextLine>& lines);

/// The text as prose, with what was masked.
[[nodiscard]] Prose proseOf(const PictureText& text, const SourceText& source);

} // namespace trevix
