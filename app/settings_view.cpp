#include "app/settings_view.h"

#include "app/companion_model.h"
#include "app/settings/privacy_rules.h"
#include "app/settings/settings_store.h"
#include "text/shown_text.h"

#include <utility>

namespace kelvane {

namespace {

using text::shownLine;
using text::shownParagraph;
using text::shownWithin;

} // namespace

SettingsView settingsView(const CompanionModel& model, const SettingsStore& store,
                          const std::string& place, const std::string& said) {
    const Settings& settings = store.now();
    SettingsView view;
    view.place = "Work is graded by " + shownWithin(place) + ".";
    view.previewChoices = {"When it leaves this machine", "Always", "Never"};
    view.preview = static_cast<int>(settings.preview);
    for (const auto& [app, previewed] : settings.previewApps) {
        view.previewApps.push_back(
            {app, shownWithin(app) + (previewed ? ": always shown" : ": sent without asking")});
    }
    view.passwordManagers = settings.neverPasswordManagers;
    for (const auto& app : settings.neverCapture)
        view.neverCapture.push_back({app, shownLine(app)});
    const DetectedApp& front = *model.detected;
    if (!front.rawBundleId.empty() && !isNeverCaptured(settings, front.rawBundleId)) {
        view.front = {front.rawBundleId,
                      "Never capture " + shownWithin(front.app ? front.app->name : front.rawName)};
    }
    view.paused = model.pauseLeft().has_value();
    view.pause = view.paused ? "Resume" : "Pause for an hour";
    view.shortcut = settings.shortcut;
    view.notifications = settings.notifications;
    for (const auto& agent : *model.agents) {
        if (!agent.wired) continue;
        view.agents.push_back(shownWithin(agent.name) +
                              (*agent.wired ? ": validation wired" : ": not wired"));
    }
    if (!said.empty()) view.problems.push_back(shownParagraph(said));
    for (const auto& problem : store.problems()) view.problems.push_back(shownParagraph(problem));
    if (view.problems.size() > 1 && view.problems[0] == view.problems[1]) {
        view.problems.erase(view.problems.begin());
    }
    return view;
}

} // namespace kelvane
