// The words in a picture: what is written, where, and how surely it was read.
//
// The lines of writing are known from their strokes (`findTextLines`). Each is cut out, turned dark
// on white, brought to the height that a reader of letters does best with, and read by itself, so
// that light writing on dark and pale writing are read like any other and time can be had between
// two lines. Words come with their place in the picture.

#pragma once

#include "critics/ocr/line_reader.h"
#include "critics/picture/glyph_strokes.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace trevix {

struct PictureWord {
    std::string text;     ///< UTF-8, with the marks that touch it.
    int confidence = 0;   ///< From 0 to 100, as the reader reckons it.
    Rect box;             ///< In the picture.
    std::size_t line = 0; ///< Index of its line.
    /// Nothing that may belong to it stands right beside it on other ground.
    bool whole = true;

    bool operator==(const PictureWord&) const = default;
};

/// A line cut out of the picture for a reader.
struct LineCut {
    LineImage image; ///< Dark on white.
    Rect area;       ///< What it shows of the picture.
    double scale = 1;

    /// Where a rectangle of the image stands in the picture; within `area`, never empty.
    [[nodiscard]] Rect inPicture(int x, int y, int width, int height) const;
};

/// The line with some ground around it. Its ink is black, its ground white, and what stands beside
/// it on other ground is whatever that makes of it. Precondition: the line is one of the picture's.
[[nodiscard]] LineCut cutLine(const Picture& picture, const TextLine& line);

struct WordsRead {
    std::vector<PictureWord> words; ///< Line by line, each from left to right.
    bool complete = true;           ///< Whether all lines were read in time.
};

/// Reads one line after the other until `limit` is over.
[[nodiscard]] WordsRead readWords(const Picture& picture, const std::vector<TextLine>& lines,
                                  LineReader& reader, std::chrono::milliseconds limit);

} // namespace trevix
