// What a program said about a file, in its own terms, and what became of reading it.
//
// Output is hostile until it is read: the work decides much of what stands in it, and a program of
// another version writes something else. Whatever is not understood makes the whole of it not
// understood; nothing throws. Pure; any thread.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

struct ForeignFault {
    std::string code;          ///< The program's own name of its rule: "SC2086".
    std::string level;         ///< Its own word, in lower case: "warning"; may be empty.
    std::string confidence;    ///< Likewise.
    std::size_t line = 0;      ///< From 1; 0 where it names none.
    std::size_t column = 0;    ///< From 1; 0 where it names none.
    std::string message;       ///< Its own words, on one line, in UTF-8.
    std::size_t endColumn = 0; ///< Behind the last on the same line; 0 where it names none.

    bool operator==(const ForeignFault&) const = default;
};

/// The output is not what the program is known to write, or the program said that it could not
/// look.
struct NotUnderstood {
    std::string why; ///< A clause for people: "its answer is not understood".

    bool operator==(const NotUnderstood&) const = default;
};

using ForeignReading = std::variant<std::vector<ForeignFault>, NotUnderstood>;

/// The most faults that are taken from one answer. More would be cut later anyway: the program's
/// own order is that of the file.
constexpr std::size_t kMostForeignFaults = 2000;

/// The code of a fault that says that the file does not parse.
constexpr std::string_view kSyntaxCode = "syntax";

/// Reads one program's output, whole and raw.
using ForeignReader = ForeignReading (*)(std::string_view output);

// JSON.
[[nodiscard]] ForeignReading readShellcheck(std::string_view output); ///< Its format "json1".
[[nodiscard]] ForeignReading readBandit(std::string_view output);     ///< Its format "json".
[[nodiscard]] ForeignReading readOxlint(std::string_view output);     ///< Its format "json".
[[nodiscard]] ForeignReading readBiome(std::string_view output);      ///< Its format "rdjson".
[[nodiscard]] ForeignReading readGitleaks(std::string_view output);   ///< Its report "json".
/// {"faults": [{"code", "line", "column", "endColumn", "message"}]}, endColumn if there is one, or
/// {"trouble": "…"}: what the scripts in resources/engines print.
[[nodiscard]] ForeignReading readFaults(std::string_view output);

// Lines.
/// Five fields behind one another with tabs between: severity, id, line, column, message.
[[nodiscard]] ForeignReading readCppcheck(std::string_view output);
/// "FILE:LINE:COLUMN: [error] message (rule)".
[[nodiscard]] ForeignReading readYamllint(std::string_view output);
/// "FILE: line LINE: message". The first one alone: what follows are echoes.
[[nodiscard]] ForeignReading readBash(std::string_view errors);
/// "FILE:LINE", the line itself, a mark below its column, and behind a blank line
/// "SyntaxError: message".
[[nodiscard]] ForeignReading readNode(std::string_view errors);
/// "FILE:LINE: parser error : message". The first one alone.
[[nodiscard]] ForeignReading readXmllint(std::string_view errors);
/// "FILE:LINE:COLUMN: message". The first one alone.
[[nodiscard]] ForeignReading readGofmt(std::string_view errors);

} // namespace trevix
