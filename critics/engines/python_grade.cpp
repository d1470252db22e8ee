#include "critics/engines/python_grade.h"

#include "text/letters.h"
#include "text/one_of.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::optional<Severity> kHigh = Severity::high;
constexpr std::optional<Severity> kMedium = Severity::medium;
constexpr std::optional<Severity> kLow = Severity::low;
constexpr std::optional<Severity> kOff = std::nullopt;

/// "eval(text, names)" and "exec(text, names)": with names of its own it is there to evaluate, and
/// what it may reach was thought of.
bool evaluatesWithOwnNames(const ForeignSubject& subject) {
    constexpr std::size_t kLongestCall = 400; // bytes: a call on a few lines
    const std::string_view text =
        subject.text.substr(std::min(subject.offset, subject.text.size()), kLongestCall);
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

/// Whether the name that nothing declares is one that only a checker of types reads, as it stands
/// in quotes, or a function of the module's own, which it takes away once it is loaded.
bool mayBeMeant(const ForeignSubject& subject) {
    const std::string_view text = subject.text;
    const std::size_t begin = std::min(subject.offset, text.size());
    if (begin > 0 && (text[begin - 1] == '"' || text[begin - 1] == '\'')) return true;
    std::size_t end = begin;
    while (end < text.size() && text::isAsciiWord(text[end])) ++end;
    if (end == begin) return false;
    const std::string definition = "\ndef " + std::string(text.substr(begin, end - begin)) + "(";
    return text.find(definition) != std::string_view::npos;
}

} // namespace

std::optional<Severity> gradeOfBandit(const ForeignFault& fault, const ForeignSubject& subject) {
    if ((fault.code == "B102" || fault.code == "B307") && evaluatesWithOwnNames(subject)) {
        return kLow;
    }
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
    if ((fault.code == "S102" || fault.code == "S307") && evaluatesWithOwnNames(subject)) {
        return kLow;
    }
    // In a selection the rest may declare it; in a whole file the line fails when it is reached.
    // What `__all__` names may be made on demand.
    if (fault.code == "F823") return whole ? kHigh : kLow;
    if (fault.code == "F821") return whole && !mayBeMeant(subject) ? kHigh : kLow;
    if (fault.code == "F822") return whole ? kMedium : kLow;
    if (text::isOneOf(fault.code, kHints)) return kLow;
    if (!text::isOneOf(fault.code, kUnsafe)) return kMedium;
    // So it says of commands that are words in quotes.
    return fault.message.find("seems safe") == std::string::npos ? kHigh : kLow;
}

} // namespace trevix
