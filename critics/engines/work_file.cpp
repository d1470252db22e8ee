#include "critics/engines/work_file.h"

#include "critics/code/code_language.h"
#include "text/byte_cut.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view extensionOf(std::string_view name) {
    const std::size_t point = name.rfind('.');
    return point == std::string_view::npos ? std::string_view() : name.substr(point + 1);
}

std::string_view withoutMark(std::string_view text) {
    return text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text;
}

/// "bash" for "#!/usr/bin/env -S bash -e"; empty without such a first line.
std::string interpreterOf(std::string_view text) {
    text = withoutMark(text);
    if (!text.starts_with("#!")) return {};
    std::string_view rest = text.substr(2, std::min(text.find_first_of("\r\n"), text.size()) - 2);
    while (!rest.empty()) {
        rest = text::trimmed(rest);
        const std::string_view word = rest.substr(0, rest.find_first_of(" \t"));
        const std::string_view base = word.substr(word.rfind('/') + 1);
        if (!base.empty() && base != "env" && base.front() != '-' &&
            base.find('=') == std::string_view::npos) {
            return std::string(base);
        }
        rest.remove_prefix(word.size());
    }
    return {};
}

WorkFile fileOf(const Part& part, Language language, std::string name, std::string dialect = {}) {
    return {std::move(name), forPrograms(part.text), std::move(dialect),
            std::string(trevix::name(language))};
}

/// Where a line of the text begins with one of the words.
template <std::size_t n>
bool someLineBegins(std::string_view text, const std::array<std::string_view, n>& words) {
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view line = text.substr(at, text.find('\n', at) - at);
        if (std::ranges::any_of(words, [&](std::string_view w) { return line.starts_with(w); })) {
            return true;
        }
        at += line.size() + 1;
    }
    return false;
}

} // namespace

std::optional<WorkFile> shellFile(const Part& part) {
    if (languageOf(part.name, part.text) != Language::shell) return std::nullopt;
    constexpr std::array<std::string_view, 5> kKnown = {"sh", "bash", "dash", "ksh", "bats"};
    std::string dialect = interpreterOf(part.text);
    if (dialect.empty()) {
        // Most files called .sh are written for bash, and what is right there is right in sh.
        const std::string extension = text::lowerAscii(extensionOf(part.name));
        dialect = extension == "zsh" || extension == "ksh" ? extension : "bash";
    }
    if (dialect == "ash") dialect = "dash";
    // It has much of what bash adds to sh, and which of it is told by no program.
    if (dialect == "busybox") dialect = "bash";
    if (!text::isOneOf(dialect, kKnown)) return std::nullopt;
    return fileOf(part, Language::shell, "work.sh", dialect);
}

std::optional<WorkFile> cFile(const Part& part) {
    const Language language = languageOf(part.name, part.text);
    if (language == Language::c) return fileOf(part, language, "work.c");
    // Objective-C++ goes by the same language here and is none that these programs know.
    if (language != Language::cpp || extensionOf(part.name) == "mm") return std::nullopt;
    return fileOf(part, language, "work.cpp");
}

std::optional<WorkFile> pythonFile(const Part& part) {
    if (languageOf(part.name, part.text) != Language::python) return std::nullopt;
    const bool stub = extensionOf(part.name) == "pyi";
    return fileOf(part, Language::python, stub ? "work.pyi" : "work.py");
}

std::optional<WorkFile> scriptFile(const Part& part) {
    const Language language = languageOf(part.name, part.text);
    if (!isScript(language)) return std::nullopt;
    constexpr std::array<std::string_view, 5> kOwn = {"mjs", "cjs", "jsx", "tsx", "ts"};
    const std::string extension = text::lowerAscii(extensionOf(part.name));
    if (text::isOneOf(extension, kOwn)) return fileOf(part, language, "work." + extension);
    return fileOf(part, language, language == Language::typescript ? "work.ts" : "work.js");
}

std::optional<WorkFile> scriptOrStyleFile(const Part& part) {
    const bool style = languageOf(part.name, part.text) == Language::css &&
                       text::lowerAscii(extensionOf(part.name)) != "scss";
    return style ? fileOf(part, Language::css, "work.css") : scriptFile(part);
}

std::optional<WorkFile> wholeBashFile(const Part& part) {
    auto file = shellFile(part);
    if (!file || !isWholeFile(part) || (file->dialect != "bash" && file->dialect != "sh")) {
        return std::nullopt;
    }
    return file;
}

std::optional<WorkFile> wholePythonFile(const Part& part) {
    return isWholeFile(part) ? pythonFile(part) : std::nullopt;
}

std::optional<WorkFile> wholeJavaScriptFile(const Part& part) {
    const std::string extension = text::lowerAscii(extensionOf(part.name));
    if (!isWholeFile(part) || extension == "jsx" ||
        languageOf(part.name, part.text) != Language::javascript) {
        return std::nullopt;
    }
    WorkFile file = fileOf(part, Language::javascript, "work.cjs");
    constexpr std::array<std::string_view, 6> kModule = {"import ", "import{", "import\"",
                                                         "import'", "export ", "export{"};
    if (extension == "mjs" || (extension != "cjs" && someLineBegins(file.text, kModule))) {
        file.name = "work.mjs";
    }
    return file;
}

std::optional<WorkFile> wholeGoFile(const Part& part) {
    if (languageOfName(part.name) != Language::go) return std::nullopt;
    return fileOf(part, Language::go, "work.go");
}

std::optional<WorkFile> wholeYamlFile(const Part& part) {
    if (languageOfName(part.name) != Language::yaml) return std::nullopt;
    if (part.text.find("{{") != std::string::npos || part.text.find("{%") != std::string::npos) {
        return std::nullopt;
    }
    return fileOf(part, Language::yaml, "work.yaml");
}

std::optional<WorkFile> wholeXmlFile(const Part& part) {
    constexpr std::array<std::string_view, 6> kXml = {"xml", "svg", "xsd", "xsl", "xslt", "plist"};
    if (!text::isOneOf(text::lowerAscii(extensionOf(part.name)), kXml)) return std::nullopt;
    return WorkFile{"work.xml", forPrograms(part.text), {}, "XML"};
}

bool isWholeFile(const Part& part) {
    return languageOfName(part.name) != Language::unknown || !interpreterOf(part.text).empty();
}

std::string forPrograms(std::string_view text) {
    text = withoutMark(text);
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r') {
            out += text[i];
        } else if (i + 1 == text.size() || text[i + 1] != '\n') {
            out += '\n';
        }
    }
    return out;
}

std::optional<std::size_t> offsetOf(const SourceText& source, std::size_t line, std::size_t column,
                                    ColumnUnit unit) {
    if (line == 0 || line > source.lineCount() + 1) return std::nullopt;
    const std::size_t index = std::min(line, source.lineCount()) - 1;
    std::string_view written = source.line(index);
    std::size_t start = source.lineStart(index);
    if (index == 0 && written.starts_with(kByteOrderMark)) {
        written.remove_prefix(kByteOrderMark.size());
        start += kByteOrderMark.size();
    }
    if (line > source.lineCount()) return start + written.size();
    if (column == 0) {
        const std::size_t first = written.find_first_not_of(" \t");
        return start + (first == std::string_view::npos ? written.size() : first);
    }
    if (unit == ColumnUnit::byte) {
        // A byte inside a character stands for the whole of it.
        return start + text::codePointStart(written, column - 1);
    }
    std::size_t at = 0;
    for (std::size_t i = 1; i < column && at < written.size(); ++i) {
        at += text::decodeFront(written.substr(at)).length;
    }
    return start + at;
}

} // namespace trevix
