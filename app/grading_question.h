// The one question of the first run: where to grade. Also asked from the menu, to choose anew.
//
// An alert, which is a window of its own: the panel is what it is without it. Main thread only.

#pragma once

#include <functional>
#include <string>

namespace kelvane {

class Dialogs;
class GradingPlace;
struct Alert;
struct ServiceChoice;

struct GradingQuestion {
    Dialogs& dialogs;
    GradingPlace& place;
    std::string service;                ///< The host of the service of accounts, for people.
    std::function<bool()> hasKey;       ///< Whether there is a key for it.
    std::function<void()> openKeyPage;  ///< Where a person gets one.
    std::function<bool()> isSetOutside; ///< Whether the environment names a service, and so wins.
};

/// Asks and does what is answered. Closing the window answers nothing: at the first run that is
/// "Later". What cannot be done is told, and asked again.
void askWhereToGrade(const GradingQuestion& question);

/// The question as it is shown. Pure.
[[nodiscard]] Alert gradingAlert(const ServiceChoice& now, const std::string& service,
                                 bool isSetOutside);

} // namespace kelvane
