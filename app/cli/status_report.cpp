#include "app/cli/status_report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kelvane {

namespace {

using nlohmann::json;

json orNull(const auto& value) {
    return value ? json(*value) : json(nullptr);
}

template <typename Value>
void take(const json& object, const char* name, Value& value) {
    const auto found = object.find(name);
    if (found == object.end()) return;
    try {
        value = found->get<Value>();
    } catch (const json::exception&) { // of another type: as if it were not there
    }
}

template <typename Value>
void take(const json& object, const char* name, std::optional<Value>& value) {
    const auto found = object.find(name);
    if (found == object.end() || found->is_null()) return;
    Value plain{};
    take(object, name, plain);
    value = std::move(plain);
}

json part(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_object() ? *found : json::object();
}

std::string percent(double score) {
    return std::to_string(std::lround(score * 100)) + "%";
}

std::string verdictLine(const StatusReport::Verdict& verdict) {
    if (verdict.error) return "failed: " + *verdict.error;
    std::string line = verdict.band;
    if (verdict.score) line += ", " + percent(*verdict.score);
    line += verdict.flaws == 1 ? ", 1 flaw" : ", " + std::to_string(verdict.flaws) + " flaws";
    if (verdict.runId) line += ", run " + *verdict.runId;
    return line;
}

} // namespace

std::string statusJson(const StatusReport& report) {
    json verdict = nullptr;
    if (report.verdict) {
        verdict = {{"band", report.verdict->band},
                   {"score", orNull(report.verdict->score)},
                   {"flaws", report.verdict->flaws},
                   {"run_id", orNull(report.verdict->runId)},
                   {"error", orNull(report.verdict->error)}};
    }
    json wiring = json::array();
    for (const auto& [tool, wired] : report.wiring) {
        wiring.push_back({{"tool", tool}, {"wired", wired}});
    }
    return json{{"running", report.isRunning},
                {"version", report.version},
                {"front",
                 {{"name", report.frontName},
                  {"bundle", report.frontBundle},
                  {"supported", report.isSupported}}},
                {"key", report.hasKey},
                {"grading", report.isGrading},
                {"note", orNull(report.note)},
                {"refused", orNull(report.refused)},
                {"verdict", verdict},
                {"wiring", wiring},
                {"service",
                 {{"place", report.place},
                  {"base", report.base},
                  {"answers", orNull(report.answers)},
                  {"problem", report.problem}}}}
        .dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<StatusReport> statusFromJson(const std::string& text) {
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object()) return std::nullopt;
    StatusReport report;
    take(object, "running", report.isRunning);
    take(object, "version", report.version);
    const json front = part(object, "front");
    take(front, "name", report.frontName);
    take(front, "bundle", report.frontBundle);
    take(front, "supported", report.isSupported);
    take(object, "key", report.hasKey);
    take(object, "grading", report.isGrading);
    take(object, "note", report.note);
    take(object, "refused", report.refused);
    if (const json verdict = part(object, "verdict"); !verdict.empty()) {
        report.verdict = StatusReport::Verdict{};
        auto& told = *report.verdict;
        take(verdict, "band", told.band);
        take(verdict, "score", told.score);
        take(verdict, "flaws", told.flaws);
        take(verdict, "run_id", told.runId);
        take(verdict, "error", told.error);
    }
    if (const auto wiring = object.find("wiring"); wiring != object.end() && wiring->is_array()) {
        for (const json& row : *wiring) {
            if (!row.is_object()) continue;
            auto& told = report.wiring.emplace_back();
            take(row, "tool", told.first);
            take(row, "wired", told.second);
        }
    }
    const json service = part(object, "service");
    take(service, "place", report.place);
    take(service, "base", report.base);
    take(service, "answers", report.answers);
    take(service, "problem", report.problem);
    return report;
}

std::string statusText(const StatusReport& report) {
    std::string text;
    const auto line = [&](const char* name, const std::string& value) {
        text += name;
        text += value + "\n";
    };
    line("Kelvane:  ", report.isRunning ? "runs, version " + report.version : "does not run");
    if (report.isRunning) {
        line("In front: ",
             report.frontName.empty()
                 ? "nothing"
                 : report.frontName + (report.isSupported ? "" : " (not in the catalog)"));
        line("Grade:    ", report.isGrading ? "under way"
                           : report.verdict ? verdictLine(*report.verdict)
                                            : "none yet");
        if (report.note) line("Note:     ", *report.note);
        if (report.refused) line("Capture:  ", *report.refused);
    }
    line("Key:      ", report.hasKey ? "present" : "none");
    std::string service = report.place.empty() || report.place == "later"
                              ? report.base
                              : report.place + " (" + report.base + ")";
    if (report.answers) service += *report.answers ? ", answers" : ", does not answer";
    line("Service:  ", service);
    if (!report.problem.empty()) line("          ", report.problem);
    std::string wired;
    for (const auto& [tool, isWired] : report.wiring) {
        if (!isWired) continue;
        wired += (wired.empty() ? "" : ", ") + tool;
    }
    line("Wired:    ", wired.empty() ? "no coding tool" : wired);
    return text;
}

std::string withoutUser(std::string address) {
    const auto begin = address.find("://");
    if (begin == std::string::npos) return address;
    const auto end = std::min(address.find_first_of("/?#", begin + 3), address.size());
    const auto at = address.rfind('@', end);
    if (at != std::string::npos && at > begin) address.erase(begin + 3, at + 1 - begin - 3);
    return address;
}

} // namespace kelvane
