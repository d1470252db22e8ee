// The language that code is written in.
//
// Told by the extension of the name when it says so; work that was copied from an editor is called
// "<something>.txt", and then by what stands in it. An extension of a language that is not known
// here ends the search. A guess that is not clear is `unknown`, and
// rules that need to know stay silent. Pure.

#pragma once

#include <string_view>

namespace trevix {

enum class Language {
    unknown,
    c,
    cpp,
    csharp,
    css,
    go,
    html,
    java,
    javascript,
    json,
    php,
    python,
    ruby,
    rust,
    shell,
    sql,
    typescript,
    yaml,
};

[[nodiscard]] Language languageOf(std::string_view name, std::string_view text);

/// The language that the extension of a name says, or `unknown`.
[[nodiscard]] Language languageOfName(std::string_view name);

/// The name of the language for people: "C++"; "a language that is not known here" for `unknown`.
[[nodiscard]] std::string_view name(Language language);

/// Blocks in braces, comments with two slashes.
[[nodiscard]] bool hasBraces(Language language);
/// Data, markup and styles hold no statements.
[[nodiscard]] bool hasStatements(Language language);
[[nodiscard]] bool isScript(Language language); ///< JavaScript or TypeScript.

} // namespace trevix
