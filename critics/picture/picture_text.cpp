#include "critics/picture/picture_text.h"

#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace trevix {

namespace text = kelvane::text;

namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Of 100: words below it are not judged (experiment `words`).
constexpr int kSureConfidence = 90;
/// Tenths of the x-height between two words of a sentence at most: a blank has three to seven, in
/// justified text twice that. What stands farther apart are columns.
constexpr int kWidestBlankTenths = 16;
/// A line goes on in the next one when it has that many bytes; shorter lines are labels.
constexpr std::size_t kProseLine = 30;
/// Percent by which the x-heights of lines of one paragraph differ, with a pixel for rounding.
constexpr int kSameSizePercent = 115;
/// X-heights that the lines of a paragraph are apart at most, and that one begins beside the other.
constexpr int kMostApart = 3;
constexpr int kMostBeside = 2;
/// A line of which one word in so many is none of a language is code, a path or misread.
constexpr std::size_t kStrangeShare = 3;
/// Words of a label at most; what says in a sentence that work is open may name a list in a label.
constexpr std::size_t kLabelWords = 3;
constexpr std::array<std::string_view, 4> kOpenEnds = {"todo", "tbd", "fixme", "xxx"};

/// A part of a line whose words follow each other.
struct Segment {
    std::size_t first = 0; ///< Of the words,
    std::size_t last = 0;  ///< one past.
    Rect box;
    int xHeight = 0;
    std::size_t bytes = 0;
    std::size_t below = 0; ///< 1 + the index of the segment that goes on with it, or 0.
    bool begins = true;    ///< A paragraph.
};

std::vector<Segment> segmentsOf(const std::vector<PictureWord>& words,
                                const std::vector<TextLine>& lines) {
    std::vector<Segment> segments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const PictureWord& word = words[i];
        const int xHeight = lines[word.line].xHeight;
        // Words of one line come in order, from left to right.
        if (!segments.empty() && words[i - 1].line == word.line) {
            const int gap = word.box.x - words[i - 1].box.right();
            if (gap * 10 <= xHeight * kWidestBlankTenths) {
                Segment& segment = segments.back();
                segment.last = i + 1;
                segment.box = united(segment.box, word.box);
                segment.bytes += word.text.size() + 1;
                continue;
            }
        }
        segments.push_back({i, i + 1, word.box, xHeight, word.text.size(), 0, true});
    }
    std::ranges::stable_sort(segments, [](const Segment& a, const Segment& b) {
        return std::pair(a.box.y, a.box.x) < std::pair(b.box.y, b.box.x);
    });
    return segments;
}

bool goesOn(const Segment& upper, const Segment& lower) {
    if (upper.bytes < kProseLine || upper.below != 0) return false;
    const int small = std::min(upper.xHeight, lower.xHeight);
    const int large = std::max(upper.xHeight, lower.xHeight);
    if (large * 100 > small * kSameSizePercent + 100) return false;
    const int gap = lower.box.y - upper.box.bottom();
    if (gap < -small || gap > small * kMostApart) return false;
    const int beside = lower.box.x - upper.box.x;
    return beside >= -kMostBeside * small && beside <= kMostBeside * small;
}

// A line goes on with the segment below it that begins near it. The nearest above wins, which is
// the last that was opened. Those too far up are closed, so that each segment meets few.
void joinParagraphs(std::vector<Segment>& segments) {
    std::vector<std::size_t> open; // Segments that may go on, by their tops.
    for (std::size_t i = 0; i < segments.size(); ++i) {
        std::erase_if(open, [&](std::size_t upper) {
            const Segment& above = segments[upper];
            return above.below != 0 ||
                   segments[i].box.y > above.box.bottom() + kMostApart * above.xHeight;
        });
        const auto upper = std::find_if(open.rbegin(), open.rend(), [&](std::size_t candidate) {
            return goesOn(segments[candidate], segments[i]);
        });
        if (upper != open.rend()) {
            segments[*upper].below = i + 1;
            segments[i].begins = false;
        }
        open.push_back(i);
    }
}

bool isLetterOrMark(std::int32_t c) {
    constexpr std::u32string_view kMarks = U"'’-–—.,;:!?()[]\"“”‘…%&/+$€£";
    return text::isLetter(c) || text::isDigit(c) ||
           kMarks.find(static_cast<char32_t>(c)) != std::u32string_view::npos;
}

/// Letters with the marks of prose around and between them: no path, no program text, no name of a
/// file, no brand in mixed case.
bool isOfLanguage(std::string_view word) {
    constexpr std::u32string_view kJoins = U".:/(["; // Names of files, addresses, calls.
    bool lower = false;
    char32_t before = 0;
    for (std::size_t i = 0; i < word.size();) {
        const text::Decoded point = text::decodeFront(word.substr(i));
        if (!isLetterOrMark(point.codePoint)) return false;
        const bool letter = text::isLetter(point.codePoint);
        // A letter behind such a mark, but not behind the first character of a word, as in "(see".
        if (letter && kJoins.find(before) != std::u32string_view::npos && i > 1) return false;
        if (text::isUpper(point.codePoint) && lower) return false;
        lower = text::isLower(point.codePoint);
        before = static_cast<char32_t>(point.codePoint);
        i += point.length;
    }
    return true;
}

bool hasLetter(std::string_view word) {
    for (std::size_t i = 0; i < word.size();) {
        const text::Decoded point = text::decodeFront(word.substr(i));
        if (text::isLetter(point.codePoint)) return true;
        i += point.length;
    }
    return false;
}

bool isOpenEnd(std::string_view word) {
    std::string letters;
    for (const char c : word) {
        if (text::isAsciiLetter(c)) letters += text::lowerAscii(c);
    }
    return text::isOneOf(letters, kOpenEnds);
}

/// One upright stroke: in many typefaces I, l and 1 have no other shape, and a dot is a pixel or
/// two.
bool isOneStroke(std::string_view word) {
    std::size_t strokes = 0;
    for (const char c : word) {
        if (c == 'i' || c == 'I' || c == 'l' || c == '1' || c == '|')
            ++strokes;
        else if (text::isAsciiWord(c) || static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return strokes == 1;
}

class Writer {
public:
    Writer(const std::vector<PictureWord>& words, PictureText& out) : m_words(words), m_out(out) {}

    void paragraph() {
        if (!m_out.text.empty()) m_out.text += "\n\n";
        m_split = false;
    }

    void line(const Segment& segment, bool goesOnBelow) {
        if (!m_out.text.empty() && m_out.text.back() != '\n') m_out.text += '\n';
        std::size_t strange = 0;
        for (std::size_t i = segment.first; i < segment.last; ++i) {
            if (!isOfLanguage(m_words[i].text)) ++strange;
        }
        const std::size_t count = segment.last - segment.first;
        const bool foreign = strange * kStrangeShare >= count;
        for (std::size_t i = segment.first; i < segment.last; ++i) {
            const PictureWord& word = m_words[i];
            if (i > segment.first) m_out.text += ' ';
            // A word parted at the end of a line is two pieces of one.
            const bool parted = i + 1 == segment.last && goesOnBelow && word.text.ends_with('-');
            const bool masks = foreign || m_split || parted || !word.whole ||
                               word.confidence < kSureConfidence || !isOfLanguage(word.text) ||
                               isOneStroke(word.text) ||
                               (count <= kLabelWords && isOpenEnd(word.text));
            m_split = parted;
            if (masks)
                m_out.masked.emplace_back(m_out.text.size(), word.text.size());
            else if (hasLetter(word.text))
                ++m_out.sureWords;
            m_out.spans.push_back({m_out.text.size(), word.text.size(), word.box});
            m_out.text += word.text;
        }
    }

private:
    const std::vector<PictureWord>& m_words;
    PictureText& m_out;
    bool m_split = false; ///< The word before goes on with the next one.
};

} // namespace

std::string PictureText::placeOf(std::size_t offset, std::size_t length) const {
    const std::size_t end = offset + std::max<std::size_t>(1, length);
    // The first word that ends behind the offset.
    auto at = std::ranges::upper_bound(spans, offset, {},
                                       [](const Span& span) { return span.offset + span.length; });
    // Behind the last word: line ends belong to none.
    if (at == spans.end()) --at;
    Rect box = at->box;
    for (++at; at != spans.end() && at->offset < end; ++at) box = united(box, at->box);
    return placeName(box);
}

PictureText textOf(const std::vector<PictureWord>& words, const std::vector<TextLine>& lines) {
    std::vector<Segment> segments = segmentsOf(words, lines);
    joinParagraphs(segments);
    PictureText out;
    Writer writer(words, out);
    for (const Segment& first : segments) {
        if (!first.begins) continue;
        writer.paragraph();
        const Segment* segment = &first;
        while (true) {
            writer.line(*segment, segment->below != 0);
            if (segment->below == 0) break;
            segment = &segments[segment->below - 1];
        }
    }
    return out;
}

Prose proseOf(const PictureText& picture, const SourceText& source) {
    Prose prose = plainProse(source);
    for (const auto& [offset, length] : picture.masked) mask(prose.masked, offset, length);
    return prose;
}

} // namespace trevix
