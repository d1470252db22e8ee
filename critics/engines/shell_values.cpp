#include "critics/engines/shell_values.h"

#include "text/letters.h"
#include "text/one_of.h"

#include <algorithm>
#include <array>

namespace trevix {

namespace text = kelvane::text;

namespace {

/// Bytes. A script that somebody wrote is smaller: of 335 that Debian installs the largest has 12
/// thousand. Every finding reads it again.
constexpr std::size_t kMostRead = std::size_t{128} << 10U;
/// Bytes of a command that are read, so that a file of one line costs no more than one of many. A
/// command over several lines of 100 has fewer.
constexpr std::size_t kLongestCommand = 1024;

/// What is left to be looked at for one answer.
struct Budget {
    int names = 8;    ///< That a value is made of, and theirs; a path is made of two or three.
    int places = 256; ///< Where a name stands; also in comments and in what is printed.
};

bool isWordAt(std::string_view script, std::size_t at, std::string_view name) {
    const std::size_t end = at + name.size();
    return (at == 0 || !text::isAsciiWord(script[at - 1])) &&
           (end >= script.size() || !text::isAsciiWord(script[end]));
}

/// The beginning of the line around the byte; a line that ends with a backslash goes on.
std::size_t lineStart(std::string_view script, std::size_t offset) {
    const std::size_t least = offset - std::min(offset, kLongestCommand);
    std::size_t at = offset;
    while (at > least && (script[at - 1] != '\n' || (at >= 2 && script[at - 2] == '\\'))) --at;
    return at;
}

/// What follows up to the end of the line or of the command.
std::string_view restOfCommand(std::string_view script, std::size_t at) {
    const std::string_view rest = script.substr(at, kLongestCommand);
    return rest.substr(0, rest.find_first_of("\n;"));
}

bool isPositional(std::string_view name) {
    if (name == "OPTARG") return true;
    return !name.empty() && name != "0" &&
           std::ranges::all_of(name, [](char c) { return text::isAsciiDigit(c); });
}

/// Whether what the command prints is one word whatever the machine: numbers, dates, and a name
/// that the command itself makes up.
bool printsOneWord(std::string_view command) {
    constexpr std::array<std::string_view, 13> kOneWord = {"mktemp",
                                                           "date",
                                                           "uname",
                                                           "id",
                                                           "nproc",
                                                           "wc",
                                                           "expr",
                                                           "seq",
                                                           "tput",
                                                           "arch",
                                                           "tty",
                                                           "getconf",
                                                           "dpkg-architecture"};
    command = text::trimmed(command);
    return text::isOneOf(command.substr(0, command.find_first_of(" \t)`")), kOneWord);
}

ShellOrigin originOf(std::string_view script, std::string_view name, Budget& left);

/// Of what stands behind "=", or behind "in": the worst of its parts.
ShellOrigin originOfValue(std::string_view script, std::string_view value, Budget& left) {
    if (value.starts_with('\'')) value.remove_prefix(std::min(value.size(), value.find('\'', 1)));
    for (std::size_t at = value.find_first_of("$`"); at != std::string_view::npos;
         at = value.find_first_of("$`", at + 1)) {
        const std::string_view rest = value.substr(at);
        if (rest.starts_with('`') || (rest.starts_with("$(") && !rest.starts_with("$(("))) {
            const std::string_view command = rest.substr(rest.starts_with('`') ? 1 : 2);
            if (!printsOneWord(command)) return ShellOrigin::outside;
            // The second mark ends it.
            if (rest.starts_with('`')) at = std::min(value.find('`', at + 1), value.size() - 1);
            continue;
        }
        const std::size_t begin = rest.starts_with("${") ? 2 : 1;
        if (begin < rest.size() && (rest[begin] == '@' || rest[begin] == '*')) {
            return ShellOrigin::outside;
        }
        const std::string_view other = shellVariableAt(rest);
        if (isPositional(other)) return ShellOrigin::outside;
        if (other.empty() || left.names == 0) continue;
        --left.names;
        if (originOf(script, other, left) == ShellOrigin::outside) return ShellOrigin::outside;
    }
    return ShellOrigin::own;
}

/// What one place of the name says of its value; unknown where it sets none.
ShellOrigin originAt(std::string_view script, std::size_t at, std::string_view name, Budget& left) {
    std::string_view behind = script.substr(at + name.size());
    if (behind.starts_with("+=")) behind.remove_prefix(1);
    const char before = at == 0 ? '\n' : script[at - 1];
    if (behind.starts_with('=')) {
        const bool sets = std::string_view("\n \t;({&|").find(before) != std::string_view::npos;
        if (!sets) return ShellOrigin::unknown;
        const std::size_t value = static_cast<std::size_t>(behind.data() - script.data()) + 1;
        return originOfValue(script, restOfCommand(script, value), left);
    }
    if (before != ' ' && before != '\t') return ShellOrigin::unknown;
    constexpr std::array<std::string_view, 3> kReaders = {"read", "readarray", "mapfile"};
    if (text::isOneOf(shellCommandAround(script, at), kReaders)) return ShellOrigin::outside;
    if (!text::trimmed(script.substr(0, at)).ends_with("for")) return ShellOrigin::unknown;
    const std::string_view words = text::trimmed(restOfCommand(behind, 0));
    // "for i; do" goes through the arguments; a star stands for names of files.
    if (!words.starts_with("in") || words.find('*') != std::string_view::npos) {
        return ShellOrigin::outside;
    }
    return originOfValue(script, words, left);
}

ShellOrigin originOf(std::string_view script, std::string_view name, Budget& left) {
    if (isPositional(name) || name == "@" || name == "*") return ShellOrigin::outside;
    if (name == "0") return ShellOrigin::own;
    if (name.empty()) return ShellOrigin::unknown;
    ShellOrigin origin = ShellOrigin::unknown;
    for (std::size_t at = script.find(name); at != std::string_view::npos;
         at = script.find(name, at + name.size())) {
        if (!isWordAt(script, at, name) || script.substr(0, at).ends_with('$')) continue;
        if (left.places == 0) return origin;
        --left.places;
        const ShellOrigin here = originAt(script, at, name, left);
        if (here == ShellOrigin::outside) return here;
        if (here == ShellOrigin::own) origin = here;
    }
    return origin;
}

} // namespace

ShellOrigin shellOrigin(std::string_view script, std::string_view name) {
    Budget left;
    return originOf(script.substr(0, kMostRead), name, left);
}

bool isReadInShell(std::string_view script, std::string_view name) {
    for (std::size_t at = script.find('$'); at != std::string_view::npos;
         at = script.find('$', at + 1)) {
        const std::size_t begin = script.substr(at, 2) == "${" ? at + 2 : at + 1;
        const std::size_t end = begin + name.size();
        if (script.substr(begin, name.size()) != name) continue;
        if (end >= script.size() || !text::isAsciiWord(script[end])) return true;
    }
    return false;
}

std::string_view shellVariableAt(std::string_view text) {
    if (!text.starts_with('$')) return {};
    text.remove_prefix(text.starts_with("${") ? 2 : 1);
    const auto end = std::ranges::find_if_not(text, text::isAsciiWord);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

std::string_view shellCommandAround(std::string_view script, std::size_t offset) {
    constexpr std::array<std::string_view, 15> kBefore = {
        "then", "do",   "else",    "if",   "elif",  "while", "until",  "!",
        "sudo", "exec", "command", "time", "nohup", "env",   "builtin"};
    const std::size_t line = lineStart(script, offset);
    std::size_t begin = offset;
    // The brace of "${name}" begins no command.
    while (begin > line &&
           (std::string_view(";|&({`").find(script[begin - 1]) == std::string_view::npos ||
            (begin >= 2 && script.substr(begin - 2, 2) == "${"))) {
        --begin;
    }
    std::string_view before = script.substr(begin, offset - begin);
    for (;;) {
        before = text::trimmed(before);
        if (before.starts_with('\\')) {
            before.remove_prefix(1);
            continue;
        }
        const std::string_view word = before.substr(0, before.find_first_of(" \t\n\\"));
        const bool setting = word.find('=') != std::string_view::npos;
        if (word.empty() || (!setting && !text::isOneOf(word, kBefore))) return word;
        before.remove_prefix(word.size());
    }
}

} // namespace trevix
