#include "critics/inside_engines.h"

#include "critics/code/code_critic.h"
#include "critics/document/markdown_tree.h"
#include "critics/language/language_teller.h"
#include "critics/pages/pdf_reader.h"
#include "critics/syntax/syntax_reader.h"
#include "text/build_version.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace trevix {

namespace {

constexpr std::array kLibraries = {
    InsideLibrary{"hunspell", "Hunspell", "spelling", "LGPL-2.1-or-later", "libhunspell-dev",
                  "hunspell"},
    InsideLibrary{"codespell", "codespell's list", "known slips, English", "CC-BY-SA-3.0",
                  "codespell", "codespell"},
    InsideLibrary{"cld2", "CLD2", "languages told apart", "Apache-2.0", "libcld2-dev", ""},
    InsideLibrary{"cmark-gfm", "cmark-gfm", "structure of Markdown", "BSD-2-Clause",
                  "libcmark-gfm-dev", "cmark-gfm"},
    InsideLibrary{"tree-sitter", "tree-sitter", "syntax, by grammars", "MIT", "libtree-sitter-dev",
                  "tree-sitter"},
    InsideLibrary{"tesseract", "Tesseract", "words in pictures, English", "Apache-2.0",
                  "libtesseract-dev and tesseract-ocr-eng", "tesseract"},
    InsideLibrary{"poppler", "Poppler", "text of PDF files", "GPL-2.0-or-later",
                  "libpoppler-cpp-dev", "poppler"},
    InsideLibrary{"libzip", "libzip", "office files, unpacked", "BSD-3-Clause", "libzip-dev",
                  "libzip"},
    InsideLibrary{"pugixml", "pugixml", "office files, their XML", "MIT", "libpugixml-dev",
                  "pugixml"},
    InsideLibrary{"re2", "RE2", "shapes of secrets", "BSD-3-Clause", "libre2-dev", "re2"},
};

/// What is said of a library: its version, empty where it tells none; or that it is not here, with
/// a reason where there is one.
struct Presence {
    std::string version;
    bool here = true;
    std::string trouble;
};

/// Those of the build, where the library itself tells no version. Empty without the library.
Presence builtWith(std::string_view version) {
    return {std::string(version), !version.empty(), ""};
}

Presence ofHunspell(const CriticTools& tools) {
    const auto& shelf = tools.language.shelf;
    return shelf == nullptr ? Presence{"", false, ""} : builtWith(shelf->version());
}

Presence ofTesseract(const CriticTools& tools) {
    if (tools.lines == nullptr) return {"", false, ""};
    auto taken = tools.lines->take();
    if (const auto* absence = std::get_if<ReaderAbsence>(&taken)) {
        return {"", false, absence->why};
    }
    return builtWith(std::get<LineReaders::Lease>(taken).reader().version());
}

Presence presenceOf(std::string_view id, const CriticTools& tools) {
    if (id == "hunspell") return ofHunspell(tools);
    if (id == "codespell") return {"", tools.language.slips != nullptr, ""};
    if (id == "cld2") return {"", tellsManyLanguages(), ""};
    if (id == "cmark-gfm") return builtWith(markdownVersion());
    if (id == "tesseract") return ofTesseract(tools);
    if (id == "poppler") return builtWith(pdfEngine().version);
    if (id == "libzip") return builtWith(KELVANE_LIBZIP_VERSION);
    if (id == "pugixml") return builtWith(KELVANE_PUGIXML_VERSION);
    // RE2 and tree-sitter: nothing is built without them, and their packages tell no version, or
    // one that is none of theirs.
    return {};
}

EngineInfo infoOf(const InsideLibrary& library, Presence presence) {
    EngineInfo info;
    info.id = library.id;
    info.name = library.name;
    info.judges = library.judges;
    info.licence = library.licence;
    info.version = std::move(presence.version);
    info.here = presence.here;
    info.inside = true;
    info.trouble = std::move(presence.trouble);
    info.obtain = "Debian: " + std::string(library.debian);
    if (!library.homebrew.empty()) info.obtain += "; Homebrew: " + std::string(library.homebrew);
    // What is read when the service starts needs no other build.
    if (library.id != "codespell") info.obtain += "; then build again";
    return info;
}

EngineInfo dictionaryOf(NaturalLanguage language, const CriticTools& tools) {
    EngineInfo info;
    info.id = "dictionary." + std::string(name(language));
    std::ranges::transform(info.id, info.id.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    });
    info.name = "dictionary, " + std::string(name(language));
    info.judges = "spelling, " + std::string(name(language));
    info.inside = true;
    if (tools.language.shelf == nullptr) return info;
    const SpellingBooks& books = tools.language.shelf->of(language);
    info.here = !books.books.empty();
    info.version = books.names;
    if (!info.here) {
        info.trouble = books.why;
        info.obtain = books.remedy;
    }
    return info;
}

EngineInfo grammarOf(std::string_view grammar) {
    EngineInfo info;
    info.id = "grammar." + std::string(grammar);
    info.name = "tree-sitter-" + std::string(grammar);
    info.judges = "syntax, " + std::string(grammar);
    info.licence = "MIT";
    info.inside = true;
    info.obtain = "scripts/grammars, then build again";
    for (const GrammarInfo& known : knownGrammars()) {
        if (known.name != grammar) continue;
        // "tree-sitter-python@0.20.4"
        const std::size_t at = known.package.rfind('@');
        info.name = std::string(known.package.substr(0, at));
        if (at != std::string_view::npos) info.version = std::string(known.package.substr(at + 1));
        info.here = true;
    }
    return info;
}

} // namespace

std::span<const InsideLibrary> insideLibraries() {
    return kLibraries;
}

std::vector<EngineInfo> insideEngines(const CriticTools& tools) {
    EngineInfo own;
    own.id = "trevix";
    own.name = "trevix";
    own.judges = "text, documents, code, tables, pictures";
    own.version = kelvane::text::buildVersion();
    own.here = true;
    own.inside = true;
    std::vector<EngineInfo> engines = {own};
    for (const InsideLibrary& library : kLibraries) {
        engines.push_back(infoOf(library, presenceOf(library.id, tools)));
    }
    for (const NaturalLanguage language : kSpelledLanguages) {
        engines.push_back(dictionaryOf(language, tools));
    }
    for (const std::string_view grammar : grammarsAskedFor()) {
        engines.push_back(grammarOf(grammar));
    }
    return engines;
}

} // namespace trevix
