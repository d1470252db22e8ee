// The window of settings as a plain record, and the function from what holds to it.
//
// Every text and every choice, in the order in which the window draws them. Texts from outside are
// made harmless for showing. Main thread only, like the model that it reads.

#pragma once

#include <string>
#include <vector>

namespace kelvane {

class CompanionModel;
class SettingsStore;

struct SettingsView {
    struct Entry {
        std::string id; ///< As it stands in the settings.
        std::string label;

        bool operator==(const Entry&) const = default;
    };

    std::string place; ///< Where work is graded, a sentence.
    int preview = 0;   ///< Which of `previewChoices`.
    std::vector<std::string> previewChoices;
    std::vector<Entry> previewApps; ///< Of which something else was said.
    bool passwordManagers = true;
    std::vector<Entry> neverCapture;
    Entry front;       ///< Of what is in front; empty where nothing can be excluded.
    std::string pause; ///< What the button says.
    bool paused = false;
    std::string shortcut;
    bool notifications = true;
    int language = 0; ///< Which of `languageChoices`.
    std::vector<std::string> languageChoices;
    std::vector<std::string> agents;   ///< A line for each coding tool.
    std::vector<std::string> problems; ///< Sentences.

    bool operator==(const SettingsView&) const = default;
};

/// `place` is where work goes, for people; `said` what came of the last change, empty when it was
/// made.
[[nodiscard]] SettingsView settingsView(const CompanionModel& model, const SettingsStore& store,
                                        const std::string& place, const std::string& said);

} // namespace kelvane
