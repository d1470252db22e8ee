#include "app/grading_question.h"

#include "app/grading_place.h"
#include "platform/ports/dialogs.h"
#include "text/translation.h"

namespace kelvane {

namespace {

using text::filled;
using text::translated;

using Where = ServiceChoice::Where;

enum Answer : std::size_t { kThisMachine, kAccount, kLater };

Alert cannotBe(const std::string& why) {
    return {.style = Alert::Style::Warning,
            .message = translated("Alert", "This machine cannot grade yet"),
            .informative = why,
            .buttons = {}};
}

} // namespace

Alert gradingAlert(const ServiceChoice& now, const std::string& service, bool isSetOutside) {
    std::string text =
        translated("Alert", "On this machine: your work stays here and nothing else is needed.") +
        "\n\n" +
        filled(translated("Alert", "With a service account: your work is sent to %1, and you need "
                                   "a key."),
               {service});
    bool chosen = true;
    switch (now.where) {
    case Where::ThisMachine:
        text += "\n\n" + translated("Alert", "Now: on this machine.");
        break;
    case Where::Account:
        text += "\n\n" + translated("Alert", "Now: with a service account.");
        break;
    case Where::Unasked:
    case Where::Later:
        chosen = false;
        text += "\n\n" + translated("Alert",
                                    "You can change this at any time: “Where to grade…” in the "
                                    "menu of the icon, or kelvane --service.");
        break;
    }
    if (isSetOutside) {
        text += "\n\n" + translated("Alert",
                                    "BRASK_API_BASE is set where Kelvane was started from, and "
                                    "wins over this choice.");
    }
    return {.style = Alert::Style::Informational,
            .message = translated("Alert", "Where shall your work be graded?"),
            .informative = text,
            .buttons = {translated("Alert", "Grade on this machine"),
                        translated("Alert", "Use a service account"),
                        chosen ? translated("Alert", "Leave it") : translated("Alert", "Later")}};
}

void askWhereToGrade(const GradingQuestion& question) {
    while (true) {
        const auto answer = question.dialogs.show(
            gradingAlert(question.place.choice(), question.service, question.isSetOutside()));
        if (answer == kAccount) {
            question.place.useAccount();
            if (!question.hasKey()) question.openKeyPage();
            return;
        }
        if (answer != kThisMachine) {
            question.place.decideLater();
            return;
        }
        const auto problem = question.place.useThisMachine();
        if (!problem) return;
        question.dialogs.show(cannotBe(*problem));
    }
}

} // namespace kelvane
