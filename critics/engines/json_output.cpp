#include "critics/engines/foreign_fault.h"
#include "text/json_shape.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <utility>

namespace trevix {

namespace {

using nlohmann::json;

/// More than any of the programs says of a file of the size that they are given. Building a value
/// takes some hundred bytes.
constexpr std::size_t kMostValues = 400'000;

NotUnderstood notUnderstood() {
    return {"its answer is not understood"};
}

std::optional<json> objectIn(std::string_view output) {
    const auto shape = kelvane::text::jsonShape(output);
    if (shape.hasNul || shape.depth > kelvane::text::kDeepestJson || shape.values > kMostValues) {
        return std::nullopt;
    }
    json value = json::parse(output.begin(), output.end(), nullptr, false);
    if (!value.is_object()) return std::nullopt;
    return value;
}

/// The list called `name`; absent when there is none.
const json* listIn(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_array() ? &*found : nullptr;
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
    const auto answer = objectIn(output);
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

ForeignReading readBandit(std::string_view output) {
    const auto answer = objectIn(output);
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
                                 *line,
                                 column ? *column + 1 : 0,
                                 *message};
        }
        return fault;
    });
}

ForeignReading readOxlint(std::string_view output) {
    const auto answer = objectIn(output);
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
    const auto answer = objectIn(output);
    if (!answer) return notUnderstood();
    if (textIn(*answer, "trouble")) return NotUnderstood{"it could not read the code"};
    return faultsIn(listIn(*answer, "faults"), [](const json& entry) {
        std::optional<ForeignFault> fault;
        const auto code = textIn(entry, "code");
        const auto line = numberIn(entry, "line");
        const auto message = textIn(entry, "message");
        if (code && line && message) {
            fault =
                ForeignFault{*code, {}, {}, *line, numberIn(entry, "column").value_or(0), *message};
        }
        return fault;
    });
}

} // namespace trevix
