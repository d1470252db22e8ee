#include "critics/engines/shellcheck_grade.h"

#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

/// Whether "$name" or "${name" stands anywhere: in single quotes too, as what is in them may be run
/// elsewhere.
bool isRead(std::string_view text, std::string_view name) {
    for (std::size_t at = text.find('$'); at != std::string_view::npos;
         at = text.find('$', at + 1)) {
        const std::size_t begin = text.substr(at, 2) == "${" ? at + 2 : at + 1;
        const std::size_t end = begin + name.size();
        if (text.substr(begin, name.size()) != name) continue;
        if (end >= text.size() || !text::isAsciiWord(text[end])) return true;
    }
    return false;
}

/// "count=$(wc -l < list)" where nothing reads the count: a command is run for nothing but its
/// output. Where its status is looked at as well, it may be run for that.
bool losesOutput(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    const std::size_t start = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1; // 0 for none.
    const std::string_view line = text.substr(start, text.find('\n', offset) - start);
    std::string_view value = line.substr(offset - start);
    const std::size_t equals = value.find('=');
    const std::string_view name = value.substr(0, value.find_first_of("=+["));
    if (equals == std::string_view::npos || name.empty() ||
        value.substr(0, equals).find_first_of(" \t;") != std::string_view::npos) {
        return false;
    }
    value.remove_prefix(equals + 1);
    const std::size_t open = value.find("$(");
    const bool runs = value.find('`') != std::string_view::npos ||
                      (open != std::string_view::npos && value.substr(open, 3) != "$((");
    constexpr std::array<std::string_view, 5> kConditions = {"if", "elif", "while", "until", "!"};
    const std::string_view begin = text::trimmed(line);
    return runs && !text::isOneOf(begin.substr(0, begin.find(' ')), kConditions) &&
           line.find("||") == std::string_view::npos && line.find("&&") == std::string_view::npos &&
           !isRead(text, name);
}

/// The name of "$name" and "${name}"; empty for anything else.
std::string_view variableAt(std::string_view text) {
    if (!text.starts_with('$')) return {};
    text.remove_prefix(text.starts_with("${") ? 2 : 1);
    const auto end = std::ranges::find_if_not(text, text::isAsciiWord);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

/// Whether a variable by its name holds words that are to be parted: "$find_options", "$PAGER".
bool namesSeveralWords(std::string_view name) {
    const std::string lower = text::lowerAscii(name);
    constexpr std::array<std::string_view, 8> kPrograms = {"pager", "editor", "cc",  "cxx",
                                                           "make",  "libs",   "cmd", "command"};
    if (text::isOneOf(lower, kPrograms)) return true;
    return std::ranges::any_of(std::array<std::string_view, 14>{"args", "opts", "opt", "options",
                                                                "flags", "list", "files", "dirs",
                                                                "packages", "pkgs", "params",
                                                                "modules", "includes", "words"},
                               [&](std::string_view end) { return lower.ends_with(end); });
}

/// Whether a script gives the variable no value with a blank in it: it counts, or goes through
/// words that stand behind "in".
bool holdsOneWord(std::string_view text, std::string_view name) {
    const std::string counted = std::string(name) + "=$((";
    if (text.find(counted) != std::string_view::npos) return true;
    const std::string loop = "for " + std::string(name) + " in ";
    const std::size_t at = text.find(loop);
    if (at == std::string_view::npos) return false;
    // Names of files may have blanks.
    const std::string_view words = text.substr(at, text.find_first_of("\n;", at) - at);
    return words.find('*') == std::string_view::npos;
}

/// The word that begins the command around the place: "echo".
std::string_view commandAround(std::string_view text, std::size_t offset) {
    const std::size_t line = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1; // 0 for none.
    std::string_view before = text.substr(line, offset - line);
    before = text::trimmed(before.substr(before.find_last_of(";|&({`") + 1));
    for (const std::string_view word : {"then ", "do ", "else "}) {
        if (before.starts_with(word)) before = text::trimmed(before.substr(word.size()));
    }
    return before.substr(0, before.find_first_of(" \t"));
}

/// Whether a value that the shell parts at blanks does no harm there: it has none, is to be parted,
/// or only loses a blank in what is printed.
bool splitsHarmlessly(const ForeignSubject& subject) {
    constexpr std::array<std::string_view, 6> kPrinters = {"echo", "printf", "set",
                                                           "eval", "exit",   "return"};
    const std::size_t offset = std::min(subject.offset, subject.text.size());
    const std::string_view name = variableAt(subject.text.substr(offset));
    if (name.empty() || text::isAsciiDigit(name.front())) return false;
    if (namesSeveralWords(name) || holdsOneWord(subject.text, name)) return true;
    // Behind ">" it names a file.
    const bool file = text::trimmed(subject.text.substr(0, offset)).ends_with('>');
    return !file && text::isOneOf(commandAround(subject.text, offset), kPrinters);
}

} // namespace

std::optional<Severity> shellcheckGrade(const ForeignFault& fault, const ForeignSubject& subject) {
    if (fault.code == "SC2086") return splitsHarmlessly(subject) ? Severity::low : Severity::medium;
    // In a part of a script the rest may set it.
    if (fault.code == "SC2154" && !subject.whole) return Severity::low;
    if (fault.code == "SC2034") {
        // Settings and completions set what others read, but seldom the output of a command.
        return subject.whole && losesOutput(subject.text, subject.offset) ? Severity::medium
                                                                          : Severity::low;
    }
    return gradeOfLevel(fault);
}

} // namespace trevix
