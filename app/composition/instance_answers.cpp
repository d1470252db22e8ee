#include "app/composition/instance_answers.h"

#include "app/cli/status_report.h"
#include "app/companion_model.h"
#include "app/grading_place.h"
#include "eval/eval_bridge.h"
#include "harness/tool_wiring.h"
#include "text/build_version.h"

namespace kelvane {

std::string statusLine(const CompanionModel& model, const GradingPlace& place,
                       Environment& environment, FileSystem& files) {
    StatusReport report;
    report.isRunning = true;
    report.version = text::buildVersion();
    const DetectedApp& front = *model.detected;
    report.frontName = front.app ? front.app->name : front.rawName;
    report.frontBundle = front.rawBundleId;
    report.isSupported = front.supported();
    report.hasKey = *model.hasKey;
    report.isGrading = *model.grading;
    report.note = *model.note;
    report.refused = *model.refusal;
    if (const auto& verdict = *model.verdict) {
        report.verdict = {.band = std::string(name(verdict->band)),
                          .score = verdict->score,
                          .flaws = static_cast<int>(verdict->flaws.size()),
                          .runId = verdict->runId,
                          .error = verdict->error};
    }
    for (const Harness& row : ToolWiring::harnessStatus(files, model.home)) {
        report.wiring.emplace_back(row.label, row.wired);
    }
    report.place = serviceWord(place.choice().where);
    report.base = withoutUser(EvalBridge::base(environment));
    report.problem = place.problem();
    return statusJson(report);
}

} // namespace kelvane
