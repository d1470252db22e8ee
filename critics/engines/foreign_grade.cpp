#include "critics/engines/foreign_grade.h"

#include "critics/engines/python_grade.h"
#include "critics/engines/shellcheck_grade.h"
#include "text/one_of.h"

#include <array>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::optional<Severity> kHigh = Severity::high;
constexpr std::optional<Severity> kMedium = Severity::medium;
constexpr std::optional<Severity> kLow = Severity::low;
constexpr std::optional<Severity> kOff = std::nullopt;

constexpr std::string_view kOthers = "another file may use, set or declare it";
constexpr std::string_view kImport = "an import is no flaw, its use is judged where it stands";
constexpr std::string_view kWords = "the shell changes the words at that place";
constexpr std::string_view kNoted = "a question to the reader, true of sound code as well";
constexpr std::string_view kNote = "explains another finding, or tells what the program cannot see";

constexpr std::array kGrades = {
    // ShellCheck: what it calls information and is a fault of the script.
    ForeignGrade{"shellcheck", "SC2030", kMedium, "the change is lost with its subshell"},
    ForeignGrade{"shellcheck", "SC2031", kMedium, "the change was lost with its subshell"},
    ForeignGrade{"shellcheck", "SC2095", kMedium, "the loop ends after its first turn"},
    ForeignGrade{"shellcheck", "SC2021", kMedium, "the brackets are taken as characters"},
    ForeignGrade{"shellcheck", "SC2060", kMedium, kWords},
    ForeignGrade{"shellcheck", "SC2139", kMedium, "the value is that of the definition's moment"},
    ForeignGrade{"shellcheck", "SC2117", kMedium, "what follows runs as the other user"},
    ForeignGrade{"shellcheck", "SC2013", kMedium, "a line with a blank becomes several turns"},
    ForeignGrade{"shellcheck", "SC2020", kMedium, "letters are exchanged, where words are meant"},
    ForeignGrade{"shellcheck", "SC2022", kMedium, "the star means something else in a pattern"},
    ForeignGrade{"shellcheck", "SC2025", kMedium, "the prompt wraps at the wrong column"},
    ForeignGrade{"shellcheck", "SC2026", kMedium, "the quotation ends in the middle of the word"},
    ForeignGrade{"shellcheck", "SC2028", kMedium, "some shells print the backslash"},
    ForeignGrade{"shellcheck", "SC2102", kMedium, "the brackets stand for one character"},
    ForeignGrade{"shellcheck", "SC2231", kMedium, kWords},
    ForeignGrade{"shellcheck", "SC2251", kMedium, "the script goes on where it was to stop"},
    ForeignGrade{"shellcheck", "SC2269", kMedium, "the assignment changes nothing"},
    // ShellCheck: warnings that sound scripts have.
    ForeignGrade{"shellcheck", "SC1090", kOff, kNote},
    ForeignGrade{"shellcheck", "SC1091", kOff, kNote},
    ForeignGrade{"shellcheck", "SC1094", kOff, kNote},
    ForeignGrade{"shellcheck", "SC1071", kOff, kNote},
    ForeignGrade{"shellcheck", "SC1009", kOff, kNote},
    ForeignGrade{"shellcheck", "SC2148", kOff, "the dialect is told beside the file"},
    ForeignGrade{"shellcheck", "SC2187", kOff, kNote},
    ForeignGrade{"shellcheck", "SC2120", kLow, kOthers},
    ForeignGrade{"shellcheck", "SC2119", kLow, kOthers},
    ForeignGrade{"shellcheck", "SC2155", kLow, "the lost status is seldom looked at"},
    ForeignGrade{"shellcheck", "SC2206", kLow,
                 "splitting on purpose is the older way to fill a list"},
    ForeignGrade{"shellcheck", "SC2207", kLow,
                 "splitting on purpose is the older way to fill a list"},
    ForeignGrade{"shellcheck", "SC2254", kLow, "a pattern in a variable is often meant"},
    ForeignGrade{"shellcheck", "SC2166", kLow, "works in every shell of today"},

    // Cppcheck: about the check and not about the code.
    ForeignGrade{"cppcheck", "missingInclude*", kOff, kNote},
    ForeignGrade{"cppcheck", "toomanyconfigs", kOff, kNote},
    ForeignGrade{"cppcheck", "normalCheckLevelMaxBranches", kOff, kNote},
    ForeignGrade{"cppcheck", "checkersReport", kOff, kNote},
    ForeignGrade{"cppcheck", "ConfigurationNotChecked", kOff, kNote},
    ForeignGrade{"cppcheck", "objectIndex", kLow,
                 "counting on from one object is how buffers work"},
    ForeignGrade{"cppcheck", "uselessAssignmentPtrArg", kLow,
                 "clearing a pointer after its last use is a habit of care"},

    // Bandit.
    ForeignGrade{"bandit", "B101", kOff, "assertions belong to tests and to sound code"},
    ForeignGrade{"bandit", "B322", kOff, "a fault of Python 2 alone"},
    ForeignGrade{"bandit", "B309", kOff, "a fault of Python before 2.7.9 and 3.4.3 alone"},
    ForeignGrade{"bandit", "B413", kLow,
                 "a library that is kept up has the name of the one that is not"},
    ForeignGrade{"bandit", "B302", kLow, "the format is Python's own for what it keeps"},
    ForeignGrade{"bandit", "B401", kMedium,
                 "the protocol is in clear text whatever is done with it"},
    ForeignGrade{"bandit", "B402", kMedium,
                 "the protocol is in clear text whatever is done with it"},
    ForeignGrade{"bandit", "B403", kOff, kImport},
    ForeignGrade{"bandit", "B404", kOff, kImport},
    ForeignGrade{"bandit", "B405", kOff, kImport},
    ForeignGrade{"bandit", "B406", kOff, kImport},
    ForeignGrade{"bandit", "B407", kOff, kImport},
    ForeignGrade{"bandit", "B408", kOff, kImport},
    ForeignGrade{"bandit", "B409", kOff, kImport},
    ForeignGrade{"bandit", "B410", kOff, kImport},
    ForeignGrade{"bandit", "B603", kOff, kNoted},
    ForeignGrade{"bandit", "B606", kOff, kNoted},
    ForeignGrade{"bandit", "B607", kOff, kNoted},
    ForeignGrade{"bandit", "B310", kLow, kNoted},
    ForeignGrade{"bandit", "B311", kLow, kNoted},

    // Ruff: what its rules are, since it grades nothing.
    ForeignGrade{"ruff", "syntax", kHigh, "the file does not run"},
    ForeignGrade{"ruff", "S302", kLow, "the format is Python's own for what it keeps"},
    ForeignGrade{"ruff", "F811", kLow, "the later definition holds, often on purpose"},
    ForeignGrade{"ruff", "B006", kLow, "harmless where nobody changes the value"},
    ForeignGrade{"ruff", "B020", kLow, "what is gone through is asked for once, before the name"},
    ForeignGrade{"ruff", "B031", kLow, "a group that is read in its own turn is whole"},
    ForeignGrade{"ruff", "B018", kLow, "touching a name can be a check of its own"},
    ForeignGrade{"ruff", "PLE0704", kLow, "whoever handles an error may call it"},
    ForeignGrade{"ruff", "PLE0604", kLow, kOthers},
    ForeignGrade{"ruff", "PLE0605", kLow, kOthers},

    // Oxlint: its category "correctness" without what is a matter of habit.
    ForeignGrade{"oxlint", "syntax", kHigh, "the file does not run"},
    ForeignGrade{"oxlint", "no-debugger", kHigh, "stops whoever runs it"},
    ForeignGrade{"oxlint", "no-const-assign", kHigh, "throws whenever it runs"},
    ForeignGrade{"oxlint", "no-this-before-super", kHigh, "throws whenever it runs"},
    ForeignGrade{"oxlint", "no-obj-calls", kHigh, "throws whenever it runs"},
    ForeignGrade{"oxlint", "no-new-native-nonconstructor", kHigh, "throws whenever it runs"},
    ForeignGrade{"oxlint", "no-invalid-regexp", kHigh, "throws whenever it runs"},

    // Biome: as Oxlint, where the two have the same rule.
    ForeignGrade{"biome", "syntax", kHigh, "the file does not run"},
    ForeignGrade{"biome", "noDebugger", kHigh, "stops whoever runs it"},
    ForeignGrade{"biome", "noConstAssign", kHigh, "throws whenever it runs"},
    ForeignGrade{"biome", "noUnreachableSuper", kHigh, "throws whenever it runs"},
    ForeignGrade{"biome", "noGlobalObjectCalls", kHigh, "throws whenever it runs"},

    // markdownlint: what a reader meets as broken. The order of headings and the anchors of other
    // pages than GitHub's are weighed by our own rules, which know more of a document.
    ForeignGrade{"markdownlint", "MD042", kHigh, "the link leads nowhere"},
    ForeignGrade{"markdownlint", "MD001", kLow, "a size that was chosen lacks nothing"},
    ForeignGrade{"markdownlint", "MD011", kMedium, "the link shows its marks"},
    ForeignGrade{"markdownlint", "MD018", kMedium, "the heading shows its marks"},
    ForeignGrade{"markdownlint", "MD051", kLow, "other pages make other anchors of a heading"},
    ForeignGrade{"markdownlint", "MD052", kMedium, "the link shows its marks"},
    ForeignGrade{"markdownlint", "MD056", kMedium, "a cell is lost, or none is there"},
    ForeignGrade{"markdownlint", "MD024", kLow, "who links to it does not know which"},
    ForeignGrade{"markdownlint", "MD025", kLow, "a page has one title"},
    ForeignGrade{"markdownlint", "MD045", kLow, "who does not see the picture misses it"},

    // Harper: its kinds. What it calls spelling, style and choice of words is true of sound prose.
    ForeignGrade{"harper", "Agreement", kMedium, "certain, and plain to every reader"},
    ForeignGrade{"harper", "Grammar", kMedium, "certain, and plain to every reader"},
    ForeignGrade{"harper", "Repetition", kMedium, "certain, and plain to every reader"},
    ForeignGrade{"harper", "Usage", kLow, "some of it is a matter of region"},

    // Gitleaks: by nothing but how random a value is.
    ForeignGrade{"gitleaks", "generic-api-key", kMedium, "random values are not all secrets"},
};

/// The rules of Oxlint that are a fault wherever they speak: the "possible problems" of the linter
/// whose names they bear, but for those about unused names, and the comparisons that cannot hold.
constexpr std::array<std::string_view, 43> kScriptFaults = {
    "for-direction",
    "getter-return",
    "no-async-promise-executor",
    "no-class-assign",
    "no-compare-neg-zero",
    "no-cond-assign",
    "no-constant-binary-expression",
    "no-delete-var",
    "no-dupe-args",
    "no-dupe-class-members",
    "no-dupe-else-if",
    "no-dupe-keys",
    "no-duplicate-case",
    "no-empty-character-class",
    "no-ex-assign",
    "no-func-assign",
    "no-global-assign",
    "no-import-assign",
    "no-loss-of-precision",
    "no-nonoctal-decimal-escape",
    "no-self-assign",
    "no-setter-return",
    "no-sparse-arrays",
    "no-unreachable",
    "no-unsafe-finally",
    "no-unsafe-negation",
    "no-unsafe-optional-chaining",
    "no-unassigned-vars",
    "no-useless-backreference",
    "use-isnan",
    "valid-typeof",
    "oxc/bad-array-method-on-arguments",
    "oxc/bad-char-at-comparison",
    "oxc/bad-comparison-sequence",
    "oxc/bad-min-max-func",
    "oxc/bad-object-literal-comparison",
    "oxc/bad-replace-all-arg",
    "oxc/const-comparisons",
    "oxc/double-comparisons",
    "oxc/missing-throw",
    "oxc/number-arg-out-of-range",
    "oxc/uninvoked-array-callback",
    "typescript/no-duplicate-enum-values",
};

/// The rules of Biome that are a fault wherever they speak: those of the list above that it has,
/// and what no browser understands in a style sheet.
constexpr std::array<std::string_view, 31> kBiomeFaults = {
    "useValidForDirection",
    "useGetterReturn",
    "noAsyncPromiseExecutor",
    "noClassAssign",
    "noCompareNegZero",
    "noDuplicateParameters",
    "noDuplicateClassMembers",
    "noDuplicateElseIf",
    "noDuplicateObjectKeys",
    "noDuplicateCase",
    "noEmptyCharacterClassInRegex",
    "noCatchAssign",
    "noFunctionAssign",
    "noGlobalAssign",
    "noImportAssign",
    "noPrecisionLoss",
    "noNonoctalDecimalEscape",
    "noSelfAssign",
    "noSetterReturn",
    "noSparseArray",
    "noUnreachable",
    "noUnsafeFinally",
    "noUnsafeNegation",
    "noUnsafeOptionalChaining",
    "useIsNan",
    "useValidTypeof",
    "noUnknownProperty",
    "noUnknownUnit",
    "noUnknownFunction",
    "noInvalidDirectionInLinearGradient",
    "noUnmatchableAnbSelector",
};

bool fits(std::string_view pattern, std::string_view code) {
    if (!pattern.ends_with('*')) return pattern == code;
    return code.starts_with(pattern.substr(0, pattern.size() - 1));
}

std::optional<Severity> byEngine(std::string_view engine, const ForeignFault& fault,
                                 const ForeignSubject& subject) {
    if (engine == "bandit") return gradeOfBandit(fault, subject);
    if (engine == "shellcheck") return shellcheckGrade(fault, subject);
    if (engine == "cppcheck") {
        // An error is certain; as a warning it supposes a path, such as a loop without a turn.
        if (fault.code == "uninitvar" && fault.level == "warning") return kLow;
        // The operator of a container does more than look: it may insert, or check the index.
        if (fault.code == "constStatement" &&
            fault.message.find("unused array access") != std::string::npos) {
            return kLow;
        }
    }
    if (engine == "oxlint") return text::isOneOf(fault.code, kScriptFaults) ? kMedium : kOff;
    if (engine == "biome") return text::isOneOf(fault.code, kBiomeFaults) ? kMedium : kOff;
    if (engine == "markdownlint" || engine == "harper") return kOff;
    if (engine == "ruff") return gradeOfRuff(fault, subject);
    if (engine == "python" && fault.code == "warning") return kMedium;
    // Who has no levels says no more than whether a file parses.
    return fault.level.empty() ? kHigh : gradeOfLevel(fault);
}

} // namespace

std::string_view ForeignSubject::line() const {
    const std::size_t at = place();
    const std::size_t start = at == 0 ? 0 : text.rfind('\n', at - 1) + 1; // 0 for none.
    return text.substr(start, text.find('\n', at) - start);
}

std::span<const ForeignGrade> foreignGrades() {
    return kGrades;
}

std::optional<Severity> gradeOfLevel(const ForeignFault& fault) {
    if (fault.level == "error") return kHigh;
    if (fault.level == "warning") return kMedium;
    if (fault.level == "info") return kLow;
    return kOff;
}

std::optional<Severity> gradeOf(std::string_view engine, const ForeignFault& fault,
                                const ForeignSubject& subject) {
    for (const ForeignGrade& grade : kGrades) {
        if (grade.engine == engine && fits(grade.code, fault.code)) return grade.severity;
    }
    return byEngine(engine, fault, subject);
}

bool gaveUp(std::string_view engine, const ForeignFault& fault) {
    // Headers that the part does not bring are missing, so that a macro may stand where it reads
    // nonsense: our own reader of the grammar is better placed to complain.
    constexpr std::array<std::string_view, 8> kAtMacros = {
        "syntaxError",   "unknownMacro",  "preprocessorErrorDirective", "internalAstError",
        "internalError", "cppcheckError", "noValidConfiguration",       "AST"};
    return engine == "cppcheck" && text::isOneOf(fault.code, kAtMacros);
}

bool isSyntax(std::string_view engine, const ForeignFault& fault) {
    if (fault.code == kSyntaxCode) return true;
    return engine == "shellcheck" && (fault.code == "SC1072" || fault.code == "SC1073");
}

} // namespace trevix
