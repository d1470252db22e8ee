#include "app/settings_view.h"

#include "app/companion_model.h"
#include "app/known_sentences.h"
#include "app/settings/language.h"
#include "app/settings/privacy_rules.h"
#include "app/settings/settings_store.h"
#include "text/shown_text.h"
#include "text/translation.h"

#include <utility>

namespace kelvane {

namespace {

using text::filled;
using text::shownLine;
using text::shownParagraph;
using text::shownWithin;
using text::translated;

} // namespace

SettingsView settingsView(const CompanionModel& model, const SettingsStore& store,
                          const std::string& place, const std::string& said) {
    const Settings& settings = store.now();
    SettingsView view;
    view.place = filled(translated("Settings", "Work is graded by %1."),
                        {translatedSentence(shownWithin(place))});
    view.previewChoices = {translated("Settings", "When it leaves this machine"),
                           translated("Settings", "Always"), translated("Settings", "Never")};
    view.preview = static_cast<int>(settings.preview);
    for (const auto& [app, previewed] : settings.previewApps) {
        view.previewApps.push_back(
            {app, filled(previewed ? translated("Settings", "%1: always shown")
                                   : translated("Settings", "%1: sent without asking"),
                         {shownWithin(app)})});
    }
    view.passwordManagers = settings.neverPasswordManagers;
    for (const auto& app : settings.neverCapture)
        view.neverCapture.push_back({app, shownLine(app)});
    const DetectedApp& front = *model.detected;
    if (!front.rawBundleId.empty() && !isNeverCaptured(settings, front.rawBundleId)) {
        view.front = {front.rawBundleId,
                      filled(translated("Settings", "Never capture %1"),
                             {shownWithin(front.app ? front.app->name : front.rawName)})};
    }
    view.paused = model.pauseLeft().has_value();
    view.pause =
        view.paused ? translated("Menu", "Resume") : translated("Menu", "Pause for an hour");
    view.shortcut = settings.shortcut;
    view.notifications = settings.notifications;
    view.languageChoices.push_back(translated("Settings", "As the desktop"));
    for (const auto& language : settingsLanguages()) {
        if (language == settings.language) {
            view.language = static_cast<int>(view.languageChoices.size());
        }
        // Each in its own, so that whoever cannot read the others finds it.
        view.languageChoices.emplace_back(languageName(language));
    }
    for (const auto& agent : *model.agents) {
        if (!agent.wired) continue;
        view.agents.push_back(shownWithin(agent.name) + ": " +
                              (*agent.wired ? translated("Agent", "validation wired")
                                            : translated("Agent", "not wired")));
    }
    if (!said.empty()) view.problems.push_back(shownParagraph(said));
    for (const auto& problem : store.problems()) view.problems.push_back(shownParagraph(problem));
    if (view.problems.size() > 1 && view.problems[0] == view.problems[1]) {
        view.problems.erase(view.problems.begin());
    }
    return view;
}

} // namespace kelvane
