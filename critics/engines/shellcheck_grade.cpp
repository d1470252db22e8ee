#include "critics/engines/shellcheck_grade.h"

#include "critics/engines/shell_values.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

using Words = std::string_view;

/// Commands that change or remove what a word names: a word too many is a loss.
bool alters(std::string_view command) {
    constexpr std::array<Words, 11> kAltering = {"rm",     "rmdir", "mv",     "chmod",
                                                 "chown",  "chgrp", "shred",  "truncate",
                                                 "unlink", "rsync", "setfacl"};
    return text::isOneOf(command, kAltering);
}

/// Commands that go wrong by a word too many, or by none, without a loss.
bool takesOneWord(std::string_view command) {
    constexpr std::array<Words, 6> kTaking = {"cd", "cp", "ln", "tee", "[", "test"};
    return text::isOneOf(command, kTaking);
}

/// "count=$(wc -l < list)" where nothing reads the count: a command is run for nothing but its
/// output. Where its status is looked at as well, it may be run for that.
bool losesOutput(const ForeignSubject& subject) {
    const std::size_t offset = subject.place();
    const std::string_view line = subject.line();
    std::string_view value =
        line.substr(offset - static_cast<std::size_t>(line.data() - subject.text.data()));
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
    constexpr std::array<Words, 5> kConditions = {"if", "elif", "while", "until", "!"};
    const std::string_view begin = text::trimmed(line);
    return runs && !text::isOneOf(begin.substr(0, begin.find(' ')), kConditions) &&
           line.find("||") == std::string_view::npos && line.find("&&") == std::string_view::npos &&
           !isReadInShell(subject.text, name);
}

/// Whether a variable by its name holds words that are to be parted: "$find_options", "$PAGER".
bool namesSeveralWords(std::string_view name) {
    const std::string lower = text::lowerAscii(name);
    constexpr std::array<Words, 8> kPrograms = {"pager", "editor", "cc",  "cxx",
                                                "make",  "libs",   "cmd", "command"};
    if (text::isOneOf(lower, kPrograms)) return true;
    return std::ranges::any_of(std::array<Words, 14>{"args", "opts", "opt", "options", "flags",
                                                     "list", "files", "dirs", "packages", "pkgs",
                                                     "params", "modules", "includes", "words"},
                               [&](std::string_view end) { return lower.ends_with(end); });
}

/// Whether the value is held against a number in the same test, so that it is one or the test fails
/// as it should.
bool isComparedAsNumber(std::string_view rest) {
    const std::string_view test = rest.substr(0, rest.find_first_of("]\n;&|"));
    return std::ranges::any_of(
        std::array<Words, 6>{" -eq ", " -ne ", " -lt ", " -le ", " -gt ", " -ge "},
        [&](std::string_view comparison) {
            return test.find(comparison) != std::string_view::npos;
        });
}

/// A value that the shell parts at blanks, SC2086: medium where words that somebody else chose, or
/// that nobody knows, reach a command that changes what they name, and where words from outside
/// reach one that takes a single word. Elsewhere a command gets a word more and says so.
Severity ofPartedWords(const ForeignSubject& subject) {
    const std::size_t offset = subject.place();
    const std::string_view rest = subject.rest();
    const std::string_view name = shellVariableAt(rest);
    if (!name.empty() && namesSeveralWords(name)) return Severity::low;
    const std::string_view command = shellCommandAround(subject.text, offset);
    const std::string_view before = text::trimmed(subject.text.substr(0, offset));
    // Behind ">" it names a file.
    const bool file = before.ends_with('>');
    if (!alters(command) && !takesOneWord(command) && !file) return Severity::low;
    const ShellOrigin origin =
        name.empty() ? ShellOrigin::unknown : shellOrigin(subject.text, name);
    if (origin == ShellOrigin::own) return Severity::low;
    if (origin == ShellOrigin::unknown) return alters(command) ? Severity::medium : Severity::low;
    // A test of nothing, or of two words, is a fault of the test alone; "x$1" is a word whatever it
    // holds.
    const bool glued = offset > 0 && text::isAsciiWord(subject.text[offset - 1]);
    const bool test = command == "[" || command == "test";
    const bool argument = !name.empty() && text::isAsciiDigit(name.front());
    return test && (!argument || glued || isComparedAsNumber(rest)) ? Severity::low
                                                                    : Severity::medium;
}

/// "rm *", SC2035: a file whose name begins with a dash is taken for an option. "*.log" is what the
/// script made itself.
Severity ofLeadingStar(const ForeignSubject& subject) {
    const std::size_t offset = subject.place();
    const std::string_view rest = subject.rest();
    const bool anyName =
        rest.starts_with('*') &&
        (rest.size() == 1 || std::string_view(" \t\n;)|&").find(rest[1]) != std::string_view::npos);
    const std::string_view command = shellCommandAround(subject.text, offset);
    return anyName && (alters(command) || command == "tar") ? Severity::medium : Severity::low;
}

/// printf "$text", SC2059: a percent sign in the value changes what is printed. Not for a value of
/// the script's own words, nor where a format is passed on together with what it is for.
Severity ofFormat(const ForeignFault& fault, const ForeignSubject& subject) {
    const std::string_view rest = subject.rest();
    const std::size_t end = fault.endColumn > fault.column ? fault.endColumn - fault.column
                                                           : rest.find_first_of(" \t\n;|&)");
    const std::string_view format = rest.substr(0, end);
    if (rest.substr(format.size()).starts_with(" \"$@\"")) return Severity::low;
    for (std::size_t at = format.find('$'); at != std::string_view::npos;
         at = format.find('$', at + 1)) {
        const std::string_view name = shellVariableAt(format.substr(at));
        const ShellOrigin origin = format.substr(at).starts_with("$(")
                                       ? ShellOrigin::outside
                                       : shellOrigin(subject.text, name);
        // In a part of a script the rest may set it.
        const bool anything = subject.whole && !name.empty() && origin == ShellOrigin::unknown;
        if (origin == ShellOrigin::outside || anything) return Severity::medium;
    }
    return Severity::low;
}

/// "sort list > list", SC2094: the file is emptied before it is read, where the command reads it
/// and does not merely have its name among its words.
Severity ofReadAndWritten(const ForeignSubject& subject) {
    constexpr std::array<Words, 20> kReading = {
        "cat", "sort", "sed", "grep", "egrep", "fgrep", "awk", "head",  "tail", "cut",
        "tr",  "uniq", "wc",  "fold", "nl",    "rev",   "tac", "paste", "join", "while"};
    const std::size_t offset = subject.place();
    return text::isOneOf(shellCommandAround(subject.text, offset), kReading) ? Severity::medium
                                                                             : Severity::low;
}

/// "total_size=3; echo $totalsize", SC2153: the name that is meant is set and read nowhere.
Severity ofMisspelling(const ForeignFault& fault, const ForeignSubject& subject) {
    if (!subject.whole) return Severity::low;
    constexpr std::string_view kMeant = "Did you mean ";
    const std::size_t at = fault.message.find(kMeant);
    if (at == std::string::npos) return Severity::low;
    const std::string_view meant = std::string_view(fault.message).substr(at + kMeant.size());
    const std::string_view name = meant.substr(
        0,
        meant.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_"));
    return name.empty() || isReadInShell(subject.text, name) ? Severity::low : Severity::medium;
}

/// echo '$file', SC2016: the name is printed, and not the value that the script gives it. Not where
/// the line is written to a file, which may be a script.
Severity ofSingleQuotes(const ForeignSubject& subject) {
    const std::size_t offset = subject.place();
    const std::string_view command = shellCommandAround(subject.text, offset);
    if ((command != "echo" && command != "printf") || subject.line().find('>') != Words::npos) {
        return Severity::low;
    }
    std::string_view quoted = subject.rest();
    if (quoted.starts_with('\'')) quoted.remove_prefix(1);
    quoted = quoted.substr(0, quoted.find('\''));
    for (std::size_t at = quoted.find('$'); at != Words::npos; at = quoted.find('$', at + 1)) {
        const std::string_view name = shellVariableAt(quoted.substr(at));
        const bool set = !name.empty() && !text::isAsciiDigit(name.front()) &&
                         shellOrigin(subject.text, name) != ShellOrigin::unknown;
        if (set) return Severity::medium;
    }
    return Severity::low;
}

} // namespace

std::optional<Severity> shellcheckGrade(const ForeignFault& fault, const ForeignSubject& subject) {
    if (fault.code == "SC2016") return ofSingleQuotes(subject);
    if (fault.code == "SC2035") return ofLeadingStar(subject);
    if (fault.code == "SC2059") return ofFormat(fault, subject);
    if (fault.code == "SC2086") return ofPartedWords(subject);
    if (fault.code == "SC2094") return ofReadAndWritten(subject);
    if (fault.code == "SC2153") return ofMisspelling(fault, subject);
    // In a part of a script the rest may set it.
    if (fault.code == "SC2154" && !subject.whole) return Severity::low;
    if (fault.code == "SC2034") {
        // Settings and completions set what others read, but seldom the output of a command.
        return subject.whole && losesOutput(subject) ? Severity::medium : Severity::low;
    }
    return gradeOfLevel(fault);
}

} // namespace trevix
