// Code that runs text, queries put together from text, and paths of one person's machine.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kUnsafeCall = declared<WorkKind::code>("code.runs_text", Severity::high);
constexpr GradedRule kMeantCall = declared<WorkKind::code>("code.runs_text", Severity::low);
constexpr GradedRule kPlainDownload =
    declared<WorkKind::code>("code.runs_download", Severity::high);
constexpr GradedRule kDownload = declared<WorkKind::code>("code.runs_download", Severity::low);
constexpr GradedRule kQuery = declared<WorkKind::code>("code.query_from_text");
constexpr GradedRule kPlainAddress = declared<WorkKind::code>("code.plain_address");
constexpr GradedRule kUnverified = declared<WorkKind::code>("code.unverified_peer");
constexpr GradedRule kGuessable = declared<WorkKind::code>("code.guessable_secret");
constexpr GradedRule kHomePath = declared<WorkKind::code>("code.home_path");

bool isMember(const CodeView& view, std::size_t index) {
    // A definition of that name is no call of it.
    return index > 0 && (view.is(index - 1, ".") || view.is(index - 1, "->") ||
                         view.is(index - 1, "::") || view.is(index - 1, "?.") ||
                         view.is(index - 1, "def") || view.is(index - 1, "function") ||
                         view.is(index - 1, "fn") || view.is(index - 1, "func"));
}

void addCall(const CodeView& view, GradedRule rule, std::size_t index, std::string_view says,
             FindingList& findings) {
    const std::size_t start = view.code[index].offset;
    findings.add(rule, start, view.source.lineEnd(view.lineOf(index)) - start, says);
}

/// What stands between the quotes.
std::string_view inner(std::string_view literal) {
    while (!literal.empty() &&
           (literal.front() == '"' || literal.front() == '\'' || literal.front() == '`')) {
        literal.remove_prefix(1);
    }
    return text::trimmed(literal);
}

bool contains(std::string_view text, std::string_view what) {
    return text.find(what) != std::string_view::npos;
}

/// Whether a literal is the beginning of a query. Sentences ("Select a file from the list") are
/// not.
bool isQuery(std::string_view literal) {
    // 2000 bytes: the verb and its second word stand at the beginning of a query.
    const std::string_view text = inner(literal).substr(0, 2000);
    struct Form {
        std::string_view verb;
        std::string_view second;
        std::string_view smallVerb;
        std::string_view smallSecond;
    };
    constexpr std::array<Form, 4> kForms = {{{"SELECT ", "FROM", "select ", " from "},
                                             {"INSERT INTO ", "", "insert into ", ""},
                                             {"UPDATE ", "SET", "update ", " set "},
                                             {"DELETE FROM ", "", "delete from ", ""}}};
    return std::any_of(kForms.begin(), kForms.end(), [&](const Form& form) {
        // In capitals a verb is sure. In small letters it may be a sentence, so a mark of a query
        // has to be there as well.
        if (text.substr(0, form.verb.size()) == form.verb) return contains(text, form.second);
        if (text.substr(0, form.smallVerb.size()) != form.smallVerb) return false;
        return contains(text, form.smallSecond) && (contains(text, "*") || contains(text, "="));
    });
}

/// A name that holds marks for values, or one fixed in the program, is no value of a stranger.
bool isHarmlessName(std::string_view name) {
    const std::string lower = text::lowerAscii(name);
    for (const std::string_view part : {"placeholder", "marks", "column", "cols", "fields", "table",
                                        "schema", "order", "direction"}) {
        if (contains(lower, part)) return true;
    }
    // No small letter: a constant by its name.
    return !name.empty() &&
           std::none_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

/// Whether a literal with names in it ("{id}", "${id}") takes in one that is not harmless.
bool takesInName(std::string_view literal, std::string_view opening) {
    for (std::size_t at = literal.find(opening); at != std::string_view::npos;
         at = literal.find(opening, at + 1)) {
        const std::size_t start = at + opening.size();
        const std::size_t end = literal.find('}', start);
        if (end == std::string_view::npos) return false;
        const std::string_view name = literal.substr(start, end - start);
        // "{{" is how a brace itself is written.
        if (!name.empty() && name[0] != '{' && !isHarmlessName(name)) return true;
    }
    return false;
}

bool isStranger(const CodeView& view, std::size_t index) {
    return view.isKind(index, TokenKind::identifier) &&
           !isHarmlessName(view.textOf(view.code[index]));
}

bool joinsText(const CodeView& view, std::size_t i) {
    const std::string_view literal = view.textOf(view.code[i]);
    const Language language = view.language;
    const bool plus = view.is(i + 1, "+") && isStranger(view, i + 2);
    if (language == Language::python) {
        // A prefix is a token of its own, right before the quote.
        const std::string_view prefix = i > 0 && view.isKind(i - 1, TokenKind::identifier) &&
                                                view.code[i - 1].end() == view.code[i].offset
                                            ? view.textOf(view.code[i - 1])
                                            : std::string_view();
        if ((prefix == "f" || prefix == "rf" || prefix == "F") && takesInName(literal, "{")) {
            return true;
        }
        const bool percent =
            view.is(i + 1, "%") && (isStranger(view, i + 2) || view.is(i + 2, "("));
        const bool format = view.is(i + 1, ".") && view.is(i + 2, "format");
        return plus || percent || format;
    }
    if (isScript(language) && literal[0] == '`') {
        // A tag in front of the template takes care of its values.
        const bool tagged = i > 0 && view.isKind(i - 1, TokenKind::identifier) &&
                            view.code[i - 1].end() == view.code[i].offset;
        return !tagged && takesInName(literal, "${");
    }
    if (language == Language::go) {
        // Marks for values are the driver's; these are those of printing.
        const bool printed = i >= 2 && view.is(i - 1, "(") && view.is(i - 2, "Sprintf");
        return plus || (printed && (contains(literal, "'%s'") || contains(literal, "= %s") ||
                                    contains(literal, "%v")));
    }
    if (language == Language::php) {
        // In double quotes PHP puts values in.
        return (view.is(i + 1, ".") && view.isKind(i + 2, TokenKind::identifier)) ||
               (literal[0] == '"' && contains(literal, "$"));
    }
    if (language == Language::ruby) return literal[0] == '"' && takesInName(literal, "#{");
    return plus;
}

bool isDownloader(const CodeView& view, std::size_t i) {
    return view.is(i, "curl") || view.is(i, "wget");
}

bool isShellName(const CodeView& view, std::size_t i) {
    return view.is(i, "sh") || view.is(i, "bash") || view.is(i, "dash") || view.is(i, "zsh") ||
           view.is(i, "ksh");
}

/// Past what a command is often run by: a path in front of its name, "sudo -E", "env".
std::size_t commandAt(const CodeView& view, std::size_t i, std::size_t end) {
    while (i < end) {
        const bool path = view.is(i, "/") || view.is(i, "usr") || view.is(i, "bin");
        if (!path && !view.is(i, "sudo") && !view.is(i, "env") && !view.is(i, "exec") &&
            !view.is(i, "-") && !(i > 0 && view.is(i - 1, "-"))) {
            break;
        }
        ++i;
    }
    return i;
}

/// The first token behind the command that begins at `i`, with those it is piped into.
std::size_t pipelineEnd(const CodeView& view, std::size_t i) {
    std::size_t line = view.lineOf(i);
    for (; i < view.code.size(); ++i) {
        const std::size_t own = view.lineOf(i);
        if (own != line) {
            // A line goes on behind a backslash, or behind the pipe itself.
            const std::string_view before =
                view.source.text().substr(0, view.source.lineEnd(own - 1));
            if (!before.ends_with('\\') && !view.is(i - 1, "|")) return i;
            line = own;
        }
        if (view.is(i, ";") || view.is(i, "&&") || view.is(i, "||")) return i;
    }
    return i;
}

/// The names that are given such an address, also as the default of a parameter.
std::unordered_set<std::string_view> namesOfPlainAddresses(const CodeView& view) {
    std::unordered_set<std::string_view> names;
    for (std::size_t i = 0; i + 2 < view.code.size(); ++i) {
        if (view.isKind(i, TokenKind::identifier) && view.is(i + 1, "=") &&
            view.isKind(i + 2, TokenKind::string) &&
            isPlainAddress(inner(view.textOf(view.code[i + 2])))) {
            names.insert(view.textOf(view.code[i]));
        }
    }
    return names;
}

/// Whether what is called at `i` opens an address: `urlopen(`, `requests.get(`, and a method of
/// that name where the file names who has it.
bool opensAddress(const CodeView& view, std::size_t i, bool hasSession, bool hasOpener) {
    for (const std::string_view name : {"urlopen", "urlretrieve", "Request"}) {
        if (view.is(i, name)) return true;
    }
    if (i < 2 || !view.is(i - 1, ".")) return false;
    for (const std::string_view verb :
         {"get", "post", "put", "delete", "patch", "head", "options", "request"}) {
        if (view.is(i, verb)) return hasSession || view.is(i - 2, "requests");
    }
    return hasOpener && (view.is(i, "open") || view.is(i, "retrieve"));
}

/// For each token of `code` whether it stands right below a condition, where an option of the
/// caller may decide; in Python alone, whose blocks are told by their margin.
std::vector<bool> underCondition(const CodeView& view) {
    std::vector<bool> under(view.code.size(), false);
    if (view.language != Language::python) return under;
    struct Opener {
        std::size_t indent = 0;
        bool asks = false;
    };
    std::vector<Opener> around;
    const std::vector<LogicalLine> lines = view.logicalLines();
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const LogicalLine& line = lines[n];
        while (!around.empty() && around.back().indent >= line.indent) around.pop_back();
        const std::size_t end = n + 1 < lines.size() ? lines[n + 1].first : view.code.size();
        bool asks = !around.empty() && around.back().asks;
        for (std::size_t i = line.first; i < end; ++i) asks = asks || view.is(i, "if");
        for (std::size_t i = line.first; i < end; ++i) under[i] = asks;
        around.push_back({line.indent, view.is(line.first, "if") || view.is(line.first, "elif") ||
                                           view.is(line.first, "else")});
    }
    return under;
}

/// Whether what begins at `i` has a connection take any certificate for that of its peer.
bool trustsAnyone(const CodeView& view, std::size_t i) {
    const bool assigned = view.is(i + 1, "=");
    switch (view.language) {
    case Language::python:
        if (i < 2 || !view.is(i - 1, ".") || view.is(i - 2, "self") || !assigned) return false;
        if (view.is(i, "check_hostname")) return view.is(i + 2, "False");
        return view.is(i, "verify_mode") && (view.is(i + 2, "CERT_NONE") ||
                                             (view.is(i + 3, ".") && view.is(i + 4, "CERT_NONE")));
    case Language::javascript:
    case Language::typescript:
        return view.is(i, "rejectUnauthorized") && (view.is(i + 1, ":") || assigned) &&
               view.is(i + 2, "false");
    case Language::go:
        return view.is(i, "InsecureSkipVerify") && (view.is(i + 1, ":") || assigned) &&
               view.is(i + 2, "true");
    case Language::ruby:
        return view.is(i, "VERIFY_NONE") && i > 1 && view.is(i - 1, "::");
    case Language::php:
        return view.is(i, "CURLOPT_SSL_VERIFYPEER") &&
               (view.is(i + 2, "false") || view.is(i + 2, "0"));
    default:
        return false;
    }
}

/// Whether the next number can be told from those before: a generator for games and samples.
bool drawsGuessable(const CodeView& view, std::size_t i) {
    if (view.is(i + 1, "(") == false || i < 2 || !view.is(i - 1, ".")) return false;
    if (isScript(view.language)) return view.is(i, "random") && view.is(i - 2, "Math");
    if (view.language != Language::python || !view.is(i - 2, "random")) return false;
    for (const std::string_view draw :
         {"random", "randint", "randrange", "choice", "choices", "sample", "getrandbits"}) {
        if (view.is(i, draw)) return true;
    }
    return false;
}

/// "getSessionID" and "session_id" as "session id": parted where a name has its joints.
std::string partedName(std::string_view name) {
    std::string parted;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool capital = name[i] >= 'A' && name[i] <= 'Z';
        const bool small = i > 0 && name[i - 1] >= 'a' && name[i - 1] <= 'z';
        if (capital && small) parted += ' ';
        parted += name[i] == '_' ? ' ' : name[i];
    }
    return ' ' + text::lowerAscii(parted) + ' ';
}

/// Whether a name says that nobody else may know the value.
bool namesSecret(std::string_view name) {
    const std::string parted = partedName(name);
    for (const std::string_view secret :
         {" password ", " passwd ", " passphrase ", " secret ", " session id ", " session key ",
          " session token ", " reset token ", " auth token ", " access token ", " csrf token ",
          " api key ", " otp ", " one time code ", " salt ", " verification code ",
          " encryption key ", " private key "}) {
        if (contains(parted, secret)) return true;
    }
    return false;
}

/// Tests make up people and their folders.
bool isTest(std::string_view text) {
    for (const std::string_view sign :
         {"TEST(", "TEST_F(", "def test_", "describe(", "#[test]", "func Test", "@Test"}) {
        if (contains(text, sign)) return true;
    }
    return false;
}

/// Whether the text of a stranger was seen to be run on the line of that token.
bool isTold(const CodeView& view, std::size_t i, const std::vector<Flow>& flows) {
    return std::ranges::any_of(flows, [&](const Flow& flow) {
        return (flow.danger == Danger::code || flow.danger == Danger::script ||
                flow.danger == Danger::command) &&
               flow.offset <= view.code[i].offset &&
               view.code[i].offset < flow.offset + flow.length;
    });
}

/// Whether "eval(text, names)" brings names of its own: then it is there to evaluate, and what it
/// may reach was thought of. `open` is the bracket.
bool hasOwnNames(const CodeView& view, std::size_t open) {
    const std::size_t close = view.match[open];
    if (close == kNoToken) return false;
    for (std::size_t i = open + 1; i < close; ++i) {
        // The comma of the call itself, with a name behind it.
        if (!view.is(i, ",") || view.parent[i] != open) continue;
        const bool around = view.is(i + 1, "globals") || view.is(i + 1, "locals");
        return view.isKind(i + 1, TokenKind::identifier) && !(around && view.is(i + 2, "("));
    }
    return false;
}

/// Whether all of what "shell=True" hands on stands in the program: "run('make all', shell=True)".
bool isFixedCommand(const CodeView& view, std::size_t open) {
    return view.isKind(open + 1, TokenKind::string) && view.is(open + 2, ",") &&
           view.textOf(view.code[open + 1]).front() != 'f';
}

/// The first name of what is called by the bracket at `open`: `subprocess` in "subprocess.run(".
std::size_t calleeOf(const CodeView& view, std::size_t open) {
    std::size_t at = open;
    while (at > 0 && view.isKind(at - 1, TokenKind::identifier)) {
        --at;
        if (at == 0 || !view.is(at - 1, ".")) break;
        --at;
    }
    return view.is(at, ".") ? at + 1 : at;
}

/// Whether what begins at `i` is the module of a call that hands all of a text to a shell.
bool callsShell(const CodeView& view, std::size_t i) {
    if (!view.is(i + 1, ".") || !view.is(i + 3, "(")) return false;
    if (view.is(i, "os")) return view.is(i + 2, "system") || view.is(i + 2, "popen");
    return (view.is(i, "subprocess") || view.is(i, "commands")) &&
           (view.is(i + 2, "getoutput") || view.is(i + 2, "getstatusoutput"));
}

} // namespace

void checkUnsafeCalls(const CodeView& view, const std::vector<Flow>& flows,
                      const std::vector<std::size_t>& fixed, FindingList& findings) {
    const Language language = view.language;
    const bool python = language == Language::python;
    const bool evaluates =
        python || isScript(language) || language == Language::php || language == Language::ruby;
    if (!evaluates) return;
    const auto isFixed = [&](std::size_t open) {
        return std::ranges::binary_search(fixed, view.code[open].offset);
    };
    for (std::size_t i = 0; i + 1 < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier)) continue;
        if (view.is(i + 1, "(") && !isMember(view, i)) {
            const bool runs = view.is(i, "eval") || (python && view.is(i, "exec"));
            // A method of that name, where a body follows.
            const bool method = isScript(language) && view.match[i + 1] != kNoToken &&
                                view.is(view.match[i + 1] + 1, "{");
            // Without an argument it is another function.
            if (runs && !method && !view.is(i + 2, ")")) {
                if (isTold(view, i, flows)) continue;
                const bool meant = python && (hasOwnNames(view, i + 1) || isFixed(i + 1));
                addCall(view, meant ? kMeantCall : kUnsafeCall, i, "runs a text as code", findings);
            }
        }
        if (isScript(language) && view.is(i, "new") && view.is(i + 1, "Function") &&
            view.is(i + 2, "(")) {
            addCall(view, kUnsafeCall, i, "runs a text as code", findings);
        }
        if (python && isTold(view, i, flows)) continue;
        if (python && view.is(i, "shell") && view.is(i + 1, "=") && view.is(i + 2, "True")) {
            const std::size_t open = view.parent[i];
            // What a parameter is without an argument.
            const std::size_t callee = open == kNoToken ? i : calleeOf(view, open);
            if (callee > 0 && view.is(callee - 1, "def")) continue;
            const bool meant = open != kNoToken && (isFixed(open) || isFixedCommand(view, open));
            addCall(view, meant ? kMeantCall : kUnsafeCall, callee, "hands a command to a shell",
                    findings);
        }
        // A command in quotes is no text of a stranger.
        if (python && callsShell(view, i) &&
            !(view.isKind(i + 4, TokenKind::string) && view.is(i + 5, ")"))) {
            addCall(view, isFixed(i + 3) ? kMeantCall : kUnsafeCall, i,
                    "hands a command to a shell", findings);
        }
    }
}

void checkDownloads(const CodeView& view, FindingList& findings) {
    if (view.language != Language::shell) return;
    const auto say = [&](std::size_t first, std::string_view command) {
        // On the way anybody may change what comes without encryption.
        const bool plain = contains(command, "http://");
        addCall(view, plain ? kPlainDownload : kDownload, first,
                plain ? "runs what it downloads without encryption"
                      : "runs what it downloads, unseen",
                findings);
    };
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        const std::size_t start = view.code[i].offset;
        if (isDownloader(view, i)) {
            const std::size_t end = pipelineEnd(view, i);
            for (std::size_t k = i + 1; k + 1 < end; ++k) {
                if (!view.is(k, "|") || !isShellName(view, commandAt(view, k + 1, end))) continue;
                say(i, view.source.text().substr(start, view.code[k].offset - start));
                i = end - 1;
                break;
            }
            continue;
        }
        // sh -c "$(curl ...)", eval "$(curl ...)"
        if (!view.isKind(i, TokenKind::string)) continue;
        const std::string_view literal = view.textOf(view.code[i]);
        const bool downloads = contains(literal, "$(curl ") || contains(literal, "$(wget ");
        const bool runs = i > 0 && (view.is(i - 1, "eval") ||
                                    (view.is(i - 1, "c") && i > 2 && isShellName(view, i - 3)));
        if (downloads && runs) say(i, literal);
    }
}

bool isPlainAddress(std::string_view address) {
    std::size_t scheme = 0;
    if (address.starts_with("http://")) scheme = 7;
    if (address.starts_with("ftp://")) scheme = 6;
    if (scheme == 0) return false;
    address.remove_prefix(scheme);
    const std::string_view host = address.substr(0, address.find_first_of("/:?#\"'"));
    constexpr std::array<std::string_view, 5> kNear = {"127.", "10.", "192.168.", "0.0.0.0",
                                                       "169.254."};
    for (const std::string_view near : kNear) {
        if (host.starts_with(near)) return false;
    }
    return contains(host, ".") && !contains(host, "{") && !contains(host, "%") &&
           !host.ends_with(".local") && !host.ends_with(".internal");
}

void checkPlainAddresses(const CodeView& view, FindingList& findings) {
    if (view.language != Language::python) return;
    bool hasSession = false;
    bool hasOpener = false;
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        hasSession = hasSession || (view.is(i, "Session") && view.is(i + 1, "("));
        hasOpener = hasOpener || ((view.is(i, "URLopener") || view.is(i, "OpenerDirector") ||
                                   view.is(i, "FancyURLopener") || view.is(i, "build_opener")) &&
                                  view.is(i + 1, "("));
    }
    const std::unordered_set<std::string_view> names = namesOfPlainAddresses(view);
    for (std::size_t i = 0; i + 2 < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier) || !view.is(i + 1, "(") ||
            !opensAddress(view, i, hasSession, hasOpener)) {
            continue;
        }
        // The address comes first, or behind the method of a request.
        constexpr std::size_t kFirst = 4;
        for (std::size_t k = i + 2; k < i + 2 + kFirst && k < view.code.size(); ++k) {
            if (view.is(k, ")")) break;
            const bool address = view.isKind(k, TokenKind::string)
                                     ? isPlainAddress(inner(view.textOf(view.code[k])))
                                     : view.isKind(k, TokenKind::identifier) &&
                                           names.contains(view.textOf(view.code[k]));
            if (!address) continue;
            addCall(view, kPlainAddress, i, "opens an address without encryption", findings);
            break;
        }
    }
}

void checkUnverifiedPeers(const CodeView& view, FindingList& findings) {
    if (isTest(view.source.text())) return;
    const std::vector<bool> asked = underCondition(view);
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier) || asked[i] || !trustsAnyone(view, i)) continue;
        addCall(view, kUnverified, i, "takes any certificate for that of its peer", findings);
    }
}

void checkGuessableSecrets(const CodeView& view, FindingList& findings) {
    if (view.language != Language::python && !isScript(view.language)) return;
    if (isTest(view.source.text())) return;
    std::string_view function;
    bool line = false; // Whether a name of this line says that the value is a secret.
    std::size_t last = kNoToken;
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (const std::size_t own = view.lineOf(i); own != last) {
            last = own;
            line = false;
        }
        if (!view.isKind(i, TokenKind::identifier)) continue;
        const std::string_view name = view.textOf(view.code[i]);
        if (i > 0 && (view.is(i - 1, "def") || view.is(i - 1, "function"))) function = name;
        line = line || namesSecret(name);
        if (!drawsGuessable(view, i) || (!line && !namesSecret(function))) continue;
        addCall(view, kGuessable, i - 2, "draws a secret from numbers that can be guessed",
                findings);
    }
}

void checkQueries(const CodeView& view, const std::vector<Flow>& flows, FindingList& findings) {
    if (!hasStatements(view.language) || view.language == Language::shell) return;
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (view.code[i].kind != TokenKind::string) continue;
        if (!isQuery(view.textOf(view.code[i])) || !joinsText(view, i)) continue;
        const std::size_t start = view.code[i].offset;
        const bool told = std::ranges::any_of(flows, [&](const Flow& flow) {
            // A prefix of the quotes stands before the token.
            return flow.danger == Danger::query && flow.built <= start &&
                   start < flow.built + flow.builtLength;
        });
        if (told) continue;
        findings.add(kQuery, start,
                     view.source.lineEnd(view.source.lineAt(view.code[i].end())) - start,
                     "puts a query together from text, so that a value can change it");
    }
}

void checkHomePaths(const CodeView& view, FindingList& findings) {
    if (isTest(view.source.text())) return;
    // Names of folders that belong to nobody in particular, in examples and on machines that build.
    constexpr std::array<std::string_view, 18> kNobody = {
        "user",    "username",  "you",      "runner", "ubuntu",   "vagrant",
        "app",     "node",      "shared",   "name",   "someone",  "public",
        "default", "linuxbrew", "circleci", "me",     "youruser", "test"};
    const auto documentation = view.documentation();
    for (const Token& token : view.tokens) {
        // Elsewhere a path that matters stands in quotes.
        const bool data = view.language == Language::unknown || view.language == Language::yaml ||
                          view.language == Language::shell;
        if (token.kind == TokenKind::comment || (token.kind != TokenKind::string && !data))
            continue;
        // A quote in the words of a page begins no value.
        if (view.language == Language::html &&
            (token.offset == 0 || view.source.text()[token.offset - 1] != '=')) {
            continue;
        }
        // Documentation shows examples, as comments do.
        const auto shown = std::pair(token.offset, token.end());
        if (std::ranges::binary_search(documentation, shown)) continue;
        const std::string_view text = view.textOf(token);
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] != '/' && text[i] != 'C') continue;
            std::size_t start = 0;
            for (const std::string_view root :
                 {"/home/", "/Users/", "C:\\Users\\", "C:\\\\Users\\\\"}) {
                if (text.compare(i, root.size(), root) == 0) start = i + root.size();
            }
            // The end of a longer path is no root.
            if (start == 0 || (i > 0 && (text::isAsciiWord(text[i - 1]) || text[i - 1] == '.')))
                continue;
            std::size_t end = start;
            while (end < text.size() &&
                   (text::isAsciiWord(text[end]) || text[end] == '-' || text[end] == '.')) {
                ++end;
            }
            const std::string user = text::lowerAscii(text.substr(start, end - start));
            // "/home/ana" alone may be a mention; below it is somebody's file.
            const bool deeper = end < text.size() && (text[end] == '/' || text[end] == '\\');
            const bool nobody = std::find(kNobody.begin(), kNobody.end(), user) != kNobody.end();
            if (user.empty() || !deeper || nobody) continue;
            findings.add(kHomePath, token.offset + i, std::min<std::size_t>(text.size() - i, 60),
                         "is a path in the home folder of one person");
            // What follows belongs to the same path.
            i = end;
        }
    }
}

} // namespace trevix
