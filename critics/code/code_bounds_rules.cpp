// C and C++: text that is taken for a format, and copies that nothing bounds.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kFormat = declared<WorkKind::code>("code.format_from_data");
constexpr GradedRule kCopy = declared<WorkKind::code>("code.unbounded_copy");

/// First and one past the last token of an argument.
struct Argument {
    std::size_t first = 0;
    std::size_t last = 0;
};

/// What stands between the bracket at `open` and its partner, parted at the commas.
std::vector<Argument> argumentsOf(const CodeView& view, std::size_t open) {
    std::vector<Argument> arguments;
    const std::size_t close = view.match[open];
    if (close == kNoToken || close <= open + 1) return arguments;
    Argument now{open + 1, open + 1};
    for (std::size_t i = open + 1; i < close; ++i) {
        if (view.parent[i] == open && view.is(i, ",")) {
            now.last = i;
            arguments.push_back(now);
            now.first = i + 1;
        }
    }
    now.last = close;
    arguments.push_back(now);
    return arguments;
}

/// Which argument of a function is its format.
std::optional<std::size_t> formatOf(const CodeView& view, std::size_t i) {
    struct Printer {
        std::string_view name;
        std::size_t format;
    };
    constexpr std::array<Printer, 6> kPrinters = {{{"printf", 0},
                                                   {"fprintf", 1},
                                                   {"dprintf", 1},
                                                   {"sprintf", 1},
                                                   {"syslog", 1},
                                                   {"snprintf", 2}}};
    if (i > 0 && (view.is(i - 1, ".") || view.is(i - 1, "->"))) return std::nullopt;
    for (const Printer& printer : kPrinters) {
        if (view.is(i, printer.name)) return printer.format;
    }
    return std::nullopt;
}

/// A value as it stands somewhere: "text", "argv[1]", "p->text", "text.c_str()". Nothing that is
/// called, chosen or declared there.
bool isPlainValue(const CodeView& view, Argument argument) {
    std::size_t last = argument.last;
    const bool asC = last >= argument.first + 4 && view.is(last - 3, "c_str") &&
                     view.is(last - 2, "(") && view.is(last - 1, ")");
    if (asC) last -= 2;
    bool name = false;
    for (std::size_t i = argument.first; i < last; ++i) {
        const bool own = view.isKind(i, TokenKind::identifier);
        if (own && name) return false; // Two names beside each other: a type and a parameter.
        const bool mark = view.is(i, ".") || view.is(i, "->") || view.is(i, "::") ||
                          view.is(i, "[") || view.is(i, "]");
        if (!own && !mark && !view.isKind(i, TokenKind::number)) return false;
        name = own;
    }
    return view.isKind(argument.first, TokenKind::identifier);
}

/// A name for what is fixed in another file: a constant, or the text of a help.
bool saysThatItIsFixed(std::string_view name) {
    if (std::ranges::none_of(name, [](char c) { return c >= 'a' && c <= 'z'; })) return true;
    const std::string lower = text::lowerAscii(name);
    return std::ranges::any_of(
        std::array<std::string_view, 9>{"usage", "help", "banner", "version", "license",
                                        "copyright", "fmt", "format", "template"},
        [&](std::string_view part) { return lower.find(part) != std::string::npos; });
}

/// The names that are given a text in quotes somewhere in the file.
std::unordered_set<std::string_view> namesOfTexts(const CodeView& view) {
    std::unordered_set<std::string_view> names;
    for (std::size_t i = 1; i + 1 < view.code.size(); ++i) {
        if (!view.is(i, "=") || view.isKind(i + 1, TokenKind::identifier)) continue;
        // "= {" of a table of texts too.
        if (!view.isKind(i + 1, TokenKind::string) && !view.is(i + 1, "{")) continue;
        std::size_t name = i - 1;
        while (name > 0 && view.is(name, "]") && view.match[name] != kNoToken &&
               view.match[name] > 0) {
            name = view.match[name] - 1;
        }
        if (view.isKind(name, TokenKind::identifier)) names.insert(view.textOf(view.code[name]));
    }
    return names;
}

/// What somebody else decides the length of, as it begins.
bool comesFromOutside(const CodeView& view, std::size_t i) {
    return (view.is(i, "argv") && view.is(i + 1, "[")) ||
           (view.is(i, "getenv") && view.is(i + 1, "(")) || view.is(i, "optarg");
}

/// The names of arrays of a fixed size: "char name[64]".
std::unordered_set<std::string_view> namesOfArrays(const CodeView& view) {
    std::unordered_set<std::string_view> names;
    for (std::size_t i = 1; i + 2 < view.code.size(); ++i) {
        if (view.isKind(i, TokenKind::identifier) && view.is(i + 1, "[") &&
            view.is(i - 1, "char")) {
            names.insert(view.textOf(view.code[i]));
        }
    }
    return names;
}

void addCall(const CodeView& view, GradedRule rule, std::size_t i, std::string_view says,
             FindingList& findings) {
    const std::size_t start = view.code[i].offset;
    findings.add(rule, start, view.source.lineEnd(view.lineOf(i)) - start, says);
}

void checkFormats(const CodeView& view, FindingList& findings) {
    const std::unordered_set<std::string_view> fixed = namesOfTexts(view);
    for (std::size_t i = 0; i + 1 < view.code.size(); ++i) {
        const std::optional<std::size_t> format = formatOf(view, i);
        if (!format || !view.is(i + 1, "(")) continue;
        const std::vector<Argument> arguments = argumentsOf(view, i + 1);
        // With values behind it a format is meant, wherever it comes from.
        if (arguments.size() != *format + 1 || !isPlainValue(view, arguments.back())) continue;
        bool known = false;
        for (std::size_t k = arguments.back().first; k < arguments.back().last; ++k) {
            if (!view.isKind(k, TokenKind::identifier)) continue;
            const std::string_view name = view.textOf(view.code[k]);
            known = known || fixed.contains(name) || saysThatItIsFixed(name);
        }
        if (known) continue;
        addCall(view, kFormat, i,
                "takes a text for a format: a “%” in it reads or writes where it should not; print "
                "it by “%s”",
                findings);
    }
}

void checkCopies(const CodeView& view, FindingList& findings) {
    const std::unordered_set<std::string_view> arrays = namesOfArrays(view);
    bool measured = false; // Whether somebody has asked for the length before.
    for (std::size_t i = 0; i + 3 < view.code.size(); ++i) {
        measured = measured ||
                   (view.is(i, "strlen") && view.is(i + 1, "(") && comesFromOutside(view, i + 2));
        const bool copies = view.is(i, "strcpy") || view.is(i, "strcat") || view.is(i, "stpcpy");
        if (measured || !copies || !view.is(i + 1, "(")) continue;
        const std::vector<Argument> arguments = argumentsOf(view, i + 1);
        if (arguments.size() != 2 || !comesFromOutside(view, arguments[1].first)) continue;
        const Argument to = arguments[0];
        if (to.last != to.first + 1 || !arrays.contains(view.textOf(view.code[to.first]))) continue;
        addCall(view, kCopy, i,
                "copies a text of any length into an array of a fixed one; “snprintf” or a "
                "comparison with “strlen” bounds it",
                findings);
    }
}

} // namespace

void checkBounds(const CodeView& view, FindingList& findings) {
    if (view.language != Language::c && view.language != Language::cpp) return;
    checkFormats(view, findings);
    checkCopies(view, findings);
}

} // namespace trevix
