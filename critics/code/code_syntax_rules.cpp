// What the grammar of the language says, as far as it can be relied upon.
//
// A parser for one language and the text of a selection are no perfect match: a selection may be a
// part of something, and where there is a preprocessor the text is not yet the program. What is
// reported holds in spite of both.

#include "critics/code/code_critic.h"
#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "critics/syntax/syntax_reader.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kSyntax = declared<WorkKind::code>("code.syntax");

// Sound text takes about a third of a millisecond per kilobyte; only text that is made to be hard
// comes near this.
constexpr std::chrono::seconds kMostTime{4};
// What the parser supposes in one place, it supposes before and behind the blanks there.
constexpr std::size_t kNextToken = 80; // bytes
// The parser is lost after the first faults: what it says later is mostly their echo.
constexpr std::size_t kMostReported = 3;

/// What may stand around a selection that is no whole file.
struct Frame {
    std::string_view before;
    std::string_view after;
};

struct GrammarOf {
    Language language;
    std::string_view grammar;
    std::array<Frame, 3> frames{};
};

// A frame ends its last line before it closes: the text may end in a comment.
constexpr std::array kGrammars = {
    GrammarOf{Language::c, "c", {{{"void f() {\n", "\n}"}}}},
    GrammarOf{Language::cpp, "cpp", {{{"void f() {\n", "\n}"}, {"class C {\n", "\n};"}}}},
    GrammarOf{Language::csharp,
              "c_sharp",
              {{{"class C {\n", "\n}"}, {"class C { void F() {\n", "\n} }"}}}},
    GrammarOf{Language::css, "css", {{{"a {\n", "\n}"}}}},
    GrammarOf{Language::go, "go", {{{"package p\n", "\n"}, {"package p\nfunc f() {\n", "\n}"}}}},
    GrammarOf{Language::html, "html"},
    GrammarOf{
        Language::java, "java", {{{"class C {\n", "\n}"}, {"class C { void f() {\n", "\n} }"}}}},
    GrammarOf{Language::javascript,
              "javascript",
              {{{"async function f() {\n", "\n}"}, {"class C {\n", "\n}"}, {"({\n", "\n})"}}}},
    GrammarOf{Language::php, "php", {{{"<?php\n", "\n"}, {"<?php class C {\n", "\n}"}}}},
    GrammarOf{Language::python, "python"},
    GrammarOf{Language::ruby, "ruby", {{{"class C\n", "\nend"}}}},
    GrammarOf{Language::rust, "rust", {{{"fn f() {\n", "\n}"}, {"impl C {\n", "\n}"}}}},
    GrammarOf{Language::shell, "bash"},
    GrammarOf{Language::typescript,
              "typescript",
              {{{"async function f() {\n", "\n}"}, {"class C {\n", "\n}"}, {"({\n", "\n})"}}}},
    GrammarOf{Language::yaml, "yaml"},
};

/// Of TypeScript with marks of a page in it.
constexpr std::string_view kTsx = "tsx";

bool hasMacros(Language language) {
    return language == Language::c || language == Language::cpp;
}

bool isSoundIn(const Frame& frame, std::string_view grammar, std::string_view text) {
    if (frame.before.empty()) return false;
    // Only without a fault at all: frames are tried after the text by itself has failed.
    const std::string framed =
        std::string(frame.before) + std::string(text) + std::string(frame.after);
    const SyntaxReading reading = readSyntax(grammar, framed, kMostTime);
    return reading.outcome == SyntaxReading::Outcome::read && reading.faults.empty();
}

bool isPartOfSomething(const GrammarOf& rules, std::string_view grammar, std::string_view text) {
    return std::ranges::any_of(rules.frames,
                               [&](const Frame& frame) { return isSoundIn(frame, grammar, text); });
}

/// Whether all that is wrong with the brackets is that some have no partner: what a selection cuts
/// off. Work that bears the name of a file is taken for the whole of it.
bool hasLooseEnds(const CodeView& view) {
    return !view.faults.empty() && std::ranges::none_of(view.faults, [](const BracketFault& fault) {
        return fault.kind == BracketFault::Kind::mismatched;
    });
}

bool isWordOrBlank(char c) {
    return text::isAsciiWord(c) || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// A name as macros have them: in capitals.
bool isMacroName(std::string_view name) {
    return !name.empty() && !text::isAsciiDigit(name.front()) &&
           std::ranges::none_of(name, [](char c) { return c >= 'a' && c <= 'z'; });
}

/// Whether the last thing before is a call, or the name of a macro.
bool endsLikeMacro(std::string_view before) {
    before = text::trimmed(before);
    if (before.ends_with(')')) return true;
    std::size_t begin = before.size();
    while (begin > 0 && text::isAsciiWord(before[begin - 1])) --begin;
    return isMacroName(before.substr(begin));
}

bool beginsLikeMacro(std::string_view behind) {
    behind = text::trimmed(behind);
    const auto end = std::ranges::find_if_not(behind, text::isAsciiWord);
    return isMacroName(behind.substr(0, static_cast<std::size_t>(end - behind.begin())));
}

/// Whether a macro cannot be the reason. What a macro stands for is not in the text: a name before
/// a type, a call without its semicolon, an operator as an argument, halves of blocks in the
/// branches of conditions all look wrong and are right.
bool holdsDespiteMacros(const CodeView& view, const SyntaxFault& fault,
                        const std::vector<SyntaxFault>& all) {
    const std::string_view text = view.source.text();
    // The parser supposed something that is not there. That is a fault of the text only where no
    // macro may stand for it.
    if (fault.kind == SyntaxFault::Kind::missing) {
        if (fault.missing != ";") return !view.faults.empty();
        // It also supposed a type right behind: then it takes a macro for the beginning of a
        // declaration.
        const bool declares = std::ranges::any_of(all, [&](const SyntaxFault& other) {
            return other.missing == "type_identifier" && other.offset >= fault.offset &&
                   other.offset - fault.offset <= kNextToken;
        });
        const std::string_view before = text.substr(0, fault.offset);
        // C23 and C++23 let a label end a block; the grammars are older.
        if (text::trimmed(before).ends_with(':')) return false;
        return !declares && !endsLikeMacro(before) && !beginsLikeMacro(text.substr(fault.offset));
    }
    const std::string_view there = text.substr(fault.offset, fault.length);
    // Words alone are what macros look like.
    if (std::ranges::all_of(there, isWordOrBlank)) return false;
    // A "#" within is a directive that the fault runs over.
    if (there.find('#') != std::string_view::npos && there.front() != '#') return false;
    // A quote is read before macros are, so a fault in one is real.
    if (there.find('"') != std::string_view::npos) return true;
    // Otherwise the brackets have to say so too.
    return !view.faults.empty();
}

/// Where the line of the fault has something to show: a fault may begin with the blanks before it.
std::pair<std::size_t, std::size_t> shownPlace(std::string_view text, const SyntaxFault& fault) {
    std::size_t begin = std::min(fault.offset, text.size());
    std::size_t end = std::min(begin + fault.length, text.size());
    while (begin < end && text::isSpace(static_cast<unsigned char>(text[begin]))) ++begin;
    const std::size_t lineEnd = text.find('\n', begin);
    end = std::min(end, lineEnd);
    if (begin < end) return {begin, end - begin};
    // Nothing stands where something is missing: the line up to there is what people look for.
    std::size_t lineStart = begin == 0 ? 0 : text.rfind('\n', begin - 1) + 1;
    while (lineStart > 0 && text::trimmed(text.substr(lineStart, begin - lineStart)).empty()) {
        begin = lineStart - 1;
        lineStart = begin == 0 ? 0 : text.rfind('\n', begin - 1) + 1;
    }
    const std::string_view line = text::trimmed(text.substr(lineStart, begin - lineStart));
    return {static_cast<std::size_t>(line.data() - text.data()), line.size()};
}

std::string sentenceOf(const SyntaxFault& fault) {
    if (fault.kind == SyntaxFault::Kind::unexpected)
        return "does not fit the grammar of the language";
    const bool mark = std::ranges::none_of(fault.missing, text::isAsciiWord);
    return mark ? "lacks “" + fault.missing + "” behind it" : "is not complete";
}

/// The grammar for work of this name. Dialects that the grammar does not know have none.
std::string_view grammarFor(const GrammarOf& rules, std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const std::string extension =
        dot == std::string_view::npos ? "" : text::lowerAscii(name.substr(dot));
    if (extension == ".tsx") return kTsx;
    constexpr std::array<std::string_view, 5> kDialects = {".xml", ".svg", ".scss", ".less",
                                                           ".zsh"};
    return std::ranges::find(kDialects, extension) == kDialects.end() ? rules.grammar : "";
}

std::string packageOf(std::string_view grammar) {
    for (const GrammarInfo& known : knownGrammars()) {
        if (known.name == grammar) return std::string(known.package);
    }
    return {};
}

} // namespace

std::vector<std::string_view> grammarsAskedFor() {
    std::vector<std::string_view> names;
    for (const GrammarOf& rules : kGrammars) names.push_back(rules.grammar);
    names.push_back(kTsx);
    return names;
}

SyntaxTree checkSyntax(const CodeView& view, std::string_view name, Readers readers,
                       FindingList& findings, Coverage& coverage) {
    const std::string what = "syntax, " + std::string(trevix::name(view.language));
    const auto rules = std::ranges::find(kGrammars, view.language, &GrammarOf::language);
    const std::string_view grammar =
        rules == kGrammars.end() ? std::string_view() : grammarFor(*rules, name);
    if (grammar.empty()) {
        coverage.missed({what, "no grammar of it is known here", ""});
        return {};
    }
    if (readers == Readers::own) {
        coverage.missed({what, "a reader ended badly on this work", ""});
        return {};
    }
    const std::string_view text = view.source.text();
    const bool looksInto = view.language == Language::python || view.language == Language::html;
    const Wanted wanted = looksInto ? Wanted::tree : Wanted::faults;
    SyntaxReading reading = readSyntax(grammar, text, kMostTime, wanted);
    switch (reading.outcome) {
    case SyntaxReading::Outcome::read:
        coverage.checked({"tree-sitter", packageOf(grammar), what});
        coverage.known = true;
        break;
    case SyntaxReading::Outcome::noGrammar:
        coverage.missed({what, "this build has no grammar of it", "build with npm at hand"});
        return {};
    case SyntaxReading::Outcome::outOfTime:
        coverage.missed({what, "the parser did not end in time", ""});
        return {};
    case SyntaxReading::Outcome::tooLong:
        coverage.missed(
            {what, "the text is longer than the parser can take", "grade a part of it"});
        return {};
    }
    // A browser takes any text for a page; what its tags say wrong, code_page_rules.cpp tells.
    if (view.language == Language::html) return std::move(reading.tree);
    // In this order: the cheapest question first, and a frame is parsed only for text that has
    // failed.
    if (reading.faults.empty() || isPartOfSomething(*rules, grammar, text) ||
        (languageOfName(name) == Language::unknown && hasLooseEnds(view))) {
        return std::move(reading.tree);
    }
    // Told in the order of the text, which is that of the tree.
    std::size_t reported = 0;
    for (const SyntaxFault& fault : reading.faults) {
        if (hasMacros(view.language) && !holdsDespiteMacros(view, fault, reading.faults)) continue;
        const auto [offset, length] = shownPlace(text, fault);
        findings.add(kSyntax, offset, length, sentenceOf(fault));
        if (++reported == kMostReported) break;
    }
    return std::move(reading.tree);
}

} // namespace trevix
