#include "critics/engines/foreign_fault.h"
#include "critics/engines/hostile_json.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <utility>

namespace trevix {

namespace {

using nlohmann::json;

NotUnderstood notUnderstood() {
    return {"its answer is not understood"};
}

/// The list called `name`; absent when there is none.
const json* listIn(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_array() ? &*found : nullptr;
}

/// The object called `name`; null when there is none.
const json* objectIn(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_object() ? &*found : nullptr;
}

std::optional<std::string> textIn(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

/// A line or a column. Absent where there is none, or one that no file has.
std::optional<std::size_t> numberIn(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_unsigned()) return std::nullopt;
    return found->get<std::size_t>();
}

std::string orEmpty(std::optional<std::string> text) {
    return kelvane::text::lowerAscii(std::move(text).value_or(""));
}

/// Each entry of the list by `faultOf`, which is absent for what is not understood.
template <typename FaultOf>
ForeignReading faultsIn(const json* list, FaultOf faultOf) {
    if (list == nullptr) return notUnderstood();
    std::vector<ForeignFault> faults;
    for (const json& entry : *list) {
        if (faults.size() == kMostForeignFaults) break;
        std::optional<ForeignFault> fault =
            entry.is_object() ? faultOf(entry) : std::optional<ForeignFault>();
        if (!fault) return notUnderstood();
        faults.push_back(*std::move(fault));
    }
    return faults;
}

} // namespace

ForeignReading readShellcheck(std::string_view output) {
    const auto answer = hostileObject(output);
    if (!answer) return notUnderstood();
    return faultsIn(listIn(*answer, "comments"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto code = numberIn(entry, "code");
        const auto line = numberIn(entry, "line");
        const auto message = textIn(entry, "message");
        if (code && line && message) {
            fault = ForeignFault{"SC" + std::to_string(*code),
                                 orEmpty(textIn(entry, "level")),
                                 {},
                                 *line,
                                 numberIn(entry, "column").value_or(0),
                                 *message};
        }
        return fault;
    });
}

namespace {

/// Of a call that is handed to a shell Bandit names the line of the option that says so; the call
/// begins in the first of its lines.
std::size_t beginOfCall(const json& entry, std::string_view code, std::size_t line) {
    const json* lines = listIn(entry, "line_range");
    if ((code != "B602" && code != "B604") || lines == nullptr || lines->empty()) return line;
    const json& first = lines->front();
    return first.is_number_unsigned() ? std::min(line, first.get<std::size_t>()) : line;
}

} // namespace

ForeignReading readBandit(std::string_view output) {
    const auto answer = hostileObject(output);
    if (!answer) return notUnderstood();
    const json* errors = listIn(*answer, "errors");
    if (errors == nullptr) return notUnderstood();
    if (!errors->empty()) return NotUnderstood{"it could not read the code"};
    return faultsIn(listIn(*answer, "results"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto code = textIn(entry, "test_id");
        const auto line = numberIn(entry, "line_number");
        const auto message = textIn(entry, "issue_text");
        if (code && line && message) {
            const auto column = numberIn(entry, "col_offset"); // From 0, since version 1.7.
            fault = ForeignFault{*code,
                                 orEmpty(textIn(entry, "issue_severity")),
                                 orEmpty(textIn(entry, "issue_confidence")),
                                 beginOfCall(entry, *code, *line),
                                 column ? *column + 1 : 0,
                                 *message};
        }
        return fault;
    });
}

ForeignReading readOxlint(std::string_view output) {
    const auto answer = hostileObject(output);
    if (!answer) return notUnderstood();
    return faultsIn(listIn(*answer, "diagnostics"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto message = textIn(entry, "message");
        if (!message) return fault;
        // "eslint(no-debugger)" is the plugin and its rule; what is no rule's is the parser's.
        std::string code = textIn(entry, "code").value_or(std::string(kSyntaxCode));
        const std::size_t open = code.find('(');
        if (open != std::string::npos && code.ends_with(')')) {
            const std::string plugin = code.substr(0, open);
            const std::string rule = code.substr(open + 1, code.size() - open - 2);
            code = plugin == "eslint" ? rule : plugin + "/" + rule;
        }
        fault =
            ForeignFault{std::move(code), orEmpty(textIn(entry, "severity")), {}, 0, 0, *message};
        const json* labels = listIn(entry, "labels");
        if (labels == nullptr || labels->empty() || !labels->front().is_object()) return fault;
        const auto span = labels->front().find("span");
        if (span == labels->front().end() || !span->is_object()) return fault;
        fault->line = numberIn(*span, "line").value_or(0);
        fault->column = numberIn(*span, "column").value_or(0);
        return fault;
    });
}

ForeignReading readFaults(std::string_view output) {
    const auto answer = hostileObject(output);
    if (!answer) return notUnderstood();
    if (textIn(*answer, "trouble")) return NotUnderstood{"it could not read the code"};
    return faultsIn(listIn(*answer, "faults"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto code = textIn(entry, "code");
        const auto line = numberIn(entry, "line");
        const auto message = textIn(entry, "message");
        if (code && line && message) {
            fault = ForeignFault{*code,
                                 {},
                                 {},
                                 *line,
                                 numberIn(entry, "column").value_or(0),
                                 *message,
                                 numberIn(entry, "endColumn").value_or(0)};
        }
        return fault;
    });
}

ForeignReading readBiome(std::string_view output) {
    const auto answer = hostileObject(output);
    if (!answer) return notUnderstood();
    return faultsIn(listIn(*answer, "diagnostics"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const json* code = objectIn(entry, "code");
        const json* location = objectIn(entry, "location");
        const json* range = location == nullptr ? nullptr : objectIn(*location, "range");
        const json* start = range == nullptr ? nullptr : objectIn(*range, "start");
        const auto message = textIn(entry, "message");
        if (code == nullptr || start == nullptr || !message) return fault;
        std::string name = textIn(*code, "value").value_or("");
        // "lint/suspicious/noDebugger" is a group and its rule.
        const std::string rule = name.substr(name.rfind('/') + 1);
        fault = ForeignFault{name == "parse" ? std::string(kSyntaxCode) : rule,
                             orEmpty(textIn(entry, "severity")),
                             {},
                             numberIn(*start, "line").value_or(0),
                             numberIn(*start, "column").value_or(0),
                             *message};
        return fault;
    });
}

ForeignReading readGitleaks(std::string_view output) {
    const auto answer = hostileJson(output);
    if (answer && answer->is_null()) return std::vector<ForeignFault>(); // It found none.
    return faultsIn(answer && answer->is_array() ? &*answer : nullptr, [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto code = textIn(entry, "RuleID");
        const auto line = numberIn(entry, "StartLine");
        const auto message = textIn(entry, "Description");
        if (!code || !line || !message) return fault;
        // Over several lines, as keys are, the first is hidden to its end.
        const bool oneLine = numberIn(entry, "EndLine").value_or(0) == *line;
        fault = ForeignFault{*code,
                             {},
                             {},
                             *line,
                             numberIn(entry, "StartColumn").value_or(0),
                             *message,
                             oneLine ? numberIn(entry, "EndColumn").value_or(0) : 0};
        return fault;
    });
}

} // namespace trevix
