#include "critics/code/code_language.h"

#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

// Bytes. A language shows itself early or not at all.
constexpr std::size_t kReadForGuess = 16000;
constexpr int kClear = 3; ///< Points that make a guess.

struct Extension {
    std::string_view name;
    Language language;
};

constexpr std::array kExtensions = {
    Extension{"c", Language::c},
    Extension{"h", Language::cpp},
    Extension{"cc", Language::cpp},
    Extension{"cpp", Language::cpp},
    Extension{"cxx", Language::cpp},
    Extension{"hpp", Language::cpp},
    Extension{"hh", Language::cpp},
    Extension{"mm", Language::cpp},
    Extension{"cs", Language::csharp},
    Extension{"css", Language::css},
    Extension{"scss", Language::css},
    Extension{"go", Language::go},
    Extension{"html", Language::html},
    Extension{"htm", Language::html},
    Extension{"xml", Language::html},
    Extension{"java", Language::java},
    Extension{"js", Language::javascript},
    Extension{"mjs", Language::javascript},
    Extension{"cjs", Language::javascript},
    Extension{"jsx", Language::javascript},
    Extension{"ts", Language::typescript},
    Extension{"tsx", Language::typescript},
    Extension{"json", Language::json},
    Extension{"php", Language::php},
    Extension{"py", Language::python},
    Extension{"pyi", Language::python},
    Extension{"rb", Language::ruby},
    Extension{"rs", Language::rust},
    Extension{"sh", Language::shell},
    Extension{"bash", Language::shell},
    Extension{"zsh", Language::shell},
    Extension{"sql", Language::sql},
    Extension{"yaml", Language::yaml},
    Extension{"yml", Language::yaml},
};

/// A mark of a language: what a trimmed line begins with, or what it contains.
struct Sign {
    Language language;
    std::string_view text;
    bool atStart;
    int points;
};

// Three points make a guess (kClear): some signs do so by themselves, others only together. Chosen.
constexpr std::array kSigns = {
    Sign{Language::python, "def ", true, 2},
    Sign{Language::python, "async def ", true, 3},
    Sign{Language::python, "elif ", true, 3},
    Sign{Language::python, "except ", true, 2},
    Sign{Language::python, "except:", true, 3},
    Sign{Language::python, "self.", false, 2},
    Sign{Language::python, "__name__", false, 3},
    Sign{Language::python, " is None", false, 2},
    Sign{Language::python, " not in ", false, 1},
    Sign{Language::python, "@property", true, 2},
    Sign{Language::python, "pass", true, 1},
    Sign{Language::python, "raise ", true, 1},
    Sign{Language::javascript, "function ", false, 2},
    Sign{Language::javascript, "const ", true, 1},
    Sign{Language::javascript, "let ", true, 1},
    Sign{Language::javascript, " => ", false, 1},
    Sign{Language::javascript, "===", false, 2},
    Sign{Language::javascript, "!==", false, 2},
    Sign{Language::javascript, "console.", false, 3},
    Sign{Language::javascript, "require(", false, 2},
    Sign{Language::javascript, "module.exports", false, 3},
    Sign{Language::javascript, "export ", true, 2},
    Sign{Language::javascript, "await ", false, 1},
    Sign{Language::javascript, "document.", false, 2},
    Sign{Language::javascript, "undefined", false, 1},
    Sign{Language::typescript, ": string", false, 3},
    Sign{Language::typescript, ": number", false, 3},
    Sign{Language::typescript, ": boolean", false, 3},
    Sign{Language::typescript, ": Promise<", false, 3},
    Sign{Language::typescript, "interface ", true, 1},
    Sign{Language::typescript, "export interface ", true, 3},
    Sign{Language::typescript, "export type ", true, 3},
    Sign{Language::typescript, "readonly ", false, 2},
    Sign{Language::typescript, "import type ", true, 3},
    Sign{Language::java, "public class ", false, 3},
    Sign{Language::java, "import java", true, 4},
    Sign{Language::java, "System.out.", false, 4},
    Sign{Language::java, "@Override", true, 3},
    Sign{Language::java, "private final ", true, 2},
    Sign{Language::java, "public static void main", false, 4},
    Sign{Language::java, " throws ", false, 2},
    Sign{Language::java, "public ", true, 1},
    Sign{Language::java, "private ", true, 1},
    Sign{Language::csharp, "using System", true, 4},
    Sign{Language::csharp, "Console.Write", false, 4},
    Sign{Language::csharp, "{ get;", false, 4},
    Sign{Language::csharp, "public ", true, 1},
    Sign{Language::go, "package ", true, 1},
    Sign{Language::go, "func ", true, 2},
    Sign{Language::go, " := ", false, 2},
    Sign{Language::go, "fmt.", false, 2},
    Sign{Language::go, "err != nil", false, 4},
    Sign{Language::go, "defer ", true, 2},
    Sign{Language::rust, "fn ", true, 2},
    Sign{Language::rust, "pub fn ", true, 4},
    Sign{Language::rust, "let mut ", false, 4},
    Sign{Language::rust, "impl ", true, 2},
    Sign{Language::rust, "println!", false, 4},
    Sign{Language::rust, "use std::", true, 4},
    Sign{Language::rust, "#[derive", true, 4},
    Sign{Language::rust, "&mut ", false, 3},
    Sign{Language::rust, ".unwrap()", false, 3},
    Sign{Language::cpp, "#include <", true, 2},
    Sign{Language::cpp, "std::", false, 3},
    Sign{Language::cpp, "namespace ", true, 2},
    Sign{Language::cpp, "template <", true, 3},
    Sign{Language::cpp, "template<", true, 3},
    Sign{Language::cpp, "nullptr", false, 3},
    Sign{Language::cpp, "const auto", false, 3},
    Sign{Language::cpp, "#pragma once", true, 3},
    Sign{Language::cpp, "using namespace", true, 3},
    Sign{Language::cpp, "public:", true, 2},
    Sign{Language::cpp, "private:", true, 2},
    Sign{Language::c, "#include <std", true, 3},
    Sign{Language::c, "#include \"", true, 2},
    Sign{Language::c, "#define ", true, 2},
    Sign{Language::c, "printf(", false, 2},
    Sign{Language::c, "malloc(", false, 3},
    Sign{Language::c, "typedef struct", true, 3},
    Sign{Language::c, "int main(", true, 2},
    Sign{Language::c, "static int ", true, 2},
    Sign{Language::c, "char *", false, 2},
    Sign{Language::c, " NULL", false, 2},
    Sign{Language::shell, "echo ", true, 2},
    Sign{Language::shell, "fi", true, 1},
    Sign{Language::shell, "then", true, 1},
    Sign{Language::shell, "; then", false, 4},
    Sign{Language::shell, "; do", false, 2},
    Sign{Language::shell, "done", true, 1},
    Sign{Language::shell, "esac", true, 4},
    Sign{Language::shell, "set -e", true, 4},
    Sign{Language::shell, "export ", true, 1},
    Sign{Language::shell, "if [ ", true, 4},
    Sign{Language::shell, "\"$", false, 2},
    Sign{Language::ruby, "end", true, 1},
    Sign{Language::ruby, "def ", true, 1},
    Sign{Language::ruby, "puts ", true, 3},
    Sign{Language::ruby, "require '", true, 3},
    Sign{Language::ruby, " do |", false, 4},
    Sign{Language::ruby, "attr_", true, 4},
    Sign{Language::ruby, "module ", true, 1},
    Sign{Language::ruby, "elsif ", true, 3},
    Sign{Language::ruby, "unless ", false, 1},
    Sign{Language::php, "<?php", false, 9},
    Sign{Language::php, "$this->", false, 4},
    Sign{Language::sql, "SELECT ", true, 3},
    Sign{Language::sql, "INSERT INTO ", true, 4},
    Sign{Language::sql, "CREATE TABLE ", true, 5},
    Sign{Language::sql, "UPDATE ", true, 2},
    Sign{Language::sql, "DELETE FROM ", true, 4},
    Sign{Language::sql, "FROM ", true, 1},
    Sign{Language::sql, "WHERE ", true, 1},
    Sign{Language::sql, "ALTER TABLE ", true, 4},
    Sign{Language::html, "<!DOCTYPE html", true, 9},
    Sign{Language::html, "<html", true, 9},
    Sign{Language::html, "<div", true, 2},
    Sign{Language::html, "</div>", true, 2},
    Sign{Language::html, "<p>", true, 2},
    Sign{Language::html, "<head>", true, 3},
    Sign{Language::html, "<?xml", true, 9},
    Sign{Language::css, "px;", false, 3},
    Sign{Language::css, "color: ", true, 3},
    Sign{Language::css, "margin", true, 3},
    Sign{Language::css, "display: ", true, 3},
    Sign{Language::css, "@media", true, 3},
};

constexpr std::size_t kLanguages = static_cast<std::size_t>(Language::yaml) + 1;

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

Language byFirstLine(std::string_view line) {
    if (line.substr(0, 2) != "#!") return Language::unknown;
    // "sh" is asked for last, as it may be a part of a path or of another name.
    if (line.find("python") != std::string_view::npos) return Language::python;
    if (line.find("node") != std::string_view::npos) return Language::javascript;
    if (line.find("ruby") != std::string_view::npos) return Language::ruby;
    if (line.find("php") != std::string_view::npos) return Language::php;
    if (line.find("sh") != std::string_view::npos) return Language::shell;
    return Language::unknown;
}

/// An opening bracket and then what JSON, and little else, has behind it.
bool looksLikeJson(std::string_view text) {
    text = text::trimmed(text);
    if (text.size() < 2 || (text[0] != '{' && text[0] != '[')) return false;
    const bool array = text[0] == '[';
    const std::string_view inner = text::trimmed(text.substr(1, kReadForGuess));
    if (inner.empty()) return false;
    if (!array && inner[0] == '"') {
        const std::size_t close = inner.find('"', 1);
        if (close == std::string_view::npos) return false;
        const std::string_view after = text::trimmed(inner.substr(close + 1, 20));
        return !after.empty() && after[0] == ':';
    }
    // "{}" is an object; other braces open blocks in many languages.
    if (!array) return inner[0] == '}' && inner.size() == 1;
    // A list that was cut off is taken for one only if it holds objects.
    if (text.back() != ']' && inner[0] != '{') return false;
    const bool starts = inner[0] == '"' || inner[0] == '{' || inner[0] == '[' || inner[0] == '-' ||
                        text::isAsciiDigit(inner[0]);
    // An object in an array has quoted keys; a list of Rust attributes or slices has none.
    if (inner[0] == '{') {
        const std::string_view key = text::trimmed(inner.substr(1, 200));
        return !key.empty() && (key[0] == '"' || key[0] == '}');
    }
    return starts;
}

/// "key: value", "key:" or "- item".
bool isYamlLine(std::string_view line) {
    if (line.substr(0, 2) == "- ") return true;
    std::size_t i = 0;
    while (i < line.size() && (text::isAsciiWord(line[i]) || line[i] == '-' || line[i] == '.')) ++i;
    if (i == 0 || i >= line.size() || line[i] != ':') return false;
    if (i + 1 < line.size() && line[i + 1] != ' ') return false;
    return !endsWith(line, ";") && !endsWith(line, "{") && !endsWith(line, ",") &&
           !endsWith(line, "(");
}

bool looksLikeYaml(std::string_view text) {
    std::size_t lines = 0;
    std::size_t fitting = 0;
    std::size_t pairs = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text::trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line[0] == '#' || line == "---") continue;
        ++lines;
        if (isYamlLine(line)) ++fitting;
        if (isYamlLine(line) && line[0] != '-') ++pairs;
    }
    // Four lines in five: block texts may stand between the pairs.
    return lines >= 2 && pairs >= 1 && fitting * 10 >= lines * 8;
}

Language byContent(std::string_view text) {
    std::array<int, kLanguages> points{};
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        // Signs are looked for in the first 400 bytes of a line: generated lines are as long as
        // files.
        const std::string_view line =
            text::trimmed(rest.substr(0, std::min<std::size_t>(end, 400)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty()) continue;
        for (const Sign& sign : kSigns) {
            const bool found = sign.atStart ? line.substr(0, sign.text.size()) == sign.text
                                            : line.find(sign.text) != std::string_view::npos;
            if (found) points[static_cast<std::size_t>(sign.language)] += sign.points;
        }
        const bool colon = line.back() == ':';
        const auto python = static_cast<std::size_t>(Language::python);
        if (colon && (text::startsWithIgnoringCase(line, "if ") ||
                      text::startsWithIgnoringCase(line, "for ") ||
                      text::startsWithIgnoringCase(line, "while ") || line == "else:" ||
                      line == "try:" || text::startsWithIgnoringCase(line, "class ") ||
                      text::startsWithIgnoringCase(line, "def ") ||
                      text::startsWithIgnoringCase(line, "with "))) {
            points[python] += 3;
        }
        const bool semicolon = line.back() == ';';
        if (!semicolon && (line.substr(0, 7) == "import " || line.substr(0, 5) == "from ") &&
            line.find('\'') == std::string_view::npos && line.find('"') == std::string_view::npos) {
            points[python] += 2;
        }
        if (line.substr(0, 7) == "import " && (line.find(" from '") != std::string_view::npos ||
                                               line.find(" from \"") != std::string_view::npos)) {
            points[static_cast<std::size_t>(Language::javascript)] += 4;
        }
        // Statements of these languages do not end in one.
        if (semicolon) {
            points[python] -= 1;
            points[static_cast<std::size_t>(Language::ruby)] -= 1;
            points[static_cast<std::size_t>(Language::shell)] -= 1;
        }
    }
    const auto at = [&](Language language) -> int& {
        return points[static_cast<std::size_t>(language)];
    };
    // What a language shares with its forerunner counts for it once it shows itself.
    if (at(Language::typescript) >= 3) at(Language::typescript) += at(Language::javascript) + 1;
    if (at(Language::cpp) >= 3) at(Language::cpp) += at(Language::c);
    // The first of equal ones; the order of the languages breaks the tie, always the same way.
    const auto best = std::max_element(points.begin(), points.end());
    if (*best < kClear) return Language::unknown;
    return static_cast<Language>(best - points.begin());
}

} // namespace

namespace {

/// In lower case, without the point; empty without one.
std::string extensionOf(std::string_view name) {
    const std::size_t point = name.rfind('.');
    return point == std::string_view::npos ? "" : text::lowerAscii(name.substr(point + 1));
}

// Of languages that nobody here reads. What is written in them looks like one of those that are
// read, and would be judged by the wrong grammar.
constexpr std::array<std::string_view, 36> kOtherLanguages = {
    "swift", "kt", "kts", "scala",  "sc",  "lua", "zig", "dart", "r",   "jl",  "m",    "mm",
    "pl",    "pm", "hs",  "ml",     "mli", "ex",  "exs", "erl",  "clj", "el",  "lisp", "nim",
    "v",     "sv", "vhd", "groovy", "ps1", "vb",  "fs",  "fsx",  "sol", "cob", "f90",  "pas"};

} // namespace

Language languageOfName(std::string_view name) {
    const std::string extension = extensionOf(name);
    const auto known = std::ranges::find(kExtensions, extension, &Extension::name);
    return known == kExtensions.end() ? Language::unknown : known->language;
}

// From the surest sign to the vaguest: the name, the first line, the shape of data, the signs of a
// language.
Language languageOf(std::string_view name, std::string_view text) {
    const Language byName = languageOfName(name);
    if (byName != Language::unknown) return byName;
    // A language that has no rules here must not be taken for one that has.
    if (text::isOneOf(extensionOf(name), kOtherLanguages)) return Language::unknown;
    const std::string_view head = text.substr(0, kReadForGuess);
    const Language named = byFirstLine(head.substr(0, head.find('\n')));
    if (named != Language::unknown) return named;
    if (looksLikeJson(text)) return Language::json;
    const Language guessed = byContent(head);
    if (guessed == Language::unknown && looksLikeYaml(head)) return Language::yaml;
    return guessed;
}

std::string_view name(Language language) {
    switch (language) {
    case Language::c:
        return "C";
    case Language::cpp:
        return "C++";
    case Language::csharp:
        return "C#";
    case Language::css:
        return "CSS";
    case Language::go:
        return "Go";
    case Language::html:
        return "HTML";
    case Language::java:
        return "Java";
    case Language::javascript:
        return "JavaScript";
    case Language::json:
        return "JSON";
    case Language::php:
        return "PHP";
    case Language::python:
        return "Python";
    case Language::ruby:
        return "Ruby";
    case Language::rust:
        return "Rust";
    case Language::shell:
        return "shell";
    case Language::sql:
        return "SQL";
    case Language::typescript:
        return "TypeScript";
    case Language::yaml:
        return "YAML";
    case Language::unknown:
        break;
    }
    return "a language that is not known here";
}

bool hasBraces(Language language) {
    switch (language) {
    case Language::c:
    case Language::cpp:
    case Language::csharp:
    case Language::go:
    case Language::java:
    case Language::javascript:
    case Language::php:
    case Language::rust:
    case Language::typescript:
        return true;
    default:
        return false;
    }
}

bool hasStatements(Language language) {
    return hasBraces(language) || language == Language::python || language == Language::ruby ||
           language == Language::shell;
}

bool isScript(Language language) {
    return language == Language::javascript || language == Language::typescript;
}

} // namespace trevix
