#include "critics/engines/python_grade.h"

#include "critics/code/python_blocks.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::optional<Severity> kHigh = Severity::high;
constexpr std::optional<Severity> kMedium = Severity::medium;
constexpr std::optional<Severity> kLow = Severity::low;
constexpr std::optional<Severity> kOff = std::nullopt;

/// A call on a few lines, in bytes.
constexpr std::size_t kLongestCall = 400;

bool contains(std::string_view text, std::string_view what) {
    return text.find(what) != std::string_view::npos;
}

bool containsAnyOf(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(words, [&](std::string_view word) { return contains(text, word); });
}

/// The line of the place; empty for that of nothing.
std::string_view lineOf(const ForeignSubject& subject) {
    return subject.line().substr(0, kMostAroundPython);
}

/// What stands on the line of the place before it, and from it on.
std::string_view lineBefore(const ForeignSubject& subject) {
    const std::string_view line = subject.line();
    const auto begin = static_cast<std::size_t>(line.data() - subject.text.data());
    return line.substr(0, subject.place() - begin);
}
std::string_view lineFrom(const ForeignSubject& subject) {
    const std::string_view rest = subject.rest();
    return rest.substr(0, rest.find('\n')).substr(0, kMostAroundPython);
}

/// What stands in the first brackets from that byte on; empty without any.
std::string_view bracketsFrom(std::string_view whole, std::size_t from) {
    const std::string_view text = whole.substr(from, kLongestCall);
    const std::size_t open = text.find('(');
    if (open == std::string_view::npos) return {};
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
        if (text[i] == '(' || text[i] == '[' || text[i] == '{') ++depth;
        if (text[i] == ')' || text[i] == ']' || text[i] == '}') --depth;
        if (depth == 0) return text.substr(open + 1, i - open - 1);
    }
    return text.substr(open + 1);
}

/// What stands in the brackets of the first call from the place on; empty without one.
std::string_view argumentsOf(const ForeignSubject& subject) {
    return bracketsFrom(subject.text, subject.place());
}

/// Where the name begins as a word of its own; npos without.
std::size_t findWord(std::string_view text, std::string_view name) {
    for (std::size_t at = text.find(name); at != std::string_view::npos;
         at = text.find(name, at + 1)) {
        const std::size_t end = at + name.size();
        if ((at == 0 || !text::isAsciiWord(text[at - 1])) &&
            (end == text.size() || !text::isAsciiWord(text[end]))) {
            return at;
        }
    }
    return std::string_view::npos;
}

/// The name that stands at the place; empty where something else does.
std::string_view nameAt(const ForeignSubject& subject) {
    const std::string_view rest = subject.rest();
    const auto end = std::ranges::find_if_not(rest, text::isAsciiWord);
    return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
}

/// "eval(text, names)" and "exec(text, names)": with names of its own it is there to evaluate, and
/// what it may reach was thought of.
bool evaluatesWithOwnNames(const ForeignSubject& subject) {
    const std::string_view text = subject.text.substr(subject.place(), kLongestCall);
    const std::size_t call = std::min(text.find("eval("), text.find("exec("));
    if (call == std::string_view::npos) return false;
    int depth = 0;
    for (std::size_t i = call + 4; i < text.size(); ++i) {
        if (text[i] == '(' || text[i] == '[' || text[i] == '{') ++depth;
        if (text[i] == ')' || text[i] == ']' || text[i] == '}') --depth;
        if (depth == 0) return false;
        if (depth > 1 || text[i] != ',') continue;
        const std::string_view names = text::trimmed(text.substr(i + 1));
        return !names.empty() && text::isAsciiWord(names.front()) &&
               !names.starts_with("globals()") && !names.starts_with("locals()");
    }
    return false;
}

/// A name of Python 2 where the file tells which of the two runs it, expects that something is
/// missing, or where Python 3 never comes.
bool isOfPython2(const ForeignSubject& subject, std::string_view name,
                 const std::vector<PythonOpener>& around) {
    constexpr std::array<std::string_view, 16> kNames = {
        "unicode", "basestring", "long",   "xrange",       "raw_input", "file",
        "cmp",     "unichr",     "reduce", "execfile",     "reload",    "buffer",
        "coerce",  "intern",     "apply",  "StandardError"};
    if (!text::isOneOf(name, kNames)) return false;
    if (containsAnyOf(
            subject.text.substr(0, kMostOfPython),
            {"version_info", "hexversion", "sys.version", "PY2", "PY3", "except NameError"})) {
        return true;
    }
    constexpr std::array<std::string_view, 12> kMethods = {
        "__cmp__",      "__unicode__", "__nonzero__", "__long__",     "__coerce__",   "__oct__",
        "__getslice__", "__hex__",     "__div__",     "__setslice__", "__delslice__", "__rdiv__"};
    return std::ranges::any_of(around, [&](const PythonOpener& opener) {
        if (opener.line.starts_with("except")) return true;
        if (!opener.line.starts_with("def ")) return false;
        const std::string_view method = opener.line.substr(4, opener.line.find('(') - 4);
        return text::isOneOf(text::trimmed(method), kMethods);
    });
}

/// Whether the module takes the name away, once it is loaded and what asks for it was called.
bool isTakenAway(const ForeignSubject& subject, std::string_view name) {
    constexpr std::string_view kDelete = "del ";
    const std::string_view text = subject.text.substr(0, kMostOfPython);
    for (std::size_t at = text.find(kDelete); at != std::string_view::npos;
         at = text.find(kDelete, at + 1)) {
        const std::size_t before = text.substr(0, at).find_last_not_of(" \t");
        if (before == std::string_view::npos || text[before] != '\n') continue;
        const std::string_view rest = text.substr(at + kDelete.size());
        if (findWord(rest.substr(0, rest.find('\n')), name) != std::string_view::npos) return true;
    }
    return false;
}

/// Whether the file gives itself names that no line of it declares.
bool makesNames(const ForeignSubject& subject) {
    return containsAnyOf(
        subject.text.substr(0, kMostOfPython),
        {"globals().update(", "globals()[", "vars().update(", "vars()[", "._convert_("});
}

/// Whether the line asks checkers not to look for such names.
bool isUnchecked(const ForeignSubject& subject) {
    return containsAnyOf(lineFrom(subject),
                         {"# type: ignore", "# pyright: ignore", "undefined-variable", "E0602"});
}

/// Whether the name is given a value further on in a loop that the place is in: an earlier turn of
/// it has made the name, or a condition keeps the first one from asking.
bool isMadeByTheLoop(const ForeignSubject& subject, std::string_view name,
                     const std::vector<PythonOpener>& around) {
    const PythonOpener* loop = nullptr;
    for (const PythonOpener& opener : around) {
        if (opener.line.starts_with("def ") || opener.line.starts_with("class ")) break;
        if (opener.line.starts_with("for ") || opener.line.starts_with("while ")) loop = &opener;
    }
    if (loop == nullptr) return false;
    const std::string_view body = subject.text.substr(loop->offset, kMostAroundPython);
    for (std::size_t at = body.find('\n'); at != std::string_view::npos;) {
        const std::size_t next = body.find('\n', at + 1);
        const std::string_view line = body.substr(at + 1, next - at - 1);
        at = next;
        const std::string_view words = text::trimmed(line);
        if (words.empty() || words.starts_with('#')) continue;
        if (line.find_first_not_of(" \t") <= loop->margin) return false;
        if (!words.starts_with(name)) continue;
        const std::string_view behind = text::trimmed(words.substr(name.size()));
        if (behind.starts_with('=') && !behind.starts_with("==")) return true;
    }
    return false;
}

/// Whether the name that nothing declares is one that only a checker of types reads, as it stands
/// in quotes, a function of the module's own, which it takes away once it is loaded, or one that
/// something else than a line of this file makes.
bool mayBeMeant(const ForeignSubject& subject) {
    const std::size_t begin = subject.place();
    if (begin > 0 && (subject.text[begin - 1] == '"' || subject.text[begin - 1] == '\''))
        return true;
    const std::string_view name = nameAt(subject);
    if (name.empty()) return false;
    // What a package, a console and the translation of a program's words bring.
    constexpr std::array<std::string_view, 5> kBrought = {"__path__", "get_ipython", "_",
                                                          "ngettext", "__IPYTHON__"};
    if (text::isOneOf(name, kBrought) || isUnchecked(subject)) return true;
    const std::string definition = "\ndef " + std::string(name) + "(";
    if (contains(subject.text.substr(0, kMostOfPython), definition)) return true;
    if (makesNames(subject) || isTakenAway(subject, name)) return true;
    const std::vector<PythonOpener> around = pythonOpenersAround(subject.text, subject.place());
    return isOfPython2(subject, name, around) || isMadeByTheLoop(subject, name, around);
}

/// Whether a name that `__all__` lists is one of the package's modules, or is made when it is asked
/// for.
bool isListedRightly(const ForeignSubject& subject) {
    return subject.name.ends_with("__init__.py") || makesNames(subject) ||
           contains(subject.text.substr(0, kMostOfPython), "\ndef __getattr__(");
}

/// "os.chmod(path, 0o755)": all may read and run it, as programs and folders are for. One of them
/// names the place of the call, the other that of the mode.
bool letsNobodyElseWrite(const ForeignSubject& subject) {
    // What is masked lets those write whom the person lets.
    if (contains(lineFrom(subject), "umask")) return true;
    std::string_view mode = nameAt(subject);
    if (!mode.starts_with('0')) {
        const std::string_view arguments = argumentsOf(subject);
        const std::size_t comma = arguments.rfind(',');
        if (comma == std::string_view::npos) return false;
        mode = text::trimmed(arguments.substr(comma + 1));
        if (mode.starts_with("mode=")) mode.remove_prefix(5);
    }
    if (!mode.starts_with('0')) return false;
    mode.remove_prefix(mode.starts_with("0o") || mode.starts_with("0O") ? 2 : 1);
    constexpr std::string_view kWithoutWriting = "0145";
    return mode.size() >= 2 && std::ranges::all_of(mode, text::isAsciiDigit) &&
           kWithoutWriting.find(mode[mode.size() - 1]) != std::string_view::npos &&
           kWithoutWriting.find(mode[mode.size() - 2]) != std::string_view::npos;
}

/// Whether a line ends in the middle of a list in quotes that something is looked up in: "if host
/// in
/// {'::', ".
bool looksUpIn(std::string_view line) {
    const std::size_t in = line.rfind(" in ");
    if (in == std::string_view::npos) return false;
    char quote = '\0';
    for (const char c : line.substr(in + 4)) {
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (std::string_view("([{, ").find(c) == std::string_view::npos) {
            return false;
        }
    }
    return quote == '\0' && !text::trimmed(line).starts_with("for ");
}

/// Whether the words in quotes at the place are compared, or asked for by `startswith`.
bool isCompared(const ForeignSubject& subject) {
    const std::string_view before = text::trimmed(lineBefore(subject));
    if (before.ends_with("==") || before.ends_with("!=") || looksUpIn(lineBefore(subject)) ||
        before.ends_with("startswith(") || before.ends_with("startswith((")) {
        return true;
    }
    std::string_view rest = lineFrom(subject);
    if (rest.empty() || (rest[0] != '"' && rest[0] != '\'')) return false;
    const std::size_t close = rest.find(rest[0], 1);
    if (close == std::string_view::npos) return false;
    rest = text::trimmed(rest.substr(close + 1));
    return rest.starts_with("==") || rest.starts_with("!=") || rest.starts_with("in ");
}

/// "('0.0.0.0', 0)", and nothing on its line binds it: without a port it stands for no address yet.
bool standsForNone(const ForeignSubject& subject) {
    std::string_view rest = lineFrom(subject);
    const std::size_t comma = rest.find(',');
    if (comma == std::string_view::npos || contains(lineBefore(subject), "bind")) return false;
    rest = text::trimmed(rest.substr(comma + 1));
    return rest.starts_with("0)");
}

/// Whether anything in the file may listen at an address.
bool isListenedAt(const ForeignSubject& subject) {
    const std::string_view before = lineBefore(subject);
    const bool value = before.ends_with("Address(") || before.ends_with("Network(") ||
                       before.ends_with("ip_address(") || before.ends_with("ip_network(");
    return !value && !isCompared(subject) && !standsForNone(subject) &&
           containsAnyOf(
               subject.text.substr(0, kMostOfPython),
               {"bind", "listen", "run(", "serve", "Server", "host", "HOST", "interface"});
}

/// "'/tmp'", the folder itself and no name below it: it is handed to what draws one, or looked for.
bool isFolderAlone(const ForeignSubject& subject) {
    const std::string_view line = lineFrom(subject);
    if (line.empty() || (line[0] != '"' && line[0] != '\'')) return false;
    const std::size_t close = line.find(line[0], 1);
    if (close == std::string_view::npos) return false;
    std::string_view path = line.substr(1, close - 1);
    if (path.ends_with('/')) path.remove_suffix(1);
    const std::string_view behind = text::trimmed(line.substr(close + 1));
    return (path == "/tmp" || path == "/var/tmp" || path == "/dev/shm") &&
           !behind.starts_with('+') && !behind.starts_with('/') &&
           !containsAnyOf(lineBefore(subject), {"join(", "Path("});
}

/// "'md5': hashes.MD5()," in a table of algorithms by their names: what hashes is another line.
bool isEntryOfTable(const ForeignSubject& subject) {
    std::string_view line = text::trimmed(lineOf(subject));
    if (!line.ends_with(',')) return false;
    line.remove_suffix(1);
    const std::size_t colon = line.find(": ");
    return line.ends_with("()") && colon != std::string_view::npos &&
           !contains(line.substr(0, colon), "(");
}

/// Where a text is only mixed with others, two that have one hash do no harm; and where the author
/// says that it is not for security.
bool isUnhurtByCollisions(const ForeignSubject& subject) {
    return containsAnyOf(lineOf(subject), {"MGF1(", "usedforsecurity=False"}) ||
           contains(argumentsOf(subject), "usedforsecurity=False");
}

/// Whether the file names the standard that it follows, "RFC 1939": which hash and which mode such
/// a protocol has is not for its author to choose.
bool followsStandard(const ForeignSubject& subject) {
    const std::string_view text = subject.text.substr(0, kMostOfPython);
    for (const std::string_view name : {"RFC", "rfc"}) {
        for (std::size_t at = text.find(name); at != std::string_view::npos;
             at = text.find(name, at + 1)) {
            std::string_view number = text.substr(at + name.size(), 2);
            if (number.starts_with(' ') || number.starts_with('-')) number.remove_prefix(1);
            const bool begins = at == 0 || !text::isAsciiWord(text[at - 1]);
            if (begins && !number.empty() && text::isAsciiDigit(number.front())) return true;
        }
    }
    return false;
}

/// A hash of the standard library's that the names around call a checksum, of the line and its
/// brackets and of the function around, and that none of them calls one for security.
bool isChecksum(const ForeignSubject& subject) {
    const std::string_view line = lineOf(subject);
    if (!contains(line, "hashlib.") &&
        !contains(subject.text.substr(0, kMostOfPython), "from hashlib import")) {
        return false;
    }
    std::string words(line);
    words += argumentsOf(subject);
    // Who names a function by the algorithm leaves the choice to its callers.
    bool named = false;
    for (const PythonOpener& opener : pythonOpenersAround(subject.text, subject.place())) {
        if (!opener.line.starts_with("def ")) continue;
        const std::string name = text::lowerAscii(opener.line.substr(0, opener.line.find('(')));
        named = named || containsAnyOf(name, {"md5", "sha"});
        words += name;
    }
    words = text::lowerAscii(words);
    if (containsAnyOf(words, {"passw", "passphrase", "pwd", "secret", "token", "sign", "auth",
                              "cert", "crypt", "hmac", "salt", "credential", "login", "user",
                              "session", "otp", "verif", "nonce"})) {
        return false;
    }
    return named || containsAnyOf(words, {"checksum", "etag", "cache", "file", "content", "body",
                                          "uuid", "md5_", "sha1_", "_md5", "_sha1"});
}

/// "extractall(path, filter=\"data\")"
bool isFiltered(const ForeignSubject& subject) {
    const std::string_view arguments = argumentsOf(subject);
    return contains(arguments, "filter=") && !contains(arguments, "fully_trusted");
}

/// Whether the function around looks at what is in the archive before it unpacks that.
bool looksInside(const ForeignSubject& subject) {
    for (const PythonOpener& opener : pythonOpenersAround(subject.text, subject.place())) {
        if (!opener.line.starts_with("def ")) continue;
        return containsAnyOf(subject.text.substr(opener.offset, subject.place() - opener.offset),
                             {".getmembers()", ".getnames()", ".namelist()", ".infolist()"});
    }
    return false;
}

/// "Popen(words, shell=shell)": whoever calls chose it.
bool isShellChosen(const ForeignSubject& subject) {
    const std::string_view arguments = argumentsOf(subject);
    constexpr std::string_view kShell = "shell=";
    const std::size_t at = findWord(arguments, "shell");
    if (at == std::string_view::npos || !arguments.substr(at).starts_with(kShell)) return false;
    const std::string_view given = arguments.substr(at + kShell.size());
    return !given.empty() && ((given[0] >= 'a' && given[0] <= 'z') || given[0] == '_');
}

/// "yaml.load(text, SafeLoader)", by whatever name the file takes such a loader in, or derives one;
/// and "yaml.load(text, loader)", where whoever gives the loader chose it.
bool isLoadedSafely(const ForeignSubject& subject) {
    const std::string_view arguments = argumentsOf(subject);
    if (contains(arguments, "SafeLoader")) return true;
    const std::size_t before = arguments.find_last_of(",=");
    if (before == std::string_view::npos) return false;
    const std::string loader(text::trimmed(arguments.substr(before + 1)));
    if (loader.empty() || !std::ranges::all_of(loader, text::isAsciiWord)) return false;
    if (text::lowerAscii(loader) == loader) return true;
    const std::string_view text = subject.text.substr(0, kMostOfPython);
    const std::size_t at = text.find("class " + loader + "(");
    if (at == std::string_view::npos) return false;
    const std::string_view rest = text.substr(at);
    return contains(rest.substr(0, rest.find('\n')), "SafeLoader");
}

/// "Environment(**options)", in a file that speaks of escaping.
bool isEscapedElsewhere(const ForeignSubject& subject) {
    return contains(argumentsOf(subject), "**") &&
           contains(subject.text.substr(0, kMostOfPython), "autoescape");
}

/// Whether one of the lines that open the blocks around the place is such.
template <class Is>
bool isInside(const ForeignSubject& subject, const Is& is) {
    const std::vector<PythonOpener> around = pythonOpenersAround(subject.text, subject.place());
    return std::ranges::any_of(around, [&](const PythonOpener& opener) { return is(opener.line); });
}

/// Whether a function reads objects in a file that writes them as well: they are its own.
bool isReadBack(const ForeignSubject& subject) {
    return isInside(subject, [](std::string_view line) { return line.starts_with("def "); }) &&
           containsAnyOf(subject.text.substr(0, kMostOfPython),
                         {"pickle.dump(", " Pickler(", "pickle.Pickler("});
}

/// Whether it stands where a module is missing, below "except ImportError".
bool isForWantOfModule(const ForeignSubject& subject) {
    return isInside(subject, [](std::string_view line) {
        return line.starts_with("except") &&
               containsAnyOf(line, {"ImportError", "ModuleNotFoundError"});
    });
}

/// "mktemp(dir=folder)": nobody else may write there, and put something of that name; "path +
/// mktemp('', '', '')", a name alone; and a pipe of Windows, which no link stands for.
bool isNamedElsewhere(const ForeignSubject& subject) {
    const std::string_view line = lineFrom(subject);
    const std::size_t call = line.find("mktemp(");
    if (call == std::string_view::npos) return false;
    const std::string_view arguments = bracketsFrom(subject.text, subject.place() + call);
    const std::string_view before = line.substr(0, call);
    if (contains(arguments, "/tmp")) return false;
    return contains(arguments, "dir=") || std::ranges::count(arguments, ',') == 2 ||
           contains(arguments, "\\\\.\\pipe") || contains(before, "+ ");
}

/// Whether a document is read that the function around was given, or by a parser that was: who
/// hands it in knows where it is from, and what the parser does is told where it is made.
bool isReadForCaller(const ForeignSubject& subject) {
    const std::string_view arguments = argumentsOf(subject);
    const std::size_t comma = arguments.find(',');
    const std::string_view document = text::trimmed(arguments.substr(0, comma));
    if (comma != std::string_view::npos && text::trimmed(arguments.substr(comma + 1)) == "parser") {
        return true;
    }
    if (document.empty() || !std::ranges::all_of(document, text::isAsciiWord)) return false;
    for (const PythonOpener& opener : pythonOpenersAround(subject.text, subject.place())) {
        if (!opener.line.starts_with("def ")) continue;
        return findWord(bracketsFrom(subject.text, opener.offset), document) !=
               std::string_view::npos;
    }
    return false;
}

/// Whether a condition around it, or a failure, decides that it is run at all.
bool isAskedFor(const ForeignSubject& subject) {
    return isInside(subject, [](std::string_view line) {
        return line.starts_with("if ") || line.starts_with("elif ") || line.starts_with("else:") ||
               line.starts_with("try:") || line.starts_with("except");
    });
}

/// "'…' % locals()": a text that is given all names may use none of them.
bool isGivenAllNames(const ForeignSubject& subject) {
    const std::string_view text = subject.rest().substr(0, kMostAroundPython);
    if (text.empty() || (text[0] != '"' && text[0] != '\'')) return false;
    // Three quotes begin what may go on below.
    const bool several = text.size() > 2 && text[1] == text[0] && text[2] == text[0];
    const std::string_view mark = text.substr(0, several ? 3 : 1);
    const std::size_t close = text.find(mark, mark.size());
    if (close == std::string_view::npos) return false;
    std::string_view rest = text::trimmed(text.substr(close + mark.size()));
    if (!rest.starts_with('%')) return false;
    rest = text::trimmed(rest.substr(1));
    return rest.starts_with("locals()") || rest.starts_with("globals()") ||
           rest.starts_with("vars(");
}

/// Whether the file is of no web application: then markup is taken for safe by what makes pages for
/// others, and who puts what into it is told where that is done.
bool isOfLibrary(const ForeignSubject& subject) {
    return !containsAnyOf(subject.text.substr(0, kMostOfPython),
                          {"from flask", "import flask", "from django", "import django",
                           "from bottle", "import bottle", "from quart", "request.args",
                           "request.form", "request.GET", "request.POST"});
}

/// Whether what is unsafe in itself does no harm by what stands around it. `number` is that of
/// Bandit's rule, which Ruff took over.
bool isHarmless(std::string_view number, const ForeignSubject& subject) {
    if (isInPythonTest(subject.text, subject.place(), subject.name)) return true;
    if (number == "102" || number == "307") return evaluatesWithOwnNames(subject);
    if (number == "103") return letsNobodyElseWrite(subject);
    if (number == "104") return !isListenedAt(subject);
    if (number == "108") return isCompared(subject) || isFolderAlone(subject);
    if (number == "202") return isFiltered(subject) || looksInside(subject);
    if (number == "602" || number == "604") return isShellChosen(subject);
    if (number == "303" || number == "324") {
        return isEntryOfTable(subject) || isUnhurtByCollisions(subject) || isChecksum(subject) ||
               followsStandard(subject);
    }
    if (number == "301") return isReadBack(subject);
    if (number == "305") return followsStandard(subject);
    if (number == "306") return isForWantOfModule(subject) || isNamedElsewhere(subject);
    if (number == "401" || number == "402" || number == "411") return isAskedFor(subject);
    if (number == "506") return isLoadedSafely(subject);
    if (number == "701") return isEscapedElsewhere(subject);
    if (number == "704") return isOfLibrary(subject);
    if (number == "317" && contains(lineFrom(subject), "make_parser(")) return true;
    // Python's own readers of XML; others open what a document names.
    if (number >= "313" && number <= "319") return isReadForCaller(subject);
    return false;
}

} // namespace

std::optional<Severity> gradeOfBandit(const ForeignFault& fault, const ForeignSubject& subject) {
    if (fault.code.starts_with('B') && isHarmless(fault.code.substr(1), subject)) return kLow;
    // What it is hardly sure of weighs one step less.
    const bool sure = fault.confidence != "low";
    if (fault.level == "high") return sure ? kHigh : kMedium;
    if (fault.level == "medium") return sure ? kMedium : kLow;
    if (fault.level == "low") return sure ? kLow : kOff;
    return kOff;
}

std::optional<Severity> gradeOfRuff(const ForeignFault& fault, const ForeignSubject& subject) {
    const bool whole = subject.whole;
    constexpr std::array<std::string_view, 14> kUnsafe = {"S201", "S312", "S321", "S501", "S502",
                                                          "S503", "S505", "S507", "S508", "S602",
                                                          "S605", "S609", "S612", "S701"};
    constexpr std::array<std::string_view, 7> kHints = {"S105", "S106", "S107", "S110",
                                                        "S112", "S310", "S311"};
    if (fault.code.starts_with('S') && isHarmless(fault.code.substr(1), subject)) return kLow;
    // What the base's gives back is nothing.
    if (fault.code == "PLE0101" && contains(lineOf(subject), ").__init__(")) return kLow;
    if (fault.code == "F507" && isGivenAllNames(subject)) return kLow;
    // What is called may be all that is meant.
    if (fault.code == "B015" && contains(lineFrom(subject), "(")) return kLow;
    // In a selection the rest may declare it; in a whole file the line fails when it is reached.
    if (fault.code == "F823") return whole ? kHigh : kLow;
    if (fault.code == "F821") return whole && !mayBeMeant(subject) ? kHigh : kLow;
    if (fault.code == "F822") return whole && !isListedRightly(subject) ? kMedium : kLow;
    if (text::isOneOf(fault.code, kHints)) return kLow;
    if (!text::isOneOf(fault.code, kUnsafe)) return kMedium;
    // So it says of commands that are words in quotes.
    return fault.message.find("seems safe") == std::string::npos ? kHigh : kLow;
}

} // namespace trevix
