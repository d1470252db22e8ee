// The file that a program gets to see of a part: its name, its text, and which dialect it is in.
//
// Programs go by the ending of a name, count lines by LF alone, and take a byte order mark for a
// character. So the file is named by us, its lines end in LF, and it begins with no mark; its lines
// are those of the part, one for one. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/source_text.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

struct WorkFile {
    std::string name;     ///< "work.sh"; never the part's own.
    std::string text;     ///< In UTF-8, as the part has it.
    std::string dialect;  ///< What the program calls it, where one reads several: "bash".
    std::string language; ///< For people: "shell".

    bool operator==(const WorkFile&) const = default;
};

/// How an engine takes a part: absent when it does not read it. All of them take only code whose
/// language is known. The first group takes selections too; the second only whole files, those
/// whose name or first line says what they are, since half a block is no fault of a selection.
using WorkFileOf = std::optional<WorkFile> (*)(const Part& part);

/// Shell but for dialects that neither bash nor ShellCheck reads (zsh, fish, csh). The dialect is
/// that of the first line or of the name, else "bash".
[[nodiscard]] std::optional<WorkFile> shellFile(const Part& part);
[[nodiscard]] std::optional<WorkFile> cFile(const Part& part); ///< C and C++.
[[nodiscard]] std::optional<WorkFile> pythonFile(const Part& part);
/// JavaScript and TypeScript, with and without JSX.
[[nodiscard]] std::optional<WorkFile> scriptFile(const Part& part);
/// The same, and style sheets.
[[nodiscard]] std::optional<WorkFile> scriptOrStyleFile(const Part& part);

/// Whole files for bash: shell whose dialect is sh or bash.
[[nodiscard]] std::optional<WorkFile> wholeBashFile(const Part& part);
[[nodiscard]] std::optional<WorkFile> wholePythonFile(const Part& part);
/// JavaScript without JSX, named as a module when it imports or exports.
[[nodiscard]] std::optional<WorkFile> wholeJavaScriptFile(const Part& part);
[[nodiscard]] std::optional<WorkFile> wholeGoFile(const Part& part);
/// YAML but for templates of it, which are YAML only when they are filled in.
[[nodiscard]] std::optional<WorkFile> wholeYamlFile(const Part& part);
/// What is named as XML: xml, svg, xsd, xsl, xslt, plist.
[[nodiscard]] std::optional<WorkFile> wholeXmlFile(const Part& part);

/// Whether the part says itself what it is, by its name or a first line for the system, so that it
/// is all there and no selection.
[[nodiscard]] bool isWholeFile(const Part& part);

/// The text with LF for CR LF and for a lone CR, without a byte order mark.
[[nodiscard]] std::string forPrograms(std::string_view text);

/// What a program counts columns in, from 1.
enum class ColumnUnit { codePoint, byte };

/// The byte of the part that a program means by line and column, both from 1. A column of 0, or one
/// beyond its line, is the first character of the line that is no blank, or its end. Absent for a
/// line that the text does not have; the one behind its last is the last.
[[nodiscard]] std::optional<std::size_t> offsetOf(const SourceText& source, std::size_t line,
                                                  std::size_t column, ColumnUnit unit);

} // namespace trevix
