// Faults of grammar that can be told without one: where no grammar is at hand, or where a grammar
// forgives what the language does not.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kSyntax = declared<WorkKind::code>("code.syntax");
constexpr GradedRule kUnclosedString = declared<WorkKind::code>("code.unclosed_string");
constexpr GradedRule kMisspelt = declared<WorkKind::code>("code.misspelt_keyword");

// One slip hides the next ones, and its echo is no news.
constexpr std::size_t kMostReported = 3;

/// Whether one slip of the keyboard lies between the two: a letter too many, too few, another one,
/// or two neighbours swapped.
bool isOneSlipAway(std::string_view word, std::string_view right) {
    if (word == right) return false;
    const std::size_t shorter = std::min(word.size(), right.size());
    if (std::max(word.size(), right.size()) - shorter > 1) return false;
    // What both begin with is taken off; the slip is in the next one or two letters.
    const auto [a, b] = std::ranges::mismatch(word, right);
    const auto from = static_cast<std::size_t>(a - word.begin());
    const std::string_view restOfWord = word.substr(from);
    const std::string_view restOfRight = right.substr(from);
    if (word.size() > right.size()) return restOfWord.substr(1) == restOfRight;
    if (word.size() < right.size()) return restOfWord == restOfRight.substr(1);
    if (restOfWord.substr(1) == restOfRight.substr(1)) return true;
    return restOfWord.size() > 1 && restOfWord[0] == restOfRight[1] &&
           restOfWord[1] == restOfRight[0] && restOfWord.substr(2) == restOfRight.substr(2);
}

template <std::size_t size>
std::optional<std::string_view> meant(std::string_view word,
                                      const std::array<std::string_view, size>& keywords) {
    // The first in the order of the list. Where a word is a slip away from two, either tells the
    // place.
    const auto found = std::ranges::find_if(
        keywords, [&](std::string_view right) { return isOneSlipAway(word, right); });
    if (found == keywords.end()) return std::nullopt;
    return *found;
}

std::string insteadOf(std::string_view keyword) {
    return "stands where “" + std::string(keyword) + "” belongs";
}

// Strings

bool hasStringsOnOneLine(Language language) {
    switch (language) {
    case Language::c:
    case Language::cpp:
    case Language::csharp:
    case Language::css:
    case Language::go:
    case Language::java:
    case Language::javascript:
    case Language::python:
    case Language::typescript:
        return true;
    default:
        return false;
    }
}

/// A literal in plain quotes that ends without them. Literals of other shapes (raw, triple, with a
/// prefix) are left alone: they end in more ways than can be told here.
bool isUnclosed(std::string_view literal) {
    const char quote = literal.front();
    if (quote != '"' && quote != '\'') return false;
    if (literal.size() == 1) return true;
    if (literal.starts_with(std::string(3, quote))) return false;
    std::size_t slashes = 0;
    // An odd number of backslashes escapes the quote.
    while (slashes + 2 < literal.size() && literal[literal.size() - 2 - slashes] == '\\') ++slashes;
    return literal.back() != quote || slashes % 2 == 1;
}

// Python

/// Blocks are opened by a colon and closed by going back to a margin that was there before. The
/// margins of the blocks that are open, as the language itself keeps them.
void checkBlocks(const CodeView& view, FindingList& findings) {
    if (view.language != Language::python) return;
    std::vector<std::size_t> margins;
    bool opened = true; // A selection may begin anywhere.
    std::size_t reported = 0;
    const std::vector<LogicalLine> lines = view.logicalLines();
    for (std::size_t i = 0; i < lines.size() && reported < kMostReported; ++i) {
        const LogicalLine& line = lines[i];
        const Token& first = view.code[line.first];
        // Deeper than before: a colon has to have opened it.
        if (margins.empty() || line.indent > margins.back()) {
            if (!opened) {
                findings.add(kSyntax, first.offset, first.length,
                             "is indented though nothing opens a block before it");
                ++reported;
            }
            margins.push_back(line.indent);
        } else if (opened && i > 0) {
            findings.add(kSyntax, first.offset, first.length,
                         "is not indented though a block opens before it");
            ++reported;
        }
        // Back to a margin that was there, or the line stands between two.
        while (margins.size() > 1 && line.indent < margins.back()) margins.pop_back();
        if (line.indent > margins.back()) {
            findings.add(kSyntax, first.offset, first.length,
                         "goes back to a margin that no line before it has");
            ++reported;
            // From here on it counts as one, so that the next line is not told for the same slip.
            margins.push_back(line.indent);
        } else if (line.indent < margins.back()) {
            margins.back() = line.indent; // The selection began further in.
        }
        const std::size_t next = i + 1 < lines.size() ? lines[i + 1].first : view.code.size();
        opened = view.is(next - 1, ":");
    }
}

// SQL

constexpr std::array<std::string_view, 77> kStatements = {
    "abort",      "alter",      "analyze",   "analyse", "attach",  "begin",     "call",
    "checkpoint", "close",      "cluster",   "comment", "commit",  "connect",   "copy",
    "create",     "deallocate", "declare",   "define",  "delete",  "delimiter", "desc",
    "describe",   "detach",     "discard",   "do",      "drop",    "else",      "elsif",
    "end",        "exception",  "exec",      "execute", "explain", "fetch",     "flush",
    "for",        "go",         "grant",     "handler", "if",      "import",    "insert",
    "listen",     "load",       "lock",      "loop",    "merge",   "notify",    "open",
    "optimize",   "pragma",     "prepare",   "print",   "purge",   "raise",     "reassign",
    "refresh",    "reindex",    "release",   "rename",  "replace", "reset",     "return",
    "revoke",     "rollback",   "savepoint", "select",  "set",     "show",      "start",
    "table",      "truncate",   "unlock",    "update",  "use",     "vacuum",    "values"};

/// Shorter words are a slip away from too much.
constexpr std::size_t kShortestStatement = 4;

std::string lowerText(const CodeView& view, std::size_t index) {
    return text::lowerAscii(view.textOf(view.code[index]));
}

void checkStatements(const CodeView& view, FindingList& findings) {
    if (view.language != Language::sql) return;
    std::size_t reported = 0;
    bool begins = true;
    // Of brackets, in this statement.
    std::vector<std::size_t> open;
    const auto report = [&](std::size_t index, const std::string& says) {
        if (reported++ < kMostReported) {
            findings.add(kSyntax, view.code[index].offset, view.code[index].length, says);
        }
    };
    for (std::size_t i = 0; i < view.code.size(); ++i) {
        if (begins && view.isKind(i, TokenKind::identifier)) {
            const std::string word = lowerText(view, i);
            const bool known = word == "with" || word == "while" || word == "when" ||
                               word == "where" || word == "from" ||
                               std::ranges::find(kStatements, word) != kStatements.end();
            // What is assigned, called or reached into is a name. Stored programs have statements
            // that begin with such names.
            const bool isName = view.is(i + 1, ":") || view.is(i + 1, ":=") ||
                                view.is(i + 1, "=") || view.is(i + 1, ".") || view.is(i + 1, "(") ||
                                view.is(i + 1, ";");
            // A word one letter shorter may be such a slip.
            if (!known && !isName && word.size() >= kShortestStatement - 1) {
                if (const auto right = meant(word, kStatements);
                    right && right->size() >= kShortestStatement && reported < kMostReported) {
                    ++reported;
                    findings.add(kMisspelt, view.code[i].offset, view.code[i].length,
                                 insteadOf(*right));
                }
            }
        }
        begins = false;
        if (view.is(i, "(")) open.push_back(i);
        if (view.is(i, ")")) {
            if (open.empty()) {
                report(i, "closes a bracket that this statement does not open");
            } else {
                open.pop_back();
            }
        }
        if (view.is(i, ";")) {
            if (!open.empty()) report(open.back(), "is not closed before its statement ends");
            // Brackets are counted anew with each statement, so one slip does not go through the
            // file.
            open.clear();
            begins = true;
        }
    }
}

// C and C++

constexpr std::array<std::string_view, 9> kBeforeValues = {
    "return", "break", "continue", "goto", "typedef", "struct", "static", "else", "default"};
constexpr std::array<std::string_view, 4> kBeforeConditions = {"if", "while", "switch", "for"};

/// A name that stands but once, a slip away from a keyword and where that keyword would stand.
/// With macros and types unknown to it a parser takes it for a name.
void checkKeywords(const CodeView& view, FindingList& findings) {
    // Macros and types are a name to a parser, so what is told here has to be rare, near and in the
    // right place.
    if (view.language != Language::c && view.language != Language::cpp) return;
    std::map<std::string_view, std::size_t> counts;
    for (const Token& token : view.code) {
        if (token.kind == TokenKind::identifier) ++counts[view.textOf(token)];
    }
    std::size_t reported = 0;
    for (std::size_t i = 1; i + 1 < view.code.size() && reported < kMostReported; ++i) {
        if (!view.isKind(i, TokenKind::identifier)) continue;
        const bool begins = view.is(i - 1, ";") || view.is(i - 1, "{") || view.is(i - 1, "}") ||
                            view.is(i - 1, ")") || view.is(i - 1, ":");
        const std::string_view word = view.textOf(view.code[i]);
        // What stands twice is a name of the program's own.
        if (!begins || counts[word] > 1) continue;
        // Words of three letters are near to too much.
        const auto value = word.size() >= 4 ? meant(word, kBeforeValues) : std::nullopt;
        const bool isValue = view.isKind(i + 1, TokenKind::identifier) ||
                             view.isKind(i + 1, TokenKind::number) || view.is(i + 1, ";");
        const auto condition = meant(word, kBeforeConditions);
        const std::size_t behind =
            view.is(i + 1, "(") && view.match[i + 1] != kNoToken ? view.match[i + 1] + 1 : kNoToken;
        // A call ends with its statement or goes on with an operator; a condition does neither.
        const bool isCondition =
            behind != kNoToken &&
            (view.isKind(behind, TokenKind::identifier) || view.is(behind, "{"));
        if (value && isValue) {
            findings.add(kMisspelt, view.code[i].offset, word.size(), insteadOf(*value));
            ++reported;
        } else if (condition && isCondition && !view.is(i - 1, ")")) {
            findings.add(kMisspelt, view.code[i].offset, word.size(), insteadOf(*condition));
            ++reported;
        }
    }
}

// Style sheets

/// A colon behind the name at the start of a line, inside the value of the line before.
void checkDeclarations(const CodeView& view, FindingList& findings) {
    if (view.language != Language::css) return;
    std::size_t reported = 0;
    // A second colon at the start of a line, before any semicolon, says that the declaration before
    // it lacks its own.
    std::size_t colon = kNoToken; // of the declaration that goes on
    for (std::size_t i = 0; i < view.code.size() && reported < kMostReported; ++i) {
        if (view.is(i, "{") || view.is(i, "}") || view.is(i, ";")) colon = kNoToken;
        if (!view.is(i, ":") || view.parent[i] == kNoToken || !view.is(view.parent[i], "{") ||
            i == 0) {
            continue;
        }
        // Names of properties may be several tokens: "border", "-", "top".
        std::size_t name = i - 1;
        while (name > 0 && view.lineOf(name - 1) == view.lineOf(i) && !view.is(name - 1, ";") &&
               !view.is(name - 1, "{") && !view.is(name - 1, ":")) {
            --name;
        }
        const bool ownLine = colon != kNoToken && view.lineOf(name) > view.lineOf(colon) &&
                             name > 0 && view.lineOf(name - 1) < view.lineOf(name);
        // A selector inside a block has its colon before a brace, a declaration before a semicolon.
        std::size_t end = i;
        while (end < view.code.size() && !view.is(end, ";") && !view.is(end, "{") &&
               !view.is(end, "}")) {
            ++end;
        }
        if (ownLine && !view.is(end, "{")) {
            findings.add(kSyntax, view.code[name].offset,
                         view.code[i].end() - view.code[name].offset,
                         "follows a declaration that no semicolon ends");
            ++reported;
        }
        if (!view.is(end, "{")) colon = i;
    }
}

void checkUnclosedStrings(const CodeView& view, FindingList& findings) {
    const bool toTheEnd = view.language == Language::sql;
    // In SQL texts may span lines, so only one that runs to the end is open.
    if (!toTheEnd && !hasStringsOnOneLine(view.language)) return;
    std::size_t reported = 0;
    for (const Token& token : view.code) {
        if (token.kind != TokenKind::string || !isUnclosed(view.textOf(token))) continue;
        if (toTheEnd && token.end() < view.source.text().size()) continue;
        findings.add(kUnclosedString, token.offset, token.length, "is never closed");
        if (++reported == kMostReported) break;
    }
}

} // namespace

void checkShape(const CodeView& view, FindingList& findings) {
    checkUnclosedStrings(view, findings);
    checkBlocks(view, findings);
    checkStatements(view, findings);
    checkKeywords(view, findings);
    checkDeclarations(view, findings);
}

} // namespace trevix
