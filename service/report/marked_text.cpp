#include "service/report/marked_text.h"

#include "text/byte_cut.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::string_view kEllipsis = "…";
constexpr std::string_view kBlot = "•";
// Bytes: evidence has at most 1200, and blanks in between are not told.
constexpr std::size_t kLongestMatch = 8000;

bool isBlankAt(std::string_view text, std::size_t& length) {
    const text::Decoded point = text::decodeFront(text);
    length = point.length;
    const bool control =
        point.codePoint >= 0 &&
        (point.codePoint < 0x20 || (point.codePoint >= 0x7F && point.codePoint < 0xA0));
    return control || text::isSpace(point.codePoint);
}

/// How many bytes at the front of `text` the evidence quotes; 0 when it is not what it quotes.
/// Evidence is on one line, whatever the text is, and breaks off or leaves out with an ellipsis.
std::size_t quotedLength(std::string_view text, std::string_view evidence) {
    // The idea: both are read from the front, and each step takes what the evidence has next from
    // either. A blank of the evidence stands for any run of blanks, an ellipsis for blots; all else
    // has to be the same, byte for byte.
    const std::string_view whole = text = text.substr(0, kLongestMatch);
    while (!evidence.empty()) {
        if (evidence.starts_with(kEllipsis) && !text.starts_with(kEllipsis)) {
            evidence.remove_prefix(kEllipsis.size());
            // Broken off at the end: the quote is what came before, with the rest of a blotted
            // secret.
            if (evidence.empty()) {
                while (text.starts_with(kBlot)) text.remove_prefix(kBlot.size());
                break;
            }
            // What was hidden is blotted out here.
            const std::size_t before = text.size();
            while (text.starts_with(kBlot)) text.remove_prefix(kBlot.size());
            if (text.size() == before) return 0;
            continue;
        }
        // The text ends within the quote.
        if (text.empty()) return 0;
        std::size_t length = 0;
        if (evidence.front() == ' ') {
            if (!isBlankAt(text, length)) return 0;
            while (!text.empty() && isBlankAt(text, length)) text.remove_prefix(length);
            evidence.remove_prefix(1);
            continue;
        }
        length = text::decodeFront(evidence).length;
        if (text.substr(0, length) != evidence.substr(0, length)) return 0;
        text.remove_prefix(length);
        evidence.remove_prefix(length);
    }
    return whole.size() - text.size();
}

/// The word at the front of the text, or one character of something else.
std::size_t wordLength(std::string_view text) {
    // Not text/'s words: this one has to take in identifiers, of which "_" is a part.
    std::size_t end = 0;
    while (end < text.size()) {
        const text::Decoded point = text::decodeFront(text.substr(end));
        if (!text::isLetter(point.codePoint) && !text::isDigit(point.codePoint) &&
            point.codePoint != '_' && point.codePoint != '\'') {
            break;
        }
        end += point.length;
    }
    if (end == 0 && !text.empty()) end = text::decodeFront(text).length;
    return end;
}

struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// What of a line is shown: everything, or the surroundings of its marks.
std::vector<Span> shownOf(const SourceText& source, std::size_t line,
                          const std::vector<TextMark>& marks) {
    const std::size_t begin = source.lineStart(line);
    const std::size_t end = source.lineEnd(line);
    if (end - begin <= kLongestWholeLine) return {{begin, end}};
    std::vector<Span> shown;
    const auto add = [&](std::size_t from, std::size_t to) {
        // Between two code points, since a piece of one would be shown as damage.
        from = text::codePointStart(source.text(), from);
        to = text::codePointStart(source.text(), to);
        // Marks come in the order of their beginnings, so only the last span can touch this one.
        if (!shown.empty() && from <= shown.back().end) {
            shown.back().end = std::max(shown.back().end, to);
        } else {
            shown.push_back({from, to});
        }
    };
    for (const TextMark& mark : marks) {
        if (mark.wholeLine) continue;
        const std::size_t from = mark.begin - std::min(mark.begin - begin, kShownOfALine);
        // The end of a mark that is itself very long is left out.
        add(from,
            std::min(end, std::min(mark.end, mark.begin + 3 * kShownOfALine) + kShownOfALine));
    }
    if (shown.empty()) add(begin, begin + kShownOfALine);
    return shown;
}

Html leftOut(std::string_view text) {
    const std::size_t count = text::characterCount(text);
    return element("span", {{"class", "gap"}},
                   {"… " + std::to_string(count) +
                    (count == 1 ? " character left out …" : " characters left out …")});
}

/// Whether `b` is the one to show where both stand.
bool weighsLess(const TextMark& a, const TextMark& b) {
    return a.dismissed != b.dismissed ? a.dismissed : a.severity < b.severity;
}

/// The bytes from `begin` to `end` with the marks that touch them.
void appendMarked(Html& line, const SourceText& source, Span span,
                  const std::vector<TextMark>& marks) {
    // The idea: all ends of marks cut the span into pieces, and a piece is wholly in a mark or
    // wholly out of it. So marks that overlap need no nesting, which markup could not say anyway;
    // each piece shows the heaviest of its marks. Pieces times marks; a line has few.
    std::vector<std::size_t> cuts{span.begin, span.end};
    for (const TextMark& mark : marks) {
        for (const std::size_t at : {mark.begin, mark.end}) {
            if (!mark.wholeLine && at > span.begin && at < span.end) cuts.push_back(at);
        }
    }
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        const std::string_view piece = source.text().substr(cuts[i], cuts[i + 1] - cuts[i]);
        const TextMark* worst = nullptr;
        for (const TextMark& mark : marks) {
            if (mark.wholeLine || mark.begin > cuts[i] || mark.end < cuts[i + 1]) continue;
            if (worst == nullptr || weighsLess(*worst, mark)) worst = &mark;
        }
        line += worst == nullptr ? Html(piece)
                                 : element("mark", {{"class", worst->className()}}, {piece});
        for (const TextMark& mark : marks) {
            // Where it ends, or where it goes on beyond what is shown.
            const bool ends =
                mark.end == cuts[i + 1] || (cuts[i + 1] == span.end && mark.begin < span.end &&
                                            mark.begin >= span.begin && mark.end > span.end);
            // The number follows the end of a mark, once, though the mark may be in several pieces.
            if (!mark.wholeLine && ends && mark.number > 0 && mark.begin >= span.begin) {
                line += flawReference(mark.number, mark.severity, mark.dismissed);
            }
        }
    }
}

} // namespace

std::string TextMark::className() const {
    return flawClass(severity, dismissed);
}

std::string severityName(Severity severity) {
    return text::lowerAscii(name(severity));
}

std::string flawClass(Severity severity, bool dismissed) {
    return dismissed ? "f-off" : "f-" + severityName(severity);
}

Html flawReference(std::size_t number, Severity severity, bool dismissed) {
    const std::string shown = std::to_string(number);
    return element(
        "a",
        {{"class", "ref " + flawClass(severity, dismissed)},
         {"id", "m" + shown},
         {"href", "#f" + shown},
         {"title", "Flaw " + shown + ", " + (dismissed ? "dismissed" : severityName(severity))}},
        {shown});
}

std::optional<TextMark> markOf(const SourceText& source, const Place& place,
                               // In this order: the quote where the place says; the quote elsewhere
                               // in the line; the word at the place; the whole line.
                               const Finding& finding) {
    if (place.kind != Place::Kind::line || place.line > source.lineCount()) return std::nullopt;
    TextMark mark;
    mark.severity = finding.severity;
    mark.line = place.line - 1;
    const std::size_t start = source.lineStart(mark.line);
    const std::size_t lineEnd = source.lineEnd(mark.line);
    const std::string_view line = source.line(mark.line);
    mark.begin = source.offsetOf(mark.line, place.column);
    const std::size_t column = mark.begin - start;
    std::size_t length = quotedLength(source.text().substr(mark.begin), finding.evidence);
    if (length == 0 && !finding.evidence.empty()) {
        // Named by its line alone, or by where the sentence begins.
        const std::string_view front =
            std::string_view(finding.evidence).substr(0, finding.evidence.find(kEllipsis));
        std::size_t at = front.empty() ? std::string_view::npos : line.find(front, column);
        // Without a column the place is a guess of the whole line, so the first word of the quote
        // may lead to where it begins; with one the place is better than that.
        if (at == std::string_view::npos && place.column == 0 && !front.empty()) {
            at = line.find(front.substr(0, front.find(' ')));
        }
        if (at != std::string_view::npos) {
            length = quotedLength(source.text().substr(start + at), finding.evidence);
            if (length > 0) mark.begin = start + at;
        }
    }
    if (length == 0 && place.column > 0 && mark.begin < lineEnd) {
        length = wordLength(source.text().substr(mark.begin, lineEnd - mark.begin));
    }
    // A quote that goes on over lines is marked to the end of its first.
    mark.end = std::min(mark.begin + length, lineEnd);
    mark.wholeLine = mark.end <= mark.begin;
    return mark;
}

Html markedLine(const SourceText& source, std::size_t line, const std::vector<TextMark>& marks) {
    Html made;
    std::size_t at = source.lineStart(line);
    for (const Span& span : shownOf(source, line, marks)) {
        if (span.begin > at) made += leftOut(source.text().substr(at, span.begin - at));
        appendMarked(made, source, span, marks);
        at = span.end;
    }
    if (at < source.lineEnd(line)) {
        made += leftOut(source.text().substr(at, source.lineEnd(line) - at));
    }
    for (const TextMark& mark : marks) {
        if (mark.wholeLine && mark.number > 0) {
            made += flawReference(mark.number, mark.severity, mark.dismissed);
        }
    }
    return made;
}

} // namespace trevix
