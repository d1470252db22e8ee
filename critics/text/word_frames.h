// Frames of words in which one word is taken for another, or a form stands that cannot.
//
// A frame is written as its words, parted by blanks:
//
//     could|should of      one of several words
//     @ing                 a word of a class: see `kWordSorts` in the source
//     @number|half         a class or a word
//     very?                a word that may be missing
//     -than|or             the next word is none of these
//     ^the|a               the word before the frame is none of these; only as its first item
//     @mark                here the sentence begins, or a mark stands
//     @end                 here the phrase ends: a mark follows, or a little word
//     @stop                here the sentence or the clause ends: a mark follows, or nothing
//
// All words of a frame are parted by blanks alone in the text too. Each frame is wrong wherever it
// stands. Closed, of our own; plain values; any thread.

#pragma once

#include "critics/text/english_sentence.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace trevix {

enum class FrameKind {
    confusion, ///< One word is taken for another.
    form,      ///< A verb has a form that cannot stand there.
    turn,      ///< English does not say it so.
};

struct WordFrame {
    std::string_view words;
    std::string_view meant; ///< What may be meant, for people; of a confusion, word for word.
    FrameKind kind;
};

/// All of them, as they are written.
[[nodiscard]] std::span<const WordFrame> wordFrames();

/// Whether every class that the frame names is known, no word of it has a hyphen (a text's words
/// are parted there), and it takes a word at all.
[[nodiscard]] bool isWellFormed(const WordFrame& frame);

/// What a frame found: its words, both ends included.
struct FrameMatch {
    const WordFrame* frame = nullptr;
    std::size_t first = 0;
    std::size_t last = 0;
};

/// The first frame that fits at this word, if any does.
[[nodiscard]] std::optional<FrameMatch> frameAt(const EnglishSentence& sentence, std::size_t i);

} // namespace trevix
