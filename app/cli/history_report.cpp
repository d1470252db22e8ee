#include "app/cli/history_report.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace kelvane {

std::string historyText(const std::vector<history::VerdictEntry>& entries, const LocalTime& local) {
    if (entries.empty()) return "No verdicts.\n";
    std::string text;
    for (const HistoryLine& line : historyLines(entries, local)) {
        switch (line.kind) {
        case HistoryLine::Kind::App:
            text += line.text + '\n';
            break;
        case HistoryLine::Kind::Day:
            text += "  " + line.text + '\n';
            break;
        case HistoryLine::Kind::Verdict:
            text += "    " + line.text + " · " + line.pill.label +
                    (line.score.empty() ? "" : " " + line.score) + '\n';
            break;
        }
    }
    return text;
}

std::string historyJson(const std::vector<history::VerdictEntry>& entries) {
    using nlohmann::json;
    json verdicts = json::array();
    for (const auto& entry : entries) {
        json flaws = json::array();
        for (const Flaw& flaw : entry.flaws) {
            flaws.push_back({{"severity", flaw.severity},
                             {"criterion", flaw.criterion},
                             {"detail", flaw.detail},
                             {"rule", flaw.rule},
                             {"place", flaw.place},
                             {"evidence", flaw.evidence}});
        }
        verdicts.push_back({{"id", entry.id},
                            {"time", history::isoTime(entry.timeMs)},
                            {"app", entry.app},
                            {"bundle", entry.bundleId},
                            {"kind", entry.kind},
                            {"picture", entry.isPicture},
                            {"band", name(entry.band)},
                            {"score", entry.score ? json(*entry.score) : json(nullptr)},
                            {"flaw_count", entry.flawCount},
                            {"flaws", std::move(flaws)},
                            {"run_id", entry.runId},
                            {"report", entry.report},
                            {"digest", entry.digest}});
    }
    return json{{"verdicts", std::move(verdicts)}}.dump(-1, ' ', false,
                                                        json::error_handler_t::replace);
}

} // namespace kelvane
