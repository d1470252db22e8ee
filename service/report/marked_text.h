// Lines of a text with what is wrong in them marked where it stands.
//
// Places come from findings, which tell a line, often a column, and quote what stands there: the
// quote says how far a mark goes. Where it is not found the whole line is marked. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/place.h"
#include "critics/findings/source_text.h"
#include "service/report/html.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// What is marked.
struct TextMark {
    std::size_t line = 0;  ///< Index from 0.
    std::size_t begin = 0; ///< Bytes in the whole text; the end of the line at most.
    std::size_t end = 0;
    bool wholeLine = false;
    Severity severity = Severity::low;
    std::size_t number = 0; ///< Of the flaw on its page; 0 for a mark that leads nowhere.
    bool dismissed = false;

    /// "f-high"; "f-off" for what is dismissed.
    [[nodiscard]] std::string className() const;
};

/// Where `finding` stands in the text. Absent for a place that is not of this text.
[[nodiscard]] std::optional<TextMark> markOf(const SourceText& source, const Place& place,
                                             const Finding& finding);

/// Bytes of one line that are shown when nothing in it is marked, and on either side of a mark in a
/// line that is longer than kLongestWholeLine.
constexpr std::size_t kShownOfALine = 400;
constexpr std::size_t kLongestWholeLine = 4000;

/// The line with its marks, which are of this line and in the order of their beginnings: a number
/// behind each leads to "#fN", and can be led to as "mN". What is left out of a long line is said.
[[nodiscard]] Html markedLine(const SourceText& source, std::size_t line,
                              const std::vector<TextMark>& marks);

/// A number that leads to a flaw: "#f3", reached as "m3".
[[nodiscard]] Html flawReference(std::size_t number, Severity severity, bool dismissed);

/// "critical", "high", ...
[[nodiscard]] std::string severityName(Severity severity);

/// The class of whatever stands for a flaw: "f-critical"; "f-off" for one that is dismissed.
[[nodiscard]] std::string flawClass(Severity severity, bool dismissed);

} // namespace trevix
