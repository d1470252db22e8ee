// Habits: output left from debugging, notes in comments, swallowed errors, slips in conditions.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "critics/code/python_blocks.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kBreakpoint = declared<WorkKind::code>("code.breakpoint");
constexpr GradedRule kDebugOutput = declared<WorkKind::code>("code.debug_output");
constexpr GradedRule kTodo = declared<WorkKind::code>("code.todo");
constexpr GradedRule kCommentedOut = declared<WorkKind::code>("code.commented_out");
constexpr GradedRule kSwallowed =
    declared<WorkKind::code>("code.swallowed_error", Severity::medium);
// Written so that nothing else can be meant.
constexpr GradedRule kLetGo = declared<WorkKind::code>("code.swallowed_error", Severity::low);
constexpr GradedRule kNone = declared<WorkKind::code>("code.none_comparison");
constexpr GradedRule kAssignment = declared<WorkKind::code>("code.assignment_in_condition");
constexpr GradedRule kIdentity = declared<WorkKind::code>("code.text_identity");
constexpr GradedRule kDuplicateImport = declared<WorkKind::code>("code.duplicate_import");

constexpr std::size_t kFewestCommentedLines = 4; // Fewer may be an example of how to use a thing.

/// "a.b(" as written, from the tokens at `index`: the names without blanks, and the bracket.
bool calls(const CodeView& view, std::size_t index, std::string_view path) {
    std::size_t at = index;
    while (!path.empty()) {
        std::size_t end = 0;
        const bool name = text::isAsciiWord(path[0]);
        while (end < path.size() && text::isAsciiWord(path[end]) == name) {
            // "::" is one mark, all others of these are single.
            ++end;
            if (!name && path.substr(0, 2) != "::") break;
        }
        if (!view.is(at, path.substr(0, end))) return false;
        path.remove_prefix(end);
        ++at;
    }
    return true;
}

bool isMember(const CodeView& view, std::size_t index) {
    return index > 0 && (view.is(index - 1, ".") || view.is(index - 1, "->") ||
                         view.is(index - 1, "::") || view.is(index - 1, "?."));
}

bool isDeclared(const CodeView& view, std::size_t index) {
    return index > 0 && (view.is(index - 1, "def") || view.is(index - 1, "function") ||
                         view.is(index - 1, "func") || view.is(index - 1, "fn"));
}

void addLine(const CodeView& view, GradedRule rule, std::size_t index, std::string_view says,
             FindingList& findings) {
    const std::size_t start = view.code[index].offset;
    findings.add(rule, start, view.source.lineEnd(view.lineOf(index)) - start, says);
}

struct Call {
    std::string_view path;
    bool (*speaks)(Language);
};

bool inPython(Language language) {
    return language == Language::python;
}
bool inRuby(Language language) {
    return language == Language::ruby;
}
bool inPhp(Language language) {
    return language == Language::php;
}
bool inRust(Language language) {
    return language == Language::rust;
}
bool inGo(Language language) {
    return language == Language::go;
}

constexpr std::array kBreakpoints = {
    Call{"pdb.set_trace(", inPython}, Call{"ipdb.set_trace(", inPython},
    Call{"breakpoint(", inPython},    Call{"binding.pry", inRuby},
    Call{"binding.irb", inRuby},      Call{"byebug", inRuby},
    Call{"debugger", isScript},       Call{"runtime.Breakpoint(", inGo},
};

constexpr std::array kDebugCalls = {
    Call{"console.log(", isScript},   Call{"console.debug(", isScript},
    Call{"console.trace(", isScript}, Call{"console.dir(", isScript},
    Call{"alert(", isScript},         Call{"var_dump(", inPhp},
    Call{"print_r(", inPhp},          Call{"dbg!(", inRust},
    Call{"spew.Dump(", inGo},
};

/// Calls that are at home in programs, unless what they print is a note to oneself.
constexpr std::array<std::string_view, 15> kPrinters = {"print(",
                                                        "printf(",
                                                        "puts(",
                                                        "println!(",
                                                        "eprintln!(",
                                                        "fmt.Println(",
                                                        "fmt.Printf(",
                                                        "System.out.println(",
                                                        "log.Println(",
                                                        "std::printf(",
                                                        "log.Printf(",
                                                        "fprintf(stderr,",
                                                        "println(",
                                                        "Console.WriteLine(",
                                                        "System.err.println("};

bool isNoteToOneself(std::string_view literal) {
    // What stands before the text itself: quotes, and marks that people underline with.
    char before = '\0';
    while (!literal.empty() && !text::isAsciiLetter(literal.front()) && literal.front() != '*' &&
           literal.front() != '=' && literal.front() != '-' && literal.front() != '#' &&
           literal.front() != '>') {
        before = literal.front();
        literal.remove_prefix(1);
    }
    // "/foo" is a path.
    if (before == '/') return false;
    // f"..." and u"..." have a letter in front of the quote, which is a token of its own.
    std::string text = text::lowerAscii(literal.substr(0, 40));
    while (!text.empty() &&
           std::string_view("\"'`\\n :.!*#=->").find(text.back()) != std::string_view::npos) {
        // The "n" of "\n" goes with its backslash, and no other.
        if (text.back() == 'n' && (text.size() < 2 || text[text.size() - 2] != '\\')) break;
        text.pop_back();
    }
    std::size_t begin = text.find_first_not_of("*#=-> ");
    if (begin == std::string::npos) return false;
    text = text.substr(begin);
    constexpr std::array<std::string_view, 14> kNotes = {
        "here", "here1", "here2", "got here", "test",      "testing", "debug",
        "xxx",  "asdf",  "aaa",   "foo",      "i am here", "wtf",     "reached"};
    return text::isOneOf(text, kNotes) || text.compare(0, 6, "debug:") == 0 ||
           text.compare(0, 6, "debug ") == 0 || text.compare(0, 9, "got here ") == 0 ||
           text.compare(0, 5, "here:") == 0 || text.compare(0, 4, "xxx ") == 0;
}

// How many tokens a path is: where the first argument stands.
std::size_t afterPath(std::string_view path) {
    std::size_t tokens = 0;
    for (std::size_t i = 0; i < path.size(); ++tokens) {
        const bool name = text::isAsciiWord(path[i]);
        const bool colons = path.substr(i, 2) == "::";
        ++i;
        if (colons) ++i;
        while (name && i < path.size() && text::isAsciiWord(path[i])) ++i;
    }
    return tokens;
}

void checkPrinters(const CodeView& view, std::size_t i, FindingList& findings) {
    for (const std::string_view path : kPrinters) {
        if (!calls(view, i, path)) continue;
        std::size_t argument = i + afterPath(path);
        // f"..." in Python.
        if (view.isKind(argument, TokenKind::identifier) && view.code[argument].length == 1 &&
            view.isKind(argument + 1, TokenKind::string)) {
            ++argument;
        }
        if (view.isKind(argument, TokenKind::string) &&
            isNoteToOneself(view.textOf(view.code[argument]))) {
            addLine(view, kDebugOutput, i, "prints a note left from debugging", findings);
        }
        // One printer at most fits; whether it prints a note is settled by then.
        return;
    }
    const bool stream = view.is(i, "cout") || view.is(i, "cerr");
    if (stream && view.is(i + 1, "<<") && view.isKind(i + 2, TokenKind::string) &&
        isNoteToOneself(view.textOf(view.code[i + 2]))) {
        addLine(view, kDebugOutput, i, "prints a note left from debugging", findings);
    }
    const bool shell = (view.language == Language::shell && view.is(i, "echo")) ||
                       (view.language == Language::ruby && view.is(i, "puts"));
    if (shell && view.isKind(i + 1, TokenKind::string) &&
        isNoteToOneself(view.textOf(view.code[i + 1]))) {
        addLine(view, kDebugOutput, i, "prints a note left from debugging", findings);
    }
}

/// The text of a comment line without its marks.
std::string_view commentText(std::string_view line) {
    line = text::trimmed(line);
    for (const std::string_view mark : {"//", "/*", "#", "--", "<!--", "*"}) {
        if (line.substr(0, mark.size()) == mark) {
            line.remove_prefix(mark.size());
            break;
        }
    }
    return text::trimmed(line);
}

void checkTodo(const CodeView& view, const Token& comment, FindingList& findings) {
    const std::string_view text = view.textOf(comment);
    std::size_t lineEnd = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i >= lineEnd) lineEnd = std::min(text.find('\n', i), text.size());
        const char c = text[i];
        // The first letters of the four words. Most bytes are looked at no further.
        if (c != 'T' && c != 'F' && c != 'X' && c != 'H') continue;
        // Part of a name or a path, or quoted: a mention and no note.
        if (i > 0 && (text::isAsciiWord(text[i - 1]) || text[i - 1] == '"' || text[i - 1] == '`' ||
                      text[i - 1] == '\'' || text[i - 1] == '/' || text[i - 1] == '-')) {
            continue;
        }
        for (const std::string_view word : {"TODO", "FIXME", "XXX", "HACK"}) {
            if (text.compare(i, word.size(), word) != 0) continue;
            const std::size_t end = i + word.size();
            const char after = end < text.size() ? text[end] : '\n';
            if (text::isAsciiWord(after) || after == '"' || after == '`' || after == '\'' ||
                after == '/' || after == '-' || after == ',') {
                break; // Part of a name, or a mention of the word.
            }
            // Somebody owns it: "TODO(ana)", "TODO @ana", "TODO: #41", "TODO ABC-41".
            std::string_view rest = text.substr(end, 40);
            rest = rest.substr(0, rest.find('\n'));
            if (after == '(' || rest.find('@') != std::string_view::npos ||
                rest.find('#') != std::string_view::npos ||
                rest.find("://") != std::string_view::npos) {
                break;
            }
            findings.add(kTodo, comment.offset + i, lineEnd - i, "is an open end that nobody owns");
            i = end;
            break;
        }
    }
}

bool looksLikeCode(std::string_view text, Language language) {
    if (text.empty()) return false;
    // A sentence ends with a full stop and a blank; code hardly ever has both.
    if (text[0] == '@' || text.find(". ") != std::string_view::npos) return false;
    const char last = text.back();
    const bool assigns = text.find(" = ") != std::string_view::npos;
    const bool call = text.find('(') != std::string_view::npos && last == ')';
    if (language == Language::python || language == Language::ruby || language == Language::shell) {
        const bool block =
            last == ':' && (text.substr(0, 3) == "if " || text.substr(0, 4) == "for " ||
                            text.substr(0, 4) == "def " || text.substr(0, 5) == "with " ||
                            text.substr(0, 6) == "while " || text == "else:" || text == "try:" ||
                            text.substr(0, 6) == "except");
        const bool word = text.substr(0, 7) == "return " || text.substr(0, 7) == "import " ||
                          text == "end" || text == "fi" || text == "done";
        // The name is all that stands before the sign.
        const bool name = text::isAsciiWord(text[0]) && text.find(' ') == text.find(" = ");
        const bool bareCall = call && text.find(' ') > text.find('(');
        return block || word || (assigns && name) || bareCall;
    }
    // A line that ends in a semicolon is code if anything in it looks like it.
    if (last == ';')
        return assigns || text.find('(') != std::string_view::npos ||
               text.substr(0, 6) == "return" || text.find(' ') < text.size();
    return (last == '{' && text.find(')') != std::string_view::npos) || text == "}" ||
           text == "{" || text == "});" || text == "} else {";
}

void checkCommentedOut(const CodeView& view, FindingList& findings) {
    const char* mark = hasBraces(view.language) ? "//" : "#";
    const std::size_t markLength = hasBraces(view.language) ? 2 : 1;
    std::size_t begin = 0;
    std::size_t lines = 0;
    std::size_t codeLines = 0;
    bool example = false;
    std::string_view previous;
    const auto close = [&] {
        // Four in five: examples have words between them.
        if (lines >= kFewestCommentedLines && codeLines * 5 >= lines * 4 && !example) {
            findings.add(
                kCommentedOut, begin, view.source.lineEnd(view.source.lineAt(begin)) - begin,
                "begins " + std::to_string(lines) + " lines of code that are commented out");
        }
        lines = codeLines = 0;
        example = false;
    };
    for (std::size_t i = 0; i < view.source.lineCount(); ++i) {
        const std::string_view line = text::trimmed(view.source.line(i));
        const bool plain = line.substr(0, markLength) == mark && !view.lineInText[i] &&
                           line.substr(0, 3) != "///" && line.substr(0, 3) != "//!" &&
                           line.substr(0, 2) != "#!";
        if (!plain) {
            close();
            previous = line;
            continue;
        }
        const std::string_view text = commentText(line);
        const bool code = looksLikeCode(text, view.language);
        if (lines == 0) {
            if (!code) { // Prose in front of code that shows how to use something.
                previous = text;
                continue;
            }
            // Where the comment begins, not its line.
            begin = view.source.lineStart(i) +
                    static_cast<std::size_t>(line.data() - view.source.line(i).data());
            // "Like this:" says that it is an example.
            example = !previous.empty() && previous.back() == ':' && i > 0;
        }
        // Empty lines of a comment count for neither.
        if (!text.empty()) {
            ++lines;
            if (code) ++codeLines;
        }
        previous = text;
    }
    close();
}

bool hasComment(const CodeView& view, std::size_t from, std::size_t to) {
    const std::size_t first = view.code[from].offset;
    const std::size_t last =
        to < view.code.size() ? view.code[to].offset : view.source.text().size();
    // Tokens are in the order of the text, so the first is found by halving.
    const auto start = std::lower_bound(
        view.tokens.begin(), view.tokens.end(), first,
        [](const Token& token, std::size_t offset) { return token.offset < offset; });
    for (auto token = start; token != view.tokens.end() && token->offset < last; ++token) {
        if (token->kind == TokenKind::comment) return true;
    }
    return false;
}

void checkEmptyCatches(const CodeView& view, FindingList& findings) {
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (!view.is(i, "catch")) continue;
        std::size_t brace = i + 1;
        if (view.is(brace, "(")) {
            if (view.match[brace] == kNoToken) continue;
            // "promise.catch(() => {})"
            const std::size_t inner = view.match[brace] >= 2 ? view.match[brace] - 2 : 0;
            if (isMember(view, i) && view.is(inner, "{") && view.is(inner + 1, "}") && inner > 0 &&
                view.is(inner - 1, "=>") && !hasComment(view, inner, inner + 1)) {
                addLine(view, kSwallowed, i, "drops every error without a word", findings);
            }
            brace = view.match[brace] + 1;
        }
        if (isMember(view, i)) continue;
        if (!view.is(brace, "{") || !view.is(brace + 1, "}")) continue;
        if (hasComment(view, brace, brace + 1)) continue; // Says why.
        const std::size_t start = view.code[i].offset;
        // "catch {}" declines the error in so many words, "catch (e) {}" forgets it.
        findings.add(brace == i + 1 ? kLetGo : kSwallowed, start,
                     view.code[brace + 1].end() - start, "drops an error without a word");
    }
}

/// "try: f.close()" before the `except` at `i`, and nothing else: what closes something may find it
/// closed.
bool guardsOnlyAnEnd(const CodeView& view, std::size_t i) {
    // "f.close()" is a name, a dot, a name and two brackets, seven with "try:" before it.
    if (i < 7 || !view.is(i - 1, ")") || !view.is(i - 2, "(") || !view.is(i - 4, ".")) return false;
    if (!view.is(i - 3, "close") && !view.is(i - 3, "kill") && !view.is(i - 3, "terminate") &&
        !view.is(i - 3, "shutdown") && !view.is(i - 3, "unlink") && !view.is(i - 3, "flush")) {
        return false;
    }
    const std::size_t line = view.lineOf(i - 1);
    std::size_t first = i - 1;
    // Back to the beginning of the line of the call.
    while (first > 0 && view.lineOf(first - 1) == line) --first;
    return first >= 2 && view.is(first - 1, ":") && view.is(first - 2, "try");
}

/// Whether a remark right above the `try` of the `except` at `i` says what it is for.
bool isRemarkedAbove(const CodeView& view, std::size_t i) {
    constexpr std::size_t kMostLines = 20; // of what is tried: a remark above is about little
    const std::size_t line = view.lineOf(i);
    const auto marginOf = [&](std::size_t at) {
        return view.source.line(at).find_first_not_of(" \t");
    };
    const std::size_t margin = marginOf(line);
    for (std::size_t at = line; at > 1 && line - at < kMostLines;) {
        --at;
        const std::string_view words = text::trimmed(view.source.line(at));
        if (words.empty() || marginOf(at) > margin) continue;
        return marginOf(at) == margin && words == "try:" &&
               text::trimmed(view.source.line(at - 1)).starts_with('#');
    }
    return false;
}

/// Whether the `except` at `i` stands where another failure is dealt with already, or what is next
/// is for one way alone: "else: use(found)" where nothing failed, and what stands behind "try:
/// return found()" where that did.
bool dealsWithFailure(const CodeView& view, std::size_t i, std::size_t next) {
    const std::string_view text = view.source.text();
    const std::size_t line = view.lineOf(i);
    const auto marginOf = [&](std::size_t at) {
        return view.source.line(at).find_first_not_of(" \t");
    };
    if (next < view.code.size() && view.is(next, "else") &&
        marginOf(view.lineOf(next)) == marginOf(line)) {
        return true;
    }
    if (next < view.code.size() && marginOf(view.lineOf(next)) == marginOf(line)) {
        std::size_t last = line;
        while (last > 0 && text::trimmed(view.source.line(last - 1)).empty()) --last;
        const std::string_view tried =
            last > 0 ? text::trimmed(view.source.line(last - 1)) : std::string_view();
        if (tried == "return" || tried.starts_with("return ")) return true;
    }
    const std::vector<PythonOpener> around = pythonOpenersAround(text, view.code[i].offset);
    for (std::size_t at = 1; at < around.size(); ++at) {
        const std::string_view opener = around[at].line;
        if (opener.starts_with("except") || opener.starts_with("finally")) return true;
        if (opener.starts_with("def ") || opener.starts_with("class ")) break;
    }
    return false;
}

void checkPythonExcepts(const CodeView& view, FindingList& findings) {
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (!view.is(i, "except")) continue;
        std::size_t colon = i + 1;
        const bool all = view.is(colon, ":");
        const bool named = view.is(colon, "Exception");
        const bool broad = named || view.is(colon, "BaseException");
        if (!all && !broad) continue; // A narrow one may be passed over on purpose.
        if (broad) ++colon;
        if (view.is(colon, "as")) colon += 2;
        if (!view.is(colon, ":")) continue;
        const bool passes = view.is(colon + 1, "pass") || view.is(colon + 1, "...");
        if (!passes) continue;
        const std::size_t next = std::min(colon + 2, view.code.size());
        const std::size_t line = view.lineOf(colon + 1);
        // Something else is done, though on the same line.
        const bool nextOnLine = next < view.code.size() && view.lineOf(next) == line;
        if (nextOnLine) continue;
        const auto after = std::upper_bound(
            view.tokens.begin(), view.tokens.end(), view.code[colon + 1].offset,
            [](std::size_t offset, const Token& token) { return offset < token.offset; });
        const bool explained = hasComment(view, i, colon + 1) ||
                               (after != view.tokens.end() && after->kind == TokenKind::comment &&
                                view.source.lineAt(after->offset) == line);
        if (explained || guardsOnlyAnEnd(view, i) || isRemarkedAbove(view, i)) continue;
        // By its name it lets an interruption through, and was chosen.
        const bool meant = named || dealsWithFailure(view, i, next);
        addLine(view, meant ? kLetGo : kSwallowed, i, "drops every error without a word", findings);
    }
}

bool isCondition(const CodeView& view, std::size_t open) {
    return open > 0 &&
           (view.is(open - 1, "if") || view.is(open - 1, "while") || view.is(open - 1, "elseif"));
}

void checkAssignments(const CodeView& view, FindingList& findings) {
    for (std::size_t i = 1; i < view.code.size(); ++i) {
        if (!view.is(i, "=") || view.parent[i] == kNoToken) continue;
        const std::size_t open = view.parent[i];
        if (!view.is(open, "(") || !isCondition(view, open)) continue;
        if (view.match[open] == kNoToken) continue;
        // "if (auto it = find(x); ...)" and "if (Foo* foo = get())" declare.
        const std::size_t length = i - open - 1;
        bool declares = false;
        // 40 tokens bound the search for a declaration.
        for (std::size_t j = open + 1; j + 1 < i && length < 40; ++j) {
            const bool left = view.isKind(j, TokenKind::identifier) || view.is(j, "*") ||
                              view.is(j, "&") || view.is(j, ">") || view.is(j, "]");
            const bool member = j > open + 1 && view.is(j - 1, ".");
            if (left && view.isKind(j + 1, TokenKind::identifier) && j + 1 == i - 1 && !member) {
                declares = true;
            }
        }
        if (view.is(open + 1, "auto") || view.is(open + 1, "const") || view.is(open + 1, "let") ||
            view.is(i - 1, "]") || declares) {
            continue;
        }
        bool semicolon = false;
        // An initialisation in front of the condition ends in a semicolon.
        for (std::size_t j = i; j < view.match[open] && j < i + 200; ++j) {
            semicolon = semicolon || view.is(j, ";");
        }
        if (semicolon) continue;
        const std::size_t start = view.code[open - 1].offset;
        findings.add(kAssignment, start, view.code[view.match[open]].end() - start,
                     "assigns where a comparison is expected");
    }
}

} // namespace

void checkDebugging(const CodeView& view, FindingList& findings) {
    if (!hasStatements(view.language)) return;
    const std::string_view head = view.source.line(0);
    // A program for the command line prints; a page or a service does not.
    const bool commandLine = head.substr(0, 2) == "#!";
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (!view.isKind(i, TokenKind::identifier) || isDeclared(view, i)) continue;
        for (const Call& call : kBreakpoints) {
            if (!call.speaks(view.language) || isMember(view, i) || !calls(view, i, call.path)) {
                continue;
            }
            const bool statement = call.path != "debugger" || view.is(i + 1, ";") ||
                                   i + 1 == view.code.size() ||
                                   view.lineOf(i + 1) != view.lineOf(i);
            if (statement)
                addLine(view, kBreakpoint, i, "stops the program for a debugger", findings);
        }
        for (const Call& call : kDebugCalls) {
            if (commandLine || !call.speaks(view.language) || isMember(view, i)) continue;
            if (!calls(view, i, call.path)) continue;
            addLine(view, kDebugOutput, i, "is output left from debugging", findings);
        }
        checkPrinters(view, i, findings);
    }
}

void checkComments(const CodeView& view, FindingList& findings) {
    for (const Token& token : view.tokens) {
        if (token.kind == TokenKind::comment) checkTodo(view, token, findings);
    }
    if (hasStatements(view.language)) checkCommentedOut(view, findings);
}

void checkSwallowedErrors(const CodeView& view, FindingList& findings) {
    if (view.language == Language::python) {
        checkPythonExcepts(view, findings);
        return;
    }
    if (view.language == Language::go) {
        for (std::size_t i = 0; i + 2 < view.code.size(); ++i) {
            // In "x, _ = err" another value is taken.
            if (view.is(i, "_") && view.is(i + 1, "=") && view.is(i + 2, "err") &&
                (i == 0 || !view.is(i - 1, ","))) {
                addLine(view, kSwallowed, i, "drops an error without a word", findings);
            }
        }
        return;
    }
    if (hasBraces(view.language)) checkEmptyCatches(view, findings);
}

/// `name == "yes"` in Java, where only `equals` reads what texts say.
void checkTextIdentity(const CodeView& view, FindingList& findings) {
    const auto isText = [&view](std::size_t i) {
        return view.isKind(i, TokenKind::string) && view.textOf(view.code[i]).starts_with('"');
    };
    for (std::size_t i = 1; i + 1 < view.code.size(); ++i) {
        if (!view.is(i, "==") && !view.is(i, "!=")) continue;
        // What is put together of several, or asked of one, is no text beside the mark.
        const bool before = isText(i - 1) && !view.is(i - 2, "+");
        const bool behind = isText(i + 1) && !view.is(i + 2, "+") && !view.is(i + 2, ".");
        if (!before && !behind) continue;
        const std::size_t start = view.code[i - 1].offset;
        findings.add(kIdentity, start, view.code[i + 1].end() - start,
                     "compares which object a text is, not what it says; “equals” reads it");
    }
}

void checkComparisons(const CodeView& view, FindingList& findings) {
    if (view.language == Language::java) checkTextIdentity(view, findings);
    if (view.language == Language::python) {
        for (std::size_t i = 0; i + 1 < view.code.size(); ++i) {
            if ((view.is(i, "==") || view.is(i, "!=")) && view.is(i + 1, "None")) {
                const std::size_t start = view.code[i > 0 ? i - 1 : i].offset;
                findings.add(kNone, start, view.code[i + 1].end() - start,
                             "compares with None by value instead of by identity");
            }
        }
        return;
    }
    const bool assigns = view.language == Language::c || view.language == Language::cpp ||
                         view.language == Language::java || view.language == Language::csharp ||
                         view.language == Language::php || isScript(view.language);
    if (assigns) checkAssignments(view, findings);
}

void checkImports(const CodeView& view, FindingList& findings) {
    if (!hasStatements(view.language)) return;
    std::map<std::string, std::size_t, std::less<>> seen;
    std::size_t conditions = 0;
    for (std::size_t i = 0; i < view.source.lineCount(); ++i) {
        const std::string_view raw = view.source.line(i);
        // Longer lines are data, and no imports.
        if (raw.size() > 400 || view.lineInText[i]) continue;
        const std::string_view line = text::trimmed(raw);
        // The include guard of a header is one condition; within a second one an import may differ.
        if (line.substr(0, 3) == "#if") ++conditions;
        if (line.substr(0, 6) == "#endif" && conditions > 0) --conditions;
        const bool include = line.substr(0, 8) == "#include" && conditions <= 1;
        // An import inside a function is made there on purpose.
        const bool atMargin = !raw.empty() && raw[0] != ' ' && raw[0] != '\t';
        const bool python =
            view.language == Language::python &&
            (line.substr(0, 7) == "import " ||
             (line.substr(0, 5) == "from " && line.find(" import ") != std::string_view::npos &&
              line.back() != '('));
        const bool script = (isScript(view.language) || view.language == Language::java) &&
                            line.substr(0, 7) == "import " && line.back() == ';';
        const bool rust = view.language == Language::rust && line.substr(0, 4) == "use ";
        if (!include && !(atMargin && (python || script || rust))) continue;
        const std::string_view bare = line.substr(0, line.find(" //"));
        const auto [entry, added] = seen.try_emplace(std::string(bare), i);
        if (added) continue;
        findings.add(kDuplicateImport, view.source.lineStart(i), raw.size(),
                     "stands in line " + std::to_string(entry->second + 1) + " already");
    }
}

} // namespace trevix
